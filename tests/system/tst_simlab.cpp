// The simulator as a lab: a burst of datagrams never deafens a controller, a
// request followed at once by the client's FIN is still answered, the
// timeline and the control socket switch controllers off and on, LAN
// conditions repeat exactly from their seed, and generated LANs answer.
#include <QNetworkDatagram>
#include <QProcess>
#include <QUdpSocket>
#include <QtTest>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "ControllerProtocol.h"
#include "simprocess.h"

using ControllerProtocol::Port;

namespace {

// Every address this test uses: 127.0.90.<host>.
QString address(int host)
{
    return QStringLiteral("127.0.90.%1").arg(host);
}

const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.90.1", "master": true },
    { "address": "127.0.90.2", "hostname": "burst" }
] })";

// One UDP read request to the controller at host; its reply, or empty when
// none comes within waitMs.
QByteArray udpRead(QUdpSocket &udp, int host, int waitMs = 1000, const QByteArray &request = "system hostname")
{
    while (udp.hasPendingDatagrams())
        udp.receiveDatagram();
    udp.writeDatagram("korvane get " + request + '\0', QHostAddress(address(host)), Port);
    if (!udp.waitForReadyRead(waitMs))
        return QByteArray();
    return udp.receiveDatagram().data();
}

} // namespace

class SimLabTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(m_sim.start(Scenario), qPrintable(m_sim.error()));
        QVERIFY(m_udp.bind(QHostAddress(address(254)), 0));
    }

    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    // Datagrams that get no answer, more than one pass reads, and then a
    // read: it is answered, the next burst too.
    void burstLeavesTheControllerListening()
    {
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < 150; ++i)
                m_udp.writeDatagram(QByteArray("korvane ok", 11), QHostAddress(address(2)), Port);
            QCOMPARE(udpRead(m_udp, 2), QByteArray("korvane set system hostname burst", 34));
        }
    }

    // The client sends its request and closes its side at once.
    void requestBeforeHalfCloseIsAnswered()
    {
        const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
        QVERIFY(fd >= 0);
        sockaddr_in to = {};
        to.sin_family = AF_INET;
        to.sin_port = htons(Port);
        to.sin_addr.s_addr = htonl(QHostAddress(address(1)).toIPv4Address());
        QCOMPARE(::connect(fd, reinterpret_cast<sockaddr *>(&to), sizeof to), 0);
        // The first reply shows the session is up; the FIN follows the second request.
        const char request[] = "korvane get system model\n";
        const QByteArray reply = "korvane set system model VESTRAL\n";
        QByteArray received;
        pollfd p = {fd, POLLIN, 0};
        char buf[256];
        for (int n = 1; n <= 2; ++n) {
            QCOMPARE(::send(fd, request, sizeof request - 1, 0), ssize_t(sizeof request - 1));
            if (n == 2)
                ::shutdown(fd, SHUT_WR);
            for (ssize_t got = 1; got > 0 && received.size() < n * reply.size() && ::poll(&p, 1, 3000) == 1;) {
                got = ::recv(fd, buf, sizeof buf, 0);
                received += QByteArray(buf, int(qMax<ssize_t>(got, 0)));
            }
        }
        ::close(fd);
        QCOMPARE(received, reply + reply);
    }

private:
    SimProcess m_sim;
    QUdpSocket m_udp;
};

QTEST_GUILESS_MAIN(SimLabTest)
#include "tst_simlab.moc"
