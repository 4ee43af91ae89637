#include "collections/trusted_hosts.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

#include "collections/host_name.h"

#include FOLIVO_TRUSTED_HOSTS_FILE

// Checks the list that is built in, also one that replaces ours. A name in another form would trust
// no host, and an empty one every host.
static_assert(std::size(kTrustedHosts) == 9, "the list of trusted hosts has nine names");
static_assert(std::all_of(std::begin(kTrustedHosts), std::end(kTrustedHosts), IsBareHostName),
              "a trusted host is a lower-case name without scheme, \"www.\" or port");

namespace {

/// Removes `prefix` from the beginning of `text`. Quirk 48: case-sensitive.
void DropPrefix(CStringW& text, const CStringW& prefix) {
  if (text.Left(prefix.GetLength()) == prefix) {
    text = text.Mid(prefix.GetLength());
  }
}

}  // namespace

bool IsTrustedHost(const CStringW& address) {
  CStringW rest = address;
  DropPrefix(rest, L"http://");  // Quirk 47: no other scheme is removed, so none is trusted.
  DropPrefix(rest, L"www.");
  // Quirk 49: without a slash there is no host, so a bare name is never trusted.
  const CStringW host = rest.Left(std::max(0, rest.Find(L'/')));
  // Quirk 46: a prefix test, which ignores what follows a trusted name.
  return std::any_of(std::begin(kTrustedHosts), std::end(kTrustedHosts), [&](const wchar_t* name) {
    return host.Left(static_cast<int>(wcslen(name))) == name;
  });
}
