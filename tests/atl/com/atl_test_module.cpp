#include "atl_test_module.h"

#include <gtest/gtest.h>

namespace {

CAtlTestModule g_module;

}  // namespace

CAtlTestModule& TestModule() { return g_module; }

CLockBalance::~CLockBalance() { EXPECT_EQ(0, Gained()) << "module locks left behind"; }
