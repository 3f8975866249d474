// SPDX-License-Identifier: MIT
// The simulator at its own maximum: a request and a datagram cost the same
// at 4,096 controllers as at 12, the large LAN starts within a second, and
// an idle simulator uses no CPU. The loopback round trip of a trivial echo
// server in this program is the floor.
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <arpa/inet.h>
#include <cstdio>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "benchkit.h"
#include "ControllerProtocol.h"
#include "simprocess.h"

namespace {

const int Requests = benchkit::envInt("BENCH_REQUESTS", 3000);
const int IdleSeconds = benchkit::envInt("BENCH_IDLE_S", 5);
const char Master[] = "127.0.9.1";
const char EchoAddress[] = "127.0.9.254";
const double TargetRatio = 1.2;
const double TargetStartupMs = 1000;

// The master on 127.0.9.1 and n - 1 generated controllers after it.
QByteArray lan(int n)
{
    return R"({ "controllers": [ { "address": "127.0.9.1", "master": true },
        { "address": "127.0.9.2", "hostname": "lan-%n", "generate": )" + QByteArray::number(n - 1) + " } ] }";
}

sockaddr_in endpoint(const char *ip, unsigned short port)
{
    sockaddr_in a = {};
    a.sin_family = AF_INET;
    a.sin_port = htons(port);
    a.sin_addr.s_addr = inet_addr(ip);
    return a;
}

// The median microseconds of one request and its reply line over one TCP
// connection, or -1.
double tcpRoundTrip(const char *ip, unsigned short port, const QByteArray &request)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in to = endpoint(ip, port);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&to), sizeof to) != 0) {
        ::close(fd);
        return -1;
    }
    timeval tv = {2, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    std::vector<double> us;
    char buf[512];
    for (int i = 0; i < Requests; ++i) {
        QElapsedTimer t;
        t.start();
        if (::send(fd, request.constData(), size_t(request.size()), 0) != request.size())
            break;
        ssize_t n = 0;
        do
            n = ::recv(fd, buf, sizeof buf, 0);
        while (n > 0 && buf[n - 1] != '\n');
        if (n <= 0)
            break;
        us.push_back(t.nsecsElapsed() / 1000.0);
    }
    ::close(fd);
    return us.size() == size_t(Requests) ? benchkit::median(us) : -1;
}

// The median microseconds of one UDP read request and its reply, or -1.
double udpRoundTrip(const char *ip)
{
    const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to = endpoint(ip, ControllerProtocol::Port);
    timeval tv = {2, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof tv);
    static const char request[] = "korvane get system model";
    std::vector<double> us;
    char buf[512];
    for (int i = 0; i < Requests; ++i) {
        QElapsedTimer t;
        t.start();
        ::sendto(fd, request, sizeof request, 0, reinterpret_cast<sockaddr *>(&to), sizeof to);
        if (::recv(fd, buf, sizeof buf, 0) <= 0)
            break;
        us.push_back(t.nsecsElapsed() / 1000.0);
    }
    ::close(fd);
    return us.size() == size_t(Requests) ? benchkit::median(us) : -1;
}

// A thread that echoes every byte of one TCP connection: the floor of a
// loopback round trip. Its port, or 0.
unsigned short startEcho()
{
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a = endpoint(EchoAddress, 0);
    socklen_t size = sizeof a;
    if (::bind(listener, reinterpret_cast<sockaddr *>(&a), sizeof a) != 0 || ::listen(listener, 1) != 0
        || ::getsockname(listener, reinterpret_cast<sockaddr *>(&a), &size) != 0)
        return 0;
    std::thread([listener] {
        const int fd = ::accept(listener, nullptr, nullptr);
        char buf[512];
        for (ssize_t n; (n = ::recv(fd, buf, sizeof buf, 0)) > 0;)
            (void)!::send(fd, buf, size_t(n), 0);
        ::close(fd);
        ::close(listener);
    }).detach();
    return ntohs(a.sin_port);
}

// CPU seconds (user + system) the process has used so far, or -1.
double cpuSeconds(qint64 pid)
{
    QFile f(QStringLiteral("/proc/%1/stat").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray stat = f.readAll();
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    return fields.size() > 12 ? (fields[11].toLongLong() + fields[12].toLongLong()) / double(sysconf(_SC_CLK_TCK))
                              : -1;
}

struct Figures
{
    double startupMs = -1, tcpUs = -1, udpUs = -1, idleCpuPercent = -1;
};

Figures measure(int controllers, const char *udpTarget)
{
    Figures f;
    SimProcess sim;
    QElapsedTimer t;
    t.start();
    if (!sim.start(lan(controllers))) {
        std::printf("bench_sim_lan: %s\n", sim.error().toLocal8Bit().constData());
        return f;
    }
    f.startupMs = t.nsecsElapsed() / 1e6;
    f.tcpUs = tcpRoundTrip(Master, ControllerProtocol::Port, "korvane get system model\n");
    f.udpUs = udpRoundTrip(udpTarget);
    const double before = cpuSeconds(sim.pid());
    QThread::sleep(unsigned(IdleSeconds));
    const double after = cpuSeconds(sim.pid());
    if (before >= 0 && after >= 0)
        f.idleCpuPercent = 100.0 * (after - before) / IdleSeconds;
    return f;
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    const int cpu = benchkit::pinToOneCpu();
    const unsigned short echoPort = startEcho();
    const double floorUs = echoPort ? tcpRoundTrip(EchoAddress, echoPort, "korvane get system model\n") : -1;
    const Figures small = measure(12, "127.0.9.12");
    const Figures large = measure(4096, "127.0.25.0"); // the last of 4,095 after 127.0.9.1
    std::printf("\n== The simulator at 12 and 4,096 controllers ==\n");
    std::printf("  median of %d requests each; %s; loopback TCP round trip (echo thread): %.1f us\n", Requests,
                cpu >= 0 ? ("pinned to CPU " + std::to_string(cpu)).c_str() : "not pinned", floorUs);
    std::printf("  %-44s  %10s  %10s  %7s\n", "", "12", "4,096", "ratio");
    auto row = [](const char *what, double a, double b) {
        std::printf("  %-44s  %10.1f  %10.1f  %6.2fx\n", what, a, b, a > 0 ? b / a : 0.0);
    };
    row("TCP request round trip to the master, us", small.tcpUs, large.tcpUs);
    row("UDP read round trip to the last controller, us", small.udpUs, large.udpUs);
    row("start-up to the ready line, ms", small.startupMs, large.startupMs);
    row("CPU while idle, % of one core", small.idleCpuPercent, large.idleCpuPercent);
    const bool measured = small.tcpUs > 0 && large.tcpUs > 0 && small.udpUs > 0 && large.udpUs > 0;
    auto verdict = [](bool met) { return met ? "met" : "MISSED"; };
    std::printf("  TCP request at 4,096 / at 12: %.2fx; target <= %.1fx: %s\n", large.tcpUs / small.tcpUs,
                TargetRatio, verdict(measured && large.tcpUs <= TargetRatio * small.tcpUs));
    std::printf("  UDP datagram at 4,096 / at 12: %.2fx; target <= %.1fx: %s\n", large.udpUs / small.udpUs,
                TargetRatio, verdict(measured && large.udpUs <= TargetRatio * small.udpUs));
    std::printf("  start-up of 4,096 controllers: %.0f ms; target <= %.0f ms: %s\n", large.startupMs,
                TargetStartupMs, verdict(large.startupMs >= 0 && large.startupMs <= TargetStartupMs));
    return measured ? 0 : 1;
}
