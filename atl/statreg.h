#pragma once

// The registrar, linked into the module: it does not depend on the system's copy of the library.

#include <atlexcept.h>

#include "detail/exception_boundary.h"
#include "detail/per_user_registration.h"
#include "detail/registrar_parser.h"
#include "detail/registrar_source.h"
#include "detail/registrar_writer.h"

namespace ATL {

/// The part of a registrar that the module needs to hand out replacements.
struct IRegistrarBase : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE AddReplacement(LPCOLESTR Key, LPCOLESTR item) = 0;
  virtual HRESULT STDMETHODCALLTYPE ClearReplacements() = 0;
};

/// Runs registry scripts (.rgs). Registering writes what the script says, unregistering takes it
/// back. A script is read to its end first: a mistake in it, or a %NAME% without replacement, gives
/// DISP_E_EXCEPTION and changes nothing. A failure of the registry gives its Win32 code.
///
/// Lives on the stack of its user: reference counts mean nothing to it. One thread at a time.
class CRegObject : public IRegistrarBase {
 public:
  virtual ~CRegObject() = default;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    if (ppv == nullptr) {
      return E_POINTER;
    }
    *ppv = ::IsEqualIID(iid, IID_IUnknown) ? static_cast<IUnknown*>(this) : nullptr;
    return *ppv != nullptr ? S_OK : E_NOINTERFACE;
  }
  STDMETHOD_(ULONG, AddRef)() override { return 1; }
  STDMETHOD_(ULONG, Release)() override { return 1; }

  /// `item` stands for %Key% in the scripts run from now on; a second one for a key replaces the
  /// first. Single quotes in `item` must be doubled where the script has the token in quotes.
  STDMETHOD(AddReplacement)(LPCOLESTR Key, LPCOLESTR item) override {
    if (Key == nullptr || item == nullptr) {
      return E_INVALIDARG;
    }
    return detail::CallGuarded([&] {
      m_replacements.insert_or_assign(Key, item);
      return S_OK;
    });
  }
  STDMETHOD(ClearReplacements)() override {
    m_replacements.clear();
    return S_OK;
  }

  /// Runs the script in a resource of a module, whose code is not run.
  HRESULT ResourceRegister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) noexcept {
    return RunResource(resFileName, nID, szType, true);
  }
  HRESULT ResourceUnregister(LPCOLESTR resFileName, UINT nID, LPCOLESTR szType) noexcept {
    return RunResource(resFileName, nID, szType, false);
  }
  HRESULT StringRegister(LPCOLESTR data) noexcept { return RunString(data, true); }
  HRESULT StringUnregister(LPCOLESTR data) noexcept { return RunString(data, false); }

 private:
  HRESULT RunResource(LPCOLESTR szModule, UINT nID, LPCOLESTR szType, bool bRegister) noexcept {
    if (szModule == nullptr || szType == nullptr) {
      return E_INVALIDARG;
    }
    return detail::CallGuarded(
        [&] { return Run(detail::ReadScriptResource(szModule, nID, szType), bRegister); });
  }
  HRESULT RunString(LPCOLESTR szScript, bool bRegister) noexcept {
    if (szScript == nullptr) {
      return E_INVALIDARG;
    }
    return detail::CallGuarded([&] { return Run(szScript, bRegister); });
  }

  HRESULT Run(std::wstring_view source, bool bRegister) {
    bool bPerUser = false;
    AtlGetPerUserRegistration(&bPerUser);
    const std::wstring text = detail::ExpandReplacements(source, m_replacements);
    const detail::RegistrarScript script = detail::CRegistrarParser(text, bPerUser).Parse();
    if (bRegister) {
      detail::WriteScript(script);
    } else {
      detail::RemoveScript(script);
    }
    return S_OK;
  }

  detail::ReplacementMap m_replacements;
};

}  // namespace ATL
