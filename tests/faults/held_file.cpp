#include "tests/faults/held_file.h"

#include <gtest/gtest.h>

CHeldFile::CHeldFile(const std::wstring& path)
    : m_process(TestFilePath(L"file_holder.exe"), L"\"" + path + L"\"") {
  EXPECT_TRUE(m_process.WaitForLine("held")) << "the file is not held";
}

CHeldFile::~CHeldFile() {
  m_process.CloseInput();
  EXPECT_EQ(m_process.WaitForExit(), 0u);
}
