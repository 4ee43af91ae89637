#pragma once

#include <atlbase.h>
#include <atlcom.h>

#include "tests/collections/documents_folder.h"
#include "tests/collections/qdc_download_peer.h"
#include "tests/support/temp_sandbox.h"

/// A control as a page has it, with folders of the test's own.
class CControlObject {
 public:
  explicit CControlObject(const CTempSandbox& sandbox)
      : m_documents(sandbox / L"Documents"), m_object(Create()) {}

  /// A control made now, by whatever the system says. One reference, the caller's.
  static CComPtr<CComObject<CQDCDownload>> Create() {
    CComObject<CQDCDownload>* object = nullptr;
    CComObject<CQDCDownload>::CreateInstance(&object);
    return object;
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
