// What the control tells about itself and its class, and how it takes verbs.

#include <initializer_list>

#include "control_fixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The test control's class in the registry, as far as ole32 looks for it. (RegOverridePredefKey
/// does not redirect that.)
class CPlateRegistration {
 public:
  CPlateRegistration() {
    OLECHAR clsid[40];
    StringFromGUID2(CLSID_Plate, clsid, ARRAYSIZE(clsid));
    m_class = clsid;
    EXPECT_EQ(ERROR_SUCCESS, m_classes.Open(HKEY_CLASSES_ROOT, L"CLSID"));
    Set(L"", L"Plate of one colour");
  }
  CPlateRegistration(const CPlateRegistration&) = delete;
  CPlateRegistration& operator=(const CPlateRegistration&) = delete;
  ~CPlateRegistration() { EXPECT_EQ(ERROR_SUCCESS, m_classes.RecurseDeleteKey(m_class.c_str())); }

  void Set(const wchar_t* subkey, const wchar_t* value) {
    CRegKey key;
    EXPECT_EQ(ERROR_SUCCESS, key.Create(m_classes, (m_class + subkey).c_str()));
    EXPECT_EQ(ERROR_SUCCESS, key.SetStringValue(nullptr, value));
  }

 private:
  CRegKey m_classes;
  std::wstring m_class;
};

class OleObject : public EveryControlTest {};
INSTANTIATE_FOR_EVERY_BIRTH(OleObject);

TEST_P(OleObject, GetClientSiteReturnsTheSite) {
  const auto object = As<IOleObject>();
  CComPtr<IOleClientSite> site;
  EXPECT_EQ(S_OK, object->GetClientSite(&site));
  EXPECT_EQ(nullptr, site.p);
  EXPECT_EQ(S_OK, object->SetClientSite(&m_site));
  EXPECT_EQ(S_OK, object->GetClientSite(&site));
  EXPECT_EQ(static_cast<IOleClientSite*>(&m_site), site.p);
  site.Release();
  EXPECT_EQ(S_OK, object->SetClientSite(nullptr));
  EXPECT_EQ(0U, m_site.References());
}

TEST_P(OleObject, AmbientPropertiesAreTheSites) {
  BOOL userMode = FALSE;
  EXPECT_EQ(E_FAIL, Plate().GetAmbientUserMode(userMode)) << "no site";
  ASSERT_EQ(S_OK, As<IOleObject>()->SetClientSite(&m_site));
  EXPECT_EQ(S_OK, Plate().GetAmbientUserMode(userMode));
  EXPECT_TRUE(userMode);
  m_site.m_userMode = false;
  EXPECT_EQ(S_OK, Plate().GetAmbientUserMode(userMode));
  EXPECT_FALSE(userMode);
  CComVariant colour;
  EXPECT_EQ(DISP_E_MEMBERNOTFOUND, Plate().GetAmbientProperty(DISPID_AMBIENT_BACKCOLOR, colour));
}

TEST_P(OleObject, StatusIsTheDeclaredOne) {
  for (const DWORD aspect : {DVASPECT_CONTENT, DVASPECT_ICON}) {
    DWORD status = 0;
    EXPECT_EQ(S_OK, As<IOleObject>()->GetMiscStatus(aspect, &status));
    EXPECT_EQ(
        static_cast<DWORD>(OLEMISC_RECOMPOSEONRESIZE | OLEMISC_CANTLINKINSIDE | OLEMISC_INSIDEOUT |
                           OLEMISC_ACTIVATEWHENVISIBLE | OLEMISC_SETCLIENTSITEFIRST),
        status);
  }
}

TEST_P(OleObject, GetClassIdReturnsTheClass) {
  CLSID clsid = {};
  EXPECT_EQ(S_OK, As<IOleObject>()->GetUserClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
}

TEST_P(OleObject, RegistryNamesTheClass) {
  CComHeapPtr<OLECHAR> name;
  EXPECT_EQ(REGDB_E_CLASSNOTREG, As<IOleObject>()->GetUserType(USERCLASSTYPE_FULL, &name));
  EXPECT_EQ(nullptr, name.m_pData);
  CPlateRegistration registration;
  registration.Set(L"\\AuxUserType\\2", L"Plate");
  ASSERT_EQ(S_OK, As<IOleObject>()->GetUserType(USERCLASSTYPE_FULL, &name));
  EXPECT_STREQ(L"Plate of one colour", name);
  name.Free();
  ASSERT_EQ(S_OK, As<IOleObject>()->GetUserType(USERCLASSTYPE_SHORT, &name));
  EXPECT_STREQ(L"Plate", name);
}

TEST_P(OleObject, RegistryListsTheVerbs) {
  CComPtr<IEnumOLEVERB> verbs;
  EXPECT_EQ(REGDB_E_CLASSNOTREG, As<IOleObject>()->EnumVerbs(&verbs));
  EXPECT_EQ(nullptr, verbs.p);
  CPlateRegistration registration;
  EXPECT_TRUE(FAILED(As<IOleObject>()->EnumVerbs(&verbs))) << "systems differ in the code";
  EXPECT_EQ(nullptr, verbs.p);
  registration.Set(L"\\verb\\0", L"&Edit,0,2");
  registration.Set(L"\\verb\\1", L"&Paint,0,0");
  ASSERT_EQ(S_OK, As<IOleObject>()->EnumVerbs(&verbs));
  OLEVERB verb[3] = {};
  ULONG count = 0;
  EXPECT_EQ(S_FALSE, verbs->Next(3, verb, &count));
  ASSERT_EQ(2U, count);
  EXPECT_EQ(0, verb[0].lVerb);
  EXPECT_STREQ(L"&Edit", verb[0].lpszVerbName);
  EXPECT_EQ(2U, verb[0].grfAttribs);
  EXPECT_EQ(1, verb[1].lVerb);
  CoTaskMemFree(verb[0].lpszVerbName);
  CoTaskMemFree(verb[1].lpszVerbName);
}

TEST_P(OleObject, VerbsWithoutAnEffect) {
  OpenContainer();
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_OPEN));
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_DISCARDUNDOSTATE));
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_HIDE));
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
  EXPECT_EQ(nullptr, ControlWindow());
}

TEST_P(OleObject, UnknownVerbActivatesAndReturnsInvalidVerb) {
  OpenContainer();
  EXPECT_EQ(OLEOBJ_S_INVALIDVERB, DoVerb(7));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(OleObject, UnknownNegativeVerbReturnsENotImpl) {
  OpenContainer();
  EXPECT_EQ(E_NOTIMPL, DoVerb(-99));
  EXPECT_EQ(nullptr, ControlWindow());
}

TEST_P(OleObject, ContainerShowsTheProperties) {
  EXPECT_EQ(E_FAIL,
            As<IOleObject>()->DoVerb(OLEIVERB_PROPERTIES, nullptr, nullptr, 0, nullptr, nullptr))
      << "no site";
  OpenContainer();
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_PROPERTIES));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("ShowPropertyFrame"));
  m_site.m_results["ShowPropertyFrame"] = E_NOTIMPL;
  EXPECT_EQ(E_NOTIMPL, DoVerb(OLEIVERB_PROPERTIES));
  GUID garbage = CLSID_Plate;
  CAUUID pages = {99, &garbage};
  EXPECT_EQ(S_OK, As<ISpecifyPropertyPages>()->GetPages(&pages));
  EXPECT_EQ(0U, pages.cElems);
  EXPECT_EQ(nullptr, pages.pElems);
}

TEST_P(OleObject, CloseCallsOnClose) {
  const auto object = As<IOleObject>();
  EXPECT_EQ(OLE_E_NOCONNECTION, object->Unadvise(1));
  CComPtr<IEnumSTATDATA> connections;
  EXPECT_EQ(S_OK, object->EnumAdvise(&connections));
  EXPECT_EQ(nullptr, connections.p);
  DWORD first = 0;
  DWORD second = 0;
  CTestSink other;
  ASSERT_EQ(S_OK, object->Advise(&m_sink, &first));
  ASSERT_EQ(S_OK, object->Advise(&other, &second));
  EXPECT_NE(first, second);
  EXPECT_EQ(S_OK, object->EnumAdvise(&connections));
  EXPECT_NE(nullptr, connections.p);
  connections.Release();
  EXPECT_EQ(S_OK, object->Unadvise(second));
  EXPECT_EQ(0U, other.References());
  EXPECT_EQ(S_OK, object->Close(OLECLOSE_NOSAVE));
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnClose"));
  EXPECT_THAT(other.m_log.Take(), IsEmpty());
  EXPECT_EQ(S_OK, object->Unadvise(first));
  DWORD cookie = 99;
  EXPECT_EQ(E_POINTER, object->Advise(nullptr, &cookie));
  EXPECT_EQ(0U, cookie);
  EXPECT_EQ(E_POINTER, object->Advise(&m_sink, nullptr));
}

TEST_P(OleObject, IsAlwaysUpToDate) {
  EXPECT_EQ(S_OK, As<IOleObject>()->Update());
  EXPECT_EQ(S_OK, As<IOleObject>()->IsUpToDate());
  EXPECT_EQ(S_OK, As<IOleObject>()->SetHostNames(L"Host", nullptr));
}

TEST_P(OleObject, LinkAndDataMethodsReturnENotImpl) {
  const auto object = As<IOleObject>();
  EXPECT_EQ(E_NOTIMPL, object->SetMoniker(OLEWHICHMK_OBJFULL, nullptr));
  EXPECT_EQ(E_NOTIMPL, object->InitFromData(nullptr, FALSE, 0));
  EXPECT_EQ(E_NOTIMPL, object->SetColorScheme(nullptr));
}

}  // namespace
