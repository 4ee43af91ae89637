#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <atlwin.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <shlobj.h>

#include <algorithm>
#include <string>

#include "collections/qdc_download.h"
#include "tests/collections/zip_progress_dialog_peer.h"
#include "tests/support/dialog_result.h"
#include "tests/support/import_patch.h"
#include "tests/support/temp_sandbox.h"

/// Decides, for its scope, what the shell answers about the user's Documents folder. Takes no
/// memory for that, as tests may be out of it. One at a time.
class CDocumentsFolder {
 public:
  /// The folder; empty: the shell does not know it.
  explicit CDocumentsFolder(const std::wstring& path)
      : m_patch("shell32.dll", "SHGetFolderPathW", &GetFolderPath) {
    s_path = path;
  }

 private:
  static HRESULT WINAPI GetFolderPath(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    EXPECT_EQ(folder, CSIDL_PERSONAL);
    EXPECT_EQ(token, nullptr);
    EXPECT_EQ(flags, 0u);
    std::copy_n(s_path.c_str(), s_path.size() + 1, path);
    return s_path.empty() ? E_FAIL : S_OK;
  }

  static inline std::wstring s_path;

  CImportPatch m_patch;
};

/// What the tests see of the control's inside.
struct CQDCDownloadPeer {
  const CQDCDownload& control;

  const CStringW& ContentFolder() const { return control.m_contentFolder.GetText(); }
  const CStringW& TempFolder() const { return control.m_tempFolder.GetText(); }
  bool IsReady() const { return control.m_ready; }
};

/// A control as a page has it, with folders of the test's own.
class CControlObject {
 public:
  explicit CControlObject(const CTempSandbox& sandbox) : CControlObject(sandbox / L"Documents") {}
  /// With this Documents folder.
  explicit CControlObject(const std::wstring& documents) : m_documents(documents) {
    CComObject<CQDCDownload>* object = nullptr;
    CComObject<CQDCDownload>::CreateInstance(&object);
    m_object = object;
  }

  CComObject<CQDCDownload>* operator->() const { return m_object; }
  CQDCDownloadPeer Peer() const { return {*m_object.p}; }
  /// Its IDispatch.
  IQDCDownload* Dispatch() const { return m_object; }
  /// Gives up the reference.
  void Release() { m_object.Release(); }

 private:
  CDocumentsFolder m_documents;
  CComPtr<CComObject<CQDCDownload>> m_object;
};

/// The collection dialog that is about to be run, inside CDialogResult::WhileRunning.
inline CZipProgressDialogPeer RunningDialogPeer() {
  auto* const base =
      reinterpret_cast<ATL::CDialogImplBaseT<ATL::CWindow>*>(CDialogResult::Parameter());
  return {*static_cast<CZipProgressDialog*>(base)};
}
