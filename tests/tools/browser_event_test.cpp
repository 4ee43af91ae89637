#include "tools/browser_host/browser_event.h"

#include <atlbase.h>
#include <exdispid.h>
#include <gtest/gtest.h>

#include <array>

namespace {

/// The arguments of BeforeNavigate2 as the control sends them.
struct BeforeNavigateArguments {
  CComVariant url{L"about:\u00e4"};
  VARIANT_BOOL cancel = VARIANT_FALSE;
  std::array<VARIANT, 7> arguments{};
  DISPPARAMS params{arguments.data(), nullptr, 7, 0};

  BeforeNavigateArguments() {
    arguments[6].vt = VT_DISPATCH;
    arguments[5].vt = VT_BYREF | VT_VARIANT;
    arguments[5].pvarVal = &url;
    arguments[0].vt = VT_BYREF | VT_BOOL;
    arguments[0].pboolVal = &cancel;
  }
};

}  // namespace

TEST(DecodeEvent, ReadsUrlAndCancelFlag) {
  BeforeNavigateArguments sent;
  auto event = DecodeEvent(DISPID_BEFORENAVIGATE2, sent.params);
  ASSERT_TRUE(event);
  EXPECT_EQ(event->kind, BrowserEventKind::kBeforeNavigate2);
  EXPECT_EQ(EventLine(*event), "event BeforeNavigate2 url=<about:\xc3\xa4> cancel=0");
  sent.cancel = VARIANT_TRUE;
  event = DecodeEvent(DISPID_BEFORENAVIGATE2, sent.params);
  EXPECT_EQ(EventLine(*event), "event BeforeNavigate2 url=<about:\xc3\xa4> cancel=1");
}

TEST(DecodeEvent, ReadsACancelFlagThatASinkHasReplacedByAVariant) {
  BeforeNavigateArguments sent;
  CComVariant flag(true);
  sent.arguments[0].vt = VT_BYREF | VT_VARIANT;
  sent.arguments[0].pvarVal = &flag;
  EXPECT_TRUE(DecodeEvent(DISPID_BEFORENAVIGATE2, sent.params)->cancel);
}

TEST(DecodeEvent, BearsWrongAndMissingArguments) {
  BeforeNavigateArguments sent;
  sent.arguments[6].vt = VT_I4;
  sent.arguments[5].vt = VT_BSTR;
  sent.arguments[5].bstrVal = nullptr;
  sent.arguments[0].vt = VT_BYREF | VT_BOOL;
  sent.arguments[0].pboolVal = nullptr;
  EXPECT_EQ(EventLine(*DecodeEvent(DISPID_BEFORENAVIGATE2, sent.params)),
            "event BeforeNavigate2 url=<> cancel=0");
  DISPPARAMS none{};
  EXPECT_EQ(EventLine(*DecodeEvent(DISPID_NAVIGATEERROR, none)),
            "event NavigateError url=<> status=0");
}

TEST(DecodeEvent, WritesStatusesAsPeopleKnowThem) {
  CComVariant url(L"u");
  std::array<VARIANT, 5> arguments{};
  arguments[3].vt = VT_BYREF | VT_VARIANT;
  arguments[3].pvarVal = &url;
  CComVariant status(404);
  arguments[1].vt = VT_BYREF | VT_VARIANT;
  arguments[1].pvarVal = &status;
  DISPPARAMS params{arguments.data(), nullptr, 5, 0};
  EXPECT_EQ(EventLine(*DecodeEvent(DISPID_NAVIGATEERROR, params)),
            "event NavigateError url=<u> status=404");
  status = static_cast<int>(INET_E_DOWNLOAD_FAILURE);
  EXPECT_EQ(EventLine(*DecodeEvent(DISPID_NAVIGATEERROR, params)),
            "event NavigateError url=<u> status=0x800c0008");
}

TEST(DecodeEvent, LeavesOtherEventsOut) {
  DISPPARAMS none{};
  EXPECT_FALSE(DecodeEvent(DISPID_STATUSTEXTCHANGE, none));
  EXPECT_EQ(EventLine(*DecodeEvent(DISPID_ONQUIT, none)), "event OnQuit");
}
