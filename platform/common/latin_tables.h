// The three parts of ISO 8859 that Windows has no code page for: 10 (Nordic), 14 (Celtic) and 16 (Romanian).
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vornelle {

// nullopt for any other part.
[[nodiscard]] std::optional<std::u32string> fromLatinTable(int part, std::string_view bytes);

}  // namespace vornelle
