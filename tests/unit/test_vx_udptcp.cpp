// The socket library over loopback: address conversion, time-outs, the
// receive options, UDP binding, single- and multi-connection TCP servers,
// and the descriptor bookkeeping (no leaks, descriptor 0 and FD_SETSIZE).
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "vx_udptcp.h"

namespace {

const unsigned int kLoopback = 0x7F000001u; // 127.0.0.1
const unsigned int kLongWaitUs = 1000000u;  // waits that are expected to end early
const unsigned int kShortWaitUs = 250000u;  // waits that must run out
const double kPollLimitMs = 100.0;          // a poll returning later than this waited
const double kWaitSlackMs = 2000.0;         // generous upper bound on top of a wait

double nowMs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

int openFdCount()
{
    int n = 0;
    DIR *d = opendir("/proc/self/fd");
    if (d == nullptr)
        return -1;
    while (dirent *e = readdir(d))
        if (e->d_name[0] != '.')
            ++n;
    closedir(d);
    return n;
}

unsigned short localPort(vx_ip_socket_type s)
{
    unsigned short port = 0;
    EXPECT_EQ(vx_ip_getsockaddr(s, nullptr, &port), VX_OK);
    return port;
}

// A UDP socket bound at once to a system-chosen port.
vx_ip_socket_type udpBound(unsigned short *port)
{
    vx_ip_socket_type s = nullptr;
    EXPECT_EQ(vx_udp_init(&s, 0, VX_OPT_ANYPORT), VX_OK);
    if (s != nullptr && port != nullptr)
        *port = localPort(s);
    return s;
}

int sendText(vx_ip_socket_type s, const std::string &text, unsigned short port)
{
    return vx_udp_send(s, text.data(), static_cast<int>(text.size()), kLoopback, port, kLongWaitUs);
}

// ---- address conversion -------------------------------------------------------

TEST(IpConversion, Num2IpPacksAndRejectsOutOfRange)
{
    struct { int a, b, c, d; unsigned int ip; } cases[] = {
        {192, 168, 1, 20, 0xC0A80114u}, {127, 0, 0, 1, kLoopback}, {255, 255, 255, 255, 0xFFFFFFFFu},
        {256, 0, 0, 1, 0},              {-1, 0, 0, 1, 0},          {1, 2, 3, 256, 0},
        {1, 2, -1, 4, 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(vx_ip_num2ip(c.a, c.b, c.c, c.d), c.ip) << c.a << '.' << c.b << '.' << c.c << '.' << c.d;
}

TEST(IpConversion, Ip2NumSplitsMostSignificantFirst)
{
    int a = -1, b = -1, c = -1, d = -1;
    vx_ip_ip2num(&a, &b, &c, &d, 0xC0A80114u);
    EXPECT_EQ(a, 192);
    EXPECT_EQ(b, 168);
    EXPECT_EQ(c, 1);
    EXPECT_EQ(d, 20);
}

TEST(IpConversion, Name2Ip)
{
    struct { const char *name; unsigned int ip; } cases[] = {
        {"10.0.0.1", 0x0A000001u},
        {"127.0.0.1", kLoopback},
        {"10.1", 0x0A000001u},          // inet_addr's short form
        {"0x7f.1", kLoopback},          // and its hexadecimal form
        {"255.255.255.255", 0xFFFFFFFFu}, // inet_addr's error value: resolver path
        // A 70-character label is no valid DNS name: the resolver refuses it
        // without sending a query, so the test stays off the network.
        {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa.invalid", 0},
    };
    for (const auto &c : cases)
        EXPECT_EQ(vx_ip_name2ip(c.name), c.ip) << c.name;
}

// ---- UDP time-outs ------------------------------------------------------------

TEST(UdpTimeout, PollReturnsAtOnce)
{
    vx_ip_socket_type s = udpBound(nullptr);
    ASSERT_NE(s, nullptr);
    char buf[16];
    int idx = -1;

    const double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_from(s, buf, sizeof buf, nullptr, nullptr, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_multisocket(&s, 1, &idx, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    const double elapsed = nowMs() - t0;
    EXPECT_LT(elapsed, kPollLimitMs);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(UdpTimeout, BoundedWaitRunsOut)
{
    vx_ip_socket_type s = udpBound(nullptr);
    ASSERT_NE(s, nullptr);
    char buf[16];

    const double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, kShortWaitUs, 0), VX_TIMEOUT);
    const double elapsed = nowMs() - t0;
    EXPECT_GE(elapsed, kShortWaitUs / 1e3);
    EXPECT_LT(elapsed, kShortWaitUs / 1e3 + kWaitSlackMs);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(UdpTimeout, MultisocketWithoutSocketsWaitsOutTheTimeout)
{
    char buf[16];
    int idx = -1;
    const double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive_multisocket(nullptr, 0, &idx, buf, sizeof buf, kShortWaitUs, 0),
              VX_TIMEOUT);
    const double elapsed = nowMs() - t0;
    EXPECT_GE(elapsed, kShortWaitUs / 1e3);
    EXPECT_LT(elapsed, kShortWaitUs / 1e3 + kWaitSlackMs);
}

// ---- UDP buffer rules -----------------------------------------------------------

struct BufferCase
{
    int datagram;          // bytes sent
    int maxlen;            // receive buffer
    unsigned short option; // receive options
    int result;            // expected result
};

void PrintTo(const BufferCase &c, std::ostream *os)
{
    *os << c.datagram << " bytes into " << c.maxlen << " with options " << c.option;
}

class UdpBuffer : public ::testing::TestWithParam<BufferCase>
{
};

TEST_P(UdpBuffer, ResultAndContent)
{
    const BufferCase &c = GetParam();
    unsigned short port = 0;
    vx_ip_socket_type rx = udpBound(&port);
    vx_ip_socket_type tx = udpBound(nullptr);
    ASSERT_NE(rx, nullptr);
    ASSERT_NE(tx, nullptr);

    std::string sent;
    for (int i = 0; i < c.datagram; ++i)
        sent += static_cast<char>('a' + i % 26);
    ASSERT_EQ(sendText(tx, sent, port), VX_OK);

    const char guard = '#';
    std::vector<char> buf(c.maxlen + 1, guard);
    EXPECT_EQ(vx_udp_receive(rx, buf.data(), c.maxlen, kLongWaitUs, c.option), c.result);
    const int copied = std::min(c.datagram, c.maxlen);
    EXPECT_EQ(std::string(buf.data(), copied), sent.substr(0, copied));
    EXPECT_EQ(buf[c.maxlen], guard) << "written past maxlen";

    EXPECT_EQ(vx_udp_exit(tx), VX_OK);
    EXPECT_EQ(vx_udp_exit(rx), VX_OK);
}

INSTANTIATE_TEST_SUITE_P(Table, UdpBuffer,
                         ::testing::Values(BufferCase{8, 8, 0, VX_TRUNCATED},
                                           BufferCase{8, 8, VX_RECV_FULLOK, 8},
                                           BufferCase{12, 8, 0, VX_TRUNCATED},
                                           BufferCase{12, 8, VX_RECV_FULLOK, 8},
                                           BufferCase{7, 8, 0, 7},
                                           BufferCase{0, 8, 0, 0}));

// ---- newest-only draining ---------------------------------------------------------

TEST(UdpNewest, DrainsToTheThirdDatagramAndItsSender)
{
    unsigned short rxPort = 0;
    vx_ip_socket_type rx = udpBound(&rxPort);
    unsigned short txPort[3] = {};
    vx_ip_socket_type tx[3];
    const std::string text[3] = {"one", "three", "seventh"};
    for (int i = 0; i < 3; ++i) {
        tx[i] = udpBound(&txPort[i]);
        ASSERT_NE(tx[i], nullptr);
        ASSERT_EQ(sendText(tx[i], text[i], rxPort), VX_OK);
    }

    char buf[32] = {};
    unsigned int ip = 0;
    unsigned short port = 0;
    EXPECT_EQ(vx_udp_receive_from(rx, buf, sizeof buf, &ip, &port, kLongWaitUs, VX_RECV_NEWEST),
              static_cast<int>(text[2].size()));
    EXPECT_EQ(std::string(buf, text[2].size()), text[2]);
    EXPECT_EQ(ip, kLoopback);
    EXPECT_EQ(port, txPort[2]);
    EXPECT_EQ(vx_udp_receive(rx, buf, sizeof buf, 0, 0), VX_TIMEOUT) << "queue not drained";

    for (auto &t : tx)
        EXPECT_EQ(vx_udp_exit(t), VX_OK);
    EXPECT_EQ(vx_udp_exit(rx), VX_OK);
}

TEST(UdpNewest, WithoutTheOptionTheOldestComesFirst)
{
    unsigned short rxPort = 0, txPort = 0;
    vx_ip_socket_type rx = udpBound(&rxPort);
    vx_ip_socket_type tx = udpBound(&txPort);
    ASSERT_EQ(sendText(tx, "first", rxPort), VX_OK);
    ASSERT_EQ(sendText(tx, "second!", rxPort), VX_OK);

    char buf[32];
    unsigned short port = 0;
    EXPECT_EQ(vx_udp_receive_from(rx, buf, sizeof buf, nullptr, &port, kLongWaitUs, 0), 5);
    EXPECT_EQ(port, txPort);
    EXPECT_EQ(vx_udp_receive(rx, buf, sizeof buf, kLongWaitUs, 0), 7);
    EXPECT_EQ(vx_udp_exit(tx), VX_OK);
    EXPECT_EQ(vx_udp_exit(rx), VX_OK);
}

// ---- multisocket -------------------------------------------------------------

TEST(UdpMultisocket, ReadsTheLowestReadyIndex)
{
    unsigned short p0 = 0, p1 = 0;
    vx_ip_socket_type r0 = udpBound(&p0);
    vx_ip_socket_type r1 = udpBound(&p1);
    vx_ip_socket_type tx = udpBound(nullptr);
    char buf[16];
    int idx = -1;

    // Both readable: the lower index wins, whichever socket it is.
    ASSERT_EQ(sendText(tx, "a", p0), VX_OK);
    ASSERT_EQ(sendText(tx, "bb", p1), VX_OK);
    vx_ip_socket_type reversed[2] = {r1, r0};
    EXPECT_EQ(vx_udp_receive_multisocket(reversed, 2, &idx, buf, sizeof buf, kLongWaitUs, 0), 2);
    EXPECT_EQ(idx, 0);
    // Only r0 is left readable: it is at index 1 here.
    idx = -1;
    EXPECT_EQ(vx_udp_receive_multisocket(reversed, 2, &idx, buf, sizeof buf, kLongWaitUs, 0), 1);
    EXPECT_EQ(idx, 1);
    EXPECT_EQ(vx_udp_receive_multisocket(reversed, 2, &idx, buf, sizeof buf, 0, 0), VX_TIMEOUT);

    EXPECT_EQ(vx_udp_exit(tx), VX_OK);
    EXPECT_EQ(vx_udp_exit(r1), VX_OK);
    EXPECT_EQ(vx_udp_exit(r0), VX_OK);
}

// ---- UDP init and options -------------------------------------------------------

TEST(UdpInit, PortZeroWithoutOptionsBindsAtTheFirstSend)
{
    unsigned short rxPort = 0;
    vx_ip_socket_type rx = udpBound(&rxPort);
    vx_ip_socket_type tx = nullptr;
    ASSERT_EQ(vx_udp_init(&tx, 0, 0), VX_OK);
    EXPECT_EQ(localPort(tx), 0);

    ASSERT_EQ(sendText(tx, "hi", rxPort), VX_OK);
    const unsigned short assigned = localPort(tx);
    EXPECT_NE(assigned, 0);
    char buf[8];
    unsigned short from = 0;
    EXPECT_EQ(vx_udp_receive_from(rx, buf, sizeof buf, nullptr, &from, kLongWaitUs, 0), 2);
    EXPECT_EQ(from, assigned);
    EXPECT_EQ(vx_udp_exit(tx), VX_OK);
    EXPECT_EQ(vx_udp_exit(rx), VX_OK);
}

TEST(UdpInit, AnyPortIgnoresThePassedPort)
{
    const unsigned short passed = 1; // below any range the system picks from
    vx_ip_socket_type s = nullptr;
    ASSERT_EQ(vx_udp_init(&s, passed, VX_OPT_ANYPORT | VX_OPT_BROADCAST), VX_OK);
    const unsigned short port = localPort(s);
    EXPECT_NE(port, 0);
    EXPECT_NE(port, passed);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(UdpInit, ExplicitPortAndOptionCalls)
{
    unsigned short port = 0;
    vx_ip_socket_type probe = udpBound(&port);
    ASSERT_EQ(vx_udp_exit(probe), VX_OK);

    vx_ip_socket_type s = nullptr;
    ASSERT_EQ(vx_udp_init(&s, port, 0), VX_OK);
    EXPECT_EQ(localPort(s), port);
    EXPECT_EQ(vx_ip_getpeeraddr(s, nullptr, nullptr), VX_ERROR) << "not connected";
    EXPECT_EQ(vx_udp_setmulticast(s, 4, 0), VX_OK);
    EXPECT_EQ(vx_udp_setmulticast(s, 0, -1), VX_OK);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

// ---- descriptor bookkeeping ---------------------------------------------------------

TEST(Descriptors, DescriptorZeroIsNeverALibrarySocket)
{
    // Free descriptor 0 (the test runner may already have closed it).
    const int saved = fcntl(STDIN_FILENO, F_GETFD) != -1 ? dup(STDIN_FILENO) : -1;
    if (saved >= 0) {
        ASSERT_EQ(close(STDIN_FILENO), 0);
    }

    vx_ip_socket_type s = nullptr;
    const int rc = vx_udp_init(&s, 0, VX_OPT_ANYPORT);
    const bool zeroTaken = fcntl(STDIN_FILENO, F_GETFD) != -1;
    if (rc == VX_OK)
        vx_udp_exit(s);
    // Closing the library socket must not have released descriptor 0:
    // it stays taken by the placeholder, not by the socket.
    const bool zeroStillTaken = fcntl(STDIN_FILENO, F_GETFD) != -1;

    if (saved >= 0) {
        ASSERT_EQ(dup2(saved, STDIN_FILENO), STDIN_FILENO);
        close(saved);
    } else {
        close(STDIN_FILENO);
    }
    EXPECT_EQ(rc, VX_OK);
    EXPECT_TRUE(zeroTaken);
    EXPECT_TRUE(zeroStillTaken) << "descriptor 0 was the library's socket";
}

TEST(Descriptors, AboveFdSetSizeIsRefusedWithoutLeaks)
{
    rlimit lim;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &lim), 0);
    const rlim_t needed = FD_SETSIZE + 16;
    if (lim.rlim_max < needed)
        GTEST_SKIP() << "descriptor limit " << lim.rlim_max << " too low";
    const rlimit old = lim;
    lim.rlim_cur = std::max(lim.rlim_cur, needed);
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &lim), 0);

    // Take every free descriptor below FD_SETSIZE.
    std::vector<int> fillers;
    for (;;) {
        const int fd = open("/dev/null", O_RDONLY);
        if (fd < 0 || fd >= FD_SETSIZE) {
            if (fd >= 0)
                close(fd);
            break;
        }
        fillers.push_back(fd);
    }
    const int before = openFdCount();

    vx_ip_socket_type sentinel = reinterpret_cast<vx_ip_socket_type>(0x1234);
    vx_ip_socket_type s = sentinel;
    const int udp = vx_udp_init(&s, 0, VX_OPT_ANYPORT);
    vx_ip_socket_type t = sentinel;
    const int tcp = vx_tcp_server_init(&t, 0, VX_OPT_ANYPORT);
    const int after = openFdCount();

    for (int fd : fillers)
        close(fd);
    setrlimit(RLIMIT_NOFILE, &old);
    EXPECT_EQ(udp, VX_ERROR);
    EXPECT_EQ(tcp, VX_ERROR);
    EXPECT_EQ(s, sentinel);
    EXPECT_EQ(t, sentinel);
    EXPECT_EQ(after, before);
}

TEST(Descriptors, NoLeakOverManyCycles)
{
    // One warm-up round, so that anything opened once per process
    // (resolver files, descriptor 0 placeholder) is already open.
    auto cycle = [] {
        vx_ip_socket_type u = nullptr, srv = nullptr, cli = nullptr, conn = nullptr;
        ASSERT_EQ(vx_udp_init(&u, 0, VX_OPT_ANYPORT), VX_OK);
        ASSERT_EQ(vx_udp_exit(u), VX_OK);
        ASSERT_EQ(vx_tcp_server_init(&srv, 0, VX_OPT_ANYPORT), VX_OK);
        ASSERT_EQ(vx_tcp_client_init(&cli, kLoopback, localPort(srv)), VX_OK);
        char buf[4];
        ASSERT_EQ(vx_tcp_server_receive(srv, &conn, buf, sizeof buf, kLongWaitUs), VX_ACCEPTED);
        ASSERT_EQ(vx_tcp_exit(cli), VX_OK);
        ASSERT_EQ(vx_tcp_exit(srv), VX_OK); // closes conn as well
    };
    cycle();
    const int before = openFdCount();
    for (int i = 0; i < 200 && !HasFatalFailure(); ++i)
        cycle();
    EXPECT_EQ(openFdCount(), before);
}

// ---- TCP ------------------------------------------------------------------------

class Tcp : public ::testing::Test
{
protected:
    char buf[64] = {};
    vx_ip_socket_type server = nullptr;
    unsigned short port = 0;

    void startServer(unsigned short options)
    {
        ASSERT_EQ(vx_tcp_server_init(&server, 0, options), VX_OK);
        port = localPort(server);
        ASSERT_NE(port, 0);
    }
    vx_ip_socket_type connectClient()
    {
        vx_ip_socket_type c = nullptr;
        EXPECT_EQ(vx_tcp_client_init(&c, kLoopback, port), VX_OK);
        return c;
    }
    int serverReceive(vx_ip_socket_type *conn, unsigned int tout_us = kLongWaitUs)
    {
        return vx_tcp_server_receive(server, conn, buf, sizeof buf, tout_us);
    }
    static int send(vx_ip_socket_type s, const std::string &text)
    {
        return vx_tcp_send(s, text.data(), static_cast<int>(text.size()), kLongWaitUs);
    }
    void TearDown() override
    {
        if (server != nullptr) {
            EXPECT_EQ(vx_tcp_exit(server), VX_OK);
        }
    }
};

TEST_F(Tcp, SingleConnectionServerAcceptsTheNextAfterExit)
{
    startServer(0);
    vx_ip_socket_type c1 = connectClient();
    vx_ip_socket_type conn1 = nullptr, conn = nullptr;
    ASSERT_EQ(serverReceive(&conn1), VX_ACCEPTED);

    vx_ip_socket_type c2 = connectClient(); // completes into the backlog
    EXPECT_EQ(serverReceive(&conn, 0), VX_TIMEOUT) << "second client accepted while serving";

    ASSERT_EQ(send(c1, "one"), VX_OK);
    EXPECT_EQ(serverReceive(&conn), 3);
    EXPECT_EQ(conn, conn1);

    EXPECT_EQ(vx_tcp_exit(conn1), VX_OK);
    vx_ip_socket_type conn2 = nullptr;
    ASSERT_EQ(serverReceive(&conn2), VX_ACCEPTED);
    unsigned short peer = 0;
    EXPECT_EQ(vx_ip_getpeeraddr(conn2, nullptr, &peer), VX_OK);
    EXPECT_EQ(peer, localPort(c2)) << "accepted the wrong client";

    EXPECT_EQ(vx_tcp_exit(c1), VX_OK);
    EXPECT_EQ(vx_tcp_exit(c2), VX_OK);
}

TEST_F(Tcp, MultiConnectionServerDeliversNewestFirst)
{
    startServer(VX_OPT_MULTICONN);
    vx_ip_socket_type c1 = connectClient();
    vx_ip_socket_type conn1 = nullptr, conn2 = nullptr, conn = nullptr;
    ASSERT_EQ(serverReceive(&conn1), VX_ACCEPTED);
    vx_ip_socket_type c2 = connectClient();
    ASSERT_EQ(serverReceive(&conn2), VX_ACCEPTED);
    ASSERT_NE(conn1, conn2);

    ASSERT_EQ(send(c2, "from2"), VX_OK);
    ASSERT_EQ(send(c1, "from-1"), VX_OK);
    EXPECT_EQ(serverReceive(&conn), 5);
    EXPECT_EQ(conn, conn2);
    EXPECT_EQ(std::string(buf, 5), "from2");
    EXPECT_EQ(serverReceive(&conn), 6);
    EXPECT_EQ(conn, conn1);

    // Still accepting while both are open.
    vx_ip_socket_type c3 = connectClient();
    EXPECT_EQ(serverReceive(&conn), VX_ACCEPTED);

    for (vx_ip_socket_type c : {c1, c2, c3})
        EXPECT_EQ(vx_tcp_exit(c), VX_OK);
}

TEST_F(Tcp, PeerCloseThenExitOfTheConnectionKeepsTheServer)
{
    startServer(0);
    vx_ip_socket_type c1 = connectClient();
    vx_ip_socket_type conn1 = nullptr, conn = nullptr;
    ASSERT_EQ(serverReceive(&conn1), VX_ACCEPTED);
    ASSERT_EQ(vx_tcp_exit(c1), VX_OK);

    EXPECT_EQ(serverReceive(&conn), VX_PEER_CLOSED);
    EXPECT_EQ(conn, conn1);
    conn = nullptr;
    EXPECT_EQ(serverReceive(&conn), VX_PEER_CLOSED) << "connection must stay until exited";
    EXPECT_EQ(conn, conn1);
    EXPECT_EQ(vx_tcp_exit(conn1), VX_OK);

    vx_ip_socket_type c2 = connectClient();
    EXPECT_EQ(serverReceive(&conn), VX_ACCEPTED);
    EXPECT_EQ(vx_tcp_exit(c2), VX_OK);
}

TEST_F(Tcp, ReceivePollAndBothDirections)
{
    startServer(0);
    vx_ip_socket_type c = connectClient();
    vx_ip_socket_type conn = nullptr;
    ASSERT_EQ(serverReceive(&conn), VX_ACCEPTED);
    EXPECT_EQ(vx_tcp_set_keepalive(c, 60, 3, 10), VX_OK);

    const double t0 = nowMs();
    EXPECT_EQ(vx_tcp_receive(c, buf, sizeof buf, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_tcp_receive(conn, buf, sizeof buf, 0), VX_TIMEOUT);
    EXPECT_LT(nowMs() - t0, kPollLimitMs);

    ASSERT_EQ(send(conn, "reply"), VX_OK);
    EXPECT_EQ(vx_tcp_receive(c, buf, sizeof buf, kLongWaitUs), 5);
    EXPECT_EQ(std::string(buf, 5), "reply");

    EXPECT_EQ(vx_tcp_exit(conn), VX_OK);
    EXPECT_EQ(vx_tcp_receive(c, buf, sizeof buf, kLongWaitUs), VX_PEER_CLOSED);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
}

TEST_F(Tcp, SendTimesOutWhenThePeerStopsReading)
{
    startServer(0);
    vx_ip_socket_type c = connectClient();
    vx_ip_socket_type conn = nullptr;
    ASSERT_EQ(serverReceive(&conn), VX_ACCEPTED);

    // Small chunks, so that a writable socket always takes a whole one.
    // Space may come back for a while as loopback moves data across, so
    // keep going until a bounded wait really runs out.
    const std::vector<char> chunk(1024, 'x');
    const unsigned int wait = kShortWaitUs / 5;
    int rc = VX_OK;
    double elapsed = 0;
    for (int i = 0; i < 100000 && rc == VX_OK; ++i) {
        const double t0 = nowMs();
        rc = vx_tcp_send(c, chunk.data(), static_cast<int>(chunk.size()), wait);
        elapsed = nowMs() - t0;
    }
    ASSERT_EQ(rc, VX_TIMEOUT) << "send buffers never filled";
    EXPECT_GE(elapsed, wait / 1e3);
    EXPECT_LT(elapsed, wait / 1e3 + kWaitSlackMs);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
}

TEST_F(Tcp, ExitOfAServerClosesItsConnections)
{
    startServer(VX_OPT_MULTICONN);
    vx_ip_socket_type c1 = connectClient();
    vx_ip_socket_type c2 = connectClient();
    vx_ip_socket_type conn = nullptr;
    ASSERT_EQ(serverReceive(&conn), VX_ACCEPTED);
    ASSERT_EQ(serverReceive(&conn), VX_ACCEPTED);

    ASSERT_EQ(vx_tcp_exit(server), VX_OK);
    server = nullptr;
    EXPECT_EQ(vx_tcp_receive(c1, buf, sizeof buf, kLongWaitUs), VX_PEER_CLOSED);
    EXPECT_EQ(vx_tcp_receive(c2, buf, sizeof buf, kLongWaitUs), VX_PEER_CLOSED);
    EXPECT_EQ(vx_tcp_exit(c1), VX_OK);
    EXPECT_EQ(vx_tcp_exit(c2), VX_OK);
}

TEST_F(Tcp, FailedInitLeavesTheHandleAndNoDescriptor)
{
    startServer(0);
    const int before = openFdCount();
    vx_ip_socket_type sentinel = reinterpret_cast<vx_ip_socket_type>(0x1234);

    vx_ip_socket_type s = sentinel;
    EXPECT_EQ(vx_tcp_server_init(&s, port, 0), VX_ERROR) << "port is in use";
    EXPECT_EQ(s, sentinel);

    vx_ip_socket_type closed = nullptr;
    ASSERT_EQ(vx_tcp_server_init(&closed, 0, VX_OPT_ANYPORT), VX_OK);
    const unsigned short closedPort = localPort(closed);
    ASSERT_EQ(vx_tcp_exit(closed), VX_OK);
    EXPECT_EQ(vx_tcp_client_init(&s, kLoopback, closedPort), VX_ERROR) << "nobody listens";
    EXPECT_EQ(s, sentinel);

    EXPECT_EQ(openFdCount(), before);
}

} // namespace
