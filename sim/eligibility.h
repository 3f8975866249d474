// SPDX-License-Identifier: MIT
// Which controllers may become a slave: the one rule, used both for a
// controller's own configuration and for what a scan probe learnt of one.
#pragma once

#include <QString>

// "2.7.1" or "v2.7.1" is 2.6 or later.
bool versionQualifies(const QString &version);

// Full access, system version 2.6 or later and can_slave "yes" (whether the
// controller is online is not part of it).
bool mayBecomeSlave(const QString &access, const QString &version, const QString &canSlave);
