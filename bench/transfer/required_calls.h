#pragma once

#include <string>

/// Downloads as the product's dialog has to, by the system's calls alone: a thread that reads,
/// writes, sends the progress to a bar in another thread's window and yields, chunk by chunk; then
/// the file is copied to its place and deleted. Throws CMeasurementError.
void DownloadByRequiredCalls(const std::wstring& url, const std::wstring& destination);
