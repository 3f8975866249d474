#include "cascadecommands.h"

#include <cstring>

namespace CascadeCommands {

bool isExactly(const char *answer, const char *word)
{
    if (!answer || !word)
        return false;
    // Compare the word's length plus its NUL; strncmp stops early at a NUL in
    // the answer, so a short answer is never read past its end.
    return std::strncmp(answer, word, std::strlen(word) + 1) == 0;
}

const Entry catalogue[] = {
    {ConfigIsChangeable, Kind::ReadText, Arg::None},
    {CascadeAvailable, Kind::ReadText, Arg::None},
    {ScanSlavesLan, Kind::ReadText, Arg::None},
    {WolSlaves, Kind::ReadText, Arg::None},
    {ConnectedSlave, Kind::ReadText, Arg::Index},
    {HostnameSlave, Kind::ReadText, Arg::Ip},
    {ConnectedSlaveAvailable, Kind::ReadText, Arg::Ip},
    {ScannedSlave, Kind::ReadText, Arg::Index},
    {ScannedSlaveController, Kind::ReadText, Arg::Ip},
    {ScannedSlaveAvailable, Kind::ReadText, Arg::Ip},
    {NumberOfConnectedSlaves, Kind::ReadInt, Arg::None},
    {NumberOfScannedSlaves, Kind::ReadInt, Arg::None},
    {SetScanSlavesLanYes, Kind::Write, Arg::None},
    {SetScanSlavesLanNo, Kind::Write, Arg::None},
    {SetWolSlavesYes, Kind::Write, Arg::None},
    {SetWolSlavesNo, Kind::Write, Arg::None},
    {CmdScanSlaves, Kind::Command, Arg::None},
    {CmdAddSlave, Kind::Command, Arg::Ip},
    {CmdSubSlave, Kind::Command, Arg::Ip},
    {CmdAddScannedSlave, Kind::Command, Arg::Ip},
};

const std::size_t catalogueSize = sizeof(catalogue) / sizeof(catalogue[0]);

} // namespace CascadeCommands
