#include <gtest/gtest.h>

#include <atlexcept.h>

using namespace ATL;

namespace {

TEST(AtlException, CarriesTheCode) {
  try {
    AtlThrow(E_ACCESSDENIED);
  } catch (const CAtlException& e) {
    EXPECT_EQ(E_ACCESSDENIED, e.m_hr);
    return;
  }
  FAIL();
}

TEST(AtlException, LastErrorBecomesTheCode) {
  ::SetLastError(ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), AtlHresultFromLastError());
  try {
    AtlThrowLastWin32();
  } catch (const CAtlException& e) {
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND), e.m_hr);
    return;
  }
  FAIL();
}

TEST(AtlException, Win32CodesAreMapped) {
  EXPECT_EQ(S_OK, AtlHresultFromWin32(ERROR_SUCCESS));
  EXPECT_EQ(static_cast<HRESULT>(0x80070005), AtlHresultFromWin32(ERROR_ACCESS_DENIED));
}

TEST(AtlEnsure, ThrowsOnlyWhenFalse) {
  const auto check = [](bool ok) { ATLENSURE_THROW(ok, E_UNEXPECTED); };
  EXPECT_NO_THROW(check(true));
  EXPECT_THROW(check(false), CAtlException);
}

}  // namespace
