#pragma once

#include <atlbase.h>
#include <atlstr.h>

/// The text in the normal form of a path: "/" becomes "\", one trailing backslash goes, and what
/// stands in front of a drive letter ("\\?\", "file:///") is dropped.
CStringW NormalizePath(const CStringW& text);

/// The name without the characters that Windows forbids in file names; may come out empty.
CStringW RemoveIllegalFileNameChars(const CStringW& name);

/// A path held in normal form. Empty stands for no path. A value: copying shares the text.
class CFilePath {
 public:
  CFilePath() = default;
  /// Normalises the text; any text is a path.
  CFilePath(const CStringW& text);  // NOLINT(google-explicit-constructor)
  CFilePath(LPCWSTR text);          // NOLINT(google-explicit-constructor)

  /// The text in normal form.
  const CStringW& GetText() const { return m_text; }
  /// The same for system calls; valid as long as this object is unchanged.
  operator LPCWSTR() const { return m_text; }  // NOLINT(google-explicit-constructor)
  /// Whether this stands for no path.
  bool IsEmpty() const { return m_text.IsEmpty(); }

  /// The text after the last backslash; all of it when there is none.
  CStringW GetFileNamePart() const;
  /// The path before the last backslash; all of it when there is none (Quirk 41).
  CFilePath GetParentFolder() const;
  /// Cuts the last backslash and what follows. False, and no change, when there is none.
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

/// The file name without its extension, as the system's path functions see it.
CStringW RemoveExtension(const CStringW& name);

/// `folder`, a backslash, and `name`.
CFilePath JoinPath(const CStringW& folder, const CStringW& name);
