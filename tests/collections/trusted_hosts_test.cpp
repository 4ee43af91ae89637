#include "collections/trusted_hosts.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

#include "collections/host_name.h"

#include FOLIVO_TRUSTED_HOSTS_FILE

namespace {

bool IsTrusted(const std::wstring& address) { return IsTrustedHost(address.c_str()); }

std::wstring Capital(std::wstring name) {
  name[0] = static_cast<wchar_t>(std::towupper(name[0]));
  return name;
}

// The build refuses a list that holds any other.
TEST(BareHostName, IsALowerCaseNameAlone) {
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

TEST(TrustedHosts, TwoAreSubDomainsOfAThird) {
  int pairs = 0;
  for (const std::wstring name : kTrustedHosts) {
    for (const std::wstring other : kTrustedHosts) {
      pairs += other.ends_with(L"." + name) ? 1 : 0;
    }
  }
  EXPECT_EQ(pairs, 2);
}

class EachTrustedHost : public testing::TestWithParam<const wchar_t*> {
 protected:
  const std::wstring m_name = GetParam();
};

TEST_P(EachTrustedHost, IsTrustedWithAndWithoutWwwAndScheme) {
  EXPECT_TRUE(IsTrusted(L"http://" + m_name + L"/a.zip"));
  EXPECT_TRUE(IsTrusted(L"http://www." + m_name + L"/"));
  EXPECT_TRUE(IsTrusted(m_name + L"/a.zip"));
  EXPECT_TRUE(IsTrusted(L"www." + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://www.www." + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"www.http://" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://http://" + m_name + L"/a.zip"));
}

TEST_P(EachTrustedHost, NeedsASlashBehindIt) {
  EXPECT_FALSE(IsTrusted(L"http://" + m_name));
  EXPECT_FALSE(IsTrusted(m_name));
}

TEST_P(EachTrustedHost, IsNotTrustedWithHttps) {
  EXPECT_FALSE(IsTrusted(L"https://" + m_name + L"/a.zip"));
}

TEST_P(EachTrustedHost, IsComparedToTheLetter) {
  EXPECT_FALSE(IsTrusted(L"HTTP://" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://WWW." + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://" + Capital(m_name) + L"/a.zip"));
}

// Quirk 46: the name is a prefix, and what follows it is not compared.
TEST_P(EachTrustedHost, MayGoOnInAnyWay) {
  EXPECT_TRUE(IsTrusted(L"http://" + m_name + L":8080/a.zip"));
  EXPECT_TRUE(IsTrusted(L"http://" + m_name + L".evil.example/a.zip"));
  EXPECT_TRUE(IsTrusted(L"http://" + m_name + L"x/a.zip"));
}

TEST_P(EachTrustedHost, MustStandFirst) {
  EXPECT_FALSE(IsTrusted(L"http://x" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://user@" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L" http://" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http://evil.example/" + m_name + L"/a.zip"));
  EXPECT_FALSE(IsTrusted(L"http:/" + m_name + L"/a.zip"));
}

INSTANTIATE_TEST_SUITE_P(List, EachTrustedHost, testing::ValuesIn(kTrustedHosts));

TEST(TrustedHosts, NothingElseIsTrusted) {
  for (const wchar_t* address : {L"", L"/", L"http://", L"http:///", L"www.", L"www./",
                                 L"http://evil.example/", L"http://localhost/a.zip", L"C:\\a.zip",
                                 L"\\\\server\\a.zip", L"http://folivo/", L"http://.example/"}) {
    EXPECT_FALSE(IsTrusted(address)) << address;
  }
}

}  // namespace
