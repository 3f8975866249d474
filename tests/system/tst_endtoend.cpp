// The whole system: the real plugin on the host's IOManager against the
// simulator, then the host application itself running its headless
// walkthrough. Addresses 127.0.5.40 - 127.0.5.69.
#include <QAction>
#include <QPluginLoader>
#include <QPushButton>
#include <QTableWidget>
#include <QtTest>

#include "BackendVersions.h"
#include "ModuleInterface.h"
#include "hostiomanager.h"
#include "modaldriver.h"
#include "simprocess.h"

namespace {

const char Master[] = "127.0.5.40";

// 46 is on another segment: only the walkthrough's add by hand finds it.
// 47 is unplugged while the dialog is open.
const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.5.40", "master": true, "hostname": "e2e-master", "scan_duration_ms": 400,
      "connected": ["127.0.5.41", "127.0.5.42", "127.0.5.47"] },
    { "address": "127.0.5.41", "hostname": "alpha-slave" },
    { "address": "127.0.5.42", "hostname": "beta-slave", "online": false },
    { "address": "127.0.5.43", "hostname": "gamma", "version": "2.6.0" },
    { "address": "127.0.5.44", "hostname": "delta", "access": "read" },
    { "address": "127.0.5.45", "hostname": "Epsilon", "version": "3.1.0" },
    { "address": "127.0.5.46", "hostname": "zeta-annex", "scan_visible": false },
    { "address": "127.0.5.47", "hostname": "eta-leaving", "unplug_on_signal": true }
] })";

// Rows of a dialog table as "name ip availability", with " red" or " grey"
// for a coloured row.
QStringList rows(QWidget *dlg, const char *table)
{
    QStringList out;
    auto *t = dlg->findChild<QTableWidget *>(QLatin1String(table));
    for (int r = 0; t && r < t->rowCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < 3; ++c)
            cells << (t->item(r, c) ? t->item(r, c)->text() : QString());
        const QColor fg = t->item(r, 0) ? t->item(r, 0)->foreground().color() : QColor();
        if (fg == Qt::red || fg == Qt::gray)
            cells << QLatin1String(fg == Qt::red ? "red" : "grey");
        out << cells.join(QLatin1Char(' '));
    }
    return out;
}

QString pluginPath()
{
    const QDir dir(QStringLiteral(CASCADE_MODULES_DIR));
    for (const QString &f : dir.entryList(QDir::Files))
        if (QLibrary::isLibrary(f) && f.contains(QLatin1String("CascadedSystemModule")))
            return dir.absoluteFilePath(f);
    return QString();
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY2(!pluginPath().isEmpty(), "the plugin is not in " CASCADE_MODULES_DIR);
        QVERIFY2(m_sim.start(Scenario), qPrintable(m_sim.error()));
        QCOMPARE(m_iom.open_connection(Master, HostIOManager::DefaultPort), 0);
    }

    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    // The scan result, the connected slaves, and a slave that goes offline
    // while the dialog is open turning red.
    void dialogShowsTheCascadeAndASlaveGoingOffline()
    {
        BackendVersions versions = readBackendVersions(&m_iom);
        QWidget parent;
        QPluginLoader loader(pluginPath());
        auto *module = qobject_cast<ModuleInterface *>(loader.instance());
        QVERIFY2(module, qPrintable(loader.errorString()));
        module->set_param(QStringLiteral("BackendVersions"), QVariant::fromValue(&versions));
        module->set_param(QStringLiteral("CommandManager"), QVariant::fromValue(static_cast<IOManager *>(&m_iom)));
        module->set_param(QStringLiteral("ModuleParent"), QVariant::fromValue(&parent));
        module->set_param(QStringLiteral("ObserverMode"), QVariant(false));
        const QList<_GuiElement *> elements = module->get_gui_elements();
        QVERIFY(elements.size() == 1 && elements.first()->menu_entry);

        QStringList selectedBefore, selected, available;
        auto isDialog = [](QWidget *w) { return w->objectName() == QLatin1String("CascadedSettingsDlgClass"); };
        ModalDriver::reset();
        // Once the scan result is shown with the leaving slave online, unplug it ...
        ModalDriver::when(
            [&](QWidget *w) {
                return isDialog(w) && rows(w, "tableWidget_available").size() == 5
                       && rows(w, "tableWidget_selected").contains(QStringLiteral("eta-leaving 127.0.5.47 yes"));
            },
            [&](QWidget *w) {
                selectedBefore = rows(w, "tableWidget_selected");
                QVERIFY(m_sim.unplug());
            },
            20000);
        // ... and wait for the availability poll to mark it.
        ModalDriver::when(
            [&](QWidget *w) {
                return isDialog(w) && rows(w, "tableWidget_selected").contains(QStringLiteral("eta-leaving 127.0.5.47 no red"));
            },
            [&](QWidget *w) {
                selected = rows(w, "tableWidget_selected");
                available = rows(w, "tableWidget_available");
                w->findChild<QPushButton *>(QStringLiteral("pushButton_cancel"))->click();
            },
            10000);
        elements.first()->menu_entry->trigger();
        QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join(QLatin1Char('\n'))));

        QCOMPARE(selectedBefore, QStringList({"alpha-slave 127.0.5.41 yes", "beta-slave 127.0.5.42 no red",
                                              "eta-leaving 127.0.5.47 yes"}));
        QCOMPARE(selected, QStringList({"alpha-slave 127.0.5.41 yes", "beta-slave 127.0.5.42 no red",
                                        "eta-leaving 127.0.5.47 no red"}));
        // Sorted by hostname; connected and read-only controllers cannot be chosen.
        QCOMPARE(available, QStringList({"alpha-slave 127.0.5.41 no grey", "delta 127.0.5.44 no grey",
                                         "Epsilon 127.0.5.45 yes", "eta-leaving 127.0.5.47 no grey",
                                         "gamma 127.0.5.43 yes"}));
        module->about_to_exit_module();
        module->exit_module();
        delete loader.instance();
    }

    // The host application loads the modules (reporting one that is not a
    // plugin, and one built against the other Qt major version); its
    // walkthrough selects a scanned controller, adds one the scan did not
    // list by hand, selects it too, and OK connects both.
    void hostWalkthroughConnectsAScannedAndAHandAddedController()
    {
        QTemporaryDir modules, out;
        QVERIFY(QFile::link(pluginPath(), modules.filePath(QStringLiteral("libCascadedSystemModule.so"))));
        QFile broken(modules.filePath(QStringLiteral("libbroken.so")));
        QVERIFY(broken.open(QIODevice::WriteOnly) && broken.write("not a library") > 0 && broken.flush());
        const int otherQt = QT_VERSION_MAJOR == 5 ? 6 : 5;
        QFile foreign(modules.filePath(QStringLiteral("libotherqt.so")));
        QVERIFY(foreign.open(QIODevice::WriteOnly) &&
                foreign.write(QStringLiteral("needs libQt%1Core.so.%1").arg(otherQt).toLatin1()) > 0 && foreign.flush());

        QProcess host;
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.start(QStringLiteral(CASCADE_HOST_PATH),
                   {QString::fromLatin1(Master), QStringLiteral("--modules"), modules.path(), QStringLiteral("--lang"),
                    QStringLiteral("en"), QStringLiteral("--demo-add"), QStringLiteral("127.0.5.46"),
                    QStringLiteral("--headless-demo"), out.path()});
        QVERIFY(host.waitForFinished(90000));
        const QByteArray output = host.readAll();
        QVERIFY2(host.exitStatus() == QProcess::NormalExit && host.exitCode() == 0, output.constData());

        char answer[200];
        QStringList connected;
        for (int i = 1; m_iom.get_parameter(answer, "cascade connected_slave d%2.2d", i) == 0; ++i)
            connected << QString::fromLatin1(answer);
        QCOMPARE(connected, QStringList({"127.0.5.41", "127.0.5.42", "127.0.5.47", "127.0.5.45", "127.0.5.46"}));

        QVERIFY(QFileInfo(QDir(out.path()).filePath(QStringLiteral("08-settings-reopened.png"))).size() > 0);
        QFile log(QDir(out.path()).filePath(QStringLiteral("messages.log")));
        const QByteArray text = log.open(QIODevice::ReadOnly) ? log.readAll() : QByteArray();
        for (const char *expected : {"Cannot load libbroken.so", "New Hardware", "CascadedSettingsChanged"})
            QVERIFY2(text.contains(expected), text.constData());
        QVERIFY2(text.contains(QStringLiteral("Cannot load libotherqt.so: it is built against Qt %1, but this host runs on Qt %2")
                                   .arg(otherQt)
                                   .arg(QString::fromLatin1(qVersion()))
                                   .toLatin1()),
                 text.constData());
        QVERIFY2(!text.contains("Error:"), text.constData());
    }

private:
    SimProcess m_sim;
    HostIOManager m_iom;
};

QTEST_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
