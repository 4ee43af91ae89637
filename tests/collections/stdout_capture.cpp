#include "tests/collections/stdout_capture.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <io.h>
#include <sys/stat.h>
#include <windows.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

constexpr int kStdout = 1;

/// Says on standard error what GoogleTest says on the standard output that is being taken.
class CFailurePrinter : public testing::EmptyTestEventListener {
 public:
  static void SetActive(bool active) {
    static CFailurePrinter* printer = nullptr;
    if (printer == nullptr) {
      printer = std::make_unique<CFailurePrinter>().release();
      testing::UnitTest::GetInstance()->listeners().Append(printer);  // which owns it from now on
    }
    printer->m_isActive = active;
  }

  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (m_isActive && result.failed()) {
      std::fprintf(stderr, "%s:%d: %s\n", result.file_name(), result.line_number(),
                   result.message());
    }
  }

 private:
  bool m_isActive = false;
};

}  // namespace

CStdoutCapture::CStdoutCapture() {
  std::fflush(stdout);
  wchar_t folder[MAX_PATH] = {};
  wchar_t path[MAX_PATH] = {};
  GetTempPathW(MAX_PATH, folder);
  GetTempFileNameW(folder, L"out", 0, path);
  // A duplicate inherits the mode, and in binary mode wide texts would be written as such.
  m_file = _wopen(path, _O_RDWR | _O_TEXT | _O_TEMPORARY, _S_IREAD | _S_IWRITE);
  m_saved = _dup(kStdout);
  EXPECT_GE(m_file, 0);
  EXPECT_EQ(_dup2(m_file, kStdout), 0);
  CFailurePrinter::SetActive(true);
}

CStdoutCapture::~CStdoutCapture() {
  CFailurePrinter::SetActive(false);
  std::fflush(stdout);
  _dup2(m_saved, kStdout);
  _close(m_saved);
  _close(m_file);
}

std::string CStdoutCapture::Take() {
  std::fflush(stdout);
  // The duplicates share one position.
  const long size = _lseek(m_file, 0, SEEK_END);
  std::string text(static_cast<size_t>(size), '\0');
  _lseek(m_file, 0, SEEK_SET);
  const int length = _read(m_file, text.data(), static_cast<unsigned>(size));
  EXPECT_GE(length, 0);
  text.resize(static_cast<size_t>(std::max(length, 0)));  // line ends are shorter than they were
  _lseek(m_file, 0, SEEK_SET);
  _chsize(m_file, 0);
  return text;
}
