// Where the active control is, and how large it is.

#include "control_fixture.h"
#include "tests/support/import_patch.h"

namespace {

class Geometry : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    OpenContainer();
    ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  }

  void SetRects(RECT position, RECT clip) {
    EXPECT_EQ(S_OK, As<IOleInPlaceObject>()->SetObjectRects(&position, &clip));
    RECT place;
    GetWindowRect(ControlWindow(), &place);
    MapWindowPoints(nullptr, m_window, reinterpret_cast<POINT*>(&place), 2);
    EXPECT_TRUE(EqualRect(&position, &place));
    EXPECT_TRUE(EqualRect(&position, &Plate().m_rcPos));
  }
  /// The part of the window that is left, in its own coordinates; empty when all is.
  RECT Region() {
    RECT rc = {};
    const HRGN region = CreateRectRgn(0, 0, 0, 0);
    if (GetWindowRgn(ControlWindow(), region) != ERROR) {
      GetRgnBox(region, &rc);
    }
    DeleteObject(region);
    return rc;
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(Geometry);

TEST_P(Geometry, WindowFollowsTheRectangle) {
  SetRects({5, 6, 205, 106}, {0, 0, 400, 300});
  EXPECT_FALSE(Plate().m_bUsingWindowRgn);
  SIZEL extent = {};
  EXPECT_EQ(S_OK, As<IOleObject>()->GetExtent(DVASPECT_CONTENT, &extent));
  EXPECT_EQ(5080, extent.cx) << "a place in pixels is not the extent";
}

TEST_P(Geometry, ClippedPartIsOutsideTheWindowRegion) {
  SetRects({10, 20, 110, 70}, {30, 0, 400, 60});
  const RECT expected = {20, 0, 100, 40};
  RECT region = Region();
  EXPECT_TRUE(EqualRect(&expected, &region))
      << region.left << ' ' << region.top << ' ' << region.right << ' ' << region.bottom;
  SetRects({10, 20, 110, 70}, {0, 0, 400, 300});
  region = Region();
  EXPECT_TRUE(IsRectEmpty(&region)) << "nothing is cut off any more";
}

HGDIOBJ g_refusedRegion = nullptr;
int g_regionsDeleted = 0;
int WINAPI RefuseRegion(HWND, HRGN region, BOOL) {
  g_refusedRegion = region;
  return 0;
}
BOOL WINAPI CountDeletion(HGDIOBJ object) {
  g_regionsDeleted += object == g_refusedRegion ? 1 : 0;
  return TRUE;
}

TEST_P(Geometry, RegionIsDeletedWhenSetWindowRgnFails) {
  g_regionsDeleted = 0;
  {
    const CImportPatch setting("user32.dll", "SetWindowRgn", &RefuseRegion);
    const CImportPatch deletion("gdi32.dll", "DeleteObject", &CountDeletion);
    SetRects({10, 20, 110, 70}, {30, 0, 400, 60});
  }
  EXPECT_EQ(1, g_regionsDeleted);
  EXPECT_FALSE(Plate().m_bUsingWindowRgn);
  EXPECT_TRUE(DeleteObject(g_refusedRegion));
}

TEST_P(Geometry, NullRectangleReturnsEPointer) {
  const RECT rc = {0, 0, 10, 10};
  EXPECT_EQ(E_POINTER, As<IOleInPlaceObject>()->SetObjectRects(nullptr, &rc));
  EXPECT_EQ(E_POINTER, As<IOleInPlaceObject>()->SetObjectRects(&rc, nullptr));
}

class Extent : public EveryControlTest {
 protected:
  SIZEL Get() {
    SIZEL size = {-1, -1};
    EXPECT_EQ(S_OK, As<IOleObject>()->GetExtent(DVASPECT_CONTENT, &size));
    return size;
  }
  HRESULT Set(LONG cx, LONG cy) {
    SIZEL size = {cx, cy};
    return As<IOleObject>()->SetExtent(DVASPECT_CONTENT, &size);
  }
};
INSTANTIATE_FOR_EVERY_BIRTH(Extent);

TEST_P(Extent, IsTwoInchesSquareAtFirst) {
  EXPECT_EQ(5080, Get().cx);
  EXPECT_EQ(5080, Get().cy);
  SIZEL viewed = {};
  EXPECT_EQ(S_OK, As<IViewObject2>()->GetExtent(DVASPECT_CONTENT, -1, nullptr, &viewed));
  EXPECT_EQ(5080, viewed.cx);
  EXPECT_EQ(5080, viewed.cy);
}

TEST_P(Extent, ChangedExtentMakesControlDirty) {
  EXPECT_EQ(S_OK, Set(5080, 5080));
  EXPECT_EQ(S_FALSE, As<IPersistStreamInit>()->IsDirty()) << "nothing has changed";
  EXPECT_EQ(S_OK, Set(1000, 2000));
  EXPECT_EQ(1000, Get().cx);
  EXPECT_EQ(2000, Get().cy);
  EXPECT_EQ(S_OK, As<IPersistStreamInit>()->IsDirty());
  SIZEL viewed = {};
  EXPECT_EQ(S_OK, As<IViewObject2>()->GetExtent(DVASPECT_CONTENT, -1, nullptr, &viewed));
  EXPECT_EQ(2000, viewed.cy);
}

TEST_P(Extent, NaturalSizeStays) {
  EXPECT_EQ(S_OK, Set(1000, 2000));
  DVEXTENTINFO info = {sizeof(info), DVEXTENT_CONTENT, {}};
  SIZEL natural = {};
  EXPECT_EQ(S_OK, As<IViewObjectEx>()->GetNaturalExtent(DVASPECT_CONTENT, -1, nullptr, nullptr,
                                                        &info, &natural));
  EXPECT_EQ(5080, natural.cx);
  EXPECT_EQ(5080, natural.cy);
}

TEST_P(Extent, OtherAspectReturnsEFail) {
  SIZEL size = {1, 1};
  EXPECT_EQ(E_FAIL, As<IOleObject>()->SetExtent(DVASPECT_ICON, &size));
  EXPECT_EQ(E_FAIL, As<IOleObject>()->GetExtent(DVASPECT_ICON, &size));
  EXPECT_EQ(0, size.cx);
  EXPECT_EQ(0, size.cy);
  DVEXTENTINFO info = {sizeof(info), DVEXTENT_INTEGRAL, {}};
  size = {1, 1};
  EXPECT_EQ(E_FAIL, As<IViewObjectEx>()->GetNaturalExtent(DVASPECT_CONTENT, -1, nullptr, nullptr,
                                                          &info, &size));
  EXPECT_EQ(0, size.cx);
}

}  // namespace
