#include "download/thread_name.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "tests/support/import_patch.h"

namespace {

struct CNaming {
  DWORD flags;
  std::vector<ULONG_PTR> arguments;
  std::string name;
};
std::vector<CNaming> g_namings;

decltype(&AddVectoredExceptionHandler) g_addHandler;

LONG CALLBACK SeeException(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode == 0x406D1388) {
    const ULONG_PTR* const arguments = record.ExceptionInformation;
    g_namings.push_back({record.ExceptionFlags,
                         {arguments, arguments + record.NumberParameters},
                         reinterpret_cast<const char*>(arguments[1])});
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

/// Sees the exception as an attached debugger does: before any handler of the product.
class CDebuggersView {
 public:
  CDebuggersView()
      : m_patch(
            "kernel32.dll", "AddVectoredExceptionHandler",
            +[](ULONG, PVECTORED_EXCEPTION_HANDLER handler) { return g_addHandler(0, handler); }) {
    g_addHandler = m_patch.Original<PVOID WINAPI(ULONG, PVECTORED_EXCEPTION_HANDLER)>();
    m_handler = g_addHandler(1, &SeeException);
    g_namings.clear();
  }
  ~CDebuggersView() { RemoveVectoredExceptionHandler(m_handler); }
  CDebuggersView(const CDebuggersView&) = delete;
  CDebuggersView& operator=(const CDebuggersView&) = delete;

 private:
  CImportPatch m_patch;
  void* m_handler = nullptr;
};

TEST(ThreadName, DebuggersAreToldTheName) {
  const CDebuggersView view;
  NameCurrentThread("CProgressDialog");
  ASSERT_EQ(g_namings.size(), 1u);
  const CNaming& naming = g_namings.front();
  EXPECT_EQ(naming.name, "CProgressDialog");
  EXPECT_EQ(naming.flags & EXCEPTION_NONCONTINUABLE, 0u);
  // Type, name, thread (all ones: the calling one) and flags, packed to eight bytes.
  ASSERT_EQ(naming.arguments.size(), 3u);
  EXPECT_EQ(naming.arguments[0], 0x1000u);
  EXPECT_EQ(naming.arguments[2], 0xFFFFFFFFu);
}

TEST(ThreadName, WithoutADebuggerNobodySeesTheException) {
  // As a program that reports its crashes has it: in front of all handlers so far.
  void* const handler = AddVectoredExceptionHandler(1, &SeeException);
  g_namings.clear();
  NameCurrentThread("one");
  EXPECT_TRUE(g_namings.empty());
  RemoveVectoredExceptionHandler(handler);
}

TEST(ThreadName, WithoutAHandlerNothingIsRaised) {
  static int raised;
  raised = 0;
  const CImportPatch add(
      "kernel32.dll", "AddVectoredExceptionHandler",
      +[](ULONG, PVECTORED_EXCEPTION_HANDLER) -> PVOID { return nullptr; });
  const CImportPatch raise(
      "kernel32.dll", "RaiseException", +[](DWORD, DWORD, DWORD, const ULONG_PTR*) { ++raised; });
  NameCurrentThread("two");
  EXPECT_EQ(raised, 0);
}

TEST(ThreadName, OtherExceptionsAreNotCaught) {
  static int others = 0;
  static decltype(&RaiseException) raise;
  constexpr DWORD kOther = 0xE0000001;
  void* const handler = AddVectoredExceptionHandler(0, [](EXCEPTION_POINTERS* exception) -> LONG {
    if (exception->ExceptionRecord->ExceptionCode != kOther) {
      return EXCEPTION_CONTINUE_SEARCH;
    }
    ++others;
    return EXCEPTION_CONTINUE_EXECUTION;
  });
  {
    const CImportPatch patch(
        "kernel32.dll", "RaiseException",
        +[](DWORD, DWORD flags, DWORD count, const ULONG_PTR* arguments) {
          raise(kOther, flags, count, arguments);
        });
    raise = patch.Original<void WINAPI(DWORD, DWORD, DWORD, const ULONG_PTR*)>();
    NameCurrentThread("three");
  }
  EXPECT_EQ(others, 1);
  RemoveVectoredExceptionHandler(handler);
}

TEST(ThreadName, NoHandlerIsLeftBehind) {
  static int balance = 0;
  static decltype(&RemoveVectoredExceptionHandler) removeHandler;
  const CImportPatch add(
      "kernel32.dll", "AddVectoredExceptionHandler",
      +[](ULONG first, PVECTORED_EXCEPTION_HANDLER handler) {
        ++balance;
        return g_addHandler(first, handler);
      });
  g_addHandler = add.Original<PVOID WINAPI(ULONG, PVECTORED_EXCEPTION_HANDLER)>();
  const CImportPatch remove(
      "kernel32.dll", "RemoveVectoredExceptionHandler", +[](PVOID handler) {
        --balance;
        return removeHandler(handler);
      });
  removeHandler = remove.Original<ULONG WINAPI(PVOID)>();
  NameCurrentThread("four");
  EXPECT_EQ(balance, 0);
}

}  // namespace
