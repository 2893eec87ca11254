// Any bytes as what a POP3 server sends: the session must end, and no command may go out after the line has
// failed.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/piecewise_stream.h"
#include "mail/pop3_client.h"
#include "tests/unit/mail/given_connector.h"

namespace vornelle {
namespace {

class Server : public PiecewiseStream {
 public:
  using PiecewiseStream::PiecewiseStream;

  [[nodiscard]] std::optional<std::size_t> read(char* buffer, std::size_t size, int timeout) override {
    if (failed_) std::abort();
    const std::optional<std::size_t> count = PiecewiseStream::read(buffer, size, timeout);
    last_.append(buffer, count.value_or(0));
    if (last_.size() > 3) last_.erase(0, last_.size() - 3);
    if (count > 0U) return count;
    // After a time-out the client may go on only where a text can have ended.
    failed_ = count.has_value() || last_ != ".\r\n";
    last_.clear();
    return count;
  }

  [[nodiscard]] bool write(std::string_view commands, int /*timeout*/) override {
    if (failed_ || !commands.ends_with("\r\n")) std::abort();
    return true;
  }

 private:
  bool failed_ = false;
  std::string last_;  // what has been given out, as far as it matters
};

}  // namespace
}  // namespace vornelle

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vornelle;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  // Where the client connects a second time, that server is another half of the input.
  int connections = 0;
  const auto connect = [&]() -> std::unique_ptr<NetStream> {
    if (++connections > 2) std::abort();
    return std::make_unique<Server>(connections == 1 ? bytes : bytes.substr(size / 2));
  };
  Pop3Client client(given(connect), "bob", "secret", 1000);
  if (!client.logOn()) return 0;
  std::string uidl;
  std::vector<std::string> uidls;
  const auto take = [&](std::size_t, const MaildropEntry& entry, std::string_view header) {
    if (header.size() > (1U << 20)) std::abort();
    if (!entry.uidl.empty()) uidl = entry.uidl;
    uidls.push_back(entry.uidl);
    return true;
  };
  const bool listed = client.fetchHeaders(take);
  if (listed && size % 2 != 0) {
    // A series: one message of four is not wanted after all, and of the others every second one is deleted.
    client.expect(std::vector<std::string_view>(uidls.begin(), uidls.end()));
    for (std::size_t n = 0; n < std::min<std::size_t>(uidls.size(), 300); ++n) {
      if (n % 4 == 3) continue;
      const bool whole = client.fetchMessage(uidls[n]).has_value();
      const bool marked = n % 2 != 0 && client.deleteMessage(uidls[n]);
      if (marked && !whole) std::abort();
    }
    if (size % 3 == 0) return 0;
  }
  static_cast<void>(client.fetchUidls());
  const bool fetched = client.fetchMessage(uidl).has_value();
  const bool deleted = client.deleteMessage(uidl);
  if (deleted && !fetched) std::abort();
  if (client.deleteMessage(uidl) && deleted) std::abort();
  return 0;
}
