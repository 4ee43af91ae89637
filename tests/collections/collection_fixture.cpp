#include "tests/collections/collection_fixture.h"

#include "tests/support/test_module.h"

namespace {

CTestModule g_module;

}  // namespace

std::wstring CollectionFixture::TrustedUrl(const ScriptedPath& path, const std::wstring& host) {
  std::wstring url = path.Url(L"collections.zip");
  const std::wstring address = L"127.0.0.1";
  return url.replace(url.find(address), address.size(), host);
}
