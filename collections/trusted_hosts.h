#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Whether collections may be downloaded from this address: its host, after "http://" and "www.",
/// begins with one of the names in trusted_host_list.h (Quirk 46). False for any other scheme, for
/// capitals, and for a host without a "/" after it (Quirk 47 to Quirk 49).
bool IsTrustedHost(const CStringW& address);
