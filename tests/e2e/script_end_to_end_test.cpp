// Scripts of pages and the registered controls: the system's script host in a process of its own, a
// web server under a trusted name, the real unzip library, and a user.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/e2e/registered_plugin.h"
#include "tests/e2e/tool_process.h"
#include "tests/support/dialog_texts.h"
#include "tests/support/scripted_path.h"
#include "tests/support/stored_zip.h"
#include "tools/dialog_driver/window_actions.h"
#include "tools/dialog_driver/window_query.h"

namespace {

constexpr wchar_t kCannotUnzip[] = L"Could not unzip the Folivo Collections file.";
constexpr wchar_t kNotReady[] = L"Unable to download Folivo Collection files at this time.";
constexpr wchar_t kArchiveFile[] = L"ZDH\\download.zip";
constexpr int kMessageText = 0xFFFF;

using Lines = std::vector<std::string>;

/// Waits for the plug-in's message, presses OK and gives its text.
std::wstring Dismiss() {
  const HWND message = WaitForDialog(kMessageTitle);
  const std::wstring text = WindowText(GetDlgItem(message, kMessageText));
  EXPECT_EQ(Click(message, IDOK, kToolTimeout), ActionResult::kDone);
  return text;
}

bool Contains(const Lines& lines, const std::string& line) {
  return std::ranges::find(lines, line) != lines.end();
}

class ScriptEndToEnd : public CRegisteredPluginTest {
 protected:
  /// Starts a script (JScript, ASCII), as a page has it, in the system's script host;
  /// WScript.Arguments holds `argument`. It runs through tools/wininet_bridge, which makes up for
  /// what Wine's WinINet leaves in the last error.
  void Start(const std::string& source, const std::wstring& argument) {
    const std::wstring script =
        m_sandbox.Write(L"script.js", source + "\nWScript.Quit(" + std::to_string(kFinished) + ")");
    m_process.emplace(ToolPath(L"with_wininet_bridge.exe"),
                      L"cscript //nologo \"" + script + L"\" \"" + argument + L"\"");
  }

  /// Waits until the script has ended, which must be by itself, and gives what it printed.
  Lines Finish() {
    EXPECT_EQ(m_process->WaitForExit(), kFinished);
    return m_process->Lines();
  }

 private:
  static constexpr DWORD kFinished = 42;  // a script that a mistake ends early exits with 0

  std::optional<CToolProcess> m_process;
};

std::string Archive() {
  return CStoredZip()
      .Add("Birds.gallery", "birds")
      .Add("manifest.xml", "<a><DownloadedFile Filename='Birds.gallery'/></a>")
      .Bytes();
}

/// The URL of a served path under another host name.
std::wstring Under(const std::wstring& host, std::wstring url) {
  const size_t begin = url.find(L"//") + 2;
  return url.replace(begin, url.find(L':', begin) - begin, host);
}

/// The script of docs/sample-page.html, and a page of which it sees the parts that it uses.
std::string SamplePage() {
  const std::string page = ReadFileBytes(FOLIVO_SAMPLE_PAGE);
  const size_t begin = page.find("//<![CDATA[");
  return page.substr(begin, page.find("//]]>") - begin) + R"(
var parts = {};
var page = { getElementById: function (id) {
  return parts[id] = parts[id] || { innerText: "", disabled: true, focus: function () {} };
} };
page.getElementById("address").value = WScript.Arguments(0);
function start(create) {
  startPage(page, create, function (call) { call(); });
  WScript.Echo(parts.version.innerText);
  WScript.Echo(parts.collections.innerText + " Button: " + (parts.download.disabled ? "off" : "on"));
}
function submit() {
  parts.form.onsubmit();
  WScript.Echo(parts.result.innerText);
}
)";
}

TEST_F(ScriptEndToEnd, SamplePageShowsTheVersionAndTheEndOfADownload) {
  const ScriptedPath path(m_server, HttpAnswer().Bytes(Archive()));
  const std::wstring local = m_sandbox.Write(L"source.zip", "any file");
  for (const bool isLocal : {false, true}) {
    m_sandbox.Write(kArchiveFile, Archive());  // left by an earlier call
    Start(SamplePage() + "start(createControl); submit();",
          isLocal ? local : Under(L"folivo-schools.example", path.Url(L"c.zip")));
    WaitForDialog(kCollectionTitle);
    EXPECT_EQ(Dismiss(), kCannotUnzip);
    const Lines printed = Finish();
    for (const LPCSTR line :
         {"Folivo add-on " FOLIVO_VERSION " is installed.",
          "Collections can be downloaded. Button: on",
          "The download has ended. If there was a message, it says what went wrong."}) {
      EXPECT_TRUE(Contains(printed, line)) << line;
    }
    // One from the network is still open when it is to be unzipped.
    EXPECT_EQ(Contains(printed, "Problem unzipping: 9"), !isLocal);
    EXPECT_FALSE(std::filesystem::exists(m_sandbox / kArchiveFile));
  }
  EXPECT_EQ(path.Requests().size(), 1u);
}

TEST_F(ScriptEndToEnd, SamplePageHasATextForEachError) {
  // Real errors of the control and of the script engine; those that cannot be had here are thrown.
  Start(SamplePage() + R"(
var control = createControl(COLLECTION_CONTROL);
function show(call) {
  try { call(); } catch (e) { WScript.Echo(e.number + " " + errorText(e, "").substr(0, 40)); }
}
show(function () { control.DownloadFile(WScript.Arguments(0)); });
show(function () { control.DownloadFile(null); });
show(function () { control.DownloadFile(); });
show(function () { control.Download("a"); });
show(function () { createControl(COLLECTION_CONTROL + "r"); });
show(function () { throw { number: -2147024882 }; });
show(function () { throw { number: -1 }; });
show(function () { throw {}; });
start(function () { throw { number: -2147467259 }; });
)",
        std::wstring(1001, L'a'));
  EXPECT_EQ(Finish(),
            (Lines{"-2147024809 The address of the archive is longer tha",
                   "-2147352571 The address of the archive is not a text",
                   "-2147352562 This page calls the Folivo add-on in a w",
                   "-2146827850 This page calls the Folivo add-on in a w",
                   "-2146827859 The Folivo add-on cannot be used here. A",
                   "-2147024882 There is too little memory. Close other ",
                   "-1 The Folivo add-on reports an error that ",
                   "undefined The Folivo add-on cannot be used here. A",
                   "The Folivo add-on is installed, but its version cannot be read. Ask your "
                   "administrator to repair the installation.",
                   "The Folivo add-on cannot be used here. Ask your administrator whether it is "
                   "installed and allowed on this site, and whether the browser runs in 64 bits. "
                   "Button: off"}));
}

TEST_F(ScriptEndToEnd, SamplePageSaysWhomToAskWhenNothingCanBeDownloaded) {
  // Restored with the sandbox.
  SetEnvironmentVariableW(L"TMP", m_sandbox.Write(L"file", "no folder").c_str());
  Start(SamplePage() + "start(createControl); submit();", L"c.zip");
  EXPECT_EQ(Dismiss(), kNotReady);
  EXPECT_EQ(Finish().back(),
            "Collections cannot be downloaded on this computer at the moment. Ask your "
            "administrator whether you have a Documents folder and may write to the temporary "
            "folder.");
}

}  // namespace
