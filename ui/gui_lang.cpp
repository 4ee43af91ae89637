#include "ui/gui_lang.h"

namespace {

IGUILang* g_currentLanguage = nullptr;

}  // namespace

IGUILang& GetGUILang() {
  static CGenericGUILang genericLanguage;
  if (g_currentLanguage == nullptr) {
    g_currentLanguage = &genericLanguage;
  }
  return *g_currentLanguage;
}

void SetGUILang(IGUILang* language) { g_currentLanguage = language; }
