#pragma once

// The hosts that collections may be downloaded from. This is the only file that a deployment edits,
// or replaces with the CMake setting FOLIVO_TRUSTED_HOSTS_FILE: exactly nine host names in lower
// case, without scheme, "www." or port. A host is trusted when it begins with one of them, so a
// sub-domain needs an entry of its own.

inline constexpr const wchar_t* kTrustedHosts[] = {
    L"folivo-collections.example",
    L"lessons.folivo-collections.example",
    L"gallery.folivo-collections.example",
    L"merlo-classroom.example",
    L"merlo-teachers.example",
    L"folivo-exchange.example",
    L"folivo-schools.example",
    L"merlo-content.example",
    L"merlo-downloads.example",
};
