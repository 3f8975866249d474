// SPDX-License-Identifier: MIT
// Request/response round trips on loopback: the socket library against the
// system calls it wraps and against Qt's sockets.
//
// UDP: a 32-byte request and a 40-byte reply, as the hand-add probe sends
// them, with the probe's time-outs. Every client talks to the same plain
// echo thread, so the clients alone differ.
//
// TCP: the same sizes over one connection per client, all to one echo peer
// built from the library's server (vx_tcp_server_receive + vx_tcp_send), so
// again the clients alone differ.
//
// The variants:
//   library    vx_*_send + vx_*_receive
//   raw        blocking send/recv without any wait
//   select     the bare pattern the library is meant to be: select() for
//              writability, send, select() for readability, receive
//   Qt         QUdpSocket / QTcpSocket in their blocking style
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QCoreApplication>
#include <QHostAddress>
#include <QLibraryInfo>
#include <QTcpSocket>
#include <QUdpSocket>

#include <atomic>
#include <cstring>
#include <thread>
#include <unordered_map>

#include "benchkit.h"
#include "vx_udptcp.h"

namespace {

const int RequestSize = 32;
const int ReplySize = 40;
const int BufferSize = 300; // the probe's receive buffer
const unsigned int SendTimeoutUs = 100000;
const unsigned int ReceiveTimeoutUs = 500000;
const int QtTimeoutMs = 500;
const unsigned int Loopback = 0x7F000001; // 127.0.0.1

char request[RequestSize];
char reply[ReplySize];

sockaddr_in loopbackAddr(unsigned short port)
{
    sockaddr_in a;
    std::memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = htonl(Loopback);
    return a;
}

unsigned short localPort(int fd)
{
    sockaddr_in a;
    socklen_t len = sizeof a;
    if (getsockname(fd, reinterpret_cast<sockaddr *>(&a), &len) != 0)
        return 0;
    return ntohs(a.sin_port);
}

// select() on one descriptor for reading or writing, as a caller of the bare
// system calls would write it.
bool waitFor(int fd, bool write, unsigned int tout_us)
{
    fd_set set;
    FD_ZERO(&set);
    FD_SET(fd, &set);
    timeval tv{time_t(tout_us / 1000000), suseconds_t(tout_us % 1000000)};
    return select(fd + 1, write ? nullptr : &set, write ? &set : nullptr, nullptr, &tv) == 1;
}

// A client socket bound like the library binds the probe's: all interfaces,
// a port the system chooses.
int boundUdpSocket()
{
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in a;
    std::memset(&a, 0, sizeof a);
    a.sin_family = AF_INET;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0)
        return -1;
    return fd;
}

// Reports a benchmark that could not be set up; it counts as a failure.
bool setupFailed(const char *what)
{
    std::printf("%s\n", what);
    ++benchkit::failures();
    return false;
}

// ---- UDP ------------------------------------------------------------------------

// Answers every datagram with a 40-byte reply; a 1-byte datagram stops it.
class UdpEcho
{
public:
    ~UdpEcho()
    {
        if (m_thread.joinable())
            stop();
    }
    bool start()
    {
        m_fd = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in a = loopbackAddr(0);
        if (m_fd < 0 || bind(m_fd, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0)
            return false;
        m_port = localPort(m_fd);
        m_thread = std::thread([this] { loop(); });
        return true;
    }
    void stop()
    {
        const int fd = socket(AF_INET, SOCK_DGRAM, 0);
        const sockaddr_in a = loopbackAddr(m_port);
        sendto(fd, "x", 1, 0, reinterpret_cast<const sockaddr *>(&a), sizeof a);
        close(fd);
        m_thread.join();
        close(m_fd);
    }
    unsigned short port() const { return m_port; }

private:
    void loop()
    {
        char buf[BufferSize];
        for (;;) {
            sockaddr_in from;
            socklen_t len = sizeof from;
            const ssize_t n = recvfrom(m_fd, buf, sizeof buf, 0, reinterpret_cast<sockaddr *>(&from), &len);
            if (n == 1)
                return;
            if (n > 0)
                sendto(m_fd, reply, ReplySize, 0, reinterpret_cast<sockaddr *>(&from), len);
        }
    }

    int m_fd = -1;
    unsigned short m_port = 0;
    std::thread m_thread;
};

bool runUdp(const std::string &note)
{
    UdpEcho echo;
    if (!echo.start()) {
        return setupFailed("UDP echo peer could not start");
    }
    const unsigned short port = echo.port();
    const sockaddr_in dest = loopbackAddr(port);
    const sockaddr *destp = reinterpret_cast<const sockaddr *>(&dest);

    vx_ip_socket_type vx = nullptr;
    if (vx_udp_init(&vx, 0, VX_OPT_BROADCAST | VX_OPT_ANYPORT) != VX_OK) {
        return setupFailed("vx_udp_init failed");
    }
    const int rawFd = boundUdpSocket();
    const int selFd = boundUdpSocket();
    QUdpSocket qt;
    if (rawFd < 0 || selFd < 0 || !qt.bind(QHostAddress(QHostAddress::AnyIPv4), 0)) {
        return setupFailed("UDP client sockets could not be bound");
    }
    const QHostAddress qtDest(QHostAddress::LocalHost);

    benchkit::Comparison c;
    c.title = "UDP round trip on loopback, 32-byte request, 40-byte reply";
    c.unit = "us";
    c.unitScale = 1e6;
    c.rounds = benchkit::envInt("BENCH_ROUNDS", 30);
    c.iterations = benchkit::envInt("BENCH_RT_ITERATIONS", 2000);
    c.variants = {
        {"library (vx_udp_send + vx_udp_receive_from)",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (vx_udp_send(vx, request, RequestSize, Loopback, port, SendTimeoutUs) != VX_OK ||
                     vx_udp_receive_from(vx, buf, BufferSize, nullptr, nullptr, ReceiveTimeoutUs, 0) != ReplySize)
                     ok = false;
             }
             return ok;
         }},
        {"(a) raw sendto + recvfrom",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 sockaddr_in from;
                 socklen_t len = sizeof from;
                 if (sendto(rawFd, request, RequestSize, 0, destp, sizeof dest) != RequestSize ||
                     recvfrom(rawFd, buf, BufferSize, 0, reinterpret_cast<sockaddr *>(&from), &len) != ReplySize)
                     ok = false;
             }
             return ok;
         }},
        {"(b) select + sendto, select + recvfrom",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 sockaddr_in from;
                 socklen_t len = sizeof from;
                 if (!waitFor(selFd, true, SendTimeoutUs) ||
                     sendto(selFd, request, RequestSize, 0, destp, sizeof dest) != RequestSize ||
                     !waitFor(selFd, false, ReceiveTimeoutUs) ||
                     recvfrom(selFd, buf, BufferSize, 0, reinterpret_cast<sockaddr *>(&from), &len) != ReplySize)
                     ok = false;
             }
             return ok;
         }},
        {"(c) QUdpSocket",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (qt.writeDatagram(request, RequestSize, qtDest, port) != RequestSize ||
                     !qt.waitForReadyRead(QtTimeoutMs) || qt.readDatagram(buf, BufferSize) != ReplySize)
                     ok = false;
             }
             return ok;
         }},
    };
    // Not a target: Qt sends without waiting for writability first. This
    // variant does the same with the bare calls, to show what the library's
    // wait before each send costs.
    const int diagFd = boundUdpSocket();
    if (diagFd < 0)
        return setupFailed("UDP client socket could not be bound");
    c.variants.push_back({"  part: sendto without select, select + recvfrom",
                          [&](int n) {
                              char buf[BufferSize];
                              bool ok = true;
                              for (int i = 0; i < n; ++i) {
                                  sockaddr_in from;
                                  socklen_t len = sizeof from;
                                  if (sendto(diagFd, request, RequestSize, 0, destp, sizeof dest) != RequestSize ||
                                      !waitFor(diagFd, false, ReceiveTimeoutUs) ||
                                      recvfrom(diagFd, buf, BufferSize, 0, reinterpret_cast<sockaddr *>(&from),
                                               &len) != ReplySize)
                                      ok = false;
                              }
                              return ok;
                          }});
    c.ratios = {{0, 2, 1.03}, {0, 1, 0}, {0, 3, 1.0}, {0, 4, 0}, {4, 3, 0}};
    const bool met = benchkit::runAndPrint(c, note);

    vx_udp_exit(vx);
    close(rawFd);
    close(selFd);
    close(diagFd);
    qt.close();
    return met;
}

// ---- TCP ------------------------------------------------------------------------

// The library's server as echo peer: accepts every client (VX_OPT_MULTICONN)
// and answers each complete 32-byte request with a 40-byte reply.
class TcpEcho
{
public:
    ~TcpEcho()
    {
        if (m_thread.joinable())
            stop();
    }
    bool start()
    {
        if (vx_tcp_server_init(&m_server, 0, VX_OPT_MULTICONN | VX_OPT_ANYPORT) != VX_OK ||
            vx_ip_getsockaddr(m_server, nullptr, &m_port) != VX_OK)
            return false;
        m_thread = std::thread([this] { loop(); });
        return true;
    }
    void stop()
    {
        m_stop = true;
        m_thread.join();
        vx_tcp_exit(m_server);
    }
    unsigned short port() const { return m_port; }

private:
    void loop()
    {
        std::unordered_map<vx_ip_socket_type, int> pending; // request bytes not yet answered
        char buf[BufferSize];
        while (!m_stop) {
            vx_ip_socket_type conn = nullptr;
            const int n = vx_tcp_server_receive(m_server, &conn, buf, RequestSize, 100000);
            if (n == VX_ACCEPTED) {
                pending[conn] = 0;
            } else if (n == VX_PEER_CLOSED) {
                pending.erase(conn);
                vx_tcp_exit(conn);
            } else if (n > 0) {
                int &p = pending[conn];
                for (p += n; p >= RequestSize; p -= RequestSize)
                    vx_tcp_send(conn, reply, ReplySize, SendTimeoutUs);
            }
        }
    }

    vx_ip_socket_type m_server = nullptr;
    unsigned short m_port = 0;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

int connectedTcpSocket(unsigned short port)
{
    const int fd = socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in a = loopbackAddr(port);
    if (fd < 0 || connect(fd, reinterpret_cast<const sockaddr *>(&a), sizeof a) != 0)
        return -1;
    return fd;
}

bool runTcp(const std::string &note)
{
    TcpEcho echo;
    if (!echo.start()) {
        return setupFailed("TCP echo peer could not start");
    }
    const unsigned short port = echo.port();

    vx_ip_socket_type vx = nullptr;
    if (vx_tcp_client_init(&vx, Loopback, port) != VX_OK) {
        return setupFailed("vx_tcp_client_init failed");
    }
    const int rawFd = connectedTcpSocket(port);
    const int selFd = connectedTcpSocket(port);
    QTcpSocket qt;
    qt.connectToHost(QHostAddress(QHostAddress::LocalHost), port);
    if (rawFd < 0 || selFd < 0 || !qt.waitForConnected(QtTimeoutMs)) {
        return setupFailed("TCP clients could not connect");
    }

    benchkit::Comparison c;
    c.title = "TCP round trip on loopback, 32-byte request, 40-byte reply, library server as echo peer";
    c.unit = "us";
    c.unitScale = 1e6;
    c.rounds = benchkit::envInt("BENCH_ROUNDS", 30);
    c.iterations = benchkit::envInt("BENCH_RT_ITERATIONS", 2000);
    // Each reply is read until all 40 bytes are in: TCP keeps no boundaries.
    c.variants = {
        {"library (vx_tcp_send + vx_tcp_receive)",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (vx_tcp_send(vx, request, RequestSize, SendTimeoutUs) != VX_OK)
                     ok = false;
                 for (int got = 0; got < ReplySize;) {
                     const int r = vx_tcp_receive(vx, buf + got, ReplySize - got, ReceiveTimeoutUs);
                     if (r <= 0)
                         return false;
                     got += r;
                 }
             }
             return ok;
         }},
        {"(a) raw send + recv",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (send(rawFd, request, RequestSize, 0) != RequestSize)
                     ok = false;
                 for (int got = 0; got < ReplySize;) {
                     const ssize_t r = recv(rawFd, buf + got, size_t(ReplySize - got), 0);
                     if (r <= 0)
                         return false;
                     got += int(r);
                 }
             }
             return ok;
         }},
        {"(b) select + send, select + recv",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (!waitFor(selFd, true, SendTimeoutUs) || send(selFd, request, RequestSize, 0) != RequestSize)
                     ok = false;
                 for (int got = 0; got < ReplySize;) {
                     if (!waitFor(selFd, false, ReceiveTimeoutUs))
                         return false;
                     const ssize_t r = recv(selFd, buf + got, size_t(ReplySize - got), 0);
                     if (r <= 0)
                         return false;
                     got += int(r);
                 }
             }
             return ok;
         }},
        {"(c) QTcpSocket",
         [&](int n) {
             char buf[BufferSize];
             bool ok = true;
             for (int i = 0; i < n; ++i) {
                 if (qt.write(request, RequestSize) != RequestSize)
                     ok = false;
                 while (qt.bytesAvailable() < ReplySize) {
                     if (!qt.waitForReadyRead(QtTimeoutMs))
                         return false;
                 }
                 if (qt.read(buf, ReplySize) != ReplySize)
                     ok = false;
             }
             return ok;
         }},
    };
    c.ratios = {{0, 2, 1.03}, {0, 1, 0}, {0, 3, 0.9}};
    const bool met = benchkit::runAndPrint(c, note);

    vx_tcp_exit(vx);
    close(rawFd);
    close(selFd);
    qt.close();
    return met;
}

} // namespace

int main(int argc, char **argv)
{
    // Pin before any thread exists, so that the echo peers inherit the CPU.
    const int cpus = benchkit::onlineCpus();
    const int cpu = benchkit::pinToOneCpu();
    QCoreApplication app(argc, argv);

    std::memset(request, 'q', sizeof request);
    std::memset(reply, 'r', sizeof reply);

    std::string note;
    if (cpu >= 0)
        note = "; client and echo peer threads pinned to CPU " + std::to_string(cpu) + " (of " +
               std::to_string(cpus) + ")";
    else
        note = "; NOT pinned (BENCH_CPU=none, or sched_setaffinity failed)";
    std::printf("bench_roundtrip: Qt %s\n", QLibraryInfo::version().toString().toLatin1().constData());

    runUdp(note);
    runTcp(note);
    // Missed targets are printed above; the exit code only says whether
    // everything could be measured.
    return benchkit::failures() == 0 ? 0 : 1;
}
