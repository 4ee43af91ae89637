// The dialog's template, to the unit.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <ostream>
#include <string>
#include <vector>

#include "resources/resource.h"

namespace {

struct CItem {
  DWORD id;
  std::wstring className;
  std::wstring text;
  int x;
  int y;
  int width;
  int height;
  DWORD style;

  bool operator==(const CItem&) const = default;
  friend std::ostream& operator<<(std::ostream& stream, const CItem& item) {
    return stream << item.id << " " << testing::PrintToString(item.className) << " "
                  << testing::PrintToString(item.text) << " " << item.x << "," << item.y << " "
                  << item.width << "x" << item.height << " style " << std::hex << item.style;
  }
};

/// Reads an extended dialog template from its begin on.
class CTemplateReader {
 public:
  explicit CTemplateReader(const void* begin)
      : m_begin(static_cast<const BYTE*>(begin)), m_next(m_begin) {}

  template <typename T>
  T Read() {
    T value = {};
    std::memcpy(&value, m_next, sizeof(value));
    m_next += sizeof(value);
    return value;
  }

  /// A text, or the name of the predefined class whose number stands in its place.
  std::wstring ReadText() {
    WCHAR c = Read<WCHAR>();
    if (c == 0xFFFF) {
      const WORD number = Read<WORD>();
      return number == 0x80 ? L"button" : number == 0x82 ? L"static" : L"unknown";
    }
    std::wstring text;
    for (; c != 0; c = Read<WCHAR>()) {
      text += c;
    }
    return text;
  }

  void Align() { m_next = m_begin + ((m_next - m_begin + 3) & ~std::ptrdiff_t{3}); }

 private:
  const BYTE* const m_begin;
  const BYTE* m_next;
};

TEST(CollectionDialogTemplate, IsAsDesigned) {
  const HRSRC resource =
      FindResourceW(nullptr, MAKEINTRESOURCEW(IDD_COLLECTION_DOWNLOAD), RT_DIALOG);
  ASSERT_NE(resource, nullptr);
  EXPECT_EQ(IDD_COLLECTION_DOWNLOAD, 211);
  CTemplateReader reader(LockResource(LoadResource(nullptr, resource)));
  ASSERT_EQ(reader.Read<WORD>(), 1);
  ASSERT_EQ(reader.Read<WORD>(), 0xFFFF);
  reader.Read<DWORD>();                 // help
  EXPECT_EQ(reader.Read<DWORD>(), 0u);  // extended style
  const DWORD style = WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT;
  EXPECT_EQ(reader.Read<DWORD>() & ~DWORD{DS_3DLOOK}, style);
  const WORD count = reader.Read<WORD>();
  reader.Read<DWORD>();  // x, y
  EXPECT_EQ(reader.Read<short>(), 252);
  EXPECT_EQ(reader.Read<short>(), 90);
  EXPECT_EQ(reader.ReadText(), L"") << "a menu";
  EXPECT_EQ(reader.ReadText(), L"") << "a class";
  EXPECT_EQ(reader.ReadText(), L"MERLO Folivo Collection Download");
  EXPECT_EQ(reader.Read<WORD>(), 8);
  reader.Read<DWORD>();  // weight, italic, character set
  EXPECT_EQ(reader.ReadText(), L"MS Shell Dlg");

  std::vector<CItem> items;
  for (WORD i = 0; i < count; ++i) {
    reader.Align();
    reader.Read<DWORD>();  // help
    EXPECT_EQ(reader.Read<DWORD>(), 0u);
    CItem item = {};
    item.style = reader.Read<DWORD>();
    item.x = reader.Read<short>();
    item.y = reader.Read<short>();
    item.width = reader.Read<short>();
    item.height = reader.Read<short>();
    item.id = reader.Read<DWORD>();
    item.className = reader.ReadText();
    CharLowerW(item.className.data());  // Classes are compared without case.
    item.text = reader.ReadText();
    EXPECT_EQ(reader.Read<WORD>(), 0) << "creation data";
    items.push_back(item);
  }
  constexpr DWORD kShown = WS_CHILD | WS_VISIBLE;
  const std::vector<CItem> expected = {
      {1, L"button", L"OK", 140, 69, 50, 14, kShown | WS_TABSTOP | BS_DEFPUSHBUTTON},
      {2, L"button", L"Cancel", 195, 69, 50, 14, kShown | WS_TABSTOP | BS_PUSHBUTTON},
      {210, L"static", L"Title", 7, 10, 238, 8, kShown | WS_GROUP | SS_LEFT},
      {211, L"static", L"Subtitle", 7, 22, 238, 8, kShown | WS_GROUP | SS_LEFT},
      {212, L"msctls_progress32", L"", 7, 38, 238, 14, kShown | WS_BORDER},
  };
  EXPECT_EQ(items, expected);
}

}  // namespace
