#include "collections/ansi_text.h"

CStringW AnsiToWide(const char* bytes, int size) {
  CStringW text;
  // Each byte gives at most one character.
  wchar_t* const buffer = text.GetBuffer(size);
  text.ReleaseBufferSetLength(MultiByteToWideChar(CP_ACP, 0, bytes, size, buffer, size));
  return text;
}

CStringW AnsiToWide(const char* text) { return AnsiToWide(text, CStringA::StringLength(text)); }

CStringA WideToAnsi(const CStringW& text) {
  const int size =
      WideCharToMultiByte(CP_ACP, 0, text, text.GetLength(), nullptr, 0, nullptr, nullptr);
  CStringA bytes;
  char* const buffer = bytes.GetBuffer(size);
  bytes.ReleaseBufferSetLength(
      WideCharToMultiByte(CP_ACP, 0, text, text.GetLength(), buffer, size, nullptr, nullptr));
  return bytes;
}
