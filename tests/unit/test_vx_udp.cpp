// SPDX-License-Identifier: MIT
// The socket library's UDP sockets over loopback: waits, buffers, binding.
#include <fcntl.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "vxtest.h"

namespace {

// A poll returns at once. A bounded wait runs its whole time-out, also with
// no socket to wait on; one of a second or more is split into whole seconds
// and the rest, and a second too long fails.
TEST(Udp, WaitsOfASecondOrMoreRunTheirWholeTime)
{
    vx_ip_socket_type s = udp();
    char buf[16];
    int idx = -1;
    double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_from(s, buf, sizeof buf, nullptr, nullptr, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_multisocket(&s, 1, &idx, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    EXPECT_LT(nowMs() - t0, 100.0);
    for (const int n : {1, 0}) {
        t0 = nowMs();
        EXPECT_EQ(vx_udp_receive_multisocket(n ? &s : nullptr, n, &idx, buf, sizeof buf, kShortUs, 0), VX_TIMEOUT);
        EXPECT_GE(nowMs() - t0, kShortUs / 1e3);
        EXPECT_LT(nowMs() - t0, kShortUs / 1e3 + 2000);
    }
    const unsigned int longUs = 1100000u;
    t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, longUs, 0), VX_TIMEOUT);
    EXPECT_GE(nowMs() - t0, longUs / 1e3);
    EXPECT_LT(nowMs() - t0, longUs / 1e3 + 500);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

// Each row's datagram is read by that row: a datagram left behind (as by
// maxlen 0, which takes it off the socket unread) would show in the next.
TEST(Udp, FullBufferRule)
{
    struct { int sent, maxlen; unsigned short option; int result; } cases[] = {
        {8, 8, 0, VX_TRUNCATED}, {12, 8, 0, VX_TRUNCATED}, {8, 8, VX_RECV_FULLOK, 8},
        {12, 8, VX_RECV_FULLOK, 8}, {4, 0, 0, VX_TRUNCATED}, {7, 8, 0, 7}, {0, 8, 0, 0},
    };
    unsigned short port = 0;
    vx_ip_socket_type rx = udp(&port), tx = udp();
    for (const auto &c : cases) {
        const std::string sent = std::string("abcdefghijkl").substr(0, c.sent);
        ASSERT_EQ(sendTo(tx, sent, port), VX_OK);
        std::vector<char> buf(c.maxlen + 1, '#');
        EXPECT_EQ(vx_udp_receive(rx, buf.data(), c.maxlen, kLongUs, c.option), c.result) << c.sent << "/" << c.option;
        EXPECT_EQ(std::string(buf.data(), std::min(c.sent, c.maxlen)), sent.substr(0, c.maxlen));
        EXPECT_EQ(buf[c.maxlen], '#') << "written past maxlen";
    }
    vx_udp_exit(tx);
    vx_udp_exit(rx);
}

TEST(Udp, NewestOnlyDrainsTheQueue)
{
    unsigned short rxPort = 0, txPort[3] = {};
    vx_ip_socket_type rx = udp(&rxPort), tx[3];
    const std::string text[3] = {"one", "three", "seventh"};
    for (int i = 0; i < 3; ++i) {
        tx[i] = udp(&txPort[i]);
        ASSERT_EQ(sendTo(tx[i], text[i], rxPort), VX_OK);
    }
    char buf[32];
    unsigned int ip = 0;
    unsigned short port = 0;
    EXPECT_EQ(vx_udp_receive_from(rx, buf, sizeof buf, &ip, &port, kLongUs, VX_RECV_NEWEST), 7);
    EXPECT_EQ(std::string(buf, 7), text[2]);
    EXPECT_EQ(ip, kLoopback);
    EXPECT_EQ(port, txPort[2]);
    EXPECT_EQ(vx_udp_receive(rx, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    // Without the option the oldest comes first.
    ASSERT_EQ(sendTo(tx[0], "first", rxPort), VX_OK);
    ASSERT_EQ(sendTo(tx[0], "second!", rxPort), VX_OK);
    EXPECT_EQ(vx_udp_receive(rx, buf, sizeof buf, kLongUs, 0), 5);
    EXPECT_EQ(vx_udp_receive(rx, buf, sizeof buf, kLongUs, 0), 7);
    for (auto s : {tx[0], tx[1], tx[2], rx})
        EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(Udp, MultisocketReadsTheLowestReadyIndex)
{
    unsigned short p0 = 0, p1 = 0;
    vx_ip_socket_type r0 = udp(&p0), r1 = udp(&p1), tx = udp();
    ASSERT_EQ(sendTo(tx, "a", p0), VX_OK);
    ASSERT_EQ(sendTo(tx, "bb", p1), VX_OK);
    vx_ip_socket_type set[2] = {r1, r0};
    char buf[16];
    int idx = -1;
    EXPECT_EQ(vx_udp_receive_multisocket(set, 2, &idx, buf, sizeof buf, kLongUs, 0), 2);
    EXPECT_EQ(idx, 0);
    EXPECT_EQ(vx_udp_receive_multisocket(set, 2, &idx, buf, sizeof buf, kLongUs, 0), 1);
    EXPECT_EQ(idx, 1);
    EXPECT_EQ(vx_udp_receive_multisocket(set, 2, &idx, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    for (auto s : {tx, r1, r0})
        EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(Udp, Binding)
{
    vx_ip_socket_type lazy = nullptr, any = nullptr, fixed = nullptr;
    ASSERT_EQ(vx_udp_init(&lazy, 0, 0), VX_OK);
    EXPECT_EQ(portOf(lazy), 0) << "port 0 without options binds at the first send";
    ASSERT_EQ(vx_udp_init(&any, 1, VX_OPT_ANYPORT | VX_OPT_BROADCAST), VX_OK);
    const unsigned short anyPort = portOf(any);
    EXPECT_NE(anyPort, 0);
    EXPECT_NE(anyPort, 1) << "the passed port is ignored";
    ASSERT_EQ(sendTo(lazy, "hi", anyPort), VX_OK);
    EXPECT_NE(portOf(lazy), 0);
    const unsigned short reuse = portOf(lazy);
    vx_udp_exit(lazy);
    ASSERT_EQ(vx_udp_init(&fixed, reuse, 0), VX_OK);
    EXPECT_EQ(portOf(fixed), reuse);
    vx_udp_exit(fixed);
    vx_udp_exit(any);
}

TEST(Descriptors, ZeroIsNeverALibrarySocket)
{
    const int saved = dup(STDIN_FILENO); // -1 when there is no standard input
    close(STDIN_FILENO);
    vx_ip_socket_type s = nullptr;
    const int rc = vx_udp_init(&s, 0, VX_OPT_ANYPORT);
    if (rc == VX_OK)
        vx_udp_exit(s);
    const bool zeroStillTaken = fcntl(STDIN_FILENO, F_GETFD) != -1;
    dup2(saved, STDIN_FILENO);
    close(saved);
    EXPECT_EQ(rc, VX_OK);
    EXPECT_TRUE(zeroStillTaken) << "descriptor 0 was the library's socket";
}

} // namespace
