#pragma once

// The base classes of ActiveX controls: their window, and the interfaces by which a container
// loads, positions, draws and saves them.

#include <atlcom.h>
#include <atlwin.h>

#include "detail/control.h"
#include "detail/control_interfaces.h"
#include "detail/data_object.h"
#include "detail/in_place_object.h"
#include "detail/ole_object.h"
#include "detail/view_object.h"
