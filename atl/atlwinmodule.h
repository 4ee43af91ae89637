#pragma once

#include <atlbase.h>

namespace ATL {

/// Entry for an object whose window is being created: on the creator's stack.
struct _AtlCreateWndData {
  void* m_pThis = nullptr;
  DWORD m_dwThreadID = 0;
  _AtlCreateWndData* m_pNext = nullptr;
};

/// Entry for an object that has a window: part of the object itself, so that connecting the two
/// allocates nothing and cannot fail.
struct CWindowLink {
  HWND m_hWnd = nullptr;
  void* m_pThis = nullptr;
  CWindowLink* m_pNext = nullptr;
};

/// A window class that is registered when its first window is created, under a name made up for it.
/// Stays where it is: the name tells it from others, also from those of other modules.
struct CWndClassInfo {
  /// pProc: takes the first message of every window of the class.
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

/// The module's windows. Functions may be called by any thread.
class CAtlWinModule {
 public:
  CAtlWinModule() noexcept : m_bInitialized(SUCCEEDED(m_lock.Init())) {
    if (!m_bInitialized) {
      CAtlBaseModule::m_bInitFailed = true;
    }
  }
  CAtlWinModule(const CAtlWinModule&) = delete;
  CAtlWinModule& operator=(const CAtlWinModule&) = delete;
  /// Window classes die with the module whose code they point to.
  ~CAtlWinModule() {
    for (int i = 0; i < m_classes.GetSize(); ++i) {
      ::UnregisterClass(reinterpret_cast<LPCTSTR>(static_cast<UINT_PTR>(m_classes[i])),
                        _AtlBaseModule.GetModuleInstance());
    }
    if (m_bInitialized) {
      m_lock.Term();
    }
  }

  /// Announces that the calling thread's next window belongs to pObject. The entry must live until
  /// it is extracted.
  void AddCreateWndData(_AtlCreateWndData* pData, void* pObject) noexcept {
    pData->m_pThis = pObject;
    pData->m_dwThreadID = ::GetCurrentThreadId();
    const CScope scope(m_lock);
    pData->m_pNext = m_pCreating;
    m_pCreating = pData;
  }
  /// The object last announced by the calling thread; null when there is none.
  void* ExtractCreateWndData() noexcept {
    const DWORD dwThreadID = ::GetCurrentThreadId();
    return ExtractIf(
        [=](const _AtlCreateWndData& data) { return data.m_dwThreadID == dwThreadID; });
  }
  /// Withdraws an announcement for which no window appeared.
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
  /// The object of a window; null when it has none (any more).
  void* FindWindowObject(HWND hWnd) noexcept {
    const CScope scope(m_lock);
    for (const CWindowLink* pLink = m_pWindows; pLink != nullptr; pLink = pLink->m_pNext) {
      if (pLink->m_hWnd == hWnd) {
        return pLink->m_pThis;
      }
    }
    return nullptr;
  }

  /// Registers a window class on first use, by whichever thread comes first. Returns 0 on failure.
  ATOM RegisterClassOnce(CWndClassInfo& info) {
    const CScope scope(m_lock);
    if (info.m_atom == 0) {
      // Windows that outlive the module keep a class: the module may come back to the same place,
      // where the class has the same name but its procedure may be another one's code.
      ::UnregisterClass(info.m_szName, info.m_wc.hInstance);
      info.m_atom = ::RegisterClassEx(&info.m_wc);
      if (info.m_atom != 0) {
        m_classes.Add(info.m_atom);
      }
    }
    return info.m_atom;
  }

 private:
  /// Entering a critical section does not fail: unlike CComCritSecLock, nothing here throws.
  class CScope {
   public:
    explicit CScope(CComCriticalSection& lock) noexcept : m_lock(lock) { m_lock.Lock(); }
    ~CScope() { m_lock.Unlock(); }
    CScope(const CScope&) = delete;
    CScope& operator=(const CScope&) = delete;

   private:
    CComCriticalSection& m_lock;
  };

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

/// An announcement that is withdrawn at the end of the scope if no window took it.
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
