// SPDX-License-Identifier: MIT
// The socket library's TCP servers and clients over loopback, the bounded
// connect, and descriptors over many cycles and at the select() limit.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <vector>

#include "vxtest.h"

namespace {

TEST(Descriptors, FailedInitsLeaveTheHandleAndNoDescriptor)
{
    vx_ip_socket_type server = nullptr, closed = nullptr;
    ASSERT_EQ(vx_tcp_server_init(&server, 0, VX_OPT_ANYPORT), VX_OK);
    ASSERT_EQ(vx_tcp_server_init(&closed, 0, VX_OPT_ANYPORT), VX_OK);
    const unsigned short closedPort = portOf(closed);
    vx_tcp_exit(closed);
    const int before = openFds();
    vx_ip_socket_type s = kSentinel;
    EXPECT_EQ(vx_tcp_server_init(&s, portOf(server), 0), VX_ERROR) << "port in use";
    EXPECT_EQ(vx_tcp_client_init(&s, kLoopback, closedPort), VX_ERROR) << "nobody listens";
    EXPECT_EQ(s, kSentinel);
    EXPECT_EQ(openFds(), before);
    vx_tcp_exit(server);

    // Descriptors from FD_SETSIZE on cannot be waited on and are refused.
    rlimit lim, old;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &old), 0);
    if (old.rlim_max < FD_SETSIZE + 16)
        GTEST_SKIP() << "descriptor limit too low";
    lim = old;
    lim.rlim_cur = std::max<rlim_t>(lim.rlim_cur, FD_SETSIZE + 16);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lim), 0);
    std::vector<int> fillers;
    for (int fd = 0; fd >= 0 && fd < FD_SETSIZE;) {
        fd = open("/dev/null", O_RDONLY);
        fillers.push_back(fd);
    }
    const int full = openFds();
    vx_ip_socket_type u = kSentinel, t = kSentinel;
    const int udpRc = vx_udp_init(&u, 0, VX_OPT_ANYPORT), tcpRc = vx_tcp_server_init(&t, 0, VX_OPT_ANYPORT);
    const int after = openFds();
    for (int fd : fillers)
        close(fd);
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(udpRc, VX_ERROR);
    EXPECT_EQ(tcpRc, VX_ERROR);
    EXPECT_EQ(u, kSentinel);
    EXPECT_EQ(t, kSentinel);
    EXPECT_EQ(after, full);
}

TEST(Descriptors, NoLeakOverManyCycles)
{
    auto cycle = [] {
        vx_ip_socket_type u = nullptr, srv = nullptr, cli = nullptr, conn = nullptr;
        char buf[4];
        ASSERT_EQ(vx_udp_init(&u, 0, VX_OPT_ANYPORT), VX_OK);
        ASSERT_EQ(vx_udp_exit(u), VX_OK);
        ASSERT_EQ(vx_tcp_server_init(&srv, 0, VX_OPT_ANYPORT), VX_OK);
        ASSERT_EQ(vx_tcp_client_init(&cli, kLoopback, portOf(srv)), VX_OK);
        ASSERT_EQ(vx_tcp_server_receive(srv, &conn, buf, sizeof buf, kLongUs), VX_ACCEPTED);
        ASSERT_EQ(vx_tcp_exit(cli), VX_OK);
        ASSERT_EQ(vx_tcp_exit(srv), VX_OK); // closes conn as well
    };
    cycle(); // whatever is opened once per process is open now
    const int before = openFds();
    for (int i = 0; i < 200 && !HasFatalFailure(); ++i)
        cycle();
    EXPECT_EQ(openFds(), before);
}

class Tcp : public ::testing::Test
{
protected:
    char buf[64] = {};
    vx_ip_socket_type server = nullptr;

    void start(unsigned short options) { ASSERT_EQ(vx_tcp_server_init(&server, 0, options), VX_OK); }
    vx_ip_socket_type client()
    {
        vx_ip_socket_type c = nullptr;
        EXPECT_EQ(vx_tcp_client_init(&c, kLoopback, portOf(server)), VX_OK);
        return c;
    }
    int receive(vx_ip_socket_type *conn, unsigned int tout = kLongUs)
    {
        return vx_tcp_server_receive(server, conn, buf, sizeof buf, tout);
    }
    static int send(vx_ip_socket_type s, const std::string &t) { return vx_tcp_send(s, t.data(), int(t.size()), kLongUs); }
    void TearDown() override
    {
        if (server) {
            EXPECT_EQ(vx_tcp_exit(server), VX_OK);
        }
    }
};

TEST_F(Tcp, SingleConnectionServer)
{
    start(0);
    vx_ip_socket_type c1 = client(), conn1 = nullptr, conn = nullptr;
    ASSERT_EQ(receive(&conn1), VX_ACCEPTED);
    vx_ip_socket_type c2 = client(); // waits in the backlog
    EXPECT_EQ(receive(&conn, 0), VX_TIMEOUT) << "second client accepted while serving";
    ASSERT_EQ(send(c1, "one"), VX_OK);
    EXPECT_EQ(receive(&conn), 3);
    EXPECT_EQ(conn, conn1);
    ASSERT_EQ(vx_tcp_exit(c1), VX_OK);
    EXPECT_EQ(receive(&conn), VX_PEER_CLOSED);
    EXPECT_EQ(receive(&conn), VX_PEER_CLOSED) << "the connection stays until exited";
    EXPECT_EQ(conn, conn1);
    ASSERT_EQ(vx_tcp_exit(conn1), VX_OK);
    ASSERT_EQ(receive(&conn), VX_ACCEPTED);
    unsigned short peer = 0;
    EXPECT_EQ(vx_ip_getpeeraddr(conn, nullptr, &peer), VX_OK);
    EXPECT_EQ(peer, portOf(c2));

    // Both directions, and a poll that returns at once.
    const double t0 = nowMs();
    EXPECT_EQ(vx_tcp_receive(c2, buf, sizeof buf, 0), VX_TIMEOUT);
    EXPECT_LT(nowMs() - t0, 100.0);
    ASSERT_EQ(send(conn, "reply"), VX_OK);
    EXPECT_EQ(vx_tcp_receive(c2, buf, sizeof buf, kLongUs), 5);
    EXPECT_EQ(vx_tcp_exit(conn), VX_OK);
    EXPECT_EQ(vx_tcp_receive(c2, buf, sizeof buf, kLongUs), VX_PEER_CLOSED);
    EXPECT_EQ(vx_tcp_exit(c2), VX_OK);
}

TEST_F(Tcp, MultiConnectionServer)
{
    start(VX_OPT_MULTICONN);
    vx_ip_socket_type c1 = client(), conn1 = nullptr, conn2 = nullptr, conn = nullptr;
    ASSERT_EQ(receive(&conn1), VX_ACCEPTED);
    vx_ip_socket_type c2 = client();
    ASSERT_EQ(receive(&conn2), VX_ACCEPTED);
    ASSERT_EQ(send(c2, "from2"), VX_OK);
    ASSERT_EQ(send(c1, "from-1"), VX_OK);
    EXPECT_EQ(receive(&conn), 5) << "the newest connection comes first";
    EXPECT_EQ(conn, conn2);
    EXPECT_EQ(receive(&conn), 6);
    EXPECT_EQ(conn, conn1);
    vx_ip_socket_type c3 = client();
    EXPECT_EQ(receive(&conn), VX_ACCEPTED);

    ASSERT_EQ(vx_tcp_exit(server), VX_OK); // closes its connections
    server = nullptr;
    for (vx_ip_socket_type c : {c1, c2, c3}) {
        EXPECT_EQ(vx_tcp_receive(c, buf, sizeof buf, kLongUs), VX_PEER_CLOSED);
        EXPECT_EQ(vx_tcp_exit(c), VX_OK);
    }
}

// A send never blocks on a peer that stops reading: what does not fit at
// once is an error, and a send to full buffers waits its whole time-out.
TEST_F(Tcp, SendTimesOutWhenThePeerStopsReading)
{
    start(0);
    vx_ip_socket_type c = client(), conn = nullptr;
    ASSERT_EQ(receive(&conn), VX_ACCEPTED);
    const std::vector<char> data(64 << 20, 'x');
    double t0 = nowMs();
    EXPECT_EQ(vx_tcp_send(c, data.data(), int(data.size()), 100000), VX_ERROR) << "only part of it fits";
    EXPECT_LT(nowMs() - t0, 1000.0);
    const unsigned int wait = kShortUs / 5;
    int rc = VX_OK;
    for (int i = 0; i < 1000 && rc == VX_OK; ++i) { // until the buffers are full
        t0 = nowMs();
        rc = vx_tcp_send(c, data.data(), 1024, wait);
    }
    ASSERT_EQ(rc, VX_TIMEOUT);
    EXPECT_GE(nowMs() - t0, wait / 1e3);
    EXPECT_LT(nowMs() - t0, wait / 1e3 + 2000);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
}

// A connect that never completes is timed with the host against a silent
// controller; here the bounded connect succeeds or is refused.
TEST(BoundedConnect, ConnectsOrIsRefused)
{
    vx_ip_socket_type server = nullptr, c = nullptr;
    ASSERT_EQ(vx_tcp_server_init(&server, 0, VX_OPT_ANYPORT), VX_OK);
    const unsigned short port = portOf(server);
    ASSERT_EQ(vx_tcp_client_connect(&c, kLoopback, port, kLongUs), VX_OK);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
    EXPECT_EQ(vx_tcp_exit(server), VX_OK);
    c = nullptr;
    EXPECT_EQ(vx_tcp_client_connect(&c, kLoopback, port, kLongUs), VX_ERROR);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(c, nullptr);
}

} // namespace
