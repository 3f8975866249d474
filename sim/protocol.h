// SPDX-License-Identifier: MIT
// The controller's text protocol, as the simulator parses and answers it.
//
// Pure functions over byte strings: no sockets, no Qt, no state. Every input
// the simulator receives from the network passes through parseRequest() first,
// so it must cope with any bytes at all. The framing facts (port, longest
// request, reply words) are those of ControllerProtocol.h.
#pragma once

#include <cstddef>
#include <string>

#include "ControllerProtocol.h"

namespace SimProtocol {

enum class Kind {
    Read,    // "korvane get <name>"            -> "korvane set <name> <value>"
    Write,   // "korvane set <group> <name> <value>" -> "korvane ok"
    Command, // "korvane <anything else>"       -> "korvane ok" or a reply line
    Invalid  // not a request; error says why
};

struct Request
{
    Kind kind = Kind::Invalid;
    std::string name;  // Read: the parameter with its argument; Write: "<group> <name>";
                       // Command: the command text after "korvane "
    std::string value; // Write only: everything after the name
    std::string error; // Invalid only
};

// Parses one request text (without its line end or zero byte). Requests are
// printable ASCII, at most ControllerProtocol::MaxRequestLength bytes, and
// begin with "korvane ".
Request parseRequest(const std::string &text);

// Whether a request text asks for a value ("korvane get ..."). Over UDP a
// controller answers these and nothing else: no reply of any controller
// begins this way, so two controllers can never answer each other's replies.
bool isReadRequest(const std::string &text);

// Takes the request text out of a UDP datagram: the bytes before the first
// zero byte. A datagram without a zero byte is refused (false, error set);
// bytes after the zero byte are ignored.
bool datagramText(const char *data, std::size_t size, std::string *text, std::string *error);

// Parses a numbered argument "dNN" (at least two digits, counting from 1).
// False for anything else, also for "d00", "d1" and numbers beyond 9999.
bool parseIndex(const std::string &arg, int *index);

// Reply lines (without line end or zero byte).
std::string valueReply(const std::string &name, const std::string &value); // "korvane set <name> <value>"
std::string okReply();                                                    // "korvane ok"
std::string errorReply(const std::string &reason);                        // "korvane error <reason>"

} // namespace SimProtocol
