#pragma once

#include <atlbase.h>
#include <atlstr.h>

#include <algorithm>
#include <array>

// Conversions between wide and narrow text. Two of the code pages differ only when the host has
// changed the locale of its thread:
//
// The system code page (CP_ACP) is that of files: archives and manifests are written by programs
// that know nothing of a browser's thread.
// The thread's code page (CP_THREAD_ACP) is that of the unzip library's interface, in both
// directions, so a listed name finds its entry again.
//
// So a name in a manifest is decoded by the first and, to extract its entry, encoded by the second.
// In a thread with another code page, such a name with letters outside ASCII finds no entry.
//
// UTF-8 is for the desktop application.

/// Converts `size` bytes in the system code page. Throws CAtlException (E_OUTOFMEMORY).
CStringW FromSystemCodePage(const char* bytes, int size);

/// Converts a zero-terminated string in the system code page; null is an empty one.
CStringW FromSystemCodePage(const char* text);

/// Converts the whole text to the system code page, including any zero characters in it; empty on
/// failure. Throws CAtlException (E_OUTOFMEMORY).
CStringA ToSystemCodePage(const CStringW& text);

/// Converts the whole text to UTF-8; empty on failure. Throws CAtlException (E_OUTOFMEMORY).
CStringA ToUtf8(const CStringW& text);

/// Converts a zero-terminated string in the thread's code page; empty on failure. Throws
/// CAtlException (E_OUTOFMEMORY).
CStringW FromThreadCodePage(const char* text);

/// A string argument for the unzip library: converted to the thread's code page, in a buffer inside
/// this object.
class CThreadCodePageText {
 public:
  explicit CThreadCodePageText(const CStringW& text) {
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
