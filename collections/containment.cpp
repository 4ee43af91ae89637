#include "collections/containment.h"

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string_view>

#include "download/file_path.h"

namespace {

constexpr const wchar_t* kDeviceNames[] = {L"CON",    L"PRN",     L"AUX",   L"NUL",
                                           L"CONIN$", L"CONOUT$", L"CLOCK$"};
constexpr const wchar_t* kNumberedDeviceNames[] = {L"COM", L"LPT"};
constexpr wchar_t kDeviceNumbers[] = L"0123456789\u00B9\u00B2\u00B3";

/// Whether the name, without its extension, is that of a device.
bool IsDeviceName(const CStringW& name) {
  const std::wstring_view text = name.GetString();
  const std::wstring_view beforeDot = text.substr(0, text.find(L'.'));
  CStringW stem(beforeDot.data(), static_cast<int>(beforeDot.size()));
  stem.TrimRight();
  const auto isStem = [&](const wchar_t* device) { return stem.CompareNoCase(device) == 0; };
  if (std::any_of(std::begin(kDeviceNames), std::end(kDeviceNames), isStem)) {
    return true;
  }
  return stem.GetLength() == 4 && wcschr(kDeviceNumbers, stem[3]) != nullptr &&
         std::any_of(
             std::begin(kNumberedDeviceNames), std::end(kNumberedDeviceNames),
             [&](const wchar_t* device) { return stem.Left(3).CompareNoCase(device) == 0; });
}

bool HasControlCharacter(const CStringW& name) {
  for (int i = 0; i < name.GetLength(); ++i) {
    if (name[i] < L' ') {
      return true;
    }
  }
  return false;
}

}  // namespace

bool IsPlainFileName(const CStringW& name) {
  if (name.IsEmpty() || name.FindOneOf(L"\\/:") >= 0 || HasControlCharacter(name)) {
    return false;
  }
  // The file system drops dots and blanks at the end, so such a name stands for another one. This
  // also refuses "." and "..".
  const wchar_t last = name[name.GetLength() - 1];
  return last != L'.' && last != L' ' && !IsDeviceName(name);
}

bool IsFolderWithin(const CFilePath& path, const CFilePath& folder) {
  if (folder.IsEmpty() || path.GetText().GetLength() >= MAX_PATH) {
    return false;
  }
  const CStringW prefix = folder.GetText() + L'\\';
  const CStringW text = path.GetText() + L'\\';
  if (text.Left(prefix.GetLength()).CompareNoCase(prefix) != 0) {
    return false;
  }
  for (int start = prefix.GetLength(); start < text.GetLength();) {
    const int end = text.Find(L'\\', start);
    // The file system ignores an empty component.
    if (end > start && !IsPlainFileName(text.Mid(start, end - start))) {
      return false;
    }
    start = end + 1;
  }
  return true;
}
