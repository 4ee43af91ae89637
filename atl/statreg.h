#pragma once

// The registrar. It is part of the module and does not need the system's ATL library.

#include <memory>

#include "detail/registrar_writer.h"

namespace ATL {

/// The part of a registrar that modules see.
struct IRegistrarBase {
  virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR Key, LPCOLESTR item) = 0;

 protected:
  ~IRegistrarBase() = default;
};

/// Runs registry scripts (.rgs): registering writes the keys and values of the script, and
/// unregistering removes the keys. Returns DISP_E_EXCEPTION, and changes nothing, for an error in
/// the script or a %NAME% without replacement; the HRESULT of the Win32 code when a registry
/// function fails. For one thread.
class CRegObject final : public IRegistrarBase {
 public:
  /// Replaces %Key% by `item`; a later call for the same key, in any case, replaces an earlier one.
  /// A single quote in `item` must be doubled where the script has the token in quotes.
  STDMETHOD(AddReplacement)(LPCOLESTR Key, LPCOLESTR item) override {
    if (Key == nullptr || item == nullptr) {
      return E_INVALIDARG;
    }
    return detail::CallGuarded([&] {
      m_replacements.insert_or_assign(Key, item);
      return S_OK;
    });
  }

  /// Run the script in a resource of a module.
  HRESULT ResourceRegister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) noexcept {
    return RunResource(resFileName, nID, szType, true);
  }
  HRESULT ResourceUnregister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) noexcept {
    return RunResource(resFileName, nID, szType, false);
  }
  HRESULT StringRegister(LPCOLESTR data) noexcept { return RunString(data, true); }
  HRESULT StringUnregister(LPCOLESTR data) noexcept { return RunString(data, false); }

 private:
  struct Freed {
    void operator()(HMODULE hModule) const noexcept { ::FreeLibrary(hModule); }
  };
  using CLibraryHandle = std::unique_ptr<std::remove_pointer_t<HMODULE>, Freed>;

  HRESULT RunString(LPCOLESTR szScript, bool bRegister) noexcept {
    if (szScript == nullptr) {
      return E_INVALIDARG;
    }
    return detail::CallGuarded([&] {
      const std::wstring text = detail::ExpandReplacements(szScript, m_replacements);
      detail::RunScript(detail::CRegistrarParser(text).Parse(), bRegister);
      return S_OK;
    });
  }
  HRESULT RunResource(LPCOLESTR szModule, UINT nID, LPCOLESTR szType, bool bRegister) noexcept {
    return detail::CallGuarded(
        [&] { return RunString(ReadResource(szModule, nID, szType).c_str(), bRegister); });
  }

  /// Returns the script, which is text in the ANSI code page. The module is loaded as data only.
  static std::wstring ReadResource(LPCOLESTR szModule, UINT nID, LPCOLESTR szType) {
    const CLibraryHandle library(::LoadLibraryExW(szModule, nullptr, LOAD_LIBRARY_AS_DATAFILE));
    const HRSRC hInfo =
        library ? ::FindResourceW(library.get(), MAKEINTRESOURCEW(nID), szType) : nullptr;
    const HGLOBAL hData = hInfo != nullptr ? ::LoadResource(library.get(), hInfo) : nullptr;
    const void* const data = hData != nullptr ? ::LockResource(hData) : nullptr;
    if (data == nullptr) {
      AtlThrowLastWin32();
    }
    const int size = static_cast<int>(::SizeofResource(library.get(), hInfo));
    std::wstring text(static_cast<size_t>(size), L'\0');
    const int length =
        ::MultiByteToWideChar(CP_ACP, 0, static_cast<const char*>(data), size, text.data(), size);
    if (length == 0) {
      AtlThrowLastWin32();
    }
    text.resize(static_cast<size_t>(length));
    return text;
  }

  detail::ReplacementMap m_replacements;
};

}  // namespace ATL
