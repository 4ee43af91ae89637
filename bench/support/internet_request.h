#pragma once

#include <cstdint>
#include <string>

#include "base/scoped_handle.h"
#include "download/atomic_handle.h"

/// A request as the product opens it, with the same agent and flags, by the system's calls alone.
class CInternetRequest {
 public:
  /// Throws CMeasurementError when it does not open.
  explicit CInternetRequest(const std::wstring& url);

  /// Bytes, as the server tells.
  std::int32_t BodySize() const;

  /// Reads up to `size` bytes; gives their number, 0 at the end of the body.
  DWORD Read(void* buffer, DWORD size) const;

 private:
  CScopedHandle<CInternetTraits> m_session;
  CScopedHandle<CInternetTraits> m_request;
};
