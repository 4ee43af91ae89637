#pragma once

#include <tinyxml.h>

#include <string>
#include <vector>

#include "collections/zip_progress_dialog.h"

/// A test's view of the dialog's state, and its hand on single stages.
struct CZipProgressDialogPeer {
  CZipProgressDialog& dialog;

  /// What the first timer tick does before the pipeline, for stages that are called one by one.
  void Begin() {
    dialog.KillTimer(0);
    dialog.m_phase = CZipProgressDialog::Phase::kRunning;
  }
  bool DownloadArchive() { return dialog.DownloadArchive(); }
  HRESULT ReadManifest(TiXmlDocument& document) { return dialog.ReadManifest(document); }
  HRESULT AddCollections(const TiXmlDocument& document) { return dialog.AddCollections(document); }
  HRESULT AddCollection(LPCWSTR entry, LPCWSTR folder, CFilePath& output) {
    return dialog.AddCollection(entry, CFilePath(folder), output);
  }
  void FinishPipeline(const TiXmlDocument& document) { dialog.FinishPipeline(document); }
  void ShowError(LPCWSTR text) { dialog.ShowError(text); }
  void EndWithResult(int code) { dialog.EndWithResult(code); }

  CStringW ZipPath() const { return dialog.m_zipPath.GetText(); }
  CStringW SourceUrl() const { return dialog.m_sourceUrl; }
  CStringW ContentFolder() const { return dialog.m_contentFolder.GetText(); }
  HINTERNET Session() const { return dialog.m_hSession; }
  HINTERNET Request() const { return dialog.m_hRequest; }
  HANDLE File() const { return dialog.m_hFile; }
  LPCWSTR ShortageText() const { return dialog.m_shortageText; }
  int Total() const { return dialog.m_total; }
  int Received() const { return dialog.m_received; }

  void SetReceived(int received) { dialog.m_received = received; }
  void SetFile(HANDLE file) { dialog.m_hFile = file; }
  void SetWindow(HWND window) { dialog.m_hWnd = window; }
  void SetEntries(const std::vector<std::wstring>& names) {
    dialog.m_entries.RemoveAll();
    for (const std::wstring& name : names) {
      dialog.m_entries.Add(name.c_str());
    }
  }
  void AddFile(LPCWSTR path) { dialog.m_addedFiles.Add(path); }
  void ForgetAddedFiles() { dialog.m_addedFiles.RemoveAll(); }
  std::vector<std::wstring> AddedFiles() const {
    std::vector<std::wstring> files;
    for (int i = 0; i < dialog.GetAddedFiles().GetSize(); ++i) {
      files.emplace_back(dialog.GetAddedFiles()[i].GetString());
    }
    return files;
  }
};
