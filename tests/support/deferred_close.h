#pragma once

#include <windows.h>
#include <wininet.h>

#include <map>
#include <memory>
#include <vector>

#include "tests/support/import_patch.h"

/// Makes closing a WinINet handle safe while another thread is inside a call with it, as it is on
/// Windows: there a handle's data lives until the last call with it has returned. Wine 8 frees it
/// under the running call, which damages the heap. For the object's scope, closing such a handle
/// answers at once and happens when the session's running calls have returned; until then calls
/// with the handle fail as with any closed one. Only for the code of one module, one at a time.
class CDeferredClose {
 public:
  /// `importer`: the module whose calls are deferred; null for this program.
  explicit CDeferredClose(HMODULE importer = nullptr);
  ~CDeferredClose();
  CDeferredClose(const CDeferredClose&) = delete;
  CDeferredClose& operator=(const CDeferredClose&) = delete;

 private:
  /// A session with its requests.
  struct Family {
    int running = 0;
    std::vector<HINTERNET> closed;  // still to be closed, in this order
  };
  class CCall;

  static HINTERNET WINAPI OpenSession(LPCWSTR, DWORD, LPCWSTR, LPCWSTR, DWORD);
  static HINTERNET WINAPI OpenRequest(HINTERNET, LPCWSTR, LPCWSTR, DWORD, DWORD, DWORD_PTR);
  static BOOL WINAPI Read(HINTERNET, LPVOID, DWORD, LPDWORD);
  static BOOL WINAPI Query(HINTERNET, DWORD, LPVOID, LPDWORD, LPDWORD);
  static BOOL WINAPI Close(HINTERNET);

  void Finish(Family& family);

  static CDeferredClose* s_instance;

  CRITICAL_SECTION m_lock;
  std::map<HINTERNET, std::shared_ptr<Family>> m_families;
  const CImportPatch m_openSession;
  const CImportPatch m_openRequest;
  const CImportPatch m_read;
  const CImportPatch m_query;
  const CImportPatch m_close;
};
