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

    // Loads every plugin of folder; returns the number of modules loaded.
    int loadModules(const QString &folder);
    // Tells every module that the host quits, and deletes it. Safe to call twice.
    void shutdownModules();

    QString logText() const;
    QString statusText() const;
    // Whether the controller's versions have been read. Until they are, the
    // modules' menu entries are disabled: a module would take the missing
    // versions for a controller that is too old.
    bool versionsKnown() const;
    // Reads the controller's versions again if they are not known yet (the
    // controller was not reachable); true when they are known. Runs whenever
    // a menu opens; bounded by the connect time-out.
    bool refreshVersions();
    // The first action of the menu bar whose text is text ("&Cascaded System").
    QAction *findMenuAction(const QString &text) const;

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
    };
    struct Menu
    {
        int order;
        QMenu *menu;
        QList<QPair<int, QAction *>> entries; // (entry order, action)
    };

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
