#pragma once

#include <oaidl.h>

/// Loads what the type library in this module's own file says about an interface; nothing needs to
/// be registered. E_FAIL when the file's path is longer than 259 characters, else what the system
/// says; `info` is null then. The caller owns the reference.
HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** info);
