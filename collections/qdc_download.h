#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include "com/scriptable_control.h"

/// The control by which a page downloads an archive of collections and adds them to the user's
/// content folder.
///
/// Everything runs on the thread that calls, the page's. Each call runs a modal dialog of its own,
/// and the object outlives the call even when the page lets go of it meanwhile.
class CQDCDownload : public CScriptableControl<CQDCDownload, &CLSID_CQDCDownload>,
                     public IQDCDownload {
 public:
  /// Finds the folders and makes sure of them. Never fails: what is missing shows when the page
  /// asks for a download.
  CQDCDownload();

  /// Writes or removes this class's registry tree; called by the module.
  static HRESULT WINAPI UpdateRegistry(BOOL registers);

  BEGIN_COM_MAP(CQDCDownload)
  COM_INTERFACE_ENTRY(IQDCDownload)
  COM_INTERFACE_ENTRY(IDispatch)
  COM_INTERFACE_ENTRY_CHAIN(CScriptableControl)
  END_COM_MAP()

  /// Downloads the archive at `SourceURL`, an address on a trusted host or a path. S_OK whenever
  /// its dialog was to be shown, however that ended; E_INVALIDARG for more than 1000 characters;
  /// E_FAIL, after a message, when the control could not be made ready.
  STDMETHOD(DownloadFile)(BSTR SourceURL) override;

  // Names and numbers of the one method, without the type library: pages are served even when that
  // is not registered.
  STDMETHOD(GetTypeInfoCount)(UINT* count) override;
  STDMETHOD(GetTypeInfo)(UINT index, LCID lcid, ITypeInfo** info) override;
  STDMETHOD(GetIDsOfNames)(REFIID riid, LPOLESTR* names, UINT count, LCID lcid,
                           DISPID* ids) override;
  /// Hands back what `DownloadFile` returns.
  STDMETHOD(Invoke)(DISPID dispid, REFIID riid, LCID lcid, WORD flags, DISPPARAMS* params,
                    VARIANT* result, EXCEPINFO* exception, UINT* argumentError) override;

 private:
  friend struct CQDCDownloadPeer;  // The tests' way to the members.

  bool PrepareContentFolder();
  bool PrepareTempFolder();
  HRESULT RunDownload(BSTR sourceUrl);
  void ShowNotReady();
  HWND FindOwnerWindow();

  CStringW m_contentFolder;  // where collections are added; empty without a Documents folder
  CStringW m_tempFolder;     // where the archive is written
  bool m_ready = true;
};
