// What containers ask about the picture, and how they hear of changes to it.

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ViewAdvise : public EveryControlTest {
 protected:
  void Change() { EXPECT_EQ(S_OK, As<IPlate>()->put_Colour(RGB(1, 2, 3))); }
};
INSTANTIATE_FOR_EVERY_BIRTH(ViewAdvise);

TEST_P(ViewAdvise, ChangeCallsOnViewChange) {
  const auto view = As<IViewObject>();
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, 0, &m_sink));
  Change();
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange", "OnViewChange"));
  ASSERT_EQ(S_OK, view->SetAdvise(0, 0, nullptr));
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), IsEmpty());
  EXPECT_EQ(0U, m_sink.References());
}

TEST_P(ViewAdvise, OtherAspectIsNotReported) {
  ASSERT_EQ(S_OK, As<IViewObject>()->SetAdvise(DVASPECT_ICON, 0, &m_sink));
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), IsEmpty());
}

TEST_P(ViewAdvise, PrimeFirstAndOnlyOnceFlags) {
  const auto view = As<IViewObject>();
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_PRIMEFIRST, &m_sink));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange"));
  ASSERT_EQ(S_OK, view->SetAdvise(DVASPECT_CONTENT, ADVF_ONLYONCE, &m_sink));
  Change();
  Change();
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnViewChange"));
  EXPECT_EQ(0U, m_sink.References());
}

TEST_P(ViewAdvise, GetAdviseReturnsArgumentsOfSetAdvise) {
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
  EXPECT_EQ(S_OK, view->GetAdvise(nullptr, nullptr, nullptr)) << "each may be left out";
}

TEST_P(ViewAdvise, CloseReleasesSink) {
  ASSERT_EQ(S_OK, As<IViewObject>()->SetAdvise(DVASPECT_CONTENT, 0, &m_sink));
  ASSERT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_NOSAVE));
  EXPECT_EQ(0U, m_sink.References());
}

class HitTest : public EveryControlTest {};
INSTANTIATE_FOR_EVERY_BIRTH(HitTest);

TEST_P(HitTest, PointsAndRectanglesInsideBoundsHit) {
  const auto view = As<IViewObjectEx>();
  const RECT bounds = {10, 10, 20, 20};
  const auto point = [&](LONG x, LONG y) {
    DWORD result = 99;
    EXPECT_EQ(S_OK, view->QueryHitPoint(DVASPECT_CONTENT, &bounds, {x, y}, 0, &result));
    return result;
  };
  EXPECT_EQ(static_cast<DWORD>(HITRESULT_HIT), point(10, 19));
  EXPECT_EQ(static_cast<DWORD>(HITRESULT_OUTSIDE), point(20, 19));
  const auto rect = [&](const RECT& rc) {
    DWORD result = 99;
    EXPECT_EQ(S_OK, view->QueryHitRect(DVASPECT_CONTENT, &bounds, &rc, 0, &result));
    return result;
  };
  EXPECT_EQ(static_cast<DWORD>(HITRESULT_HIT), rect({0, 0, 11, 11}));
  EXPECT_EQ(static_cast<DWORD>(HITRESULT_OUTSIDE), rect({0, 0, 10, 10}));
  DWORD result = 99;
  EXPECT_EQ(E_FAIL, view->QueryHitPoint(DVASPECT_ICON, &bounds, {15, 15}, 0, &result));
  EXPECT_EQ(E_FAIL, view->QueryHitRect(DVASPECT_ICON, &bounds, &bounds, 0, &result));
}

TEST_P(HitTest, ViewStatusIsTheDeclaredOne) {
  DWORD status = 0;
  EXPECT_EQ(S_OK, As<IViewObjectEx>()->GetViewStatus(&status));
  EXPECT_EQ(static_cast<DWORD>(VIEWSTATUS_SOLIDBKGND | VIEWSTATUS_OPAQUE), status);
}

}  // namespace
