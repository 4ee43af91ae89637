#pragma once

// Where registry scripts come from: resources, as bytes that become text.

#include <atlexcept.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace ATL::detail {

struct CLibraryFreer {
  void operator()(HMODULE hModule) const noexcept { ::FreeLibrary(hModule); }
};
using CLibraryHandle = std::unique_ptr<std::remove_pointer_t<HMODULE>, CLibraryFreer>;

/// UTF-16 when a byte order mark says so, else the ANSI code page, which resource compilers keep.
/// Text ends at the first null character.
inline std::wstring DecodeScript(std::string_view bytes) {
  std::wstring text;
  if (bytes.starts_with("\xFF\xFE")) {
    bytes.remove_prefix(2);
    text.resize(bytes.size() / sizeof(wchar_t));
    bytes.copy(reinterpret_cast<char*>(text.data()), text.size() * sizeof(wchar_t));
  } else if (!bytes.empty()) {
    const int size = static_cast<int>(bytes.size());
    const int length = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, nullptr, 0);
    text.resize(static_cast<size_t>(length));
    if (::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, text.data(), length) == 0) {
      AtlThrowLastWin32();
    }
  }
  return text.substr(0, text.find(L'\0'));
}

/// The script in a module's resource. Only the file is read; its code is not run.
inline std::wstring ReadScriptResource(LPCOLESTR szModule, UINT nID, LPCOLESTR szType) {
  const CLibraryHandle library(::LoadLibraryExW(szModule, nullptr, LOAD_LIBRARY_AS_DATAFILE));
  if (!library) {
    AtlThrowLastWin32();
  }
  const HRSRC hInfo = ::FindResourceW(library.get(), MAKEINTRESOURCEW(nID), szType);
  if (hInfo == nullptr) {
    AtlThrowLastWin32();
  }
  const HGLOBAL hData = ::LoadResource(library.get(), hInfo);
  const void* const data = hData != nullptr ? ::LockResource(hData) : nullptr;
  if (data == nullptr) {
    AtlThrowLastWin32();
  }
  return DecodeScript({static_cast<const char*>(data), ::SizeofResource(library.get(), hInfo)});
}

}  // namespace ATL::detail
