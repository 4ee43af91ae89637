#include "tools/launcher_standin/record_file.h"

#include <windows.h>

#include <array>

namespace {

constexpr DWORD kMutexTimeout = 60000;    // milliseconds
constexpr DWORD kReplaceTimeout = 30000;  // milliseconds

/// Holds the mutex that keeps stand-ins apart.
class CRecordLock {
 public:
  CRecordLock() : m_mutex(CreateMutexW(nullptr, FALSE, L"FolivoLauncherStandInRecord")) {
    const DWORD result = m_mutex ? WaitForSingleObject(m_mutex, kMutexTimeout) : WAIT_FAILED;
    m_owned = result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
  }
  ~CRecordLock() {
    if (m_owned) {
      ReleaseMutex(m_mutex);
    }
    if (m_mutex) {
      CloseHandle(m_mutex);
    }
  }
  CRecordLock(const CRecordLock&) = delete;
  CRecordLock& operator=(const CRecordLock&) = delete;
  bool Owned() const { return m_owned; }

 private:
  HANDLE m_mutex;
  bool m_owned = false;
};

/// Closes a file handle at scope end.
class CFile {
 public:
  CFile(const std::wstring& path, DWORD access, DWORD disposition)
      : m_handle(CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                             disposition, FILE_ATTRIBUTE_NORMAL, nullptr)) {}
  ~CFile() {
    if (m_handle != INVALID_HANDLE_VALUE) {
      CloseHandle(m_handle);
    }
  }
  CFile(const CFile&) = delete;
  CFile& operator=(const CFile&) = delete;
  bool IsOpen() const { return m_handle != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return m_handle; }

 private:
  HANDLE m_handle;
};

/// Reads the records so far; a file that is not there yet counts as empty.
bool ReadRecords(const std::wstring& path, std::string& content) {
  const CFile file(path, GENERIC_READ, OPEN_EXISTING);
  if (!file.IsOpen()) {
    return GetLastError() == ERROR_FILE_NOT_FOUND;
  }
  std::array<char, 4096> buffer;
  for (;;) {
    DWORD read = 0;
    if (!ReadFile(file.Get(), buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr)) {
      return false;
    }
    if (read == 0) {
      return true;
    }
    content.append(buffer.data(), read);
  }
}

bool WriteWhole(const std::wstring& path, const std::string& content) {
  const CFile file(path, GENERIC_WRITE, CREATE_ALWAYS);
  DWORD written = 0;
  return file.IsOpen() &&
         WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written,
                   nullptr) &&
         written == content.size();
}

/// Renames over the old file, trying again while a reader holds that open without delete sharing.
bool Replace(const std::wstring& from, const std::wstring& to) {
  const ULONGLONG start = GetTickCount64();
  while (!MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING)) {
    const DWORD error = GetLastError();
    const bool held = error == ERROR_ACCESS_DENIED || error == ERROR_SHARING_VIOLATION;
    if (!held || GetTickCount64() - start > kReplaceTimeout) {
      SetLastError(error);
      return false;
    }
    Sleep(10);  // nothing tells when another process closes a file
  }
  return true;
}

}  // namespace

std::wstring RecordFilePath() {
  std::array<wchar_t, 1024> buffer{};
  DWORD bytes = sizeof(buffer);
  if (RegGetValueW(HKEY_CURRENT_USER, L"Software\\FolivoTestTools", L"LauncherRecord",
                   RRF_RT_REG_SZ, nullptr, buffer.data(), &bytes) == ERROR_SUCCESS) {
    return buffer.data();
  }
  const DWORD length =
      GetModuleFileNameW(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
  std::wstring path(buffer.data(), length);
  path.resize(path.find_last_of(L'\\') + 1);
  return path + L"LaunchFolivo.log";
}

bool AppendRecord(const std::wstring& path, const std::string& record) {
  const CRecordLock lock;
  std::string content;
  if (!lock.Owned() || !ReadRecords(path, content)) {
    return false;
  }
  const std::wstring temporary = path + L".new";
  return WriteWhole(temporary, content + record) && Replace(temporary, path);
}
