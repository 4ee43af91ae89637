#pragma once

// All texts that the download dialog and its transfer show.

inline constexpr wchar_t kDownloadTitle[] = L"MERLO Folivo File Download";
inline constexpr wchar_t kDownloadTitleSe[] = L"MERLO Folivo SE File Download";
inline constexpr wchar_t kDownloadingText[] = L"Downloading %s";
inline constexpr wchar_t kDownloadCompleteText[] = L"Download Complete";
inline constexpr wchar_t kOpenLabel[] = L"Open";
inline constexpr wchar_t kOpenFolderLabel[] = L"Open Folder";
inline constexpr wchar_t kCancelLabel[] = L"Cancel";
inline constexpr wchar_t kCloseLabel[] = L"Close";

inline constexpr wchar_t kNotAvailableText[] = L"The file %s is not available for downloading.";
inline constexpr wchar_t kCannotCreateText[] = L"Unable to create the destination file %s.";
inline constexpr wchar_t kCannotWriteText[] = L"Unable to write to the destination file %s.";
inline constexpr wchar_t kNotAFolivoFileText[] =
    L"The file %s is not a valid Folivo file. Please ensure that the link to the Folivo file is "
    L"valid.";
// Shown instead of one of these when there is not enough memory to format it.
inline constexpr wchar_t kNoMemoryText[] = L"There is not enough memory to download the file.";
