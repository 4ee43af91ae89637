#pragma once

#include <cstdint>
#include <functional>
#include <string>

// What else there is to get a file by. All throw CMeasurementError.

/// The WinINet calls of a download and nothing else: the same flags, the same buffer, written to
/// `destination` at once, without a window or a second thread.
void DownloadByLoop(const std::wstring& url, const std::wstring& destination);

/// What is to be done after each chunk: its size and that of the body, bytes.
using CAfterChunk = std::function<void(unsigned long received, std::int32_t total)>;
void DownloadByLoop(const std::wstring& url, const std::wstring& destination,
                    const CAfterChunk& afterChunk);

/// The same into a temporary file, which is then copied to `destination` and deleted, as a
/// download that nobody may see half done has to be.
void DownloadByLoopAndCopy(const std::wstring& url, const std::wstring& destination);

/// The system's one call for it, which leaves a copy in its cache.
void DownloadByUrlmon(const std::wstring& url, const std::wstring& destination);
