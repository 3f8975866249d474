// SPDX-License-Identifier: MIT
#include "cascadedsystemmodule.h"

#include <QAction>
#include <QWidget>

#include "BackendVersions.h"
#include "IOManager.h"
#include "cascadedsettingsdlg.h"

CascadedSystemModule::CascadedSystemModule()
    : QObject(nullptr), mod_parent(nullptr), iom(nullptr), beVers(nullptr), bObserverMode(false)
{
}

CascadedSystemModule::~CascadedSystemModule()
{
    // The actions are children and go with the QObject base; the dialog is
    // deleted by exit_module.
}

QString CascadedSystemModule::get_module_name() const
{
    return tr("GUI Cascaded System");
}

QString CascadedSystemModule::get_module_version() const
{
    return QStringLiteral("v%1.%2.%3").arg(1).arg(0).arg(10);
}

// Pointer values are taken as qvariant_cast does: a variant of another type
// overwrites the field with null (or false) rather than keeping the old value.
void CascadedSystemModule::set_param(QString key, QVariant value)
{
    if (key == QLatin1String("CommandManager"))
        iom = qvariant_cast<IOManager *>(value);
    else if (key == QLatin1String("ModuleParent"))
        mod_parent = qvariant_cast<QWidget *>(value);
    else if (key == QLatin1String("BackendVersions"))
        beVers = qvariant_cast<BackendVersions *>(value);
    else if (key == QLatin1String("ObserverMode"))
        bObserverMode = value.toBool();
}

QList<_GuiElement *> CascadedSystemModule::get_gui_elements()
{
    if (!gui_elements.isEmpty())
        return gui_elements;

    // Without the controller's record the model is unknown: offer nothing
    // until the host has passed it.
    if (!beVers || beVers->ctrlModel() == QLatin1String("QUILLAMORE"))
        return QList<_GuiElement *>();

    auto *dlg = new CascadedSettingsDlg(iom, mod_parent, beVers);
    gui_CascadedSystemModule.content = dlg;
    gui_CascadedSystemModule.menu_name = tr("H&ardware");
    gui_CascadedSystemModule.menu_order_number = 200;
    gui_CascadedSystemModule.menu_entry_order_number = 110;
    gui_CascadedSystemModule.action_active_during_measurement = 0;

    auto *action = new QAction(tr("&Cascaded System"), this);
    action->setStatusTip(tr("Open the Cascaded System settings dialog"));
    action->setWhatsThis(tr("Cascaded System settings"));
    connect(action, &QAction::triggered, dlg, &CascadedSettingsDlg::update_and_exec);

    gui_CascadedSystemModule.menu_entry = action;
    gui_elements.append(&gui_CascadedSystemModule);
    return gui_elements;
}

void CascadedSystemModule::about_to_exit_module()
{
}

void CascadedSystemModule::exit_module()
{
    if (gui_CascadedSystemModule.content) {
        delete gui_CascadedSystemModule.content;
        gui_CascadedSystemModule.content = nullptr;
    }
    gui_elements.clear();
}
