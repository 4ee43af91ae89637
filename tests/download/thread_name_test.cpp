#include "download/thread_name.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <tuple>

#include "tests/support/import_spy.h"

namespace {

constexpr DWORD kNaming = 0x406D1388;
constexpr DWORD kOther = 0xE0000001;

int g_namings;
int g_others;

LONG CALLBACK SeeException(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode == kNaming) {
    ++g_namings;
    EXPECT_EQ(record.ExceptionFlags & EXCEPTION_NONCONTINUABLE, 0u);
    // Type, name, thread (all ones: the calling one) and flags, packed to eight bytes.
    const ULONG_PTR* const arguments = record.ExceptionInformation;
    EXPECT_EQ(record.NumberParameters, 3u);
    EXPECT_EQ(arguments[0], 0x1000u);
    EXPECT_STREQ(reinterpret_cast<const char*>(arguments[1]), "CProgressDialog");
    EXPECT_EQ(arguments[2], 0xFFFFFFFFu);
  }
  g_others += record.ExceptionCode == kOther ? 1 : 0;
  return record.ExceptionCode == kOther ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

using AddSpy = CImportSpy<&AddVectoredExceptionHandler>;

TEST(ThreadName, IsRaisedForTheDebuggerAndSeenByNoHandlerOfTheProcess) {
  const CImportSpy<&RemoveVectoredExceptionHandler> remove("kernel32.dll",
                                                           "RemoveVectoredExceptionHandler");
  void* const handler = AddVectoredExceptionHandler(1, &SeeException);
  // Behind this test's handler, which then sees what a debugger sees; and before it, as asked for.
  for (const ULONG place : {0U, 1U}) {
    g_namings = 0;
    const AddSpy add("kernel32.dll", "AddVectoredExceptionHandler", [&](ULONG first, auto added) {
      EXPECT_EQ(first, 1u);
      return add.CallOriginal(place, added);
    });
    NameCurrentThread("CProgressDialog");
    EXPECT_EQ(g_namings, place == 0 ? 1 : 0);
    EXPECT_EQ(remove.Calls().size(), place + 1) << "of its own handler";
  }
  // Another exception is not its own.
  g_others = 0;
  const CImportSpy<&RaiseException> raise(
      "kernel32.dll", "RaiseException",
      [&](DWORD, auto... others) { raise.CallOriginal(kOther, others...); });
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(g_others, 1);
  RemoveVectoredExceptionHandler(handler);
}

TEST(ThreadName, NothingIsRaisedWithoutAHandler) {
  const AddSpy add("kernel32.dll", "AddVectoredExceptionHandler", [](auto...) { return nullptr; });
  const CImportSpy<&RaiseException> raise("kernel32.dll", "RaiseException", [](auto...) {});
  NameCurrentThread("CProgressDialog");
  EXPECT_TRUE(raise.Calls().empty());
}

}  // namespace
