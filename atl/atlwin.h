#pragma once

#include <atlmsgmap.h>
#include <atlwindow.h>
#include <atlwinimpl.h>
#include <commctrl.h>
