#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <algorithm>
#include <array>

/// A string argument for the unzip library: converted to the thread's ANSI code page
/// (CP_THREAD_ACP), in a buffer inside this object.
class CNarrowText {
 public:
  explicit CNarrowText(const CStringW& text) {
    const int size = std::min(2 * text.GetLength() + 1, kBufferSize);
    m_isConverted = WideCharToMultiByte(CP_THREAD_ACP, 0, text, -1, m_bytes.data(), size, nullptr,
                                        nullptr) != 0;
  }

  /// Quirk 76: null when the text could not be converted; the library refuses that.
  LPSTR Get() { return m_isConverted ? m_bytes.data() : nullptr; }

 private:
  // The library refuses names of more than 16224 bytes, and null. So a text that is too long for
  // this buffer fails in either case.
  static constexpr int kLongestText = 16384;
  static constexpr int kBufferSize = 2 * kLongestText + 1;

  std::array<char, kBufferSize> m_bytes;
  bool m_isConverted;
};
