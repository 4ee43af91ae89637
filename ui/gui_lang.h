#pragma once

/// The user-interface language. An implementation for a right-to-left language, installed with
/// `SetGUILang`, mirrors the question box; this module installs none.
///
/// The order of the functions is fixed. This module calls `IsRightToLeft` only. The others belong
/// to the interface without a use here; CGenericGUILang has their default results.
class IGUILang {
 public:
  virtual ~IGUILang() = default;
  /// Whether the question box is mirrored.
  virtual bool IsRightToLeft() const = 0;
  virtual void Activate() = 0;
  virtual bool IsAvailable() const = 0;
  virtual int GetVariant() const = 0;
  /// Name of the locale, such as "en_CA". The language owns the string.
  virtual const char* GetLocaleNameNarrow() const = 0;
  /// The same as a wide string.
  virtual const wchar_t* GetLocaleNameWide() const = 0;
};

/// The default language: left to right, locale "en_CA".
class CGenericGUILang : public IGUILang {
 public:
  bool IsRightToLeft() const override { return false; }
  void Activate() override {}
  bool IsAvailable() const override { return true; }
  int GetVariant() const override { return 0; }
  const char* GetLocaleNameNarrow() const override { return "en_CA"; }
  const wchar_t* GetLocaleNameWide() const override { return L"en_CA"; }
};

/// Returns the current language; a CGenericGUILang when none was set. User-interface thread only.
IGUILang& GetGUILang();

/// Part of the fixed interface; this module does not call it. Makes `language` the current one;
/// null for the default. The caller keeps ownership, and the object must exist as long as it is the
/// current one. User-interface thread only.
void SetGUILang(IGUILang* language);
