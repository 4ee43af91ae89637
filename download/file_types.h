#pragma once

#include <span>
#include <string_view>

/// What Folivo uses a file for.
enum class FileKind { kLesson, kGallery };

/// The list of file types in the save dialog for a download.
enum class SaveFilter { kOfItsKind, kNone };

/// Whether the first bytes of a linked file are checked. Genuine files are downloaded by the
/// plug-in; all others are left to the browser.
enum class LinkRule { kChecked, kNotChecked };

/// Everything that depends on a file's extension.
struct CFileType {
  /// With its dot, in lower case.
  std::wstring_view extension;
  FileKind kind;
  /// Place of the extension, from 1 without a gap, in the save dialog's filter of its kind.
  int filterPlace;
  SaveFilter filter;
  LinkRule links;
  /// The content rule: a genuine file begins with one of these texts. None: no content is genuine.
  std::span<const char* const> heads;
};

/// The table of all file types. A new type is one line of kFileTypes, and its heads.
std::span<const CFileType> GetFileTypes();

/// Returns the type of an extension (with its dot, case ignored); null when there is none.
const CFileType* FindFileType(std::wstring_view extension);
