#include "tests/tools/tool_process.h"

#include <gtest/gtest.h>

#include <array>

namespace {

std::wstring TestFolder() {
  std::array<wchar_t, 1024> path{};
  const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
  std::wstring folder(path.data(), length);
  folder.resize(folder.find_last_of(L'\\') + 1);
  return folder;
}

void Close(HANDLE& handle) {
  if (handle) {
    CloseHandle(handle);
    handle = nullptr;
  }
}

/// A pipe of which the tool inherits one end only: otherwise its input would never end.
void MakePipe(HANDLE& read, HANDLE& write, HANDLE& kept) {
  SECURITY_ATTRIBUTES inherited{sizeof(inherited), nullptr, TRUE};
  ASSERT_TRUE(CreatePipe(&read, &write, &inherited, 0));
  ASSERT_TRUE(SetHandleInformation(kept, HANDLE_FLAG_INHERIT, 0));
}

}  // namespace

std::wstring ToolPath(const std::wstring& fileName) {
  return TestFolder() + L"..\\tools\\" + fileName;
}

std::wstring TestFilePath(const std::wstring& fileName) { return TestFolder() + fileName; }

CToolProcess::CToolProcess(const std::wstring& path, const std::wstring& arguments,
                           const wchar_t* directory) {
  InitializeCriticalSection(&m_lock);
  m_news = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  HANDLE toolInput = nullptr;
  HANDLE toolOutput = nullptr;
  MakePipe(toolInput, m_input, m_input);
  MakePipe(m_output, toolOutput, m_output);

  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = toolInput;
  startup.hStdOutput = toolOutput;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  std::wstring commandLine = L"\"" + path + L"\" " + arguments;
  PROCESS_INFORMATION process{};
  const BOOL started = CreateProcessW(path.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0,
                                      nullptr, directory, &startup, &process);
  const DWORD error = GetLastError();
  Close(toolInput);
  Close(toolOutput);
  if (!started) {
    ADD_FAILURE() << "the tool does not start, error " << error;
    m_ended = true;
    return;
  }
  Close(process.hThread);
  m_process = process.hProcess;
  m_processId = process.dwProcessId;
  m_thread = CreateThread(nullptr, 0, ReaderThread, this, 0, nullptr);
}

CToolProcess::~CToolProcess() {
  if (m_process && WaitForSingleObject(m_process, 0) == WAIT_TIMEOUT) {
    TerminateProcess(m_process, 99);
  }
  if (m_thread) {
    WaitForSingleObject(m_thread, INFINITE);  // the pipe breaks with the tool's end
  }
  for (HANDLE* handle : {&m_process, &m_thread, &m_input, &m_output, &m_news}) {
    Close(*handle);
  }
  DeleteCriticalSection(&m_lock);
}

void CToolProcess::WriteLine(const std::string& line) {
  const std::string bytes = line + "\n";
  DWORD written = 0;
  EXPECT_TRUE(
      WriteFile(m_input, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
}

void CToolProcess::CloseInput() { Close(m_input); }

std::optional<std::string> CToolProcess::WaitForLine(std::string_view beginning) {
  std::string line;
  while (NextLine(line)) {
    if (std::string_view(line).substr(0, beginning.size()) == beginning) {
      return line;
    }
  }
  return std::nullopt;
}

DWORD CToolProcess::WaitForExit() {
  std::string line;
  while (NextLine(line)) {
  }
  DWORD exitCode = STILL_ACTIVE;
  WaitForSingleObject(m_process, kToolTimeout);
  GetExitCodeProcess(m_process, &exitCode);
  return exitCode;
}

bool CToolProcess::NextLine(std::string& line) {
  for (;;) {
    EnterCriticalSection(&m_lock);
    const bool found = !m_unread.empty();
    const bool ended = m_ended;
    if (found) {
      line = m_unread.front();
      m_unread.pop_front();
    }
    LeaveCriticalSection(&m_lock);
    if (found) {
      m_lines.push_back(line);
      return true;
    }
    if (ended || WaitForSingleObject(m_news, kToolTimeout) != WAIT_OBJECT_0) {
      return false;
    }
  }
}

DWORD CToolProcess::ReaderThread(void* self) {
  static_cast<CToolProcess*>(self)->ReadOutput();
  return 0;
}

void CToolProcess::ReadOutput() {
  std::string pending;
  std::array<char, 1024> buffer;
  DWORD read = 0;
  while (ReadFile(m_output, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr) &&
         read != 0) {
    pending.append(buffer.data(), read);
    for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
      EnterCriticalSection(&m_lock);
      m_unread.push_back(pending.substr(0, end));
      LeaveCriticalSection(&m_lock);
      pending.erase(0, end + 1);
    }
    SetEvent(m_news);
  }
  EnterCriticalSection(&m_lock);
  m_ended = true;
  LeaveCriticalSection(&m_lock);
  SetEvent(m_news);
}
