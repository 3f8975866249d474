// SPDX-License-Identifier: MIT
// The host's main window with the real module loaded: menu mnemonics unique
// in every shipped language, status tips shown in the status bar, and the
// application icon on the window and the dialogs it parents.
#include <QAction>
#include <QDialog>
#include <QDir>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QStatusBar>
#include <QTranslator>
#include <QtTest>
#include <memory>

#include "BackendVersions.h"
#include "hostiomanager.h"
#include "guitest.h"
#include "mainwindow.h"

namespace {

using GuiTest::clashes;

QImage image(const QIcon &icon)
{
    return icon.pixmap(32, 32).toImage().convertToFormat(QImage::Format_ARGB32);
}

} // namespace

class MainWindowTest : public QObject
{
    Q_OBJECT

    HostIOManager iom;
    BackendVersions versions{VersionInfo(2, 7, 1), VersionInfo(1, 9, 0), VersionInfo(2, 7, 1),
                             QStringLiteral("VESTRAL")};
    std::vector<std::unique_ptr<QTranslator>> translators;

    std::unique_ptr<MainWindow> makeWindow()
    {
        auto window = std::make_unique<MainWindow>(&iom, &versions, false);
        if (window->loadModules(QStringLiteral(CASCADE_MODULES_DIR)) != 1)
            return nullptr;
        return window;
    }
    void translate(const QString &language)
    {
        const QString folders[][2] = {{"cascadehost", CASCADE_HOST_TRANSLATIONS},
                                      {"cascadedsystem", CASCADE_MODULES_DIR "/translations"}};
        for (const auto &f : folders) {
            translators.push_back(std::make_unique<QTranslator>());
            QVERIFY2(translators.back()->load(QLocale(language), f[0], QStringLiteral("_"), f[1]),
                     qPrintable(f[0] + QLatin1Char('_') + language));
            QCoreApplication::installTranslator(translators.back().get());
        }
    }

private slots:
    void cleanup()
    {
        for (auto &t : translators)
            QCoreApplication::removeTranslator(t.get());
        translators.clear();
    }

    // Alt+letter opens one menu only, and within a menu picks one entry
    // only, in English and in every language the host ships.
    void mnemonicsUnique_data()
    {
        QTest::addColumn<QString>("language");
        QTest::newRow("en") << QString();
        const QStringList shipped = QDir(QStringLiteral(CASCADE_HOST_TRANSLATIONS))
                                        .entryList({QStringLiteral("cascadehost_*.qm")}, QDir::Files);
        QVERIFY(!shipped.isEmpty());
        for (const QString &file : shipped) {
            const QString language = file.mid(12).chopped(3);
            QTest::newRow(qPrintable(language)) << language;
        }
    }
    void mnemonicsUnique()
    {
        QFETCH(QString, language);
        if (!language.isEmpty())
            translate(language);
        auto window = makeWindow();
        QVERIFY(window);
        QStringList titles;
        for (QAction *menuAction : window->menuBar()->actions())
            titles << menuAction->text();
        QCOMPARE(titles.size(), 4); // File, Hardware (from the module), View, Help
        QVERIFY2(clashes(titles).isEmpty(), qPrintable(clashes(titles).join(QStringLiteral(", "))));
        for (QAction *menuAction : window->menuBar()->actions()) {
            QStringList entries;
            for (QAction *a : menuAction->menu()->actions())
                entries << a->text();
            QVERIFY2(clashes(entries).isEmpty(), qPrintable(menuAction->text() + ": " + clashes(entries).join(", ")));
        }
    }

    // Every menu entry has a status tip; resting on an entry shows it in
    // the status bar in place of the controller line, which comes back after.
    void statusTipsShown()
    {
        auto window = makeWindow();
        QVERIFY(window);
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        auto *controller = window->findChild<QLabel *>(QStringLiteral("controllerStatus"));
        QVERIFY(controller && controller->isVisible());
        for (QAction *menuAction : window->menuBar()->actions()) {
            QMenu *menu = menuAction->menu();
            window->menuBar()->setActiveAction(menuAction); // opened from the menu bar, as by a click
            QVERIFY(QTest::qWaitForWindowExposed(menu));
            for (QAction *a : menu->actions()) {
                QVERIFY2(!a->statusTip().isEmpty(), qPrintable(a->text()));
                menu->setActiveAction(a);
                QTRY_COMPARE_WITH_TIMEOUT(window->statusBar()->currentMessage(), a->statusTip(), 2000);
                QVERIFY(!controller->isVisible());
            }
            menu->hide();
            QTRY_VERIFY_WITH_TIMEOUT(!menu->isVisible(), 2000);
        }
        window->statusBar()->clearMessage();
        QTRY_VERIFY_WITH_TIMEOUT(controller->isVisible(), 2000);
    }

    // The window shows the application icon, and so do the dialogs it parents.
    void applicationIcon()
    {
        auto window = makeWindow();
        QVERIFY(window);
        const QImage icon = image(QIcon(QStringLiteral(":/cascade-host.png")));
        QVERIFY(!icon.isNull());
        QVERIFY(image(window->windowIcon()) == icon);
        QDialog dialog(window.get());
        QVERIFY(image(dialog.windowIcon()) == icon);
        auto *settings = window->findChild<QDialog *>(QStringLiteral("CascadedSettingsDlgClass"));
        QVERIFY(settings);
        QVERIFY(image(settings->windowIcon()) == icon);
    }
};

QTEST_MAIN(MainWindowTest)
#include "tst_mainwindow.moc"
