#include "base/code_pages.h"

namespace {

/// Empty when the conversion fails.
CStringA ToCodePage(UINT codePage, const CStringW& text) {
  const int size =
      WideCharToMultiByte(codePage, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
  CStringA bytes;
  if (size > 0) {  // With a size of 0 the call below would only return the length.
    char* const buffer = bytes.GetBuffer(size);
    bytes.ReleaseBufferSetLength(
        WideCharToMultiByte(codePage, 0, text, text.GetLength(), buffer, size, nullptr, nullptr));
  }
  return bytes;
}

}  // namespace

CStringW FromSystemCodePage(const char* bytes, int size) {
  CStringW text;
  // Each byte gives at most one character.
  wchar_t* const buffer = text.GetBuffer(size);
  text.ReleaseBufferSetLength(MultiByteToWideChar(CP_ACP, 0, bytes, size, buffer, size));
  return text;
}

CStringW FromSystemCodePage(const char* text) {
  return FromSystemCodePage(text, CStringA::StringLength(text));
}

CStringA ToSystemCodePage(const CStringW& text) { return ToCodePage(CP_ACP, text); }

CStringA ToUtf8(const CStringW& text) { return ToCodePage(CP_UTF8, text); }

CStringW FromThreadCodePage(const char* text) {
  const int length = MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, nullptr, 0);
  CStringW wide;
  MultiByteToWideChar(CP_THREAD_ACP, 0, text, -1, wide.GetBuffer(length), length);
  wide.ReleaseBuffer();
  return wide;
}
