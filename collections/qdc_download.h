#pragma once

#include <atlbase.h>

#include "com/scriptable_control.h"
#include "download/file_path.h"

/// The control with which a page downloads an archive of collections and adds them to the user's
/// content folder.
///
/// All members run on the calling thread, which is the page's. Each call runs a modal dialog of its
/// own and holds a reference on the object, as the page may release it meanwhile.
class CQDCDownload : public CScriptableControl<CQDCDownload, &CLSID_CQDCDownload>,
                     public IQDCDownload {
 public:
  /// Creates the content folder and the temporary folder if they are missing, and initialises COM
  /// for the thread. Throws nothing: after a failure `DownloadFile` shows a message and returns
  /// E_FAIL, or, when only the content folder could not be created, reports that when a collection
  /// is added.
  CQDCDownload();

  /// Writes or removes this class's registry tree; called by the module.
  static HRESULT WINAPI UpdateRegistry(BOOL registers);

  BEGIN_COM_MAP(CQDCDownload)
  COM_INTERFACE_ENTRY(IQDCDownload)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY_CHAIN(CScriptableControl)
  END_COM_MAP()

  /// Downloads the archive at `SourceURL`, which is an address on a trusted host or a file's path,
  /// in a modal dialog. Returns S_OK whatever the dialog's result was, E_INVALIDARG for more than
  /// 1000 characters, and E_FAIL, after a message, when the constructor has failed.
  STDMETHOD(DownloadFile)(BSTR SourceURL) override;

  // IDispatch without the type library, so that scripts can call DownloadFile even when that is not
  // registered.
  STDMETHOD(GetTypeInfoCount)(UINT* count) override;
  STDMETHOD(GetTypeInfo)(UINT index, LCID lcid, ITypeInfo** info) override;
  STDMETHOD(GetIDsOfNames)(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                           DISPID* ids) override;
  /// Returns the result of `DownloadFile`, or a DISP_E_ code when the call or its argument is
  /// wrong.
  STDMETHOD(Invoke)(DISPID dispid, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params,
                    VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

 private:
  friend struct CQDCDownloadPeer;  // The tests' access to private members.

  bool PrepareContentFolder();
  bool PrepareTempFolder();
  HRESULT RunDownload(BSTR sourceUrl);
  void ShowNotReady();
  HWND FindOwnerWindow();

  CFilePath m_contentFolder;  // where collections are added; empty without a Documents folder
  CFilePath m_tempFolder;     // where the archive is written
  bool m_ready = true;
};
