// 1000 probes of controllers named by hand leave no descriptor open: most
// are answered, some are refused, some time out. UDP responders serve
// 127.0.8.1 (a controller that can become a slave) and 127.0.8.3 (one that
// refuses every request); nothing listens on 127.0.8.2.
#include <QDir>
#include <QtTest>

#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "udpresponder.h"

namespace {

const char Eligible[] = "127.0.8.1";
const char Silent[] = "127.0.8.2";
const char Refusing[] = "127.0.8.3";

int openFds()
{
    return int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size());
}

QByteArray z(const char *text) { return QByteArray(text, int(qstrlen(text)) + 1); }

} // namespace

class ProbeDescriptorsTest : public QObject
{
    Q_OBJECT

private slots:
    void probesLeaveNoDescriptorOpen()
    {
        UdpResponder eligible, refusing;
        eligible.replies = {{"korvane get system version", z("korvane set system version v2.7.1")},
                            {"korvane get system access", z("korvane set system access full")},
                            {"korvane get system can_slave", z("korvane set system can_slave yes")}};
        for (const char *request : {"korvane get system version", "korvane get system access", "korvane get system can_slave"})
            refusing.replies.insert(request, z("korvane error refused"));
        QVERIFY2(eligible.start(Eligible) && refusing.start(Refusing), "cannot bind 127.0.8.1 and 127.0.8.3 at port 50105");
        CascadedSettingsDlg dlg(nullptr, nullptr, nullptr);
        QVERIFY(DialogAccess::isAvailableAsSlave(dlg, QString::fromLatin1(Eligible))); // first use may open descriptors of its own

        const int before = openFds();
        int timedOut = 0;
        for (int i = 0; i < 1000; ++i) {
            // Every 64th probe goes unanswered (0.5 s each), every 8th is refused.
            const char *target = i % 64 == 0 ? Silent : i % 8 == 1 ? Refusing : Eligible;
            const QString name = QString::fromLatin1(target);
            const bool ok = i % 2 ? DialogAccess::isAvailableAsSlave(dlg, name) : DialogAccess::isValidIpOrHostname(dlg, name);
            QVERIFY2(ok == (target == Eligible), qPrintable(QStringLiteral("probe %1 of %2 gave %3").arg(i).arg(name).arg(ok)));
            timedOut += target == Silent;
        }
        const int after = openFds();
        QVERIFY2(after == before, qPrintable(QStringLiteral("open descriptors: %1 before, %2 after").arg(before).arg(after)));
        QCOMPARE(timedOut, 16);
    }
};

QTEST_MAIN(ProbeDescriptorsTest)
#include "tst_probedescriptors.moc"
