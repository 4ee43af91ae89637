#include "download/thread_name.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <tuple>

#include "tests/support/import_spy.h"

namespace {

using AddSpy = CImportSpy<&AddVectoredExceptionHandler>;
using RaiseSpy = CImportSpy<&RaiseException>;

TEST(ThreadName, ExceptionForTheDebuggerIsHandledBeforeAllHandlersOfTheProcess) {
  const AddSpy add("kernel32.dll", "AddVectoredExceptionHandler");
  const CImportSpy<&RemoveVectoredExceptionHandler> remove("kernel32.dll",
                                                           "RemoveVectoredExceptionHandler");
  const RaiseSpy raise("kernel32.dll", "RaiseException",
                       [&](DWORD code, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
                         EXPECT_EQ(code, 0x406D1388u);
                         EXPECT_EQ(flags, 0u);
                         // Type, name, thread (all ones: the calling one) and flags, packed to
                         // eight bytes.
                         EXPECT_EQ(count, 3u);
                         EXPECT_EQ(arguments[0], 0x1000u);
                         EXPECT_STREQ(reinterpret_cast<const char*>(arguments[1]),
                                      "CProgressDialog");
                         EXPECT_EQ(arguments[2], 0xFFFFFFFFu);
                         raise.CallOriginal(code, flags, count, arguments);
                       });
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(raise.Calls().size(), 1u);
  ASSERT_EQ(add.Calls().size(), 1u);
  EXPECT_EQ(std::get<0>(add.Calls()[0]), 1u);
  EXPECT_EQ(remove.Calls().size(), 1u);

  // Another exception is not its own.
  EXCEPTION_RECORD other = {};
  other.ExceptionCode = 0xE0000001;
  EXCEPTION_POINTERS pointers = {&other, nullptr};
  EXPECT_EQ(std::get<1>(add.Calls()[0])(&pointers), EXCEPTION_CONTINUE_SEARCH);

  const AddSpy failing("kernel32.dll", "AddVectoredExceptionHandler",
                       [](auto...) { return nullptr; });
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(raise.Calls().size(), 1u) << "nothing is raised without a handler";
}

}  // namespace
