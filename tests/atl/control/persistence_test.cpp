// The property map goes to streams and storages, and comes back.

#include <cstring>
#include <initializer_list>

#include "control_fixture.h"

namespace {

using testing::ElementsAre;

void Rewind(IStream* stream) { EXPECT_EQ(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr)); }

ULONGLONG SizeOf(IStream* stream) {
  STATSTG stat = {};
  EXPECT_EQ(S_OK, stream->Stat(&stat, STATFLAG_NONAME));
  return stat.cbSize.QuadPart;
}

class Persistence : public EveryControlTest {
 protected:
  void SetUp() override {
    EveryControlTest::SetUp();
    ASSERT_EQ(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &m_stream));
    CComPtr<ILockBytes> bytes;
    ASSERT_EQ(S_OK, CreateILockBytesOnHGlobal(nullptr, TRUE, &bytes));
    ASSERT_EQ(S_OK, StgCreateDocfileOnILockBytes(
                        bytes, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &m_storage));
  }

  void SetExtent(LONG cx, LONG cy) {
    SIZEL size = {cx, cy};
    EXPECT_EQ(S_OK, As<IOleObject>()->SetExtent(DVASPECT_CONTENT, &size));
  }
  void ExpectExtent(LONG cx, LONG cy) {
    SIZEL size = {};
    EXPECT_EQ(S_OK, As<IOleObject>()->GetExtent(DVASPECT_CONTENT, &size));
    EXPECT_EQ(cx, size.cx);
    EXPECT_EQ(cy, size.cy);
  }
  HRESULT IsDirty() { return As<IPersistStreamInit>()->IsDirty(); }

  CComPtr<IStream> m_stream;
  CComPtr<IStorage> m_storage;
};
INSTANTIATE_FOR_EVERY_BIRTH(Persistence);

TEST_P(Persistence, StreamSavesAndLoadsProperties) {
  const auto persist = As<IPersistStreamInit>();
  EXPECT_EQ(S_OK, persist->InitNew());
  EXPECT_EQ(S_FALSE, IsDirty());
  SetExtent(1111, 2222);
  EXPECT_EQ(S_OK, IsDirty());
  EXPECT_EQ(S_OK, persist->Save(m_stream, FALSE));
  EXPECT_EQ(S_OK, IsDirty()) << "a copy";
  Rewind(m_stream);
  EXPECT_EQ(S_OK, persist->Save(m_stream, TRUE));
  EXPECT_EQ(S_FALSE, IsDirty());
  EXPECT_EQ(12U, SizeOf(m_stream)) << "a version and two numbers";

  SetExtent(5, 6);
  Rewind(m_stream);
  EXPECT_EQ(S_OK, persist->Load(m_stream));
  EXPECT_EQ(S_FALSE, IsDirty());
  ExpectExtent(1111, 2222);
  ULARGE_INTEGER position = {};
  EXPECT_EQ(S_OK, m_stream->Seek({}, STREAM_SEEK_CUR, &position));
  EXPECT_EQ(12U, position.QuadPart) << "what follows is somebody else's";
}

TEST_P(Persistence, ShortStreamReturnsEFailAndKeepsUnreadProperties) {
  const auto persist = As<IPersistStreamInit>();
  SetExtent(0x01020304, 0x05060708);
  ASSERT_EQ(S_OK, persist->Save(m_stream, TRUE));
  for (ULONGLONG size = 0; size < 12; ++size) {
    ULARGE_INTEGER cut = {};
    cut.QuadPart = 11 - size;
    ASSERT_EQ(S_OK, m_stream->SetSize(cut));
    Rewind(m_stream);
    SetExtent(5, 6);
    EXPECT_EQ(E_FAIL, persist->Load(m_stream)) << cut.QuadPart;
    EXPECT_EQ(S_OK, IsDirty());
    ExpectExtent(cut.QuadPart >= 8 ? 0x01020304 : 5, 6);
  }
}

TEST_P(Persistence, LaterVersionReturnsEFail) {
  const auto persist = As<IPersistStreamInit>();
  ASSERT_EQ(S_OK, persist->Save(m_stream, TRUE));
  Rewind(m_stream);
  const DWORD version = 2;
  ASSERT_EQ(S_OK, m_stream->Write(&version, sizeof(version), nullptr));
  Rewind(m_stream);
  EXPECT_EQ(E_FAIL, persist->Load(m_stream));
}

TEST_P(Persistence, StorageSavesAndLoadsProperties) {
  const auto persist = As<IPersistStorage>();
  EXPECT_EQ(S_OK, persist->InitNew(m_storage));
  SetExtent(1111, 2222);
  EXPECT_EQ(S_OK, persist->IsDirty());
  EXPECT_EQ(S_OK, persist->Save(m_storage, FALSE));
  EXPECT_EQ(S_OK, persist->IsDirty()) << "a copy";
  EXPECT_EQ(S_OK, persist->SaveCompleted(nullptr));
  EXPECT_EQ(S_OK, persist->Save(m_storage, TRUE));
  EXPECT_EQ(S_FALSE, persist->IsDirty());
  EXPECT_EQ(S_OK, persist->HandsOffStorage());
  EXPECT_EQ(S_OK, persist->SaveCompleted(m_storage));

  CComPtr<IStream> contents;
  ASSERT_EQ(S_OK, m_storage->OpenStream(L"Contents", nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, 0,
                                        &contents));
  EXPECT_EQ(12U, SizeOf(contents));
  contents.Release();

  SetExtent(5, 6);
  EXPECT_EQ(S_OK, persist->Load(m_storage));
  ExpectExtent(1111, 2222);
  EXPECT_EQ(S_FALSE, persist->IsDirty());
  m_storage.Release();
}

TEST_P(Persistence, StorageWithoutStreamReturnsFileNotFound) {
  EXPECT_EQ(STG_E_FILENOTFOUND, As<IPersistStorage>()->Load(m_storage));
  ExpectExtent(5080, 5080);
}

TEST_P(Persistence, GetClassIdReturnsTheClass) {
  CLSID clsid = {};
  EXPECT_EQ(S_OK, As<IPersistStreamInit>()->GetClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
  clsid = {};
  EXPECT_EQ(S_OK, As<IPersistStorage>()->GetClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
  clsid = {};
  EXPECT_EQ(S_OK, As<IPersist>()->GetClassID(&clsid));
  EXPECT_TRUE(clsid == CLSID_Plate);
}

TEST_P(Persistence, NullStreamOrStorageReturnsEPointer) {
  EXPECT_EQ(E_POINTER, As<IPersistStreamInit>()->Load(nullptr));
  EXPECT_EQ(E_POINTER, As<IPersistStreamInit>()->Save(nullptr, TRUE));
  EXPECT_EQ(E_POINTER, As<IPersistStorage>()->Load(nullptr));
  EXPECT_EQ(E_POINTER, As<IPersistStorage>()->Save(nullptr, TRUE));
  EXPECT_EQ(E_POINTER, As<IPersistStorage>()->InitNew(nullptr));
}

TEST_P(Persistence, CloseSavesDirtyControl) {
  OpenContainer();
  DWORD cookie = 0;
  ASSERT_EQ(S_OK, As<IOleObject>()->Advise(&m_sink, &cookie));
  EXPECT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_SAVEIFDIRTY));
  EXPECT_THAT(m_site.m_log.Take(), testing::IsEmpty()) << "not dirty";
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnClose"));
  SetExtent(1, 2);
  EXPECT_EQ(S_OK, As<IOleObject>()->Close(OLECLOSE_NOSAVE));
  EXPECT_THAT(m_site.m_log.Take(), testing::IsEmpty());
  EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnClose"));
  for (const DWORD option : {OLECLOSE_SAVEIFDIRTY, OLECLOSE_PROMPTSAVE}) {
    EXPECT_EQ(S_OK, As<IOleObject>()->Close(option));
    EXPECT_THAT(m_site.m_log.Take(), ElementsAre("SaveObject"));
    EXPECT_THAT(m_sink.m_log.Take(), ElementsAre("OnSave", "OnClose"));
  }
}

TEST_P(Persistence, PropertyMapIsInReadOnlyMemory) {
  MEMORY_BASIC_INFORMATION memory = {};
  ASSERT_NE(0U, VirtualQuery(CPlate::GetPropertyMap(), &memory, sizeof(memory)));
  EXPECT_EQ(static_cast<DWORD>(PAGE_READONLY), memory.Protect);
}

}  // namespace
