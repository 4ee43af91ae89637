// The download dialog's template, read as the system reads it: what the dialog
// changes when it opens would hide a wrong one.

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <sstream>
#include <string>

#include "resources/resource.h"

namespace {

/// Reads an extended template from its beginning to its end, as a text.
class CTemplateReader {
 public:
  explicit CTemplateReader(UINT id) {
    const HRSRC resource = FindResourceW(nullptr, MAKEINTRESOURCEW(id), RT_DIALOG);
    EXPECT_NE(resource, nullptr);
    m_data = static_cast<const BYTE*>(LockResource(LoadResource(nullptr, resource)));
    m_size = SizeofResource(nullptr, resource);
  }

  std::wstring Describe() {
    EXPECT_EQ(Read<WORD>(), 1) << "version";
    EXPECT_EQ(Read<WORD>(), 0xFFFF) << "signature";
    Read<DWORD>();  // help
    ReadStyles();
    const int count = Read<WORD>();
    ReadBounds();
    m_text << L" menu '" << ReadName() << L"' class '" << ReadName() << L"' title '" << ReadName();
    const auto fontSize = Read<WORD>();
    Read<WORD>();  // weight
    Read<WORD>();  // italic, character set
    m_text << L"' font '" << ReadName() << L"' " << fontSize << L"\n";
    for (int i = 0; i < count; ++i) {
      ReadItem();
    }
    return m_text.str();
  }

 private:
  template <typename T>
  T Read() {
    T value = {};
    EXPECT_LE(m_at + sizeof(T), m_size);
    std::memcpy(&value, m_data + m_at, sizeof(T));
    m_at += sizeof(T);
    return value;
  }
  void ReadStyles() {
    const auto extended = Read<DWORD>();
    m_text << std::hex << Read<DWORD>() << L"/" << extended << std::dec;
  }
  void ReadBounds() {
    for (int i = 0; i < 4; ++i) {
      m_text << L" " << Read<short>();
    }
  }
  /// A text, or the number that stands for one.
  std::wstring ReadName() {
    std::wstring text;
    auto c = Read<wchar_t>();
    if (c == 0xFFFF) {
      return L"#" + std::to_wstring(Read<WORD>());
    }
    for (; c != 0; c = Read<wchar_t>()) {
      text += c;
    }
    return text;
  }
  void ReadItem() {
    m_at = (m_at + 3) & ~size_t{3};
    Read<DWORD>();  // help
    ReadStyles();
    ReadBounds();
    m_text << L" id " << Read<DWORD>();
    // Class names have no case, and resource compilers choose one.
    std::wstring windowClass = ReadName();
    CharLowerW(windowClass.data());
    m_text << L" " << windowClass << L" '" << ReadName() << L"'\n";
    EXPECT_EQ(Read<WORD>(), 0) << "creation data";
  }

  const BYTE* m_data = nullptr;
  size_t m_size = 0;
  size_t m_at = 0;
  std::wostringstream m_text;
};

// WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_SETFONT | DS_3DLOOK;
// the controls are visible children: push buttons with tab stops, a bar with a
// border, a text that begins a group.
TEST(ProgressDialogTemplate, HasItsStyleFontAndControls) {
  EXPECT_EQ(CTemplateReader(IDD_FILE_DOWNLOAD).Describe(),
            L"80c800c4/0 0 0 186 73 menu '' class '' title 'MERLO Folivo File "
            L"Download' "
            L"font 'MS Sans Serif' 8\n"
            L"50010000/0 129 50 50 16 id 2 button 'Cancel'\n"
            L"50800000/0 7 25 172 14 id 205 msctls_progress32 ''\n"
            L"50020000/0 7 7 172 8 id 207 static 'Progress Text'\n"
            L"50010000/0 7 50 50 16 id 206 button 'Open'\n"
            L"50010000/0 68 50 50 16 id 208 button 'Open Folder'\n");
}

}  // namespace
