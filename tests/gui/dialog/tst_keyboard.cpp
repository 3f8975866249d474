// SPDX-License-Identifier: MIT
// The settings dialog for keyboard and screen-reader users: the Tab chain,
// arrow keys in the tables, accessible names and descriptions (also
// translated), row state and hostname tool tips on the items, and no tool
// tip or status tip on any widget.
#include <QAccessible>
#include <QCheckBox>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QTableWidget>
#include <QToolTip>
#include <QTranslator>
#include <QtTest>

#include "BackendVersions.h"
#include "cascadedsettingsdlg.h"
#include "dialogaccess.h"
#include "endlessprogressdlg.h"
#include "guitest.h"
#include "scriptediomanager.h"

namespace {

using Slave = ScriptedIOManager::Slave;

const QString LongName = QStringLiteral("measurement-hall-b-annex-07");

// The dialog's widgets in their Tab order.
const QStringList TabChain{"checkBox_scanLan",      "tableWidget_selected", "pushButton_select",
                           "pushButton_deselect",   "tableWidget_available", "pushButton_update",
                           "lineEdit_addSlave",     "pushButton_addSlave",  "checkBox_wol",
                           "pushButton_ok",         "pushButton_cancel"};

QString focusName()
{
    QWidget *w = QApplication::focusWidget();
    return w ? w->objectName() : QStringLiteral("<none>");
}

// Presses Tab (or Shift+Tab) count times and returns the object names that
// had the focus after each press.
QStringList walk(bool forward, int count)
{
    QStringList seen;
    for (int i = 0; i < count; ++i) {
        QTest::keyClick(QApplication::focusWidget(), forward ? Qt::Key_Tab : Qt::Key_Backtab,
                        forward ? Qt::NoModifier : Qt::ShiftModifier);
        seen << focusName();
    }
    return seen;
}

// The tool tip the table shows when the mouse rests at a point of its
// viewport, or on a cell.
QString toolTipAt(QTableWidget *table, const QPoint &at)
{
    QToolTip::hideText(); // fades out: wait until it is gone
    if (!QTest::qWaitFor([] { return !QToolTip::isVisible(); }, 2000))
        return QStringLiteral("<tool tip stuck>");
    QHelpEvent help(QEvent::ToolTip, at, table->viewport()->mapToGlobal(at));
    QApplication::sendEvent(table->viewport(), &help);
    return QToolTip::isVisible() ? QToolTip::text() : QString();
}

QString toolTipAt(QTableWidget *table, int row, int column)
{
    return toolTipAt(table, table->visualRect(table->model()->index(row, column)).center());
}

QAccessibleInterface *cellOf(QTableWidget *table, int row, int column)
{
    QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(table);
    return iface && iface->tableInterface() ? iface->tableInterface()->cellAt(row, column) : nullptr;
}

} // namespace

class KeyboardAccessTest : public QObject
{
    Q_OBJECT

    ScriptedIOManager iom;
    BackendVersions versions;
    QWidget host;

    void setModel(const QString &model)
    {
        versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0), model);
    }
    // Ready once the first rebuild of the available list has applied the
    // button rules (it empties and refills the table).
    static std::function<bool()> filled(CascadedSettingsDlg *dlg, int rows)
    {
        return [dlg, rows] { return DialogAccess::ui(*dlg).tableWidget_available->rowCount() == rows; };
    }

private slots:
    void initTestCase()
    {
        GuiTest::install();
        QAccessible::setActive(true);
    }
    void init()
    {
        iom = ScriptedIOManager();
        setModel(QStringLiteral("VESTRAL"));
    }
    void cleanup() { VERIFY_CLEAN(); }

    // Tab and Shift+Tab go round the enabled, visible widgets in the dialog's
    // order; tables are left with one press, not walked cell by cell.
    void tabOrder_data()
    {
        QTest::addColumn<QString>("setup");
        QTest::addColumn<QStringList>("chain");
        // Once Tab has given both tables a current row, select and deselect
        // are enabled unless the configuration is locked.
        const QStringList unlocked = TabChain;
        QStringList harrowglint = unlocked;
        harrowglint.removeAll("checkBox_wol"); // hidden for this model
        QTest::newRow("available") << "available" << unlocked;
        QTest::newRow("HARROWGLINT, wake-on-LAN hidden") << "HARROWGLINT" << harrowglint;
        QTest::newRow("locked configuration")
            << "locked"
            << QStringList{"tableWidget_selected", "tableWidget_available", "pushButton_update",
                           "lineEdit_addSlave",    "pushButton_addSlave",   "pushButton_cancel"};
        QTest::newRow("cascade not available") << "unavailable" << QStringList{"pushButton_cancel"};
    }
    void tabOrder()
    {
        QFETCH(QString, setup);
        QFETCH(QStringList, chain);
        const QList<Slave> connected{{"ctrl1", "10.0.0.1"}, {"ctrl2", "10.0.0.2"}};
        iom.scriptCascade(connected, {{"scan-a", "10.0.0.5"}, {"scan-b", "10.0.0.6"}});
        if (setup == QLatin1String("HARROWGLINT"))
            setModel(setup);
        else if (setup == QLatin1String("locked"))
            iom.answer(QStringLiteral("config is_changeable"), "no");
        else if (setup == QLatin1String("unavailable"))
            iom.answer(QStringLiteral("cascade available"), "no");
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        const auto ready = setup == QLatin1String("unavailable") ? std::function<bool()>() : filled(&dlg, 2);
        GuiTest::openAndRun(&dlg, ready, [&] {
            QVERIFY(QTest::qWaitForWindowActive(&dlg));
            walk(true, chain.size()); // gives both tables a current row
            dlg.findChild<QWidget *>(chain.first())->setFocus();
            QCOMPARE(walk(true, chain.size()), chain.mid(1) << chain.first());
            QStringList back = chain.mid(0, chain.size() - 1);
            std::reverse(back.begin(), back.end());
            QCOMPARE(walk(false, chain.size()), QStringList{chain.last()} + back);
            QVERIFY(dlg.isVisible()); // no key pressed a button
            // A screen reader reads why only Cancel can be used.
            QCOMPARE(dlg.accessibleDescription(),
                     setup == QLatin1String("unavailable") ? QStringLiteral("Cascaded System is not available!") : QString());
            DialogAccess::ui(dlg).pushButton_cancel->click();
        });
    }

    // A row made current by keys counts as clicked, in both tables: the
    // buttons follow it, Alt+S and Alt+D move controllers, and a controller
    // already selected (grey) is never selected twice, by key or by a stale
    // Select. Tab leaves a table with one press.
    void keysRunTheButtonRules()
    {
        iom.scriptCascade({{"ctrl1", "10.0.0.1"}},
                          {{"alpha", "10.0.0.5"}, {"beta", "10.0.0.6", "no"}, {"gamma", "10.0.0.7"}});
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        GuiTest::openAndRun(&dlg, filled(&dlg, 3), [&] {
            QVERIFY(QTest::qWaitForWindowActive(&dlg));
            auto &ui = DialogAccess::ui(dlg);
            QTableWidget *available = ui.tableWidget_available, *selected = ui.tableWidget_selected;
            QPushButton *select = ui.pushButton_select, *deselect = ui.pushButton_deselect;
            // A mnemonic clicks its button after a short animation.
            const auto press = [&](Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
                QTest::keyClick(QApplication::focusWidget(), key, modifiers);
                if (!QTest::qWaitFor([&] { return !select->isDown() && !deselect->isDown(); }, 2000))
                    return QStringLiteral("<button stuck>");
                return QString(select->isEnabled() ? "S" : "-") + (deselect->isEnabled() ? "D" : "-") + " "
                       + focusName().section('_', 1) + " " + QString::number(available->currentRow());
            };
            QCOMPARE(focusName(), QStringLiteral("checkBox_scanLan"));
            QCOMPARE(press(Qt::Key_Tab), QStringLiteral("-D selected -1")); // Tab made ctrl1 current
            QCOMPARE(press(Qt::Key_Tab), QStringLiteral("-D deselect -1"));
            QCOMPARE(press(Qt::Key_Tab), QStringLiteral("SD available 0")); // alpha
            QCOMPARE(press(Qt::Key_Down), QStringLiteral("-D available 1")); // beta: "no"
            QCOMPARE(press(Qt::Key_End, Qt::ControlModifier), QStringLiteral("SD available 2"));
            QCOMPARE(press(Qt::Key_S, Qt::AltModifier), QStringLiteral("-D available -1"));
            QCOMPARE(GuiTest::rows(selected), QStringList({"ctrl1|10.0.0.1|yes", "gamma|10.0.0.7|yes"}));
            QCOMPARE(press(Qt::Key_Home, Qt::ControlModifier), QStringLiteral("SD available 0"));
            QCOMPARE(press(Qt::Key_PageDown), QStringLiteral("-D available 2")); // gamma, grey now
            QCOMPARE(press(Qt::Key_S, Qt::AltModifier), QStringLiteral("-D available 2"));
            // Select still enabled for alpha while gamma became current
            // without a click (a mouse drag) adds nothing either.
            GuiTest::clickRow(available, 0);
            available->setCurrentCell(2, 0);
            select->click();
            QCOMPARE(selected->rowCount(), 2);

            QCOMPARE(press(Qt::Key_Backtab, Qt::ShiftModifier), QStringLiteral("SD deselect 2"));
            QCOMPARE(press(Qt::Key_Backtab, Qt::ShiftModifier), QStringLiteral("SD select 2"));
            QCOMPARE(press(Qt::Key_Backtab, Qt::ShiftModifier), QStringLiteral("SD selected 2"));
            QCOMPARE(press(Qt::Key_Down), QStringLiteral("-D selected 2")); // gamma, grey in available
            QCOMPARE(press(Qt::Key_D, Qt::AltModifier), QStringLiteral("-- selected -1"));
            QCOMPARE(GuiTest::rows(selected), QStringList({"ctrl1|10.0.0.1|yes"}));
            QCOMPARE(GuiTest::colours(available), QStringList({"default", "grey", "default"}));
            DialogAccess::ui(dlg).pushButton_cancel->click();
        });
    }

    // Every focusable widget has a name and a description for screen
    // readers, in the language of the translation loaded, and the Alt
    // shortcuts of the dialog are unique; no widget has a tool tip or
    // status tip.
    void accessibleNames_data()
    {
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("selectedName");
        QTest::addColumn<QString>("addFieldName");
        QTest::addColumn<QString>("progressName");
        QTest::newRow("en") << "en" << "Selected slaves" << "Slave hostname or IP address" << "Scan progress";
        QTest::newRow("de") << "de" << "Ausgewählte Slaves" << "Hostname oder IP-Adresse des Slaves"
                            << "Fortschritt der Suche";
    }
    void accessibleNames()
    {
        QFETCH(QString, language);
        QFETCH(QString, selectedName);
        QFETCH(QString, addFieldName);
        QFETCH(QString, progressName);
        QTranslator translator;
        if (language != QLatin1String("en")) {
            QVERIFY(translator.load(QLocale(language), QStringLiteral("cascadedsystem"), QStringLiteral("_"),
                                    QStringLiteral(CASCADE_MODULE_TRANSLATIONS)));
            QCoreApplication::installTranslator(&translator);
        }
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        EndlessProgressDlg progress(&host, &iom);
        QCoreApplication::removeTranslator(&translator);
        QCOMPARE(progress.findChild<QProgressBar *>()->accessibleName(), progressName);

        QSet<QString> names;
        for (const QString &objectName : TabChain) {
            QWidget *w = dlg.findChild<QWidget *>(objectName);
            QAccessibleInterface *iface = QAccessible::queryAccessibleInterface(w);
            QVERIFY2(iface, qPrintable(objectName));
            const QString name = iface->text(QAccessible::Name);
            QVERIFY2(!name.isEmpty() && !name.contains(QLatin1Char('&')), qPrintable(objectName + ": " + name));
            names.insert(name);
        }
        QCOMPARE(names.size(), TabChain.size()); // each says which one it is
        const auto &ui = DialogAccess::ui(dlg);
        QCOMPARE(QAccessible::queryAccessibleInterface(ui.tableWidget_selected)->text(QAccessible::Name), selectedName);
        QCOMPARE(QAccessible::queryAccessibleInterface(ui.lineEdit_addSlave)->text(QAccessible::Name), addFieldName);
        QStringList labels;
        for (const char *name : {"checkBox_scanLan", "pushButton_select", "pushButton_deselect", "pushButton_update",
                                 "label_addSlave", "pushButton_addSlave", "checkBox_wol"})
            labels << dlg.findChild<QWidget *>(name)->property("text").toString();
        QVERIFY2(GuiTest::clashes(labels).isEmpty(), qPrintable(GuiTest::clashes(labels).join(", ")));
        QList<QWidget *> widgets = dlg.findChildren<QWidget *>();
        widgets << &dlg;
        for (QWidget *w : qAsConst(widgets))
            QVERIFY2(w->toolTip().isEmpty() && w->statusTip().isEmpty(), qPrintable(w->objectName()));
    }

    // Each visible cell shows the full hostname (and what the scan told
    // about the controller) as its tool tip, and a screen reader reads the
    // full hostname from the Name cell; a grey or red row says in its cells'
    // accessible text what the colour means. Texts, colours and the
    // 140-pixel Name column stay as they are.
    void rowsForScreenReaders()
    {
        iom.scriptCascade({{"ctrl1", "10.0.0.1"}, {"ctrl2", "10.0.0.2", "no"}},
                          {{LongName, "10.0.0.5"}, {"busy", "10.0.0.6", "no"}, {"ctrl1", "10.0.0.1"}});
        CascadedSettingsDlg dlg(&iom, &host, &versions);
        GuiTest::openAndRun(&dlg, filled(&dlg, 3), [&] {
            QTableWidget *available = DialogAccess::ui(dlg).tableWidget_available;
            QTableWidget *selected = DialogAccess::ui(dlg).tableWidget_selected;
            QCOMPARE(available->columnWidth(0), 140);
            // Sorted: busy, ctrl1 (grey: connected), the long name.
            QCOMPARE(GuiTest::rows(available),
                     QStringList({"busy|10.0.0.6|no", "ctrl1|10.0.0.1|no", LongName + "|10.0.0.5|yes"}));
            QCOMPARE(GuiTest::colours(available), QStringList({"grey", "grey", "default"}));
            QCOMPARE(GuiTest::colours(selected), QStringList({"default", "red"}));

            const QString longTip = LongName + QStringLiteral("\nVESTRAL v2.7.0");
            for (int column : {0, 1}) {
                QCOMPARE(toolTipAt(available, 2, column), longTip);
                QAccessibleInterface *cell = cellOf(available, 2, column);
                QVERIFY(cell);
                QCOMPARE(cell->text(QAccessible::Name), available->item(2, column)->text());
            }
            QCOMPARE(toolTipAt(available, 0, 0), QStringLiteral("busy\nVESTRAL v2.7.0"));
            const QRect last = available->visualRect(available->model()->index(2, 0));
            QCOMPARE(toolTipAt(available, last.bottomLeft() + QPoint(5, 10)), QString()); // below the rows: none
            QCOMPARE(cellOf(available, 0, 0)->text(QAccessible::Name), QStringLiteral("busy (not available)"));
            QCOMPARE(cellOf(available, 0, 1)->text(QAccessible::Name), QStringLiteral("10.0.0.6 (not available)"));
            QCOMPARE(cellOf(selected, 0, 0)->text(QAccessible::Name), QStringLiteral("ctrl1"));
            QCOMPARE(cellOf(selected, 1, 0)->text(QAccessible::Name), QStringLiteral("ctrl2 (not reachable)"));
            QCOMPARE(cellOf(selected, 1, 1)->text(QAccessible::Name), QStringLiteral("10.0.0.2 (not reachable)"));
            QCOMPARE(toolTipAt(selected, 1, 1), QStringLiteral("ctrl2")); // not in the scan result

            // Selecting greys the available row for screen readers too; the
            // new selected row carries the tool tip.
            GuiTest::clickRow(available, 2);
            DialogAccess::ui(dlg).pushButton_select->click();
            QCOMPARE(GuiTest::colours(available).last(), QStringLiteral("grey"));
            QCOMPARE(cellOf(available, 2, 0)->text(QAccessible::Name), LongName + QStringLiteral(" (not available)"));
            QCOMPARE(toolTipAt(selected, 2, 0), longTip);
            QCOMPARE(cellOf(selected, 2, 0)->text(QAccessible::Name), LongName);
            DialogAccess::ui(dlg).pushButton_cancel->click();
        });
    }
};

QTEST_MAIN(KeyboardAccessTest)
#include "tst_keyboard.moc"
