#include "tools/browser_host/navigation_state.h"

#include <gtest/gtest.h>

namespace {

BrowserEvent Event(BrowserEventKind kind, bool cancel = false) {
  BrowserEvent event;
  event.kind = kind;
  event.cancel = cancel;
  return event;
}

}  // namespace

TEST(NavigationState, IsOverWhenASinkCancels) {
  CNavigationState state;
  EXPECT_FALSE(state.UnderWay());
  state.Started();
  EXPECT_TRUE(state.UnderWay());
  state.Seen(Event(BrowserEventKind::kBeforeNavigate2, true));
  EXPECT_FALSE(state.UnderWay());
}

TEST(NavigationState, IsOverWhenTheDocumentIsComplete) {
  CNavigationState state;
  state.Seen(Event(BrowserEventKind::kBeforeNavigate2));
  state.Seen(Event(BrowserEventKind::kDownloadBegin));
  state.Seen(Event(BrowserEventKind::kNavigateComplete2));
  state.Seen(Event(BrowserEventKind::kDownloadComplete));
  EXPECT_TRUE(state.UnderWay());
  state.Seen(Event(BrowserEventKind::kDocumentComplete));
  EXPECT_FALSE(state.UnderWay());
}

TEST(NavigationState, IsOverWhenItHasFailedAndTheDownloadHasEnded) {
  for (const bool errorFirst : {true, false}) {
    CNavigationState state;
    state.Seen(Event(BrowserEventKind::kBeforeNavigate2));
    state.Seen(
        Event(errorFirst ? BrowserEventKind::kNavigateError : BrowserEventKind::kDownloadComplete));
    EXPECT_TRUE(state.UnderWay());
    state.Seen(
        Event(errorFirst ? BrowserEventKind::kDownloadComplete : BrowserEventKind::kNavigateError));
    EXPECT_FALSE(state.UnderWay());
  }
}

TEST(NavigationState, ForgetsTheFailureBeforeTheLast) {
  CNavigationState state;
  state.Seen(Event(BrowserEventKind::kBeforeNavigate2));
  state.Seen(Event(BrowserEventKind::kNavigateError));
  state.Seen(Event(BrowserEventKind::kBeforeNavigate2));
  state.Seen(Event(BrowserEventKind::kDownloadComplete));
  EXPECT_TRUE(state.UnderWay());
}

TEST(NavigationState, IsOverWhenTheControlRefuses) {
  CNavigationState state;
  state.Started();
  state.Refused();
  EXPECT_FALSE(state.UnderWay());
}
