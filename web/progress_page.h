// The page in place of one that has to wait for what is under way.
#pragma once

#include <string>

namespace vornelle {

// Shows what is under way and how far it is, asks again and again, and loads the page that was asked for,
// which has the same address, once it is done. From the template "progress.htm"; lets no events in.
[[nodiscard]] std::string progressPage();

}  // namespace vornelle
