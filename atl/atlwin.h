#pragma once

// Windows: CWindow, message maps, CWindowImpl, dialogs.

#include <atldialog.h>
#include <atlmsgmap.h>
#include <atlwindow.h>
#include <atlwinimpl.h>
#include <commctrl.h>
