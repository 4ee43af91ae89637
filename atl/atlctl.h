#pragma once

// The implementation of ActiveX controls: their window, and the interfaces through which a
// container loads, places, draws and saves them.

#include <atlcom.h>
#include <atlwin.h>

#include "detail/control.h"
#include "detail/data_object.h"
#include "detail/in_place_object.h"
#include "detail/object_safety.h"
#include "detail/ole_control.h"
#include "detail/ole_object.h"
#include "detail/property_pages.h"
#include "detail/quick_activate.h"
#include "detail/view_object.h"
