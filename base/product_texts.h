#pragma once

/// The product's name as users see it: caption of every message box, in the SE edition too, and
/// name of the folder of its temporary files.
inline constexpr wchar_t kProductName[] = L"MERLO Folivo";
/// What the SE edition (edition.h) says instead in the name of that folder and as the title of the
/// question box.
inline constexpr wchar_t kProductNameSe[] = L"MERLO Folivo SE";
