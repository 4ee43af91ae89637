#include "collections/trusted_hosts.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "collections/host_name.h"

#include FOLIVO_TRUSTED_HOSTS_FILE

namespace {

// The build refuses a list that holds any other.
TEST(TrustedHosts, ListHoldsBareLowerCaseNames) {
  for (const wchar_t* name : {L"a", L"folivo.example", L"a-b.c9", L"wwwx.example"}) {
    EXPECT_TRUE(IsBareHostName(name)) << name;
  }
  for (const wchar_t* name :
       {L"", L"www.folivo.example", L"http://folivo.example", L"http:", L"folivo.example:80",
        L"folivo.example/", L"/", L"Folivo.example", L"folivo.examplE", L"folivo example", L"a@b",
        L"a?b", L"*", L"\u00E4.example"}) {
    EXPECT_FALSE(IsBareHostName(name)) << name;
  }
}

/// Each listed name in the place of "NAME", and with a capital in that of "Name".
class TrustedHostsEach : public testing::TestWithParam<const wchar_t*> {
 protected:
  static void Expect(bool isTrusted, std::initializer_list<std::wstring> addresses) {
    const std::wstring name = GetParam();
    std::wstring capital = name;
    capital[0] = static_cast<wchar_t>(std::towupper(name[0]));
    for (std::wstring address : addresses) {
      for (const auto& [mark, text] : {std::pair(L"NAME", name), {L"Name", capital}}) {
        if (const size_t place = address.find(mark); place != std::wstring::npos) {
          address.replace(place, 4, text);
        }
      }
      EXPECT_EQ(IsTrustedHost(address.c_str()), isTrusted) << address;
    }
  }
};

TEST_P(TrustedHostsEach, IsTrustedWithAndWithoutWwwAndScheme) {
  Expect(true, {L"http://NAME/a.zip", L"http://www.NAME/", L"NAME/a.zip", L"www.NAME/a.zip"});
  Expect(false,
         {L"http://www.www.NAME/a.zip", L"www.http://NAME/a.zip", L"http://http://NAME/a.zip"});
}

TEST_P(TrustedHostsEach, NeedsASlashBehindIt) { Expect(false, {L"http://NAME", L"NAME"}); }

TEST_P(TrustedHostsEach, IsNotTrustedWithHttps) { Expect(false, {L"https://NAME/a.zip"}); }

TEST_P(TrustedHostsEach, IsComparedWithItsCase) {
  Expect(false, {L"HTTP://NAME/a.zip", L"http://WWW.NAME/a.zip", L"http://Name/a.zip"});
}

TEST_P(TrustedHostsEach, MayGoOnInAnyWay) {
  Expect(true,
         {L"http://NAME:8080/a.zip", L"http://NAME.evil.example/a.zip", L"http://NAMEx/a.zip"});
}

TEST_P(TrustedHostsEach, MustStandFirst) {
  Expect(false, {L"http://xNAME/a.zip", L"http://user@NAME/a.zip", L" http://NAME/a.zip",
                 L"http://evil.example/NAME/a.zip", L"http:/NAME/a.zip"});
}

INSTANTIATE_TEST_SUITE_P(List, TrustedHostsEach, testing::ValuesIn(kTrustedHosts));

TEST(TrustedHosts, NothingElseIsTrusted) {
  for (const wchar_t* address :
       {L"", L"/", L"http://", L"http:///", L"www.", L"www./", L"http://evil.example/",
        L"C:\\a.zip", L"\\\\server\\a.zip", L"http://folivo/", L"http://.example/"}) {
    EXPECT_FALSE(IsTrustedHost(address)) << address;
  }
}

}  // namespace
