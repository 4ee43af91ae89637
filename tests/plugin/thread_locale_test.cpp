#include "plugin/thread_locale.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr LCID kGerman = MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), SORT_DEFAULT);
constexpr LCID kFrench = MAKELCID(MAKELANGID(LANG_FRENCH, SUBLANG_FRENCH), SORT_DEFAULT);

TEST(ThreadLocaleScope, SwitchesAndSwitchesBack) {
  const CThreadLocaleScope german(kGerman);
  {
    const CThreadLocaleScope french(kFrench);
    EXPECT_EQ(GetThreadLocale(), kFrench);
  }
  EXPECT_EQ(GetThreadLocale(), kGerman);
}

TEST(ThreadLocaleScope, SwitchesBackOnAnException) {
  const CThreadLocaleScope german(kGerman);
  try {
    const CThreadLocaleScope french(kFrench);
    throw std::runtime_error("any");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(GetThreadLocale(), kGerman);
}

}  // namespace
