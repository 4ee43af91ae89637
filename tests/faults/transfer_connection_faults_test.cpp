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

  /// The row of a break at a place: what came before is what is seen.
  static CTransferFault Broken(const CPlace& place, const std::string& what, HttpAnswer answer,
                               HttpCut how) {
    return {what + place.name, answer.Cut(http_point::BodyByte(place.offset), how),
            how == HttpCut::kReset ? TransferEnd::kTornOrUnavailable : TransferEnd::kBody,
            BodyBytes(place.offset)};
  }
};

TEST_F(TransferConnectionFaults, CutBodyIsTakenForAllOfIt) {
  // The system reports the end of the connection as a normal end.
  std::vector<CTransferFault> faults;
  for (const CPlace& place : kPlaces) {
    faults.push_back(Broken(place, "", Body(kSize), HttpCut::kGraceful));
    faults.push_back(Broken(place, "in chunks, ", Body(kSize).Chunked(1000), HttpCut::kGraceful));
  }
  RunAll(faults);
}

TEST_F(TransferConnectionFaults, ResetIsReportedOrTakenForTheEnd) {
  std::vector<CTransferFault> faults;
  for (const CPlace& place : kPlaces) {
    if (place.offset != 1) {  // a lesson's dialog has either of two messages there
      faults.push_back(Broken(place, "", Body(kSize), HttpCut::kReset));
    }
  }
  RunAll(faults);
}

TEST_F(TransferConnectionFaults, StalledServerThatGivesUpIsTheEnd) {
  std::vector<CTransferFault> faults;
  for (const CPlace& place : kPlaces) {
    for (const HttpCut how : {HttpCut::kGraceful, HttpCut::kReset}) {
      if (how == HttpCut::kReset && place.offset == 1) {
        continue;
      }
      const std::string point = http_point::BodyByte(place.offset);
      faults.push_back(Broken(place, how == HttpCut::kReset ? "reset " : "closed ",
                              Body(kSize).Hold(point), how));
      faults.back().server = [point](const ScriptedPath& path) {
        EXPECT_TRUE(path.WaitForHeld(point));
        path.AllowAll();
      };
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
        Sleep(300);  // the server is slow: this is what is tested
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
  const std::wstring server = std::wstring(L"http://") + kHost;
  // What follows a trusted name is not looked at.
  for (const std::wstring& url : {server + L":1/a.qdk", server + L".invalid/a.qdk"}) {
    RunAddress(url, {testing::PrintToString(url), {}, TransferEnd::kUnavailable});
  }
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

TEST_F(TransferConnectionFaults, RedirectsAreFollowedToTheirEnd) {
  // Windows gives up by itself; here the server has to end a circle.
  const auto chain = [](int count, const HttpAnswer& end, int status) {
    PathScript script;
    for (int i = 0; i < count; ++i) {
      script.Then(HttpAnswer().Redirect(L"next.qdk").Status(status));
    }
    return script.Then(end);
  };
  std::vector<CTransferFault> faults = {
      {"ten", chain(10, Body(kSmall), 302), TransferEnd::kBody, BodyBytes(kSmall)}};
  for (const int status : {301, 302, 307}) {
    faults.push_back({"circle of " + std::to_string(status),
                      chain(50, HttpAnswer().Status(404), status), TransferEnd::kUnavailable});
  }
  RunAll(faults);
}

}  // namespace
