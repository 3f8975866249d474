// How a simulated controller answers each request: one table of reads, one
// of writes and one of commands, keyed by the request's name. To add a
// request, add a row to the matching table in requests.cpp.
#pragma once

#include <string>

#include "protocol.h"

class SimController;

// The reply line to a parsed request ("korvane error ..." for anything the
// controller refuses or does not know). May change the controller's state.
std::string answerRequest(SimController &c, const SimProtocol::Request &r);
