#include "download/content_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/file_types.h"

int MatchPrefix(const std::uint8_t* data, std::int32_t length, const char* prefix) {
  const std::size_t prefixLength = std::strlen(prefix);
  if (length < 0 || prefixLength > static_cast<std::size_t>(length)) {
    return -1;
  }
  return std::memcmp(data, prefix, prefixLength);
}

bool IsValidContent(const std::uint8_t* data, std::int32_t length, const CStringW& extension) {
  const CFileType* const type = FindFileType(extension.GetString());
  return type != nullptr && std::ranges::any_of(type->heads, [=](const char* head) {
           return MatchPrefix(data, length, head) == 0;
         });
}

bool ValidateLocalFile(const CFilePath& file, const CStringW& extension) {
  const CFileStream stream(_wfopen(file, L"rb"));
  if (!stream) {
    return false;
  }
  std::array<std::uint8_t, kContentHeadSize> head;
  const std::size_t count = std::fread(head.data(), 1, head.size(), stream.get());
  return IsValidContent(head.data(), static_cast<std::int32_t>(count), extension);
}
