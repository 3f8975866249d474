// SPDX-License-Identifier: MIT
// The plugin object the host loads: accepts the host's collaborators and
// contributes the "&Cascaded System" entry of the "H&ardware" menu, which
// opens the cascade settings dialog.
#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

#include "ModuleInterface.h"

class IOManager;
class BackendVersions;

class CascadedSystemModule : public QObject, public ModuleInterface
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "com.Korvane.CascadedSystemModule" FILE "cascadedsystemmodule.json")
    Q_INTERFACES(ModuleInterface)

public:
    CascadedSystemModule();
    ~CascadedSystemModule() override;

    QString get_module_name() const override;
    QString get_module_version() const override;
    QList<_GuiElement *> get_gui_elements() override;
    void set_param(QString key, QVariant value) override;
    void about_to_exit_module() override;
    void exit_module() override;

private:
    QWidget *mod_parent;
    QList<_GuiElement *> gui_elements;
    GuiElement gui_CascadedSystemModule;
    IOManager *iom;
    BackendVersions *beVers;
    bool bObserverMode;
};
