// The dialog's template, to the unit.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "resources/resource.h"

namespace {

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

  // Each item: identifier, class, text, place and size, style.
  std::vector<std::wstring> items;
  for (WORD i = 0; i < count; ++i) {
    reader.Align();
    reader.Read<DWORD>();  // help
    EXPECT_EQ(reader.Read<DWORD>(), 0u);
    const auto style = reader.Read<DWORD>();
    std::wostringstream bounds;
    for (int value = 0; value < 4; ++value) {
      bounds << reader.Read<short>() << L" ";
    }
    std::wostringstream item;
    item << reader.Read<DWORD>() << L" ";
    std::wstring className = reader.ReadText();
    CharLowerW(className.data());  // Classes are compared without case.
    item << className << L" '" << reader.ReadText() << L"' " << bounds.str() << std::hex << style;
    EXPECT_EQ(reader.Read<WORD>(), 0) << "creation data";
    items.push_back(item.str());
  }
  static_assert((WS_CHILD | WS_VISIBLE | WS_TABSTOP | BS_DEFPUSHBUTTON) == 0x50010001);
  static_assert((WS_CHILD | WS_VISIBLE | WS_GROUP | SS_LEFT) == 0x50020000);
  static_assert((WS_CHILD | WS_VISIBLE | WS_BORDER) == 0x50800000);
  EXPECT_EQ(items, (std::vector<std::wstring>{
                       L"1 button 'OK' 140 69 50 14 50010001",
                       L"2 button 'Cancel' 195 69 50 14 50010000",
                       L"210 static 'Title' 7 10 238 8 50020000",
                       L"211 static 'Subtitle' 7 22 238 8 50020000",
                       L"212 msctls_progress32 '' 7 38 238 14 50800000",
                   }));
}

}  // namespace
