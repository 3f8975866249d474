#include "guitest.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QMutex>
#include <QProcess>
#include <QTest>
#include <algorithm>
#include <cstdio>

namespace GuiTest {

QChar mnemonic(const QString &text)
{
    for (int i = 0; i + 1 < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('&'))
            continue;
        if (text.at(i + 1) != QLatin1Char('&'))
            return text.at(i + 1).toLower();
        ++i; // "&&" is a literal '&'
    }
    return QChar();
}

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
const int ParallelRuns = 6;
const int RunBoundMs = 120000;
} // namespace

int exec(QObject *test, int argc, char **argv)
{
    if (argc > 1)
        return QTest::qExec(test, argc, argv);

    // Every row as "function:tag" (or "function"), from QtTest's own listing.
    // The listing runs no test code; under the sanitizer build its early exit
    // would count the font library's caches as leaks, so leaks are not
    // checked there.
    QProcess lister;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ASAN_OPTIONS"), env.value(QStringLiteral("ASAN_OPTIONS")) + QStringLiteral(":detect_leaks=0"));
    lister.setProcessEnvironment(env);
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

    // The rows are dealt round-robin to ParallelRuns children, so that every
    // child gets a share of the slow rows and no more processes start than
    // run at once.
    const int runs = std::min(ParallelRuns, int(rows.size()));
    QVector<QStringList> batches(runs);
    for (int row = 0; row < rows.size(); ++row)
        batches[row % runs] << rows[row];
    QVector<QProcess *> children;
    for (const QStringList &batch : batches) {
        auto *p = new QProcess;
        p->setProcessChannelMode(QProcess::MergedChannels);
        p->start(QCoreApplication::applicationFilePath(), batch);
        children << p;
    }
    QElapsedTimer clock;
    clock.start();
    QVector<QByteArray> reports(runs);
    int failed = 0;
    for (int k = 0; k < runs; ++k) {
        QProcess *p = children[k];
        // Reads as it waits. A later child whose pipe fills meanwhile waits
        // for its turn; no child waits for another, so none can hang us.
        while (p->state() != QProcess::NotRunning && clock.elapsed() < RunBoundMs) {
            p->waitForFinished(50);
            reports[k] += p->readAll();
        }
        if (p->state() != QProcess::NotRunning) {
            p->kill();
            p->waitForFinished(1000);
            reports[k] += "\nkilled: the run did not end within its bound\n";
        }
        reports[k] += p->readAll();
        failed += p->exitStatus() != QProcess::NormalExit || p->exitCode() != 0;
    }
    for (int k = 0; k < runs; ++k) {
        std::fprintf(stdout, "==== %s\n%s", qPrintable(batches[k].join(QLatin1Char(' '))), reports[k].constData());
        delete children[k];
    }
    std::fprintf(stdout, "==== %d of %d runs failed\n", failed, runs);
    std::fflush(stdout);
    return failed == 0 ? 0 : 1;
}

} // namespace GuiTest
