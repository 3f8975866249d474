// Shared helpers of the slave-table, add-by-hand and apply tests: a scripted
// controller with connected and scanned slaves, table inspection, a trap for
// Qt's connect-by-name warnings and a catcher for warning boxes.
#pragma once

#include <QApplication>
#include <QCheckBox>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <functional>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "modaldriver.h"
#include "scriptediomanager.h"

namespace SlaveTests {

struct Ctrl
{
    QString host;
    QString ip;
    QByteArray available = "yes"; // answer to the availability request
};

// Scripts a controller with protocol 2.0 that is not locked, whose cascade is
// available, whose LAN scan finishes at once, and which answers every
// request about the given connected and scanned controllers.
inline void scriptController(ScriptedIOManager &iom, const QList<Ctrl> &connected,
                             const QList<Ctrl> &scanned, bool scanLan = true,
                             const QByteArray &wol = "no")
{
    iom.answer("config is_changeable", "yes");
    iom.answer("cascade available", "yes");
    iom.answer("cascade scan_slaves_lan", scanLan ? "yes" : "no");
    iom.answer("cascade wol_slaves", wol);
    iom.answer("korvane cascade scan_slaves", "korvane ok");
    for (const char *w : {"cascade scan_slaves_lan yes", "cascade scan_slaves_lan no",
                          "cascade wol_slaves yes", "cascade wol_slaves no"})
        iom.answer(w, QByteArray()); // writes succeed
    iom.answerInt("cascade number_of_connected_slaves", connected.size());
    for (int i = 0; i < connected.size(); ++i) {
        const Ctrl &c = connected[i];
        iom.answer(QString::asprintf("cascade connected_slave d%02d", i + 1), c.ip.toLatin1());
        iom.answer("system hostname_slave " + c.ip, c.host.toLatin1());
        iom.answer("cascade connected_slave_available " + c.ip, c.available);
    }
    iom.answerInt("cascade number_of_scanned_slaves", scanned.size());
    for (int i = 0; i < scanned.size(); ++i) {
        const Ctrl &c = scanned[i];
        iom.answer(QString::asprintf("cascade scanned_slave d%02d", i + 1), c.ip.toLatin1());
        iom.answer("cascade scanned_slave_controller " + c.ip, c.host.toLatin1() + " (cpu 4)");
        iom.answer("cascade scanned_slave_available " + c.ip, c.available);
    }
    for (const QList<Ctrl> *l : {&connected, &scanned})
        for (const Ctrl &c : *l) {
            iom.answer("korvane cascade add_slave " + c.ip, "korvane ok");
            iom.answer("korvane cascade sub_slave " + c.ip, "korvane ok");
            iom.answer("korvane cascade add_scanned_slave " + c.ip, "korvane ok");
        }
}

// Applies overrides written "request=result|reply" (reply may be empty).
inline void scriptOverrides(ScriptedIOManager &iom, const QStringList &overrides)
{
    for (const QString &o : overrides) {
        const QString req = o.section('=', 0, 0);
        const QString rest = o.section('=', 1);
        iom.answer(req, rest.section('|', 1).toLatin1(), rest.section('|', 0, 0).toInt());
    }
}

inline BackendVersions backend(const QString &model = QStringLiteral("VESTRAL"))
{
    return BackendVersions(VersionInfo(2, 1, 0), VersionInfo(2, 0, 0), VersionInfo(2, 1, 0), model);
}

template <class W>
W *widget(QWidget *dlg, const char *name)
{
    W *w = dlg->findChild<W *>(QLatin1String(name));
    if (!w)
        qFatal("widget %s not found", name);
    return w;
}

inline QStringList column(const QTableWidget *t, int col)
{
    QStringList out;
    for (int r = 0; r < t->rowCount(); ++r)
        out << (t->item(r, col) ? t->item(r, col)->text() : QStringLiteral("<no item>"));
    return out;
}

// Row texts as "name|ip|available", for compact comparisons.
inline QStringList rows(const QTableWidget *t)
{
    QStringList out;
    const QStringList n = column(t, 0), i = column(t, 1), a = column(t, 2);
    for (int r = 0; r < t->rowCount(); ++r)
        out << n[r] + '|' + i[r] + '|' + a[r];
    return out;
}

// "grey", "red", "default" or "mixed": the foreground of every cell of a row,
// the hidden one included.
inline QString rowColour(const QTableWidget *t, int row)
{
    QSet<QString> seen;
    for (int c = 0; c < t->columnCount(); ++c) {
        const QTableWidgetItem *it = t->item(row, c);
        const QBrush b = it ? it->foreground() : QBrush();
        if (b.style() == Qt::NoBrush)
            seen << "default";
        else if (b.style() == Qt::SolidPattern && b.color() == QColor(Qt::gray))
            seen << "grey";
        else if (b.style() == Qt::SolidPattern && b.color() == QColor(Qt::red))
            seen << "red";
        else
            seen << b.color().name();
    }
    return seen.size() == 1 ? *seen.begin() : QStringLiteral("mixed");
}

inline QStringList colours(const QTableWidget *t)
{
    QStringList out;
    for (int r = 0; r < t->rowCount(); ++r)
        out << rowColour(t, r);
    return out;
}

inline int rowOfIp(const QTableWidget *t, const QString &ip)
{
    return column(t, 1).indexOf(ip);
}

// Makes a row current and clicks it, as a mouse click into the table would.
inline void clickRow(QTableWidget *t, int row)
{
    t->setCurrentCell(row, 0);
    emit t->cellClicked(row, 0);
}

// Turns Qt's warnings about slots that found no signal into test failures:
// such a slot is silently dead in the running dialog.
inline QStringList &trappedWarnings()
{
    static QStringList w;
    return w;
}

inline void installWarningTrap()
{
    static QtMessageHandler previous = nullptr;
    previous = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &ctx,
                                         const QString &msg) {
        if (msg.contains(QLatin1String("connectSlotsByName")))
            trappedWarnings() << msg;
        if (previous)
            previous(type, ctx, msg);
    });
}

// Closes every warning box that becomes the active modal widget and records
// what it showed. Works while the code under test blocks in the box's exec().
class BoxCatcher : public QObject
{
public:
    struct Box
    {
        QString title, text;
        QMessageBox::StandardButtons buttons;
        QMessageBox::Icon icon;
    };
    QList<Box> boxes;

    BoxCatcher()
    {
        m_timer.setInterval(5);
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            auto *b = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (!b || b == m_last)
                return;
            m_last = b;
            boxes << Box{b->windowTitle(), b->text(), b->standardButtons(), b->icon()};
            if (QAbstractButton *ok = b->button(QMessageBox::Ok))
                ok->click();
            else
                b->reject();
        });
        m_timer.start();
    }

private:
    QTimer m_timer;
    QPointer<QMessageBox> m_last;
};

// Runs the dialog's opening; once the settings dialog is the active modal
// widget and ready() holds, runs act(). If act leaves the dialog open (a
// failed check returned early), the dialog is ended with -1 so nothing hangs.
inline int openAndRun(CascadedSettingsDlg *dlg, const std::function<bool()> &ready,
                      const std::function<void()> &act, int timeoutMs = 8000)
{
    QPointer<CascadedSettingsDlg> guard(dlg);
    ModalDriver::when(
        [dlg, ready](QWidget *w) { return w == dlg && ready(); },
        [guard, act](QWidget *) {
            act();
            if (guard && guard->isVisible())
                guard->done(-1);
        },
        timeoutMs);
    return dlg->update_and_exec();
}

// Lines of the log that start with one of the prefixes.
inline QStringList linesWith(const QStringList &log, const QStringList &prefixes)
{
    QStringList out;
    for (const QString &l : log)
        for (const QString &p : prefixes)
            if (l.startsWith(p)) {
                out << l;
                break;
            }
    return out;
}

} // namespace SlaveTests
