// Each method with a missing out-parameter, and with one that holds garbage where it fails.

#include <functional>

#include "control_fixture.h"
#include "tests/support/import_patch.h"

namespace {

class NullArguments : public EveryControlTest {};
INSTANTIATE_FOR_EVERY_BIRTH(NullArguments);

TEST_P(NullArguments, NullOutParameterReturnsEPointer) {
  const auto object = As<IOleObject>();
  const auto window = As<IOleWindow>();
  const auto active = As<IOleInPlaceActiveObject>();
  const auto inPlace = As<IOleInPlaceObjectWindowless>();
  const auto view = As<IViewObjectEx>();
  const auto data = As<IDataObject>();
  const auto stream = As<IPersistStreamInit>();
  const auto storage = As<IPersistStorage>();
  const auto info = As<IProvideClassInfo2>();
  const RECT rect = {};
  DVEXTENTINFO extent = {sizeof(extent), DVEXTENT_CONTENT, {}};
  DWORD number = 0;
  SIZEL size = {};
  const struct {
    const char* name;
    std::function<HRESULT()> call;
  } rows[] = {
      {"GetClientSite", [&] { return object->GetClientSite(nullptr); }},
      {"SetExtent", [&] { return object->SetExtent(DVASPECT_CONTENT, nullptr); }},
      {"GetExtent", [&] { return object->GetExtent(DVASPECT_CONTENT, nullptr); }},
      {"GetUserClassID", [&] { return object->GetUserClassID(nullptr); }},
      {"GetUserType", [&] { return object->GetUserType(USERCLASSTYPE_FULL, nullptr); }},
      {"GetMiscStatus", [&] { return object->GetMiscStatus(DVASPECT_CONTENT, nullptr); }},
      {"EnumVerbs", [&] { return object->EnumVerbs(nullptr); }},
      {"EnumAdvise", [&] { return object->EnumAdvise(nullptr); }},
      {"GetMoniker", [&] { return object->GetMoniker(0, 0, nullptr); }},
      {"GetClipboardData", [&] { return object->GetClipboardData(0, nullptr); }},
      {"IOleWindow::GetWindow", [&] { return window->GetWindow(nullptr); }},
      {"IOleInPlaceActiveObject::GetWindow", [&] { return active->GetWindow(nullptr); }},
      {"GetDropTarget", [&] { return inPlace->GetDropTarget(nullptr); }},
      {"GetColorSet",
       [&] { return view->GetColorSet(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, nullptr); }},
      {"Freeze", [&] { return view->Freeze(DVASPECT_CONTENT, -1, nullptr, nullptr); }},
      {"IViewObject2::GetExtent",
       [&] { return view->GetExtent(DVASPECT_CONTENT, -1, nullptr, nullptr); }},
      {"GetRect", [&] { return view->GetRect(DVASPECT_CONTENT, nullptr); }},
      {"GetViewStatus", [&] { return view->GetViewStatus(nullptr); }},
      {"QueryHitPoint, bounds",
       [&] { return view->QueryHitPoint(DVASPECT_CONTENT, nullptr, {}, 0, &number); }},
      {"QueryHitPoint, result",
       [&] { return view->QueryHitPoint(DVASPECT_CONTENT, &rect, {}, 0, nullptr); }},
      {"QueryHitRect, bounds",
       [&] { return view->QueryHitRect(DVASPECT_CONTENT, nullptr, &rect, 0, &number); }},
      {"QueryHitRect, location",
       [&] { return view->QueryHitRect(DVASPECT_CONTENT, &rect, nullptr, 0, &number); }},
      {"QueryHitRect, result",
       [&] { return view->QueryHitRect(DVASPECT_CONTENT, &rect, &rect, 0, nullptr); }},
      {"GetNaturalExtent, request",
       [&] {
         return view->GetNaturalExtent(DVASPECT_CONTENT, -1, nullptr, nullptr, nullptr, &size);
       }},
      {"GetNaturalExtent, result",
       [&] {
         return view->GetNaturalExtent(DVASPECT_CONTENT, -1, nullptr, nullptr, &extent, nullptr);
       }},
      {"GetData, format",
       [&] {
         STGMEDIUM medium = {};
         return data->GetData(nullptr, &medium);
       }},
      {"GetData, medium",
       [&] {
         FORMATETC format = {CF_METAFILEPICT, nullptr, DVASPECT_CONTENT, -1, TYMED_MFPICT};
         return data->GetData(&format, nullptr);
       }},
      {"GetCanonicalFormatEtc", [&] { return data->GetCanonicalFormatEtc(nullptr, nullptr); }},
      {"EnumFormatEtc", [&] { return data->EnumFormatEtc(DATADIR_GET, nullptr); }},
      {"EnumDAdvise", [&] { return data->EnumDAdvise(nullptr); }},
      {"IPersistStreamInit::GetClassID", [&] { return stream->GetClassID(nullptr); }},
      {"GetSizeMax", [&] { return stream->GetSizeMax(nullptr); }},
      {"IPersistStorage::GetClassID", [&] { return storage->GetClassID(nullptr); }},
      {"GetPages", [&] { return As<ISpecifyPropertyPages>()->GetPages(nullptr); }},
      {"GetClassInfo", [&] { return info->GetClassInfo(nullptr); }},
      {"GetGUID", [&] { return info->GetGUID(GUIDKIND_DEFAULT_SOURCE_DISP_IID, nullptr); }},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(E_POINTER, row.call()) << row.name;
  }
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
  EXPECT_EQ(E_NOTIMPL, view->Unfreeze(0));
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
  EXPECT_EQ(E_NOTIMPL, data->QueryGetData(&format));
  STGMEDIUM medium = {};
  EXPECT_EQ(E_NOTIMPL, data->GetDataHere(&format, &medium));
  EXPECT_EQ(E_NOTIMPL, data->SetData(&format, &medium, FALSE));
}

/// The tests' library, as if it were registered.
HRESULT WINAPI LoadTestLibrary(REFGUID, WORD, WORD, LCID, ITypeLib** library) {
  CComBSTR path;
  return AtlLoadTypeLib(_AtlBaseModule.GetModuleInstance(), nullptr, &path, library);
}

TEST_P(NullArguments, GetGuidWithoutEventsReturnsEInvalidArg) {
  const auto info = As<IProvideClassInfo2>();
  for (const DWORD kind : {0UL, DWORD{GUIDKIND_DEFAULT_SOURCE_DISP_IID}, 2UL}) {
    GUID guid = CLSID_Plate;
    EXPECT_EQ(E_INVALIDARG, info->GetGUID(kind, &guid));
    EXPECT_TRUE(guid == GUID_NULL);
  }
  const CImportPatch registered("oleaut32.dll", "LoadRegTypeLib", &LoadTestLibrary);
  CComPtr<ITypeInfo> type;
  ASSERT_EQ(S_OK, As<IProvideClassInfo>()->GetClassInfo(&type));
  TYPEATTR* attributes = nullptr;
  ASSERT_EQ(S_OK, type->GetTypeAttr(&attributes));
  EXPECT_TRUE(attributes->guid == CLSID_Plate);
  type->ReleaseTypeAttr(attributes);
}

}  // namespace
