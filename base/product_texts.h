#pragma once

/// The product's name: the caption of every message box, in the SE edition too, and the name of the
/// folder for temporary files.
inline constexpr wchar_t kProductName[] = L"MERLO Folivo";
/// The SE edition (edition.h) uses this instead for the name of that folder, and in the
/// titles that edition.h names.
inline constexpr wchar_t kProductNameSe[] = L"MERLO Folivo SE";
