// What is wrong with a certificate, and which of several faults is told.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include "platform/tls.h"

namespace vornelle {

class TlsFaults {
 public:
  void add(TlsProblem problem) { noted_[static_cast<std::size_t>(problem)] = true; }

  // none where there is no fault. Where the chain leads nowhere that comes first: nothing that the
  // certificate says, its name included, can be believed then. A name for another host comes last: it is the
  // one that the user may mend.
  [[nodiscard]] TlsProblem gravest() const {
    constexpr std::array kOrder = {TlsProblem::outOfMemory,  TlsProblem::selfSigned,
                                   TlsProblem::untrusted,    TlsProblem::weakSignature,
                                   TlsProblem::weakKey,      TlsProblem::badCertificate,
                                   TlsProblem::wrongPurpose, TlsProblem::expired,
                                   TlsProblem::notYetValid,  TlsProblem::wrongName};
    const auto* const found = std::find_if(
        kOrder.begin(), kOrder.end(), [this](TlsProblem p) { return noted_[static_cast<std::size_t>(p)]; });
    return found == kOrder.end() ? TlsProblem::none : *found;
  }

 private:
  std::array<bool, static_cast<std::size_t>(TlsProblem::badCertificate) + 1> noted_{};
};

}  // namespace vornelle
