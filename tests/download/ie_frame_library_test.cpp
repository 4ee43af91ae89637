#include "download/ie_frame_library.h"

#include <gtest/gtest.h>
#include <windows.h>

#include "tests/doubles/ieframe/ieframe_double.h"
#include "tests/support/import_spy.h"

namespace {

// What each function is given and answers is tested where it is used: save_dialog_test.cpp,
// protected_save_test.cpp and the fault matrix.
TEST(IeFrameLibrary, ProtectedModeNeedsASuccessfulAnswer) {
  const CIeFrameDouble ieframe;
  const CIeFrameLibrary library;
  EXPECT_FALSE(library.IsProtectedModeProcess());
  ieframe->isProtectedMode = TRUE;
  EXPECT_TRUE(library.IsProtectedModeProcess());
  ieframe->protectedModeResult = E_FAIL;
  EXPECT_FALSE(library.IsProtectedModeProcess());
}

TEST(IeFrameLibrary, MissingLibraryOrFunctionsFailWithoutACall) {
  const CIeFrameDouble ieframe;
  ieframe->isProtectedMode = TRUE;
  for (const bool isThere : {false, true}) {
    const CImportSpy<&LoadLibraryW> load("kernel32.dll", "LoadLibraryW", [&](LPCWSTR name) {
      EXPECT_STREQ(name, L"ieframe.dll");
      return isThere ? load.CallOriginal(name) : nullptr;
    });
    const CImportSpy<&GetProcAddress> find("kernel32.dll", "GetProcAddress",
                                           [](auto...) { return nullptr; });
    const CIeFrameLibrary library;
    EXPECT_EQ(find.Calls().size(), isThere ? 4u : 0u);
    EXPECT_FALSE(library.IsProtectedModeProcess());
    auto path = const_cast<LPWSTR>(L"untouched");
    HANDLE state = &path;
    EXPECT_EQ(library.ShowSaveFileDialog(nullptr, L"a.qdk", L"", 1, 0, &path, &state), E_NOTIMPL);
    EXPECT_EQ(path, nullptr);
    EXPECT_EQ(state, nullptr);
    library.CancelSaveFile(&path);
    EXPECT_FALSE(library.SaveFile(&path, L"C:\\a.qdk"));
  }
}

}  // namespace
