// The control's picture as data: a metafile.

#include "control_fixture.h"
#include "memory_picture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Metafile : public EveryControlTest {
 protected:
  HRESULT Get(FORMATETC format) {
    m_medium.tymed = 99;
    return As<IDataObject>()->GetData(&format, &m_medium);
  }

  STGMEDIUM m_medium = {};
};
INSTANTIATE_FOR_EVERY_BIRTH(Metafile);

TEST_P(Metafile, ShowsTheControl) {
  const SIZEL extent = {2540, 1270};
  ASSERT_EQ(S_OK, As<IOleObject>()->SetExtent(DVASPECT_CONTENT, const_cast<SIZEL*>(&extent)));
  ASSERT_EQ(S_OK, Get({CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT}));
  ASSERT_EQ(static_cast<DWORD>(TYMED_MFPICT), m_medium.tymed);
  EXPECT_EQ(nullptr, m_medium.pUnkForRelease);
  const auto* const picture = static_cast<METAFILEPICT*>(GlobalLock(m_medium.hMetaFilePict));
  ASSERT_NE(nullptr, picture);
  EXPECT_EQ(MM_ANISOTROPIC, picture->mm);
  EXPECT_EQ(2540, picture->xExt);
  EXPECT_EQ(1270, picture->yExt);
  // Stretched to half the size of the memory picture.
  const CMemoryPicture memory;
  SetMapMode(memory.Dc(), MM_ANISOTROPIC);
  SetViewportExtEx(memory.Dc(), 50, 80, nullptr);
  EXPECT_TRUE(PlayMetaFile(memory.Dc(), picture->hMF));
  SetMapMode(memory.Dc(), MM_TEXT);
  ExpectRect({0, 0, 50, 80}, memory.Painted());
  GlobalUnlock(m_medium.hMetaFilePict);
  ReleaseStgMedium(&m_medium);
}

TEST_P(Metafile, BoundsAreInPixels) {
  const HDC hdc = GetDC(nullptr);
  const SIZE expected = {2 * GetDeviceCaps(hdc, LOGPIXELSX), 2 * GetDeviceCaps(hdc, LOGPIXELSY)};
  ReleaseDC(nullptr, hdc);
  ASSERT_EQ(S_OK, Get({CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT}));
  EXPECT_EQ(expected.cx, g_plates.bounds.right);
  EXPECT_EQ(expected.cy, g_plates.bounds.bottom);
  ReleaseStgMedium(&m_medium);
}

TEST_P(Metafile, OnDrawFailureReturnsNoMedium) {
  g_plates.drawResult = VIEW_E_DRAW;
  EXPECT_EQ(E_FAIL, Get({CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT}));
  EXPECT_EQ(static_cast<DWORD>(TYMED_NULL), m_medium.tymed);
}

TEST_P(Metafile, OtherFormatReturnsDvError) {
  EXPECT_EQ(DV_E_FORMATETC, Get({CF_TEXT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}));
  EXPECT_EQ(DV_E_TYMED, Get({CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL}));
  EXPECT_EQ(DV_E_DVASPECT, Get({CF_METAFILEPICT, nullptr, DVASPECT_ICON, -1, TYMED_MFPICT}));
  EXPECT_EQ(static_cast<DWORD>(TYMED_NULL), m_medium.tymed);
  EXPECT_EQ(0, g_plates.drawn);
}

class DataAdvise : public EveryControlTest {};
INSTANTIATE_FOR_EVERY_BIRTH(DataAdvise);

TEST_P(DataAdvise, ExtentChangeCallsOnDataChange) {
  FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  const auto data = As<IDataObject>();
  DWORD cookie = 0;
  EXPECT_EQ(OLE_E_NOCONNECTION, data->DUnadvise(1));
  CComPtr<IEnumSTATDATA> connections;
  EXPECT_EQ(S_OK, data->EnumDAdvise(&connections));
  EXPECT_EQ(nullptr, connections.p);
  ASSERT_EQ(S_OK, data->DAdvise(&format, 0, &m_sink, &cookie));
  EXPECT_NE(0U, cookie);
  EXPECT_EQ(S_OK, data->EnumDAdvise(&connections));
  EXPECT_NE(nullptr, connections.p);
  connections.Release();
  SIZEL extent = {1000, 1000};
  EXPECT_EQ(S_OK, As<IOleObject>()->SetExtent(DVASPECT_CONTENT, &extent));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnDataChange"));
  EXPECT_EQ(S_OK, Plate().SendOnDataChange());
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnDataChange"));
  EXPECT_EQ(S_OK, data->DUnadvise(cookie));
  EXPECT_EQ(S_OK, Plate().SendOnDataChange());
  EXPECT_THAT(m_sink.m_log.Take(), IsEmpty());
  EXPECT_EQ(0U, m_sink.References());
}

TEST_P(DataAdvise, NullSinkOrFormatReturnsEPointer) {
  FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  DWORD cookie = 99;
  EXPECT_EQ(E_POINTER, As<IDataObject>()->DAdvise(&format, 0, nullptr, &cookie));
  EXPECT_EQ(0U, cookie);
  EXPECT_EQ(E_POINTER, As<IDataObject>()->DAdvise(nullptr, 0, &m_sink, &cookie));
  EXPECT_EQ(E_POINTER, As<IDataObject>()->DAdvise(&format, 0, &m_sink, nullptr));
}

}  // namespace
