// SPDX-License-Identifier: MIT
// How a simulated controller answers each request: one table of reads, one
// of writes and one of commands, keyed by the request's name. To add a
// request, add a row to the matching table in requests.cpp.
#pragma once

#include <QString>
#include <QStringList>
#include <string>

#include "directory.h"
#include "protocol.h"
#include "scan.h"
#include "scenario.h"

// The cascade state a controller keeps (what the host sees of the master's).
struct CascadeState
{
    QStringList connected;   // addresses of the connected slaves
    QString scanLan;         // "yes"/"no"
    QString wol;             // "yes"/"no"
    QStringList handEntered; // controllers entered with add_scanned_slave
};

// Everything an answer may read or change.
struct RequestContext
{
    const ControllerConfig &self;
    CascadeState &cascade;
    ScanEngine &scan;
    const LanDirectory &lan;
};

// The reply line to a parsed request ("korvane error ..." for anything the
// controller refuses or does not know). May change the controller's state.
std::string answerRequest(RequestContext &c, const SimProtocol::Request &r);
