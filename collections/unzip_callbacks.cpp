#include "collections/unzip_callbacks.h"

#include <cstdio>
#include <cwchar>

#include "base/exception_boundary.h"

namespace {

constexpr int kNotSupplied = 1;

// The report truncates names that are longer than any path.
constexpr int kReportedNameLength = 1024;

CSimpleArray<CStringW>* g_listingTarget = nullptr;
bool g_hasLostName = false;

CStringW ToWide(LPCSTR text) {
  const int length = MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, nullptr, 0);
  CStringW wide;
  MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, wide.GetBuffer(length), length);
  wide.ReleaseBuffer();
  return wide;
}

CStringW FactorText(unsigned long size, unsigned long compressedSize, unsigned factor) {
  if (factor == 100) {
    return L"100%%";  // Quirk 77: copied, not formatted, so both signs are shown.
  }
  CStringW text;
  text.Format(L"%c%d%%", size < compressedSize ? L'-' : L' ', factor);
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

void WINAPI UnzipListEntry(unsigned long, unsigned long, unsigned, unsigned, unsigned, unsigned,
                           unsigned, unsigned, char, LPSTR entry, LPSTR, unsigned long, char) {
  CSimpleArray<CStringW>* const target = g_listingTarget;
  if (target == nullptr || entry == nullptr) {
    return;
  }
  bool isAdded = false;
  CallGuarded([&] { isAdded = target->Add(ToWide(entry)) != FALSE; });
  g_hasLostName = g_hasLostName || !isAdded;
}

void WINAPI UnzipReportEntry(unsigned long size, unsigned long compressedSize, unsigned factor,
                             unsigned month, unsigned day, unsigned year, unsigned hour,
                             unsigned minute, char flag, LPSTR entry, LPSTR, unsigned long, char) {
  CallGuarded([=] {
    const CStringW name = ToWide(entry != nullptr ? entry : "").Left(kReportedNameLength);
    CStringW line;
    line.Format(L"%7lu  %7lu %4s  %02u-%02u-%02u  %02u:%02u  %c%s", size, compressedSize,
                FactorText(size, compressedSize, factor).GetString(), month, day, year, hour,
                minute, static_cast<wchar_t>(static_cast<unsigned char>(flag)), name.GetString());
    std::wprintf(L"%ls\n", line.GetString());
  });
}
