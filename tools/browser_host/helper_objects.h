// The browser helper objects of one browser window.
#pragma once

#include <atlbase.h>
#include <ocidl.h>

#include <functional>
#include <string>
#include <vector>

/// The class ids, as text, of the helper objects that are registered on this machine, in the order
/// in which the registry lists them.
std::vector<std::wstring> RegisteredHelperObjects();

/// Creates helper objects in-process and gives them the browser as their site. One thread.
class CHelperObjects {
 public:
  /// Told of each object: its class id as it was given, and the first failure of class id,
  /// creation and SetSite, or what SetSite returned.
  using Report = std::function<void(const std::wstring& clsid, HRESULT hr)>;

  CHelperObjects() = default;
  ~CHelperObjects() { Release(); }
  CHelperObjects(const CHelperObjects&) = delete;
  CHelperObjects& operator=(const CHelperObjects&) = delete;

  /// One helper's failure does not keep the others from being loaded.
  void Load(const std::vector<std::wstring>& clsids, IUnknown* site, const Report& report);

  /// Takes the site away from every object and lets go of it.
  void Release();

 private:
  std::vector<CComPtr<IObjectWithSite>> m_objects;
};
