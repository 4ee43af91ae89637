#include "tests/faults/transfer_faults.h"

#include <gtest/gtest.h>

#include <optional>

#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"

void CTransferFaults::RunAll(const std::vector<CTransferFault>& faults) {
  for (const CTransferFault& fault : QuickCut(faults)) {
    for (const bool peeks : {HasPreCheck(), false}) {
      m_checks.Run([&] {
        const ScriptedPath path(Server(), fault.script);
        std::optional<CParallel> server;
        if (fault.server) {
          server.emplace([&] { fault.server(path); });
        }
        RunOnce(peeks, UrlOf(path), fault);
      });
      if (!peeks) {
        break;
      }
    }
  }
}

void CTransferFaults::RunAddress(const std::wstring& url, const CTransferFault& fault) {
  for (const bool peeks : {HasPreCheck(), false}) {
    m_checks.Run([&] { RunOnce(peeks, url, fault); });
  }
}

void CTransferFaults::RunOnce(bool peeks, const std::wstring& url, const CTransferFault& fault) {
  SCOPED_TRACE(fault.name + (peeks ? ", pre-check" : ", dialog alone"));
  const auto [isLeft, message, bytes] = Download(peeks, url, fault);
  const std::wstring unavailable = UnavailableMessage(url);
  const bool isRight = IsRight(fault);
  EXPECT_TRUE(fault.bytes.starts_with(bytes)) << "other bytes";
  switch (fault.end) {
    case TransferEnd::kBody:
      EXPECT_EQ(isLeft, peeks && (fault.bytes.empty() || !isRight));
      EXPECT_EQ(message, isRight || isLeft ? L"" : WrongMessage(url));
      EXPECT_TRUE(!isRight || bytes.size() == fault.bytes.size()) << bytes.size();
      break;
    case TransferEnd::kTorn:
      EXPECT_EQ(message, L"");
      break;
    case TransferEnd::kUnavailable:
      EXPECT_EQ(isLeft, peeks);
      EXPECT_EQ(message, unavailable);
      break;
    case TransferEnd::kTornOrUnavailable:
      EXPECT_TRUE(message.empty() || message == unavailable) << message;
      break;
  }
}
