#include "tests/support/launch_recorder.h"

#include <shellapi.h>

#include <utility>

namespace {

std::vector<CLaunch> g_launches;
BOOL g_answer = TRUE;
std::function<void()> g_action;

std::wstring TextOf(LPCWSTR text) { return text != nullptr ? text : L""; }

BOOL WINAPI Record(SHELLEXECUTEINFOW* info) {
  g_launches.push_back({info->cbSize, info->fMask, info->hwnd, TextOf(info->lpVerb),
                        TextOf(info->lpFile), info->lpParameters != nullptr,
                        TextOf(info->lpParameters), info->lpDirectory != nullptr, info->nShow});
  if (g_action) {
    g_action();
  }
  return g_answer;
}

}  // namespace

CLaunchRecorder::CLaunchRecorder() : m_patch("shell32.dll", "ShellExecuteExW", &Record) {
  g_launches.clear();
  g_answer = TRUE;
  g_action = nullptr;
}

const std::vector<CLaunch>& CLaunchRecorder::Launches() const { return g_launches; }

void CLaunchRecorder::SetAnswer(BOOL answer) const { g_answer = answer; }

void CLaunchRecorder::WhileLaunching(std::function<void()> action) const {
  g_action = std::move(action);
}
