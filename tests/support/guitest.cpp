// SPDX-License-Identifier: MIT
#include "guitest.h"

#include <QApplication>
#include <QMutex>
#include <QPointer>
#include <QTimer>
#include <QTest>
#include <algorithm>

namespace GuiTest {

namespace {
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
} // namespace

QStringList clashes(const QStringList &labels)
{
    QStringList out;
    for (const QString &t : labels) {
        const QChar m = mnemonic(t);
        if (m.isNull() || std::count_if(labels.begin(), labels.end(), [m](const QString &u) { return mnemonic(u) == m; }) > 1)
            out << t;
    }
    return out;
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
    drivePolls(false);
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

void poll(QWidget *progress)
{
    QMetaObject::invokeMethod(progress, "onTimer");
}

namespace {
// Posts the step, so that it runs inside the dialog's own event loop; an
// event filter sees nested dialogs too, where a timer-driven step would not
// run again until the outer one returns.
class PollDriver : public QObject
{
public:
    std::function<void(QDialog *)> act;
    bool eventFilter(QObject *o, QEvent *e) override
    {
        if (act && e->type() == QEvent::Show && o->objectName() == QLatin1String("EndlessProgressDlgClass")) {
            QPointer<QDialog> w(static_cast<QDialog *>(o));
            QTimer::singleShot(0, [w, act = act] {
                if (w)
                    act(w);
            });
        }
        return false;
    }
};
PollDriver *g_polls = nullptr;
} // namespace

void drivePolls(bool on, const std::function<void(QDialog *)> &act)
{
    if (!g_polls) {
        g_polls = new PollDriver;
        qApp->installEventFilter(g_polls);
    }
    g_polls->act = !on ? nullptr : act ? act : [](QDialog *w) { poll(w); };
}

void clickRow(QTableWidget *t, int row)
{
    t->setCurrentCell(row, 0);
    emit t->cellClicked(row, 0);
}

} // namespace GuiTest
