// SPDX-License-Identifier: MIT
// Every parameter and command text the module exchanges with the controller,
// in one place, with the rules by which answers are judged.
//
// Texts are printf formats handed to IOManager as they stand: "%2.2d" takes an
// int index counted from 1, "%s" a NUL-terminated Latin-1 string. No request
// text is ever built by concatenation.
#pragma once

#include <cstddef>

#include "ControllerProtocol.h"

namespace CascadeCommands {

// Size of every answer buffer handed to IOManager.
using ControllerProtocol::AnswerSize;

// ---- Parameter reads, text answer (get_parameter) ------------------------
constexpr char ConfigIsChangeable[] = "config is_changeable";
constexpr char CascadeAvailable[] = "cascade available";
constexpr char ScanSlavesLan[] = "cascade scan_slaves_lan";
constexpr char WolSlaves[] = "cascade wol_slaves";
constexpr char ConnectedSlave[] = "cascade connected_slave d%2.2d";
constexpr char HostnameSlave[] = "system hostname_slave %s";
constexpr char ConnectedSlaveAvailable[] = "cascade connected_slave_available %s";
constexpr char ScannedSlave[] = "cascade scanned_slave d%2.2d";
constexpr char ScannedSlaveController[] = "cascade scanned_slave_controller %s";
constexpr char ScannedSlaveAvailable[] = "cascade scanned_slave_available %s";

// ---- Parameter reads, integer answer (get_parameter_int) -----------------
constexpr char NumberOfConnectedSlaves[] = "cascade number_of_connected_slaves";
constexpr char NumberOfScannedSlaves[] = "cascade number_of_scanned_slaves";

// ---- Parameter writes (set_parameter, complete text as format) -----------
constexpr char SetScanSlavesLanYes[] = "cascade scan_slaves_lan yes";
constexpr char SetScanSlavesLanNo[] = "cascade scan_slaves_lan no";
constexpr char SetWolSlavesYes[] = "cascade wol_slaves yes";
constexpr char SetWolSlavesNo[] = "cascade wol_slaves no";

// ---- Commands (send_command) ----------------------------------------------
constexpr char CmdScanSlaves[] = "korvane cascade scan_slaves";
constexpr char CmdAddSlave[] = "korvane cascade add_slave %s";
constexpr char CmdSubSlave[] = "korvane cascade sub_slave %s";
constexpr char CmdAddScannedSlave[] = "korvane cascade add_scanned_slave %s";

// set_timeout arguments sent right before add_slave and sub_slave.
constexpr int SlaveTimeout[3] = {0, 20000, 0};

// ---- Answer words ----------------------------------------------------------
using ControllerProtocol::No;
using ControllerProtocol::Yes;
constexpr const char *KorvaneOk = ControllerProtocol::OkReply;

// ---- Direct UDP probe of a controller named by hand -----------------------
// Requests are sent with their terminating zero byte.
constexpr unsigned short ProbePort = ControllerProtocol::Port;
constexpr char ProbeGetVersion[] = "korvane get system version";     // 27 bytes sent
constexpr char ProbeGetAccess[] = "korvane get system access";       // 26 bytes sent
constexpr char ProbeGetCanSlave[] = "korvane get system can_slave";  // 29 bytes sent
constexpr char ProbeSetVersion[] = "korvane set system version";     // 26-byte prefix
constexpr char ProbeSetAccess[] = "korvane set system access ";      // 26-byte prefix
constexpr char ProbeAccessFull[] = "korvane set system access full"; // exact, 31 bytes
constexpr char ProbeCanSlaveYes[] = "korvane set system can_slave yes"; // exact, 33 bytes
constexpr int ProbeVersionOffset = 27; // "v%u.%u.%u" starts here in the version reply
constexpr int ProbeBufferSize = 300;    // receive buffer; a reply that fills it counts as none

// Checks of a probe reply. reply is the probe's receive buffer of
// ProbeBufferSize bytes, zero-filled before the receive, and received the
// receive result; a result of 0 or less is never a valid reply.
//
// The reply begins with prefix once its last received byte is replaced by a
// zero byte (so a reply must carry its own terminator). Changes reply.
bool probeReplyHasPrefix(char *reply, int received, const char *prefix);
// The reply holds exactly word followed by its zero byte.
bool probeReplyIsExactly(const char *reply, int received, const char *word);
// A version reply ("korvane set system version v2.7.1") that names 2.6.0 or
// later; all three numbers must be there.
bool probeVersionQualifies(const char *reply, int received);

// True when answer is exactly word: the same bytes, the terminating NUL
// included, so "yes " or "Yes" is not "yes". answer may be null (false).
bool isExactly(const char *answer, const char *word);

inline bool isYes(const char *answer) { return isExactly(answer, Yes); }
inline bool isNo(const char *answer) { return isExactly(answer, No); }

// A command succeeded when send_command returned 0 and the reply is exactly
// "korvane ok".
inline bool commandSucceeded(int result, const char *answer)
{
    return result == 0 && isExactly(answer, KorvaneOk);
}

// ---- The catalogue as data --------------------------------------------------
// Lets tools (the simulator, the fault-matrix test) enumerate every request.
enum class Kind { ReadText, ReadInt, Write, Command };
enum class Arg { None, Index, Ip };

struct Entry
{
    const char *text; // the printf format above
    Kind kind;
    Arg arg;
};

// All requests the module sends through IOManager, and their number.
extern const Entry catalogue[];
extern const std::size_t catalogueSize;

} // namespace CascadeCommands
