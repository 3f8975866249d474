// SPDX-License-Identifier: MIT
// Framing facts of the controller's text protocol, shared by the module, the
// host, the simulator, the tests and the benchmarks. Everything that two of
// them must agree on byte for byte lives here, once.
//
// A request is one line of printable ASCII that begins with "korvane ". Over
// TCP it ends with "\n"; over UDP it ends with a zero byte. The reply has the
// same framing. Reads ("korvane get <name>") are answered
// "korvane set <name> <value>", writes ("korvane set <name> <value>") and
// commands are answered "korvane ok", and a refusal of any request is
// "korvane error" followed by a blank and a reason.
#pragma once

#include <cstddef>

namespace ControllerProtocol {

// UDP and TCP port of every controller.
constexpr unsigned short Port = 50105;

// Size of every answer buffer a module hands to IOManager: at most
// MaxAnswerLength characters and the terminating NUL.
constexpr int AnswerSize = 200;
constexpr int MaxAnswerLength = AnswerSize - 1;

// Longest request text, without its terminator ("\n" or the zero byte), so
// that a framed request always fits in 512 bytes. Both ends use this bound:
// the host refuses to send a longer request and the simulator refuses to
// accept one.
constexpr std::size_t MaxRequestLength = 511;

// Words of the protocol.
constexpr char RequestPrefix[] = "korvane ";    // every request and reply
constexpr char ReadPrefix[] = "korvane get ";   // a read request
constexpr char ValuePrefix[] = "korvane set ";  // a write request, or the answer to a read
constexpr char OkReply[] = "korvane ok";        // a write or command succeeded
constexpr char ErrorReply[] = "korvane error";  // a refusal; a blank and the reason follow
constexpr char Yes[] = "yes";
constexpr char No[] = "no";

} // namespace ControllerProtocol
