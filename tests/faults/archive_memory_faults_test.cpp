// Memory that runs out anywhere in a collection's way from the page's call to the dialog's end.

#include <algorithm>
#include <string>
#include <vector>

#include "tests/collections/collection_fixture.h"
#include "tests/collections/control_object.h"
#include "tests/doubles/unzip/unzip_search_path.h"
#include "tests/faults/failing_allocations.h"
#include "tests/support/import_patch.h"
#include "tests/support/stored_zip.h"

namespace {

constexpr size_t kSize = 45000;
constexpr wchar_t kArchiveFile[] = L"ZDH\\download.zip";
const char kManifest[] =
    "<Collections>"
    "<DownloadedFile Filename='a.qdc' Destination='x'/>"
    "<DownloadedFile Filename='b.qdc' Destination='y/z'/>"
    "</Collections>";

decltype(&Sleep) g_sleep;
decltype(&InternetOpenUrlW) g_openUrl;

class ArchiveMemoryFaults : public CollectionFixture {
 protected:
  ArchiveMemoryFaults() {
    g_sleep = m_sleep.Original<decltype(Sleep)>();
    g_openUrl = m_openUrl.Original<decltype(InternetOpenUrlW)>();
  }

  static std::string Archive() {
    return CStoredZip()
        .Add("a.qdc", "first")
        .Add("b.qdc", "second")
        .Add("manifest.xml", kManifest)
        .Bytes();
  }

  /// Makes a control and has it download; all of it with memory that runs out.
  void RunDownload(bool isLocal) {
    const CDocumentsFolder documents(m_sandbox / L"Documents");
    const ScriptedPath path(m_server, HttpAnswer().Pattern(1, kSize));
    const auto cell = [&](const Fail& fail) {
      std::wstring source = TrustedUrl(path);
      if (isLocal) {
        m_sandbox.Write(kArchiveFile, Archive());  // of an earlier call
        source = m_sandbox.Write(L"source.zip", "never read");
      }
      HRESULT result = E_UNEXPECTED;
      const CComBSTR text(source.c_str());
      const bool failed = fail([&] { result = Download(text); });
      EXPECT_TRUE(result == S_OK || (failed && (result == E_OUTOFMEMORY || result == E_FAIL)))
          << std::hex << result;
      const int messages = CMessageCount::Take();
      EXPECT_LE(messages, 1);
      EXPECT_TRUE(result != S_OK || messages == 1) << "the dialog never ends in silence";
      if (result != S_OK && Exists(m_sandbox / kArchiveFile)) {
        // There was no dialog: the archive of the earlier call is as it was.
        EXPECT_TRUE(ReadFileBytes(m_sandbox / kArchiveFile) == Archive());
        DeleteFileW((m_sandbox / kArchiveFile).c_str());
      }
      EXPECT_EQ(m_sandbox.Files().size(), isLocal ? 1u : 0u);
      return failed;
    };
    RunOutOfMemory(m_checks, cell, isLocal ? 37 : 17);
  }

  CRunChecks m_checks;

 private:
  static HRESULT Download(BSTR source) {
    try {
      CComObject<CQDCDownload>* object = nullptr;
      const HRESULT made = CComObject<CQDCDownload>::CreateInstance(&object);
      if (FAILED(made)) {
        return made;
      }
      const CComPtr<CComObject<CQDCDownload>> control(object);
      return control->DownloadFile(source);
    } catch (...) {
      return E_UNEXPECTED;
    }
  }

  // What stands in for the system takes no memory: it may be out.
  const CMessageCount m_messages;
  const CImportPatch m_sleep{"kernel32.dll", "Sleep", +[](DWORD milliseconds) {
                               if (milliseconds != 100 && milliseconds != 700) {  // for readers
                                 g_sleep(milliseconds);
                               }
                             }};
  // A success leaves no last error, as on Windows.
  const CImportPatch m_openUrl{"wininet.dll", "InternetOpenUrlW",
                               +[](HINTERNET session, LPCWSTR url, LPCWSTR headers, DWORD length,
                                   DWORD flags, DWORD_PTR context) {
                                 const HINTERNET request =
                                     g_openUrl(session, url, headers, length, flags, context);
                                 if (request != nullptr) {
                                   SetLastError(ERROR_SUCCESS);
                                 }
                                 return request;
                               }};
  const CUnzipSearchPath m_unzip{RealUnzipFolder()};
};

TEST_F(ArchiveMemoryFaults, DownloadLeavesNothing) {
  for (const bool isLocal : {false, true}) {
    RunDownload(isLocal);
  }
}

TEST_F(ArchiveMemoryFaults, AddedCollectionsAreWholeOrAbsent) {
  RunOutOfMemory(m_checks, [&](const Fail& fail) {
    m_sandbox.Write(L"download.zip", Archive());
    COpenDialog dialog(L"", ZipPath(), ContentFolder());
    TiXmlDocument document;
    document.Parse(kManifest);
    const bool failed = fail([&] {
      try {
        dialog->AddCollections(document);
      } catch (const std::bad_alloc&) {  // The pipeline's guard takes both.
      } catch (const CAtlException&) {
      }
    });
    const std::vector<std::wstring> added = dialog->AddedFiles();
    for (const auto& [file, bytes] :
         {std::pair(Content(L"x\\a.qdc"), "first"), std::pair(Content(L"y\\z\\b.qdc"), "second")}) {
      EXPECT_TRUE(!Exists(file) || ReadFileBytes(file) == bytes);
      EXPECT_TRUE(failed || Exists(file));
      EXPECT_EQ(std::count(added.begin(), added.end(), file), Exists(file) ? 1 : 0);
      DeleteFileW(file.c_str());
    }
    DeleteFileW(ZipPath().c_str());
    EXPECT_EQ(m_sandbox.Files(), std::vector<std::wstring>());
    return failed;
  });
}

}  // namespace
