// SPDX-License-Identifier: MIT
#include "walkthrough.h"

#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMouseEvent>
#include <QPainter>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QToolTip>
#include <QPushButton>
#include <QTableView>
#include <QTextStream>

#include "mainwindow.h"

namespace {

const char SettingsDialog[] = "CascadedSettingsDlgClass";
const char ProgressDialog[] = "EndlessProgressDlgClass";
// The dialog's tables name their columns in the header: hostname, IP
// address and the hidden availability ("yes" when it can become a slave).
const char Name[] = "Name";
const char Ip[] = "IP";
const char Available[] = "Available";

bool isNamed(QWidget *w, const char *name)
{
    return w && (w->objectName() == QLatin1String(name) || QLatin1String(w->metaObject()->className()) == QLatin1String(name));
}

bool isAddress(const QString &entry)
{
    return QRegularExpression(QStringLiteral("^[0-9.]+$")).match(entry).hasMatch();
}

// The tool tip window while one is shown.
QWidget *visibleToolTip()
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->inherits("QTipLabel") && w->isVisible())
            return w;
    return nullptr;
}

// The cell of row in the column whose header reads label; invalid when
// there is no such column.
QModelIndex cellIndex(const QTableView *table, int row, const char *label)
{
    const QAbstractItemModel *model = table->model();
    for (int column = 0; column < model->columnCount(); ++column)
        if (model->headerData(column, Qt::Horizontal).toString() == QLatin1String(label))
            return model->index(row, column);
    return QModelIndex();
}

QString cell(const QTableView *table, int row, const char *label)
{
    return cellIndex(table, row, label).data().toString();
}

int rowCount(const QTableView *table)
{
    return table->model()->rowCount();
}

QTableView *table(QWidget *dlg, const char *name)
{
    return dlg->findChild<QTableView *>(QLatin1String(name));
}

// The entry of the window's menus whose text is text ("&Cascaded System").
QAction *menuEntry(MainWindow *window, const QString &text)
{
    for (QAction *menuAction : window->menuBar()->actions())
        if (menuAction->menu())
            for (QAction *entry : menuAction->menu()->actions())
                if (entry->text() == text)
                    return entry;
    return nullptr;
}

// The controller line of the window's status bar, and its message log.
QString statusText(MainWindow *window)
{
    const auto *status = window->findChild<QLabel *>(QStringLiteral("controllerStatus"));
    return status ? status->text() : QString();
}

QString logText(MainWindow *window)
{
    const auto *log = window->findChild<QPlainTextEdit *>(QStringLiteral("messageLog"));
    return log ? log->toPlainText() : QString();
}

} // namespace

Walkthrough::Walkthrough(MainWindow *window, const QString &outDir, const QStringList &handEntries, QObject *parent)
    : QObject(parent), m_window(window), m_outDir(outDir), m_handEntries(handEntries)
{
    m_timer.setInterval(50);
    connect(&m_timer, &QTimer::timeout, this, &Walkthrough::tick);
}

void Walkthrough::start()
{
    QDir().mkpath(m_outDir);
    // The module's menu entry, in the language the host runs in.
    const char context[] = "CascadedSystemModule";
    const char entry[] = "&Cascaded System";
    const QString entryText = QCoreApplication::translate(context, entry);
    m_action = menuEntry(m_window, entryText);
    if (!m_action) {
        finish(false, QStringLiteral("no \"%1\" entry in the menus (was the module loaded?)").arg(entryText));
        return;
    }
    shoot(m_window, QStringLiteral("00-host.png"));
    go(Step::OpenFirst);
    m_timer.start();
}

void Walkthrough::go(Step next)
{
    m_step = next;
    m_stepClock.restart();
    if (next == Step::OpenFirst || next == Step::OpenSecond) {
        if (!m_window->refreshVersions()) {
            finish(false, QStringLiteral("the controller is not reachable, the menu entry is disabled: %1")
                              .arg(statusText(m_window)));
            return;
        }
        // The module keeps its dialog between openings. Empty its tables, so
        // that a reopened dialog that could not refresh them is not judged
        // by what the first opening showed.
        for (QDialog *dlg : m_window->findChildren<QDialog *>())
            if (isNamed(dlg, SettingsDialog))
                for (QTableView *view : dlg->findChildren<QTableView *>())
                    view->model()->removeRows(0, view->model()->rowCount());
        // trigger() runs the dialog's exec(); this timer keeps ticking inside it.
        QTimer::singleShot(0, m_action.data(), &QAction::trigger);
        m_step = next == Step::OpenFirst ? Step::FirstScan : Step::SecondScan;
    }
}

void Walkthrough::tick()
{
    if (m_stepClock.elapsed() > StepTimeoutMs) {
        finish(false, QStringLiteral("step %1 did not complete within %2 s").arg(int(m_step)).arg(StepTimeoutMs / 1000));
        return;
    }
    QWidget *modal = QApplication::activeModalWidget();
    // The dialog refuses a controller with a warning box.
    if (auto *box = qobject_cast<QMessageBox *>(modal)) {
        shoot(box, QStringLiteral("warning.png"));
        finish(false, QStringLiteral("the dialog warned: %1").arg(box->text()));
        return;
    }
    switch (m_step) {
    case Step::FirstScan:
    case Step::SecondScan:
        // The scan progress dialog may be over before a tick sees it.
        if (isNamed(modal, ProgressDialog)) {
            shoot(modal, m_step == Step::FirstScan ? QStringLiteral("01-scan-progress.png")
                                                   : QStringLiteral("08-rescan-progress.png"));
            m_report << QStringLiteral("scan progress dialog shown");
            m_step = m_step == Step::FirstScan ? Step::FirstDialog : Step::SecondDialog;
        } else if (isNamed(modal, SettingsDialog)) {
            m_step = m_step == Step::FirstScan ? Step::FirstDialog : Step::SecondDialog;
        }
        return;
    case Step::FirstDialog: {
        if (!isNamed(modal, SettingsDialog) || !settingsDialogFilled(modal))
            return;
        m_connectedAtStart = rowCount(table(modal, "tableWidget_selected"));
        m_report << QStringLiteral("dialog opened with %1 connected and %2 available controllers")
                        .arg(m_connectedAtStart)
                        .arg(rowCount(table(modal, "tableWidget_available")));
        shoot(modal, QStringLiteral("02-settings-opened.png"));
        if (!clickAvailableController(modal)) {
            finish(false, QStringLiteral("no controller in the available table can become a slave"));
            return;
        }
        go(Step::SelectFirst);
        return;
    }
    case Step::SelectFirst: {
        if (!pressSelect(modal, m_chosenIp, QStringLiteral("03-controller-selected.png")))
            return;
        go(Step::AddNext);
        return;
    }
    case Step::AddNext: {
        if (m_handIndex >= m_handEntries.size()) {
            if (!showLongestNameToolTip(modal))
                return;
            go(Step::WaitToolTip);
            return;
        }
        // Then the controllers that the scan did not list, by address or
        // hostname. The add button probes each and may warn in a box of its
        // own: press it from the loop.
        auto *edit = modal->findChild<QLineEdit *>(QStringLiteral("lineEdit_addSlave"));
        auto *add = modal->findChild<QPushButton *>(QStringLiteral("pushButton_addSlave"));
        if (!edit || !add) {
            finish(false, QStringLiteral("the dialog has no add field or add button"));
            return;
        }
        const QString entry = m_handEntries.at(m_handIndex);
        edit->setFocus();
        edit->setText(entry);
        QTimer::singleShot(0, add, &QPushButton::click);
        m_report << QStringLiteral("adding %1 by hand (by %2)")
                        .arg(entry, isAddress(entry) ? QStringLiteral("address") : QStringLiteral("hostname"));
        go(Step::WaitHandAdded);
        return;
    }
    case Step::WaitHandAdded: {
        const QString entry = m_handEntries.at(m_handIndex);
        if (!isNamed(modal, SettingsDialog) || !clickAvailableController(modal, entry))
            return;
        m_report << QStringLiteral("%1 (%2) is listed as available").arg(m_chosenName, m_chosenIp);
        shoot(modal, QStringLiteral("04-added-%1.png").arg(entry));
        go(Step::SelectHandAdded);
        return;
    }
    case Step::SelectHandAdded:
        if (!pressSelect(modal, m_chosenIp, QStringLiteral("05-selected-%1.png").arg(m_handEntries.at(m_handIndex))))
            return;
        ++m_handIndex;
        go(Step::AddNext);
        return;
    case Step::WaitToolTip: {
        // The tool tip is a window of its own: paint it over the dialog.
        QWidget *tip = visibleToolTip();
        if (!tip)
            return;
        m_report << QStringLiteral("tool tip of the longest hostname: \"%1\"")
                        .arg(QToolTip::text().replace(QLatin1Char('\n'), QStringLiteral(" / ")));
        shoot(modal, QStringLiteral("06-item-tooltip.png"), tip);
        QToolTip::hideText();
        modal->findChild<QPushButton *>(QStringLiteral("pushButton_ok"))->click();
        go(Step::WaitClosed);
        return;
    }
    case Step::WaitClosed:
    case Step::WaitClosedAgain:
        if (modal)
            return;
        if (m_step == Step::WaitClosed) {
            shoot(m_window, QStringLiteral("07-after-ok.png"));
            go(Step::OpenSecond);
        } else {
            shoot(m_window, QStringLiteral("10-host-at-end.png"));
            finish(true, QString());
        }
        return;
    case Step::SecondDialog: {
        if (!isNamed(modal, SettingsDialog))
            return;
        if (auto *error = modal->findChild<QLabel *>(QStringLiteral("label_error")); error && error->isVisible()) {
            shoot(modal, QStringLiteral("09-settings-reopened.png"));
            finish(false, QStringLiteral("the reopened dialog shows: %1").arg(error->text()));
            return;
        }
        if (!settingsDialogFilled(modal))
            return;
        QTableView *selected = table(modal, "tableWidget_selected");
        QStringList connected;
        for (int row = 0; row < rowCount(selected); ++row)
            connected << cell(selected, row, Ip);
        shoot(modal, QStringLiteral("09-settings-reopened.png"));
        for (const QString &ip : qAsConst(m_selectedIps)) {
            if (!connected.contains(ip)) {
                finish(false, QStringLiteral("after OK, %1 is not among the connected slaves").arg(ip));
                return;
            }
        }
        m_report << QStringLiteral("reopened: %1 connected now (%2)")
                        .arg(m_selectedIps.join(QStringLiteral(" and ")))
                        .arg(connected.join(QStringLiteral(", ")));
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

// Presses select once it is enabled for the clicked controller ip; true when
// ip has moved into the selected table.
bool Walkthrough::pressSelect(QWidget *dlg, const QString &ip, const QString &screenshot)
{
    auto *select = isNamed(dlg, SettingsDialog) ? dlg->findChild<QPushButton *>(QStringLiteral("pushButton_select")) : nullptr;
    if (!select || !select->isEnabled())
        return false;
    select->click();
    QTableView *selected = table(dlg, "tableWidget_selected");
    const int last = rowCount(selected) - 1;
    if (last < 0 || cell(selected, last, Ip) != ip) {
        finish(false, QStringLiteral("select did not add %1 to the selected table").arg(ip));
        return false;
    }
    m_selectedIps << ip;
    m_report << QStringLiteral("selected %1 (%2)").arg(cell(selected, last, Name), ip);
    shoot(dlg, screenshot);
    return true;
}

// The scan is over and its result shown once the available table has rows.
bool Walkthrough::settingsDialogFilled(QWidget *dlg) const
{
    QTableView *available = table(dlg, "tableWidget_available");
    return available && rowCount(available) > 0 && dlg->isVisible();
}

// Clicks the first controller of the available table that can become a
// slave (only the one with this address or hostname, if given); false if
// there is none.
bool Walkthrough::clickAvailableController(QWidget *dlg, const QString &entry)
{
    QTableView *available = table(dlg, "tableWidget_available");
    for (int row = 0; available && row < rowCount(available); ++row) {
        if (cell(available, row, Available) != QLatin1String("yes"))
            continue;
        const QString name = cell(available, row, Name);
        if (!entry.isEmpty() && cell(available, row, Ip) != entry
            && QString::compare(name, entry, Qt::CaseInsensitive) != 0)
            continue;
        m_chosenName = name;
        m_chosenIp = cell(available, row, Ip);
        const QModelIndex index = cellIndex(available, row, Name);
        available->scrollTo(index);
        const QPoint at = available->visualRect(index).center();
        const QPoint global = available->viewport()->mapToGlobal(at);
        QMouseEvent press(QEvent::MouseButtonPress, at, global, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QMouseEvent release(QEvent::MouseButtonRelease, at, global, Qt::LeftButton, Qt::NoButton, Qt::NoModifier);
        QApplication::sendEvent(available->viewport(), &press);
        QApplication::sendEvent(available->viewport(), &release);
        return true;
    }
    return false;
}

// Asks the selected table for the tool tip of its longest hostname, as the
// mouse resting on that cell would; false if the table is empty.
bool Walkthrough::showLongestNameToolTip(QWidget *dlg)
{
    QTableView *selected = table(dlg, "tableWidget_selected");
    int longest = -1;
    for (int row = 0; selected && row < rowCount(selected); ++row)
        if (longest < 0 || cell(selected, row, Name).size() > cell(selected, longest, Name).size())
            longest = row;
    if (longest < 0) {
        finish(false, QStringLiteral("the selected table is empty"));
        return false;
    }
    const QModelIndex index = cellIndex(selected, longest, Name);
    selected->scrollTo(index);
    const QPoint at = selected->visualRect(index).center();
    QHelpEvent help(QEvent::ToolTip, at, selected->viewport()->mapToGlobal(at));
    QApplication::sendEvent(selected->viewport(), &help);
    return true;
}

void Walkthrough::shoot(QWidget *w, const QString &name, QWidget *overlay)
{
    const QString path = QDir(m_outDir).filePath(name);
    QPixmap shot = w->grab();
    if (overlay) {
        QPainter painter(&shot);
        painter.drawPixmap(overlay->mapToGlobal(QPoint()) - w->mapToGlobal(QPoint()), overlay->grab());
    }
    if (shot.save(path))
        m_report << QStringLiteral("screenshot %1").arg(name);
    else
        m_report << QStringLiteral("could not write screenshot %1").arg(name);
}

void Walkthrough::finish(bool ok, const QString &why)
{
    m_timer.stop();
    m_step = Step::Done;
    if (!ok) {
        m_report << QStringLiteral("FAILED: %1").arg(why);
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
        m_report << QStringLiteral("walkthrough passed");
        m_window->log(tr("Demo walkthrough passed"));
    }
    QFile logFile(QDir(m_outDir).filePath(QStringLiteral("messages.log")));
    if (logFile.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        QTextStream(&logFile) << logText(m_window) << '\n';
    QFile summary(QDir(m_outDir).filePath(QStringLiteral("walkthrough.txt")));
    if (summary.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text))
        QTextStream(&summary) << m_report.join(QLatin1Char('\n')) << '\n';
    QTextStream(stdout) << m_report.join(QLatin1Char('\n')) << '\n';
    const int code = ok ? 0 : 1;
    // Leave from the main loop, after any dialog closed above has returned.
    QTimer::singleShot(0, qApp, [code] { QApplication::exit(code); });
}
