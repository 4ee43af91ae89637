#include "bench/support/internet_request.h"

#include "bench/support/program.h"

namespace {

constexpr wchar_t kUserAgent[] = L"FolivoAX";
constexpr DWORD kOpenFlags =
    INTERNET_FLAG_RELOAD | INTERNET_FLAG_NO_CACHE_WRITE | INTERNET_FLAG_KEEP_CONNECTION;

}  // namespace

CInternetRequest::CInternetRequest(const std::wstring& url)
    : m_session(InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_PRECONFIG, nullptr, nullptr, 0)),
      m_request(InternetOpenUrlW(m_session.Get(), url.c_str(), nullptr, 0, kOpenFlags, 0)) {
  DemandSuccess(static_cast<bool>(m_request), "InternetOpenUrl");
}

std::int32_t CInternetRequest::BodySize() const {
  wchar_t text[32] = {};
  DWORD size = sizeof(text);
  DWORD index = 0;
  DemandSuccess(HttpQueryInfoW(m_request.Get(), HTTP_QUERY_CONTENT_LENGTH, text, &size, &index),
                "HttpQueryInfo");
  return _wtoi(text);
}

DWORD CInternetRequest::Read(void* buffer, DWORD size) const {
  DWORD received = 0;
  DemandSuccess(InternetReadFile(m_request.Get(), buffer, size, &received) != FALSE,
                "InternetReadFile");
  return received;
}
