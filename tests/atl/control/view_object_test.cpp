// What containers ask about the control, and how they hear of changes to it.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ViewObject : public ControlTest {
 protected:
  void Change() { EXPECT_EQ(S_OK, Plate().SendOnViewChange(DVASPECT_CONTENT)); }
};

TEST_F(ViewObject, ChangeOfTheAspectCallsOnViewChange) {
  const auto view = As<IViewObject>();
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST, &m_sink));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange"));
  Change();
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange", "OnViewChange"));
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_ICON, ADVF_PRIMEFIRST, &m_sink));
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), IsEmpty());
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &m_sink));
  Change();
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange"));
  EXPECT_EQ(0U, m_sink.References());
}

TEST_F(ViewObject, GetAdviseReturnsArgumentsOfSetAdviseUntilClose) {
  const auto view = As<IViewObject>();
  DWORD aspects = 99;
  DWORD flags = 99;
  CComPtr<IAdviseSink> sink;
  EXPECT_EQ(S_OK, view->GetAdvise(&aspects, &flags, &sink));
  EXPECT_EQ(0U, aspects);
  EXPECT_EQ(0U, flags);
  EXPECT_EQ(nullptr, sink.p);
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &m_sink));
  EXPECT_EQ(S_OK, view->GetAdvise(&aspects, &flags, &sink));
  EXPECT_EQ(static_cast<DWORD>(DVASPECT_CONTENT), aspects);
  EXPECT_EQ(static_cast<DWORD>(ADVF_ONLYONCE), flags);
  EXPECT_EQ(&m_sink, sink.p);
  sink.Release();
  EXPECT_EQ(S_OK, view->GetAdvise(nullptr, nullptr, nullptr)) << "each may be left out";
  EXPECT_EQ(S_OK, m_object->Close(OLECLOSE_NOSAVE));
  EXPECT_EQ(0U, m_sink.References());
}

TEST_F(ViewObject, PointsAndRectanglesInsideBoundsHit) {
  const auto view = As<IViewObjectEx>();
  const RECT bounds = {10, 10, 20, 20};
  const struct {
    POINT point;
    RECT rect;
    DWORD aspect;
    HRESULT hr;
    DWORD result;
  } rows[] = {
      {{10, 19}, {0, 0, 11, 11}, DVASPECT_CONTENT, S_OK, HITRESULT_HIT},
      {{20, 19}, {0, 0, 10, 10}, DVASPECT_CONTENT, S_OK, HITRESULT_OUTSIDE},
      {{15, 15}, bounds, DVASPECT_ICON, E_FAIL, HITRESULT_HIT},
  };
  for (const auto& row : rows) {
    DWORD result = 99;
    EXPECT_EQ(row.hr, view->QueryHitPoint(row.aspect, &bounds, row.point, 0, &result));
    EXPECT_EQ(row.result, result);
    result = 99;
    EXPECT_EQ(row.hr, view->QueryHitRect(row.aspect, &bounds, &row.rect, 0, &result));
    EXPECT_EQ(row.result, result);
  }
}

TEST_F(ViewObject, QuickActivateExchangesSiteSinkAndStatus) {
  const auto quick = As<IQuickActivate>();
  QACONTAINER container = {};
  container.cbSize = sizeof(container);
  container.pClientSite = &m_site;
  QACONTROL control = {sizeof(control) - 1, 99, 99, 99, 99, 99};
  EXPECT_EQ(E_INVALIDARG, quick->QuickActivate(&container, &control));
  --container.cbSize;
  ++control.cbSize;
  EXPECT_EQ(E_INVALIDARG, quick->QuickActivate(&container, &control));
  EXPECT_EQ(E_POINTER, quick->QuickActivate(nullptr, &control));
  EXPECT_EQ(E_POINTER, quick->QuickActivate(&container, nullptr));
  EXPECT_EQ(99U, control.dwViewStatus);
  EXPECT_EQ(nullptr, Plate().m_spClientSite.p);
  ++container.cbSize;
  EXPECT_EQ(S_OK, quick->QuickActivate(&container, &control));
  EXPECT_EQ(nullptr, Plate().m_spAdviseSink.p) << "the sink may be missing";
  container.pAdviseSink = &m_sink;
  EXPECT_EQ(S_OK, quick->QuickActivate(&container, &control));
  EXPECT_EQ(sizeof(control), control.cbSize);
  DWORD status = 0;
  EXPECT_EQ(S_OK, m_object->GetMiscStatus(DVASPECT_CONTENT, &status));
  EXPECT_EQ(status, control.dwMiscStatus);
  EXPECT_EQ(S_OK, As<IViewObjectEx>()->GetViewStatus(&status));
  EXPECT_EQ(status, control.dwViewStatus);
  EXPECT_EQ(0U, control.dwEventCookie) << "no events";
  EXPECT_EQ(static_cast<IOleClientSite*>(&m_site), Plate().m_spClientSite.p);
  EXPECT_EQ(&m_sink, Plate().m_spAdviseSink.p);
}

TEST_F(ViewObject, ExtentChangeCallsOnDataChange) {
  FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  const auto data = As<IDataObject>();
  CComPtr<IEnumSTATDATA> connections;
  EXPECT_EQ(OLE_E_NOCONNECTION, data->DUnadvise(1));
  EXPECT_EQ(S_OK, data->EnumDAdvise(&connections));
  EXPECT_EQ(nullptr, connections.p);
  DWORD cookie = 0;
  ASSERT_EQ(S_OK, data->DAdvise(&format, 0, &m_sink, &cookie));
  EXPECT_EQ(S_OK, data->EnumDAdvise(&connections));
  EXPECT_NE(nullptr, connections.p);
  connections.Release();
  SIZEL extent = {1000, 1000};
  EXPECT_EQ(S_OK, m_object->SetExtent(DVASPECT_CONTENT, &extent));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnDataChange"));
  EXPECT_EQ(S_OK, data->DUnadvise(cookie));
  EXPECT_EQ(S_OK, Plate().SendOnDataChange());
  EXPECT_THAT(m_sink.m_log.Take(), IsEmpty());
  EXPECT_EQ(0U, m_sink.References());
}

}  // namespace
