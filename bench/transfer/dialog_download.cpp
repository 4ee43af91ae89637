#include "bench/transfer/dialog_download.h"

#include <windows.h>

#include <atlbase.h>
#include <atlcom.h>

#include "bench/support/program.h"
#include "download/progress_dialog.h"

namespace {

// Stands in for the DLL's module object, which the dialog locks.
class CBenchModule : public ATL::CAtlDllModuleT<CBenchModule> {};
CBenchModule g_module;

}  // namespace

void DownloadByDialog(const std::wstring& url, const std::wstring& destination) {
  const std::wstring temporary = destination + L".temporary";
  const CProgressDialog::Ptr dialog =
      CProgressDialog::Create(url.c_str(), CFilePath(temporary.c_str()), nullptr);
  Demand(dialog->PeekContent(L".folivo"), "the head of the body was refused");
  dialog->SetTarget(CFilePath(destination.c_str()), nullptr);
  Demand(dialog->DoModal(GetActiveWindow()) == kDownloadDelivered, "the dialog did not deliver");
}
