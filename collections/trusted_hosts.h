#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Whether collections may be downloaded from this address: its host, after "http://" and "www.",
/// begins with one of the names in trusted_host_list.h. False for any other scheme, and for a host
/// without a
/// "/" after it.
bool IsTrustedHost(const CStringW& address);
