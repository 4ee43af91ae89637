#pragma once

/// The product's name as users see it: caption of every message box and name of its folder.
inline constexpr wchar_t kProductName[] = L"MERLO Folivo";
/// The same in the SE edition.
inline constexpr wchar_t kProductNameSe[] = L"MERLO Folivo SE";
