// The control's picture on its window and on any device.

#include "control_fixture.h"
#include "memory_picture.h"

namespace {

class Drawing : public EveryControlTest {
 protected:
  HRESULT Draw(HDC hdc, LPCRECTL bounds, DWORD aspect = DVASPECT_CONTENT) {
    return As<IViewObject>()->Draw(aspect, -1, nullptr, nullptr, nullptr, hdc, bounds, nullptr,
                                   nullptr, 0);
  }

  CMemoryPicture m_picture;
};
INSTANTIATE_FOR_EVERY_BIRTH(Drawing);

TEST_P(Drawing, FillsTheBounds) {
  const RECTL bounds = {10, 20, 60, 90};
  EXPECT_EQ(S_OK, Draw(m_picture.Dc(), &bounds));
  ExpectRect({10, 20, 60, 90}, m_picture.Painted());
  EXPECT_EQ(RGB(255, 255, 255), GetPixel(m_picture.Dc(), 5, 5));
}

TEST_P(Drawing, BoundsAreInTheUnitsOfTheDevice) {
  // 100 units on 50 pixels, from pixel 20 on.
  SetMapMode(m_picture.Dc(), MM_ANISOTROPIC);
  SetWindowExtEx(m_picture.Dc(), 100, 100, nullptr);
  SetViewportExtEx(m_picture.Dc(), 50, 50, nullptr);
  SetViewportOrgEx(m_picture.Dc(), 20, 20, nullptr);
  const RECTL bounds = {0, 0, 100, 60};
  EXPECT_EQ(S_OK, Draw(m_picture.Dc(), &bounds));
  ExpectRect({20, 20, 70, 50}, {g_plates.bounds.left, g_plates.bounds.top, g_plates.bounds.right,
                                g_plates.bounds.bottom});
  EXPECT_EQ(MM_ANISOTROPIC, GetMapMode(m_picture.Dc())) << "the caller's state is back";
  SIZE extent = {};
  GetWindowExtEx(m_picture.Dc(), &extent);
  EXPECT_EQ(100, extent.cx);
  SetMapMode(m_picture.Dc(), MM_TEXT);
  SetViewportOrgEx(m_picture.Dc(), 0, 0, nullptr);
  ExpectRect({20, 20, 70, 50}, m_picture.Painted());
}

TEST_P(Drawing, OnDrawFailureIsReturned) {
  g_plates.drawResult = VIEW_E_DRAW;
  const RECTL bounds = {0, 0, 10, 10};
  EXPECT_EQ(VIEW_E_DRAW, Draw(m_picture.Dc(), &bounds));
}

TEST_P(Drawing, WrongAspectOrNullArgumentIsRefused) {
  const RECTL bounds = {0, 0, 10, 10};
  EXPECT_EQ(DV_E_DVASPECT, Draw(m_picture.Dc(), &bounds, DVASPECT_ICON));
  EXPECT_EQ(E_INVALIDARG, Draw(nullptr, &bounds));
  EXPECT_EQ(E_INVALIDARG, Draw(m_picture.Dc(), nullptr));
  EXPECT_EQ(0, g_plates.drawn);
}

TEST_P(Drawing, WindowPaintsItsClientArea) {
  OpenContainer();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  g_plates.drawn = 0;
  InvalidateRect(ControlWindow(), nullptr, TRUE);
  UpdateWindow(ControlWindow());
  EXPECT_EQ(1, g_plates.drawn);
  EXPECT_FALSE(GetUpdateRect(ControlWindow(), nullptr, FALSE));
  SendMessageW(ControlWindow(), WM_PAINT, reinterpret_cast<WPARAM>(m_picture.Dc()), 0);
  ExpectRect({0, 0, 100, 50}, m_picture.Painted());
}

}  // namespace
