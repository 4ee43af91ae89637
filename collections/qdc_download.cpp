#include "collections/qdc_download.h"

#include <commctrl.h>
#include <shlobj.h>

#include "base/exception_boundary.h"
#include "base/product_texts.h"
#include "collections/collection_texts.h"
#include "collections/interface_type_info.h"
#include "collections/zip_progress_dialog.h"
#include "com/class_registration.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/shell_open.h"
#include "folivo_plugin_h.h"
#include "resources/resource.h"

namespace {

constexpr wchar_t kFriendlyName[] = L"CQDCDownload Object";
constexpr const wchar_t* kContentFolderLevels[] = {L"My Folivo Content", L"My Content",
                                                   L"Downloaded Content"};
constexpr wchar_t kTempFolderName[] = L"ZDH";
constexpr wchar_t kArchiveName[] = L"download.zip";  // Quirk 60: one name for all archives.
constexpr DWORD kPathLength = 260;
constexpr UINT kLongestSourceUrl = 1000;

constexpr DISPID kSourceUrlId = 0;
constexpr DISPID kDownloadFileId = 1;

}  // namespace

// Quirk 70: what is created here is never removed.
CQDCDownload::CQDCDownload() {
  if (FAILED(CallGuarded([this] {
        const bool hasContentFolder = PrepareContentFolder();
        m_ready = PrepareTempFolder() && hasContentFolder;
      }))) {
    m_ready = false;
  }
  // Quirk 69: no CoUninitialize follows. The thread is the page's, which goes on using COM.
  if (FAILED(CoInitialize(nullptr))) {
    m_ready = false;
  }
}

HRESULT WINAPI CQDCDownload::UpdateRegistry(BOOL registers) {
  return UpdateClassRegistry(IDR_QDCDOWNLOAD, kFriendlyName, registers);
}

/// False without a Documents folder. Quirk 68: a folder that cannot be created is no failure here;
/// adding a collection then fails.
bool CQDCDownload::PrepareContentFolder() {
  wchar_t documents[kPathLength] = {};
  if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, 0, documents))) {
    return false;
  }
  CFilePath folder(documents);
  for (const wchar_t* level : kContentFolderLevels) {
    folder.AppendComponent(level);
  }
  m_contentFolder = folder;
  CreateFolderTree(folder);
  return true;
}

bool CQDCDownload::PrepareTempFolder() {
  wchar_t temp[kPathLength + 1] = {};
  const DWORD length = GetTempPathW(kPathLength, temp);
  if (length == 0 || length > kPathLength) {
    return false;
  }
  CFilePath folder(temp);
  folder.AppendComponent(kTempFolderName);
  m_tempFolder = folder;
  return CreateFolderTree(folder);
}

STDMETHODIMP CQDCDownload::DownloadFile(BSTR SourceURL) {
  // The page may release this object while the dialog is open.
  const CComPtr<IUnknown> self(GetUnknown());
  HRESULT result = S_OK;
  const HRESULT guarded = CallGuarded([&] { result = RunDownload(SourceURL); });
  return FAILED(guarded) ? guarded : result;
}

HRESULT CQDCDownload::RunDownload(BSTR sourceUrl) {
  if (!m_ready) {
    ShowNotReady();
    return E_FAIL;
  }
  const CFilePath archive = JoinPath(m_tempFolder, kArchiveName);
  const CStringW url(sourceUrl);
  if (SysStringLen(sourceUrl) > kLongestSourceUrl) {
    return E_INVALIDARG;
  }
  // Registers the progress bar's window class, which some hosts lack and the dialog needs.
  const INITCOMMONCONTROLSEX controls = {sizeof(controls), ICC_PROGRESS_CLASS};
  InitCommonControlsEx(&controls);
  CZipProgressDialog dialog(url, archive, m_contentFolder);
  const INT_PTR answer = dialog.DoModal(GetActiveWindow());
  const CSimpleArray<CStringW>& added = dialog.GetAddedFiles();
  if (answer == kCollectionYes && added.GetSize() > 0) {
    // Quirk 66: whatever type the archive's author gave it. Quirk 67: how that ends is ignored.
    OpenInShell(nullptr, added[0], nullptr);
  }
  return S_OK;
}

void CQDCDownload::ShowNotReady() {
  ::MessageBoxW(FindOwnerWindow(), kNotReadyText, kProductName, MB_ICONHAND);
}

/// Returns the control's window, else its container's, else null.
HWND CQDCDownload::FindOwnerWindow() {
  if (m_hWnd != nullptr) {
    return m_hWnd;
  }
  CComQIPtr<IOleInPlaceSite> site(m_spClientSite);
  HWND window = nullptr;
  return site && SUCCEEDED(site->GetWindow(&window)) ? window : nullptr;
}

STDMETHODIMP CQDCDownload::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) {
    return E_POINTER;
  }
  CComPtr<ITypeInfo> info;
  *count = SUCCEEDED(LoadInterfaceTypeInfo(IID_IQDCDownload, &info)) ? 1 : 0;
  return S_OK;
}

STDMETHODIMP CQDCDownload::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  if (info != nullptr) {
    *info = nullptr;
  }
  if (index != 0) {
    return DISP_E_BADINDEX;
  }
  return info != nullptr ? LoadInterfaceTypeInfo(IID_IQDCDownload, info) : E_POINTER;
}

STDMETHODIMP CQDCDownload::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (count != 0 && (names == nullptr || ids == nullptr)) {
    return E_POINTER;
  }
  for (UINT i = 0; i < count; ++i) {
    if (names[i] == nullptr) {
      return DISP_E_UNKNOWNNAME;
    }
    // Quirk 72: the parameter's name is found in every place, the method's included.
    if (_wcsicmp(names[i], L"SourceURL") == 0) {
      ids[i] = kSourceUrlId;
    } else if (_wcsicmp(names[i], L"DownloadFile") == 0) {
      ids[i] = kDownloadFileId;
    } else {
      return DISP_E_UNKNOWNNAME;  // Quirk 71: the identifiers before it stay as written.
    }
  }
  return S_OK;
}

STDMETHODIMP CQDCDownload::Invoke(DISPID dispid, REFIID, LCID, WORD, DISPPARAMS* params,
                                  VARIANT* result, EXCEPINFO* exception, UINT* argumentError) {
  // Quirk 73: a call with several errors returns the code of the first test that fails, so the
  // order must stay.
  if (params == nullptr) {
    return DISP_E_BADVARTYPE;
  }
  if (params->cArgs > 1) {
    return DISP_E_BADPARAMCOUNT;
  }
  if (result != nullptr) {
    VariantInit(result);
  }
  if (dispid != kDownloadFileId) {
    return DISP_E_MEMBERNOTFOUND;
  }
  if (params->cArgs != 1 || params->rgvarg == nullptr) {
    return DISP_E_BADPARAMCOUNT;
  }
  CComVariant converted;
  const VARIANT* source = &params->rgvarg[0];
  if (source->vt != VT_BSTR) {
    if (FAILED(converted.ChangeType(VT_BSTR, source))) {
      if (argumentError != nullptr) {
        *argumentError = 0;
      }
      return DISP_E_TYPEMISMATCH;
    }
    source = &converted;
  }
  const HRESULT downloaded = DownloadFile(source->bstrVal);
  if (FAILED(downloaded) && exception != nullptr) {
    *exception = {};
    exception->scode = downloaded;
  }
  return downloaded;
}
