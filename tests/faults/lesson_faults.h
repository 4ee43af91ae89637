#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "download/content_check.h"
#include "tests/download/download_fixture.h"
#include "tests/faults/run_checks.h"
#include "tests/faults/transfer_faults.h"
#include "tests/support/deferred_close.h"
#include "tests/support/message_recorder.h"

/// Faults of a lesson's download.
class LessonFaults : public DownloadFixture {
 protected:
  static constexpr size_t kBuffer = 131072;  // of the worker
  static constexpr size_t kPeekBuffer = 800;
  static constexpr bool kHasPreCheck = true;

  /// A whole body of this many bytes.
  static std::string BodyBytes(size_t size) { return LessonBytes(size).substr(0, size); }
  static HttpAnswer Body(size_t size);
  static std::wstring UrlOf(const ScriptedPath& path) { return path.Url(L"a.qdk"); }

  CTransferOutcome Download(bool peeks, const std::wstring& url, const CTransferFault& fault);
  /// Runs the dialog, whose first file is `file` below the sandbox, and releases it.
  CTransferOutcome DownloadTo(const std::wstring& url, const std::wstring& file);
  static bool IsRight(const CTransferFault& fault) {
    const std::vector<std::uint8_t> bytes(fault.bytes.begin(), fault.bytes.end());
    return bytes.empty() || IsValidContent(bytes.data(), static_cast<std::int32_t>(bytes.size()),
                                           fault.extension.c_str());
  }
  static std::wstring WrongMessage(const std::wstring& url) { return NotAFolivoFile(url); }
  static std::wstring UnavailableMessage(const std::wstring& url) { return NotAvailable(url); }
  Files TakeMessages() { return m_messages.TakeTexts(); }
  /// The delivered file's bytes, and checks that nothing else is left. Deletes the file.
  std::string TakeDelivered() const;

  CRunChecks m_checks;

 private:
  CTransferOutcome RunAndTake(CProgressDialog::Ptr dialog);

  const CDeferredClose m_deferredClose;
  CMessageRecorder m_messages;
};
