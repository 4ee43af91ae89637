#include "tests/support/http_encoding.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

TEST(HttpEncoding, JsonStringsHoldAnyByte) {
  EXPECT_EQ(JsonString("plain text ~"), "\"plain text ~\"");
  EXPECT_EQ(JsonString("\"\\\r\x7F\xE4"), R"("\u0022\u005C\u000D\u007F\u00E4")");
  EXPECT_EQ(JsonString(std::string(1, '\0')), R"("\u0000")");
}

TEST(HttpEncoding, Base64) {
  EXPECT_EQ(Base64(""), "");
  EXPECT_EQ(Base64("f"), "Zg==");
  EXPECT_EQ(Base64("fo"), "Zm8=");
  EXPECT_EQ(Base64("foo"), "Zm9v");
  EXPECT_EQ(Base64("foob"), "Zm9vYg==");
  EXPECT_EQ(Base64("\xFB\xFF\xFE"), "+//+");
}

TEST(HttpEncoding, PercentEncodingGoesThereAndBack) {
  EXPECT_EQ(PercentEncode("/Az09-._~ %+\xE4"), "%2FAz09-._~%20%25%2B%E4");
  for (int byte = 0; byte < 256; ++byte) {
    const std::string bytes(3, static_cast<char>(byte));
    EXPECT_EQ(PercentDecode(PercentEncode(bytes)), bytes) << byte;
  }
  EXPECT_EQ(PercentDecode("a b%e4"), "a b\xE4");
}

TEST(HttpEncoding, BrokenPercentEncodingIsRefused) {
  for (const char* text : {"%", "a%4", "%g0", "%4g", "%-1"}) {
    EXPECT_THROW(PercentDecode(text), std::runtime_error) << text;
  }
}

}  // namespace
