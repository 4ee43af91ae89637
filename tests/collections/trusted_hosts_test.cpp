#include "collections/trusted_hosts.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <regex>
#include <string>
#include <utility>

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

TEST(TrustedHosts, EachIsTrustedInTheseFormsOnly) {
  // "NAME" is the name, "Name" that with a capital.
  const std::pair<const wchar_t*, bool> cases[] = {
      {L"http://NAME/a.zip", true},
      {L"http://www.NAME/", true},
      {L"NAME/a.zip", true},
      {L"www.NAME/a.zip", true},
      {L"http://NAME:8080/a.zip", true},
      {L"http://NAME.evil.example/a.zip", true},
      {L"http://NAMEx/a.zip", true},
      {L"http://NAME", false},  // a slash must follow somewhere
      {L"NAME", false},
      {L"https://NAME/a.zip", false},
      {L"HTTP://NAME/a.zip", false},
      {L"http://WWW.NAME/a.zip", false},
      {L"http://Name/a.zip", false},
      {L"http://www.www.NAME/a.zip", false},
      {L"www.http://NAME/a.zip", false},
      {L"http://http://NAME/a.zip", false},
      {L"http://xNAME/a.zip", false},
      {L"http://user@NAME/a.zip", false},
      {L" http://NAME/a.zip", false},
      {L"http://evil.example/NAME/a.zip", false},
      {L"http:/NAME/a.zip", false},
  };
  for (const std::wstring name : kTrustedHosts) {
    std::wstring capital = name;
    capital[0] = static_cast<wchar_t>(std::towupper(name[0]));
    for (const auto& [form, isTrusted] : cases) {
      std::wstring address = std::regex_replace(form, std::wregex(L"NAME"), name);
      address = std::regex_replace(address, std::wregex(L"Name"), capital);
      EXPECT_EQ(IsTrustedHost(address.c_str()), isTrusted) << address;
    }
  }
}

TEST(TrustedHosts, NothingElseIsTrusted) {
  for (const wchar_t* address :
       {L"", L"/", L"http://", L"http:///", L"www.", L"www./", L"http://evil.example/",
        L"C:\\a.zip", L"\\\\server\\a.zip", L"http://folivo/", L"http://.example/"}) {
    EXPECT_FALSE(IsTrustedHost(address)) << address;
  }
}

}  // namespace
