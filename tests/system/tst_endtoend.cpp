// The whole system: the host's IOManager, the simulator and the real plugin
// loaded from the modules folder; then the host application itself running
// its headless walkthrough. Addresses 127.0.5.40 - 127.0.5.69.
#include <QAction>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QPluginLoader>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QtTest>

#include "BackendVersions.h"
#include "ModuleInterface.h"
#include "hostiomanager.h"
#include "modaldriver.h"
#include "simprocess.h"

namespace {

const char Master[] = "127.0.5.40";

const QByteArray Scenario = R"({ "controllers": [
    { "address": "127.0.5.40", "master": true, "hostname": "e2e-master", "model": "VESTRAL",
      "protocol": "1.9.0", "scan_duration_ms": 400, "connected": ["127.0.5.41", "127.0.5.42"] },
    { "address": "127.0.5.41", "hostname": "alpha-slave" },
    { "address": "127.0.5.42", "hostname": "beta-slave", "online": false },
    { "address": "127.0.5.43", "hostname": "gamma", "version": "2.6.0" },
    { "address": "127.0.5.44", "hostname": "delta", "access": "read" },
    { "address": "127.0.5.45", "hostname": "Epsilon", "version": "3.1.0" }
] })";

// Rows of a dialog table as "name ip availability".
QStringList rows(QWidget *dlg, const char *table)
{
    QStringList out;
    auto *t = dlg->findChild<QTableWidget *>(QLatin1String(table));
    for (int r = 0; t && r < t->rowCount(); ++r) {
        QStringList cells;
        for (int c = 0; c < 3; ++c)
            cells << (t->item(r, c) ? t->item(r, c)->text() : QString());
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
    }

    void cleanupTestCase() { QCOMPARE(m_sim.stop(), 0); }

    void dialogShowsConnectedSlavesAndTheScanResult()
    {
        HostIOManager iom;
        QCOMPARE(iom.open_connection(Master, HostIOManager::DefaultPort), 0);
        BackendVersions versions = readBackendVersions(&iom);
        QCOMPARE(versions.ctrlModel(), QStringLiteral("VESTRAL"));
        QSignalSpy messages(&iom, &HostIOManager::messagePosted);

        QWidget parent;
        QPluginLoader loader(pluginPath());
        QObject *object = loader.instance();
        QVERIFY2(object, qPrintable(loader.errorString()));
        auto *module = qobject_cast<ModuleInterface *>(object);
        QVERIFY(module);
        module->set_param(QStringLiteral("BackendVersions"), QVariant::fromValue(&versions));
        module->set_param(QStringLiteral("CommandManager"), QVariant::fromValue(static_cast<IOManager *>(&iom)));
        module->set_param(QStringLiteral("ModuleParent"), QVariant::fromValue(&parent));
        module->set_param(QStringLiteral("ObserverMode"), QVariant(false));
        const QList<_GuiElement *> elements = module->get_gui_elements();
        QCOMPARE(elements.size(), 1);
        QCOMPARE(elements.first()->menu_name, QStringLiteral("H&ardware"));
        QAction *action = elements.first()->menu_entry;
        QCOMPARE(action->text(), QStringLiteral("&Cascaded System"));

        // Wait inside the dialog until the scan result is shown and the
        // offline slave has been marked unreachable, then look and cancel.
        QStringList selected, available;
        ModalDriver::reset();
        ModalDriver::when(
            [](QWidget *w) {
                return w->objectName() == QLatin1String("CascadedSettingsDlgClass")
                       && rows(w, "tableWidget_available").size() == 4
                       && rows(w, "tableWidget_selected").contains(QStringLiteral("beta-slave 127.0.5.42 no"));
            },
            [&](QWidget *w) {
                selected = rows(w, "tableWidget_selected");
                available = rows(w, "tableWidget_available");
                w->findChild<QPushButton *>(QStringLiteral("pushButton_cancel"))->click();
            },
            20000);
        action->trigger();
        QVERIFY2(ModalDriver::ok(), qPrintable(ModalDriver::failures().join(QLatin1Char('\n'))));

        QCOMPARE(selected, QStringList({"alpha-slave 127.0.5.41 yes", "beta-slave 127.0.5.42 no"}));
        // Sorted by hostname; the connected slave and the read-only one cannot be chosen.
        QCOMPARE(available, QStringList({"alpha-slave 127.0.5.41 no", "delta 127.0.5.44 no",
                                         "Epsilon 127.0.5.45 yes", "gamma 127.0.5.43 yes"}));
        for (const QList<QVariant> &m : messages)
            QVERIFY2(m.at(0).toString() != QLatin1String("standard"), qPrintable(m.at(3).toString()));

        module->about_to_exit_module();
        module->exit_module();
        delete object;
    }

    // The host application: loads the modules (reporting one that is not a
    // plugin), and its walkthrough selects a controller and applies it.
    void hostWalkthroughPasses()
    {
        QTemporaryDir modules, out;
        QVERIFY(QFile::link(pluginPath(), modules.filePath(QStringLiteral("libCascadedSystemModule.so"))));
        QFile broken(modules.filePath(QStringLiteral("libbroken.so")));
        QVERIFY(broken.open(QIODevice::WriteOnly));
        broken.write("not a library");
        broken.close();

        QProcess host;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        host.setProcessEnvironment(env);
        host.setProcessChannelMode(QProcess::MergedChannels);
        host.start(QStringLiteral(CASCADE_HOST_PATH),
                   {QString::fromLatin1(Master), QStringLiteral("--modules"), modules.path(),
                    QStringLiteral("--headless-demo"), out.path()});
        QVERIFY(host.waitForFinished(90000));
        const QByteArray output = host.readAll();
        QVERIFY2(host.exitStatus() == QProcess::NormalExit && host.exitCode() == 0, output.constData());

        for (const char *png : {"02-settings-opened.png", "03-controller-selected.png", "04-after-ok.png",
                                "06-settings-reopened.png"})
            QVERIFY2(QFileInfo(QDir(out.path()).filePath(QLatin1String(png))).size() > 0, png);
        QFile log(QDir(out.path()).filePath(QStringLiteral("messages.log")));
        QVERIFY(log.open(QIODevice::ReadOnly));
        const QByteArray text = log.readAll();
        QVERIFY2(text.contains("Cannot load libbroken.so"), text.constData());
        QVERIFY2(text.contains("New Hardware"), text.constData());
        QVERIFY2(text.contains("CascadedSettingsChanged"), text.constData());
        QVERIFY2(!text.contains("Error:"), text.constData());
    }

private:
    SimProcess m_sim;
};

QTEST_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
