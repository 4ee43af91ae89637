#include "download/module_keep_alive.h"

#include <atlbase.h>

#include <memory>
#include <new>

namespace {

/// What the thread pool's callback releases. The callback owns it once the wait is set.
struct CKeptThread {
  HMODULE module = nullptr;
  CHandle thread;
};

void CALLBACK OnThreadEnded(PTP_CALLBACK_INSTANCE instance, void* context, PTP_WAIT wait,
                            TP_WAIT_RESULT) {
  const std::unique_ptr<CKeptThread> kept(static_cast<CKeptThread*>(context));
  CloseThreadpoolWait(wait);
  FreeLibraryWhenCallbackReturns(instance, kept->module);
  if (_pAtlModule != nullptr) {
    _pAtlModule->Unlock();
  }
}

HMODULE AddModuleReference() {
  HMODULE module = nullptr;
  GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCWSTR>(&OnThreadEnded), &module);
  return module;
}

}  // namespace

void KeepModuleUntilThreadEnds(HANDLE thread) {
  // First, so that after a failure below the module stays loaded and is not freed too early.
  if (_pAtlModule != nullptr) {  // The module object may be destroyed before the last threads end.
    _pAtlModule->Lock();
  }
  const HMODULE module = AddModuleReference();
  if (module == nullptr) {
    return;
  }
  std::unique_ptr<CKeptThread> kept(new (std::nothrow) CKeptThread);
  if (!kept) {
    return;
  }
  kept->module = module;
  HANDLE duplicate = nullptr;
  if (!DuplicateHandle(GetCurrentProcess(), thread, GetCurrentProcess(), &duplicate, SYNCHRONIZE,
                       FALSE, 0)) {
    return;
  }
  kept->thread.Attach(duplicate);
  const PTP_WAIT wait = CreateThreadpoolWait(OnThreadEnded, kept.get(), nullptr);
  if (wait == nullptr) {
    return;
  }
  const HANDLE awaited = kept->thread;
  static_cast<void>(kept.release());  // The callback owns it now.
  SetThreadpoolWait(wait, awaited, nullptr);
}
