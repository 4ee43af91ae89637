// CZipProgressDialog's stage 1: downloads the archive from a trusted host, or copies it from a
// local path.
#include "collections/zip_progress_dialog.h"

#include <shlwapi.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

#include "base/code_pages.h"
#include "collections/collection_texts.h"
#include "collections/pause.h"
#include "collections/trusted_hosts.h"
#include "download/download_texts.h"
#include "download/file_operations.h"
#include "download/progress_arithmetic.h"
#include "download/transfer_request.h"

namespace {

constexpr DWORD kArchiveOpenFlags = kOpenFlags | INTERNET_FLAG_NO_COOKIES;
constexpr DWORD kChunkSize = 10000;
constexpr DWORD kLengthBufferSize = 1024;
constexpr std::int32_t kAssumedArchiveSize = 2000000;
constexpr int kCheckedCharacters = 10;
constexpr wchar_t kPageMarker[] = L"<html>";

/// Whether a chunk, read as text up to its first zero byte, begins like a page. Quirk 58: only
/// "<html>" itself, in lower case, within the first ten characters.
bool LooksLikePage(const char* chunk, DWORD size) {
  const char* const end = std::find(chunk, chunk + size, '\0');
  const CStringW text = FromSystemCodePage(chunk, static_cast<int>(end - chunk));
  return text.Left(kCheckedCharacters).Find(kPageMarker) >= 0;
}

}  // namespace

bool CZipProgressDialog::DownloadArchive() {
  SetStatus(kDownloadingStage, L"");
  SetProgress(0);
  if (!PathIsURLW(m_sourceUrl)) {
    return CopyLocalArchive();  // Quirk 50: paths have no host rule.
  }
  if (!IsTrustedHost(m_sourceUrl)) {
    ShowError(kSourceMissingText);
    return false;
  }
  bool succeeded = OpenTransfer();
  while (succeeded && !m_done) {
    Sleep(kShortPauseMs);
    succeeded = ReadChunk();
  }
  if (succeeded) {
    SetProgress(100);
  }
  return succeeded;
}

bool CZipProgressDialog::CopyLocalArchive() {
  SetProgress(50);
  Sleep(kReadingPauseMs);
  if (!PathFileExistsW(m_sourceUrl)) {
    ShowError(kSourceMissingText);
    return false;
  }
  // Quirk 53: reversed. A failed copy, such as over the archive of an earlier call, goes on with
  // the file that is there; a copy that succeeds is reported as a failure.
  if (!CopyFileW(m_sourceUrl, m_zipPath, TRUE)) {
    SetProgress(100);
    return true;
  }
  ShowArchiveError(kCannotWriteText);
  return false;
}

bool CZipProgressDialog::OpenTransfer() {
  if (!OpenRequest()) {
    ShowError(kUnavailableText);
    return false;
  }
  // Quirk 56: the number is read as a text: 0 for most lengths, and the bar then does not move.
  std::array<wchar_t, kLengthBufferSize / sizeof(wchar_t) + 1> length = {};
  m_total = ReadContentLength(m_hRequest, HTTP_QUERY_FLAG_NUMBER, length.data(), kLengthBufferSize)
                .value_or(kAssumedArchiveSize);
  m_hFile = CreateFileW(m_zipPath, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL,
                        nullptr);
  if (m_hFile == INVALID_HANDLE_VALUE) {
    ShowArchiveError(kCannotCreateText);
    return false;
  }
  return true;
}

/// Opens the session and the request. Shows the system's dialog when the server asks for
/// credentials. Returns false when that fails, when the status is refused, or when the dialog's
/// window was destroyed.
bool CZipProgressDialog::OpenRequest() {
  // Quirk 54: without the user's proxy, unlike a lesson's download.
  m_hSession = InternetOpenW(kUserAgent, INTERNET_OPEN_TYPE_DIRECT, nullptr, nullptr, 0);
  OpenWithCredentials(
      m_hSession, m_sourceUrl, kArchiveOpenFlags,
      [this] {
        if (m_hRequest != nullptr) {
          if (!HasWindow()) {
            return false;
          }
          InternetCloseHandle(m_hRequest);
          m_hRequest = nullptr;
        }
        SetLastError(ERROR_SUCCESS);
        return true;
      },
      [this](HINTERNET request) {
        m_hRequest = request;
        return request != nullptr ? std::optional<HWND>(m_hWnd) : std::nullopt;
      });
  const DWORD error = GetLastError();  // Before any other call, which could change it.
  // Quirk 55: a last error is a failure even when there is a request. The window may have been
  // destroyed while the system's dialog was open.
  return error == ERROR_SUCCESS && m_hSession != nullptr && m_hRequest != nullptr && HasWindow() &&
         HasAcceptedStatus(m_hRequest);
}

bool CZipProgressDialog::ReadChunk() {
  std::array<char, kChunkSize> buffer;
  DWORD read = 0;
  if (!InternetReadFile(m_hRequest, buffer.data(), kChunkSize, &read)) {
    DeleteFileForced(m_zipPath);
    ShowError(kUnavailableText);
    return false;
  }
  if (read == 0) {
    // Quirk 59: the archive stays open, without sharing, until the dialog ends.
    m_done = true;
    Sleep(kReadingPauseMs);
    return true;
  }
  if (m_firstChunk) {
    m_firstChunk = false;
    if (LooksLikePage(buffer.data(), read)) {
      ShowError(kNotValidText);
      return false;
    }
  }
  return WriteChunk(buffer.data(), read);
}

bool CZipProgressDialog::WriteChunk(const void* data, DWORD size) {
  DWORD written = 0;
  // A part of a chunk would leave a gap in the archive.
  if (!WriteFile(m_hFile, data, size, &written, nullptr) || written != size) {
    ShowArchiveError(kCannotWriteText);
    return false;
  }
  // Quirk 57: an assumed size is not raised when more arrives.
  m_received = WrappingAdd(m_received, static_cast<std::int32_t>(written));
  if (const auto percent = ProgressPercent(m_received, m_total)) {
    SetProgress(*percent);
  }
  return true;
}
