// SPDX-License-Identifier: MIT
// The probe's reply checks, fed as the settings dialog feeds them: one
// datagram received into a zero-filled buffer of ProbeBufferSize bytes, with
// any receive result the socket library can give (its failure codes, 0, and
// every length up to a full buffer).
//
// Input: byte 0 picks the receive result, the rest is the datagram.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "cascadecommands.h"
#include "vx_udptcp.h"

using namespace CascadeCommands;

namespace {

const int Failures[] = {VX_TIMEOUT, VX_ERROR, VX_TRUNCATED, VX_ACCEPTED, VX_PEER_CLOSED, 0};

// A fresh buffer for every check, as each exchange clears it; on the heap
// and of the exact size, so that a read or write past it is caught.
std::unique_ptr<char[]> receive(const uint8_t *datagram, int length)
{
    std::unique_ptr<char[]> buffer(new char[ProbeBufferSize]);
    std::memset(buffer.get(), 0, ProbeBufferSize);
    std::memcpy(buffer.get(), datagram, size_t(length));
    return buffer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const int length = int(size - 1 < size_t(ProbeBufferSize) ? size - 1 : size_t(ProbeBufferSize));
    const int nFailures = int(sizeof Failures / sizeof Failures[0]);
    const int received = data[0] < nFailures ? Failures[data[0]] : length;
    const uint8_t *datagram = data + 1;

    // The reachability check, then the eligibility check.
    bool accepted = false;
    accepted |= probeReplyHasPrefix(receive(datagram, length).get(), received, ProbeSetVersion);
    accepted |= probeReplyHasPrefix(receive(datagram, length).get(), received, ProbeSetAccess);
    accepted |= probeReplyIsExactly(receive(datagram, length).get(), received, ProbeAccessFull);
    accepted |= probeVersionQualifies(receive(datagram, length).get(), received);
    accepted |= probeReplyIsExactly(receive(datagram, length).get(), received, ProbeCanSlaveYes);

    // A failed or empty receive is never a reply.
    if (received <= 0 && accepted)
        __builtin_trap();
    return 0;
}
