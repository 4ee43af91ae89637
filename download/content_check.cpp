#include "download/content_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "download/file_operations.h"
#include "download/file_path.h"

namespace {

constexpr std::uint8_t kZlibHeader[] = {0x78, 0x9C};
constexpr std::uint8_t kCompoundFileHeader[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::uint8_t kZipHeader[] = {0x50, 0x4B, 0x03, 0x04};

// Quirk 24: compared byte by byte. A byte-order mark, another case, other quotes or other line ends
// do not match.
constexpr const char* kLessonXmlPrefixes[] = {
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><qdk ",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\r\n<qdk ",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n<qdk ",
};
constexpr const char* kCollectionXmlPrefixes[] = {
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><col>",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\r\n<col>",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n<col>",
};

template <std::size_t N>
bool BeginsWith(const std::uint8_t* data, std::int32_t length, const std::uint8_t (&header)[N]) {
  return length >= static_cast<std::int32_t>(N) && std::memcmp(data, header, N) == 0;
}

template <std::size_t N>
bool BeginsWithAny(const std::uint8_t* data, std::int32_t length,
                   const char* const (&prefixes)[N]) {
  return std::any_of(std::begin(prefixes), std::end(prefixes),
                     [&](const char* prefix) { return MatchPrefix(data, length, prefix) == 0; });
}

bool IsExtension(const CStringW& extension, const wchar_t* wanted) {
  return _wcsicmp(extension, wanted) == 0;
}

}  // namespace

int MatchPrefix(const std::uint8_t* data, std::int32_t length, const char* prefix) {
  const std::size_t prefixLength = std::strlen(prefix);
  if (length < 0 || prefixLength > static_cast<std::size_t>(length)) {
    return -1;
  }
  return std::memcmp(data, prefix, prefixLength);
}

bool IsValidContent(const std::uint8_t* data, std::int32_t length, const CStringW& extension) {
  if (IsExtension(extension, L".qdk")) {
    return BeginsWith(data, length, kZlibHeader) || BeginsWithAny(data, length, kLessonXmlPrefixes);
  }
  if (IsExtension(extension, L".qdc")) {
    return BeginsWith(data, length, kZlibHeader) ||
           BeginsWithAny(data, length, kCollectionXmlPrefixes);
  }
  if (IsExtension(extension, L".qdt")) {
    // Quirk 23: never genuine, so it is intercepted and then always left to the browser.
    return false;
  }
  if (IsExtension(extension, L".fvk")) {
    return BeginsWith(data, length, kCompoundFileHeader);
  }
  if (IsExtension(extension, L".folivo") || IsExtension(extension, L".gallery") ||
      IsExtension(extension, L".galleryitem")) {
    return BeginsWith(data, length, kZipHeader);
  }
  return false;
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
