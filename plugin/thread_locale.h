#pragma once

#include <windows.h>

/// Switches the calling thread to another locale until scope end.
class CThreadLocaleScope {
 public:
  explicit CThreadLocaleScope(LCID locale) : m_previous(GetThreadLocale()) {
    SetThreadLocale(locale);
  }
  ~CThreadLocaleScope() { SetThreadLocale(m_previous); }
  CThreadLocaleScope(const CThreadLocaleScope&) = delete;
  CThreadLocaleScope& operator=(const CThreadLocaleScope&) = delete;

 private:
  const LCID m_previous;
};
