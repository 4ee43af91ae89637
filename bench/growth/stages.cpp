#include "bench/growth/stages.h"

#include <windows.h>

#include <atlbase.h>
#include <atlcom.h>
#include <tinyxml.h>

#include <cstdlib>

#include "bench/support/stopwatch.h"
#include "collections/unzip_library.h"
#include "download/file_operations.h"
#include "download/temp_files.h"
#include "tests/collections/zip_progress_dialog_peer.h"

namespace {

// Stands in for the DLL's module object, which the dialog locks.
class CBenchModule : public ATL::CAtlDllModuleT<CBenchModule> {};
CBenchModule g_module;

}  // namespace

double NameUniquely(const CArguments& arguments) {
  const int repeats = std::stoi(arguments[1]);
  const CStopwatch stopwatch;
  for (int i = 0; i < repeats; ++i) {
    srand(1);  // the numbers that a new thread draws
    const CFilePath path = MakeUniqueFilePath(arguments[0].c_str(), L"Lesson", L".folivo");
    Demand(!path.IsEmpty(), "there is no path");
  }
  return stopwatch.Elapsed() / repeats;
}

double ListArchive(const CArguments& arguments) {
  CSimpleArray<CStringW> entries;
  const CStopwatch stopwatch;
  const bool isListed = ListZipEntries(arguments[0].c_str(), &entries);
  const double time = stopwatch.Elapsed();
  Demand(isListed && entries.GetSize() == std::stoi(arguments[1]), "the list is not complete");
  return time;
}

double AddManifest(const CArguments& arguments) {
  const CFileStream stream = OpenFileNoInherit(arguments[0].c_str(), L"rb");
  TiXmlDocument manifest;
  Demand(stream && manifest.LoadFile(stream.get()), "there is no manifest");
  CZipProgressDialog dialog(L"", arguments[1].c_str(), arguments[2].c_str());
  Demand(dialog.Create(nullptr) != nullptr, "there is no dialog");
  dialog.ShowWindow(SW_SHOW);
  CZipProgressDialogPeer stages{dialog};
  stages.Begin();

  const CStopwatch stopwatch;
  const HRESULT result = stages.AddCollections(manifest);
  const double time = stopwatch.Elapsed();
  Demand(result == S_OK && dialog.GetAddedFiles().GetSize() == std::stoi(arguments[3]),
         "not everything was added");
  dialog.DestroyWindow();
  return time;
}
