#pragma once

/// The user-interface language. A host product that speaks a right-to-left language installs its
/// own implementation with `SetGUILang` to mirror the question box.
class IGUILang {
 public:
  virtual ~IGUILang() = default;
  virtual bool IsRightToLeft() const = 0;
  virtual void Activate() = 0;
  virtual bool IsAvailable() const = 0;
  virtual int GetVariant() const = 0;
  virtual const char* GetLocaleNameNarrow() const = 0;
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
