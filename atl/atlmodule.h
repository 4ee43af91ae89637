#pragma once

// The module: what makes a DLL a COM server, and how it is registered.

#include "detail/com_module.h"
#include "detail/dll_module.h"
#include "detail/module.h"
#include "detail/threading_model.h"
#include "statreg.h"
