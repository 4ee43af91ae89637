#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Whether collections may be downloaded from this address: its host, after "http://" and "www.",
/// begins with one of the names of trusted_host_list.h. Never for another scheme, nor for a host
/// without a path behind it.
bool IsTrustedHost(const CStringW& address);
