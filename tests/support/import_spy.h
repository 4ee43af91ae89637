#pragma once

#include <windows.h>

#include <functional>
#include <tuple>
#include <utility>
#include <vector>

#include "base/srw_lock.h"
#include "tests/support/import_patch.h"

/// Stands in for an imported function in the object's scope, and knows its type. Records the
/// arguments of each call; then answers, or calls the function itself where there is no answer.
///
///   const CImportSpy<&CloseHandle> close("kernel32.dll", "CloseHandle", [&](HANDLE handle) {
///     order.push_back(handle);
///     return close.CallOriginal(handle);
///   });
///   EXPECT_EQ(close.Calls().size(), 2u);
///
/// Calls may come from any thread and end before the spy does; recording one allocates. The
/// innermost spy of a function answers; its `CallOriginal` calls the next.
template <auto function>
class CImportSpy;

template <typename Result, typename... Arguments, Result(WINAPI* function)(Arguments...)>
class CImportSpy<function> {
 public:
  using Call = std::tuple<Arguments...>;
  using Answer = std::function<Result(Arguments...)>;

  /// `library`, `name` and `importer` as with `CImportPatch`.
  CImportSpy(const char* library, const char* name, Answer answer = nullptr,
             HMODULE importer = nullptr)
      : m_answer(std::move(answer)),
        m_outer(std::exchange(s_innermost, this)),
        m_patch(library, name, &Replacement, importer) {}
  ~CImportSpy() { s_innermost = m_outer; }
  CImportSpy(const CImportSpy&) = delete;
  CImportSpy& operator=(const CImportSpy&) = delete;

  Result CallOriginal(Arguments... arguments) const {
    return m_outer ? m_outer->Called(arguments...)
                   : m_patch.template Original<Result WINAPI(Arguments...)>()(arguments...);
  }

  /// The arguments of the calls until now. What they point to may be gone.
  std::vector<Call> Calls() const {
    const CSrwLock lock(m_lock);
    return m_calls;
  }

 private:
  static Result WINAPI Replacement(Arguments... arguments) {
    return s_innermost->Called(arguments...);
  }

  Result Called(Arguments... arguments) const {
    {
      const CSrwLock lock(m_lock);
      m_calls.emplace_back(arguments...);
    }
    return m_answer ? m_answer(arguments...) : CallOriginal(arguments...);
  }

  inline static const CImportSpy* s_innermost = nullptr;

  const Answer m_answer;
  const CImportSpy* const m_outer;
  // Not a mutex, which calls functions that a spy may stand in for.
  mutable SRWLOCK m_lock = SRWLOCK_INIT;
  mutable std::vector<Call> m_calls;
  const CImportPatch m_patch;  // last: calls may come as soon as it exists
};
