#pragma once

#include <windows.h>

/// Switches the calling thread to another locale for its scope. The ATL subset has another, as ATL
/// does not offer other code what it uses for its own part of the registration.
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
