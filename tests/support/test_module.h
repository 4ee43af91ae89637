#pragma once

#include <atlbase.h>
#include <atlcom.h>

/// Stands in for the DLL's module object in test programs that link the product's code: without
/// one there is no lock count. One object per program, at namespace scope.
class CTestModule : public ATL::CAtlDllModuleT<CTestModule> {};
