// Each method with a missing argument, and with an out-parameter that holds garbage where it fails.

#include <cstring>
#include <vector>

#include "control_fixture.h"

namespace {

using testing::Each;

using NullArguments = ControlTest;
using Results = std::vector<HRESULT>;

TEST_F(NullArguments, NullArgumentReturnsEPointer) {
  constexpr DWORD kContent = DVASPECT_CONTENT;
  const RECT rect = {};
  DVEXTENTINFO extent = {sizeof(extent), DVEXTENT_CONTENT, {}};
  DWORD number = 99;
  DWORD cookie = 99;
  SIZEL size = {};
  STGMEDIUM medium = {};
  FORMATETC format = {CF_METAFILEPICT, nullptr, kContent, -1, TYMED_MFPICT};
  EXPECT_THAT((Results{m_object->GetClientSite(nullptr), m_object->SetExtent(kContent, nullptr),
                       m_object->GetExtent(kContent, nullptr), m_object->GetUserClassID(nullptr),
                       m_object->GetUserType(USERCLASSTYPE_FULL, nullptr),
                       m_object->GetMiscStatus(kContent, nullptr), m_object->EnumVerbs(nullptr),
                       m_object->EnumAdvise(nullptr), m_object->Advise(nullptr, &number),
                       m_object->Advise(&m_sink, nullptr), m_object->GetMoniker(0, 0, nullptr),
                       m_object->GetClipboardData(0, nullptr)}),
              Each(E_POINTER));
  EXPECT_EQ(0U, number);

  const auto inPlace = As<IOleInPlaceObjectWindowless>();
  const auto active = As<IOleInPlaceActiveObject>();
  EXPECT_THAT(
      (Results{inPlace->GetWindow(nullptr), inPlace->GetDropTarget(nullptr),
               inPlace->OnWindowMessage(WM_NULL, 0, 0, nullptr),
               inPlace->SetObjectRects(nullptr, &rect), inPlace->SetObjectRects(&rect, nullptr),
               active->GetWindow(nullptr), active->TranslateAccelerator(nullptr)}),
      Each(E_POINTER));

  const auto view = As<IViewObjectEx>();
  EXPECT_THAT(
      (Results{view->GetColorSet(kContent, -1, nullptr, nullptr, nullptr, nullptr),
               view->Freeze(kContent, -1, nullptr, nullptr),
               view->GetExtent(kContent, -1, nullptr, nullptr), view->GetRect(kContent, nullptr),
               view->GetViewStatus(nullptr), view->QueryHitPoint(kContent, nullptr, {}, 0, &number),
               view->QueryHitPoint(kContent, &rect, {}, 0, nullptr),
               view->QueryHitRect(kContent, nullptr, &rect, 0, &number),
               view->QueryHitRect(kContent, &rect, nullptr, 0, &number),
               view->QueryHitRect(kContent, &rect, &rect, 0, nullptr),
               view->GetNaturalExtent(kContent, -1, nullptr, nullptr, nullptr, &size),
               view->GetNaturalExtent(kContent, -1, nullptr, nullptr, &extent, nullptr)}),
      Each(E_POINTER));

  const auto data = As<IDataObject>();
  EXPECT_THAT((Results{data->GetData(nullptr, &medium), data->GetData(&format, nullptr),
                       data->GetCanonicalFormatEtc(nullptr, nullptr),
                       data->EnumFormatEtc(DATADIR_GET, nullptr), data->EnumDAdvise(nullptr),
                       data->DAdvise(&format, 0, nullptr, &cookie),
                       data->DAdvise(nullptr, 0, &m_sink, &number),
                       data->DAdvise(&format, 0, &m_sink, nullptr)}),
              Each(E_POINTER));
  EXPECT_EQ(0U, cookie);

  const auto stream = As<IPersistStreamInit>();
  const auto storage = As<IPersistStorage>();
  EXPECT_THAT(
      (Results{stream->GetClassID(nullptr), stream->GetSizeMax(nullptr), stream->Load(nullptr),
               stream->Save(nullptr, TRUE), storage->GetClassID(nullptr), storage->InitNew(nullptr),
               storage->Load(nullptr), storage->Save(nullptr, TRUE),
               As<ISpecifyPropertyPages>()->GetPages(nullptr)}),
      Each(E_POINTER));
}

/// Calls a method that is not implemented; its result must be null afterwards.
template <class T>
void ExpectNotImplemented(auto call) {
  T result;
  std::memset(&result, 1, sizeof(result));
  EXPECT_EQ(E_NOTIMPL, call(&result));
  const T empty = {};
  EXPECT_EQ(0, std::memcmp(&empty, &result, sizeof(result)));
}

TEST_F(NullArguments, FailureClearsOutParameter) {
  const auto view = As<IViewObjectEx>();
  const auto data = As<IDataObject>();
  ExpectNotImplemented<IMoniker*>([&](auto p) { return m_object->GetMoniker(0, 0, p); });
  ExpectNotImplemented<IDataObject*>([&](auto p) { return m_object->GetClipboardData(0, p); });
  ExpectNotImplemented<IDropTarget*>(
      [&](auto p) { return As<IOleInPlaceObjectWindowless>()->GetDropTarget(p); });
  ExpectNotImplemented<IEnumFORMATETC*>(
      [&](auto p) { return data->EnumFormatEtc(DATADIR_GET, p); });
  ExpectNotImplemented<LOGPALETTE*>([&](auto p) {
    return view->GetColorSet(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, p);
  });
  ExpectNotImplemented<DWORD>(
      [&](auto p) { return view->Freeze(DVASPECT_CONTENT, -1, nullptr, p); });
  ExpectNotImplemented<RECTL>([&](auto p) { return view->GetRect(DVASPECT_CONTENT, p); });
  ExpectNotImplemented<ULARGE_INTEGER>(
      [&](auto p) { return As<IPersistStreamInit>()->GetSizeMax(p); });
  ExpectNotImplemented<FORMATETC>([&](auto p) { return data->GetCanonicalFormatEtc(nullptr, p); });
  HWND window = HWND_MESSAGE;
  EXPECT_EQ(E_FAIL, As<IOleWindow>()->GetWindow(&window));
  EXPECT_EQ(nullptr, window);
}

}  // namespace
