// Where the active control is, and how large it is.

#include "control_fixture.h"
#include "tests/support/import_spy.h"

namespace {

class Extent : public ControlTest {
 protected:
  void ExpectSize(LONG cx, LONG cy) {
    SIZEL sizes[3] = {};
    EXPECT_EQ(S_OK, m_object->GetExtent(DVASPECT_CONTENT, &sizes[0]));
    EXPECT_EQ(S_OK, As<IViewObject2>()->GetExtent(DVASPECT_CONTENT, -1, nullptr, &sizes[1]));
    EXPECT_EQ(S_OK, As<IQuickActivate>()->GetContentExtent(&sizes[2]));
    for (const SIZEL& size : sizes) {
      EXPECT_TRUE(size.cx == cx && size.cy == cy) << size.cx << ' ' << size.cy;
    }
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

TEST_F(Extent, ChangedExtentMakesControlDirty) {
  ExpectSize(5080, 5080);
  SIZEL size = {5080, 5080};
  EXPECT_EQ(S_OK, m_object->SetExtent(DVASPECT_CONTENT, &size));
  EXPECT_EQ(S_FALSE, As<IPersistStreamInit>()->IsDirty()) << "nothing has changed";
  for (const SIZEL& other : {SIZEL{1000, 5080}, SIZEL{1000, 2000}}) {
    Plate().SetDirty(FALSE);
    size = other;
    EXPECT_EQ(S_OK, As<IQuickActivate>()->SetContentExtent(&size));
    ExpectSize(other.cx, other.cy);
    EXPECT_EQ(S_OK, As<IPersistStreamInit>()->IsDirty());
  }
}

TEST_F(Extent, OtherAspectReturnsEFail) {
  SIZEL size = {1, 1};
  EXPECT_EQ(S_OK, m_object->SetExtent(DVASPECT_CONTENT, &size));
  EXPECT_EQ(E_FAIL, m_object->SetExtent(DVASPECT_ICON, &size));
  EXPECT_EQ(E_FAIL, m_object->GetExtent(DVASPECT_ICON, &size));
  EXPECT_EQ(0, size.cx);
  const auto naturalExtent = [&](DWORD aspect, DWORD mode) {
    DVEXTENTINFO info = {sizeof(info), mode, {}};
    size = {1, 1};
    return As<IViewObjectEx>()->GetNaturalExtent(aspect, -1, nullptr, nullptr, &info, &size);
  };
  EXPECT_EQ(E_FAIL, naturalExtent(DVASPECT_CONTENT, DVEXTENT_INTEGRAL));
  EXPECT_EQ(0, size.cx);
  EXPECT_EQ(E_FAIL, naturalExtent(DVASPECT_ICON, DVEXTENT_CONTENT));
  EXPECT_EQ(0, size.cx);
  EXPECT_EQ(S_OK, naturalExtent(DVASPECT_CONTENT, DVEXTENT_CONTENT));
  EXPECT_TRUE(size.cx == 5080 && size.cy == 5080) << "stays";
}

TEST_F(Extent, WindowFollowsTheRectangleAndItsClip) {
  OpenContainer();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  SetRects({10, 20, 110, 70}, {30, 0, 400, 60});
  const RECT expected = {20, 0, 100, 40};
  RECT region = Region();
  EXPECT_TRUE(EqualRect(&expected, &region));
  SetRects({5, 6, 205, 106}, {0, 0, 400, 300});
  region = Region();
  EXPECT_TRUE(IsRectEmpty(&region)) << "nothing is cut off any more";
  EXPECT_FALSE(Plate().m_bUsingWindowRgn);
  ExpectSize(5080, 5080);
}

TEST_F(Extent, RegionIsDeletedWhenSetWindowRgnFails) {
  OpenContainer();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  HRGN refused = nullptr;
  {
    const CImportSpy<&SetWindowRgn> setting("user32.dll", "SetWindowRgn",
                                            [&](HWND, HRGN region, BOOL) {
                                              refused = region;
                                              return 0;
                                            });
    const CImportSpy<&DeleteObject> deletion("gdi32.dll", "DeleteObject",
                                             [](HGDIOBJ) { return TRUE; });
    SetRects({10, 20, 110, 70}, {30, 0, 400, 60});
    EXPECT_THAT(deletion.Calls(), testing::ElementsAre(std::tuple<HGDIOBJ>(refused)));
  }
  EXPECT_FALSE(Plate().m_bUsingWindowRgn);
  EXPECT_TRUE(DeleteObject(refused));
}

}  // namespace
