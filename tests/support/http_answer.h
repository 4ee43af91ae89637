#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

// A JSON string literal, quotes included, with one character U+0000..U+00FF for each byte.
std::string JsonString(std::string_view bytes);

// Points of an answer at which the server can wait (HttpAnswer::Hold) or break off
// (HttpAnswer::Cut), in the order in which an answer passes them. HeadByte and BodyByte: that many
// bytes of head (status line and headers) or body have been sent.
namespace http_point {
inline constexpr std::string_view kBeforeHeaders = "before_headers";
std::string HeadByte(uint64_t offset);
std::string BodyByte(uint64_t offset);
inline constexpr std::string_view kEnd = "end";
}  // namespace http_point

// How the server breaks a connection: with FIN, as if the body ended here, or with RST.
enum class HttpCut { kGraceful, kReset };

// One answer of a scripted path, put together by chained calls; without any: 200, empty body, right
// Content-Length. Texts are bytes and go over the wire as they are.
class HttpAnswer {
 public:
  // The status code; an empty reason stands for the usual one.
  HttpAnswer& Status(int code, std::string_view reason = {});
  // Text in place of the whole status line, legal or not, without line end.
  HttpAnswer& StatusLine(std::string_view line);
  // One more header of any kind except Content-Length.
  HttpAnswer& Header(std::string_view name, std::string_view value);
  // 302 to `url`, which must be ASCII.
  HttpAnswer& Redirect(std::wstring_view url);
  // Bytes in place of status line, headers and blank line. A body, if any, follows unframed.
  HttpAnswer& RawHead(std::string_view bytes);

  // Each of these appends to the body: literal bytes; the first bytes of the stream of `seed` (see
  // PatternBytes).
  HttpAnswer& Bytes(std::string_view bytes);
  HttpAnswer& Pattern(uint64_t seed, uint64_t length);

  // Transfer-Encoding: chunked, in chunks of this many bytes.
  HttpAnswer& Chunked(size_t chunk_size = 65536);
  // No length at all: the end of the connection ends the body.
  HttpAnswer& CloseDelimited();
  // A Content-Length of any text in place of the true one; call twice for two headers.
  HttpAnswer& ClaimLength(std::string_view text);
  // Asks for and performs the end of the connection after this answer.
  HttpAnswer& Close();

  // Waits at a point until ScriptedPath::AllowAll, a body point also until more bytes than its
  // offset are allowed. Waits for ever otherwise, as a stalled server does.
  HttpAnswer& Hold(std::string_view point);
  // Body bytes flow only as far as ScriptedPath::AllowUpTo lets them.
  HttpAnswer& Gated();
  // Body bytes per second.
  HttpAnswer& Rate(uint64_t bytes_per_second);
  // Ends the connection at a point.
  HttpAnswer& Cut(std::string_view point, HttpCut how);

  // The answer as the server's control interface takes it.
  std::string Json() const;

 private:
  HttpAnswer& SetField(const std::string& name, std::string json);

  // JSON values by their fields; lists are kept apart until Json().
  std::map<std::string, std::string> m_fields;
  std::vector<std::string> m_headers;
  std::vector<std::string> m_segments;
  std::vector<std::string> m_holds;
  std::vector<std::string> m_claimed_lengths;
};
