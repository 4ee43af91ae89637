// Mutated URLs, names and paths: nothing crashes, and the answers agree with the rules as they are
// said in the shortest way.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <string_view>

#include "browser/download_file_name.h"
#include "browser/url_extension.h"
#include "collections/trusted_host_list.h"
#include "collections/trusted_hosts.h"
#include "download/file_path.h"
#include "tests/faults/mutator.h"
#include "tests/support/message_recorder.h"

namespace {

using Mutator = CMutator<wchar_t>;
using std::wstring;

const std::vector<wstring> kUrls = {
    L"http://folivo-collections.example/a.qdk",
    L"http://www.lessons.folivo-collections.example:8080/x/My%20Lesson.folivo?a=b&c=d.gallery",
    L"https://merlo-content.example/a.b/file",
    L"file:///C:/Users/a/L%C3%A9sson.qdc",
    L"\\\\server\\share\\a.b\\c.fvk",
    L"C:\\x.y\\file.galleryitem",
    L"www.www.folivo-schools.example/a",
    L"merlo-teachers.example/"};
std::vector<wstring> Words(const wchar_t* text) {
  std::wistringstream stream(text);
  return {std::istream_iterator<wstring, wchar_t>(stream), {}};
}

const std::vector<wstring> kParts = Words(
    L"http:// www. HTTP:// / \\ . ? % %2F %00 %E9 ..\\ :\\ = & *|\"<> C: @ # .qdk // %s \\\\?\\ "
    L"\x4F60\x597D merlo-downloads.example");

/// As far as a text goes: behind a zero character, product and rule need not agree.
wstring NextText(Mutator& mutator) {
  wstring text = mutator.Next();
  std::erase(text, L'\0');
  return text;
}

wstring Wide(const CStringW& text) { return {text.GetString(), size_t(text.GetLength())}; }

TEST(MutatedInput, ExtensionOfAUrlIsItsLastDotsTail) {
  Mutator mutator(kUrls, kParts);
  int found = 0;
  for (int i = 0; i < MutationCount(); ++i) {
    const wstring url = NextText(mutator);
    const wstring path = url.substr(0, url.find(L'?'));
    const size_t dot = path.rfind(L'.');
    const wstring tail = dot == wstring::npos ? L"" : path.substr(dot);
    const wstring expected = tail.find(L'\\') == wstring::npos ? tail : L"";
    ASSERT_EQ(GetPathExtension(GetUrlPath(url.c_str())), expected) << url;
    found += expected.empty() ? 0 : 1;
  }
  EXPECT_GT(found, MutationCount() / 4) << "the inputs must put something to the test";
}

TEST(MutatedInput, NameLosesTheNineCharactersAndNothingElse) {
  constexpr std::wstring_view kIllegal = L"<>:\"/\\|?*";
  Mutator mutator(kUrls, kParts);
  for (int i = 0; i < MutationCount(); ++i) {
    const wstring name = NextText(mutator);
    wstring expected = name;
    std::erase_if(expected, [=](wchar_t c) { return kIllegal.find(c) != kIllegal.npos; });
    ASSERT_EQ(Wide(RemoveIllegalFileNameChars(name.c_str())), expected) << name;
  }
}

TEST(MutatedInput, DownloadNameStaysInItsFolderAndShort) {
  CMessageRecorder messages;
  Mutator mutator(kUrls, kParts);
  size_t replaced = 0;
  for (int i = 0; i < MutationCount(); ++i) {
    const wstring url = NextText(mutator);
    const wstring name = Wide(MakeDownloadFileName(nullptr, url.c_str()));
    ASSERT_EQ(name.find_first_of(L"<>:\"/\\|?*"), wstring::npos) << url;
    ASSERT_LT(name.size(), std::max<size_t>(260, url.size() + 20)) << url;
    const size_t told = messages.Take().size();
    ASSERT_LE(told, 1u) << url;
    ASSERT_TRUE(told == 0 || name.starts_with(L"downloadedfile")) << url;
    replaced += told;
  }
  std::printf("%zu names replaced\n", replaced);
}

/// The normal form, step by step.
wstring Normalized(wstring path) {
  const size_t colon = path.rfind(L':');
  if (colon != wstring::npos && colon >= 4 && path.substr(colon + 1, 1) == L"\\") {
    path.erase(0, colon - 1);
  }
  std::replace(path.begin(), path.end(), L'/', L'\\');
  if (path.ends_with(L'\\')) {
    path.pop_back();
  }
  return path;
}

TEST(MutatedInput, PathsTakeTheirNormalForm) {
  Mutator mutator(kUrls, kParts);
  for (int i = 0; i < MutationCount(); ++i) {
    const wstring text = NextText(mutator);
    const CFilePath path(text.c_str());
    ASSERT_EQ(Wide(path.GetText()), Normalized(text)) << text;
    ASSERT_EQ(Wide(path.GetText()).find(L'/'), wstring::npos) << text;
    // Its parts put together again are the path.
    const wstring name = Wide(path.GetFileNamePart());
    const wstring parent = Wide(path.GetParentFolder().GetText());
    ASSERT_TRUE(Wide(path.GetText()).ends_with(name)) << text;
    ASSERT_TRUE(Normalized(text).find(L'\\') == wstring::npos ||
                Normalized(Normalized(text).substr(0, Normalized(text).rfind(L'\\'))) == parent)
        << text;
    ASSERT_TRUE(name.ends_with(Wide(path.GetExtension()))) << text;
  }
}

TEST(MutatedInput, HostIsTrustedByItsFirstCharactersOnly) {
  Mutator mutator(kUrls, kParts);
  int trusted = 0;
  for (int i = 0; i < MutationCount(); ++i) {
    const wstring url = NextText(mutator);
    wstring rest = url.starts_with(L"http://") ? url.substr(7) : url;
    rest = rest.starts_with(L"www.") ? rest.substr(4) : rest;
    const size_t slash = rest.find(L'/');
    const wstring host = slash == wstring::npos ? L"" : rest.substr(0, slash);
    const bool expected = std::ranges::any_of(
        kTrustedHosts, [&](const wchar_t* trustedName) { return host.starts_with(trustedName); });
    ASSERT_EQ(IsTrustedHost(url.c_str()), expected) << url;
    trusted += expected ? 1 : 0;
  }
  EXPECT_GT(trusted, MutationCount() / 20);
}

}  // namespace
