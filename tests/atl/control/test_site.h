#pragma once

#include <atlbase.h>
#include <olectl.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

/// What a container's objects were asked, in the order of the calls. A hook runs inside its call.
class CallLog {
 public:
  void Add(const std::string& call) {
    m_calls.push_back(call);
    RunHook(call);
  }
  /// For calls of which there are too many to note them.
  void RunHook(const std::string& call) {
    if (const auto hook = m_hooks.find(call); hook != m_hooks.end()) {
      hook->second();
    }
  }
  void On(const std::string& call, std::function<void()> hook) { m_hooks[call] = std::move(hook); }
  /// The calls since the last time.
  std::vector<std::string> Take() { return std::exchange(m_calls, {}); }

 private:
  std::vector<std::string> m_calls;
  std::map<std::string, std::function<void()>> m_hooks;
};

/// Counts references without being destroyed by the last one: objects of a test live in its
/// fixture, whose end checks that nobody has a reference any more.
class CReferenceCount {
 public:
  CReferenceCount() = default;
  CReferenceCount(const CReferenceCount&) = delete;
  CReferenceCount& operator=(const CReferenceCount&) = delete;
  ~CReferenceCount();
  ULONG Increment() { return ++m_count; }
  ULONG Decrement() { return --m_count; }
  ULONG Get() const { return m_count; }

 private:
  ULONG m_count = 0;
};

/// The container's frame window or document window.
class CTestFrame final : public IOleInPlaceFrame {
 public:
  CTestFrame(CallLog& log, const char* name) : m_log(log), m_name(name) {}
  CTestFrame(const CTestFrame&) = delete;
  CTestFrame& operator=(const CTestFrame&) = delete;
  ~CTestFrame() = default;

  CComPtr<IOleInPlaceActiveObject> m_active;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override;
  STDMETHOD_(ULONG, AddRef)() override { return m_references.Increment(); }
  STDMETHOD_(ULONG, Release)() override { return m_references.Decrement(); }
  STDMETHOD(GetWindow)(HWND*) override { return E_NOTIMPL; }
  STDMETHOD(ContextSensitiveHelp)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(GetBorder)(LPRECT) override { return E_NOTIMPL; }
  STDMETHOD(RequestBorderSpace)(LPCBORDERWIDTHS) override { return E_NOTIMPL; }
  STDMETHOD(SetBorderSpace)(LPCBORDERWIDTHS widths) override;
  STDMETHOD(SetActiveObject)(IOleInPlaceActiveObject* object, LPCOLESTR name) override;
  STDMETHOD(InsertMenus)(HMENU, LPOLEMENUGROUPWIDTHS) override { return E_NOTIMPL; }
  STDMETHOD(SetMenu)(HMENU, HOLEMENU, HWND) override { return E_NOTIMPL; }
  STDMETHOD(RemoveMenus)(HMENU) override { return E_NOTIMPL; }
  STDMETHOD(SetStatusText)(LPCOLESTR) override { return E_NOTIMPL; }
  STDMETHOD(EnableModeless)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(TranslateAccelerator)(LPMSG, WORD) override { return E_NOTIMPL; }

 private:
  CReferenceCount m_references;
  CallLog& m_log;
  const std::string m_name;
};

/// A container's site for one control. Members before the test's calls say how it behaves.
class CTestSite final : public IOleClientSite,
                        public IOleInPlaceSiteEx,
                        public IOleControlSite,
                        public IDispatch {
 public:
  CTestSite() = default;
  CTestSite(const CTestSite&) = delete;
  CTestSite& operator=(const CTestSite&) = delete;
  ~CTestSite() = default;

  enum class Kind { kNoActivation, kPlain, kEx };

  CallLog m_log;
  CTestFrame m_frame{m_log, "frame"};
  CTestFrame m_document{m_log, "document"};
  Kind m_kind = Kind::kPlain;
  HWND m_window = nullptr;
  RECT m_position = {10, 20, 110, 70};
  RECT m_clip = {0, 0, 1000, 1000};
  bool m_userMode = true;
  std::map<std::string, HRESULT> m_results;  // by call, others succeed
  DWORD m_activateFlags = 0xDEAD;
  DWORD m_keyModifiers = 0xDEAD;

  ULONG References() const { return m_references.Get(); }

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override;
  STDMETHOD_(ULONG, AddRef)() override { return m_references.Increment(); }
  STDMETHOD_(ULONG, Release)() override { return m_references.Decrement(); }

  // IOleClientSite
  STDMETHOD(SaveObject)() override { return Answer("SaveObject"); }
  STDMETHOD(GetMoniker)(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHOD(GetContainer)(IOleContainer**) override { return E_NOTIMPL; }
  STDMETHOD(ShowObject)() override { return Answer("ShowObject"); }
  STDMETHOD(OnShowWindow)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(RequestNewObjectLayout)() override { return E_NOTIMPL; }

  // IOleInPlaceSite
  STDMETHOD(GetWindow)(HWND* window) override;
  STDMETHOD(ContextSensitiveHelp)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(CanInPlaceActivate)() override { return Answer("CanInPlaceActivate"); }
  STDMETHOD(OnInPlaceActivate)() override { return Answer("OnInPlaceActivate"); }
  STDMETHOD(OnUIActivate)() override { return Answer("OnUIActivate"); }
  STDMETHOD(GetWindowContext)
  (IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT position, LPRECT clip,
   LPOLEINPLACEFRAMEINFO info) override;
  STDMETHOD(Scroll)(SIZE) override { return E_NOTIMPL; }
  STDMETHOD(OnUIDeactivate)(BOOL undoable) override;
  STDMETHOD(OnInPlaceDeactivate)() override { return Answer("OnInPlaceDeactivate"); }
  STDMETHOD(DiscardUndoState)() override { return E_NOTIMPL; }
  STDMETHOD(DeactivateAndUndo)() override { return E_NOTIMPL; }
  STDMETHOD(OnPosRectChange)(LPCRECT) override { return E_NOTIMPL; }

  // IOleInPlaceSiteEx
  STDMETHOD(OnInPlaceActivateEx)(BOOL* noRedraw, DWORD flags) override;
  STDMETHOD(OnInPlaceDeactivateEx)(BOOL noRedraw) override;
  STDMETHOD(RequestUIActivate)() override { return Answer("RequestUIActivate"); }

  // IOleControlSite
  STDMETHOD(OnControlInfoChanged)() override { return E_NOTIMPL; }
  STDMETHOD(LockInPlaceActive)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(GetExtendedControl)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(TransformCoords)(POINTL*, POINTF*, DWORD) override { return E_NOTIMPL; }
  STDMETHOD(TranslateAccelerator)(MSG* message, DWORD modifiers) override;
  STDMETHOD(OnFocus)(BOOL focus) override { return Answer(focus ? "OnFocus" : "OnBlur"); }
  STDMETHOD(ShowPropertyFrame)() override { return Answer("ShowPropertyFrame"); }

  // IDispatch: ambient properties
  STDMETHOD(GetTypeInfoCount)(UINT*) override { return E_NOTIMPL; }
  STDMETHOD(GetTypeInfo)(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHOD(GetIDsOfNames)(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
  STDMETHOD(Invoke)
  (DISPID id, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override;

 private:
  HRESULT Answer(const std::string& call);

  CReferenceCount m_references;
};

/// Receives notifications of a view, an object or data.
class CTestSink final : public IAdviseSinkEx {
 public:
  CTestSink() = default;
  CTestSink(const CTestSink&) = delete;
  CTestSink& operator=(const CTestSink&) = delete;
  ~CTestSink() = default;

  CallLog m_log;
  ULONG References() const { return m_references.Get(); }

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override;
  STDMETHOD_(ULONG, AddRef)() override { return m_references.Increment(); }
  STDMETHOD_(ULONG, Release)() override { return m_references.Decrement(); }
  STDMETHOD_(void, OnDataChange)(FORMATETC* format, STGMEDIUM* medium) override;
  STDMETHOD_(void, OnViewChange)(DWORD aspect, LONG index) override;
  STDMETHOD_(void, OnRename)(IMoniker*) override { m_log.Add("OnRename"); }
  STDMETHOD_(void, OnSave)() override { m_log.Add("OnSave"); }
  STDMETHOD_(void, OnClose)() override { m_log.Add("OnClose"); }
  STDMETHOD_(void, OnViewStatusChange)(DWORD) override {}

 private:
  CReferenceCount m_references;
};
