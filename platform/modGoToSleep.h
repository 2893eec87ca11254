// A pause of the whole program.
#pragma once

namespace vornelle {

// Stops the thread for so many milliseconds; serves nothing meanwhile. 0 and less: does nothing.
void pause(int milliseconds);

}  // namespace vornelle
