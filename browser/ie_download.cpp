#include "browser/ie_download.h"

#include <exdispid.h>
#include <shlwapi.h>

#include <string_view>

#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "browser/application_handoff.h"
#include "browser/browser_texts.h"
#include "browser/navigation_arguments.h"
#include "browser/open_or_save.h"
#include "browser/url_extension.h"
#include "com/class_registration.h"
#include "download/content_check.h"
#include "download/download_texts.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/file_types.h"
#include "download/progress_dialog.h"
#include "download/temp_files.h"
#include "resources/resource.h"
#include "ui/notice.h"

namespace {

constexpr wchar_t kFriendlyName[] = L"MERLO Folivo Download Utility";
constexpr std::wstring_view kInsertMarker = L"insertinfolivo";
constexpr wchar_t kTempBaseName[] = L"iedownload";
constexpr int kClassNameLength = 260;
constexpr const wchar_t* kFrameClasses[] = {L"CabinetWClass", L"IEFrame"};

/// Quirk 96: in this case only.
bool HasInsertMarker(std::wstring_view text) {
  return text.find(kInsertMarker) != std::wstring_view::npos;
}

HRESULT FindConnectionPoint(IConnectionPointContainer* container,
                            CComPtr<IConnectionPoint>& point) {
  if (container == nullptr) {
    return E_POINTER;
  }
  const CComPtr<IConnectionPointContainer> held(container);  // the browser may set another site
  const HRESULT found = held->FindConnectionPoint(DIID_DWebBrowserEvents2, &point);
  // A browser may return success without a connection point.
  return SUCCEEDED(found) && point == nullptr ? E_POINTER : found;
}

}  // namespace

HRESULT WINAPI CIEDownload::UpdateRegistry(BOOL registers) {
  return UpdateClassRegistry(IDR_IEDOWNLOAD, kFriendlyName, registers);
}

STDMETHODIMP CIEDownload::SetSite(IUnknown* site) {
  if (site != m_browser.p) {
    CComPtr<IWebBrowser2> browser;
    if (site != nullptr) {
      site->QueryInterface(IID_PPV_ARGS(&browser));
    }
    if (browser) {
      // The previous browser's window must not own the new browser's dialogs.
      m_browserWindow = nullptr;
    }
    m_browser = browser;
    m_spUnkSite = browser ? site : nullptr;
  }
  if (!m_browser) {
    // Quirk 1: the subscription goes on until OnQuit.
    return E_INVALIDARG;
  }

  const CComPtr<IWebBrowser2> browser = m_browser;  // the calls below may set another site
  SHANDLE_PTR window = 0;
  if (FAILED(browser->get_HWND(&window)) || window == 0) {
    FindBrowserFrameWindow();
  } else {
    m_browserWindow = reinterpret_cast<HWND>(window);
  }
  m_container.Release();
  CComPtr<IConnectionPointContainer> container;
  const HRESULT queried = browser->QueryInterface(IID_PPV_ARGS(&container));
  m_container = container;
  if (FAILED(queried)) {
    return E_POINTER;
  }
  return Advise();
}

HRESULT CIEDownload::Advise() {
  CComPtr<IConnectionPoint> point;
  const HRESULT found = FindConnectionPoint(m_container, point);
  if (FAILED(found)) {
    return found;
  }
  // Quirk 2: the previous subscription goes on; only the newest cookie is stored. On failure the
  // cookie does not change.
  DWORD cookie = 0;
  const HRESULT advised = point->Advise(static_cast<IDispatch*>(this), &cookie);
  if (SUCCEEDED(advised)) {
    m_adviseCookie = cookie;
  }
  return advised;
}

HRESULT CIEDownload::Unadvise() {
  CComPtr<IConnectionPoint> point;
  const HRESULT found = FindConnectionPoint(m_container, point);
  if (FAILED(found)) {
    return found;
  }
  return point->Unadvise(m_adviseCookie);
}

HRESULT CIEDownload::OnQuit() {
  Unadvise();
  return S_OK;
}

BOOL CALLBACK CIEDownload::StoreIfBrowserFrame(HWND window, LPARAM self) {
  wchar_t name[kClassNameLength] = {};
  GetClassNameW(window, name, kClassNameLength);
  for (const wchar_t* frameClass : kFrameClasses) {
    if (lstrcmpiW(name, frameClass) == 0) {
      reinterpret_cast<CIEDownload*>(self)->m_browserWindow = window;
      return FALSE;
    }
  }
  return TRUE;
}

HRESULT CIEDownload::FindBrowserFrameWindow() {
  EnumThreadWindows(GetCurrentThreadId(), StoreIfBrowserFrame, reinterpret_cast<LPARAM>(this));
  return IsWindow(m_browserWindow) ? S_OK : E_POINTER;
}

HWND CIEDownload::GetDialogOwner() const {
  return IsWindow(m_browserWindow) ? m_browserWindow : nullptr;
}

STDMETHODIMP CIEDownload::Invoke(DISPID dispid, REFIID, LCID, WORD, DISPPARAMS* params, VARIANT*,
                                 EXCEPINFO*, UINT*) {
  if (params == nullptr) {
    return E_INVALIDARG;
  }
  // The browser may release this object while a dialog is open.
  const CComPtr<IUnknown> self(GetUnknown());
  switch (dispid) {
    case DISPID_BEFORENAVIGATE2:
    case DISPID_BEFORENAVIGATE:  // Quirk 3: the older event is read like the newer one.
      OnBeforeNavigate(*params);
      break;
    case DISPID_ONQUIT:
      OnQuit();
      break;
    default:
      break;
  }
  return S_OK;
}

void CIEDownload::OnBeforeNavigate(const DISPPARAMS& params) {
  if (!HasNavigationArguments(params)) {
    return;
  }
  // Quirk 4: throws when the variant cannot be copied; that exception leaves Invoke.
  const CComBSTR url = GetNavigationUrl(params);
  if (url != nullptr) {
    // After any other failure, such as out of memory, the browser navigates as usual.
    CallGuarded([&] { Navigate(url.m_str, params); });
  }
}

void CIEDownload::Navigate(LPCWSTR url, const DISPPARAMS& params) {
  // Nearly no link is ours: reads the URL as it is, and copies it only for one that is.
  const std::wstring_view path = GetUrlPath(url);
  const std::wstring_view query = url + path.size();
  if (HasInsertMarker(path) || HasInsertMarker(query)) {
    CFilePath shortcut;
    if (SUCCEEDED(WriteInternetShortcut(url, shortcut))) {
      // Quirk 7: cancels the navigation only when there is a launcher.
      LaunchInsert(GetDialogOwner(), [this] { return m_browser; }, shortcut, params);
      return;
    }
  }
  const std::wstring_view extension = GetPathExtension(path);
  const CFileType* const type = FindFileType(extension);
  if (type != nullptr && type->links == LinkRule::kChecked) {
    OfferFile(url, {extension.data(), static_cast<int>(extension.size())}, params);
  }
}

void CIEDownload::OfferFile(const CStringW& url, const CStringW& extension,
                            const DISPPARAMS& params) {
  const HWND owner = GetDialogOwner();
  const CFilePath tempFolder = PrepareAppTempFilesFolder(kProductName);
  SetTempBaseFolder(tempFolder);
  const CFilePath tempPath = MakeUniqueFilePath(tempFolder, kTempBaseName, extension);

  CProgressDialog::Ptr dialog;
  if (PathIsURLW(url)) {
    dialog = CProgressDialog::Create(url, tempPath, owner);
    if (!dialog->PeekContent(extension)) {
      return;
    }
  } else if (!PathExists(CFilePath(url))) {
    ShowNotice(owner, kFileMissingText, url);
    return;
  } else if (!ValidateLocalFile(CFilePath(url), extension)) {
    return;
  }

  const int answer = AskOpenOrSave(owner);
  if (answer == kAnswerNotAsked) {
    // The user was not asked, so the browser downloads the file itself.
    return;
  }
  if (answer == kAnswerOpen || answer == kAnswerSave) {
    const HRESULT done =
        CallGuarded([&] { OpenOrSave(owner, dialog, answer == kAnswerSave, url, extension); });
    if (done == E_OUTOFMEMORY) {
      MessageBoxW(owner, kNoMemoryText, kProductName, MB_ICONEXCLAMATION);
    }
  }
  // Quirk 8: for every answer, Cancel included, and whether carrying it out succeeded or failed.
  CancelNavigation(params);
}
