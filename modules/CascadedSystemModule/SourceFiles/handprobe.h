// SPDX-License-Identifier: MIT
// The direct UDP probe of a controller named by hand in the settings dialog:
// one request datagram (with its zero byte) to the controller's port, one
// reply, over a socket of the probe's own that is closed again whatever the
// outcome. Every send and receive is bounded, so a probe of a silent address
// costs at most one receive time-out per request.
#pragma once

#include <QString>

namespace HandProbe {

// The dotted address ("10.0.0.5") that name resolves to, or an empty text
// when it does not resolve.
QString addressOf(const QString &name);

// Whether name (an address or a host name) resolves and answers the version
// and access requests as a controller does.
bool answersAsController(const QString &name);

// Whether the controller named name can become a slave: full access, version
// 2.6.0 or later and "can_slave yes", asked in this order.
bool qualifiesAsSlave(const QString &name);

} // namespace HandProbe
