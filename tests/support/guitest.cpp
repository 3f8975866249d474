#include "guitest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QProcess>
#include <QTest>
#include <cstdio>

namespace GuiTest {

namespace {
QtMessageHandler g_previous = nullptr;
QStringList g_trapped;
QMutex g_lock;

void handler(QtMsgType type, const QMessageLogContext &context, const QString &msg)
{
    if (type == QtWarningMsg && msg.contains(QLatin1String("connectSlotsByName"))) {
        QMutexLocker l(&g_lock);
        g_trapped << msg;
    }
    if (g_previous)
        g_previous(type, context, msg);
}

QString cell(const QTableWidget *t, int r, int c)
{
    return t->item(r, c) ? t->item(r, c)->text() : QStringLiteral("<none>");
}
} // namespace

void install()
{
    static bool installed = false;
    if (!installed)
        g_previous = qInstallMessageHandler(handler);
    installed = true;
}

QStringList problems()
{
    QStringList out = ModalDriver::failures();
    if (ModalDriver::pending())
        out << QStringLiteral("%1 modal step(s) never ran").arg(ModalDriver::pending());
    ModalDriver::reset();
    {
        QMutexLocker l(&g_lock);
        out << g_trapped;
        g_trapped.clear();
    }
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->isVisible())
            out << QStringLiteral("left open: ") + w->objectName();
    return out;
}

QStringList rows(const QTableWidget *t)
{
    QStringList out;
    for (int r = 0; r < t->rowCount(); ++r)
        out << cell(t, r, 0) + QLatin1Char('|') + cell(t, r, 1) + QLatin1Char('|') + cell(t, r, 2);
    return out;
}

QStringList colours(const QTableWidget *t)
{
    QStringList out;
    for (int r = 0; r < t->rowCount(); ++r) {
        QStringList seen;
        for (int c = 0; c < t->columnCount(); ++c) {
            const QBrush b = t->item(r, c) ? t->item(r, c)->foreground() : QBrush();
            seen << (b.style() == Qt::NoBrush ? QStringLiteral("default")
                     : b.color() == QColor(Qt::gray) ? QStringLiteral("grey")
                     : b.color() == QColor(Qt::red) ? QStringLiteral("red")
                                                    : b.color().name());
        }
        seen.removeDuplicates();
        out << (seen.size() == 1 ? seen.first() : QStringLiteral("mixed"));
    }
    return out;
}

int rowOfIp(const QTableWidget *t, const QString &ip)
{
    for (int r = 0; r < t->rowCount(); ++r)
        if (cell(t, r, 1) == ip)
            return r;
    return -1;
}

void clickRow(QTableWidget *t, int row)
{
    t->setCurrentCell(row, 0);
    emit t->cellClicked(row, 0);
}

namespace {
const int ParallelRows = 8;
const int RunBoundMs = 120000;
} // namespace

int exec(QObject *test, int argc, char **argv)
{
    if (argc > 1)
        return QTest::qExec(test, argc, argv);

    // Every row as "function:tag" (or "function"), from QtTest's own listing.
    QProcess lister;
    lister.start(QCoreApplication::applicationFilePath(), {QStringLiteral("-datatags")});
    if (!lister.waitForFinished(RunBoundMs) || lister.exitCode() != 0) {
        std::fprintf(stderr, "cannot list the test rows\n");
        return 1;
    }
    QStringList rows;
    for (const QByteArray &line : lister.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> words = line.split(' ');
        if (words.size() < 2)
            continue;
        const QString tag = QString::fromUtf8(line.mid(words[0].size() + words[1].size() + 2));
        rows << QString::fromUtf8(words[1]) + (tag.isEmpty() ? QString() : QLatin1Char(':') + tag);
    }

    QVector<QByteArray> reports(rows.size());
    QVector<int> results(rows.size(), -1);
    QList<QPair<int, QProcess *>> running;
    QElapsedTimer clock;
    clock.start();
    int next = 0;
    while (next < rows.size() || !running.isEmpty()) {
        while (next < rows.size() && running.size() < ParallelRows) {
            auto *p = new QProcess;
            p->setProcessChannelMode(QProcess::MergedChannels);
            p->start(QCoreApplication::applicationFilePath(), {rows[next]});
            running << qMakePair(next++, p);
        }
        for (int k = running.size() - 1; k >= 0; --k) {
            QProcess *p = running[k].second;
            const int row = running[k].first;
            reports[row] += p->readAll();
            if (p->state() != QProcess::NotRunning && !p->waitForFinished(5)) {
                if (clock.elapsed() < RunBoundMs)
                    continue;
                p->kill();
                p->waitForFinished(1000);
                reports[row] += "\nkilled: the run did not end within its bound\n";
            }
            reports[row] += p->readAll();
            results[row] = p->exitStatus() == QProcess::NormalExit ? p->exitCode() : -1;
            delete p;
            running.removeAt(k);
        }
    }

    int failed = 0;
    for (int row = 0; row < rows.size(); ++row) {
        std::fprintf(stdout, "==== %s\n%s", qPrintable(rows[row]), reports[row].constData());
        failed += results[row] != 0;
    }
    std::fprintf(stdout, "==== %d of %lld rows failed\n", failed, static_cast<long long>(rows.size()));
    std::fflush(stdout);
    return failed == 0 ? 0 : 1;
}

} // namespace GuiTest
