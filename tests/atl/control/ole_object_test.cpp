// The control's site, class, verbs and notifications.

#include "control_fixture.h"
#include "tests/support/import_spy.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using OleObject = ControlTest;

TEST_F(OleObject, SiteIsHeldAndAskedForAmbientProperties) {
  CComPtr<IOleClientSite> site;
  BOOL userMode = FALSE;
  EXPECT_EQ(S_OK, m_object->GetClientSite(&site));
  EXPECT_EQ(nullptr, site.p);
  EXPECT_EQ(E_FAIL, Plate().GetAmbientUserMode(userMode));
  EXPECT_EQ(S_OK, m_object->SetClientSite(&m_site));
  EXPECT_EQ(S_OK, m_object->GetClientSite(&site));
  EXPECT_EQ(static_cast<IOleClientSite*>(&m_site), site.p);
  site.Release();
  for (const bool mode : {true, false}) {
    m_site.m_userMode = mode;
    EXPECT_EQ(S_OK, Plate().GetAmbientUserMode(userMode));
    EXPECT_EQ(mode, userMode != FALSE);
  }
  EXPECT_EQ(S_OK, m_object->SetClientSite(nullptr));
  EXPECT_EQ(0U, m_site.References());
}

TEST_F(OleObject, NameAndVerbsAreThoseOfTheClass) {
  const CImportSpy<&OleRegGetUserType> name(
      "ole32.dll", "OleRegGetUserType", [](REFCLSID clsid, DWORD form, LPOLESTR* text) -> HRESULT {
        EXPECT_TRUE(clsid == CLSID_Plate);
        EXPECT_EQ(static_cast<DWORD>(USERCLASSTYPE_SHORT), form);
        EXPECT_EQ(nullptr, *text);
        return S_FALSE;
      });
  const CImportSpy<&OleRegEnumVerbs> verbs("ole32.dll", "OleRegEnumVerbs",
                                           [](REFCLSID clsid, IEnumOLEVERB** list) -> HRESULT {
                                             EXPECT_TRUE(clsid == CLSID_Plate);
                                             EXPECT_EQ(nullptr, *list);
                                             return OLEOBJ_E_NOVERBS;
                                           });
  LPOLESTR text = reinterpret_cast<LPOLESTR>(&text);
  EXPECT_EQ(S_FALSE, m_object->GetUserType(USERCLASSTYPE_SHORT, &text));
  IEnumOLEVERB* list = reinterpret_cast<IEnumOLEVERB*>(&list);
  EXPECT_EQ(OLEOBJ_E_NOVERBS, m_object->EnumVerbs(&list));
  CLSID clsid = {};
  EXPECT_EQ(S_OK, m_object->GetUserClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
}

TEST_F(OleObject, OnlyVerbsThatActivateCreateAWindow) {
  OpenContainer();
  const std::pair<LONG, HRESULT> rows[] = {{OLEIVERB_OPEN, S_OK},
                                           {OLEIVERB_DISCARDUNDOSTATE, S_OK},
                                           {OLEIVERB_HIDE, S_OK},
                                           {-99, E_NOTIMPL}};
  for (const auto& [verb, result] : rows) {
    EXPECT_EQ(result, DoVerb(verb)) << verb;
  }
  EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
  EXPECT_EQ(nullptr, ControlWindow());
  EXPECT_EQ(OLEOBJ_S_INVALIDVERB, DoVerb(7)) << "unknown: the primary one";
  EXPECT_NE(nullptr, ControlWindow());
  EXPECT_FALSE(Plate().m_bUIActive);
}

TEST_F(OleObject, ContainerShowsTheProperties) {
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

TEST_F(OleObject, CloseSavesDirtyControlAndNotifiesSinks) {
  OpenContainer();
  EXPECT_EQ(OLE_E_NOCONNECTION, m_object->Unadvise(1));
  CComPtr<IEnumSTATDATA> connections;
  EXPECT_EQ(S_OK, m_object->EnumAdvise(&connections));
  EXPECT_EQ(nullptr, connections.p);
  DWORD cookie = 0;
  ASSERT_EQ(S_OK, m_object->Advise(&m_sink, &cookie));
  EXPECT_EQ(S_OK, m_object->EnumAdvise(&connections));
  EXPECT_NE(nullptr, connections.p);
  connections.Release();
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
    EXPECT_EQ(S_OK, m_object->Close(option));
    if (saves) {
      EXPECT_THAT(m_site.m_log.Take(), ElementsAre("SaveObject"));
      EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnSave", "OnClose"));
    } else {
      EXPECT_THAT(m_site.m_log.Take(), IsEmpty());
      EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnClose"));
    }
  }
  EXPECT_EQ(S_OK, m_object->Unadvise(cookie));
  EXPECT_EQ(0U, m_sink.References());
}

}  // namespace
