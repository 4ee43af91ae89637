#pragma once

// The base classes of COM classes: objects and their lifetime, class factories, IDispatch and
// persistence.

#include <atlbase.h>

#include "detail/categories.h"
#include "detail/class_factory.h"
#include "detail/com_map.h"
#include "detail/com_object.h"
#include "detail/dispatch_impl.h"
#include "detail/object_root.h"
#include "detail/object_with_site.h"
#include "detail/persist.h"
