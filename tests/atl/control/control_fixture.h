#pragma once

#include <atlbase.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "test_control.h"
#include "test_site.h"

/// An object that passes on whatever it is asked for to an object inside it.
class COuter final : public IUnknown {
 public:
  COuter() = default;
  COuter(const COuter&) = delete;
  COuter& operator=(const COuter&) = delete;
  ~COuter() = default;

  CComPtr<IUnknown> m_inner;
  ULONG References() const { return m_references.Get(); }

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override;
  STDMETHOD_(ULONG, AddRef)() override { return m_references.Increment(); }
  /// The last one releases the inner object, as the destructor of an object on the heap would.
  STDMETHOD_(ULONG, Release)() override;

 private:
  CReferenceCount m_references;
};

/// How the control under test was made.
enum class Birth { kAlone, kInside };
std::string ToString(Birth birth);

/// A control and its site, whose end checks that the control has gone and left nothing behind. The
/// members are in the order in which they must go.
class ControlTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  void Create(Birth birth);
  /// A visible top-level window, and the site in it.
  void OpenContainer();
  /// Gives up the control, which must not have other owners.
  void Drop();
  /// Releases what the container has of the control, without closing it.
  void ReleaseAll();

  template <class T>
  CComPtr<T> As() {
    CComPtr<T> p;
    EXPECT_EQ(S_OK, m_object.QueryInterface(&p));
    return p;
  }
  /// The implementation behind the interfaces.
  CPlate& Plate() { return *m_plate; }
  HRESULT DoVerb(LONG verb);
  HWND ControlWindow();

  LONG m_locks = 0;
  COuter m_outer;
  CTestSite m_site;
  CTestSink m_sink;
  HWND m_window = nullptr;
  CComPtr<IUnknown> m_object;
  CPlate* m_plate = nullptr;
};

/// The same for each way of being made.
class EveryControlTest : public ControlTest, public testing::WithParamInterface<Birth> {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    Create(GetParam());
  }
};

#define INSTANTIATE_FOR_EVERY_BIRTH(suite)                         \
  INSTANTIATE_TEST_SUITE_P(                                        \
      Born, suite, testing::Values(Birth::kAlone, Birth::kInside), \
      [](const testing::TestParamInfo<Birth>& info) { return ToString(info.param); })
