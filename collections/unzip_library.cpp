#include "collections/unzip_library.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <memory>

#include "base/code_pages.h"
#include "base/exception_boundary.h"
#include "collections/global_block.h"
#include "collections/unzip_callbacks.h"
#include "ui/bind_function.h"
#include "unzip/unzip_interface.h"

namespace {

constexpr wchar_t kLibraryName[] = L"UNZIP32.DLL";
constexpr DWORD kPathLength = 260;
constexpr int kFirstFailure = 2;  // 0 is success, 1 success with a warning

// The layouts of version 5.5x.
static_assert(sizeof(DCL) == 80 && sizeof(USERFUNCTIONS) == 72 && sizeof(UzpBuffer) == 16);

/// The library's functions, looked up after each load.
struct CUnzipFunctions {
  WizSingleEntryUnzipFn singleEntryUnzip = nullptr;
  WizUnzipToMemoryFn unzipToMemory = nullptr;
  UzpFreeMemBufferFn freeMemBuffer = nullptr;

  bool AreBound() const {
    return singleEntryUnzip != nullptr && unzipToMemory != nullptr && freeMemBuffer != nullptr;
  }
};
CUnzipFunctions g_functions;

/// Lock for one use of the library, from its load to its release. Each browser window has a thread
/// of its own, while the list that a listing fills, the function pointers and the engine's state
/// are global. Waits for a use on another thread. False inside a use on the same thread, which
/// would wait for itself; a library that dispatches messages can cause one.
class CUnzipUse {
 public:
  CUnzipUse() : m_isOwner(s_owner != GetCurrentThreadId()) {
    if (m_isOwner) {
      AcquireSRWLockExclusive(&s_lock);
      s_owner = GetCurrentThreadId();
    }
  }
  ~CUnzipUse() {
    if (m_isOwner) {
      s_owner = 0;
      ReleaseSRWLockExclusive(&s_lock);
    }
  }
  CUnzipUse(const CUnzipUse&) = delete;
  CUnzipUse& operator=(const CUnzipUse&) = delete;

  explicit operator bool() const { return m_isOwner; }

 private:
  static inline SRWLOCK s_lock = SRWLOCK_INIT;
  static inline std::atomic<DWORD> s_owner = 0;  // the thread that holds the lock; 0: none

  const bool m_isOwner;
};

/// Copies an entry from the library's memory and frees that. Sets `size` and `data` only on
/// success.
bool TakeEntry(UzpBuffer& buffer, unsigned long& size, std::unique_ptr<char[]>& data) {
  if (buffer.strptr == nullptr) {
    return false;  // For most failures the library returns success without a buffer.
  }
  const unsigned long length = buffer.strlength;
  const HRESULT copied = CallGuarded([&] {
    data = std::make_unique_for_overwrite<char[]>(length);
    std::copy_n(buffer.strptr, length, data.get());
    size = length;
  });
  g_functions.freeMemBuffer(&buffer);
  return SUCCEEDED(copied);
}

void FillUserFunctions(USERFUNCTIONS& functions, UnzipMessageFn message) {
  functions.print = UnzipPrint;
  functions.sound = nullptr;
  functions.replace = UnzipReplace;
  functions.password = UnzipPassword;
  functions.SendApplicationMessage = message;
  functions.ServCallBk = nullptr;
}

/// Sets the options for listing the whole archive. All other options are 0.
void FillListingOptions(DCL& options, LPSTR archive) {
  options.ExtractOnlyNewer = 0;
  options.PromptToOverwrite = 0;
  options.fQuiet = 0;
  options.ncflag = 0;
  options.ntflag = 0;
  options.nvflag = 1;  // list; otherwise the engine would extract to the current folder
  options.nfflag = 0;
  options.nzflag = 0;
  options.ndflag = 1;
  options.noflag = 0;
  options.naflag = 0;
  options.lpszZipFN = archive;
  options.lpszExtractDir = nullptr;
}

/// Quirk 78: on standard output, as all diagnostics of this file.
void ReportProblem(int result) { std::wprintf(L"Problem unzipping: %d\n", result); }

}  // namespace

HMODULE LoadUnzipLibrary() {
  wchar_t path[kPathLength] = {};
  if (SearchPathW(nullptr, kLibraryName, nullptr, kPathLength, path, nullptr) == 0) {
    std::wprintf(L"Couldn't find unzip DLL.\n");
    return nullptr;
  }
  // Quirk 74: by its bare name, so the search path decides which library that is.
  const HMODULE library = LoadLibraryW(kLibraryName);
  if (library == nullptr) {
    std::wprintf(L"Couldn't load unzip DLL.\n");
    return nullptr;
  }
  BindFunction(library, "Wiz_SingleEntryUnzip", g_functions.singleEntryUnzip);
  BindFunction(library, "Wiz_UnzipToMemory", g_functions.unzipToMemory);
  BindFunction(library, "UzpFreeMemBuffer", g_functions.freeMemBuffer);
  if (!g_functions.AreBound()) {
    std::wprintf(L"Couldn't get functions from unzip DLL.\n");
    FreeLibrary(library);
    return nullptr;
  }
  return library;
}

bool ListZipEntries(const CStringW& zipPath, CSimpleArray<CStringW>* entries) {
  if (entries == nullptr) {
    return false;
  }
  const CUnzipUse use;
  if (!use) {
    return false;
  }
  const CUnzipListingTarget target(*entries);
  const CGlobalBlock<DCL> options;
  const CGlobalBlock<USERFUNCTIONS> functions;
  if (!options || !functions) {
    return false;
  }
  FillUserFunctions(*functions.Get(), UnzipListEntry);
  const HMODULE library = LoadUnzipLibrary();
  if (library == nullptr) {
    return false;
  }
  CThreadCodePageText archive(zipPath);
  FillListingOptions(*options.Get(), archive.Get());
  const int result =
      g_functions.singleEntryUnzip(0, nullptr, 0, nullptr, options.Get(), functions.Get());
  if (result >= kFirstFailure) {
    // Quirk 75: the library stays loaded.
    ReportProblem(result);
    return false;
  }
  FreeLibrary(library);
  return target.HasAllNames();
}

bool UnzipEntryToMemory(const CStringW& zipPath, const CStringW& entryName, unsigned long* size,
                        std::unique_ptr<char[]>* data) {
  if (size == nullptr || data == nullptr) {
    return false;
  }
  *size = 0;
  data->reset();
  const CUnzipUse use;
  if (!use) {
    return false;
  }
  const HMODULE library = LoadUnzipLibrary();
  if (library == nullptr) {
    return false;
  }
  CThreadCodePageText archive(zipPath);
  CThreadCodePageText entry(entryName);
  const CGlobalBlock<USERFUNCTIONS> functions;
  if (!functions) {
    FreeLibrary(library);
    return false;
  }
  FillUserFunctions(*functions.Get(), UnzipReportEntry);
  // Needs no spare room after it: the structure has the same size in version 6.0.
  UzpBuffer buffer = {0, nullptr};
  const int result =
      g_functions.unzipToMemory(archive.Get(), entry.Get(), functions.Get(), &buffer);
  if (result >= kFirstFailure) {
    // Quirk 75: the library stays loaded.
    ReportProblem(result);
    return false;
  }
  const bool isTaken = TakeEntry(buffer, *size, *data);
  FreeLibrary(library);
  return isTaken;
}
