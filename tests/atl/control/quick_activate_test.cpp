// A container loads the control with one call.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;

/// An extended sink is what QuickActivate takes.
class CExtendedSink final : public IAdviseSinkEx {
 public:
  explicit CExtendedSink(CTestSink& sink) : m_sink(sink) {}
  CExtendedSink(const CExtendedSink&) = delete;
  CExtendedSink& operator=(const CExtendedSink&) = delete;
  ~CExtendedSink() = default;

  STDMETHOD(QueryInterface)(REFIID iid, void** ppv) override {
    return m_sink.QueryInterface(iid, ppv);
  }
  STDMETHOD_(ULONG, AddRef)() override { return m_sink.AddRef(); }
  STDMETHOD_(ULONG, Release)() override { return m_sink.Release(); }
  STDMETHOD_(void, OnDataChange)(FORMATETC* format, STGMEDIUM* medium) override {
    m_sink.OnDataChange(format, medium);
  }
  STDMETHOD_(void, OnViewChange)(DWORD aspect, LONG index) override {
    m_sink.OnViewChange(aspect, index);
  }
  STDMETHOD_(void, OnRename)(IMoniker* moniker) override { m_sink.OnRename(moniker); }
  STDMETHOD_(void, OnSave)() override { m_sink.OnSave(); }
  STDMETHOD_(void, OnClose)() override { m_sink.OnClose(); }
  STDMETHOD_(void, OnViewStatusChange)(DWORD) override {}

 private:
  CTestSink& m_sink;
};

class QuickActivate : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    m_container.cbSize = sizeof(m_container);
    m_container.pClientSite = &m_site;
    m_container.pAdviseSink = &m_extendedSink;
    m_control = {sizeof(m_control), 99, 99, 99, 99, 99};
  }
  HRESULT Activate() { return As<IQuickActivate>()->QuickActivate(&m_container, &m_control); }

  CExtendedSink m_extendedSink{m_sink};
  QACONTAINER m_container = {};
  QACONTROL m_control = {};
};
INSTANTIATE_FOR_EVERY_BIRTH(QuickActivate);

TEST_P(QuickActivate, ExchangesSiteSinkAndStatus) {
  ASSERT_EQ(S_OK, Activate());
  EXPECT_EQ(sizeof(m_control), m_control.cbSize);
  EXPECT_EQ(CPlate::_GetMiscStatus(), m_control.dwMiscStatus);
  EXPECT_EQ(static_cast<DWORD>(VIEWSTATUS_SOLIDBKGND | VIEWSTATUS_OPAQUE), m_control.dwViewStatus);
  EXPECT_EQ(0U, m_control.dwEventCookie) << "no events";
  EXPECT_EQ(0U, m_control.dwPropNotifyCookie);
  EXPECT_EQ(0U, m_control.dwPointerActivationPolicy);
  EXPECT_EQ(static_cast<IOleClientSite*>(&m_site), Plate().m_spClientSite.p);
  EXPECT_EQ(S_OK, As<IPlate>()->put_Colour(RGB(1, 2, 3)));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange"));
}

TEST_P(QuickActivate, NullSinkSucceeds) {
  m_container.pAdviseSink = nullptr;
  EXPECT_EQ(S_OK, Activate());
  EXPECT_EQ(nullptr, Plate().m_spAdviseSink.p);
}

TEST_P(QuickActivate, SmallStructureReturnsEInvalidArg) {
  m_control.cbSize -= 4;
  EXPECT_EQ(E_INVALIDARG, Activate());
  m_control.cbSize += 4;
  m_container.cbSize -= 8;
  EXPECT_EQ(E_INVALIDARG, Activate());
  EXPECT_EQ(99U, m_control.dwViewStatus);
  EXPECT_EQ(nullptr, Plate().m_spClientSite.p);
  EXPECT_EQ(E_POINTER, As<IQuickActivate>()->QuickActivate(nullptr, &m_control));
  EXPECT_EQ(E_POINTER, As<IQuickActivate>()->QuickActivate(&m_container, nullptr));
}

TEST_P(QuickActivate, ExtentIsTheContents) {
  SIZEL size = {1000, 2000};
  EXPECT_EQ(S_OK, As<IQuickActivate>()->SetContentExtent(&size));
  size = {};
  EXPECT_EQ(S_OK, As<IQuickActivate>()->GetContentExtent(&size));
  EXPECT_EQ(1000, size.cx);
  EXPECT_EQ(2000, size.cy);
  EXPECT_EQ(1000, Plate().m_sizeExtent.cx);
  EXPECT_EQ(E_POINTER, As<IQuickActivate>()->SetContentExtent(nullptr));
  EXPECT_EQ(E_POINTER, As<IQuickActivate>()->GetContentExtent(nullptr));
}

}  // namespace
