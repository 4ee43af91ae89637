#pragma once

// The texts that the collection control and its dialog show, besides those about the archive's
// file, which are a lesson's (download/download_texts.h).

inline constexpr wchar_t kNotReadyText[] =
    L"Unable to download Folivo Collection files at this time.";

inline constexpr wchar_t kDownloadingStage[] = L"Downloading Folivo Collections...";
inline constexpr wchar_t kRetrievingStage[] = L"Retrieving downloaded collections to unzip...";
inline constexpr wchar_t kUnzippingStage[] = L"Unzipping Folivo Collections...";
inline constexpr wchar_t kAddingStage[] = L"Adding collections to Folivo Content...";
inline constexpr wchar_t kCompletedStage[] = L"Completed Folivo Collections download.";
inline constexpr wchar_t kViewQuestion[] = L"Would you like to view the downloaded collections?";

inline constexpr wchar_t kOkLabel[] = L"Ok";
inline constexpr wchar_t kCancelCollectionLabel[] = L"Cancel";
inline constexpr wchar_t kYesLabel[] = L"Yes";
inline constexpr wchar_t kNoLabel[] = L"No";

// Quirk 51: shown for a host that is not trusted, too, so that a page learns nothing about the
// rule.
inline constexpr wchar_t kSourceMissingText[] =
    L"The Folivo Collection file that you are trying to download does not exist. Please verify "
    L"that the path to the file is valid.";
inline constexpr wchar_t kUnavailableText[] =
    L"The Folivo Collection file is unavailable for downloading.";
// Quirk 52: without a full stop.
inline constexpr wchar_t kNotValidText[] =
    L"The Folivo Collection file is not valid. Please ensure that the link to the file is valid";
inline constexpr wchar_t kCannotUnzipText[] = L"Could not unzip the Folivo Collections file.";
inline constexpr wchar_t kCannotAddText[] =
    L"Could not save the Folivo Collections file to the Folivo Content directory.";
