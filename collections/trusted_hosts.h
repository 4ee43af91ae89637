#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Whether collections may be downloaded from this address: its host, after "http://" and "www.",
/// begins with one of the names of trusted_host_list.h (Quirk 46). False for another scheme, for
/// capitals, and for a host without a slash behind it (Quirk 47 to Quirk 49).
bool IsTrustedHost(const CStringW& address);
