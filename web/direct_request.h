// A request dispatched as a value: its text goes in, its answer comes out, and no connection is needed for
// it.
#pragma once

#include <optional>
#include <string>

namespace vornelle {

// Reads and dispatches the request's text with the code of the plain listener, as if it had come there in one
// piece, and logs its end as it would there. nullopt where the plain listener would not answer: the text
// holds no request line. What stood in form1's request before stands there again afterwards.
[[nodiscard]] std::optional<std::string> answerDirectly(std::string text);

}  // namespace vornelle
