#include "download/temp_file_owner.h"

#include <gtest/gtest.h>

#include "tests/support/temp_sandbox.h"

namespace {

TEST(TempFileOwner, DiscardDeletesWhatIsNeitherSettledNorLeftToOthers) {
  const CTempSandbox sandbox;
  const struct {
    void (*become)(CTempFileOwner& owner);
    bool isKept;
  } cases[] = {
      {[](CTempFileOwner&) {}, false},
      {[](CTempFileOwner& owner) { owner.LeaveToWorker(); }, true},
      {[](CTempFileOwner& owner) { owner.LeaveToBrowser(); }, true},
      {[](CTempFileOwner& owner) { owner.Settle(); }, true},
  };
  for (const auto& c : cases) {
    const CFilePath path(sandbox.Write(L"a.qdk", "bytes").c_str());
    CTempFileOwner owner(path);
    c.become(owner);
    owner.DiscardUnlessSettled();
    EXPECT_EQ(PathExists(path), c.isKept) << &c - cases;
  }
}

}  // namespace
