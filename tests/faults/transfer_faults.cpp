#include "tests/faults/transfer_faults.h"

#include <gtest/gtest.h>

#include "tests/faults/quick_cut.h"
#include "tests/support/parallel.h"

void CTransferFaults::RunAll(const std::vector<CTransferFault>& faults) {
  for (const CTransferFault& fault : QuickCut(faults)) {
    for (const bool peeks : {true, false}) {
      if (peeks && !HasPreCheck()) {
        continue;
      }
      m_checks.Run([&] {
        const ScriptedPath path(Server(), fault.script);
        const CParallel server([&] {
          if (fault.server) {
            fault.server(path);
          }
        });
        RunOnce(peeks, fault.url.empty() ? UrlOf(path) : fault.url, fault);
      });
    }
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
