#include "collections/unzip_library.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <vector>

#include "collections/unzip_callbacks.h"
#include "collections/unzip_interface.h"

namespace {

constexpr wchar_t kLibraryName[] = L"UNZIP32.DLL";
constexpr DWORD kPathLength = 260;
constexpr int kFirstFailure = 2;  // 0 is success, 1 success with a warning

/// The library's functions, bound anew at each load.
struct CUnzipFunctions {
  WizSingleEntryUnzipFn singleEntryUnzip = nullptr;
  WizUnzipToMemoryFn unzipToMemory = nullptr;
  UzpFreeMemBufferFn freeMemBuffer = nullptr;

  bool AreBound() const {
    return singleEntryUnzip != nullptr && unzipToMemory != nullptr && freeMemBuffer != nullptr;
  }
};
CUnzipFunctions g_functions;

template <typename Function>
void Bind(HMODULE library, const char* name, Function& function) {
  function = std::bit_cast<Function>(GetProcAddress(library, name));
}

/// A zero-filled block as the library's interface wants it, locked for the object's lifetime.
template <typename T>
class CGlobalBlock {
 public:
  CGlobalBlock()
      : m_handle(GlobalAlloc(GMEM_ZEROINIT, sizeof(T))),
        m_block(m_handle != nullptr ? static_cast<T*>(GlobalLock(m_handle)) : nullptr) {}
  ~CGlobalBlock() {
    if (m_block != nullptr) {
      GlobalUnlock(m_handle);
    }
    if (m_handle != nullptr) {
      GlobalFree(m_handle);
    }
  }
  CGlobalBlock(const CGlobalBlock&) = delete;
  CGlobalBlock& operator=(const CGlobalBlock&) = delete;

  explicit operator bool() const { return m_block != nullptr; }
  T* Get() const { return m_block; }
  T* operator->() const { return m_block; }

 private:
  const HGLOBAL m_handle;
  T* const m_block;
};

/// A text in the thread's ANSI code page, as the library takes it; null when it cannot be
/// converted.
class CNarrowText {
 public:
  explicit CNarrowText(const CStringW& text)
      : m_bytes(2 * static_cast<size_t>(text.GetLength()) + 1),
        m_converted(WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, m_bytes.data(),
                                        static_cast<int>(m_bytes.size()), nullptr, nullptr) != 0) {}
  LPSTR Get() { return m_converted ? m_bytes.data() : nullptr; }

 private:
  std::vector<char> m_bytes;
  const bool m_converted;
};

/// An entry in the library's memory, given back to it at the latest at scope end.
class CLibraryBuffer {
 public:
  CLibraryBuffer() = default;
  ~CLibraryBuffer() { Free(); }
  CLibraryBuffer(const CLibraryBuffer&) = delete;
  CLibraryBuffer& operator=(const CLibraryBuffer&) = delete;

  UzpBuffer* Get() { return &m_buffer; }

  std::unique_ptr<char[]> Copy(unsigned long& size) const {
    auto copy = std::make_unique<char[]>(m_buffer.strlength);
    std::copy_n(m_buffer.strptr, m_buffer.strlength, copy.get());
    size = m_buffer.strlength;
    return copy;
  }

  void Free() {
    if (m_buffer.strptr != nullptr) {
      g_functions.freeMemBuffer(&m_buffer);
      m_buffer = {0, nullptr};
    }
  }

 private:
  UzpBuffer m_buffer = {0, nullptr};
};

void FillUserFunctions(USERFUNCTIONS& functions, UnzipMessageFn message) {
  functions.print = UnzipPrint;
  functions.replace = UnzipReplace;
  functions.password = UnzipPassword;
  functions.SendApplicationMessage = message;
}

/// Tells whether the library succeeded. Only then it is unloaded: after a failure it deliberately
/// stays, as its state is not known.
bool FinishUse(HMODULE library, int result) {
  if (result >= kFirstFailure) {
    std::wprintf(L"Problem unzipping: %d\n", result);
    return false;
  }
  FreeLibrary(library);
  return true;
}

}  // namespace

HMODULE LoadUnzipLibrary() {
  wchar_t path[kPathLength + 1] = {};
  if (SearchPathW(nullptr, kLibraryName, nullptr, kPathLength, path, nullptr) == 0) {
    std::wprintf(L"Couldn't find unzip DLL.\n");
    return nullptr;
  }
  const HMODULE library = LoadLibraryW(kLibraryName);
  if (library == nullptr) {
    std::wprintf(L"Couldn't load unzip DLL.\n");
    return nullptr;
  }
  Bind(library, "Wiz_SingleEntryUnzip", g_functions.singleEntryUnzip);
  Bind(library, "Wiz_UnzipToMemory", g_functions.unzipToMemory);
  Bind(library, "UzpFreeMemBuffer", g_functions.freeMemBuffer);
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
  CNarrowText archive(zipPath);
  options->nvflag = 1;  // a listing: without it the engine would extract
  options->ndflag = 1;
  options->lpszZipFN = archive.Get();
  const int result =
      g_functions.singleEntryUnzip(0, nullptr, 0, nullptr, options.Get(), functions.Get());
  return FinishUse(library, result);
}

bool UnzipEntryToMemory(const CStringW& zipPath, const CStringW& entryName, unsigned long* size,
                        std::unique_ptr<char[]>* data) {
  if (size == nullptr || data == nullptr) {
    return false;
  }
  *size = 0;
  data->reset();
  const HMODULE library = LoadUnzipLibrary();
  if (library == nullptr) {
    return false;
  }
  CNarrowText archive(zipPath);
  CNarrowText entry(entryName);
  const CGlobalBlock<USERFUNCTIONS> functions;
  if (!functions) {
    return false;
  }
  FillUserFunctions(*functions.Get(), UnzipReportEntry);

  CLibraryBuffer buffer;
  const int result =
      g_functions.unzipToMemory(archive.Get(), entry.Get(), functions.Get(), buffer.Get());
  if (result < kFirstFailure && buffer.Get()->strptr == nullptr) {
    // The published library answers like this for most failures: there is nothing to copy.
    FreeLibrary(library);
    return false;
  }
  if (result < kFirstFailure) {
    *data = buffer.Copy(*size);
  }
  buffer.Free();
  return FinishUse(library, result);
}
