// The temporary application folder.
#pragma once

namespace vornelle::sim {

// Removes the present one, if any, and makes a new one with an empty "data" in it.
void freshApplicationFolder();

}  // namespace vornelle::sim
