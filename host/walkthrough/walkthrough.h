// SPDX-License-Identifier: MIT
// The walkthrough: drives the real "Cascaded System Settings" dialog the
// way a user would (open it, wait for the LAN scan, select a controller, add
// controllers the scan did not find by hand, by address or hostname, and
// select them too, show the tool tip of the longest hostname, OK, open it
// again), saves a screenshot of each step and the message log into a
// folder, and ends the application with 0 when every step worked.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

class MainWindow;
class QAction;
class QWidget;

class Walkthrough : public QObject
{
    Q_OBJECT

public:
    static constexpr int StepTimeoutMs = 30000;

    // handEntries: the addresses or hostnames to type into the dialog's add
    // field, one after the other.
    Walkthrough(MainWindow *window, const QString &outDir, const QStringList &handEntries,
                    QObject *parent = nullptr);

    // Starts the walkthrough; the application exits when it ends.
    void start();

private:
    enum class Step {
        OpenFirst,
        FirstScan,
        FirstDialog,
        SelectFirst,
        AddNext,
        WaitHandAdded,
        SelectHandAdded,
        WaitToolTip,
        WaitClosed,
        OpenSecond,
        SecondScan,
        SecondDialog,
        WaitClosedAgain,
        Done
    };

    void tick();
    void go(Step next);
    bool settingsDialogFilled(QWidget *dlg) const;
    // entry: an IP address or hostname; empty for any controller.
    bool clickAvailableController(QWidget *dlg, const QString &entry = QString());
    bool pressSelect(QWidget *dlg, const QString &ip, const QString &screenshot);
    bool showLongestNameToolTip(QWidget *dlg);
    // Screenshot of w (with overlay painted over it) into the output folder.
    void shoot(QWidget *w, const QString &name, QWidget *overlay = nullptr);
    void finish(bool ok, const QString &why);

    MainWindow *m_window;
    QString m_outDir;
    QStringList m_handEntries;
    int m_handIndex = 0;
    QPointer<QAction> m_action;
    QTimer m_timer;
    QElapsedTimer m_stepClock;
    Step m_step = Step::OpenFirst;
    QString m_chosenIp;
    QString m_chosenName;
    QStringList m_selectedIps;
    int m_connectedAtStart = 0;
    QStringList m_report;
};
