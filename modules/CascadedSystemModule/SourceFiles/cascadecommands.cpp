// SPDX-License-Identifier: MIT
#include "cascadecommands.h"

#include <cstdio>
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

bool probeReplyHasPrefix(char *reply, int received, const char *prefix)
{
    if (!reply || received <= 0 || received > ProbeBufferSize)
        return false;
    reply[received - 1] = '\0';
    return std::strncmp(reply, prefix, std::strlen(prefix)) == 0;
}

bool probeReplyIsExactly(const char *reply, int received, const char *word)
{
    const int len = int(std::strlen(word)) + 1;
    return reply && received >= len && received <= ProbeBufferSize
           && std::memcmp(reply, word, size_t(len)) == 0;
}

bool probeVersionQualifies(const char *reply, int received)
{
    if (!reply || received <= 0 || received > ProbeBufferSize)
        return false;
    if (std::strncmp(reply, ProbeSetVersion, std::strlen(ProbeSetVersion)) != 0)
        return false;
    // Copy the version part into a terminated buffer: the reply need not end
    // in a zero byte.
    char version[ProbeBufferSize + 1] = {0};
    if (received > ProbeVersionOffset)
        std::memcpy(version, reply + ProbeVersionOffset, size_t(received - ProbeVersionOffset));
    unsigned int major = 0, minor = 0, patch = 0;
    if (std::sscanf(version, "v%u.%u.%u", &major, &minor, &patch) != 3)
        return false;
    return major > 2 || (major == 2 && minor >= 6);
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
