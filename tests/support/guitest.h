// SPDX-License-Identifier: MIT
// Helpers of the dialog tests: a trap for Qt's connect-by-name warnings (a
// slot named on_<object>_<signal> that found nothing is dead in the running
// dialog), the end-of-test checks, and table inspection.
#pragma once

#include <QDialog>
#include <QPointer>
#include <QStringList>
#include <QTableWidget>
#include <functional>

#include "modaldriver.h"

namespace GuiTest {

void install();
// Driver failures, trapped warnings and windows left open since the last
// call; resets the driver.
QStringList problems();

QStringList rows(const QTableWidget *t);    // "name|ip|available", the hidden column included
QStringList colours(const QTableWidget *t); // per row: "default", "grey", "red" or "mixed"
int rowOfIp(const QTableWidget *t, const QString &ip);
void clickRow(QTableWidget *t, int row);    // as a mouse click on the row
// The labels of a group (say, the entries of one menu) whose Alt letter,
// the one after a single '&', is missing or shared with another label.
QStringList clashes(const QStringList &labels);

// Runs a scan progress dialog's poll, its 500 ms timer's work, at once.
void poll(QWidget *progress);
// Until problems() is next called, every scan progress dialog that shows,
// nested ones included, gets `act` run inside its own event loop; by
// default it polls at once instead of after its timer's first interval.
void drivePolls(bool on = true, const std::function<void(QDialog *)> &act = {});

// Runs the dialog's opening; once it is the active modal widget and ready()
// holds, runs act(). A dialog that act left open is ended with -1.
template <class Dlg>
int openAndRun(Dlg *dlg, const std::function<bool()> &ready, const std::function<void()> &act,
               int timeoutMs = 8000)
{
    QPointer<Dlg> guard(dlg);
    ModalDriver::when([dlg, ready](QWidget *w) { return w == dlg && (!ready || ready()); },
                      [guard, act](QWidget *) {
                          act();
                          if (guard && guard->isVisible())
                              guard->done(-1);
                      },
                      timeoutMs);
    return dlg->update_and_exec();
}

} // namespace GuiTest

// QTEST_MAIN with the fixed font resolution the table checks assume.
#define GUITEST_MAIN(TestObject)                                                                              \
    int main(int argc, char **argv)                                                                           \
    {                                                                                                         \
        QApplication app(argc, argv);                                                                         \
        app.setAttribute(Qt::AA_Use96Dpi, true);                                                              \
        TestObject tc;                                                                                        \
        QTEST_SET_MAIN_SOURCE_PATH                                                                            \
        return QTest::qExec(&tc, argc, argv);                                                                \
    }

#define VERIFY_CLEAN()                                                                                        \
    do {                                                                                                      \
        const QStringList p_ = GuiTest::problems();                                                           \
        QVERIFY2(p_.isEmpty(), qPrintable(p_.join(QLatin1Char('\n'))));                                       \
    } while (0)
