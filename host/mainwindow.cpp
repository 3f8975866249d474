// SPDX-License-Identifier: MIT
#include "mainwindow.h"

#include <QAction>
#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIcon>
#include <QJsonObject>
#include <QLabel>
#include <QLibrary>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPluginLoader>
#include <QStatusBar>
#include <QTimer>
#include <algorithm>
#include <memory>

#include "BackendVersions.h"
#include "ModuleInterface.h"
#include "hostiomanager.h"

namespace {
// Positions of the host's own menus; modules name theirs (H&ardware: 200).
const int FileMenuOrder = 0;
const int ViewMenuOrder = 800;
const int HelpMenuOrder = 1000;

// The Qt major version a plugin file is linked against (the Qt core library
// it names, "libQt6Core.so.6"), or 0 when that cannot be told. Qt's own
// error for a plugin of the other Qt is vague in one direction (a Qt 5
// loader cannot even find a Qt 6 plugin's metadata), so the host says it.
int pluginQtMajor(const QString &path)
{
    QFile file(path);
    const qint64 MaxPluginSize = 256 * 1024 * 1024;
    if (file.size() > MaxPluginSize || !file.open(QIODevice::ReadOnly))
        return 0;
    const uchar *bytes = file.map(0, file.size());
    if (!bytes)
        return 0;
    const QByteArray content = QByteArray::fromRawData(reinterpret_cast<const char *>(bytes), int(file.size()));
    for (int major = 5; major <= 9; ++major)
        if (content.contains(QStringLiteral("libQt%1Core.so.%1").arg(major).toLatin1()))
            return major;
    return 0;
}
} // namespace

MainWindow::MainWindow(HostIOManager *iom, BackendVersions *versions, bool observer, QWidget *parent)
    : QMainWindow(parent), m_iom(iom), m_versions(versions), m_observer(observer)
{
    setObjectName(QStringLiteral("CascadeHostMainWindow"));
    setWindowTitle(tr("Cascade Host"));
    // The modules' dialogs are children of this window and show its icon too.
    setWindowIcon(QIcon(QStringLiteral(":/cascade-host.png")));
    resize(900, 560);

    m_log = new QPlainTextEdit(this);
    m_log->setObjectName(QStringLiteral("messageLog"));
    m_log->setReadOnly(true);
    m_log->setAccessibleName(tr("Message log"));
    m_log->setMaximumBlockCount(20000);
    setCentralWidget(m_log);

    // A normal status bar widget, not a permanent one: the status tip of the
    // menu entry under the mouse replaces it for as long as it is shown.
    m_status = new QLabel(this);
    m_status->setObjectName(QStringLiteral("controllerStatus"));
    statusBar()->addWidget(m_status, 1);

    auto *quit = new QAction(tr("&Quit"), this);
    quit->setShortcut(QKeySequence::Quit);
    quit->setStatusTip(tr("Close the host and its modules"));
    connect(quit, &QAction::triggered, this, &QWidget::close);
    addEntry(tr("&File"), FileMenuOrder, 100, quit);

    m_requestLogAction = new QAction(tr("Log controller &requests"), this);
    m_requestLogAction->setCheckable(true);
    m_requestLogAction->setStatusTip(tr("Show every controller request with its reply and duration"));
    connect(m_requestLogAction, &QAction::toggled, this, [this](bool on) {
        m_iom->set_request_logging(on);
        log(on ? tr("Request logging on") : tr("Request logging off"));
    });
    addEntry(tr("&View"), ViewMenuOrder, 100, m_requestLogAction);
    auto *clear = new QAction(tr("&Clear log"), this);
    clear->setStatusTip(tr("Empty the message log window"));
    connect(clear, &QAction::triggered, m_log, &QPlainTextEdit::clear);
    addEntry(tr("&View"), ViewMenuOrder, 200, clear);

    auto *aboutAction = new QAction(tr("&About"), this);
    aboutAction->setStatusTip(tr("Show the host's purpose and the loaded modules"));
    connect(aboutAction, &QAction::triggered, this, &MainWindow::about);
    addEntry(tr("&Help"), HelpMenuOrder, 100, aboutAction);

    connect(m_iom, &HostIOManager::messagePosted, this, &MainWindow::logMessage);
    connect(m_iom, &HostIOManager::requestLogged, this, &MainWindow::logRequest);
    // The connection can drop and come back with any request; look once a second.
    auto *statusTimer = new QTimer(this);
    connect(statusTimer, &QTimer::timeout, this, &MainWindow::updateStatus);
    statusTimer->start(1000);
    updateStatus();
}

MainWindow::~MainWindow()
{
    shutdownModules();
}

int MainWindow::loadModules(const QString &folder)
{
    const QDir dir(folder);
    if (!dir.exists()) {
        log(tr("Modules folder %1 does not exist").arg(QDir::toNativeSeparators(folder)));
        return 0;
    }
    log(tr("Loading modules from %1").arg(QDir::toNativeSeparators(dir.absolutePath())));
    int loaded = 0;
    for (const QString &file : dir.entryList(QDir::Files, QDir::Name)) {
        const QString path = dir.absoluteFilePath(file);
        if (!QLibrary::isLibrary(path))
            continue;
        QString why;
        const Module *m = loadModule(path, &why);
        if (!m) {
            log(why);
            continue;
        }
        ++loaded;
        const QJsonObject meta = m->loader->metaData();
        log(tr("Loaded module \"%1\" %2 from %3 (IID %4, class %5)")
                .arg(m->module->get_module_name(), m->module->get_module_version(), file,
                     meta.value(QStringLiteral("IID")).toString(), meta.value(QStringLiteral("className")).toString()));
        for (_GuiElement *e : m->module->get_gui_elements()) {
            if (e && e->menu_entry) {
                addEntry(e->menu_name, e->menu_order_number, e->menu_entry_order_number, e->menu_entry);
                m_moduleActions << e->menu_entry;
            }
        }
    }
    rebuildMenuBar();
    updateStatus();
    return loaded;
}

const MainWindow::Module *MainWindow::loadModule(const QString &path, QString *why)
{
    // A library is often there under several names (libX.so -> libX.so.1 ->
    // libX.so.1.0.10); all of them give the same instance, which must be
    // used and deleted once. The real file decides what was loaded already.
    const QString file = QFileInfo(path).fileName();
    const QString realFile = QFileInfo(path).canonicalFilePath();
    const auto sameLibrary = [file] { return tr("Skipped %1: the same library as a module loaded already").arg(file); };
    if (std::any_of(m_modules.cbegin(), m_modules.cend(), [&](const Module &m) { return m.realFile == realFile; })) {
        *why = sameLibrary();
        return nullptr;
    }
    auto loader = std::make_unique<QPluginLoader>(path, this);
    QObject *object = loader->instance();
    if (!object) {
        const int major = pluginQtMajor(path);
        if (major != 0 && major != QT_VERSION_MAJOR)
            *why = tr("Cannot load %1: it is built against Qt %2, but this host runs on Qt %3; "
                      "a module must be built against the same Qt major version as the host")
                       .arg(file)
                       .arg(major)
                       .arg(QString::fromLatin1(qVersion()));
        else
            *why = tr("Cannot load %1: %2 (set QT_DEBUG_PLUGINS=1 for details)").arg(file, loader->errorString());
        return nullptr;
    }
    if (std::any_of(m_modules.cbegin(), m_modules.cend(), [object](const Module &m) { return m.object == object; })) {
        *why = sameLibrary(); // the plugin stays loaded for its first loader
        return nullptr;
    }
    auto *module = qobject_cast<ModuleInterface *>(object);
    if (!module) {
        const QJsonObject meta = loader->metaData();
        *why = tr("%1 (IID %2, class %3) does not implement the module interface %4")
                   .arg(file, meta.value(QStringLiteral("IID")).toString(),
                        meta.value(QStringLiteral("className")).toString(), QStringLiteral(ModuleInterface_iid));
        loader->unload();
        return nullptr;
    }
    // The controller model is read in get_gui_elements, so the versions go first.
    module->set_param(QStringLiteral("BackendVersions"), QVariant::fromValue(m_versions));
    module->set_param(QStringLiteral("CommandManager"), QVariant::fromValue(static_cast<IOManager *>(m_iom)));
    module->set_param(QStringLiteral("ModuleParent"), QVariant::fromValue(static_cast<QWidget *>(this)));
    module->set_param(QStringLiteral("ObserverMode"), QVariant(m_observer));
    m_modules << Module{loader.release(), object, module, realFile};
    return &m_modules.last();
}

bool MainWindow::versionsKnown() const
{
    return m_iom->controller_address().isEmpty() || !(m_versions->protocol() == VersionInfo());
}

bool MainWindow::refreshVersions()
{
    if (versionsKnown())
        return true;
    const BackendVersions read = readBackendVersions(m_iom);
    if (!(read.protocol() == VersionInfo())) {
        *m_versions = read;
        log(tr("Connected to %1 (%2, protocol %3)")
                .arg(m_iom->controller_address(), m_versions->ctrlModel(), m_versions->protocol().toString()));
    }
    updateStatus();
    return versionsKnown();
}

void MainWindow::shutdownModules()
{
    for (const Module &m : qAsConst(m_modules)) {
        m.module->about_to_exit_module();
        m.module->exit_module();
    }
    for (const Module &m : qAsConst(m_modules)) {
        // Actions of a module die with it; take them out of the menus first.
        for (Menu &menu : m_menus) {
            for (int i = menu.entries.size() - 1; i >= 0; --i) {
                QAction *a = menu.entries.at(i).second;
                if (a->parent() == m.object) {
                    menu.menu->removeAction(a);
                    menu.entries.removeAt(i);
                }
            }
        }
        delete m.object;
    }
    m_modules.clear();
}

void MainWindow::addEntry(const QString &menuTitle, int menuOrder, int entryOrder, QAction *action)
{
    for (Menu &m : m_menus) {
        if (m.menu->title() == menuTitle) {
            m.entries << qMakePair(entryOrder, action);
            rebuildMenuBar();
            return;
        }
    }
    auto *menu = new QMenu(menuTitle, this);
    connect(menu, &QMenu::aboutToShow, this, &MainWindow::refreshVersions);
    m_menus << Menu{menuOrder, menu, {qMakePair(entryOrder, action)}};
    rebuildMenuBar();
}

void MainWindow::rebuildMenuBar()
{
    std::stable_sort(m_menus.begin(), m_menus.end(),
                     [](const Menu &a, const Menu &b) { return a.order < b.order; });
    menuBar()->clear();
    for (Menu &m : m_menus) {
        std::stable_sort(m.entries.begin(), m.entries.end(),
                         [](const QPair<int, QAction *> &a, const QPair<int, QAction *> &b) {
                             return a.first < b.first;
                         });
        for (QAction *a : m.menu->actions())
            m.menu->removeAction(a);
        for (const auto &e : qAsConst(m.entries))
            m.menu->addAction(e.second);
        menuBar()->addMenu(m.menu);
    }
}

void MainWindow::log(const QString &line)
{
    const QString stamped =
        QStringLiteral("%1  %2").arg(QTime::currentTime().toString(QStringLiteral("HH:mm:ss.zzz")), line);
    m_log->appendPlainText(stamped);
    emit lineLogged(stamped);
}

void MainWindow::logMessage(const QString &receiver, const QString &sender, int type, const QString &text)
{
    log(tr("message to %1 from %2, type %3: %4").arg(receiver, sender).arg(type).arg(text));
}

void MainWindow::logRequest(const QString &request, const QString &reply, int result, qint64 elapsedUs)
{
    log(tr("request \"%1\" -> \"%2\" (result %3, %4 ms)")
            .arg(request, reply)
            .arg(result)
            .arg(double(elapsedUs) / 1000.0, 0, 'f', 1));
    updateStatus();
}

void MainWindow::updateStatus()
{
    QString text;
    const QString address = m_iom->controller_address();
    const bool known = versionsKnown();
    for (const QPointer<QAction> &a : qAsConst(m_moduleActions))
        if (a)
            a->setEnabled(known);
    if (address.isEmpty())
        text = tr("No controller");
    else if (!known)
        text = tr("Controller %1: not reachable (%2)").arg(address, m_iom->last_error());
    else if (!m_iom->is_connected())
        text = tr("Controller %1: not connected").arg(address);
    else
        text = tr("Controller %1 · model %2 · protocol %3")
                   .arg(address, m_versions->ctrlModel().isEmpty() ? tr("unknown") : m_versions->ctrlModel(),
                        m_versions->protocol().toString());
    if (m_observer)
        text += tr(" · observer mode");
    m_status->setText(text);
}

void MainWindow::about()
{
    QStringList names;
    for (const Module &m : qAsConst(m_modules))
        names << QStringLiteral("%1 %2").arg(m.module->get_module_name(), m.module->get_module_version());
    QMessageBox::about(this, tr("About Cascade Host"),
                       tr("A minimal host for measurement-system modules.\n\nLoaded modules:\n%1")
                           .arg(names.isEmpty() ? tr("none") : names.join(QLatin1Char('\n'))));
}
