// The control's picture on its window, on any device and as a metafile.

#include "control_fixture.h"

namespace {

/// A picture in memory, black at first.
class CMemoryPicture {
 public:
  CMemoryPicture() { SelectObject(m_hdc, m_bitmap); }
  CMemoryPicture(const CMemoryPicture&) = delete;
  CMemoryPicture& operator=(const CMemoryPicture&) = delete;
  ~CMemoryPicture() {
    DeleteDC(m_hdc);
    DeleteObject(m_bitmap);
  }

  HDC Dc() const { return m_hdc; }
  /// Checks that the control has drawn this rectangle and no pixel besides.
  void ExpectPainted(const RECT& expected) const {
    SetMapMode(m_hdc, MM_TEXT);
    SetViewportOrgEx(m_hdc, 0, 0, nullptr);
    for (LONG i = 0; i < 100 * 100; ++i) {
      const POINT pixel = {i % 100, i / 100};
      const COLORREF colour = PtInRect(&expected, pixel) ? GetSysColor(COLOR_WINDOW) : 0;
      ASSERT_EQ(colour, GetPixel(m_hdc, pixel.x, pixel.y)) << pixel.x << ' ' << pixel.y;
    }
  }

 private:
  const HDC m_hdc = CreateCompatibleDC(nullptr);
  const HBITMAP m_bitmap = CreateBitmap(100, 100, 1, 32, nullptr);
};

class Drawing : public ControlTest {
 protected:
  HRESULT Draw(HDC hdc, LPCRECTL bounds, DWORD aspect = DVASPECT_CONTENT) {
    return As<IViewObject>()->Draw(aspect, -1, nullptr, nullptr, nullptr, hdc, bounds, nullptr,
                                   nullptr, 0);
  }
  HRESULT GetData(FORMATETC format) {
    m_medium.tymed = 99;
    return As<IDataObject>()->GetData(&format, &m_medium);
  }

  static constexpr FORMATETC kPicture = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1,
                                         TYMED_MFPICT};
  CMemoryPicture m_picture;
  STGMEDIUM m_medium = {};
};

TEST_F(Drawing, BoundsAreInTheUnitsOfTheDevice) {
  // 100 units on 50 pixels, from pixel 20 on.
  SetMapMode(m_picture.Dc(), MM_ANISOTROPIC);
  SetWindowExtEx(m_picture.Dc(), 100, 100, nullptr);
  SetViewportExtEx(m_picture.Dc(), 50, 50, nullptr);
  SetViewportOrgEx(m_picture.Dc(), 20, 20, nullptr);
  const RECTL bounds = {0, 0, 100, 60};
  EXPECT_EQ(S_OK, Draw(m_picture.Dc(), &bounds));
  EXPECT_EQ(MM_ANISOTROPIC, GetMapMode(m_picture.Dc())) << "the caller's state is back";
  m_picture.ExpectPainted({20, 20, 70, 50});
}

TEST_F(Drawing, WrongAspectOrNullArgumentIsRefused) {
  const RECTL bounds = {0, 0, 10, 10};
  EXPECT_EQ(DV_E_DVASPECT, Draw(m_picture.Dc(), &bounds, DVASPECT_ICON));
  EXPECT_EQ(E_INVALIDARG, Draw(nullptr, &bounds));
  EXPECT_EQ(E_INVALIDARG, Draw(m_picture.Dc(), nullptr));
  EXPECT_EQ(DV_E_FORMATETC, GetData({CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT}));
  EXPECT_EQ(DV_E_TYMED, GetData({CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}));
  EXPECT_EQ(DV_E_DVASPECT, GetData({CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT}));
  EXPECT_EQ(static_cast<DWORD>(TYMED_NULL), m_medium.tymed);
  EXPECT_EQ(0, g_plates.drawn);
}

TEST_F(Drawing, OnDrawFailureIsReturned) {
  g_plates.drawResult = VIEW_E_DRAW;
  const RECTL bounds = {0, 0, 10, 10};
  EXPECT_EQ(VIEW_E_DRAW, Draw(m_picture.Dc(), &bounds));
  EXPECT_EQ(E_FAIL, GetData(kPicture));
  EXPECT_EQ(static_cast<DWORD>(TYMED_NULL), m_medium.tymed);
}

TEST_F(Drawing, PaintMessageWithDeviceContextDrawsTheClientArea) {
  OpenContainer();
  ASSERT_EQ(S_OK, DoVerb(OLEIVERB_INPLACEACTIVATE));
  SendMessageW(ControlWindow(), WM_PAINT, reinterpret_cast<WPARAM>(m_picture.Dc()), 0);
  m_picture.ExpectPainted({0, 0, 100, 50});
}

TEST_F(Drawing, MetafileShowsTheControl) {
  SIZE extent = {2540, 1270};
  ASSERT_EQ(S_OK, m_object->SetExtent(DVASPECT_CONTENT, &extent));
  ASSERT_EQ(S_OK, GetData(kPicture));
  const HDC hdc = GetDC(nullptr);
  EXPECT_EQ(GetDeviceCaps(hdc, LOGPIXELSX), g_plates.bounds.right) << "in pixels";
  EXPECT_EQ(GetDeviceCaps(hdc, LOGPIXELSY) / 2, g_plates.bounds.bottom);
  ReleaseDC(nullptr, hdc);
  ASSERT_EQ(static_cast<DWORD>(TYMED_MFPICT), m_medium.tymed);
  EXPECT_EQ(nullptr, m_medium.pUnkForRelease);
  const auto* const picture = static_cast<METAFILEPICT*>(GlobalLock(m_medium.hMetaFilePict));
  ASSERT_NE(nullptr, picture);
  EXPECT_EQ(MM_ANISOTROPIC, picture->mm);
  EXPECT_EQ(2540, picture->xExt);
  EXPECT_EQ(1270, picture->yExt);
  // Stretched to half the size of the memory picture.
  SetMapMode(m_picture.Dc(), MM_ANISOTROPIC);
  SetViewportExtEx(m_picture.Dc(), 50, 80, nullptr);
  EXPECT_TRUE(PlayMetaFile(m_picture.Dc(), picture->hMF));
  m_picture.ExpectPainted({0, 0, 50, 80});
  GlobalUnlock(m_medium.hMetaFilePict);
  ReleaseStgMedium(&m_medium);
}

}  // namespace
