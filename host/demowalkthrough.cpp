#include "demowalkthrough.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QMouseEvent>
#include <QPushButton>
#include <QTableWidget>
#include <QTextStream>

#include "mainwindow.h"

namespace {

const char SettingsDialog[] = "CascadedSettingsDlgClass";
const char ProgressDialog[] = "EndlessProgressDlgClass";
// Columns of the dialog's tables: hostname, IP address, hidden availability.
const int ColName = 0;
const int ColIp = 1;
const int ColAvailable = 2;

bool isNamed(QWidget *w, const char *name)
{
    return w && (w->objectName() == QLatin1String(name) || QLatin1String(w->metaObject()->className()) == QLatin1String(name));
}

QString cell(QTableWidget *t, int row, int col)
{
    QTableWidgetItem *item = t ? t->item(row, col) : nullptr;
    return item ? item->text() : QString();
}

} // namespace

DemoWalkthrough::DemoWalkthrough(MainWindow *window, const QString &outDir, QObject *parent)
    : QObject(parent), m_window(window), m_outDir(outDir)
{
    m_timer.setInterval(50);
    connect(&m_timer, &QTimer::timeout, this, &DemoWalkthrough::tick);
}

void DemoWalkthrough::start()
{
    QDir().mkpath(m_outDir);
    m_action = m_window->findMenuAction(QStringLiteral("&Cascaded System"));
    if (!m_action) {
        finish(false, tr("no \"&Cascaded System\" entry in the menus (was the module loaded?)"));
        return;
    }
    shoot(m_window, QStringLiteral("00-host.png"));
    go(Step::OpenFirst);
    m_timer.start();
}

void DemoWalkthrough::go(Step next)
{
    m_step = next;
    m_stepClock.restart();
    if (next == Step::OpenFirst || next == Step::OpenSecond) {
        // trigger() runs the dialog's exec(); this timer keeps ticking inside it.
        QTimer::singleShot(0, m_action.data(), &QAction::trigger);
        m_step = next == Step::OpenFirst ? Step::FirstScan : Step::SecondScan;
    }
}

void DemoWalkthrough::tick()
{
    if (m_stepClock.elapsed() > StepTimeoutMs) {
        finish(false, tr("step %1 did not complete within %2 s").arg(int(m_step)).arg(StepTimeoutMs / 1000));
        return;
    }
    QWidget *modal = QApplication::activeModalWidget();
    switch (m_step) {
    case Step::FirstScan:
    case Step::SecondScan:
        // The scan progress dialog may be over before a tick sees it.
        if (isNamed(modal, ProgressDialog)) {
            shoot(modal, m_step == Step::FirstScan ? QStringLiteral("01-scan-progress.png")
                                                   : QStringLiteral("05-rescan-progress.png"));
            m_report << tr("scan progress dialog shown");
            m_step = m_step == Step::FirstScan ? Step::FirstDialog : Step::SecondDialog;
        } else if (isNamed(modal, SettingsDialog)) {
            m_step = m_step == Step::FirstScan ? Step::FirstDialog : Step::SecondDialog;
        }
        return;
    case Step::FirstDialog: {
        if (!isNamed(modal, SettingsDialog) || !settingsDialogFilled(modal))
            return;
        auto *selected = modal->findChild<QTableWidget *>(QStringLiteral("tableWidget_selected"));
        m_connectedAtStart = selected->rowCount();
        m_report << tr("dialog opened with %1 connected and %2 available controllers")
                        .arg(m_connectedAtStart)
                        .arg(modal->findChild<QTableWidget *>(QStringLiteral("tableWidget_available"))->rowCount());
        shoot(modal, QStringLiteral("02-settings-opened.png"));
        if (!clickAvailableController(modal)) {
            finish(false, tr("no controller in the available table can become a slave"));
            return;
        }
        go(Step::WaitSelectEnabled);
        return;
    }
    case Step::WaitSelectEnabled: {
        auto *select = modal ? modal->findChild<QPushButton *>(QStringLiteral("pushButton_select")) : nullptr;
        if (!select || !select->isEnabled())
            return;
        select->click();
        auto *selected = modal->findChild<QTableWidget *>(QStringLiteral("tableWidget_selected"));
        if (selected->rowCount() != m_connectedAtStart + 1) {
            finish(false, tr("select did not add %1 to the selected table").arg(m_chosenIp));
            return;
        }
        m_report << tr("selected %1 (%2)").arg(m_chosenName, m_chosenIp);
        shoot(modal, QStringLiteral("03-controller-selected.png"));
        modal->findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->click();
        go(Step::WaitClosed);
        return;
    }
    case Step::WaitClosed:
    case Step::WaitClosedAgain:
        if (modal)
            return;
        if (m_step == Step::WaitClosed) {
            shoot(m_window, QStringLiteral("04-after-ok.png"));
            go(Step::OpenSecond);
        } else {
            shoot(m_window, QStringLiteral("07-host-at-end.png"));
            finish(true, QString());
        }
        return;
    case Step::SecondDialog: {
        if (!isNamed(modal, SettingsDialog) || !settingsDialogFilled(modal))
            return;
        auto *selected = modal->findChild<QTableWidget *>(QStringLiteral("tableWidget_selected"));
        bool found = false;
        for (int row = 0; row < selected->rowCount(); ++row)
            found = found || cell(selected, row, ColIp) == m_chosenIp;
        shoot(modal, QStringLiteral("06-settings-reopened.png"));
        if (!found) {
            finish(false, tr("after OK, %1 is not among the connected slaves").arg(m_chosenIp));
            return;
        }
        m_report << tr("reopened: %1 is a connected slave now (%2 connected)")
                        .arg(m_chosenIp)
                        .arg(selected->rowCount());
        modal->findChild<QPushButton *>(QStringLiteral("pushButton_cancel"))->click();
        go(Step::WaitClosedAgain);
        return;
    }
    case Step::OpenFirst:
    case Step::OpenSecond:
    case Step::Done:
        return;
    }
}

// The scan is over and its result shown once the available table has rows.
bool DemoWalkthrough::settingsDialogFilled(QWidget *dlg) const
{
    auto *available = dlg->findChild<QTableWidget *>(QStringLiteral("tableWidget_available"));
    return available && available->rowCount() > 0 && dlg->isVisible();
}

// Clicks the first controller of the available table that can become a slave.
bool DemoWalkthrough::clickAvailableController(QWidget *dlg)
{
    auto *table = dlg->findChild<QTableWidget *>(QStringLiteral("tableWidget_available"));
    for (int row = 0; row < table->rowCount(); ++row) {
        if (cell(table, row, ColAvailable) != QLatin1String("yes"))
            continue;
        m_chosenName = cell(table, row, ColName);
        m_chosenIp = cell(table, row, ColIp);
        table->scrollToItem(table->item(row, ColName));
        const QPoint at = table->visualItemRect(table->item(row, ColName)).center();
        QMouseEvent press(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(table->viewport(), &press);
        QApplication::sendEvent(table->viewport(), &release);
        return true;
    }
    return false;
}

void DemoWalkthrough::shoot(QWidget *w, const QString &name)
{
    const QString path = QDir(m_outDir).filePath(name);
    if (w->grab().save(path))
        m_report << tr("screenshot %1").arg(name);
    else
        m_report << tr("could not write screenshot %1").arg(name);
}

void DemoWalkthrough::finish(bool ok, const QString &why)
{
    m_timer.stop();
    m_step = Step::Done;
    if (!ok) {
        m_report << tr("FAILED: %1").arg(why);
        m_window->log(tr("Demo walkthrough failed: %1").arg(why));
        // Close any dialog still open so that every nested exec() returns.
        for (int guard = 0; guard < 10 && QApplication::activeModalWidget(); ++guard) {
            QWidget *w = QApplication::activeModalWidget();
            if (auto *d = qobject_cast<QDialog *>(w))
                d->reject();
            else
                w->close();
        }
    } else {
        m_report << tr("walkthrough passed");
        m_window->log(tr("Demo walkthrough passed"));
    }
    QFile logFile(QDir(m_outDir).filePath(QStringLiteral("messages.log")));
    if (logFile.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        QTextStream(&logFile) << m_window->logText() << '\n';
    QFile summary(QDir(m_outDir).filePath(QStringLiteral("walkthrough.txt")));
    if (summary.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        QTextStream(&summary) << m_report.join(QLatin1Char('\n')) << '\n';
    QTextStream(stdout) << m_report.join(QLatin1Char('\n')) << '\n';
    const int code = ok ? 0 : 1;
    // Leave from the main loop, after any dialog closed above has returned.
    QTimer::singleShot(0, qApp, [code] { QApplication::exit(code); });
}
