#include "browser/download_file_name.h"

#include <wininet.h>

#include <string_view>

#include "browser/browser_texts.h"
#include "download/file_path.h"
#include "ui/notice.h"

namespace {

// Quirk 15: in order of precedence. A value in the query comes before the path.
constexpr std::wstring_view kNameSeparators = L"=?&\\/:><*|\"";

constexpr DWORD kDecodedLength = 260;
constexpr wchar_t kReplacementName[] = L"downloadedfile";
constexpr wchar_t kReplacementExtension[] = L".folivo";

/// Returns the text after the last occurrence of the first separator in the list that the URL
/// contains. Quirk 16: empty when it contains none.
CStringW TakeName(const CStringW& url) {
  for (const wchar_t separator : kNameSeparators) {
    const int position = url.ReverseFind(separator);
    if (position >= 0) {
      return url.Mid(position + 1);
    }
  }
  return {};
}

bool Decode(CStringW& name) {
  wchar_t decoded[kDecodedLength + 1] = {};
  DWORD length = kDecodedLength;
  if (!InternetCanonicalizeUrlW(name, decoded, &length, ICU_DECODE | ICU_NO_ENCODE)) {
    return false;
  }
  name = decoded;
  return true;
}

CStringW MakeReplacementName(const CStringW& name) {
  const int dot = name.ReverseFind(L'.');
  return kReplacementName + (dot < 0 ? CStringW(kReplacementExtension) : name.Mid(dot));
}

}  // namespace

CStringW MakeDownloadFileName(HWND owner, const CStringW& url) {
  CStringW name = TakeName(url);
  if (!Decode(name)) {
    name = MakeReplacementName(name);
    ShowNotice(owner, kRenamedText, name);
  }
  return RemoveIllegalFileNameChars(name);
}
