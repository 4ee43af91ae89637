#include "download/file_types.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <span>
#include <string_view>

namespace {

using enum FileKind;
using enum SaveFilter;
using enum LinkRule;

constexpr char kZlibHeader[] = "\x78\x9C";
constexpr char kCompoundFileHeader[] = "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1";
constexpr char kZipHeader[] = "PK\x03\x04";

// Quirk 24: compared byte by byte. A byte-order mark, another case, other quotes or other line ends
// do not match.
constexpr const char* kQdkHeads[] = {
    kZlibHeader,
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><qdk ",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\r\n<qdk ",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n<qdk ",
};
constexpr const char* kQdcHeads[] = {
    kZlibHeader,
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?><col>",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\r\n<col>",
    "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?>\n<col>",
};
constexpr const char* kFvkHeads[] = {kCompoundFileHeader};
constexpr const char* kZipHeads[] = {kZipHeader};

constexpr CFileType kFileTypes[] = {
    {L".qdk", kLesson, 2, kOfItsKind, kChecked, kQdkHeads},
    {L".qdc", kGallery, 3, kOfItsKind, kChecked, kQdcHeads},
    // Quirk 23: requested and checked, but never genuine, so the browser downloads it.
    // Quirk 17: listed in the filter of its kind, but its own save dialog has no filter.
    {L".qdt", kGallery, 4, kNone, kChecked, {}},
    {L".fvk", kLesson, 3, kOfItsKind, kChecked, kFvkHeads},
    {L".folivo", kLesson, 1, kOfItsKind, kChecked, kZipHeads},
    {L".gallery", kGallery, 1, kOfItsKind, kChecked, kZipHeads},
    {L".galleryitem", kGallery, 2, kOfItsKind, kChecked, kZipHeads},
    // Quirk 6: only the save dialog's filter knows it.
    {L".qdi", kGallery, 5, kOfItsKind, kNotChecked, {}},
};

}  // namespace

std::span<const CFileType> GetFileTypes() { return kFileTypes; }

const CFileType* FindFileType(std::wstring_view extension) {
  const auto* const found = std::ranges::find_if(kFileTypes, [extension](const CFileType& type) {
    // Compares the lengths first, as this runs for every link and nearly none matches.
    return extension.size() == type.extension.size() &&
           _wcsnicmp(extension.data(), type.extension.data(), extension.size()) == 0;
  });
  return found != std::end(kFileTypes) ? found : nullptr;
}
