// The platform's TLS, told what to do line by line and answering each with one line of JSON. For the tests of
// the real engines against real servers.
//
//   open PORT TIMEOUT VERSIONS ACCEPTED HOST   connects to 127.0.0.1 and starts TLS with what should be HOST.
//   VERSIONS is
//                                              usual, newest or plain (no TLS at all), ACCEPTED a fingerprint
//                                              or "-"
//   write TIMEOUT TEXT                         "\n" in it becomes CR LF
//   fill TIMEOUT COUNT                         writes so many bytes of 'x'
//   read TIMEOUT                               one read; its text
//   take TIMEOUT COUNT                         reads until so many bytes have come, or an end: their number
//   and check sum close
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>

#include "platform/clock.h"
#include "platform/net_stream.h"
#include "platform/tls.h"

namespace {

using vornelle::TlsProblem;

std::string quoted(const std::string& text) {
  std::string result = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') result += '\\';
    if (c == '\r')
      result += "\\r";
    else if (c == '\n')
      result += "\\n";
    else
      result += c;
  }
  return result + '"';
}

const char* nameOf(TlsProblem problem) {
  switch (problem) {
    case TlsProblem::none:
      return "none";
    case TlsProblem::unavailable:
      return "unavailable";
    case TlsProblem::outOfMemory:
      return "outOfMemory";
    case TlsProblem::timedOut:
      return "timedOut";
    case TlsProblem::closed:
      return "closed";
    case TlsProblem::notTls:
      return "notTls";
    case TlsProblem::version:
      return "version";
    case TlsProblem::refused:
      return "refused";
    case TlsProblem::wrongName:
      return "wrongName";
    case TlsProblem::expired:
      return "expired";
    case TlsProblem::notYetValid:
      return "notYetValid";
    case TlsProblem::selfSigned:
      return "selfSigned";
    case TlsProblem::untrusted:
      return "untrusted";
    case TlsProblem::wrongPurpose:
      return "wrongPurpose";
    case TlsProblem::weakKey:
      return "weakKey";
    case TlsProblem::weakSignature:
      return "weakSignature";
    case TlsProblem::badCertificate:
      return "badCertificate";
  }
  return "?";
}

std::unique_ptr<vornelle::NetStream> stream;

std::string open(std::istringstream& words) {
  int port = 0;
  int timeout = 0;
  std::string versions;
  std::string accepted;
  std::string host;
  words >> port >> timeout >> versions >> accepted >> host;
  stream.reset();
  std::unique_ptr<vornelle::NetStream> plain = vornelle::openNetStream("127.0.0.1", port, timeout);
  if (!plain) return R"({"problem":"no connection"})";
  if (versions == "plain") {
    stream = std::move(plain);
    return R"({"problem":"none"})";
  }
  vornelle::TlsPeer peer{host};
  if (accepted != "-") peer.acceptedFingerprint = accepted;
  if (versions == "newest") peer.versions = vornelle::TlsVersions::newest;
  const std::int64_t start = vornelle::monotonicMilliseconds();
  vornelle::TlsResult result = vornelle::startTls(std::move(plain), peer, timeout);
  const std::int64_t took = vornelle::monotonicMilliseconds() - start;
  stream = std::move(result.stream);
  std::ostringstream out;
  out << "{\"problem\":" << quoted(nameOf(result.problem)) << ",\"stream\":" << (stream ? "true" : "false")
      << ",\"newestMayDo\":" << (result.newestMayDo ? "true" : "false")
      << ",\"protocol\":" << quoted(result.protocol)
      << ",\"certificateName\":" << quoted(result.certificateName)
      << ",\"fingerprint\":" << quoted(result.fingerprint) << ",\"system\":" << quoted(result.system)
      << ",\"milliseconds\":" << took << "}";
  return out.str();
}

std::string readOnce(std::istringstream& words) {
  int timeout = 0;
  words >> timeout;
  const std::int64_t start = vornelle::monotonicMilliseconds();
  std::string text(65536, '\0');
  const auto got = stream->read(text.data(), text.size(), timeout);
  const std::int64_t took = vornelle::monotonicMilliseconds() - start;
  text.resize(got.value_or(0));
  const char* const state = !got ? "nothing" : *got == 0 ? "end" : "text";
  std::ostringstream out;
  out << "{\"state\":\"" << state << "\",\"text\":" << quoted(text) << ",\"milliseconds\":" << took << "}";
  return out.str();
}

std::string take(std::istringstream& words) {
  int timeout = 0;
  std::uint64_t wanted = 0;
  words >> timeout >> wanted;
  const std::int64_t start = vornelle::monotonicMilliseconds();
  std::string buffer(65536, '\0');
  std::uint64_t total = 0;
  std::uint32_t sum = 2166136261;  // FNV-1a
  const char* state = "whole";
  while (total < wanted) {
    const auto got = stream->read(buffer.data(), buffer.size(), timeout);
    if (!got || *got == 0) {
      state = got ? "end" : "nothing";
      break;
    }
    total += *got;
    for (std::size_t i = 0; i < *got; ++i) sum = (sum ^ static_cast<unsigned char>(buffer[i])) * 16777619;
  }
  std::ostringstream out;
  out << "{\"state\":\"" << state << "\",\"bytes\":" << total << ",\"sum\":" << sum
      << ",\"milliseconds\":" << vornelle::monotonicMilliseconds() - start << "}";
  return out.str();
}

std::string write(std::istringstream& words, bool fill) {
  int timeout = 0;
  std::string text;
  words >> timeout;
  if (fill) {
    std::size_t count = 0;
    words >> count;
    text.assign(count, 'x');
  } else {
    std::getline(words >> std::ws, text);
    for (std::size_t at = 0; (at = text.find("\\n", at)) != std::string::npos;) text.replace(at, 2, "\r\n");
  }
  const std::int64_t start = vornelle::monotonicMilliseconds();
  const bool done = stream->write(text, timeout);
  std::ostringstream out;
  out << "{\"done\":" << (done ? "true" : "false")
      << ",\"milliseconds\":" << vornelle::monotonicMilliseconds() - start << "}";
  return out.str();
}

}  // namespace

int main() {
  for (std::string line; std::getline(std::cin, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::istringstream words(line);
    std::string verb;
    words >> verb;
    std::string answer = R"({"problem":"no stream"})";
    if (verb == "open")
      answer = open(words);
    else if (verb == "close")
      stream.reset(), answer = "{}";
    else if (!stream) {
    } else if (verb == "read")
      answer = readOnce(words);
    else if (verb == "take")
      answer = take(words);
    else if (verb == "write" || verb == "fill")
      answer = write(words, verb == "fill");
    std::cout << answer << std::endl;
  }
  return 0;
}
