// The socket library over loopback.
#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/select.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "vx_udptcp.h"

namespace {

const unsigned int kLoopback = 0x7F000001u;
const unsigned int kLongUs = 1000000u;  // waits expected to end early
const unsigned int kShortUs = 250000u;  // waits that must run out
const vx_ip_socket_type kSentinel = reinterpret_cast<vx_ip_socket_type>(0x1234);

double nowMs()
{
    timespec ts;
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

int openFds()
{
    int n = 0;
    DIR *d = opendir("/proc/self/fd");
    while (dirent *e = readdir(d))
        n += e->d_name[0] != '.';
    closedir(d);
    return n;
}

unsigned short portOf(vx_ip_socket_type s)
{
    unsigned short port = 0;
    EXPECT_EQ(vx_ip_getsockaddr(s, nullptr, &port), VX_OK);
    return port;
}

vx_ip_socket_type udp(unsigned short *port = nullptr)
{
    vx_ip_socket_type s = nullptr;
    EXPECT_EQ(vx_udp_init(&s, 0, VX_OPT_ANYPORT), VX_OK);
    if (s && port)
        *port = portOf(s);
    return s;
}

int sendTo(vx_ip_socket_type s, const std::string &text, unsigned short port)
{
    return vx_udp_send(s, text.data(), int(text.size()), kLoopback, port, kLongUs);
}

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

TEST(Udp, PollReturnsAtOnceAndBoundedWaitsRunOut)
{
    vx_ip_socket_type s = udp();
    char buf[16];
    int idx = -1;
    double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_from(s, buf, sizeof buf, nullptr, nullptr, 0, 0), VX_TIMEOUT);
    EXPECT_EQ(vx_udp_receive_multisocket(&s, 1, &idx, buf, sizeof buf, 0, 0), VX_TIMEOUT);
    EXPECT_LT(nowMs() - t0, 100.0);
    for (vx_ip_socket_type *set : {&s, static_cast<vx_ip_socket_type *>(nullptr)}) {
        t0 = nowMs();
        EXPECT_EQ(vx_udp_receive_multisocket(set, set ? 1 : 0, &idx, buf, sizeof buf, kShortUs, 0), VX_TIMEOUT);
        EXPECT_GE(nowMs() - t0, kShortUs / 1e3);
        EXPECT_LT(nowMs() - t0, kShortUs / 1e3 + 2000);
    }
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

// A time-out of a second or more is split into whole seconds and the rest;
// the wait must still last the whole time (shorter waits are covered above).
TEST(Udp, WaitsOfASecondOrMoreRunTheirWholeTime)
{
    const unsigned int timeoutUs = 1100000u;
    vx_ip_socket_type s = udp();
    char buf[16];
    const double t0 = nowMs();
    EXPECT_EQ(vx_udp_receive(s, buf, sizeof buf, timeoutUs, 0), VX_TIMEOUT);
    EXPECT_GE(nowMs() - t0, timeoutUs / 1e3);
    EXPECT_LT(nowMs() - t0, timeoutUs / 1e3 + 2000);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

TEST(Udp, FullBufferRule)
{
    struct { int sent, maxlen; unsigned short option; int result; } cases[] = {
        {8, 8, 0, VX_TRUNCATED}, {12, 8, 0, VX_TRUNCATED}, {8, 8, VX_RECV_FULLOK, 8},
        {12, 8, VX_RECV_FULLOK, 8}, {7, 8, 0, 7}, {0, 8, 0, 0},
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
    const int saved = fcntl(STDIN_FILENO, F_GETFD) != -1 ? dup(STDIN_FILENO) : -1;
    close(STDIN_FILENO);
    vx_ip_socket_type s = nullptr;
    const int rc = vx_udp_init(&s, 0, VX_OPT_ANYPORT);
    if (rc == VX_OK)
        vx_udp_exit(s);
    const bool zeroStillTaken = fcntl(STDIN_FILENO, F_GETFD) != -1;
    if (saved >= 0) {
        dup2(saved, STDIN_FILENO);
        close(saved);
    } else {
        close(STDIN_FILENO);
    }
    EXPECT_EQ(rc, VX_OK);
    EXPECT_TRUE(zeroStillTaken) << "descriptor 0 was the library's socket";
}

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

TEST_F(Tcp, SendTimesOutWhenThePeerStopsReading)
{
    start(0);
    vx_ip_socket_type c = client(), conn = nullptr;
    ASSERT_EQ(receive(&conn), VX_ACCEPTED);
    const std::vector<char> chunk(1024, 'x');
    const unsigned int wait = kShortUs / 5;
    int rc = VX_OK;
    double elapsed = 0;
    for (int i = 0; i < 100000 && rc == VX_OK; ++i) {
        const double t0 = nowMs();
        rc = vx_tcp_send(c, chunk.data(), int(chunk.size()), wait);
        elapsed = nowMs() - t0;
    }
    ASSERT_EQ(rc, VX_TIMEOUT);
    EXPECT_GE(elapsed, wait / 1e3);
    EXPECT_LT(elapsed, wait / 1e3 + 2000);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
}

TEST_F(Tcp, LargeSendToAPeerThatDoesNotReadEndsWithinItsTimeOut)
{
    start(0);
    vx_ip_socket_type c = client(), conn = nullptr;
    ASSERT_EQ(receive(&conn), VX_ACCEPTED);
    const std::vector<char> big(64 << 20, 'x');
    const double t0 = nowMs();
    EXPECT_EQ(vx_tcp_send(c, big.data(), int(big.size()), 100000), VX_ERROR) << "only part of it fits";
    EXPECT_LT(nowMs() - t0, 1000.0);
    EXPECT_EQ(vx_tcp_exit(c), VX_OK);
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

    // maxlen 0 takes the datagram off the socket unread.
    unsigned short port = 0;
    vx_ip_socket_type r = udp(&port);
    ASSERT_EQ(sendTo(s, "gone", port), VX_OK);
    ASSERT_EQ(sendTo(s, "next", port), VX_OK);
    EXPECT_EQ(vx_udp_receive(r, buf, 0, kLongUs, 0), VX_TRUNCATED);
    EXPECT_EQ(vx_udp_receive(r, buf, sizeof buf, kLongUs, 0), 4);
    EXPECT_EQ(std::string(buf, 4), "next");
    EXPECT_EQ(vx_udp_exit(r), VX_OK);
    EXPECT_EQ(vx_udp_exit(s), VX_OK);
}

} // namespace
