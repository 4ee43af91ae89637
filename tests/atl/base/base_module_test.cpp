#include <gtest/gtest.h>

#include <atlcore.h>

using namespace ATL;

namespace {

TEST(BaseModule, InstanceIsThisProgramAndHasTheResources) {
  EXPECT_EQ(::GetModuleHandleW(nullptr), _AtlBaseModule.GetModuleInstance());
  EXPECT_EQ(::GetModuleHandleW(nullptr), _AtlBaseModule.GetResourceInstance());
}

}  // namespace
