// Any bytes as what a server sends under TLS, with a made-up engine, in pieces, with time-outs and cuts
// between them: a stream that has ended or broken stays so, and what is read is what the records hold. The
// same bytes are tried as the names of a certificate.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "fuzz/piecewise_stream.h"
#include "platform/common/alternative_names.h"
#include "platform/common/tls_stream.h"
#include "tests/unit/platform/common/made_up_tls.h"

namespace vornelle {

TlsFinding MadeUpEngine::check(std::int64_t /*until*/) {
  return {};
}

namespace {

// Before every seventh piece a read times out.
class Line : public PiecewiseStream {
 public:
  using PiecewiseStream::PiecewiseStream;

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int timeout) override {
    if (!isOver() && ++reads_ % 7 == 0) return std::nullopt;
    return PiecewiseStream::read(buffer, size, timeout);
  }

  // A byte out of four thousand is not taken.
  [[nodiscard]] bool write(std::string_view bytes, int /*timeout*/) override {
    written_ += bytes.size();
    return written_ < 4000;
  }

 private:
  std::size_t reads_ = 0;
  std::size_t written_ = 0;
};

// Everything that the records behind a handshake hold, up to the first that is no data or is not whole.
std::string textIn(std::string_view bytes, bool passesEmptyAlerts) {
  std::string text;
  while (bytes.size() >= 5) {
    const std::size_t length = static_cast<std::size_t>(static_cast<unsigned char>(bytes[3]) << 8 |
                                                        static_cast<unsigned char>(bytes[4]));
    if (bytes.size() < 5 + length || length > 16640) break;
    const bool isEmptyAlert = bytes[0] == 0x15 && length == 0;
    if (bytes[0] != 0x17 && bytes[0] != 0x18 && !(isEmptyAlert && passesEmptyAlerts)) break;
    if (bytes[0] == 0x17) text += turned(bytes.substr(5, length));
    bytes.remove_prefix(5 + length);
  }
  return text;
}

// records: what comes behind the handshake, where that is known.
void talk(const std::string& line, std::optional<std::string_view> records) {
  MadeUpEngine::Script script;
  script.emptyAlertEnds = line.size() % 2 == 0;
  const TlsResult result =
      startTlsWith(std::make_unique<MadeUpEngine>(script), std::make_unique<Line>(line), 1000);
  if ((result.stream == nullptr) == (result.problem == TlsProblem::none)) std::abort();
  if (!result.stream) return;
  std::string text;
  int pauses = 0;
  char buffer[100];
  while (pauses < 100) {
    const std::optional<std::size_t> got = result.stream->read(buffer, sizeof buffer, 0);
    if (got && *got == 0) break;
    if (!got) {
      ++pauses;
      if (pauses % 10 == 5 && !result.stream->write("NOOP", 0)) break;
      continue;
    }
    text.append(buffer, *got);
  }
  if (records && !textIn(*records, script.emptyAlertEnds).starts_with(text)) std::abort();
  // What is over stays over.
  const bool over = !result.stream->write("NOOP", 0);
  const std::optional<std::size_t> last = result.stream->read(buffer, sizeof buffer, 0);
  if (over && last && *last > 0) std::abort();
}

}  // namespace
}  // namespace vornelle

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const vornelle::AlternativeNames names = vornelle::parseAlternativeNames(bytes);
  (void)vornelle::isFor(names, "mail.example");
  if (bytes.empty()) return 0;
  // As they are, which rarely gets past the handshake, and behind one.
  vornelle::talk(std::string(bytes), std::nullopt);
  const std::string_view records = bytes.substr(1);
  vornelle::talk(std::string(bytes.substr(0, 1)) + vornelle::madeUpHandshake() + std::string(records),
                 records);
  return 0;
}
