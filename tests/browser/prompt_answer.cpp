#include "tests/browser/prompt_answer.h"

#include <utility>

namespace {

int g_answer;
int g_count;
HWND g_owner;
std::function<void()> g_action;

INT_PTR WINAPI Answer(HINSTANCE, LPCDLGTEMPLATEW, HWND owner, DLGPROC, LPARAM) {
  ++g_count;
  g_owner = owner;
  if (g_action) {
    g_action();
  }
  return g_answer;
}

}  // namespace

CPromptAnswer::CPromptAnswer(int answer)
    : m_patch("user32.dll", "DialogBoxIndirectParamW", &Answer) {
  g_answer = answer;
  g_count = 0;
  g_owner = nullptr;
  g_action = nullptr;
}

int CPromptAnswer::Count() const { return g_count; }

HWND CPromptAnswer::Owner() const { return g_owner; }

void CPromptAnswer::WhileOpen(std::function<void()> action) const { g_action = std::move(action); }
