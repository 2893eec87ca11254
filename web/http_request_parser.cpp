#include "web/http_request_parser.h"

#include <algorithm>

#include "base/text.h"

namespace vornelle {
namespace {

bool isTokenCharacter(char c) {
  return isAsciiLetter(c) || isDigit(c) ||
         std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

bool isToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
}

// Where the header block ends (behind its empty line), or npos.
std::size_t headerEnd(std::string_view buffer, std::size_t from) {
  for (std::size_t at = buffer.find('\n', from); at != std::string_view::npos;
       at = buffer.find('\n', at + 1)) {
    if (buffer.substr(at + 1, 1) == "\n") return at + 2;
    if (buffer.substr(at + 1, 2) == "\r\n") return at + 3;
  }
  return std::string_view::npos;
}

}  // namespace

std::optional<std::string_view> HttpRequest::field(std::string_view name) const {
  for (const auto& [key, value] : fields) {
    if (equalsNoCase(key, name)) return value;
  }
  return std::nullopt;
}

int HttpRequest::fieldCount(std::string_view name) const {
  return static_cast<int>(std::count_if(fields.begin(), fields.end(),
                                        [&](const auto& one) { return equalsNoCase(one.first, name); }));
}

bool HttpRequest::listHolds(std::string_view name, std::string_view token) const {
  for (const auto& [key, value] : fields) {
    if (!equalsNoCase(key, name)) continue;
    std::string_view rest = value;
    while (true) {
      const std::size_t comma = rest.find(',');
      if (equalsNoCase(trimBlanksAndTabs(rest.substr(0, comma)), token)) return true;
      if (comma == std::string_view::npos) break;
      rest.remove_prefix(comma + 1);
    }
  }
  return false;
}

HttpRequestParser::Result HttpRequestParser::fail(int status) {
  errorStatus_ = status;
  return Result::failed;
}

bool HttpRequestParser::takeContinueWanted() {
  return std::exchange(continueWanted_, false);
}

HttpRequestParser::Result HttpRequestParser::parse(std::string& buffer) {
  if (errorStatus_ != 0) return Result::failed;
  if (!headerDone_) {
    // 1. Empty lines before the request line.
    std::size_t start = 0;
    while (start < buffer.size()) {
      if (buffer[start] == '\n') {
        start += 1;
      } else if (buffer.compare(start, 2, "\r\n") == 0) {
        start += 2;
      } else {
        break;
      }
    }
    if (start > 0) {
      buffer.erase(0, start);
      scanned_ = 0;
    }

    // What cannot begin a method is no HTTP at all, a TLS greeting for example. Waiting for more of it would
    // help nobody.
    if (!buffer.empty() && buffer[0] != '\r' && !isTokenCharacter(buffer[0])) return fail(400);

    // 2. The header block, once it is whole. What has been scanned is not scanned again, but for the three
    //    bytes that may be the beginning of its end.
    const std::size_t end = headerEnd(buffer, scanned_ > 3 ? scanned_ - 3 : 0);
    if (end == std::string::npos || end > kMaxHeaderBlock) {
      if (buffer.size() > kMaxHeaderBlock || end != std::string::npos) {
        return fail(buffer.find('\n') < kMaxHeaderBlock ? 431 : 414);
      }
      scanned_ = buffer.size();
      return Result::needMore;
    }
    request_ = HttpRequest{};
    if (!readHeader(std::string_view(buffer).substr(0, end))) return Result::failed;
    buffer.erase(0, end);
    scanned_ = 0;
    headerDone_ = true;
    continueWanted_ = bodyLength_ > buffer.size() && request_.minorVersion >= 1 &&
                      request_.listHolds("Expect", "100-continue");
  }

  // 3. The body.
  if (buffer.size() < bodyLength_) return Result::needMore;
  request_.body = buffer.substr(0, bodyLength_);
  buffer.erase(0, bodyLength_);
  headerDone_ = false;
  continueWanted_ = false;
  return Result::complete;
}

bool HttpRequestParser::readHeader(std::string_view block) {
  errorStatus_ = 0;
  // A bare LF ends a line too (RFC 9112, 2.2).
  if (!readRequestLine(takeLine(block))) {
    if (errorStatus_ == 0) errorStatus_ = 400;
    return false;
  }
  while (!block.empty()) {
    const std::string_view line = takeLine(block);
    if (line.empty()) break;
    if (!readField(line)) {
      errorStatus_ = 400;
      return false;
    }
  }
  return readBodyLength();
}

bool HttpRequestParser::readRequestLine(std::string_view line) {
  const std::size_t firstBlank = line.find(' ');
  const std::size_t lastBlank = line.rfind(' ');
  if (firstBlank == std::string_view::npos || lastBlank == firstBlank) return false;
  const std::string_view method = line.substr(0, firstBlank);
  const std::string_view target = line.substr(firstBlank + 1, lastBlank - firstBlank - 1);
  const std::string_view version = line.substr(lastBlank + 1);

  if (!isToken(method)) return false;
  if (version.size() != 8 || version.substr(0, 5) != "HTTP/" || version[6] != '.') return false;
  if (!isDigit(version[5]) || !isDigit(version[7])) return false;
  if (version[5] != '1') {
    errorStatus_ = 505;
    return false;
  }
  request_.method = method;
  request_.minorVersion = version[7] - '0';
  return readTarget(target);
}

bool HttpRequestParser::readTarget(std::string_view target) {
  for (const char c : target) {
    if (isControl(c) || c == ' ') return false;
  }
  constexpr std::string_view kScheme = "http://";
  if (startsWithNoCase(target, kScheme)) {
    target.remove_prefix(kScheme.size());
    const std::size_t end = target.find_first_of("/?#");
    request_.authority = target.substr(0, end);
    if (request_.authority.empty()) return false;
    target.remove_prefix(end == std::string_view::npos ? target.size() : end);
    request_.target = target.empty() || target[0] != '/' ? "/" + std::string(target) : std::string(target);
  } else if (!target.empty() && target[0] == '/') {
    request_.target = target;
  } else if (request_.method == "OPTIONS" || request_.method == "CONNECT") {
    request_.target = "/";  // these have forms of their own; the method is refused later, with its own answer
  } else {
    return false;
  }
  // A fragment is never sent; a client that does means the part before it.
  request_.target.resize(std::min(request_.target.size(), request_.target.find('#')));
  return true;
}

bool HttpRequestParser::readField(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view name = line.substr(0, colon);
  // Blanks before the colon and folded lines end here too (RFC 9112, 5.1 and 5.2).
  if (!isToken(name)) return false;
  const std::string_view value = trimBlanksAndTabs(line.substr(colon + 1));
  for (const char c : value) {
    if (isControl(c) && c != '\t') return false;
  }
  request_.fields.emplace_back(name, value);
  return true;
}

bool HttpRequestParser::readBodyLength() {
  bodyLength_ = 0;
  const bool lengthGiven = request_.field("Content-Length").has_value();
  if (request_.field("Transfer-Encoding")) {
    // Both at once is a known way to confuse servers about where a request ends (RFC 9112, 6.1).
    errorStatus_ = lengthGiven ? 400 : 411;
    return false;
  }
  if (request_.field("Expect") && !request_.listHolds("Expect", "100-continue")) {
    errorStatus_ = 417;
    return false;
  }
  if (!lengthGiven) return true;
  for (const auto& [name, value] : request_.fields) {
    if (!equalsNoCase(name, "Content-Length")) continue;
    if (!isDigits(value) || value != *request_.field("Content-Length")) {
      errorStatus_ = 400;
      return false;
    }
  }
  const std::string_view length = *request_.field("Content-Length");
  for (const char digit : length) {
    bodyLength_ = bodyLength_ * 10 + static_cast<std::size_t>(digit - '0');
    if (bodyLength_ > kMaxBody) {
      errorStatus_ = 413;
      return false;
    }
  }
  return true;
}

}  // namespace vornelle
