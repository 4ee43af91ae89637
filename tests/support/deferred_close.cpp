#include "tests/support/deferred_close.h"

#include <algorithm>
#include <utility>

CDeferredClose* CDeferredClose::s_instance = nullptr;

namespace {

class CLocked {
 public:
  explicit CLocked(CRITICAL_SECTION& lock) : m_lock(lock) { EnterCriticalSection(&m_lock); }
  ~CLocked() { LeaveCriticalSection(&m_lock); }
  CLocked(const CLocked&) = delete;
  CLocked& operator=(const CLocked&) = delete;

 private:
  CRITICAL_SECTION& m_lock;
};

}  // namespace

/// A call with a handle, from its begin to its end. It keeps the error code that the call left.
class CDeferredClose::CCall {
 public:
  explicit CCall(HINTERNET handle) {
    const CLocked locked(s_instance->m_lock);
    const auto found = s_instance->m_families.find(handle);
    if (found != s_instance->m_families.end() &&
        std::ranges::find(found->second->closed, handle) == found->second->closed.end()) {
      m_family = found->second;
      ++m_family->running;
    } else {
      SetLastError(ERROR_INVALID_HANDLE);
    }
  }
  ~CCall() {
    if (m_family) {
      const DWORD error = GetLastError();
      const CLocked locked(s_instance->m_lock);
      --m_family->running;
      s_instance->Finish(*m_family);
      SetLastError(error);
    }
  }
  CCall(const CCall&) = delete;
  CCall& operator=(const CCall&) = delete;

  explicit operator bool() const { return m_family != nullptr; }

  /// Makes a handle that the call opened one of the same family; null when that was closed
  /// meanwhile.
  HINTERNET Adopt(HINTERNET handle) const {
    if (handle == nullptr) {
      return nullptr;
    }
    const CLocked locked(s_instance->m_lock);
    if (!m_family->closed.empty()) {
      s_instance->m_close.Original<decltype(InternetCloseHandle)>()(handle);
      SetLastError(ERROR_INTERNET_OPERATION_CANCELLED);
      return nullptr;
    }
    s_instance->m_families[handle] = m_family;
    return handle;
  }

 private:
  std::shared_ptr<Family> m_family;
};

CDeferredClose::CDeferredClose(HMODULE importer)
    : m_openSession("wininet.dll", "InternetOpenW", &OpenSession, importer),
      m_openRequest("wininet.dll", "InternetOpenUrlW", &OpenRequest, importer),
      m_read("wininet.dll", "InternetReadFile", &Read, importer),
      m_query("wininet.dll", "HttpQueryInfoW", &Query, importer),
      m_close("wininet.dll", "InternetCloseHandle", &Close, importer) {
  InitializeCriticalSection(&m_lock);
  s_instance = this;
}

CDeferredClose::~CDeferredClose() {
  s_instance = nullptr;
  DeleteCriticalSection(&m_lock);
}

/// Closes what was to be closed once no call of the family runs any more.
void CDeferredClose::Finish(Family& family) {
  if (family.running != 0) {
    return;
  }
  for (const HINTERNET handle : std::exchange(family.closed, {})) {
    m_families.erase(handle);
    m_close.Original<decltype(InternetCloseHandle)>()(handle);
  }
}

HINTERNET WINAPI CDeferredClose::OpenSession(LPCWSTR agent, DWORD type, LPCWSTR proxy,
                                             LPCWSTR bypass, DWORD flags) {
  const HINTERNET session = s_instance->m_openSession.Original<decltype(InternetOpenW)>()(
      agent, type, proxy, bypass, flags);
  if (session != nullptr) {
    const CLocked locked(s_instance->m_lock);
    s_instance->m_families[session] = std::make_shared<Family>();
  }
  return session;
}

HINTERNET WINAPI CDeferredClose::OpenRequest(HINTERNET session, LPCWSTR url, LPCWSTR headers,
                                             DWORD headersLength, DWORD flags, DWORD_PTR context) {
  const CCall call(session);
  return call ? call.Adopt(s_instance->m_openRequest.Original<decltype(InternetOpenUrlW)>()(
                    session, url, headers, headersLength, flags, context))
              : nullptr;
}

BOOL WINAPI CDeferredClose::Read(HINTERNET request, LPVOID buffer, DWORD size, LPDWORD read) {
  const CCall call(request);
  return call &&
         s_instance->m_read.Original<decltype(InternetReadFile)>()(request, buffer, size, read);
}

BOOL WINAPI CDeferredClose::Query(HINTERNET request, DWORD level, LPVOID buffer, LPDWORD size,
                                  LPDWORD index) {
  const CCall call(request);
  return call && s_instance->m_query.Original<decltype(HttpQueryInfoW)>()(request, level, buffer,
                                                                          size, index);
}

BOOL WINAPI CDeferredClose::Close(HINTERNET handle) {
  const CLocked locked(s_instance->m_lock);
  const auto found = s_instance->m_families.find(handle);
  if (found == s_instance->m_families.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  const std::shared_ptr<Family> family = found->second;
  if (std::ranges::find(family->closed, handle) != family->closed.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  family->closed.push_back(handle);
  s_instance->Finish(*family);
  return TRUE;
}
