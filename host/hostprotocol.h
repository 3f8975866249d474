// SPDX-License-Identifier: MIT
// How the host frames requests and judges reply lines on its TCP connection
// to the controller. Pure functions over byte strings (no sockets, no Qt), so
// that every reply the network delivers can be checked in isolation.
#pragma once

#include <cstddef>
#include <string>

#include "ControllerProtocol.h"

namespace HostProtocol {

// Size of every answer buffer a module passes, and the longest request line
// sent (without its "\n"; longer requests are refused).
using ControllerProtocol::AnswerSize;
using ControllerProtocol::MaxRequestLength;
// Longest reply line accepted (without its "\n"); longer replies are malformed.
constexpr std::size_t MaxReplyLength = 4095;

enum class Verdict {
    Ok,        // the expected reply; the value (if any) is stored
    Error,     // the controller refused: "korvane error" or "korvane error <reason>"
    Malformed  // anything else
};

// The request lines, without the "\n".
std::string readRequest(const std::string &parameter);  // "korvane get <parameter>"
std::string writeRequest(const std::string &assignment); // "korvane set <name> <value>"

// Whether a formatted request text can be sent as one line: not empty, no
// line end, no zero byte, and within MaxRequestLength once framed.
bool isSendable(const std::string &line);

// The controller's refusal line, with its reason in *reason when not null.
bool isErrorReply(const std::string &line, std::string *reason = nullptr);

// Reply to "korvane get <parameter>": must be "korvane set <parameter> <value>"
// for the same parameter; "korvane set <parameter>" alone is an empty value.
Verdict judgeReadReply(const std::string &line, const std::string &parameter, std::string *value);

// Reply to a write: exactly "korvane ok".
Verdict judgeWriteReply(const std::string &line);

// Reply to a command: any line is the reply; a refusal line is an Error. A
// line holding a zero byte cannot be handed on as text and is Malformed.
Verdict judgeCommandReply(const std::string &line);

// Strict decimal conversion: optional sign, digits only, no blanks, in range.
bool parseInt(const std::string &text, int *value);

// Moves the first complete line (up to "\n", a "\r" before it dropped) out of
// *buffer into *line. False while no line end has arrived.
bool takeLine(std::string *buffer, std::string *line);

// Writes text into a module's answer buffer: at most AnswerSize - 1 bytes
// and a terminating NUL.
void copyAnswer(char *answer, const std::string &text);

} // namespace HostProtocol
