#include "tests/faults/held_file.h"

#include <gtest/gtest.h>

CHeldFile::CHeldFile(const std::wstring& path, bool isElsewhere) {
  if (isElsewhere) {
    m_process.emplace(TestFilePath(L"file_holder.exe"), L"\"" + path + L"\"");
    EXPECT_TRUE(m_process->WaitForLine("held")) << "the file is not held";
  } else {
    m_file.Attach(CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  }
}

CHeldFile::~CHeldFile() {
  if (m_process) {
    m_process->CloseInput();
    EXPECT_EQ(m_process->WaitForExit(), 0u);
  }
}
