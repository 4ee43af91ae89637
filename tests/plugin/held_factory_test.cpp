#include <gtest/gtest.h>

#include <string>

#include "folivo_plugin_h.h"
#include "tests/plugin/plugin_library.h"

namespace {

int g_violations = 0;

/// The system ignores access violations while it unloads a library.
LONG CALLBACK CountAccessViolation(EXCEPTION_POINTERS* exception) {
  g_violations += exception->ExceptionRecord->ExceptionCode == EXCEPTION_ACCESS_VIOLATION;
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST(HeldFactory, UnloadSucceedsWhileAClassFactoryIsHeld) {
  CPluginLibrary library;
  const std::wstring path = library.Path();
  void* factory = nullptr;  // not released: its code is gone
  ASSERT_EQ(library.GetClassObject(CLSID_CIEDownload, IID_IClassFactory, &factory), S_OK);
  void* const handler = AddVectoredExceptionHandler(TRUE, &CountAccessViolation);
  library.Free();
  RemoveVectoredExceptionHandler(handler);
  EXPECT_EQ(g_violations, 0);
  EXPECT_EQ(GetModuleHandleW(path.c_str()), nullptr);
}

}  // namespace
