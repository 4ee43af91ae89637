#pragma once

#include <oaidl.h>

/// Loads an interface's type information from the type library in this module's file, which need
/// not be registered. The caller releases `info`. On failure `info` is null, and the result is
/// E_FAIL when the module's path is missing or longer than 259 characters, else that of the failed
/// system call.
HRESULT LoadInterfaceTypeInfo(REFIID iid, ITypeInfo** info);
