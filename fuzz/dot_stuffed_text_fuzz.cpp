// Any bytes as a multi-line answer, in pieces of any size, against a second reading of the same bytes that
// has them all at once and goes line by line.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>

#include "mail/dot_stuffed_text.h"

namespace vornelle {
namespace {

struct Whole {
  std::string text;
  std::size_t read;  // bytes of the wire
};

// nullopt where the text does not end.
std::optional<Whole> readLineByLine(std::string_view wire, bool bareLineFeeds) {
  const std::string_view lineEnd = bareLineFeeds ? "\n" : "\r\n";
  Whole whole{};
  while (true) {
    const std::size_t end = wire.find(lineEnd, whole.read);
    if (end == std::string_view::npos) return std::nullopt;
    std::string_view line = wire.substr(whole.read, end + lineEnd.size() - whole.read);
    whole.read += line.size();
    if (line == ".\r\n" || line == ".\n") return whole;
    if (line.starts_with("..")) line.remove_prefix(1);
    whole.text += line;
  }
}

}  // namespace
}  // namespace vornelle

// The first byte: the highest bit says how lines end, the next one whether the text is limited to half of
// what there is, the others how long the pieces are.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vornelle;
  if (size == 0) return 0;
  const bool bareLineFeeds = (data[0] & 0x80U) != 0;
  const std::size_t limit = (data[0] & 0x40U) != 0 ? size / 2 : size;
  const std::size_t piece = (data[0] & 0x3FU) + 1U;
  const std::string_view wire(reinterpret_cast<const char*>(data) + 1, size - 1);

  std::string taken;
  DotStuffedText text(bareLineFeeds, limit, [&](std::string_view more) { taken += more; });
  std::size_t read = 0;
  while (read < wire.size() && !text.ended() && !text.tooLong()) {
    const std::string_view next = wire.substr(read, piece);
    const std::size_t count = text.read(next);
    if (count > next.size() || (count < next.size() && !text.ended())) std::abort();
    read += count;
  }

  if (taken.size() > limit) std::abort();
  const std::optional<Whole> whole = readLineByLine(wire, bareLineFeeds);
  if (text.tooLong()) {
    if (limit == size) std::abort();
    return 0;
  }
  if (text.ended() != whole.has_value()) std::abort();
  if (whole && (taken != whole->text || read != whole->read)) std::abort();
  return 0;
}
