#include "tools/support/line_output.h"

#include <algorithm>
#include <string>

namespace {

void WriteAll(HANDLE file, const std::string& bytes) {
  size_t done = 0;
  while (done < bytes.size()) {
    DWORD written = 0;
    const DWORD wanted = static_cast<DWORD>(bytes.size() - done);
    if (!WriteFile(file, bytes.data() + done, wanted, &written, nullptr) || written == 0) {
      return;  // the reader has gone: there is nobody left to tell
    }
    done += written;
  }
}

}  // namespace

CLineOutput::CLineOutput() : m_standardOutput(GetStdHandle(STD_OUTPUT_HANDLE)) {
  InitializeCriticalSection(&m_lock);
}

CLineOutput::~CLineOutput() {
  if (m_log != INVALID_HANDLE_VALUE) {
    CloseHandle(m_log);
  }
  DeleteCriticalSection(&m_lock);
}

bool CLineOutput::OpenLog(const wchar_t* path) {
  const HANDLE log = CreateFileW(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                                 FILE_ATTRIBUTE_NORMAL, nullptr);
  if (log == INVALID_HANDLE_VALUE) {
    return false;
  }
  EnterCriticalSection(&m_lock);
  if (m_log != INVALID_HANDLE_VALUE) {
    CloseHandle(m_log);
  }
  m_log = log;
  LeaveCriticalSection(&m_lock);
  return true;
}

void CLineOutput::WriteLine(std::string_view line) {
  std::string bytes(line);
  std::replace_if(bytes.begin(), bytes.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  bytes += '\n';
  EnterCriticalSection(&m_lock);
  WriteAll(m_standardOutput, bytes);
  if (m_log != INVALID_HANDLE_VALUE) {
    WriteAll(m_log, bytes);
  }
  LeaveCriticalSection(&m_lock);
}
