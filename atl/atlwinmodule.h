#pragma once

#include <atlbase.h>

namespace ATL {

/// An object whose window is being created. On the stack of the function that creates it.
struct _AtlCreateWndData {
  void* m_pThis = nullptr;
  DWORD m_dwThreadID = 0;
  _AtlCreateWndData* m_pNext = nullptr;
};

/// An object that has a window. A member of the object, so that no allocation can fail.
struct CWindowLink {
  HWND m_hWnd = nullptr;
  void* m_pThis = nullptr;
  CWindowLink* m_pNext = nullptr;
};

/// A window class, registered when its first window is created. Its name contains the address of
/// this object, which no other class has, in any module.
struct CWndClassInfo {
  /// pProc: receives the first message of each window.
  explicit CWndClassInfo(WNDPROC pProc) noexcept {
    ::wsprintf(m_szName, TEXT("ATL:%p"), static_cast<void*>(this));
    m_wc.cbSize = sizeof(m_wc);
    m_wc.style = CS_HREDRAW | CS_VREDRAW | CS_DBLCLKS;
    m_wc.lpfnWndProc = pProc;
    m_wc.hInstance = _AtlBaseModule.GetModuleInstance();
    m_wc.hCursor = ::LoadCursor(nullptr, IDC_ARROW);
    m_wc.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(COLOR_WINDOW) + 1);
    m_wc.lpszClassName = m_szName;
  }
  CWndClassInfo(const CWndClassInfo&) = delete;
  CWndClassInfo& operator=(const CWndClassInfo&) = delete;

  TCHAR m_szName[32] = {};
  WNDCLASSEX m_wc = {};
  ATOM m_atom = 0;
};

/// The module's windows. Any thread.
class CAtlWinModule {
 public:
  CAtlWinModule() noexcept : m_bInitialized(SUCCEEDED(m_lock.Init())) {
    if (!m_bInitialized) {
      CAtlBaseModule::m_bInitFailed = true;
    }
  }
  CAtlWinModule(const CAtlWinModule&) = delete;
  CAtlWinModule& operator=(const CAtlWinModule&) = delete;
  /// Unregisters the window classes: their procedures are in this module.
  ~CAtlWinModule() {
    for (int i = 0; i < m_classes.GetSize(); ++i) {
      ::UnregisterClass(reinterpret_cast<LPCTSTR>(static_cast<UINT_PTR>(m_classes[i])),
                        _AtlBaseModule.GetModuleInstance());
    }
    if (m_bInitialized) {
      m_lock.Term();
    }
  }

  /// Makes pObject the object of the next window that the calling thread creates. The entry must
  /// exist until it is extracted or removed.
  void AddCreateWndData(_AtlCreateWndData* pData, void* pObject) noexcept {
    pData->m_pThis = pObject;
    pData->m_dwThreadID = ::GetCurrentThreadId();
    const CScope scope(m_lock);
    pData->m_pNext = m_pCreating;
    m_pCreating = pData;
  }
  /// Removes the last entry of the calling thread and returns its object; null without one.
  void* ExtractCreateWndData() noexcept {
    const DWORD dwThreadID = ::GetCurrentThreadId();
    return ExtractIf(
        [=](const _AtlCreateWndData& data) { return data.m_dwThreadID == dwThreadID; });
  }
  /// Removes an entry whose window was not created.
  void RemoveCreateWndData(const _AtlCreateWndData* pData) noexcept {
    ExtractIf([=](const _AtlCreateWndData& data) { return &data == pData; });
  }

  void AddWindow(CWindowLink* pLink, HWND hWnd, void* pObject) noexcept {
    ATLASSERT(pLink->m_hWnd == nullptr);
    const CScope scope(m_lock);
    pLink->m_hWnd = hWnd;
    pLink->m_pThis = pObject;
    pLink->m_pNext = m_pWindows;
    m_pWindows = pLink;
  }
  void RemoveWindow(CWindowLink* pLink) noexcept {
    const CScope scope(m_lock);
    for (CWindowLink** ppLink = &m_pWindows; *ppLink != nullptr; ppLink = &(*ppLink)->m_pNext) {
      if (*ppLink == pLink) {
        *ppLink = pLink->m_pNext;
        *pLink = {};
        return;
      }
    }
  }
  /// Returns the object of a window; null when it has none.
  void* FindWindowObject(HWND hWnd) noexcept {
    const CScope scope(m_lock);
    for (const CWindowLink* pLink = m_pWindows; pLink != nullptr; pLink = pLink->m_pNext) {
      if (pLink->m_hWnd == hWnd) {
        return pLink->m_pThis;
      }
    }
    return nullptr;
  }

  /// Registers a window class on first use. Returns 0 on failure.
  ATOM RegisterClassOnce(CWndClassInfo& info) {
    const CScope scope(m_lock);
    if (info.m_atom == 0) {
      // A window that exists when the module is unloaded keeps its class registered. If the module
      // is loaded again at the same address, the class has this name and an invalid procedure.
      ::UnregisterClass(info.m_szName, info.m_wc.hInstance);
      info.m_atom = ::RegisterClassEx(&info.m_wc);
      if (info.m_atom != 0) {
        m_classes.Add(info.m_atom);
      }
    }
    return info.m_atom;
  }

 private:
  using CScope = CComCritSecLock<CComCriticalSection>;

  template <class Predicate>
  void* ExtractIf(Predicate matches) noexcept {
    const CScope scope(m_lock);
    for (_AtlCreateWndData** ppData = &m_pCreating; *ppData != nullptr;
         ppData = &(*ppData)->m_pNext) {
      if (matches(**ppData)) {
        _AtlCreateWndData* const pFound = *ppData;
        *ppData = pFound->m_pNext;
        return pFound->m_pThis;
      }
    }
    return nullptr;
  }

  CComCriticalSection m_lock;
  const bool m_bInitialized;
  _AtlCreateWndData* m_pCreating = nullptr;
  CWindowLink* m_pWindows = nullptr;
  CSimpleArray<ATOM> m_classes;
};

inline CAtlWinModule _AtlWinModule;

/// AddCreateWndData and, at scope end, RemoveCreateWndData.
class CCreateWndScope {
 public:
  explicit CCreateWndScope(void* pObject) { _AtlWinModule.AddCreateWndData(&m_data, pObject); }
  ~CCreateWndScope() { _AtlWinModule.RemoveCreateWndData(&m_data); }
  CCreateWndScope(const CCreateWndScope&) = delete;
  CCreateWndScope& operator=(const CCreateWndScope&) = delete;

 private:
  _AtlCreateWndData m_data;
};

}  // namespace ATL
