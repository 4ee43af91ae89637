#include <gtest/gtest.h>

#include <atlexcept.h>

using namespace ATL;

namespace {

TEST(AtlException, LastErrorBecomesTheCode) {
  for (const DWORD error : {ERROR_SUCCESS, ERROR_FILE_NOT_FOUND, ERROR_ACCESS_DENIED}) {
    ::SetLastError(error);
    try {
      AtlThrowLastWin32();
    } catch (const CAtlException& e) {
      EXPECT_EQ(HRESULT_FROM_WIN32(error), e.m_hr);
    }
  }
}

}  // namespace
