// SPDX-License-Identifier: MIT
// What one controller may learn of the LAN around it, without knowing the
// LAN itself: the other controllers' configurations and whom a LAN scan
// reaches.
#pragma once

#include <QString>
#include <QStringList>

#include "scenario.h"

class LanDirectory
{
public:
    // The configuration of the controller at address (online state
    // included), null when none is on the LAN.
    virtual const ControllerConfig *find(const QString &address) const = 0;
    // The first controller on the LAN with that hostname.
    virtual const ControllerConfig *findByHostname(const QString &hostname) const = 0;
    // The controllers a LAN scan of scanner probes, in the LAN's order.
    virtual QStringList scanReach(const QString &scanner) const = 0;

protected:
    ~LanDirectory() = default;
};
