#pragma once

// The implementation of COM classes: objects and their lifetime, class factories, IDispatch,
// persistence, and registration of a class.

#include <atlbase.h>

#include "detail/categories.h"
#include "detail/class_factory.h"
#include "detail/co_class.h"
#include "detail/com_map.h"
#include "detail/com_object.h"
#include "detail/creators.h"
#include "detail/dispatch_impl.h"
#include "detail/object_map.h"
#include "detail/object_root.h"
#include "detail/object_with_site.h"
#include "detail/persist_storage.h"
#include "detail/persist_stream_init.h"
#include "detail/property_map.h"
#include "detail/type_info_holder.h"
