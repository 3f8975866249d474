// The built plugin, loaded as a host loads it: metadata, the interface cast,
// the parameters the host passes, the one menu entry and its dialog, module
// exit, and the menu action opening the dialog after a LAN scan.
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QJsonObject>
#include <QPluginLoader>
#include <QPointer>
#include <QtTest>

#include "BackendVersions.h"
#include "IOManager.h"
#include "ModuleInterface.h"
#include "modaldriver.h"
#include "scriptediomanager.h"
#include "testmessages.h"


namespace {

QList<QDialog *> settingsDialogs(const QWidget &parent)
{
    QList<QDialog *> out;
    for (QDialog *d : parent.findChildren<QDialog *>(QString(), Qt::FindDirectChildrenOnly))
        if (QLatin1String(d->metaObject()->className()) == QLatin1String("CascadedSettingsDlg"))
            out << d;
    return out;
}

void clickCancel(QWidget *dialog)
{
    auto *cancel = dialog->findChild<QWidget *>(QStringLiteral("pushButton_cancel"));
    QVERIFY(cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
}

} // namespace

class PluginTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void metadata();
    void identity();
    void oneElementForEveryCall();
    void model_data();
    void model();
    void modelIsCheckedAgainWhileNothingIsPublished();
    void exitDeletesTheDialog();
    void commandManager_data();
    void commandManager();
    void moduleParent_data();
    void moduleParent();
    void actionOpensTheDialogAfterAScan();

private:
    void configure();

    QPluginLoader loader{QStringLiteral(CASCADE_PLUGIN_PATH)};
    QObject *object = nullptr;
    ModuleInterface *module = nullptr;
    ScriptedIOManager iom;
    BackendVersions versions;
    QWidget host;
};

void PluginTest::initTestCase()
{
    TestMessages::install();
    QVERIFY2(loader.load(), qPrintable(loader.errorString()));
}

void PluginTest::init()
{
    iom = ScriptedIOManager();
    versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0),
                               QStringLiteral("VESTRAL"));
    ModalDriver::reset();
    // A deleted instance is made anew, so every test starts from a fresh module.
    object = loader.instance();
    QVERIFY2(object, qPrintable(loader.errorString()));
    module = qobject_cast<ModuleInterface *>(object);
    QVERIFY(module);
}

void PluginTest::cleanup()
{
    QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join(QLatin1Char('\n'))));
    ModalDriver::reset();
    if (module) {
        module->about_to_exit_module();
        module->exit_module();
    }
    QVERIFY2(settingsDialogs(host).isEmpty(), "exit_module left a dialog behind");
    delete object;
    object = nullptr;
    module = nullptr;
    const QStringList warnings = TestMessages::take();
    QVERIFY2(warnings.isEmpty(), qPrintable(warnings.join(QLatin1Char('\n'))));
    for (QWidget *w : QApplication::topLevelWidgets())
        QVERIFY2(!w->isVisible(), qPrintable(QStringLiteral("left open: ") + w->objectName()));
}

void PluginTest::cleanupTestCase()
{
    loader.unload();
}

// The host passes its collaborators as it does at start-up.
void PluginTest::configure()
{
    module->set_param(QStringLiteral("BackendVersions"), QVariant::fromValue(&versions));
    module->set_param(QStringLiteral("CommandManager"), QVariant::fromValue(static_cast<IOManager *>(&iom)));
    module->set_param(QStringLiteral("ModuleParent"), QVariant::fromValue(&host));
    module->set_param(QStringLiteral("ObserverMode"), QVariant(false));
}

void PluginTest::metadata()
{
    const QJsonObject meta = loader.metaData();
    QCOMPARE(meta.value(QStringLiteral("IID")).toString(), QStringLiteral("com.Korvane.CascadedSystemModule"));
    QCOMPARE(meta.value(QStringLiteral("className")).toString(), QStringLiteral("CascadedSystemModule"));
    QVERIFY(meta.value(QStringLiteral("MetaData")).toObject().isEmpty());
    QCOMPARE(QLatin1String(object->metaObject()->className()), QLatin1String("CascadedSystemModule"));
    QCOMPARE(object->qt_metacast(ModuleInterface_iid), static_cast<void *>(module));
    QVERIFY(!object->parent());
    QCOMPARE(loader.instance(), object); // one plugin object
}

void PluginTest::identity()
{
    QCOMPARE(module->get_module_name(), QStringLiteral("GUI Cascaded System"));
    QCOMPARE(module->get_module_version(), QStringLiteral("v1.0.10"));
    QVERIFY(object->findChildren<QAction *>().isEmpty()); // nothing made before the host asks
    QVERIFY(iom.log.isEmpty());
}

void PluginTest::oneElementForEveryCall()
{
    configure();
    const QList<GuiElement *> first = module->get_gui_elements();
    const QList<GuiElement *> second = module->get_gui_elements();
    QCOMPARE(first.size(), 1);
    QCOMPARE(second, first);

    const GuiElement *e = first.first();
    QCOMPARE(e->menu_name, QStringLiteral("H&ardware"));
    QCOMPARE(e->menu_order_number, 200);
    QCOMPARE(e->menu_entry_order_number, 110);
    QCOMPARE(e->action_active_during_measurement, 0);
    QVERIFY(e->menu_entry);
    QCOMPARE(e->menu_entry->text(), QStringLiteral("&Cascaded System"));
    QCOMPARE(e->menu_entry->parent(), object);
    QVERIFY(e->content);
    QCOMPARE(e->content->parentWidget(), &host);
    QVERIFY(!e->content->isVisible());
    QCOMPARE(e->content->objectName(), QStringLiteral("CascadedSettingsDlgClass"));

    QCOMPARE(object->findChildren<QAction *>().size(), 1);
    QCOMPARE(settingsDialogs(host), QList<QDialog *>{qobject_cast<QDialog *>(e->content)});
    QVERIFY(iom.log.isEmpty()); // publishing asks the controller nothing
}

void PluginTest::model_data()
{
    QTest::addColumn<QString>("model");
    QTest::addColumn<bool>("published");
    QTest::newRow("QUILLAMORE") << QStringLiteral("QUILLAMORE") << false;
    QTest::newRow("quillamore") << QStringLiteral("quillamore") << true;
    QTest::newRow("Quillamore") << QStringLiteral("Quillamore") << true;
    QTest::newRow("VESTRAL") << QStringLiteral("VESTRAL") << true;
    QTest::newRow("HARROWGLINT") << QStringLiteral("HARROWGLINT") << true;
}

void PluginTest::model()
{
    QFETCH(QString, model);
    QFETCH(bool, published);
    versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0), model);
    configure();
    for (int call = 0; call < 2; ++call) {
        QCOMPARE(module->get_gui_elements().size(), published ? 1 : 0);
        QCOMPARE(settingsDialogs(host).size(), published ? 1 : 0);
        QCOMPARE(object->findChildren<QAction *>().size(), published ? 1 : 0);
    }
}

void PluginTest::modelIsCheckedAgainWhileNothingIsPublished()
{
    versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0),
                               QStringLiteral("QUILLAMORE"));
    configure();
    QVERIFY(module->get_gui_elements().isEmpty());
    // The host's record now names another controller.
    versions = BackendVersions(VersionInfo(2, 0, 0), VersionInfo(1, 9, 0), VersionInfo(2, 0, 0),
                               QStringLiteral("VESTRAL"));
    const QList<GuiElement *> elements = module->get_gui_elements();
    QCOMPARE(elements.size(), 1);
    QVERIFY(elements.first()->content);
    QCOMPARE(settingsDialogs(host).size(), 1);
}

void PluginTest::exitDeletesTheDialog()
{
    configure();
    const QList<GuiElement *> before = module->get_gui_elements();
    QCOMPARE(before.size(), 1);
    QPointer<QWidget> oldDialog = before.first()->content;
    QPointer<QAction> oldAction = before.first()->menu_entry;

    module->about_to_exit_module();
    QVERIFY(oldDialog); // about to exit changes nothing
    module->exit_module();
    QVERIFY(!oldDialog);
    QVERIFY(settingsDialogs(host).isEmpty());
    QVERIFY(oldAction);
    QCOMPARE(oldAction->parent(), object);

    const QList<GuiElement *> after = module->get_gui_elements();
    QCOMPARE(after.size(), 1);
    QVERIFY(after.first()->content);
    QVERIFY(after.first()->menu_entry);
    QVERIFY(after.first()->menu_entry != oldAction.data());
    QCOMPARE(settingsDialogs(host).size(), 1);
    QCOMPARE(object->findChildren<QAction *>().size(), 2); // the old action lives on

    // Deleting the module takes its actions with it.
    QPointer<QAction> newAction = after.first()->menu_entry;
    module->exit_module();
    delete object;
    object = nullptr;
    module = nullptr;
    QVERIFY(!oldAction);
    QVERIFY(!newAction);
}

void PluginTest::commandManager_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("reachesController");
    QTest::newRow("int") << QStringLiteral("CommandManager") << QVariant(5) << false;
    QTest::newRow("null pointer") << QStringLiteral("CommandManager")
                                  << QVariant::fromValue(static_cast<IOManager *>(nullptr)) << false;
    QTest::newRow("invalid variant") << QStringLiteral("CommandManager") << QVariant() << false;
    QTest::newRow("lower case key") << QStringLiteral("commandmanager") << QVariant(5) << true;
    QTest::newRow("upper case key") << QStringLiteral("COMMANDMANAGER") << QVariant() << true;
    QTest::newRow("unknown key") << QStringLiteral("IOManager") << QVariant(5) << true;
    QTest::newRow("ObserverMode") << QStringLiteral("ObserverMode") << QVariant(QStringLiteral("junk")) << true;
}

// The module keeps the host's IOManager only through set_param, so it shows
// in whether opening the dialog reaches the scripted controller. A wrong type
// overwrites the pointer with null; a key that is not exactly
// "CommandManager" leaves it alone.
void PluginTest::commandManager()
{
    QFETCH(QString, key);
    QFETCH(QVariant, value);
    QFETCH(bool, reachesController);
    configure();
    iom.answer(QStringLiteral("config is_changeable"), "yes");
    iom.answer(QStringLiteral("cascade available"), "no"); // opens in the unavailable state, no scan
    module->set_param(key, value);

    const QList<GuiElement *> elements = module->get_gui_elements();
    QCOMPARE(elements.size(), 1);
    ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), clickCancel);
    elements.first()->menu_entry->trigger();
    QVERIFY(!elements.first()->content->isVisible());
    if (reachesController)
        QCOMPARE(iom.log, (QStringList{QStringLiteral("get config is_changeable"),
                                       QStringLiteral("get cascade available")}));
    else
        QCOMPARE(iom.log, QStringList());
}

void PluginTest::moduleParent_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("parentIsHost");
    // kind: 0 the widget as QWidget*, 1 the widget as QObject*, 2 a plain
    // QObject as QObject*, 3 an int
    QTest::newRow("QWidget*") << QStringLiteral("ModuleParent") << 0 << true;
    QTest::newRow("widget as QObject*") << QStringLiteral("ModuleParent") << 1 << true;
    QTest::newRow("non-widget QObject*") << QStringLiteral("ModuleParent") << 2 << false;
    QTest::newRow("int") << QStringLiteral("ModuleParent") << 3 << false;
    QTest::newRow("lower case key") << QStringLiteral("moduleparent") << 3 << true;
}

void PluginTest::moduleParent()
{
    QFETCH(QString, key);
    QFETCH(int, kind);
    QFETCH(bool, parentIsHost);
    configure();
    QObject plain;
    QVariant value;
    switch (kind) {
    case 0: value = QVariant::fromValue(&host); break;
    case 1: value = QVariant::fromValue(static_cast<QObject *>(&host)); break;
    case 2: value = QVariant::fromValue(&plain); break;
    default: value = QVariant(7); break;
    }
    module->set_param(key, value);

    const QList<GuiElement *> elements = module->get_gui_elements();
    QCOMPARE(elements.size(), 1);
    QPointer<QWidget> dialog = elements.first()->content;
    QCOMPARE(dialog->parentWidget(), parentIsHost ? &host : nullptr);
    module->exit_module(); // also a dialog without parent is the module's to delete
    QVERIFY(!dialog);
}

// The menu action runs the whole opening: the LAN scan in the progress dialog
// first, then the settings dialog, with every request in order.
void PluginTest::actionOpensTheDialogAfterAScan()
{
    configure();
    iom.answer(QStringLiteral("config is_changeable"), "yes");
    iom.answer(QStringLiteral("cascade available"), "yes");
    iom.answer(QStringLiteral("cascade scan_slaves_lan"), "no");
    iom.answer(QStringLiteral("korvane cascade scan_slaves"), "korvane ok");
    iom.answerInt(QStringLiteral("cascade number_of_scanned_slaves"), 0);
    iom.answerInt(QStringLiteral("cascade number_of_connected_slaves"), 0);
    iom.answer(QStringLiteral("cascade wol_slaves"), "no");

    const QList<GuiElement *> elements = module->get_gui_elements();
    QCOMPARE(elements.size(), 1);
    QWidget *settings = elements.first()->content;
    bool settingsHiddenDuringScan = false;
    QWidget *progressParent = nullptr;
    QStringList beforeCancel;
    bool refreshed = false;
    ModalDriver::when(QStringLiteral("EndlessProgressDlgClass"), [&](QWidget *w) {
        settingsHiddenDuringScan = !settings->isVisible();
        progressParent = w->parentWidget();
    });
    ModalDriver::when(QStringLiteral("CascadedSettingsDlgClass"), [&](QWidget *w) {
        // The first available-list refresh is due 100 ms after the dialog runs.
        refreshed = QTest::qWaitFor(
            [&] { return iom.count(QStringLiteral("getint cascade number_of_scanned_slaves")) == 2; }, 3000);
        beforeCancel = iom.log;
        clickCancel(w);
    });
    elements.first()->menu_entry->trigger();

    QVERIFY(ModalDriver::ok());
    QVERIFY2(refreshed, "no available-list refresh after the dialog showed");
    QVERIFY(settingsHiddenDuringScan);
    QCOMPARE(progressParent, &host);
    QCOMPARE(beforeCancel, (QStringList{
                               QStringLiteral("get config is_changeable"),
                               QStringLiteral("get cascade available"),
                               QStringLiteral("get cascade scan_slaves_lan"),
                               QStringLiteral("cmd korvane cascade scan_slaves"),
                               QStringLiteral("getint cascade number_of_scanned_slaves"),
                               QStringLiteral("getint cascade number_of_connected_slaves"),
                               QStringLiteral("get cascade wol_slaves"),
                               QStringLiteral("getint cascade number_of_scanned_slaves"),
                           }));
    QCOMPARE(iom.log, beforeCancel); // Cancel with nothing changed sends nothing
    QVERIFY(!settings->isVisible());
}

QTEST_MAIN(PluginTest)
#include "tst_plugin.moc"
