#pragma once

// The hosts that collections may be downloaded from. This is the one file that a deployment edits,
// or replaces with the CMake setting FOLIVO_TRUSTED_HOSTS_FILE: nine bare lower-case names, without
// scheme, "www." or port. A name is a prefix: two below are sub-domains of a third and stand here
// for themselves.

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
