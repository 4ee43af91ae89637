// Registration of the helper-object double.
#pragma once

/// Registers helper_double.dll as a class and as a browser helper object, until scope end.
class CHelperRegistration {
 public:
  CHelperRegistration();
  ~CHelperRegistration();
  CHelperRegistration(const CHelperRegistration&) = delete;
  CHelperRegistration& operator=(const CHelperRegistration&) = delete;
};
