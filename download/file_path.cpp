#include "download/file_path.h"

#include <shlwapi.h>

#include <string_view>

namespace {

constexpr wchar_t kSeparator = L'\\';
constexpr std::wstring_view kIllegalNameChars = L"<>:\"/\\|?*";

// A colon before this index belongs to a plain drive path ("C:\"), which has no prefix.
constexpr int kFirstPrefixedColon = 4;

}  // namespace

CStringW NormalizePath(const CStringW& text) {
  CStringW path = text;
  // Quirk 39: before slashes are replaced, so the prefix of "file:///C:/x" stays.
  const int colon = path.ReverseFind(L':');
  if (colon >= kFirstPrefixedColon && colon + 1 < path.GetLength() &&
      path[colon + 1] == kSeparator) {
    path = path.Mid(colon - 1);
  }
  path.Replace(L'/', kSeparator);
  // Quirk 40: one backslash only, and that of a drive's root too.
  if (!path.IsEmpty() && path[path.GetLength() - 1] == kSeparator) {
    path = path.Left(path.GetLength() - 1);
  }
  return path;
}

CStringW RemoveIllegalFileNameChars(const CStringW& name) {
  CStringW legal;
  for (int i = 0; i < name.GetLength(); ++i) {
    if (kIllegalNameChars.find(name[i]) == std::wstring_view::npos) {
      legal.AppendChar(name[i]);
    }
  }
  return legal;
}

CFilePath::CFilePath(const CStringW& text) : m_text(NormalizePath(text)) {}
CFilePath::CFilePath(LPCWSTR text) : m_text(NormalizePath(CStringW(text))) {}

CStringW CFilePath::GetFileNamePart() const {
  return m_text.Mid(m_text.ReverseFind(kSeparator) + 1);
}

CFilePath CFilePath::GetParentFolder() const {
  CFilePath parent = *this;
  parent.RemoveLastComponent();  // Quirk 41: without a backslash, all of the text is the parent.
  return CFilePath(parent.m_text);
}

bool CFilePath::RemoveLastComponent() {
  const int separator = m_text.ReverseFind(kSeparator);
  if (separator < 0) {
    return false;
  }
  m_text = m_text.Left(separator);
  return true;
}

void CFilePath::AppendComponent(const CStringW& component) {
  if (!component.IsEmpty()) {
    m_text = NormalizePath(m_text + kSeparator + component);
  }
}

int CFilePath::FindExtension() const {
  const int dot = m_text.ReverseFind(L'.');
  // A dot in a folder's name does not begin the file's extension.
  return dot >= m_text.ReverseFind(kSeparator) ? dot : -1;
}

CStringW CFilePath::GetExtension() const {
  const int dot = FindExtension();
  return dot < 0 ? CStringW() : m_text.Mid(dot);
}

void CFilePath::ChangeExtension(const CStringW& extension) {
  const int dot = FindExtension();
  m_text = (dot < 0 ? m_text : m_text.Left(dot)) + extension;
}

CStringW RemoveExtension(const CStringW& name) {
  CStringW base = name;
  PathRemoveExtensionW(base.GetBuffer());
  base.ReleaseBuffer();
  return base;
}

CFilePath JoinPath(const CFilePath& folder, const CStringW& name) {
  return CFilePath(folder.GetText() + kSeparator + name);
}
