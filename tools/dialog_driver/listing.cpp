#include "tools/dialog_driver/listing.h"

#include <windows.h>

#include <commctrl.h>

#include <cstdio>

#include "tools/support/utf8.h"

namespace {

std::string Field(const std::wstring& text) {
  std::string field = ToUtf8(text);
  for (char& c : field) {
    if (c == '\t') {
      c = ' ';
    }
  }
  return field;
}

std::string RectText(const RECT& rect) {
  return std::to_string(rect.left) + ',' + std::to_string(rect.top) + ',' +
         std::to_string(rect.right) + ',' + std::to_string(rect.bottom);
}

std::string ControlState(const WindowFacts& facts) {
  DWORD_PTR value = 0;
  const auto ask = [&](UINT message) {
    return SendMessageTimeoutW(facts.window, message, 0, 0, SMTO_ABORTIFHUNG, kAnswerTimeout,
                               &value) != 0;
  };
  if (lstrcmpiW(facts.className.c_str(), PROGRESS_CLASSW) == 0 && ask(PBM_GETPOS)) {
    return "\tpos=" + std::to_string(value);
  }
  if (lstrcmpiW(facts.className.c_str(), L"Button") == 0 && ask(BM_GETCHECK)) {
    return "\tchecked=" + std::to_string(value);
  }
  return {};
}

}  // namespace

std::string TopLevelLine(const WindowFacts& facts) {
  char handle[24];
  std::snprintf(handle, sizeof(handle), "0x%08llx",
                static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(facts.window)));
  return std::string(handle) + '\t' + std::to_string(facts.processId) + '\t' +
         Field(facts.className) + '\t' + Field(facts.text) + '\t' + RectText(facts.rect);
}

std::string ControlLine(const WindowFacts& facts) {
  return std::to_string(facts.id) + '\t' + Field(facts.className) + '\t' + Field(facts.text) +
         '\t' + (facts.visible ? "visible" : "hidden") + '\t' +
         (facts.enabled ? "enabled" : "disabled") + '\t' + RectText(facts.rect) +
         ControlState(facts);
}
