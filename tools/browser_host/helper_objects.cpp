#include "tools/browser_host/helper_objects.h"

#include <array>
#include <utility>

namespace {

constexpr wchar_t kRegistryKey[] =
    L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Browser Helper Objects";

HRESULT CreateHelper(const std::wstring& clsidText, IUnknown* site,
                     CComPtr<IObjectWithSite>& object) {
  CLSID clsid{};
  HRESULT hr = CLSIDFromString(clsidText.c_str(), &clsid);
  if (SUCCEEDED(hr)) {
    hr = CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(&object));
  }
  return SUCCEEDED(hr) ? object->SetSite(site) : hr;
}

}  // namespace

std::vector<std::wstring> RegisteredHelperObjects() {
  std::vector<std::wstring> clsids;
  CRegKey key;
  if (key.Open(HKEY_LOCAL_MACHINE, kRegistryKey, KEY_READ) != ERROR_SUCCESS) {
    return clsids;
  }
  std::array<wchar_t, 256> name{};  // the registry's limit for names of keys
  DWORD length = static_cast<DWORD>(name.size());
  for (DWORD index = 0; RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr,
                                      nullptr) == ERROR_SUCCESS;
       ++index) {
    clsids.emplace_back(name.data(), length);
    length = static_cast<DWORD>(name.size());
  }
  return clsids;
}

void CHelperObjects::Load(const std::vector<std::wstring>& clsids, IUnknown* site,
                          const Report& report) {
  for (const std::wstring& clsid : clsids) {
    CComPtr<IObjectWithSite> object;
    const HRESULT hr = CreateHelper(clsid, site, object);
    if (SUCCEEDED(hr)) {
      m_objects.push_back(object);
    }
    report(clsid, hr);
  }
}

void CHelperObjects::Release() {
  // Taken out first: an object that is told to go may run messages.
  const auto objects = std::exchange(m_objects, {});
  for (const CComPtr<IObjectWithSite>& object : objects) {
    object->SetSite(nullptr);
  }
}
