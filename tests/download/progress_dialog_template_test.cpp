// The download dialog's template, read as the system reads it: what the dialog changes when it
// opens would hide a wrong one.

#include <gtest/gtest.h>
#include <windows.h>

#include <array>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "resources/resource.h"

namespace {

using Bounds = std::array<short, 4>;  // left, top, width and height in dialog units

struct CItem {
  DWORD id;
  std::wstring className;
  std::wstring text;
  DWORD style;
  DWORD extendedStyle;
  Bounds bounds;

  bool operator==(const CItem&) const = default;
};

void PrintTo(const CItem& item, std::ostream* stream) {
  *stream << item.id << " " << testing::PrintToString(item.className) << " "
          << testing::PrintToString(item.text) << std::hex << ", style " << item.style << std::dec
          << " at " << testing::PrintToString(item.bounds);
}

/// Reads an extended template from its beginning to its end.
class CTemplateReader {
 public:
  explicit CTemplateReader(UINT id) {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(id), RT_DIALOG);
    EXPECT_NE(resource, nullptr);
    m_data = static_cast<const BYTE*>(LockResource(LoadResource(nullptr, resource)));
    m_size = SizeofResource(nullptr, resource);
  }

  template <typename T>
  T Read() {
    T value = {};
    EXPECT_LE(m_at + sizeof(T), m_size);
    std::memcpy(&value, m_data + m_at, sizeof(T));
    m_at += sizeof(T);
    return value;
  }
  Bounds ReadBounds() { return {Read<short>(), Read<short>(), Read<short>(), Read<short>()}; }
  std::wstring ReadText() {
    std::wstring text;
    while (const auto c = Read<wchar_t>()) {
      text += c;
    }
    return text;
  }
  /// A text, or the number that stands for one.
  std::wstring ReadName() {
    if (Read<WORD>() == 0xFFFF) {
      return L"#" + std::to_wstring(Read<WORD>());
    }
    m_at -= sizeof(WORD);
    return ReadText();
  }
  void Align() { m_at = (m_at + 3) & ~size_t{3}; }

 private:
  const BYTE* m_data = nullptr;
  size_t m_size = 0;
  size_t m_at = 0;
};

/// Class names have no case, and resource compilers choose one.
std::wstring ToLower(std::wstring name) {
  CharLowerW(name.data());
  return name;
}

struct CTemplate {
  WORD version;
  WORD signature;
  DWORD help;
  DWORD extendedStyle;
  DWORD style;
  WORD count;
  Bounds bounds;
  std::wstring menu;
  std::wstring windowClass;
  std::wstring title;
  WORD fontSize;
  std::wstring font;
  std::vector<CItem> items;
};

CTemplate ReadTemplate() {
  CTemplateReader reader(IDD_FILE_DOWNLOAD);
  CTemplate result;
  result.version = reader.Read<WORD>();
  result.signature = reader.Read<WORD>();
  result.help = reader.Read<DWORD>();
  result.extendedStyle = reader.Read<DWORD>();
  result.style = reader.Read<DWORD>();
  result.count = reader.Read<WORD>();
  result.bounds = reader.ReadBounds();
  result.menu = reader.ReadName();
  result.windowClass = reader.ReadName();
  result.title = reader.ReadText();
  result.fontSize = reader.Read<WORD>();
  reader.Read<WORD>();  // weight
  reader.Read<WORD>();  // italic, character set
  result.font = reader.ReadText();
  for (int i = 0; i < result.count; ++i) {
    reader.Align();
    CItem item;
    reader.Read<DWORD>();  // help
    item.extendedStyle = reader.Read<DWORD>();
    item.style = reader.Read<DWORD>();
    item.bounds = reader.ReadBounds();
    item.id = reader.Read<DWORD>();
    item.className = ToLower(reader.ReadName());
    item.text = reader.ReadName();
    EXPECT_EQ(reader.Read<WORD>(), 0) << "creation data";
    result.items.push_back(item);
  }
  return result;
}

TEST(ProgressDialogTemplate, IsAnExtendedOneWithExactlyItsStyle) {
  const CTemplate read = ReadTemplate();
  EXPECT_EQ(read.version, 1);
  EXPECT_EQ(read.signature, 0xFFFF);
  EXPECT_EQ(read.extendedStyle, 0u);
  EXPECT_EQ(read.style, static_cast<DWORD>(WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME |
                                           DS_SETFONT | DS_3DLOOK));
  EXPECT_EQ(read.bounds, (Bounds{0, 0, 186, 73}));
  EXPECT_EQ(read.menu, L"");
  EXPECT_EQ(read.windowClass, L"");
}

TEST(ProgressDialogTemplate, HasItsTitleAndFont) {
  const CTemplate read = ReadTemplate();
  EXPECT_EQ(read.title, L"MERLO Folivo File Download");
  EXPECT_EQ(read.font, L"MS Sans Serif");
  EXPECT_EQ(read.fontSize, 8);
}

TEST(ProgressDialogTemplate, HasItsControls) {
  constexpr DWORD kShown = WS_CHILD | WS_VISIBLE;
  constexpr wchar_t kButton[] = L"button";
  constexpr wchar_t kStatic[] = L"static";
  constexpr DWORD kPushButton = kShown | WS_TABSTOP | BS_PUSHBUTTON;
  const std::vector<CItem> expected = {
      {2, kButton, L"Cancel", kPushButton, 0, {129, 50, 50, 16}},
      {205, L"msctls_progress32", L"", kShown | WS_BORDER, 0, {7, 25, 172, 14}},
      {207, kStatic, L"Progress Text", kShown | WS_GROUP | SS_LEFT, 0, {7, 7, 172, 8}},
      {206, kButton, L"Open", kPushButton, 0, {7, 50, 50, 16}},
      {208, kButton, L"Open Folder", kPushButton, 0, {68, 50, 50, 16}},
  };
  EXPECT_EQ(ReadTemplate().items, expected);
}

}  // namespace
