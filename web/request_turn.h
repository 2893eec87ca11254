// Whose request stands in form1: the plain listener's, or one that the gateway dispatches.
//
// There is one requestText and one requestPath, and all connections of the plain listener share them. A
// request of the gateway is read and dispatched by the same code and needs the same place, in the middle of
// whatever lets events in. So for its turn the plain listener's request is put aside, and an event of the
// plain listener that comes in the meantime takes its own back for as long as its handler runs:
//
//   plain listener waits for a request line              form1 holds the plain request
//     a browser's request is dispatched (GatewayTurn)    form1 holds the browser's; the plain one is aside
//       bytes come on the plain listener (PlainTurn)     form1 holds the plain one
//       an action yields, a page is asked for (GatewayTurn)  form1 holds the second browser's
//     and back, step by step
#pragma once

#include "core/form1.h"

namespace vornelle {

// For as long as it lives form1's request is a new, empty one of the gateway's; afterwards what stood there
// before stands there again.
class GatewayTurn {
 public:
  GatewayTurn();
  ~GatewayTurn();
  GatewayTurn(const GatewayTurn&) = delete;
  GatewayTurn& operator=(const GatewayTurn&) = delete;

 private:
  bool nested_;  // in another request of the gateway's
  Request before_;
};

// For as long as it lives form1's request is the plain listener's. Changes nothing where it is that already.
class PlainTurn {
 public:
  PlainTurn();
  ~PlainTurn();
  PlainTurn(const PlainTurn&) = delete;
  PlainTurn& operator=(const PlainTurn&) = delete;

 private:
  bool taken_;  // from a request of the gateway's
  Request before_;
};

}  // namespace vornelle
