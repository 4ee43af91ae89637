#pragma once

// All texts that the download interception and the open-or-save question show.

inline constexpr wchar_t kPromptTitle[] = L"File Download";
inline constexpr wchar_t kPromptText[] = L"Would you like to open or save this Folivo file?";
inline constexpr wchar_t kPromptOpenLabel[] = L"Open";
inline constexpr wchar_t kPromptSaveLabel[] = L"Save";
inline constexpr wchar_t kPromptCancelLabel[] = L"Cancel";

inline constexpr wchar_t kFileMissingText[] =
    L"The file %s does not exist. Please verify that the path to the file is valid.";
inline constexpr wchar_t kRenamedText[] =
    L"We were unable to get the proper download filename. Your downloaded file will be renamed to "
    L"%s.";

inline constexpr wchar_t kReplaceText[] = L"%s already exists. Do you want to replace it?";

inline constexpr wchar_t kLessonFilterName[] = L"Folivo Files";
inline constexpr wchar_t kGalleryFilterName[] = L"Gallery Files";
// The filter's name, and its patterns twice: the dialog shows the first and uses the second.
inline constexpr wchar_t kFilterFormat[] = L"%s (%s)|%s|All Files|*.*|";
