// Tables of faults that the dialogs of lessons and of archives share, compiled for each: answers of
// every status, length and size that a server may give; servers that are not there or send the
// client elsewhere, and connections that break, stall or drip; files that cannot be made, and full
// disks.

#include <algorithm>

#include "tests/faults/full_disk.h"
#include "tests/support/import_spy.h"
#ifdef FOLIVO_ARCHIVE_FAULTS
#include "tests/faults/archive_faults.h"
using TransferFaults = CTransferFaults<ArchiveFaults>;
constexpr wchar_t kHost[] = L"folivo-collections.example";
#else
#include "tests/faults/lesson_faults.h"
using TransferFaults = CTransferFaults<LessonFaults>;
constexpr wchar_t kHost[] = L"127.0.0.1";
#endif

namespace {

constexpr size_t kSmall = 5000;

using TransferFaultsAnswer = TransferFaults;

/// The server claims these lengths and hangs up after the body.
HttpAnswer Claiming(HttpAnswer body, const std::vector<std::string>& lengths) {
  body.Close();
  for (const std::string& length : lengths) {
    body.ClaimLength(length);
  }
  return body;
}

TEST_F(TransferFaultsAnswer, RefusedStatusIsUnavailableAndAnyOtherLeavesItToTheBody) {
  std::vector<CTransferFault> faults = {
      {"204", HttpAnswer().Status(204), TransferEnd::kUnavailable},
      {"304", HttpAnswer().Status(304), TransferEnd::kBody}};
  for (const int status : {403, 404, 410, 500}) {
    for (const char* reason : {"", "Fine, take it"}) {
      faults.push_back({std::to_string(status) + " " + reason, Body(kSmall).Status(status, reason),
                        TransferEnd::kUnavailable});
    }
  }
  for (const int status : {206, 401, 407, 429, 503}) {
    for (const std::string& bytes : {BodyBytes(kSmall), std::string(kPage), std::string()}) {
      faults.push_back({std::to_string(status) + ", " + std::to_string(bytes.size()) + " bytes",
                        HttpAnswer().Status(status).Bytes(bytes), TransferEnd::kBody, bytes});
    }
  }
  RunAll(faults);
}

TEST_F(TransferFaultsAnswer, BodyIsJudgedByItsExtension) {
  const std::string body = "PK\x03\x04 and more";
  RunAll({{"its own", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L".folivo"},
          {"another", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L".fvk"},
          {"none", HttpAnswer().Bytes(body), TransferEnd::kBody, body, L""}});
}

TEST_F(TransferFaultsAnswer, BodyOfAnySizeIsWhole) {
  std::vector<CTransferFault> faults;
  for (const size_t middle : {size_t{1}, size_t{8}, size_t{60}, kPeekBuffer, kBuffer,
                              kBuffer + kPeekBuffer, 2 * kBuffer, 5 * kBuffer}) {
    for (const size_t size : {middle - 1, middle, middle + 1}) {
      faults.push_back(
          {std::to_string(size) + " bytes", Body(size), TransferEnd::kBody, BodyBytes(size)});
    }
  }
  RunAll(faults);
}

TEST_F(TransferFaultsAnswer, BodyIsWholeWhateverLengthIsClaimed) {
  constexpr size_t kLong = kBuffer + 9000;
  const std::string exact = std::to_string(kLong);
  const std::string more = std::to_string(kLong + 50000);
  const std::pair<const char*, HttpAnswer> answers[] = {
      {"no length", Body(kLong).CloseDelimited()},
      {"text", Claiming(Body(kLong), {"abc"})},
      {"nothing in it", Claiming(Body(kLong), {""})},
      {"negative", Claiming(Body(kLong), {"-5"})},
      {"five billion", Claiming(Body(kLong), {"5000000000"})},
      {"two to the 31st", Claiming(Body(kLong), {"2147483648"})},
      {"more digits than any number has", Claiming(Body(kLong), {std::string(400, '9')})},
      {"larger", Claiming(Body(kLong), {more})},  // a cut body: the system reports a normal end
      {"twice the same", Claiming(Body(kLong), {exact, exact})},
      {"chunked", Body(kLong).Chunked()},
      {"in many chunks", Body(kLong).Chunked(997)},
      {"chunked with the right length", Body(kLong).Chunked().ClaimLength(exact)},
      {"chunked with a smaller length", Body(kLong).Chunked().ClaimLength("1000")},
      {"chunked with a larger length", Body(kLong).Chunked().ClaimLength(more)},
  };
  std::vector<CTransferFault> faults;
  for (const auto& [name, answer] : answers) {
    faults.push_back({name, answer, TransferEnd::kBody, BodyBytes(kLong)});
  }
  for (const auto& [name, lengths] : {std::pair("zero", std::vector<std::string>{"0"}),
                                      {"smaller", {"1000"}},
                                      {"twice, smaller last", {exact, "1000"}}}) {
    faults.push_back({name, Claiming(Body(kLong), lengths), TransferEnd::kTorn, BodyBytes(kLong)});
  }
  RunAll(faults);
}

TEST_F(TransferFaultsAnswer, InvalidResponseHeadEndsTheTransfer) {
  const auto body = [](const char* name, const HttpAnswer& answer) {
    return CTransferFault{name, answer, TransferEnd::kBody, BodyBytes(kSmall)};
  };
  HttpAnswer headers = Body(kSmall);
  for (int i = 0; i < 1000; ++i) {
    headers.Header("X-" + std::to_string(i), "x");
  }
  // The system gives an answer that never came as one without a status and without a body, and
  // what is after a line that is no status line as a body.
  RunAll({{"hangs up", Body(kSmall).Cut(http_point::kBeforeHeaders, HttpCut::kGraceful),
           TransferEnd::kBody},
          {"resets", Body(kSmall).Cut(http_point::kBeforeHeaders, HttpCut::kReset),
           TransferEnd::kTornOrUnavailable},
          {"hangs up in the head", Body(kSmall).Cut(http_point::HeadByte(5), HttpCut::kGraceful),
           TransferEnd::kBody},
          body("no status line", Body(kSmall).RawHead("no such line\r\n")),
          body("status line without a number", Body(kSmall).StatusLine("HTTP/1.1 abc")),
          body("zero byte in a header", Body(kSmall).Header("X-Odd", std::string("a\0b", 3))),
          body("100 KB of header", Body(kSmall).Header("X-Long", std::string(100000, 'x'))),
          body("1000 headers", headers)});
}

class TransferFaultsConnection : public TransferFaults {
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

TEST_F(TransferFaultsConnection, BrokenBodyIsReportedOrTakenForTheWhole) {
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

TEST_F(TransferFaultsConnection, DrippingServerIsWaitedFor) {
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

TEST_F(TransferFaultsConnection, ServerThatIsNotThereIsUnavailable) {
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

TEST_F(TransferFaultsConnection, RedirectIsFollowed) {
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

using Files = std::vector<std::wstring>;

constexpr wchar_t kFile[] = L"first.qdk";

class TransferFaultsDestination : public TransferFaults {
 protected:
  static constexpr size_t kSize = 3 * kBuffer + kBuffer / 2;

  /// Downloads to this name below the sandbox. Where that cannot be made, one message names it;
  /// `kept` is what is there in the end.
  void Expect(const std::wstring& file, bool canBeMade, const Files& kept = {}) {
    SCOPED_TRACE(testing::PrintToString(file));
    const ScriptedPath path(m_server, Body(kSize));
    const CTransferOutcome outcome = DownloadTo(UrlOf(path), file);
    const std::wstring full = m_sandbox / file;
    EXPECT_EQ(outcome.message,
              canBeMade ? L"" : L"Unable to create the destination file " + full + L".");
    EXPECT_TRUE(outcome.bytes == (canBeMade ? BodyBytes(kSize) : "")) << outcome.bytes.size();
    EXPECT_EQ(m_sandbox.Files(), kept);
  }
};

TEST_F(TransferFaultsDestination, NameThatNoFileMayHaveIsReported) {
  for (const std::wstring& file :
       {std::wstring(L"missing\\a.qdk"), std::wstring(300, L'n') + L".qdk", std::wstring(L"a?.qdk"),
        std::wstring(L"a|b.qdk")}) {
    m_checks.Run([&] { Expect(file, false); });
  }
}

TEST_F(TransferFaultsDestination, FolderOrFileInUseIsLeftUntouched) {
  m_checks.Run([&] {
    m_sandbox.Write(L"folder.qdk\\mine", "mine");
    Expect(L"folder.qdk", false, {L"folder.qdk\\mine"});
    DeleteFileW((m_sandbox / L"folder.qdk\\mine").c_str());
  });
  m_checks.Run([&] {
    CHandle user(CreateFileW(m_sandbox.Write(kFile, "old").c_str(), GENERIC_READ, 0, nullptr,
                             OPEN_EXISTING, 0, nullptr));
    Expect(kFile, false, {kFile});
    user.Close();
    EXPECT_EQ(ReadFileBytes(m_sandbox / kFile), "old");
    DeleteFileW((m_sandbox / kFile).c_str());
  });
}

TEST_F(TransferFaultsDestination, FileThatIsThereIsReplaced) {
  m_checks.Run([&] {
    m_sandbox.Write(kFile, std::string(900000, 'o'));
    Expect(kFile, true);
  });
}

TEST_F(TransferFaultsDestination, DiskThatFillsUpLeavesNothing) {
  for (int failing = 1; failing <= 4; ++failing) {
    SCOPED_TRACE(failing);
    m_checks.Run([&] {
      const CFullDisk disk(failing);
      const ScriptedPath path(m_server, Body(kSize));
      EXPECT_EQ(DownloadTo(UrlOf(path), kFile).message,
                L"Unable to write to the destination file " + (m_sandbox / kFile) + L".");
      EXPECT_EQ(disk.Writes(), failing) << "nothing is written after a failure";
      EXPECT_EQ(m_sandbox.Files(), Files());
    });
  }
}

#ifdef FOLIVO_ARCHIVE_FAULTS
TEST_F(TransferFaultsDestination, OldArchiveDeletedBeforeItIsReadIsNoArchive) {
  // A local source leaves the archive of an earlier call, which is not held open.
  const CImportSpy<&CopyFileW> copy("kernel32.dll", "CopyFileW", [&](auto... arguments) {
    EXPECT_FALSE(copy.CallOriginal(arguments...));
    EXPECT_TRUE(DeleteFileW((m_sandbox / L"download.zip").c_str()));
    return FALSE;
  });
  m_checks.Run([&] {
    const std::wstring source = m_sandbox.Write(L"source.zip", "PK");
    m_sandbox.Write(L"download.zip", "old");
    EXPECT_EQ(DownloadTo(source, L"download.zip").message, L"");
    EXPECT_EQ(m_sandbox.Files(), Files{L"source.zip"});
  });
}
#endif

}  // namespace
