// SPDX-License-Identifier: MIT
// The socket library's address conversions, and arguments that can never
// work.
#include <string>
#include <vector>

#include "vxtest.h"

namespace {

TEST(Address, Conversions)
{
    EXPECT_EQ(vx_ip_num2ip(192, 168, 1, 20), 0xC0A80114u);
    EXPECT_EQ(vx_ip_num2ip(256, 0, 0, 1), 0u);
    EXPECT_EQ(vx_ip_num2ip(1, 2, 3, -1), 0u);
    int a = 0, b = 0, c = 0, d = 0;
    vx_ip_ip2num(&a, &b, &c, &d, 0xC0A80114u);
    EXPECT_EQ(std::vector<int>({a, b, c, d}), std::vector<int>({192, 168, 1, 20}));
    EXPECT_EQ(vx_ip_name2ip("10.0.0.1"), 0x0A000001u);
    EXPECT_EQ(vx_ip_name2ip("10.1"), 0x0A000001u); // inet_addr's short form
    EXPECT_EQ(vx_ip_name2ip("255.255.255.255"), 0xFFFFFFFFu);
    // A 70-character label is no DNS name: refused without a query.
    EXPECT_EQ(vx_ip_name2ip((std::string(70, 'a') + ".invalid").c_str()), 0u);
}

// Arguments that can never work fail at once, however long the time-out.
TEST(BadArguments, FailAtOnceWithoutWaiting)
{
    char buf[16];
    vx_ip_socket_type s = udp(), conn = nullptr;
    ASSERT_NE(s, nullptr);
    const unsigned int forever = 60000000u;
    const double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, -1, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_udp_receive_from(s, buf, -5, nullptr, nullptr, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_udp_receive_multisocket(&s, 1, nullptr, buf, -1, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_tcp_receive(s, buf, -1, forever), VX_ERROR);
    EXPECT_EQ(vx_udp_send(s, buf, -1, kLoopback, 9, forever), VX_ERROR);

    // A null handle is an error, not a crash.
    vx_ip_socket_type none = nullptr;
    EXPECT_EQ(vx_udp_receive(nullptr, buf, sizeof buf, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_udp_receive_from(nullptr, buf, sizeof buf, nullptr, nullptr, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_udp_receive_multisocket(&none, 1, nullptr, buf, sizeof buf, forever, 0), VX_ERROR);
    EXPECT_EQ(vx_udp_send(nullptr, buf, 1, kLoopback, 9, forever), VX_ERROR);
    EXPECT_EQ(vx_tcp_send(nullptr, buf, 1, forever), VX_ERROR);
    EXPECT_EQ(vx_tcp_receive(nullptr, buf, sizeof buf, forever), VX_ERROR);
    EXPECT_EQ(vx_tcp_server_receive(nullptr, &conn, buf, sizeof buf, forever), VX_ERROR);
    EXPECT_EQ(vx_ip_getsockaddr(nullptr, nullptr, nullptr), VX_ERROR);
    EXPECT_EQ(vx_ip_getpeeraddr(nullptr, nullptr, nullptr), VX_ERROR);
    EXPECT_EQ(vx_udp_setmulticast(nullptr, 1, 1), VX_ERROR);
    EXPECT_EQ(vx_udp_joingroup(nullptr, 0xE0000001u), VX_ERROR);
    EXPECT_EQ(vx_tcp_set_keepalive(nullptr, 1, 1, 1), VX_ERROR);
    EXPECT_EQ(vx_udp_exit(nullptr), VX_ERROR);
    EXPECT_EQ(vx_tcp_exit(nullptr), VX_ERROR);
    EXPECT_EQ(vx_udp_init(nullptr, 0, VX_OPT_ANYPORT), VX_ERROR);
    EXPECT_EQ(vx_tcp_server_init(nullptr, 0, VX_OPT_ANYPORT), VX_ERROR);
    EXPECT_EQ(vx_tcp_client_connect(nullptr, kLoopback, 9, forever), VX_ERROR);
    EXPECT_LT(nowMs() - t0, 1000.0);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

} // namespace
