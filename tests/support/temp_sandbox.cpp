#include "tests/support/temp_sandbox.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

std::wstring Environment(const wchar_t* name) {
  wchar_t value[MAX_PATH + 1] = {};
  GetEnvironmentVariableW(name, value, ARRAYSIZE(value));
  return value;
}

std::wstring MakeOwnFolder() {
  static long counter = 0;
  const std::wstring name = L"folivo-test-" + std::to_wstring(GetCurrentProcessId()) + L"-" +
                            std::to_wstring(InterlockedIncrement(&counter));
  const fs::path folder = fs::path(Environment(L"TEMP")) / name;
  fs::create_directories(folder);
  return folder.wstring();
}

}  // namespace

CTempSandbox::CTempSandbox()
    : m_path(MakeOwnFolder()),
      m_previousTmp(Environment(L"TMP")),
      m_previousTemp(Environment(L"TEMP")) {
  SetEnvironmentVariableW(L"TMP", m_path.c_str());
  SetEnvironmentVariableW(L"TEMP", m_path.c_str());
}

CTempSandbox::~CTempSandbox() {
  SetEnvironmentVariableW(L"TMP", m_previousTmp.c_str());
  SetEnvironmentVariableW(L"TEMP", m_previousTemp.c_str());
  std::error_code error;
  for (const auto& entry : fs::recursive_directory_iterator(m_path, error)) {
    SetFileAttributesW(entry.path().c_str(), FILE_ATTRIBUTE_NORMAL);
  }
  fs::remove_all(m_path, error);
}

std::vector<std::wstring> CTempSandbox::Files() const {
  std::vector<std::wstring> files;
  for (const auto& entry : fs::recursive_directory_iterator(m_path)) {
    if (!entry.is_directory()) {
      std::wstring name = fs::relative(entry.path(), m_path).wstring();
      std::replace(name.begin(), name.end(), L'/', L'\\');
      files.push_back(name);
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::wstring CTempSandbox::Write(const std::wstring& name, const std::string& bytes) const {
  const fs::path path = fs::path(m_path) / name;
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return path.wstring();
}

std::string ReadFileBytes(const std::wstring& path) {
  std::ifstream stream(fs::path(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), {}};
}
