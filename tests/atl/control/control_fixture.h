#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "test_control.h"
#include "test_site.h"
#include "tests/support/test_module.h"

inline CTestModule g_module;

/// A control and its site, whose end checks that the control has gone and left nothing behind. The
/// members are in the order in which they must go.
class ControlTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(S_OK, OleInitialize(nullptr));
    g_plates = {};
    m_locks = g_module.GetLockCount();
    Create();
  }
  void TearDown() override {
    if (m_object != nullptr) {
      m_object->Close(OLECLOSE_NOSAVE);
      m_object->SetClientSite(nullptr);
    }
    m_object.Release();
    EXPECT_EQ(0, g_plates.alive) << "the control has another owner";
    EXPECT_EQ(m_locks, g_module.GetLockCount());
    if (m_window != nullptr) {
      EXPECT_EQ(nullptr, GetWindow(m_window, GW_CHILD)) << "a window left behind";
      DestroyWindow(m_window);
    }
    OleUninitialize();
  }

  void Create() {
    ASSERT_EQ(S_OK, CPlate::_CreatorClass::CreateInstance(nullptr, IID_IOleObject,
                                                          reinterpret_cast<void**>(&m_object)));
    m_plate = static_cast<CPlate*>(m_object.p);
  }
  /// A visible top-level window, and the site in it.
  void OpenContainer() {
    m_window = CreateWindowExW(0, L"STATIC", L"Container", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                               400, 300, nullptr, nullptr, nullptr, nullptr);
    ASSERT_NE(nullptr, m_window);
    m_site.m_window = m_window;
    ASSERT_EQ(S_OK, m_object->SetClientSite(&m_site));
  }
  /// Releases what the container has of the control, without closing it.
  void ReleaseAll() {
    m_site.m_frame.m_active.Release();
    m_site.m_document.m_active.Release();
    m_object.Release();
  }

  template <class T>
  CComPtr<T> As() {
    CComPtr<T> p;
    EXPECT_EQ(S_OK, m_object.QueryInterface(&p));
    return p;
  }
  /// The implementation behind the interfaces.
  CPlate& Plate() { return *m_plate; }
  HRESULT DoVerb(LONG verb) {
    return m_object->DoVerb(verb, nullptr, &m_site, 0, m_window, &m_site.m_position);
  }
  HWND ControlWindow() {
    HWND window = nullptr;
    const HRESULT hr = As<IOleInPlaceObject>()->GetWindow(&window);
    EXPECT_EQ(window != nullptr ? S_OK : E_FAIL, hr);
    return window;
  }

  LONG m_locks = 0;
  CTestSite m_site;
  CTestSink m_sink;
  HWND m_window = nullptr;
  CComPtr<IOleObject> m_object;
  CPlate* m_plate = nullptr;
};
