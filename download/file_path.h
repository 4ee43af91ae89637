#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// Returns the text in the normal form of a path: with "\" for each "/", without one trailing
/// backslash, and without a prefix in front of a drive letter ("\\?\", "file:///").
CStringW NormalizePath(const CStringW& text);

/// Returns the name without the characters that Windows forbids in file names. The result may be
/// empty.
CStringW RemoveIllegalFileNameChars(const CStringW& name);

/// A path in normal form; empty for no path. Can be copied like a string.
class CFilePath {
 public:
  CFilePath() = default;
  /// Normalises the text. Accepts any text.
  CFilePath(const CStringW& text);  // NOLINT(google-explicit-constructor): a path from any text
  CFilePath(LPCWSTR text);          // NOLINT(google-explicit-constructor): a path from any text

  /// The text in normal form.
  const CStringW& GetText() const { return m_text; }
  /// The same, for system calls. Valid until this object changes.
  // NOLINTNEXTLINE(google-explicit-constructor): an argument of system calls
  operator LPCWSTR() const { return m_text; }
  /// Whether this stands for no path.
  bool IsEmpty() const { return m_text.IsEmpty(); }

  /// The text after the last backslash, or the whole text when there is none.
  CStringW GetFileNamePart() const;
  /// The path before the last backslash, or the whole path when there is none (Quirk 41).
  CFilePath GetParentFolder() const;
  /// Removes the last backslash and the text after it. Returns false when there is no backslash.
  bool RemoveLastComponent();
  /// Appends a backslash and `component`; an empty component changes nothing.
  void AppendComponent(const CStringW& component);
  /// The extension with its dot; empty when the last component has none.
  CStringW GetExtension() const;
  /// Replaces the extension by `extension` (with its dot), or appends it when there is none.
  void ChangeExtension(const CStringW& extension);

 private:
  int FindExtension() const;

  CStringW m_text;
};

/// Returns the file name without its extension, by PathRemoveExtensionW.
CStringW RemoveExtension(const CStringW& name);

/// Returns the path of `name` in `folder`.
CFilePath JoinPath(const CFilePath& folder, const CStringW& name);
