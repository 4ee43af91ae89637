// The main program of every test: GoogleTest, plus what it does not do by itself: a crash ends the
// program at once with a line that says where, and a run of no tests fails.

#include <gmock/gmock.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Told apart from the exit codes of GoogleTest (1) and of a crash nobody handled (5, 29).
constexpr UINT kCrashExitCode = 99;

// Ends the process without running anything more of it: after a crash its heap and locks may be
// in any state. The offset is what addr2line wants, added to the image base of the module.
LONG WINAPI ReportCrash(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  HMODULE module = nullptr;
  char path[MAX_PATH] = "?";
  if (GetModuleHandleExA(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          static_cast<const char*>(record.ExceptionAddress), &module)) {
    GetModuleFileNameA(module, path, MAX_PATH);
  }
  const auto offset =
      reinterpret_cast<uintptr_t>(record.ExceptionAddress) - reinterpret_cast<uintptr_t>(module);
  std::fprintf(stderr, "CRASH: exception 0x%08lx at %s+0x%llx, thread %lu\n", record.ExceptionCode,
               path, static_cast<unsigned long long>(offset), GetCurrentThreadId());
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  if (test != nullptr) {
    std::fprintf(stderr, "CRASH: in %s.%s\n", test->test_suite_name(), test->name());
  }
  std::fflush(nullptr);
  TerminateProcess(GetCurrentProcess(), kCrashExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

// Whether the heaps are sound now that everything is quiet. Under heap checking that finds freed
// blocks too that were written to and have not been used again.
bool HeapsAreSound() {
  HANDLE heaps[64] = {};
  const DWORD count = GetProcessHeaps(ARRAYSIZE(heaps), heaps);
  for (DWORD i = 0; i < count && i < ARRAYSIZE(heaps); ++i) {
    if (!HeapValidate(heaps[i], 0, nullptr)) {
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  SetUnhandledExceptionFilter(ReportCrash);
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  std::setvbuf(stdout, nullptr, _IONBF, 0);  // what a killed program said last is worth having

  testing::InitGoogleMock(&argc, argv);
  const int result = RUN_ALL_TESTS();
  if (testing::UnitTest::GetInstance()->test_to_run_count() == 0) {
    std::fprintf(stderr, "No test was run.\n");
    return EXIT_FAILURE;
  }
  if (!HeapsAreSound()) {
    std::fprintf(stderr, "The heap is damaged.\n");
    return EXIT_FAILURE;
  }
  return result;
}
