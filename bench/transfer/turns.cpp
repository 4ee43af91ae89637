#include "bench/transfer/turns.h"

#include <windows.h>

#include <wininet.h>

#include "bench/support/contender.h"
#include "bench/support/stopwatch.h"
#include "bench/transfer/dialog_download.h"
#include "bench/transfer/peers.h"
#include "bench/transfer/required_calls.h"

namespace {

using CDownload = void (*)(const std::wstring& url, const std::wstring& destination);

/// Deletes a file that was downloaded, which must be there as a whole.
void TakeFile(const std::wstring& path, LONGLONG size) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  DemandSuccess(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data) != FALSE,
                "GetFileAttributesEx");
  Demand(ULARGE_INTEGER{{data.nFileSizeLow, data.nFileSizeHigh}}.QuadPart ==
             static_cast<ULONGLONG>(size),
         "the file is not complete");
  DemandSuccess(DeleteFileW(path.c_str()) != FALSE, "DeleteFile");
}

}  // namespace

double MeasureTransfers(const CArguments& arguments) {
  const LONGLONG size = std::stoll(arguments[2]);
  int count = 0;
  const auto timeOf = [&](CDownload download) {
    // Every address is new, so nothing comes out of a cache.
    const std::wstring url = arguments[0] + L"&turn=" + std::to_wstring(++count);
    const CStopwatch stopwatch;
    download(url, arguments[1]);
    const double time = stopwatch.Elapsed();
    DeleteUrlCacheEntryW(url.c_str());  // or the disk would fill up
    TakeFile(arguments[1], size);
    return time;
  };
  return TakeTurns({{"dialog", [&] { return timeOf(DownloadByDialog); }},
                    {"loop", [&] { return timeOf(DownloadByLoop); }},
                    {"loop-and-copy", [&] { return timeOf(DownloadByLoopAndCopy); }},
                    {"required", [&] { return timeOf(DownloadByRequiredCalls); }},
                    {"urlmon", [&] { return timeOf(DownloadByUrlmon); }}},
                   {std::stoi(arguments[3]), 1, std::stod(arguments[4])});
}
