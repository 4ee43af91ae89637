#include "tests/support/dialog_template.h"

#include <gtest/gtest.h>

#include <cstring>
#include <sstream>

namespace {

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
    ReadStyles();
    const int count = Read<WORD>();
    ReadBounds();
    m_text << L" menu '" << ReadName() << L"' class '" << ReadName() << L"' title '" << ReadName();
    const auto fontSize = Read<WORD>();
    Read<DWORD>();  // weight, italic, character set
    m_text << L"' font '" << ReadName() << L"' " << fontSize << L"\n";
    for (int i = 0; i < count; ++i) {
      ReadControl();
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
    Read<DWORD>();  // help
    const auto extended = Read<DWORD>();
    m_text << std::hex << Read<DWORD>() << L"/" << extended << std::dec;
  }
  void ReadBounds() {
    for (int i = 0; i < 4; ++i) {
      m_text << L" " << Read<short>();
    }
  }
  /// A text, or the name of the system's class whose number stands in its place.
  std::wstring ReadName() {
    auto c = Read<wchar_t>();
    if (c == 0xFFFF) {
      const auto number = Read<WORD>();
      return number == 0x80 ? L"button" : number == 0x82 ? L"static" : std::to_wstring(number);
    }
    std::wstring text;
    for (; c != 0; c = Read<wchar_t>()) {
      text += c;
    }
    return text;
  }
  void ReadControl() {
    m_at = (m_at + 3) & ~size_t{3};
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

}  // namespace

std::wstring DescribeDialogTemplate(UINT id) { return CTemplateReader(id).Describe(); }
