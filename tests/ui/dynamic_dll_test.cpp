#include "ui/dynamic_dll.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/import_spy.h"

namespace {

using Texts = std::vector<std::string>;

/// Keeps a record of what the base class asks of it.
class CRecordingDll : public CDynamicDll {
 public:
  ~CRecordingDll() override { Unload(); }
  Texts m_calls;
  HMODULE m_bound = nullptr;

 protected:
  void Bind(HMODULE module) override {
    m_calls.push_back(GetModule() == module && GetError() == 0 ? "bind" : "bind too early");
    m_bound = module;
  }
  void Release() override {
    m_calls.push_back(GetModule() == nullptr ? "release" : "release too early");
  }
};

TEST(DynamicDll, EachLoadIsBoundAndFreedOnce) {
  std::vector<std::tuple<HMODULE>> loaded;
  const CImportSpy<&FreeLibrary> free("kernel32.dll", "FreeLibrary");
  {
    CRecordingDll dll;
    for (const LPCWSTR name : {L"version.dll", L"winmm.dll"}) {
      EXPECT_EQ(dll.Load(name), 0u);
      EXPECT_EQ(dll.GetModule(), GetModuleHandleW(name));
      EXPECT_EQ(dll.m_bound, dll.GetModule());
      EXPECT_EQ(free.Calls(), loaded) << "the one before";
      loaded.emplace_back(dll.GetModule());
    }
    dll.Unload();
    dll.Unload();
    EXPECT_EQ(dll.m_calls, (Texts{"release", "bind", "release", "bind", "release", "release"}));
    CDynamicDll plain;
    plain.Load(L"version.dll");
    EXPECT_EQ(free.Calls(), loaded);
    loaded.emplace_back(plain.GetModule());
  }
  EXPECT_EQ(free.Calls(), loaded);
}

TEST(DynamicDll, FailedLoadKeepsWhatIsHeld) {
  CRecordingDll dll;
  for (const bool holds : {false, true}) {
    EXPECT_TRUE(!holds || dll.Load(L"version.dll") == 0);
    const HMODULE held = dll.GetModule();
    dll.m_calls.clear();
    EXPECT_EQ(dll.Load(L"no such library.dll"), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(dll.GetError(), DWORD{ERROR_MOD_NOT_FOUND});
    EXPECT_EQ(dll.GetModule(), held);
    EXPECT_TRUE(dll.m_calls.empty());
  }
  EXPECT_EQ(dll.Load(L"version.dll"), 0u);
  EXPECT_EQ(dll.GetError(), 0u);
}

/// Calls an operation by its place in the table of functions.
template <typename... Arguments>
void CallSlot(CDynamicDll& dll, int slot, Arguments... arguments) {
  using Operation = void (*)(void*, Arguments...);
  const void* const* const table = *reinterpret_cast<const void* const* const*>(&dll);
  reinterpret_cast<Operation>(const_cast<void*>(table[slot]))(&dll, arguments...);
}

TEST(DynamicDll, VtableOrderIsFixed) {
  constexpr int kFirst = 2;  // the destructor takes two places with this compiler
  CRecordingDll dll;
  const auto module = reinterpret_cast<HMODULE>(&dll);
  CallSlot(dll, kFirst, module);
  EXPECT_EQ(dll.m_bound, module);
  CallSlot(dll, kFirst + 1);
  EXPECT_EQ(dll.m_calls, (Texts{"bind too early", "release"}));
}

}  // namespace
