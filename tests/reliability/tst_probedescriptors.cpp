// SPDX-License-Identifier: MIT
// 1000 probes of controllers named by hand leave no descriptor open: most
// are answered, some are refused, some time out. The probes run in four
// rows of 250 (each a CTest test of its own), each against addresses of
// its own: UDP responders serve 127.0.8.<10k+1> (a controller that can
// become a slave) and 127.0.8.<10k+3> (one that refuses every request);
// nothing listens on 127.0.8.<10k+2>.
#include <QApplication>
#include <QDir>
#include <QtTest>

#include "guitest.h"
#include "handprobe.h"
#include "udpresponder.h"

namespace {

const int Probes = 1000;
const int Rows = 4;

int openFds()
{
    return int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

QByteArray address(int row, int host) { return "127.0.8." + QByteArray::number(10 * row + host); }

} // namespace

class ProbeDescriptorsTest : public QObject
{
    Q_OBJECT

private slots:
    void probesLeaveNoDescriptorOpen_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < Rows; ++row)
            QTest::newRow(qPrintable(QStringLiteral("probes_%1-%2").arg(row * Probes / Rows).arg((row + 1) * Probes / Rows - 1)))
                << row;
    }
    void probesLeaveNoDescriptorOpen()
    {
        QFETCH(int, row);
        const QByteArray eligibleAddr = address(row, 1), silentAddr = address(row, 2), refusingAddr = address(row, 3);
        UdpResponder eligible, refusing;
        eligible.replies = {{"korvane get system version", datagram("korvane set system version v2.7.1")},
                            {"korvane get system access", datagram("korvane set system access full")},
                            {"korvane get system can_slave", datagram("korvane set system can_slave yes")}};
        for (const char *request : {"korvane get system version", "korvane get system access", "korvane get system can_slave"})
            refusing.replies.insert(request, datagram("korvane error refused"));
        QVERIFY2(eligible.start(eligibleAddr) && refusing.start(refusingAddr), "cannot bind the responders' addresses");
        QVERIFY(HandProbe::qualifiesAsSlave(QString::fromLatin1(eligibleAddr))); // first use may open descriptors of its own

        const int before = openFds();
        for (int i = row * Probes / Rows; i < (row + 1) * Probes / Rows; ++i) {
            // Every 125th probe goes unanswered (0.5 s each), every 8th is refused.
            const QByteArray &target = i % 125 == 0 ? silentAddr : i % 8 == 1 ? refusingAddr : eligibleAddr;
            const QString name = QString::fromLatin1(target);
            const bool ok = i % 2 ? HandProbe::qualifiesAsSlave(name) : HandProbe::answersAsController(name);
            QVERIFY2(ok == (target == eligibleAddr), qPrintable(QStringLiteral("probe %1 of %2 gave %3").arg(i).arg(name).arg(ok)));
        }
        const int after = openFds();
        QVERIFY2(after == before, qPrintable(QStringLiteral("open descriptors: %1 before, %2 after").arg(before).arg(after)));
    }
};

GUITEST_MAIN(ProbeDescriptorsTest)
#include "tst_probedescriptors.moc"
