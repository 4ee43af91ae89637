#include "plugin/file_version.h"

#include <cstring>
#include <optional>
#include <vector>

#include "base/code_pages.h"

namespace {

std::optional<VS_FIXEDFILEINFO> CopyFixedInfo(const void* block, UINT size) {
  VS_FIXEDFILEINFO info;
  if (block == nullptr || size < sizeof(info)) {
    return std::nullopt;
  }
  std::memcpy(&info, block, sizeof(info));
  return info;
}

/// Overloads of the system's functions for wide and narrow paths.
DWORD GetInfoSize(LPCWSTR path) { return GetFileVersionInfoSizeW(path, nullptr); }
DWORD GetInfoSize(LPCSTR path) { return GetFileVersionInfoSizeA(path, nullptr); }
bool GetInfo(LPCWSTR path, std::vector<BYTE>& info) {
  return GetFileVersionInfoW(path, 0, static_cast<DWORD>(info.size()), info.data()) != FALSE;
}
bool GetInfo(LPCSTR path, std::vector<BYTE>& info) {
  return GetFileVersionInfoA(path, 0, static_cast<DWORD>(info.size()), info.data()) != FALSE;
}
bool QueryRoot(LPCWSTR, const std::vector<BYTE>& info, void** block, UINT* size) {
  return VerQueryValueW(info.data(), L"\\", block, size) != FALSE;
}
bool QueryRoot(LPCSTR, const std::vector<BYTE>& info, void** block, UINT* size) {
  return VerQueryValueA(info.data(), "\\", block, size) != FALSE;
}

/// Reads the version resource, whose size is `infoSize`.
template <typename Path>
std::optional<VS_FIXEDFILEINFO> ReadInfo(Path path, DWORD infoSize) {
  std::vector<BYTE> info(infoSize);
  void* block = nullptr;
  UINT size = 0;
  if (infoSize == 0 || !GetInfo(path, info) || !QueryRoot(path, info, &block, &size)) {
    return std::nullopt;
  }
  return CopyFixedInfo(block, size);
}

}  // namespace

std::optional<VS_FIXEDFILEINFO> ReadFileVersion(const CStringW& path) {
  const DWORD size = GetInfoSize(path.GetString());
  if (size == 0 && GetLastError() == ERROR_CALL_NOT_IMPLEMENTED) {
    // Quirk 93: a system without the wide functions is asked by the narrow ones.
    const CStringA narrow = ToSystemCodePage(path);
    return ReadInfo(narrow.GetString(), GetInfoSize(narrow.GetString()));
  }
  return ReadInfo(path.GetString(), size);
}

CStringW FormatFileVersion(const VS_FIXEDFILEINFO& version) {
  CStringW text;
  text.Format(L"%d.%d.%d.%d", HIWORD(version.dwFileVersionMS), LOWORD(version.dwFileVersionMS),
              HIWORD(version.dwFileVersionLS), LOWORD(version.dwFileVersionLS));
  return text;
}
