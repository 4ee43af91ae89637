#include "collections/unzip_callbacks.h"

#include <cstdio>
#include <cwchar>

#include "base/code_pages.h"
#include "base/exception_boundary.h"

namespace {

constexpr int kNotSupplied = 1;

// The report truncates names that are longer than any path.
constexpr int kReportedNameLength = 1024;

CSimpleArray<CStringW>* g_listingTarget = nullptr;
bool g_hasLostName = false;

CStringW FactorText(const CUnzipEntry& entry) {
  if (entry.factor == 100) {
    return L"100%%";  // Quirk 77: copied, not formatted, so both signs are shown.
  }
  CStringW text;
  text.Format(L"%c%d%%", entry.size < entry.compressedSize ? L'-' : L' ', entry.factor);
  return text;
}

}  // namespace

CUnzipListingTarget::CUnzipListingTarget(CSimpleArray<CStringW>& entries) {
  g_listingTarget = &entries;
  g_hasLostName = false;
}

CUnzipListingTarget::~CUnzipListingTarget() { g_listingTarget = nullptr; }

bool CUnzipListingTarget::HasAllNames() const { return !g_hasLostName; }

int WINAPI UnzipPrint(LPSTR text, unsigned long length) {
  if (text != nullptr) {
    std::printf("%s", text);
  }
  return static_cast<int>(length);
}

int WINAPI UnzipReplace(LPSTR) { return kNotSupplied; }

int WINAPI UnzipPassword(LPSTR, int, LPCSTR, LPCSTR) { return kNotSupplied; }

void ListUnzipEntry(const CUnzipEntry& entry) {
  CSimpleArray<CStringW>* const target = g_listingTarget;
  if (target == nullptr || entry.name == nullptr) {
    return;
  }
  bool isAdded = false;
  CallGuarded([&] { isAdded = target->Add(FromThreadCodePage(entry.name)) != FALSE; });
  g_hasLostName = g_hasLostName || !isAdded;
}

void ReportUnzipEntry(const CUnzipEntry& entry) {
  CallGuarded([&] {
    const CStringW name =
        FromThreadCodePage(entry.name != nullptr ? entry.name : "").Left(kReportedNameLength);
    CStringW line;
    line.Format(L"%7lu  %7lu %4s  %02u-%02u-%02u  %02u:%02u  %c%s", entry.size,
                entry.compressedSize, FactorText(entry).GetString(), entry.month, entry.day,
                entry.year, entry.hour, entry.minute,
                static_cast<wchar_t>(static_cast<unsigned char>(entry.flag)), name.GetString());
    std::wprintf(L"%ls\n", line.GetString());
  });
}
