#pragma once

#include <atlbase.h>
#include <atlstr.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "collections/unzip_library.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "unzip/unzip_interface.h"

/// Takes what this process writes to standard output, for the object's scope. What nobody has taken
/// then is written after all: it may be a failure's message.
class CStdoutCapture {
 public:
  CStdoutCapture() { testing::internal::CaptureStdout(); }
  ~CStdoutCapture() { std::fputs(testing::internal::GetCapturedStdout().c_str(), stdout); }
  CStdoutCapture(const CStdoutCapture&) = delete;
  CStdoutCapture& operator=(const CStdoutCapture&) = delete;

  /// What has been written since the last call, with "\n" as line end.
  std::string Take() {
    const std::string text = testing::internal::GetCapturedStdout();
    testing::internal::CaptureStdout();
    return text;
  }
};

/// One of the archives that make_archives.py makes.
inline CStringW Archive(const wchar_t* name) {
  return (ProgramFolder() + L"\\archives\\" + name + L".zip").c_str();
}

/// What make_archives.py puts into text entries.
inline std::string ArchivedText() {
  std::string text;
  for (int i = 0; i < 400; ++i) {
    text += "A lesson about zip archives.\n";
  }
  return text;
}

inline std::vector<std::wstring> ToVector(const CSimpleArray<CStringW>& names) {
  std::vector<std::wstring> result;
  for (int i = 0; i < names.GetSize(); ++i) {
    result.emplace_back(names[i].GetString());
  }
  return result;
}

/// The names that a listing gives; nothing when it fails.
inline std::optional<std::vector<std::wstring>> List(const CStringW& archive) {
  CSimpleArray<CStringW> names;
  if (!ListZipEntries(archive, &names)) {
    return std::nullopt;
  }
  return ToVector(names);
}

/// The bytes of an entry; nothing when the extraction fails, which then gives no data.
inline std::optional<std::string> Unzip(const CStringW& archive, const CStringW& entry) {
  unsigned long size = 4711;
  auto data = std::make_unique<char[]>(1);
  if (!UnzipEntryToMemory(archive, entry, &size, &data)) {
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(data, nullptr);
    return std::nullopt;
  }
  EXPECT_NE(data, nullptr);
  return std::string(data.get(), size);
}

/// Has a callback of the library's told of an entry.
inline void Tell(UnzipMessageFn message, std::string name) {
  message(1, 1, 0, 1, 2, 3, 4, 5, ' ', name.data(), nullptr, 0, ' ');
}
