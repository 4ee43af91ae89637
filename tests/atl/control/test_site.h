#pragma once

#include <atlbase.h>
#include <olectl.h>

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tests/atl/stack_object.h"

/// The calls of a container's objects, in their order. A hook runs inside its call.
class CallLog {
 public:
  void Add(const std::string& call) {
    m_calls.push_back(call);
    RunHook(call);
  }
  /// For calls that are not noted.
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

/// The container's frame window or document window.
class CTestFrame final : public CStackObject<IOleInPlaceFrame> {
 public:
  CTestFrame(CallLog& log, const char* name) : m_log(log), m_name(name) {}

  CComPtr<IOleInPlaceActiveObject> m_active;

  STDMETHOD(SetBorderSpace)(LPCBORDERWIDTHS widths) override {
    EXPECT_EQ(nullptr, widths) << "controls have no tools";
    m_log.Add(m_name + ".SetBorderSpace");
    return S_OK;
  }
  STDMETHOD(SetActiveObject)(IOleInPlaceActiveObject* object, LPCOLESTR) override {
    m_active = object;
    m_log.Add(m_name + (object != nullptr ? ".SetActiveObject" : ".NoActiveObject"));
    return S_OK;
  }
  STDMETHOD(GetWindow)(HWND*) override { return E_NOTIMPL; }
  STDMETHOD(ContextSensitiveHelp)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(GetBorder)(LPRECT) override { return E_NOTIMPL; }
  STDMETHOD(RequestBorderSpace)(LPCBORDERWIDTHS) override { return E_NOTIMPL; }
  STDMETHOD(InsertMenus)(HMENU, LPOLEMENUGROUPWIDTHS) override { return E_NOTIMPL; }
  STDMETHOD(SetMenu)(HMENU, HOLEMENU, HWND) override { return E_NOTIMPL; }
  STDMETHOD(RemoveMenus)(HMENU) override { return E_NOTIMPL; }
  STDMETHOD(SetStatusText)(LPCOLESTR) override { return E_NOTIMPL; }
  STDMETHOD(EnableModeless)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(TranslateAccelerator)(LPMSG, WORD) override { return E_NOTIMPL; }

 private:
  CallLog& m_log;
  const std::string m_name;
};

/// A container's site for one control. The data members say how it behaves.
class CTestSite final
    : public CStackObject<IOleClientSite, IOleInPlaceSiteEx, IOleControlSite, IDispatch> {
 public:
  enum class Kind { kNoActivation, kPlain, kEx };

  CallLog m_log;
  CTestFrame m_frame{m_log, "frame"};
  CTestFrame m_document{m_log, "document"};
  Kind m_kind = Kind::kPlain;
  HWND m_window = nullptr;
  RECT m_position = {10, 20, 110, 70};
  bool m_userMode = true;
  std::map<std::string, HRESULT> m_results;  // by method; others succeed
  DWORD m_activateFlags = 0xDEAD;
  DWORD m_keyModifiers = 0xDEAD;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    if (iid == IID_IOleInPlaceSite && m_kind != Kind::kNoActivation) {
      return CStackObject::QueryInterface(IID_IOleInPlaceSiteEx, ppv);
    }
    const bool isHidden = iid == IID_IOleInPlaceSiteEx && m_kind != Kind::kEx;
    return CStackObject::QueryInterface(isHidden ? IID_NULL : iid, ppv);
  }

  // IOleClientSite
  STDMETHOD(SaveObject)() override { return Answer("SaveObject"); }
  STDMETHOD(ShowObject)() override { return Answer("ShowObject"); }
  STDMETHOD(GetMoniker)(DWORD, DWORD, IMoniker**) override { return E_NOTIMPL; }
  STDMETHOD(GetContainer)(IOleContainer**) override { return E_NOTIMPL; }
  STDMETHOD(OnShowWindow)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(RequestNewObjectLayout)() override { return E_NOTIMPL; }

  // IOleInPlaceSiteEx
  STDMETHOD(GetWindow)(HWND* window) override {
    *window = m_window;
    return Answer("GetWindow");
  }
  STDMETHOD(GetWindowContext)
  (IOleInPlaceFrame** frame, IOleInPlaceUIWindow** document, LPRECT position, LPRECT clip,
   LPOLEINPLACEFRAMEINFO info) override {
    EXPECT_EQ(sizeof(*info), info->cb);
    *frame = nullptr;
    *document = nullptr;
    const HRESULT hr = Answer("GetWindowContext");
    if (SUCCEEDED(hr)) {
      CComPtr<IOleInPlaceFrame>(&m_frame).CopyTo(frame);
      CComPtr<IOleInPlaceUIWindow>(&m_document).CopyTo(document);
      *position = m_position;
      *clip = {0, 0, 1000, 1000};
    }
    return hr;
  }
  STDMETHOD(CanInPlaceActivate)() override { return Answer("CanInPlaceActivate"); }
  STDMETHOD(OnInPlaceActivate)() override { return Answer("OnInPlaceActivate"); }
  STDMETHOD(OnInPlaceActivateEx)(BOOL* noRedraw, DWORD flags) override {
    EXPECT_NE(nullptr, noRedraw);
    m_activateFlags = flags;
    return Answer("OnInPlaceActivateEx");
  }
  STDMETHOD(RequestUIActivate)() override { return Answer("RequestUIActivate"); }
  STDMETHOD(OnUIActivate)() override { return Answer("OnUIActivate"); }
  STDMETHOD(OnUIDeactivate)(BOOL undoable) override {
    EXPECT_FALSE(undoable);
    return Answer("OnUIDeactivate");
  }
  STDMETHOD(OnInPlaceDeactivate)() override { return Answer("OnInPlaceDeactivate"); }
  STDMETHOD(OnInPlaceDeactivateEx)(BOOL noRedraw) override {
    EXPECT_FALSE(noRedraw);
    return Answer("OnInPlaceDeactivateEx");
  }
  STDMETHOD(ContextSensitiveHelp)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(Scroll)(SIZE) override { return E_NOTIMPL; }
  STDMETHOD(DiscardUndoState)() override { return E_NOTIMPL; }
  STDMETHOD(DeactivateAndUndo)() override { return E_NOTIMPL; }
  STDMETHOD(OnPosRectChange)(LPCRECT) override { return E_NOTIMPL; }

  // IOleControlSite
  STDMETHOD(TranslateAccelerator)(MSG*, DWORD modifiers) override {
    m_keyModifiers = modifiers;
    return Answer("TranslateAccelerator");
  }
  STDMETHOD(OnFocus)(BOOL focus) override { return Answer(focus ? "OnFocus" : "OnBlur"); }
  STDMETHOD(ShowPropertyFrame)() override { return Answer("ShowPropertyFrame"); }
  STDMETHOD(OnControlInfoChanged)() override { return E_NOTIMPL; }
  STDMETHOD(LockInPlaceActive)(BOOL) override { return E_NOTIMPL; }
  STDMETHOD(GetExtendedControl)(IDispatch**) override { return E_NOTIMPL; }
  STDMETHOD(TransformCoords)(POINTL*, POINTF*, DWORD) override { return E_NOTIMPL; }

  // IDispatch: ambient properties
  STDMETHOD(Invoke)
  (DISPID id, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) override {
    EXPECT_EQ(DISPATCH_PROPERTYGET, flags);
    EXPECT_EQ(DISPID_AMBIENT_USERMODE, id);
    m_log.RunHook("Ambient");
    result->vt = VT_BOOL;
    result->boolVal = m_userMode ? VARIANT_TRUE : VARIANT_FALSE;
    return S_OK;
  }
  STDMETHOD(GetTypeInfoCount)(UINT*) override { return E_NOTIMPL; }
  STDMETHOD(GetTypeInfo)(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHOD(GetIDsOfNames)(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }

 private:
  HRESULT Answer(const std::string& call) {
    m_log.Add(call);
    const auto result = m_results.find(call);
    return result != m_results.end() ? result->second : S_OK;
  }
};

/// Receives notifications of a view, an object or data.
class CTestSink final : public CStackObject<IAdviseSinkEx> {
 public:
  CallLog m_log;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    return CStackObject::QueryInterface(iid == IID_IAdviseSink ? IID_IAdviseSinkEx : iid, ppv);
  }

  STDMETHOD_(void, OnDataChange)(FORMATETC* format, STGMEDIUM* medium) override {
    EXPECT_EQ(CF_METAFILEPICT, format->cfFormat);
    EXPECT_EQ(static_cast<DWORD>(TYMED_MFPICT), medium->tymed);
    m_log.Add("OnDataChange");
  }
  STDMETHOD_(void, OnViewChange)(DWORD aspect, LONG index) override {
    EXPECT_EQ(static_cast<DWORD>(DVASPECT_CONTENT), aspect);
    EXPECT_EQ(-1, index);
    m_log.Add("OnViewChange");
  }
  STDMETHOD_(void, OnRename)(IMoniker*) override {}
  STDMETHOD_(void, OnViewStatusChange)(DWORD) override {}
  STDMETHOD_(void, OnSave)() override { m_log.Add("OnSave"); }
  STDMETHOD_(void, OnClose)() override { m_log.Add("OnClose"); }
};
