// Servers that are not there or send the client elsewhere, and connections that break, stall or
// drip, at the places that mean something to the transfer.

#include <algorithm>

#include "tests/faults/dialog_faults.h"

namespace {

constexpr size_t kSmall = 5000;
#ifdef FOLIVO_ARCHIVE_FAULTS
constexpr wchar_t kHost[] = L"folivo-collections.example";
#else
constexpr wchar_t kHost[] = L"127.0.0.1";
#endif

class TransferConnectionFaults : public TransferFaults {
 protected:
  static constexpr size_t kSize = 2 * kBuffer + kBuffer / 2;

  struct CPlace {
    const char* name;
    size_t offset;
  };
  static constexpr CPlace kPlaces[] = {
      {"at the begin", 0},
      {"in the signature", 1},
      {"in the pre-check's head", 500},
      {"in the second buffer", kBuffer + 5000},
      {"at the last byte", kSize - 1},
  };
};

TEST_F(TransferConnectionFaults, BrokenBodyIsReportedOrTakenForTheWhole) {
  // The system reports the end of a connection as a normal end: what came before is what is seen.
  struct {
    const char* name;
    HttpAnswer answer;
    HttpCut how;
    bool isHeld = false;  // the server stalls before it gives up
  } const breaks[] = {
      {"closed ", Body(kSize), HttpCut::kGraceful},
      {"closed in chunks ", Body(kSize).Chunked(1000), HttpCut::kGraceful},
      {"stalled, then closed ", Body(kSize), HttpCut::kGraceful, true},
      {"reset ", Body(kSize), HttpCut::kReset},
      {"stalled, then reset ", Body(kSize), HttpCut::kReset, true},
  };
  std::vector<CTransferFault> faults;
  for (const CPlace& place : kPlaces) {
    const std::string point = http_point::BodyByte(place.offset);
    for (const auto& [name, body, how, isHeld] : breaks) {
      const bool isReset = how == HttpCut::kReset;
      if (isReset && place.offset == 1) {
        continue;  // Either of two messages: it depends on which call of the system sees the reset.
      }
      HttpAnswer answer = body;
      faults.push_back({std::string(name) + place.name, answer.Cut(point, how),
                        isReset ? TransferEnd::kTornOrUnavailable : TransferEnd::kBody,
                        BodyBytes(place.offset)});
      if (isHeld) {
        faults.back().script = answer.Hold(point);
        faults.back().server = [point](const ScriptedPath& path) {
          EXPECT_TRUE(path.WaitForHeld(point));
          path.AllowAll();
        };
      }
    }
  }
  RunAll(faults);
}

TEST_F(TransferConnectionFaults, DrippingServerIsWaitedFor) {
  std::vector<CTransferFault> faults;
  for (const CPlace& place : kPlaces) {
    const auto drip = [from = place.offset](const ScriptedPath& path) {
      path.AllowUpTo(from);
      for (size_t sent = from + 1; sent < from + 3; ++sent) {
        EXPECT_TRUE(path.WaitForBytesSent(std::min(sent - 1, kSize)));
        Sleep(150);  // the server is slow: this is what is tested
        path.AllowUpTo(sent);
      }
      path.AllowAll();
    };
    faults.push_back(
        {place.name, Body(kSize).Gated(), TransferEnd::kBody, BodyBytes(kSize), L".qdk", drip});
  }
  RunAll(faults);
}

TEST_F(TransferConnectionFaults, ServerThatIsNotThereIsUnavailable) {
  const auto fault = [](const char* name, const std::wstring& rest) {
    return CTransferFault{name,
                          HttpAnswer(),
                          TransferEnd::kUnavailable,
                          "",
                          L".qdk",
                          nullptr,
                          std::wstring(L"http://") + kHost + rest};
  };
  // What follows a trusted name is not looked at.
  RunAll({fault("refused port", L":1/a.qdk"), fault("unknown host", L".invalid/a.qdk")});
}

TEST_F(TransferConnectionFaults, RedirectIsFollowed) {
  const ScriptedPath target(m_server, Body(kSmall));
  const ScriptedPath missing(m_server, HttpAnswer().Status(404));
  const std::wstring local = UrlOf(target);
  // Also where the host must be trusted: the rule is for the address that the page gives.
  std::wstring elsewhere = local;
  elsewhere.replace(elsewhere.find(kHost), std::size(kHost) - 1, L"elsewhere.example");
  std::vector<CTransferFault> faults;
  for (const int status : {301, 302, 303, 307}) {
    const std::string name = std::to_string(status);
    const auto to = [&](const std::wstring& url) {
      return HttpAnswer().Redirect(url).Status(status);
    };
    for (const std::wstring& url : {local, elsewhere}) {
      faults.push_back({name + " to " + testing::PrintToString(url), to(url), TransferEnd::kBody,
                        BodyBytes(kSmall)});
    }
    faults.push_back({name + " to nothing", to(UrlOf(missing)), TransferEnd::kUnavailable});
    faults.push_back({name + " without a target", Body(kSmall).Status(status), TransferEnd::kBody,
                      BodyBytes(kSmall)});
  }
  RunAll(faults);
}

}  // namespace
