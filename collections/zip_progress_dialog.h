#pragma once

#include <atlbase.h>
#include <atlcom.h>
#include <atlhost.h>
#include <atlstr.h>
#include <atlwin.h>
#include <wininet.h>

#include <cstdint>

#include "collections/collection_texts.h"
#include "download/file_path.h"
#include "resources/resource.h"

class TiXmlDocument;
class TiXmlElement;

/// How the collection dialog ended: the result of DoModal.
enum CollectionResult {
  kCollectionYes = 1,
  kCollectionNo = 2,  // or Cancel
  kCollectionFailed = 3,
};

/// The modal dialog that downloads one archive of collections, reads its manifest, and adds what
/// that names to the user's content folder.
///
/// One thread: the whole pipeline runs inside the dialog's first timer tick, with short pauses so
/// that each stage can be read, and pumps no messages. A stage that fails has shown its message and
/// ended the dialog. The system's own dialogs that a stage shows do pump messages: commands and
/// timer messages that come meanwhile are ignored, so that the stage alone decides. When the window
/// is destroyed meanwhile, the pipeline stops without a message.
class CZipProgressDialog : public ATL::CAxDialogImpl<CZipProgressDialog, ATL::CWindow> {
 public:
  enum { IDD = IDD_COLLECTION_DOWNLOAD };

  /// `sourceUrl`: address or path of the archive; `zipPath`: the file that it is written to;
  /// `contentFolder`: where collections are added.
  CZipProgressDialog(const CStringW& sourceUrl, const CStringW& zipPath,
                     const CStringW& contentFolder);
  // NOLINTNEXTLINE(modernize-use-override): not every ATL gives the base a virtual destructor
  virtual ~CZipProgressDialog();
  CZipProgressDialog(const CZipProgressDialog&) = delete;
  CZipProgressDialog& operator=(const CZipProgressDialog&) = delete;

  /// Full paths of the collection files written, in order.
  const CSimpleArray<CStringW>& GetAddedFiles() const { return m_addedFiles; }

  BEGIN_MSG_MAP(CZipProgressDialog)
  MESSAGE_HANDLER(WM_INITDIALOG, OnInitDialog)
  MESSAGE_HANDLER(WM_TIMER, OnTimer)
  COMMAND_HANDLER(IDOK, 0, OnYes)
  COMMAND_HANDLER(IDCANCEL, 0, OnNo)
  END_MSG_MAP()

 private:
  friend struct CZipProgressDialogPeer;  // The tests' way to single stages.

  enum class Phase {
    kWaiting,  // for the first timer tick
    kRunning,  // inside the pipeline
    kAsking,   // the closing question
    kEnded,    // EndWithResult has acted
  };

  LRESULT OnInitDialog(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);
  LRESULT OnTimer(UINT message, WPARAM wParam, LPARAM lParam, BOOL& handled);
  LRESULT OnYes(WORD notification, WORD id, HWND control, BOOL& handled);
  LRESULT OnNo(WORD notification, WORD id, HWND control, BOOL& handled);

  // The dialog (zip_progress_dialog.cpp).
  void RunPipeline();
  void FinishPipeline(const TiXmlDocument& document);
  void AskToView();
  void SetStatus(LPCWSTR title, LPCWSTR subtitle);
  void SetProgress(int percent);
  void ShowError(LPCWSTR text);
  void ShowArchiveError(LPCWSTR format);
  bool HasWindow() const;
  void EndWithResult(int code);
  void CloseHandles();

  // Stage 1 (zip_progress_dialog_transfer.cpp).
  bool DownloadArchive();
  bool CopyLocalArchive();
  bool OpenTransfer();
  bool OpenRequest();
  bool ReadChunk();
  bool WriteChunk(const void* data, DWORD size);

  // Stages 3 and 4 (zip_progress_dialog_stages.cpp).
  HRESULT ReadManifest(TiXmlDocument& document);
  HRESULT AddCollections(const TiXmlDocument& document);
  HRESULT AddCollection(const CStringW& entryName, const CFilePath& targetFolder,
                        CFilePath& outputPath);

  CStringW m_zipPath;
  CStringW m_sourceUrl;
  CStringW m_contentFolder;
  CSimpleArray<CStringW> m_addedFiles;
  CSimpleArray<CStringW> m_entries;
  bool m_done = false;       // the transfer has read the end of the data
  bool m_firstChunk = true;  // the first chunk has not been checked
  HINTERNET m_hSession = nullptr;
  HINTERNET m_hRequest = nullptr;
  HANDLE m_hFile = nullptr;     // the archive while it is written
  std::int32_t m_total = 0;     // expected bytes
  std::int32_t m_received = 0;  // bytes written
  Phase m_phase = Phase::kWaiting;
  LPCWSTR m_shortageText = kUnavailableText;  // what a stage that runs out of memory says
};
