#include "collections/trusted_hosts.h"

#include <algorithm>
#include <iterator>

#include "collections/host_name.h"

#include FOLIVO_TRUSTED_HOSTS_FILE

// Whatever list was built in. A name that breaks the rule would trust nothing, or everything.
static_assert(std::size(kTrustedHosts) == 9, "the list of trusted hosts has nine names");
static_assert(std::all_of(std::begin(kTrustedHosts), std::end(kTrustedHosts), IsBareHostName),
              "a trusted host is a lower-case name without scheme, \"www.\" or port");

namespace {

/// Drops `prefix` from the beginning of `text`, to the letter.
void DropPrefix(CStringW& text, const CStringW& prefix) {
  if (text.Left(prefix.GetLength()) == prefix) {
    text = text.Mid(prefix.GetLength());
  }
}

}  // namespace

bool IsTrustedHost(const CStringW& address) {
  CStringW rest = address;
  DropPrefix(rest, L"http://");
  DropPrefix(rest, L"www.");
  // Without a slash there is no host: required, so that a bare name is never trusted.
  const CStringW host = rest.Left(std::max(0, rest.Find(L'/')));
  // A prefix test: what follows a trusted name is not looked at.
  return std::any_of(std::begin(kTrustedHosts), std::end(kTrustedHosts), [&](const wchar_t* name) {
    return host.Left(static_cast<int>(wcslen(name))) == name;
  });
}
