// Mutated manifests and URLs, which come from outside: nothing crashes, and what is
// accepted is what the rule says in its shortest words.

#include <gtest/gtest.h>
#include <tinyxml.h>
#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "browser/download_file_name.h"
#include "browser/url_extension.h"
#include "collections/manifest_parser.h"
#include "download/file_path.h"
#include "tests/support/message_recorder.h"
#include "tests/support/run_seed.h"

namespace {

using namespace std::string_literals;
using std::wstring;

/// How many mutated inputs each test takes.
int MutationCount() {
  const char* const text = std::getenv("FOLIVO_FAULTS_COUNT");
  return text != nullptr ? std::atoi(text) : 10000;
}

/// Makes odd inputs out of good ones. The same run's seed gives the same inputs.
template <typename Char>
class CMutator {
 public:
  using Text = std::basic_string<Char>;

  /// `seeds`: good inputs, not empty; `parts`: what is put into them, beside single characters.
  CMutator(std::vector<Text> seeds, std::vector<Text> parts)
      : m_random(RunSeed()), m_seeds(std::move(seeds)), m_parts(std::move(parts)) {}

  /// Calls `check` for each input, a good one with up to five changes, until it fails.
  void ForEach(const std::function<void(const Text& text)>& check) {
    for (int i = 0; i < MutationCount() && !testing::Test::HasFailure(); ++i) {
      Text text = m_seeds[Below(m_seeds.size())];
      for (size_t changes = Below(6); changes > 0; --changes) {
        Change(text);
      }
      check(text);
    }
  }

 private:
  size_t Below(size_t limit) { return m_random() % limit; }

  Char AnyChar() {
    // Mostly of the first 256: there lies what means something.
    const auto wide = static_cast<Char>(m_random());
    return Below(8) == 0 ? wide : static_cast<Char>(Below(256));
  }

  /// Puts something in, or in the place of a part.
  void Change(Text& text) {
    const size_t at = Below(text.size() + 1);
    const size_t length = Below(text.size() - at + 1);
    const Text news[] = {{},
                         Text(1, AnyChar()),
                         Text(Below(20) == 0 ? 300 : 3, AnyChar()),
                         m_parts[Below(m_parts.size())],
                         text.substr(at, length)};
    text.replace(at, Below(2) * length, news[Below(std::size(news))]);
  }

  std::mt19937 m_random;
  const std::vector<Text> m_seeds;
  const std::vector<Text> m_parts;
};

int ParsedDepth(const TiXmlNode& node) {
  int deepest = 0;
  for (const TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
    deepest = std::max(deepest, ParsedDepth(*child) + (child->ToElement() != nullptr ? 1 : 0));
  }
  return deepest;
}

TEST(MutatedInput, ManifestIsParsedDownToTheLimit) {
  std::string deep;
  for (int i = 0; i < 501; ++i) {
    deep += "<a>";
  }
  CMutator<char> mutator(
      {"<?xml version='1.0'?><Collections><DownloadedFile Filename='a.qdc' Destination='x'/>"
       "<DownloadedFile Filename=\"b\" Destination=\"y\\z\"></DownloadedFile></Collections>",
       "<a><b c='&lt;'><!-- x --><![CDATA[<d>]]><e>&#65;</e></b>text</a>"},
      {"<a>",   "</a>",
       "<",     ">",
       "/>",    "'",
       "\"",    "<!--",
       "-->",   "<![CDATA[",
       "]]>",   "<?xml ",
       "?>",    "&#x",
       "&amp;", "\xEF\xBB\xBF",
       "\0"s,   "<DownloadedFile ",
       "\xC3",  deep});
  int parsed = 0;
  bool isCutOff = false;
  mutator.ForEach([&](const std::string& text) {
    TiXmlDocument document;
    ParseManifest(text, document);
    const int depth = ParsedDepth(document);
    EXPECT_LE(depth, TIXML_DEEPEST_ELEMENT) << testing::PrintToString(text);
    isCutOff = isCutOff || document.ErrorId() == TiXmlBase::TIXML_ERROR;
    parsed += depth > 1 ? 1 : 0;
  });
  EXPECT_GT(parsed, MutationCount() / 10);
  EXPECT_TRUE(isCutOff);
}

const std::vector<wstring> kUrls = {
    L"http://www.lessons.folivo-collections.example:8080/x/My%20Lesson.folivo?a=b&c=d.gallery",
    L"https://merlo-content.example/a.b/file", L"file:///C:/Users/a/L%C3%A9sson.qdc",
    L"\\\\server\\share\\a.b\\c.fvk", L"C:\\x.y\\file.galleryitem"};

const std::vector<wstring> kParts = {
    L"http://", L"www.", L"HTTP://", L"/",    L"\\",  L".",  L"?",       L"%",
    L"%2F",     L"%00",  L"%E9",     L"..\\", L":\\", L"=",  L"&",       L"*|\"<>",
    L"C:",      L"@",    L"#",       L".qdk", L"//",  L"%s", L"\\\\?\\", L"\u4F60\u597D"};

/// As far as a text goes: after a zero character, product and rule need not agree.
void ForEachUrl(const std::function<void(const wstring& url)>& check) {
  CMutator<wchar_t>(kUrls, kParts).ForEach([&](wstring text) {
    std::erase(text, L'\0');
    check(text);
  });
}

wstring Wide(const CStringW& text) { return {text.GetString(), size_t(text.GetLength())}; }

TEST(MutatedInput, ExtensionOfAUrlStartsAtItsLastDot) {
  int found = 0;
  ForEachUrl([&](const wstring& url) {
    const wstring path = url.substr(0, url.find(L'?'));
    const size_t dot = path.rfind(L'.');
    const wstring tail = dot == wstring::npos ? L"" : path.substr(dot);
    const wstring expected = tail.find(L'\\') == wstring::npos ? tail : L"";
    EXPECT_EQ(GetPathExtension(GetUrlPath(url.c_str())), expected) << url;
    found += expected.empty() ? 0 : 1;
  });
  EXPECT_GT(found, MutationCount() / 4) << "the inputs must put something to the test";
}

TEST(MutatedInput, DownloadNameStaysInItsFolderAndShort) {
  constexpr std::wstring_view kIllegal = L"<>:\"/\\|?*";
  CMessageRecorder messages;
  ForEachUrl([&](const wstring& url) {
    const wstring name = Wide(MakeDownloadFileName(nullptr, url.c_str()));
    EXPECT_EQ(name.find_first_of(kIllegal), wstring::npos) << url;
    EXPECT_LT(name.size(), std::max<size_t>(260, url.size() + 20)) << url;
    const size_t told = messages.Take().size();
    EXPECT_LE(told, 1u) << url;
    EXPECT_TRUE(told == 0 || name.starts_with(L"downloadedfile")) << url;
    wstring legal = url;
    std::erase_if(legal, [=](wchar_t c) { return kIllegal.find(c) != kIllegal.npos; });
    EXPECT_EQ(Wide(RemoveIllegalFileNameChars(url.c_str())), legal) << url;
  });
}

}  // namespace
