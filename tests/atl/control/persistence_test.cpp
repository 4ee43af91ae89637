// The property map goes to streams and storages, and comes back.

#include "control_fixture.h"

namespace {

void Rewind(IStream* stream) { EXPECT_EQ(S_OK, stream->Seek({}, STREAM_SEEK_SET, nullptr)); }

class Persistence : public ControlTest {
 protected:
  void SetUp() override {
    ControlTest::SetUp();
    ASSERT_EQ(S_OK, CreateStreamOnHGlobal(nullptr, TRUE, &m_stream));
  }

  void SetExtent(LONG cx, LONG cy) {
    SIZEL size = {cx, cy};
    EXPECT_EQ(S_OK, m_object->SetExtent(DVASPECT_CONTENT, &size));
  }
  void ExpectExtent(LONG cx, LONG cy) {
    EXPECT_EQ(cx, Plate().m_sizeExtent.cx);
    EXPECT_EQ(cy, Plate().m_sizeExtent.cy);
  }

  CComPtr<IStream> m_stream;
};

TEST_F(Persistence, StreamSavesAndLoadsProperties) {
  const auto persist = As<IPersistStreamInit>();
  EXPECT_EQ(S_OK, persist->InitNew());
  EXPECT_EQ(S_FALSE, persist->IsDirty());
  SetExtent(0x01020304, 0x05060708);
  EXPECT_EQ(S_OK, persist->IsDirty());
  EXPECT_EQ(S_OK, persist->Save(m_stream, FALSE));
  EXPECT_EQ(S_OK, persist->IsDirty()) << "a copy";
  Rewind(m_stream);
  EXPECT_EQ(S_OK, persist->Save(m_stream, TRUE));
  EXPECT_EQ(S_FALSE, persist->IsDirty());

  SetExtent(5, 6);
  Rewind(m_stream);
  EXPECT_EQ(S_OK, persist->Load(m_stream));
  EXPECT_EQ(S_FALSE, persist->IsDirty());
  ExpectExtent(0x01020304, 0x05060708);
  ULARGE_INTEGER position = {};
  EXPECT_EQ(S_OK, m_stream->Seek({}, STREAM_SEEK_CUR, &position));
  EXPECT_EQ(12U, position.QuadPart) << "what follows is somebody else's";

  for (ULARGE_INTEGER cut = {{11, 0}}; cut.LowPart != 0; --cut.LowPart) {
    ASSERT_EQ(S_OK, m_stream->SetSize(cut));
    Rewind(m_stream);
    SetExtent(5, 6);
    EXPECT_EQ(E_FAIL, persist->Load(m_stream)) << cut.QuadPart;
    EXPECT_EQ(S_OK, persist->IsDirty());
    ExpectExtent(cut.QuadPart >= 8 ? 0x01020304 : 5, 6);
  }
  const DWORD laterVersion[] = {2, 0, 0};
  Rewind(m_stream);
  ASSERT_EQ(S_OK, m_stream->Write(laterVersion, sizeof(laterVersion), nullptr));
  Rewind(m_stream);
  EXPECT_EQ(E_FAIL, persist->Load(m_stream));
}

TEST_F(Persistence, StorageSavesAndLoadsProperties) {
  CComPtr<ILockBytes> bytes;
  CComPtr<IStorage> storage;
  ASSERT_EQ(S_OK, CreateILockBytesOnHGlobal(nullptr, TRUE, &bytes));
  ASSERT_EQ(S_OK, StgCreateDocfileOnILockBytes(
                      bytes, STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, &storage));
  const auto persist = As<IPersistStorage>();
  EXPECT_EQ(STG_E_FILENOTFOUND, persist->Load(storage)) << "no stream";
  EXPECT_EQ(S_OK, persist->InitNew(storage));
  SetExtent(1111, 2222);
  EXPECT_EQ(S_OK, persist->IsDirty());
  EXPECT_EQ(S_OK, persist->Save(storage, FALSE));
  EXPECT_EQ(S_OK, persist->IsDirty()) << "a copy";
  EXPECT_EQ(S_OK, persist->Save(storage, TRUE));
  EXPECT_EQ(S_FALSE, persist->IsDirty());
  EXPECT_EQ(S_OK, persist->HandsOffStorage());
  EXPECT_EQ(S_OK, persist->SaveCompleted(storage));
  SetExtent(5, 6);
  EXPECT_EQ(S_OK, persist->Load(storage));
  ExpectExtent(1111, 2222);
  EXPECT_EQ(S_FALSE, persist->IsDirty());
}

}  // namespace
