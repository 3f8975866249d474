// SPDX-License-Identifier: MIT
#include "modaldriver.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QPointer>
#include <QQueue>
#include <QTimer>

namespace ModalDriver {

namespace {

struct Step
{
    Match match;
    Action act;
    int timeoutMs;
};

QQueue<Step> g_steps;
QList<Step> g_standing;
QPointer<QWidget> g_lastStanding; // the widget a standing action last ran on
QStringList g_failures;
QPointer<QTimer> g_timer;
QElapsedTimer g_clock;

void rejectAllModals()
{
    // Innermost first, so that every nested exec() returns.
    for (int guard = 0; guard < 10; ++guard) {
        QWidget *w = QApplication::activeModalWidget();
        if (!w)
            break;
        if (auto *d = qobject_cast<QDialog *>(w))
            d->reject();
        else
            w->close();
        if (QApplication::activeModalWidget() == w)
            break;
    }
}

void tick()
{
    QWidget *w = QApplication::activeModalWidget();
    if (w && w != g_lastStanding) {
        for (const Step &standing : qAsConst(g_standing)) {
            if (standing.match(w)) {
                g_lastStanding = w;
                standing.act(w);
                return;
            }
        }
    }
    if (g_steps.isEmpty()) {
        if (g_standing.isEmpty())
            g_timer->stop();
        return;
    }
    if (w && g_steps.head().match(w)) {
        const Step step = g_steps.dequeue();
        g_clock.restart();
        step.act(w);
    } else if (g_clock.elapsed() > g_steps.head().timeoutMs) {
        g_failures << QStringLiteral("expected modal dialog did not appear within %1 ms (active: %2)")
                          .arg(g_steps.head().timeoutMs)
                          .arg(w ? w->objectName() : QStringLiteral("none"));
        g_steps.clear();
        rejectAllModals();
    }
}

} // namespace

static void startTimer()
{
    if (!g_timer) {
        g_timer = new QTimer(qApp);
        g_timer->setInterval(5);
        QObject::connect(g_timer, &QTimer::timeout, tick);
    }
    g_timer->start();
}

void when(const Match &match, const Action &act, int timeoutMs)
{
    if (g_steps.isEmpty())
        g_clock.restart();
    g_steps.enqueue(Step{match, act, timeoutMs});
    startTimer();
}

void whenever(const Match &match, const Action &act)
{
    g_standing << Step{match, act, 0};
    startTimer();
}

void endWhenever()
{
    g_standing.clear();
}

void when(const QString &name, const Action &act, int timeoutMs)
{
    when([name](QWidget *w) { return w->objectName() == name || QLatin1String(w->metaObject()->className()) == name; },
         act, timeoutMs);
}

QStringList failures() { return g_failures; }
bool ok() { return g_failures.isEmpty() && g_steps.isEmpty(); }
int pending() { return g_steps.size(); }

void reset()
{
    g_failures.clear();
    g_steps.clear();
    g_standing.clear();
    if (g_timer)
        g_timer->stop();
}

} // namespace ModalDriver
