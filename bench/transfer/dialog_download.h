#pragma once

#include <string>

/// Downloads a lesson the product's way: the check of its head, then the modal dialog, which ends
/// with the file delivered to `destination`. Throws CMeasurementError when it does not. The thread
/// must have no dialog open.
void DownloadByDialog(const std::wstring& url, const std::wstring& destination);
