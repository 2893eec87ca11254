// Reads one HTTP/1.x request (RFC 9112) out of a growing buffer, for the gateway.
//
// Example of what it reads:
//   POST /login.cgi HTTP/1.1\r\n
//   Host: localhost:7000\r\n
//   Content-Length: 5\r\n
//   \r\n
//   a=1&b
//
// 1. Empty lines before the request line are skipped.
// 2. The request line and the header fields are read once the empty line that ends them has arrived.
// 3. The body is Content-Length bytes long; a request without that field has none.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vornelle {

inline constexpr std::size_t kMaxHeaderBlock = 64U << 10;  // request line and header fields, bytes
inline constexpr std::size_t kMaxBody = 8U << 20;          // bytes

struct HttpRequest {
  std::string method;     // as sent; letter case counts
  std::string target;     // origin form, "/path?query"; an absolute form has been taken apart
  std::string authority;  // of an absolute-form target; it takes the place of Host (RFC 9112, 3.2.2)
  int minorVersion = 1;   // HTTP/1.x
  // Names as sent, values without blanks around them.
  std::vector<std::pair<std::string, std::string>> fields;
  std::string body;

  // The value of the first field of that name (letter case ignored), nullopt when there is none.
  [[nodiscard]] std::optional<std::string_view> field(std::string_view name) const;
  [[nodiscard]] int fieldCount(std::string_view name) const;
  // Whether the comma-separated list in the fields of that name holds the token (letter case ignored).
  [[nodiscard]] bool listHolds(std::string_view name, std::string_view token) const;
};

class HttpRequestParser {
 public:
  enum class Result {
    needMore,  // the request is not complete
    complete,  // request() is whole; its bytes are gone from the buffer
    failed,    // errorStatus() tells what to answer; the connection cannot go on
  };

  // Takes what it can use from the front of the buffer. Call again with more bytes appended after needMore.
  // After complete the next call begins the next request.
  [[nodiscard]] Result parse(std::string& buffer);

  [[nodiscard]] HttpRequest& request() { return request_; }
  // 400, 411, 413, 414, 417, 431 or 505.
  [[nodiscard]] int errorStatus() const { return errorStatus_; }
  // The header has been read, the body is awaited, and the client wants to be told to go on (RFC 9110,
  // 10.1.1). True once for each request.
  [[nodiscard]] bool takeContinueWanted();
  // Something of a request has been read.
  [[nodiscard]] bool begun(const std::string& buffer) const { return headerDone_ || !buffer.empty(); }

 private:
  Result fail(int status);
  bool readHeader(std::string_view block);
  bool readRequestLine(std::string_view line);
  bool readTarget(std::string_view target);
  bool readField(std::string_view line);
  bool readBodyLength();

  HttpRequest request_;
  bool headerDone_ = false;
  bool continueWanted_ = false;
  std::size_t bodyLength_ = 0;
  std::size_t scanned_ = 0;  // bytes of the buffer in which no header end has been found
  int errorStatus_ = 0;
};

}  // namespace vornelle
