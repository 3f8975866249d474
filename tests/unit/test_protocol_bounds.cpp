// The framing facts both ends share: the longest request is the same number
// for the host (what it sends) and the simulator (what it accepts), and a
// simulated controller answers over UDP nothing that a reply could be.
// Plus the socket library's bounded connect.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "ControllerProtocol.h"
#include "hostprotocol.h"
#include "protocol.h"
#include "vx_udptcp.h"

using ControllerProtocol::MaxRequestLength;

namespace {

std::string requestOfLength(std::size_t n)
{
    const std::string head = "korvane get system ";
    return head + std::string(n - head.size(), 'x');
}

// A listener on 127.0.72.1 with the given backlog; its port in *port.
int listener(int backlog, unsigned short *port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = inet_addr("127.0.72.1");
    socklen_t len = sizeof a;
    if (bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0 || listen(fd, backlog) != 0
        || getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len) != 0) {
        close(fd);
        return -1;
    }
    *port = ntohs(a.sin_port);
    return fd;
}

} // namespace

TEST(LongestRequest, BothEndsDrawTheLineAtTheSamePlace)
{
    EXPECT_TRUE(HostProtocol::isSendable(requestOfLength(MaxRequestLength)));
    EXPECT_FALSE(HostProtocol::isSendable(requestOfLength(MaxRequestLength + 1)));
    EXPECT_EQ(SimProtocol::parseRequest(requestOfLength(MaxRequestLength)).kind, SimProtocol::Kind::Read);
    const SimProtocol::Request tooLong = SimProtocol::parseRequest(requestOfLength(MaxRequestLength + 1));
    EXPECT_EQ(tooLong.kind, SimProtocol::Kind::Invalid);
    EXPECT_EQ(tooLong.error, "request too long");
}

TEST(UdpAnswers, NoReplyIsEverARequestToAnswer)
{
    for (const std::string &reply : {SimProtocol::valueReply("system version", "v2.7.1"), SimProtocol::okReply(),
                                     SimProtocol::errorReply("unknown parameter x")})
        EXPECT_FALSE(SimProtocol::isReadRequest(reply)) << reply;
    EXPECT_TRUE(SimProtocol::isReadRequest("korvane get system version"));
    EXPECT_FALSE(SimProtocol::isReadRequest("korvane cascade sub_slave 127.0.0.3"));
}

TEST(BoundedConnect, ConnectsRefusesAndTimesOut)
{
    unsigned short port = 0;
    const int fd = listener(0, &port);
    ASSERT_GE(fd, 0);
    const unsigned int ip = vx_ip_name2ip("127.0.72.1");

    vx_ip_socket_type first = nullptr;
    ASSERT_EQ(vx_tcp_client_connect(&first, ip, port, 1000000u), VX_OK);
    // The accept queue is full now: the next connect is never completed.
    vx_ip_socket_type second = nullptr;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(vx_tcp_client_connect(&second, ip, port, 300000u), VX_TIMEOUT);
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
    EXPECT_GE(ms.count(), 290);
    EXPECT_LT(ms.count(), 2000);
    EXPECT_EQ(second, nullptr);

    EXPECT_EQ(vx_tcp_exit(first), VX_OK);
    close(fd);
    vx_ip_socket_type refused = nullptr;
    EXPECT_EQ(vx_tcp_client_connect(&refused, ip, port, 1000000u), VX_ERROR);
    EXPECT_EQ(errno, ECONNREFUSED);
}
