#include "bench/transfer/peers.h"

#include <windows.h>

#include <urlmon.h>

#include <vector>

#include "bench/support/internet_request.h"
#include "bench/support/program.h"

namespace {

constexpr DWORD kBufferSize = 0x20000;  // as in the product's transfer

}  // namespace

void DownloadByLoop(const std::wstring& url, const std::wstring& destination) {
  DownloadByLoop(url, destination, [](unsigned long, std::int32_t) {});
}

void DownloadByLoop(const std::wstring& url, const std::wstring& destination,
                    const CAfterChunk& afterChunk) {
  const CInternetRequest request(url);
  const std::int32_t total = request.BodySize();
  const CScopedHandle<CFileTraits> file(CreateFileW(destination.c_str(), GENERIC_WRITE, 0, nullptr,
                                                    CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DemandSuccess(static_cast<bool>(file), "CreateFile");
  std::vector<BYTE> buffer(kBufferSize);
  while (const DWORD received = request.Read(buffer.data(), kBufferSize)) {
    DWORD written = 0;
    DemandSuccess(WriteFile(file.Get(), buffer.data(), received, &written, nullptr) != FALSE &&
                      written == received,
                  "WriteFile");
    afterChunk(received, total);
  }
}

void DownloadByLoopAndCopy(const std::wstring& url, const std::wstring& destination) {
  const std::wstring temporary = destination + L".temporary";
  DownloadByLoop(url, temporary);
  DemandSuccess(CopyFileW(temporary.c_str(), destination.c_str(), FALSE) != FALSE, "CopyFile");
  DemandSuccess(DeleteFileW(temporary.c_str()) != FALSE, "DeleteFile");
}

void DownloadByUrlmon(const std::wstring& url, const std::wstring& destination) {
  Demand(URLDownloadToFileW(nullptr, url.c_str(), destination.c_str(), 0, nullptr) == S_OK,
         "URLDownloadToFile");
}
