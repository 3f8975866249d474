// SPDX-License-Identifier: MIT
#include "handprobe.h"

#include <cstring>

#include "cascadecommands.h"
#include "vx_udptcp.h"

using namespace CascadeCommands;

namespace {

const unsigned int ProbeSendTimeoutUs = 100000;
const unsigned int ProbeReceiveTimeoutUs = 500000;
const unsigned short ProbeSocketOptions = VX_OPT_BROADCAST | VX_OPT_ANYPORT;

// Sends request (with its zero byte) to port ProbePort of ip and receives one
// reply into reply (ProbeBufferSize bytes, cleared first). Returns the
// receive result, or VX_ERROR when the send failed.
int probeExchange(vx_ip_socket_type sock, unsigned int ip, const char *request, char *reply)
{
    std::memset(reply, 0, ProbeBufferSize);
    const int len = int(std::strlen(request)) + 1;
    if (vx_udp_send(sock, request, len, ip, ProbePort, ProbeSendTimeoutUs) != VX_OK)
        return VX_ERROR;
    return vx_udp_receive_from(sock, reply, ProbeBufferSize, nullptr, nullptr, ProbeReceiveTimeoutUs, 0);
}

// Resolves name and runs dialogue over a probe socket of its own, which is
// closed whatever the dialogue's outcome. False when the name does not
// resolve or no socket can be opened, else the dialogue's verdict.
template <class Dialogue>
bool probeController(const QString &name, Dialogue dialogue)
{
    const unsigned int ip = vx_ip_name2ip(name.toLatin1().constData());
    if (ip == 0)
        return false;
    vx_ip_socket_type sock = nullptr;
    if (vx_udp_init(&sock, 0, ProbeSocketOptions) != VX_OK)
        return false;
    const bool verdict = dialogue(sock, ip);
    vx_udp_exit(sock);
    return verdict;
}

} // namespace

namespace HandProbe {

QString addressOf(const QString &name)
{
    const unsigned int ip = vx_ip_name2ip(name.toLatin1().constData());
    if (ip == 0)
        return QString();
    int a = 0, b = 0, c = 0, d = 0;
    vx_ip_ip2num(&a, &b, &c, &d, ip);
    return QStringLiteral("%1.%2.%3.%4").arg(a).arg(b).arg(c).arg(d);
}

bool answersAsController(const QString &name)
{
    return probeController(name, [](vx_ip_socket_type sock, unsigned int ip) {
        char s[ProbeBufferSize];
        int n = probeExchange(sock, ip, ProbeGetVersion, s);
        if (!probeReplyHasPrefix(s, n, ProbeSetVersion))
            return false;
        n = probeExchange(sock, ip, ProbeGetAccess, s);
        return probeReplyHasPrefix(s, n, ProbeSetAccess);
    });
}

bool qualifiesAsSlave(const QString &name)
{
    return probeController(name, [](vx_ip_socket_type sock, unsigned int ip) {
        char s[ProbeBufferSize];
        int n = probeExchange(sock, ip, ProbeGetAccess, s);
        if (!probeReplyIsExactly(s, n, ProbeAccessFull))
            return false;
        n = probeExchange(sock, ip, ProbeGetVersion, s);
        if (!probeVersionQualifies(s, n))
            return false;
        n = probeExchange(sock, ip, ProbeGetCanSlave, s);
        return probeReplyIsExactly(s, n, ProbeCanSlaveYes);
    });
}

} // namespace HandProbe
