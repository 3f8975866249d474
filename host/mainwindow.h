// SPDX-License-Identifier: MIT
// The host's main window: loads the modules of a folder, places their menu
// entries, logs their messages (and, on request, every controller request)
// and shows the controller in the status bar.
#pragma once

#include <QList>
#include <QMainWindow>
#include <QPointer>
#include <QPair>
#include <QString>

class BackendVersions;
class HostIOManager;
class ModuleInterface;
class QAction;
class QLabel;
class QMenu;
class QPlainTextEdit;
class QPluginLoader;

class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow(HostIOManager *iom, BackendVersions *versions, bool observer, QWidget *parent = nullptr);
    ~MainWindow() override;

    // Loads every plugin of folder, logging what each library gave;
    // returns the number of modules loaded.
    int loadModules(const QString &folder);
    // Tells every module that the host quits, and deletes it. Safe to call twice.
    void shutdownModules();

    // Whether the controller's versions have been read. Until they are, the
    // modules' menu entries are disabled: a module would take the missing
    // versions for a controller that is too old.
    bool versionsKnown() const;
    // Reads the controller's versions if they are not known yet (at start,
    // or the controller was not reachable) and logs the connection once they
    // are; true when they are known. Runs whenever a menu opens; bounded by
    // the connect time-out.
    bool refreshVersions();

signals:
    // Every line of the message log as shown, with its time stamp.
    void lineLogged(const QString &line);

public slots:
    void log(const QString &line);
    void logMessage(const QString &receiver, const QString &sender, int type, const QString &text);
    void logRequest(const QString &request, const QString &reply, int result, qint64 elapsedUs);
    void updateStatus();

private:
    struct Module
    {
        QPluginLoader *loader;
        QObject *object;
        ModuleInterface *module;
        QString realFile; // the library file behind any links to it
    };
    struct Menu
    {
        int order;
        QMenu *menu;
        QList<QPair<int, QAction *>> entries; // (entry order, action)
    };

    // Loads the library at path and hands the module its collaborators; null
    // with the reason in why when the library gives no new module.
    const Module *loadModule(const QString &path, QString *why);
    void addEntry(const QString &menuTitle, int menuOrder, int entryOrder, QAction *action);
    void rebuildMenuBar();
    void about();

    HostIOManager *m_iom;
    BackendVersions *m_versions;
    bool m_observer;
    QPlainTextEdit *m_log;
    QLabel *m_status;
    QAction *m_requestLogAction;
    QList<Module> m_modules;
    QList<QPointer<QAction>> m_moduleActions;
    QList<Menu> m_menus;
};
