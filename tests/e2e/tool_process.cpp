#include "tests/e2e/tool_process.h"

#include <gtest/gtest.h>

namespace {

/// A pipe of which the program inherits one end only: otherwise its input would never end.
void MakePipe(CHandle& read, CHandle& write, const CHandle& kept) {
  SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
  ASSERT_TRUE(CreatePipe(&read.m_h, &write.m_h, &inherited, 0));
  ASSERT_TRUE(SetHandleInformation(kept, HANDLE_FLAG_INHERIT, 0));
}

}  // namespace

std::wstring ToolPath(const std::wstring& fileName) {
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring program = path;
  return program.substr(0, program.rfind(L'\\')) + L"\\..\\tools\\" + fileName;
}

CToolProcess::CToolProcess(const std::wstring& path, const std::wstring& arguments) {
  CHandle toolInput;
  CHandle toolOutput;
  MakePipe(toolInput, m_input, m_input);
  MakePipe(m_output, toolOutput, m_output);

  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = toolInput;
  startup.hStdOutput = toolOutput;
  startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
  std::wstring commandLine = L"\"" + path + L"\" " + arguments;
  PROCESS_INFORMATION process = {};
  const BOOL started = CreateProcessW(path.c_str(), commandLine.data(), nullptr, nullptr, TRUE, 0,
                                      nullptr, nullptr, &startup, &process);
  EXPECT_TRUE(started) << "the tool does not start, error " << GetLastError();
  toolInput.Close();
  toolOutput.Close();  // else the output would not end with the program
  const CHandle thread(process.hThread);
  m_process.Attach(process.hProcess);
  m_reader.emplace([this] { ReadOutput(); });
}

CToolProcess::~CToolProcess() {
  if (WaitForSingleObject(m_process, 0) == WAIT_TIMEOUT) {
    TerminateProcess(m_process, 99);
  }
}

void CToolProcess::WriteLine(const std::string& line) const {
  const std::string bytes = line + "\n";
  DWORD written = 0;
  EXPECT_TRUE(
      WriteFile(m_input, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr));
}

std::optional<std::string> CToolProcess::WaitForLine(std::string_view beginning) {
  std::optional<std::string> found;
  bool inTime = true;
  AcquireSRWLockExclusive(&m_lock);
  while (!found && inTime) {
    if (m_next < m_lines.size()) {
      const std::string& line = m_lines[m_next++];
      if (line.starts_with(beginning)) {
        found = line;
      }
    } else {
      inTime = !m_ended && SleepConditionVariableSRW(&m_changed, &m_lock, kToolTimeout, 0);
    }
  }
  ReleaseSRWLockExclusive(&m_lock);
  return found;
}

DWORD CToolProcess::WaitForExit() {
  AcquireSRWLockExclusive(&m_lock);
  while (!m_ended && SleepConditionVariableSRW(&m_changed, &m_lock, kToolTimeout, 0)) {
  }
  ReleaseSRWLockExclusive(&m_lock);
  DWORD exitCode = STILL_ACTIVE;
  WaitForSingleObject(m_process, kToolTimeout);
  GetExitCodeProcess(m_process, &exitCode);
  return exitCode;
}

void CToolProcess::ReadOutput() {
  std::string pending;
  char buffer[1024];
  DWORD read = 0;
  while (ReadFile(m_output, buffer, sizeof(buffer), &read, nullptr) && read != 0) {
    pending.append(buffer, read);
    AcquireSRWLockExclusive(&m_lock);
    for (size_t end = pending.find('\n'); end != std::string::npos; end = pending.find('\n')) {
      const bool isText = end > 0 && pending[end - 1] == '\r';
      m_lines.push_back(pending.substr(0, isText ? end - 1 : end));
      pending.erase(0, end + 1);
    }
    ReleaseSRWLockExclusive(&m_lock);
    WakeAllConditionVariable(&m_changed);
  }
  AcquireSRWLockExclusive(&m_lock);
  m_ended = true;
  ReleaseSRWLockExclusive(&m_lock);
  WakeAllConditionVariable(&m_changed);
}
