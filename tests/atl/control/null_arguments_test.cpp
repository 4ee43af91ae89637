// Each method with a missing argument, and with an out-parameter that holds garbage where it fails.

#include "control_fixture.h"

namespace {

class NullArguments : public EveryControlTest {};
INSTANTIATE_FOR_EVERY_BIRTH(NullArguments);

TEST_P(NullArguments, NullArgumentReturnsEPointer) {
  constexpr DWORD kContent = DVASPECT_CONTENT;
  const RECT rect = {};
  DVEXTENTINFO extent = {sizeof(extent), DVEXTENT_CONTENT, {}};
  DWORD number = 99;
  SIZEL size = {};
  STGMEDIUM medium = {};
  FORMATETC format = {CF_METAFILEPICT, nullptr, kContent, -1, TYMED_MFPICT};

  const auto object = As<IOleObject>();
  EXPECT_EQ(E_POINTER, object->GetClientSite(nullptr));
  EXPECT_EQ(E_POINTER, object->SetExtent(kContent, nullptr));
  EXPECT_EQ(E_POINTER, object->GetExtent(kContent, nullptr));
  EXPECT_EQ(E_POINTER, object->GetUserClassID(nullptr));
  EXPECT_EQ(E_POINTER, object->GetUserType(USERCLASSTYPE_FULL, nullptr));
  EXPECT_EQ(E_POINTER, object->GetMiscStatus(kContent, nullptr));
  EXPECT_EQ(E_POINTER, object->EnumVerbs(nullptr));
  EXPECT_EQ(E_POINTER, object->EnumAdvise(nullptr));
  EXPECT_EQ(E_POINTER, object->Advise(nullptr, &number));
  EXPECT_EQ(0U, number);
  EXPECT_EQ(E_POINTER, object->Advise(&m_sink, nullptr));
  EXPECT_EQ(E_POINTER, object->GetMoniker(0, 0, nullptr));
  EXPECT_EQ(E_POINTER, object->GetClipboardData(0, nullptr));

  EXPECT_EQ(E_POINTER, As<IOleWindow>()->GetWindow(nullptr));
  EXPECT_EQ(E_POINTER, As<IOleInPlaceActiveObject>()->GetWindow(nullptr));
  EXPECT_EQ(E_POINTER, As<IOleInPlaceActiveObject>()->TranslateAccelerator(nullptr));
  const auto inPlace = As<IOleInPlaceObjectWindowless>();
  EXPECT_EQ(E_POINTER, inPlace->GetDropTarget(nullptr));
  EXPECT_EQ(E_POINTER, inPlace->OnWindowMessage(WM_NULL, 0, 0, nullptr));
  EXPECT_EQ(E_POINTER, inPlace->SetObjectRects(nullptr, &rect));
  EXPECT_EQ(E_POINTER, inPlace->SetObjectRects(&rect, nullptr));

  const auto view = As<IViewObjectEx>();
  EXPECT_EQ(E_POINTER, view->GetColorSet(kContent, -1, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, view->Freeze(kContent, -1, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, view->GetExtent(kContent, -1, nullptr, nullptr));
  EXPECT_EQ(E_POINTER, view->GetRect(kContent, nullptr));
  EXPECT_EQ(E_POINTER, view->GetViewStatus(nullptr));
  EXPECT_EQ(E_POINTER, view->QueryHitPoint(kContent, nullptr, {}, 0, &number));
  EXPECT_EQ(E_POINTER, view->QueryHitPoint(kContent, &rect, {}, 0, nullptr));
  EXPECT_EQ(E_POINTER, view->QueryHitRect(kContent, nullptr, &rect, 0, &number));
  EXPECT_EQ(E_POINTER, view->QueryHitRect(kContent, &rect, nullptr, 0, &number));
  EXPECT_EQ(E_POINTER, view->QueryHitRect(kContent, &rect, &rect, 0, nullptr));
  EXPECT_EQ(E_POINTER, view->GetNaturalExtent(kContent, -1, nullptr, nullptr, nullptr, &size));
  EXPECT_EQ(E_POINTER, view->GetNaturalExtent(kContent, -1, nullptr, nullptr, &extent, nullptr));

  const auto data = As<IDataObject>();
  EXPECT_EQ(E_POINTER, data->GetData(nullptr, &medium));
  EXPECT_EQ(E_POINTER, data->GetData(&format, nullptr));
  EXPECT_EQ(E_POINTER, data->GetCanonicalFormatEtc(nullptr, nullptr));
  EXPECT_EQ(E_POINTER, data->EnumFormatEtc(DATADIR_GET, nullptr));
  EXPECT_EQ(E_POINTER, data->EnumDAdvise(nullptr));
  number = 99;
  EXPECT_EQ(E_POINTER, data->DAdvise(&format, 0, nullptr, &number));
  EXPECT_EQ(0U, number);
  EXPECT_EQ(E_POINTER, data->DAdvise(nullptr, 0, &m_sink, &number));
  EXPECT_EQ(E_POINTER, data->DAdvise(&format, 0, &m_sink, nullptr));

  const auto stream = As<IPersistStreamInit>();
  EXPECT_EQ(E_POINTER, stream->GetClassID(nullptr));
  EXPECT_EQ(E_POINTER, stream->GetSizeMax(nullptr));
  EXPECT_EQ(E_POINTER, stream->Load(nullptr));
  EXPECT_EQ(E_POINTER, stream->Save(nullptr, TRUE));
  const auto storage = As<IPersistStorage>();
  EXPECT_EQ(E_POINTER, storage->GetClassID(nullptr));
  EXPECT_EQ(E_POINTER, storage->InitNew(nullptr));
  EXPECT_EQ(E_POINTER, storage->Load(nullptr));
  EXPECT_EQ(E_POINTER, storage->Save(nullptr, TRUE));
  EXPECT_EQ(E_POINTER, As<ISpecifyPropertyPages>()->GetPages(nullptr));
}

/// Calls a method that is documented to do nothing; its result must be null afterwards.
template <class T, class F>
void ExpectNotImplemented(F call) {
  T* result = reinterpret_cast<T*>(1);
  EXPECT_EQ(E_NOTIMPL, call(&result));
  EXPECT_EQ(nullptr, result);
}

TEST_P(NullArguments, FailureClearsOutParameter) {
  const auto object = As<IOleObject>();
  const auto view = As<IViewObjectEx>();
  const auto data = As<IDataObject>();
  ExpectNotImplemented<IMoniker>([&](auto** pp) { return object->GetMoniker(0, 0, pp); });
  ExpectNotImplemented<IDataObject>([&](auto** pp) { return object->GetClipboardData(0, pp); });
  ExpectNotImplemented<IDropTarget>(
      [&](auto** pp) { return As<IOleInPlaceObjectWindowless>()->GetDropTarget(pp); });
  ExpectNotImplemented<IEnumFORMATETC>(
      [&](auto** pp) { return data->EnumFormatEtc(DATADIR_GET, pp); });
  ExpectNotImplemented<LOGPALETTE>([&](auto** pp) {
    return view->GetColorSet(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, pp);
  });
  HWND window = HWND_MESSAGE;
  EXPECT_EQ(E_FAIL, As<IOleWindow>()->GetWindow(&window));
  EXPECT_EQ(nullptr, window);
  DWORD cookie = 99;
  EXPECT_EQ(E_NOTIMPL, view->Freeze(DVASPECT_CONTENT, -1, nullptr, &cookie));
  EXPECT_EQ(0U, cookie);
  RECTL rect = {1, 2, 3, 4};
  EXPECT_EQ(E_NOTIMPL, view->GetRect(DVASPECT_CONTENT, &rect));
  EXPECT_EQ(0, rect.right);
  ULARGE_INTEGER size = {{1, 2}};
  EXPECT_EQ(E_NOTIMPL, As<IPersistStreamInit>()->GetSizeMax(&size));
  EXPECT_EQ(0U, size.QuadPart);
  FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
  FORMATETC canonical = format;
  EXPECT_EQ(E_NOTIMPL, data->GetCanonicalFormatEtc(&format, &canonical));
  EXPECT_EQ(0, canonical.cfFormat);
}

TEST_P(NullArguments, MethodsWithoutEffectReturnTheirCode) {
  OpenContainer();
  const auto object = As<IOleObject>();
  EXPECT_EQ(S_OK, object->Update());
  EXPECT_EQ(S_OK, object->IsUpToDate());
  EXPECT_EQ(S_OK, object->SetHostNames(L"Host", nullptr));
  EXPECT_EQ(E_NOTIMPL, object->SetMoniker(OLEWHICHMK_OBJFULL, nullptr));
  EXPECT_EQ(E_NOTIMPL, object->InitFromData(nullptr, FALSE, 0));
  EXPECT_EQ(E_NOTIMPL, object->SetColorScheme(nullptr));
  const auto active = As<IOleInPlaceActiveObject>();
  EXPECT_EQ(S_OK, active->OnFrameWindowActivate(TRUE));
  EXPECT_EQ(S_OK, active->OnDocWindowActivate(TRUE));
  EXPECT_EQ(S_OK, active->EnableModeless(FALSE));
  EXPECT_EQ(S_OK, active->ResizeBorder(nullptr, nullptr, TRUE));
  EXPECT_EQ(E_NOTIMPL, active->ContextSensitiveHelp(TRUE));
  EXPECT_EQ(E_NOTIMPL, As<IOleInPlaceObject>()->ContextSensitiveHelp(TRUE));
  EXPECT_EQ(E_NOTIMPL, As<IOleInPlaceObject>()->ReactivateAndUndo());
  const auto control = As<IOleControl>();
  EXPECT_EQ(S_OK, control->FreezeEvents(TRUE));
  EXPECT_EQ(S_OK, control->OnAmbientPropertyChange(DISPID_UNKNOWN));
  EXPECT_EQ(E_NOTIMPL, control->GetControlInfo(nullptr));
  EXPECT_EQ(E_NOTIMPL, control->OnMnemonic(nullptr));
  EXPECT_EQ(E_NOTIMPL, As<IViewObjectEx>()->Unfreeze(0));
  const auto data = As<IDataObject>();
  EXPECT_EQ(E_NOTIMPL, data->QueryGetData(nullptr));
  EXPECT_EQ(E_NOTIMPL, data->GetDataHere(nullptr, nullptr));
  EXPECT_EQ(E_NOTIMPL, data->SetData(nullptr, nullptr, FALSE));
  EXPECT_THAT(m_site.m_log.Take(), testing::IsEmpty());
}

}  // namespace
