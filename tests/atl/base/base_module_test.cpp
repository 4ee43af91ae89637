#include <gtest/gtest.h>

#include <atlcore.h>

using namespace ATL;

namespace {

TEST(BaseModule, InstanceIsThisProgram) {
  EXPECT_EQ(::GetModuleHandleW(nullptr), _AtlBaseModule.GetModuleInstance());
}

TEST(BaseModule, ResourceInstanceCanBeReplaced) {
  const HINSTANCE own = _AtlBaseModule.GetModuleInstance();
  const HINSTANCE other = ::GetModuleHandleW(L"user32.dll");
  EXPECT_EQ(own, _AtlBaseModule.GetResourceInstance());
  EXPECT_EQ(own, _AtlBaseModule.SetResourceInstance(other));
  EXPECT_EQ(other, _AtlBaseModule.GetResourceInstance());
  EXPECT_EQ(own, _AtlBaseModule.GetModuleInstance());
  EXPECT_EQ(other, _AtlBaseModule.SetResourceInstance(own));
  EXPECT_EQ(own, _AtlBaseModule.GetResourceInstance());
}

}  // namespace
