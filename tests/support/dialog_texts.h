#pragma once

// What users see of the product, written out: tests must not take it from the product.

// Titles of its dialogs, of the system's save dialog and of its messages.
inline constexpr wchar_t kPromptTitle[] = L"File Download";
inline constexpr wchar_t kDownloadTitle[] = L"MERLO Folivo File Download";
inline constexpr wchar_t kCollectionTitle[] = L"MERLO Folivo Collection Download";
inline constexpr wchar_t kSaveTitle[] = L"Save As";
inline constexpr wchar_t kMessageTitle[] = L"MERLO Folivo";

// Buttons of the question.
inline constexpr int kOpenButton = 6;
inline constexpr int kSaveButton = 7;
inline constexpr int kCancelButton = 2;

/// The folder of its temporary files, below the user's.
inline constexpr wchar_t kTempFiles[] = L"MERLO Technologies\\MERLO Folivo\\TempFiles\\";
