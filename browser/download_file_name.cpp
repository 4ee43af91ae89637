#include "browser/download_file_name.h"

#include <wininet.h>

#include "browser/browser_texts.h"
#include "download/file_path.h"
#include "ui/notice.h"

namespace {

// Quirk 15: in order of precedence. A value in the query comes before the path.
constexpr wchar_t kNameSeparators[] = L"=?&\\/:><*|\"";

constexpr DWORD kDecodedLength = 260;
constexpr wchar_t kReplacementName[] = L"downloadedfile";
constexpr wchar_t kReplacementExtension[] = L".folivo";

/// Returns the text after the last occurrence of the first separator in the list that the URL
/// contains. Quirk 16: empty when it contains none.
CStringW TakeName(const CStringW& url) {
  for (const wchar_t separator : kNameSeparators) {
    // The array's terminator stands for the end of the URL, after which there is no text.
    const CStringW name = separator == L'\0' ? CStringW() : url.Mid(url.ReverseFind(separator) + 1);
    if (name.CompareNoCase(url) != 0) {
      return name;
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
