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

/// The modal dialog that downloads an archive of collections, reads its manifest and adds the files
/// that the manifest names to the user's content folder.
///
/// There is one thread. The whole pipeline runs in the handler of the dialog's first timer message,
/// with pauses so that the user can read each line, and does not pump messages. A stage that fails
/// shows its message and ends the dialog before it returns. Message boxes and system dialogs that a
/// stage shows do pump messages; the dialog ignores commands and timer messages meanwhile. When its
/// window is destroyed meanwhile, the pipeline stops without a message.
class CZipProgressDialog : public ATL::CAxDialogImpl<CZipProgressDialog, ATL::CWindow> {
 public:
  enum { IDD = IDD_COLLECTION_DOWNLOAD };

  /// `sourceUrl`: address or path of the archive. `zipPath`: the file that it is downloaded to.
  /// `contentFolder`: the folder in which collections are added.
  CZipProgressDialog(const CStringW& sourceUrl, const CFilePath& zipPath,
                     const CFilePath& contentFolder);
  // NOLINTNEXTLINE(modernize-use-override): not every ATL gives the base a virtual destructor
  virtual ~CZipProgressDialog();
  CZipProgressDialog(const CZipProgressDialog&) = delete;
  CZipProgressDialog& operator=(const CZipProgressDialog&) = delete;

  /// Full paths of the collection files that were added, in order.
  const CSimpleArray<CStringW>& GetAddedFiles() const { return m_addedFiles; }

  BEGIN_MSG_MAP(CZipProgressDialog)
  MESSAGE_HANDLER(WM_INITDIALOG, OnInitDialog)
  MESSAGE_HANDLER(WM_TIMER, OnTimer)
  COMMAND_HANDLER(IDOK, 0, OnYes)
  COMMAND_HANDLER(IDCANCEL, 0, OnNo)
  END_MSG_MAP()

 private:
  friend struct CZipProgressDialogPeer;  // The tests' access to single stages.

  enum class Phase {
    kWaiting,  // for the first timer tick
    kRunning,  // inside the pipeline
    kAsking,   // the closing question
    kEnded,    // EndWithResult was called
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

  CFilePath m_zipPath;
  CStringW m_sourceUrl;
  CFilePath m_contentFolder;
  CSimpleArray<CStringW> m_addedFiles;
  CSimpleArray<CStringW> m_entries;
  bool m_done = false;       // the whole archive has been read
  bool m_firstChunk = true;  // the next chunk is the first, to be checked
  HINTERNET m_hSession = nullptr;
  HINTERNET m_hRequest = nullptr;
  HANDLE m_hFile = nullptr;     // the archive while it is written
  std::int32_t m_total = 0;     // expected bytes
  std::int32_t m_received = 0;  // bytes written
  Phase m_phase = Phase::kWaiting;
  LPCWSTR m_shortageText = kUnavailableText;  // message of a stage that runs out of memory
};
