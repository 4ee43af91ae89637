#include "tools/dialog_driver/window_actions.h"

#include "tools/dialog_driver/polling.h"
#include "tools/dialog_driver/window_query.h"

namespace {

HWND FindControl(HWND dialog, int id) {
  if (const HWND direct = GetDlgItem(dialog, id)) {
    return direct;
  }
  for (const WindowFacts& child : ChildWindows(dialog)) {
    if (child.id == id) {
      return child.window;
    }
  }
  return nullptr;
}

/// Waits for a control that a person could use.
ActionResult WaitForControl(HWND dialog, int id, DWORD timeout, HWND& control) {
  ActionResult result = ActionResult::kNoWindow;
  PollUntil(timeout, [&] {
    if (!IsWindow(dialog)) {
      result = ActionResult::kNoWindow;
      return true;
    }
    control = FindControl(dialog, id);
    if (!control) {
      result = ActionResult::kNoControl;
      return false;
    }
    const bool usable =
        IsWindowVisible(control) && IsWindowEnabled(control) && IsWindowEnabled(dialog);
    result = usable ? ActionResult::kDone : ActionResult::kNotUsable;
    return usable;
  });
  return result;
}

ActionResult Posted(BOOL posted) { return posted ? ActionResult::kDone : ActionResult::kNoAnswer; }

ActionResult ClickWithMouse(HWND control) {
  RECT client{};
  GetClientRect(control, &client);
  const LPARAM middle = MAKELPARAM(client.right / 2, client.bottom / 2);
  return Posted(PostMessageW(control, WM_LBUTTONDOWN, MK_LBUTTON, middle) &&
                PostMessageW(control, WM_LBUTTONUP, 0, middle));
}

}  // namespace

const wchar_t* Describe(ActionResult result) {
  switch (result) {
    case ActionResult::kDone:
      return L"done";
    case ActionResult::kNoWindow:
      return L"there is no such window";
    case ActionResult::kNoControl:
      return L"the window has no control of this id";
    case ActionResult::kNotUsable:
      return L"the control is hidden or disabled";
    case ActionResult::kNoAnswer:
      return L"the window does not answer";
    case ActionResult::kNotTaken:
      return L"the control did not take the text";
    case ActionResult::kStillThere:
      return L"the window is still there";
  }
  return L"";
}

ActionResult Click(HWND dialog, int id, DWORD timeout) {
  HWND control = nullptr;
  const ActionResult found = WaitForControl(dialog, id, timeout, control);
  if (found != ActionResult::kDone) {
    return found;
  }
  if (lstrcmpiW(WindowClass(control).c_str(), L"Button") == 0) {
    return Posted(PostMessageW(control, BM_CLICK, 0, 0));
  }
  return ClickWithMouse(control);
}

ActionResult SetControlText(HWND dialog, int id, const std::wstring& text, DWORD timeout) {
  HWND control = nullptr;
  const ActionResult found = WaitForControl(dialog, id, timeout, control);
  if (found != ActionResult::kDone) {
    return found;
  }
  DWORD_PTR ignored = 0;
  if (!SendMessageTimeoutW(control, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()),
                           SMTO_ABORTIFHUNG, kAnswerTimeout, &ignored)) {
    return ActionResult::kNoAnswer;
  }
  return WindowText(control) == text ? ActionResult::kDone : ActionResult::kNotTaken;
}

ActionResult PressKey(HWND dialog, int id, WORD virtualKey) {
  if (!IsWindow(dialog)) {
    return ActionResult::kNoWindow;
  }
  const HWND target = id == 0 ? dialog : FindControl(dialog, id);
  if (!target) {
    return ActionResult::kNoControl;
  }
  const LPARAM scan = static_cast<LPARAM>(MapVirtualKeyW(virtualKey, MAPVK_VK_TO_VSC)) << 16;
  constexpr LPARAM kFirst = 1;
  constexpr LPARAM kReleased = 3LL << 30;
  return Posted(PostMessageW(target, WM_KEYDOWN, virtualKey, scan | kFirst) &&
                PostMessageW(target, WM_KEYUP, virtualKey, scan | kFirst | kReleased));
}

ActionResult SendCommand(HWND dialog, int id) {
  if (!IsWindow(dialog)) {
    return ActionResult::kNoWindow;
  }
  const LPARAM control = reinterpret_cast<LPARAM>(FindControl(dialog, id));
  return Posted(PostMessageW(dialog, WM_COMMAND, MAKEWPARAM(id, BN_CLICKED), control));
}

ActionResult RequestClose(HWND window) {
  if (!IsWindow(window)) {
    return ActionResult::kNoWindow;
  }
  return Posted(PostMessageW(window, WM_CLOSE, 0, 0));
}

ActionResult WaitGone(HWND window, DWORD timeout) {
  return PollUntil(timeout, [window] { return !IsWindow(window); }) ? ActionResult::kDone
                                                                    : ActionResult::kStillThere;
}
