// What the control tells about itself and its class, and how it takes verbs.

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

TEST_P(OleObject, SiteIsHeldAndAskedForAmbientProperties) {
  const auto object = As<IOleObject>();
  CComPtr<IOleClientSite> site;
  BOOL userMode = FALSE;
  EXPECT_EQ(S_OK, object->GetClientSite(&site));
  EXPECT_EQ(nullptr, site.p);
  EXPECT_EQ(E_FAIL, Plate().GetAmbientUserMode(userMode));
  EXPECT_EQ(S_OK, object->SetClientSite(&m_site));
  EXPECT_EQ(S_OK, object->GetClientSite(&site));
  EXPECT_EQ(static_cast<IOleClientSite*>(&m_site), site.p);
  site.Release();
  for (const bool mode : {true, false}) {
    m_site.m_userMode = mode;
    EXPECT_EQ(S_OK, Plate().GetAmbientUserMode(userMode));
    EXPECT_EQ(mode, userMode != FALSE);
  }
  EXPECT_EQ(S_OK, object->SetClientSite(nullptr));
  EXPECT_EQ(0U, m_site.References());
}

TEST_P(OleObject, RegistryHasNameAndVerbsOfTheClass) {
  const auto object = As<IOleObject>();
  CLSID clsid = {};
  EXPECT_EQ(S_OK, object->GetUserClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
  CComHeapPtr<OLECHAR> name;
  CComPtr<IEnumOLEVERB> verbs;
  EXPECT_EQ(REGDB_E_CLASSNOTREG, object->GetUserType(USERCLASSTYPE_FULL, &name));
  EXPECT_EQ(nullptr, name.m_pData);
  EXPECT_EQ(REGDB_E_CLASSNOTREG, object->EnumVerbs(&verbs));
  EXPECT_EQ(nullptr, verbs.p);
  CPlateRegistration registration;
  registration.Set(L"\\AuxUserType\\2", L"Plate");
  registration.Set(L"\\verb\\0", L"&Edit,0,2");
  ASSERT_EQ(S_OK, object->GetUserType(USERCLASSTYPE_SHORT, &name));
  EXPECT_STREQ(L"Plate", name);
  ASSERT_EQ(S_OK, object->EnumVerbs(&verbs));
  OLEVERB verb[2] = {};
  EXPECT_EQ(S_FALSE, verbs->Next(2, verb, nullptr));
  EXPECT_STREQ(L"&Edit", verb[0].lpszVerbName);
  CoTaskMemFree(verb[0].lpszVerbName);
}

TEST_P(OleObject, VerbsOpenDiscardUndoAndHideDoNotActivate) {
  OpenContainer();
  for (const LONG verb : {OLEIVERB_OPEN, OLEIVERB_DISCARDUNDOSTATE, OLEIVERB_HIDE}) {
    EXPECT_EQ(S_OK, DoVerb(verb));
  }
  EXPECT_EQ(E_NOTIMPL, DoVerb(-99)) << "unknown";
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
  EXPECT_EQ(nullptr, ControlWindow());
}

TEST_P(OleObject, UnknownVerbActivatesAndReturnsInvalidVerb) {
  OpenContainer();
  EXPECT_EQ(OLEOBJ_S_INVALIDVERB, DoVerb(7));
  EXPECT_NE(nullptr, ControlWindow());
}

TEST_P(OleObject, ContainerShowsTheProperties) {
  EXPECT_EQ(E_FAIL, DoVerb(OLEIVERB_PROPERTIES)) << "no site";
  OpenContainer();
  EXPECT_EQ(S_OK, DoVerb(OLEIVERB_PROPERTIES));
  EXPECT_THAT(m_site.m_log.Take(), ElementsAre("ShowPropertyFrame"));
  m_site.m_results["ShowPropertyFrame"] = E_NOTIMPL;
  EXPECT_EQ(E_NOTIMPL, DoVerb(OLEIVERB_PROPERTIES));
  m_site.m_userMode = false;
  EXPECT_EQ(E_NOTIMPL, DoVerb(OLEIVERB_PRIMARY)) << "in design mode";
  EXPECT_EQ(nullptr, ControlWindow());
  GUID garbage = CLSID_Plate;
  CAUUID pages = {99, &garbage};
  EXPECT_EQ(S_OK, As<ISpecifyPropertyPages>()->GetPages(&pages));
  EXPECT_EQ(0U, pages.cElems);
  EXPECT_EQ(nullptr, pages.pElems);
}

TEST_P(OleObject, CloseSavesDirtyControlAndNotifiesSinks) {
  OpenContainer();
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
  EXPECT_EQ(S_OK, object->EnumAdvise(&connections));
  EXPECT_NE(nullptr, connections.p);
  connections.Release();
  EXPECT_EQ(S_OK, object->Unadvise(second));
  EXPECT_EQ(0U, other.References());
  const struct {
    bool dirty;
    DWORD option;
    bool saves;
  } cases[] = {{false, OLECLOSE_SAVEIFDIRTY, false},
               {true, OLECLOSE_NOSAVE, false},
               {true, OLECLOSE_SAVEIFDIRTY, true},
               {true, OLECLOSE_PROMPTSAVE, true}};
  for (const auto& [dirty, option, saves] : cases) {
    Plate().SetDirty(dirty);
    EXPECT_EQ(S_OK, object->Close(option));
    if (saves) {
      EXPECT_THAT(m_site.m_log.Take(), ElementsAre("SaveObject"));
      EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnSave", "OnClose"));
    } else {
      EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
      EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnClose"));
    }
  }
  EXPECT_THAT(other.m_log.Take(), IsEmpty());
  EXPECT_EQ(S_OK, object->Unadvise(first));
}

}  // namespace
