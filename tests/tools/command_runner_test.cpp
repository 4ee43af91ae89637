#include "tools/browser_host/command_runner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::_;
using testing::NiceMock;
using testing::Return;

class CMockTarget : public ICommandTarget {
 public:
  virtual ~CMockTarget() = default;
  MOCK_METHOD(HRESULT, Navigate, (const std::wstring&), (override));
  MOCK_METHOD(HRESULT, GoBack, (), (override));
  MOCK_METHOD(HRESULT, Stop, (), (override));
  MOCK_METHOD(bool, NavigationUnderWay, (), (const, override));
  MOCK_METHOD(bool, Idle, (), (const, override));
  MOCK_METHOD(void, WakeAfter, (DWORD), (override));
  void CloseWindow() override { m_closed = true; }
  bool Closed() const override { return m_closed; }

 private:
  bool m_closed = false;
};

class CommandRunner : public testing::Test {
 protected:
  CCommandRunner MakeRunner(CCommandRunner::Mode mode, DWORD timeout) {
    return {mode, timeout, m_queue, m_target, m_output};
  }
  void Push(CommandKind kind, DWORD milliseconds = 0) {
    m_queue->Push(Command{kind, L"text", milliseconds});
  }
  bool QueueIsEmpty() {
    CCommandQueue::Entry entry;
    return !m_queue->Pop(entry);
  }

  const std::shared_ptr<CCommandQueue> m_queue = std::make_shared<CCommandQueue>();
  NiceMock<CMockTarget> m_target;
  CLineOutput m_output;
};

}  // namespace

TEST_F(CommandRunner, WaitsForTheNavigationBeforeTheNextCommand) {
  auto runner = MakeRunner(CCommandRunner::Mode::kBatch, 60000);
  bool underWay = true;
  ON_CALL(m_target, NavigationUnderWay).WillByDefault([&] { return underWay; });
  EXPECT_CALL(m_target, Navigate(std::wstring(L"text"))).WillOnce(Return(S_OK));
  EXPECT_CALL(m_target, GoBack).Times(0);
  Push(CommandKind::kNavigate);
  Push(CommandKind::kWaitNavigation);
  Push(CommandKind::kBack);
  runner.Step();
  runner.Step();
  testing::Mock::VerifyAndClearExpectations(&m_target);

  underWay = false;
  EXPECT_CALL(m_target, GoBack).WillOnce(Return(S_OK));
  runner.Step();
  EXPECT_TRUE(runner.Succeeded());
}

TEST_F(CommandRunner, AsksToBeWokenForTheRestOfAWait) {
  auto runner = MakeRunner(CCommandRunner::Mode::kBatch, 60000);
  EXPECT_CALL(m_target, WakeAfter(testing::AllOf(testing::Gt(0u), testing::Le(40000u))))
      .Times(testing::AtLeast(1));
  Push(CommandKind::kWait, 40000);
  Push(CommandKind::kQuit);
  runner.Step();
  EXPECT_FALSE(m_target.Closed());
}

TEST_F(CommandRunner, ClosesTheWindowAtABatchsFirstFailure) {
  auto runner = MakeRunner(CCommandRunner::Mode::kBatch, 0);
  EXPECT_CALL(m_target, GoBack).WillOnce(Return(E_FAIL));
  EXPECT_CALL(m_target, Stop).Times(0);
  Push(CommandKind::kBack);
  Push(CommandKind::kStop);
  runner.Step();
  EXPECT_TRUE(m_target.Closed());
  runner.Finish();
  EXPECT_FALSE(runner.Succeeded());
}

TEST_F(CommandRunner, GoesOnAfterAFailureInADialog) {
  auto runner = MakeRunner(CCommandRunner::Mode::kDialog, 0);
  EXPECT_CALL(m_target, GoBack).WillOnce(Return(E_FAIL));
  EXPECT_CALL(m_target, Stop).WillOnce(Return(S_OK));
  Push(CommandKind::kBack);
  m_queue->Push(std::nullopt);
  Push(CommandKind::kStop);
  runner.Step();
  EXPECT_FALSE(m_target.Closed());
}

TEST_F(CommandRunner, FailsAWaitThatIsNotOverInTime) {
  auto runner = MakeRunner(CCommandRunner::Mode::kBatch, 0);
  EXPECT_CALL(m_target, Idle).WillRepeatedly(Return(false));
  Push(CommandKind::kWaitIdle);
  runner.Step();
  EXPECT_FALSE(runner.Succeeded());
  EXPECT_TRUE(m_target.Closed());
}

TEST_F(CommandRunner, StartsNothingInAClosedWindow) {
  auto runner = MakeRunner(CCommandRunner::Mode::kDialog, 0);
  EXPECT_CALL(m_target, Navigate(_)).Times(0);
  Push(CommandKind::kQuit);
  Push(CommandKind::kNavigate);
  runner.Step();
  EXPECT_TRUE(runner.Succeeded());
  runner.Finish();
  EXPECT_FALSE(runner.Succeeded());
  EXPECT_TRUE(QueueIsEmpty());
}
