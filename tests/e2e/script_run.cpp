#include "tests/e2e/script_run.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

// A script that a mistake ends early exits with 0.
constexpr DWORD kFinished = 42;

std::wstring WriteScript(const std::wstring& folder, const std::string& source) {
  const std::filesystem::path path = std::filesystem::path(folder) / L"script.js";
  std::ofstream(path) << source << "\nWScript.Quit(" << kFinished << ");\n";
  return path.wstring();
}

}  // namespace

CScriptRun::CScriptRun(const std::wstring& folder, const std::string& source,
                       const std::wstring& argument)
    : m_process(
          ToolPath(L"with_wininet_bridge.exe"),
          L"cscript //nologo \"" + WriteScript(folder, source) + L"\" \"" + argument + L"\"") {}

std::vector<std::string> CScriptRun::Finish() {
  EXPECT_EQ(m_process.WaitForExit(), kFinished);
  std::vector<std::string> lines = m_process.Lines();
  for (std::string& line : lines) {
    if (line.ends_with('\r')) {
      line.pop_back();
    }
  }
  return lines;
}
