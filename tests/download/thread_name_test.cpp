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
    // Type, name, thread (all ones: the calling one) and flags, packed to eight
    // bytes.
    const ULONG_PTR* const arguments = record.ExceptionInformation;
    EXPECT_EQ(record.NumberParameters, 3u);
    EXPECT_EQ(arguments[0], 0x1000u);
    EXPECT_STREQ(reinterpret_cast<const char*>(arguments[1]), "CProgressDialog");
    EXPECT_EQ(arguments[2], 0xFFFFFFFFu);
  }
  g_others += record.ExceptionCode == kOther ? 1 : 0;
  return record.ExceptionCode == kOther ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

class ThreadName : public testing::Test {
 protected:
  ThreadName() { g_namings = g_others = 0; }
  ~ThreadName() override {
    RemoveVectoredExceptionHandler(m_handler);
    EXPECT_EQ(m_remove.Calls().size(), m_add.Calls().size()) << "of those that were added";
  }

  /// Whether handlers that are added go to the front of those that are there,
  /// as they ask to.
  ULONG m_addsFirst = 1;
  const CImportSpy<&AddVectoredExceptionHandler> m_add{
      "kernel32.dll", "AddVectoredExceptionHandler",
      [this](ULONG, PVECTORED_EXCEPTION_HANDLER handler) {
        return m_add.CallOriginal(m_addsFirst, handler);
      }};
  void* const m_handler = AddVectoredExceptionHandler(1, &SeeException);
  const CImportSpy<&RemoveVectoredExceptionHandler> m_remove{"kernel32.dll",
                                                             "RemoveVectoredExceptionHandler"};
};

TEST_F(ThreadName, DebuggerSeesTheExceptionFirst) {
  m_addsFirst = 0;  // so that this test's handler stands in for the debugger
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(g_namings, 1);
}

TEST_F(ThreadName, WithoutADebuggerNoHandlerOfTheProcessSeesIt) {
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(g_namings, 0);
  EXPECT_EQ(std::get<0>(m_add.Calls().back()), 1u);
}

TEST_F(ThreadName, OtherExceptionsAreNotCaught) {
  const CImportSpy<&RaiseException> raise(
      "kernel32.dll", "RaiseException",
      [&](DWORD, auto... others) { raise.CallOriginal(kOther, others...); });
  NameCurrentThread("CProgressDialog");
  EXPECT_EQ(g_others, 1);
}

TEST(ThreadNameWithoutAHandler, NothingIsRaised) {
  const CImportSpy<&AddVectoredExceptionHandler> add("kernel32.dll", "AddVectoredExceptionHandler",
                                                     [](auto...) { return nullptr; });
  const CImportSpy<&RaiseException> raise("kernel32.dll", "RaiseException", [](auto...) {});
  NameCurrentThread("CProgressDialog");
  EXPECT_TRUE(raise.Calls().empty());
}

}  // namespace
