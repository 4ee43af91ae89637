#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tests/faults/place_hook.h"
#include "tests/support/http_answer.h"
#include "tests/support/scripted_path.h"

/// Where a transfer is when the user cancels: its server holds the answer there, or it comes to a
/// place itself.
struct CMoment {
  const char* name;
  std::string held;
  std::optional<Place> place = std::nullopt;

  HttpAnswer Answer(HttpAnswer body) const { return held.empty() ? body : body.Hold(held); }
};

/// Those that lessons and archives of this size share.
inline std::vector<CMoment> Moments(size_t size) {
  return {{"before the open", "", Place::kBeforeOpen},
          {"during the open", std::string(http_point::kBeforeHeaders)},
          {"in the answer's head", http_point::HeadByte(9)},
          {"in the first read", http_point::BodyByte(0)},
          {"in a read", http_point::BodyByte(size / 2)},
          {"in the last read", http_point::BodyByte(size - 1)},
          {"between chunks", "", Place::kBetweenChunks},
          {"in the last write", "", Place::kLastWrite}};
}

/// How the user cancels. The first act may end the dialog before the others come.
using Act = void (*)(HWND window, HWND button);
struct CWay {
  const char* name;
  std::vector<Act> acts;

  void Cancel(HWND window) const {
    const HWND button = GetDlgItem(window, IDCANCEL);
    for (const Act act : acts) {
      act(window, button);
    }
  }
};
inline void PressButton(HWND, HWND button) { PostMessageW(button, BM_CLICK, 0, 0); }
inline void PressEscape(HWND window, HWND) { PostMessageW(window, WM_KEYDOWN, VK_ESCAPE, 1); }
inline void PressCloseBox(HWND window, HWND) { Close(window); }
inline const CWay kWays[] = {
    {"Cancel", {&PressButton}},
    {"Cancel twice", {&PressButton, &PressButton}},
    {"close box, Escape, Cancel", {&PressCloseBox, &PressEscape, &PressButton}},
};

/// Keeps a transfer at a moment, from the moment on until it is let go.
class CHeldTransfer {
 public:
  /// `written`: bytes that the transfer writes in all.
  CHeldTransfer(const CMoment& moment, const ScriptedPath& path, size_t written)
      : m_moment(moment), m_path(path) {
    if (moment.place) {
      m_hook.emplace(*moment.place, written, [this] { m_thread.Hold(); });
    }
  }

  void WaitUntilHeld() const {
    if (m_moment.place) {
      m_thread.WaitUntilHeld();
    } else {
      EXPECT_TRUE(m_path.WaitForHeld(m_moment.held));
    }
  }
  void LetGo() const {
    m_thread.LetGo();
    m_path.AllowAll();
  }

 private:
  const CMoment& m_moment;
  const ScriptedPath& m_path;
  const CHeldThread m_thread;
  std::optional<CPlaceHook> m_hook;
};
