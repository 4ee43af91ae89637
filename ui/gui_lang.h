#pragma once

/// The user-interface language. A host product that speaks a right-to-left language installs its
/// own implementation with `SetGUILang` to mirror the question box.
class IGUILang {
 public:
  virtual ~IGUILang() = default;
  /// Whether windows are mirrored for this language.
  virtual bool IsRightToLeft() const = 0;
  /// Called by a host product when the language becomes current; this module never does.
  virtual void Activate() = 0;
  /// Whether the language's texts are there; not asked by this module.
  virtual bool IsAvailable() const = 0;
  /// Number of the language's variant, 0 for the plain one; not asked by this module.
  virtual int GetVariant() const = 0;
  /// Name of the locale, such as "en_CA"; owned by the language.
  virtual const char* GetLocaleNameNarrow() const = 0;
  /// The same as a wide text.
  virtual const wchar_t* GetLocaleNameWide() const = 0;
};

/// The language the module speaks unless told otherwise: Canadian English, left to right.
class CGenericGUILang : public IGUILang {
 public:
  bool IsRightToLeft() const override { return false; }
  void Activate() override {}
  bool IsAvailable() const override { return true; }
  int GetVariant() const override { return 0; }
  const char* GetLocaleNameNarrow() const override { return "en_CA"; }
  const wchar_t* GetLocaleNameWide() const override { return L"en_CA"; }
};

/// The current language; the generic one when none was set. User-interface thread only.
IGUILang& GetGUILang();

/// Makes `language` current; null returns to the generic one. The caller keeps ownership and keeps
/// the object alive while it is current. User-interface thread only.
void SetGUILang(IGUILang* language);
