#pragma once

#include <gtest/gtest.h>

#include <string>

#include "collections/zip_progress_dialog.h"
#include "tests/collections/zip_progress_dialog_peer.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/http_server.h"
#include "tests/support/scripted_path.h"
#include "tests/support/temp_sandbox.h"
#include "tests/support/user.h"

// What the dialog says when it fails.
inline constexpr wchar_t kMissing[] =
    L"The Folivo Collection file that you are trying to download does not exist. Please verify "
    L"that the path to the file is valid.";
inline constexpr wchar_t kUnavailable[] =
    L"The Folivo Collection file is unavailable for downloading.";
inline constexpr wchar_t kNotValid[] =
    L"The Folivo Collection file is not valid. Please ensure that the link to the file is valid";
inline constexpr wchar_t kCannotUnzip[] = L"Could not unzip the Folivo Collections file.";
inline constexpr wchar_t kCannotAdd[] =
    L"Could not save the Folivo Collections file to the Folivo Content directory.";

/// A dialog with a window whose stages a test calls one by one, on its own thread. There is no
/// message loop, so the timer never ticks.
class COpenDialog {
 public:
  COpenDialog(const std::wstring& source, const std::wstring& zipPath,
              const std::wstring& contentFolder)
      : m_dialog(source.c_str(), zipPath.c_str(), contentFolder.c_str()) {
    EXPECT_NE(m_dialog.Create(nullptr), nullptr);
    ShowWindow(m_dialog, SW_SHOW);
    m_peer.Begin();
  }
  ~COpenDialog() {
    if (m_dialog.IsWindow()) {
      m_dialog.DestroyWindow();
    }
  }
  COpenDialog(const COpenDialog&) = delete;
  COpenDialog& operator=(const COpenDialog&) = delete;

  CZipProgressDialogPeer* operator->() { return &m_peer; }
  HWND Window() const { return m_dialog.m_hWnd; }

 private:
  CZipProgressDialog m_dialog;
  CZipProgressDialogPeer m_peer{m_dialog};
};

/// An archive at a path of the test's own, and a content folder, which is not there yet.
class CollectionFixture : public testing::Test {
 protected:
  ~CollectionFixture() override { EXPECT_TRUE(VisibleDialogs().empty()); }

  std::wstring ZipPath() const { return m_sandbox / L"download.zip"; }
  std::wstring ContentFolder() const { return m_sandbox / L"Downloaded Content"; }
  /// A folder and file in it, as an added collection.
  std::wstring Content(const std::wstring& name) const { return ContentFolder() + L"\\" + name; }

  /// The path's address under the name of a trusted host.
  static std::wstring TrustedUrl(const ScriptedPath& path,
                                 const std::wstring& host = L"folivo-collections.example");

  /// A dialog for an archive at `source`.
  COpenDialog Open(const std::wstring& source = L"") const {
    return COpenDialog(source, ZipPath(), ContentFolder());
  }

  /// Whether there is a file or folder of this path.
  static bool Exists(const std::wstring& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
  }
  bool ArchiveExists() const { return Exists(ZipPath()); }

  const HttpTestServer m_server;
  const CTempSandbox m_sandbox;
};
