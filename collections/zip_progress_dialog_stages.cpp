// CZipProgressDialog's stages 3 and 4: reading the manifest, and adding the collections that it
// names.
#include "collections/zip_progress_dialog.h"

#include <shlwapi.h>
#include <tinyxml.h>

#include <memory>
#include <optional>
#include <string_view>

#include "base/code_pages.h"
#include "collections/collection_texts.h"
#include "collections/containment.h"
#include "collections/manifest_parser.h"
#include "collections/pause.h"
#include "collections/unzip_library.h"
#include "download/file_operations.h"
#include "download/file_path.h"
#include "download/temp_files.h"

namespace {

constexpr wchar_t kManifestExtension[] = L".xml";
constexpr char kCollectionElement[] = "DownloadedFile";
constexpr char kFileNameAttribute[] = "Filename";
constexpr char kDestinationAttribute[] = "Destination";

/// Returns the attribute's text; nullopt when it is missing.
std::optional<CStringW> ReadAttribute(const TiXmlElement& element, const char* name) {
  const char* const value = element.Attribute(name);
  return value != nullptr ? std::optional(FromSystemCodePage(value)) : std::nullopt;
}

}  // namespace

HRESULT CZipProgressDialog::ReadManifest(TiXmlDocument& document) {
  SetStatus(kUnzippingStage, L"");
  SetProgress(0);
  const auto count = static_cast<unsigned>(m_entries.GetSize());
  bool isRead = false;
  for (unsigned i = 0; i < count && !isRead; ++i) {
    const CStringW name = m_entries[static_cast<int>(i)];
    const bool isManifest = _wcsicmp(PathFindExtensionW(name), kManifestExtension) == 0;
    if (!isManifest) {
      SetStatus(kUnzippingStage, name);
    }
    SetProgress(static_cast<int>((100 * (i + 1)) / (count + 1)));
    Sleep(kReadingPauseMs);
    unsigned long size = 0;
    std::unique_ptr<char[]> data;
    if (isManifest && UnzipEntryToMemory(m_zipPath.GetText(), name, &size, &data)) {
      isRead = true;  // Even if it cannot be parsed.
      ParseManifest(std::string_view(data.get(), size), document);
    }
  }
  SetProgress(100);
  // Quirk 62: a failure on every path, whether a manifest was read or not. The stages after it are
  // complete, and reached by tests only.
  return E_FAIL;
}

HRESULT CZipProgressDialog::AddCollections(const TiXmlDocument& document) {
  SetStatus(kAddingStage, L"");
  SetProgress(0);
  const TiXmlElement* const root = document.RootElement();
  const TiXmlElement* element =
      root != nullptr ? root->FirstChildElement(kCollectionElement) : nullptr;
  for (int i = 0; element != nullptr; ++i) {
    const std::optional<CStringW> destination = ReadAttribute(*element, kDestinationAttribute);
    // Without a destination a collection goes into the content folder itself.
    const CFilePath folder =
        destination ? JoinPath(m_contentFolder, *destination) : m_contentFolder;
    const CStringW name = ReadAttribute(*element, kFileNameAttribute).value_or(CStringW());
    CFilePath added;
    if (SUCCEEDED(AddCollection(name, folder, added))) {
      SetStatus(kAddingStage, added);
    }
    SetProgress(100 * (i + 1));  // Quirk 63: full after the first one.
    element = element->NextSiblingElement(kCollectionElement);
  }
  SetProgress(100);
  // Quirk 64: a success even when every collection failed.
  return S_OK;
}

HRESULT CZipProgressDialog::AddCollection(const CStringW& entryName, const CFilePath& targetFolder,
                                          CFilePath& outputPath) {
  if (entryName.IsEmpty() || targetFolder.IsEmpty()) {
    return E_INVALIDARG;
  }
  if (!IsPlainFileName(entryName) || !IsFolderWithin(targetFolder, m_contentFolder)) {
    return E_FAIL;
  }
  CreateFolderTree(targetFolder);  // writing fails without it
  const CFilePath path =
      MakeUniqueFilePath(targetFolder, RemoveExtension(entryName), PathFindExtensionW(entryName));
  unsigned long size = 0;
  std::unique_ptr<char[]> data;
  if (!UnzipEntryToMemory(m_zipPath.GetText(), entryName, &size, &data) ||
      !WriteWholeFile(path, L"wb", data.get(), size)) {
    return E_FAIL;
  }
  if (!m_addedFiles.Add(path.GetText())) {
    DeleteFileForced(path);  // It would be missing in the list of added files.
    AtlThrow(E_OUTOFMEMORY);
  }
  outputPath = path;
  return S_OK;
}
