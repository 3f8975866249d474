// SPDX-License-Identifier: MIT
// The built plugin, loaded as a host loads it.
#include <QAction>
#include <QDialog>
#include <QJsonObject>
#include <QPluginLoader>
#include <QtTest>

#include "BackendVersions.h"
#include "IOManager.h"
#include "ModuleInterface.h"
#include "guitest.h"
#include "scriptediomanager.h"

class PluginTest : public QObject
{
    Q_OBJECT

    QPluginLoader loader{QStringLiteral(CASCADE_PLUGIN_PATH)};
    QObject *object = nullptr;
    ModuleInterface *module = nullptr;
    ScriptedIOManager iom;
    BackendVersions versions;
    QWidget host;

    void configure(const QString &model = QStringLiteral("VESTRAL"))
    {
        versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0), model);
        module->set_param(QStringLiteral("BackendVersions"), QVariant::fromValue(&versions));
        module->set_param(QStringLiteral("CommandManager"), QVariant::fromValue(static_cast<IOManager *>(&iom)));
        module->set_param(QStringLiteral("ModuleParent"), QVariant::fromValue(&host));
        module->set_param(QStringLiteral("ObserverMode"), QVariant(false));
    }
    int dialogs() const { return host.findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly).size(); }

private slots:
    void initTestCase()
    {
        GuiTest::install();
        QVERIFY2(loader.load(), qPrintable(loader.errorString()));
    }
    void init()
    {
        iom = ScriptedIOManager();
        object = loader.instance(); // made anew after the previous test deleted it
        module = qobject_cast<ModuleInterface *>(object);
        QVERIFY(module);
    }
    void cleanup()
    {
        if (module)
            module->exit_module();
        QCOMPARE(dialogs(), 0);
        delete object;
        module = nullptr;
        VERIFY_CLEAN();
    }
    void cleanupTestCase() { loader.unload(); }

    // What a host matches on: the metadata, the interface and
    // the module's name and version.
    void identity()
    {
        const QJsonObject meta = loader.metaData();
        QCOMPARE(QStringList({meta.value(QStringLiteral("IID")).toString(), meta.value(QStringLiteral("className")).toString(),
                              module->get_module_name(), module->get_module_version()}),
                 QStringList({"com.Korvane.CascadedSystemModule", "CascadedSystemModule", "GUI Cascaded System", "v1.0.10"}));
        QCOMPARE(object->qt_metacast("com.korvane.gui.Module/0.2.0"), static_cast<void *>(module));
    }

    // One element, the same for every call; publishing asks the controller nothing.
    void elements()
    {
        configure();
        const QList<GuiElement *> first = module->get_gui_elements();
        QCOMPARE(first.size(), 1);
        QCOMPARE(module->get_gui_elements(), first);
        const GuiElement *e = first.first();
        QCOMPARE(QStringList({e->menu_name, e->menu_entry->text()}), QStringList({"H&ardware", "&Cascaded System"}));
        QCOMPARE(QList<int>({e->menu_order_number, e->menu_entry_order_number, e->action_active_during_measurement}),
                 QList<int>({200, 110, 0}));
        QCOMPARE(e->content->parentWidget(), &host);
        QCOMPARE(e->content->objectName(), QStringLiteral("CascadedSettingsDlgClass"));
        QCOMPARE(object->findChildren<QAction *>().size(), 1);
        QVERIFY(iom.log.isEmpty());
    }

    // Nothing for QUILLAMORE (exactly); the model is checked again at the next call.
    void model()
    {
        configure(QStringLiteral("quillamore"));
        QCOMPARE(module->get_gui_elements().size(), 1);
        module->exit_module();
        configure(QStringLiteral("QUILLAMORE"));
        QCOMPARE(module->get_gui_elements().size(), 0);
        QCOMPARE(dialogs(), 0);
        configure(QStringLiteral("VESTRAL"));
        QCOMPARE(module->get_gui_elements().size(), 1);
    }

    // A key that is not exactly "CommandManager" leaves the IOManager alone; a
    // value of another type clears it. The action opens the dialog.
    void commandManager_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<bool>("reaches");
        QTest::newRow("int") << "CommandManager" << QVariant(5) << false;
        QTest::newRow("null") << "CommandManager" << QVariant::fromValue(static_cast<IOManager *>(nullptr)) << false;
        QTest::newRow("lower case key") << "commandmanager" << QVariant(5) << true;
    }
    void commandManager()
    {
        QFETCH(QString, key);
        QFETCH(QVariant, value);
        QFETCH(bool, reaches);
        configure();
        iom.answer(QStringLiteral("config is_changeable"), "yes");
        iom.answer(QStringLiteral("cascade available"), "no");
        module->set_param(key, value);
        const QList<GuiElement *> elements = module->get_gui_elements();
        ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), [](QWidget *w) {
            QTest::keyClick(w, Qt::Key_Escape);
        });
        elements.first()->menu_entry->trigger();
        QCOMPARE(iom.log, reaches ? (QStringList{"get config is_changeable", "get cascade available"}) : QStringList());
    }

    void moduleParent_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<int>("kind"); // 0: the host as QObject*, 1: a plain QObject, 2: an int
        QTest::addColumn<bool>("parentIsHost");
        QTest::newRow("widget as QObject*") << "ModuleParent" << 0 << true;
        QTest::newRow("non-widget QObject*") << "ModuleParent" << 1 << false;
        QTest::newRow("lower case key") << "moduleparent" << 2 << true;
    }
    void moduleParent()
    {
        QFETCH(QString, key);
        QFETCH(int, kind);
        QFETCH(bool, parentIsHost);
        configure();
        QObject plain;
        module->set_param(key, kind == 0   ? QVariant::fromValue(static_cast<QObject *>(&host))
                               : kind == 1 ? QVariant::fromValue(&plain)
                                           : QVariant(7));
        QPointer<QWidget> dialog = module->get_gui_elements().first()->content;
        QCOMPARE(dialog->parentWidget(), parentIsHost ? &host : nullptr);
        module->about_to_exit_module();
        QVERIFY(dialog);
        module->exit_module(); // a dialog without parent is the module's to delete too
        QVERIFY(!dialog);
        QVERIFY(module->get_gui_elements().first()->content); // made anew
    }
};

QTEST_MAIN(PluginTest)
#include "tst_plugin.moc"
