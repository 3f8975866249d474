// SPDX-License-Identifier: MIT
// The interface every host module implements, and the record by which a
// module hands the host one menu entry. Shared by the host, the modules and
// the tests.
#pragma once

#include <QList>
#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QWidget>
#include <QtPlugin>

class QAction;


// One GUI element contributed by a module. The module owns the action and the
// widget; the host only places the action in its menus.
struct _GuiElement
{
    _GuiElement()
        : menu_entry(nullptr), menu_entry_order_number(0), menu_order_number(0), content(nullptr),
          action_active_during_measurement(0)
    {
    }
    ~_GuiElement() {}

    QAction *menu_entry;                  // action placed in the host's menu bar
    int menu_entry_order_number;          // position of the entry within its menu
    QString menu_name;                    // title of the receiving menu, with its '&' mnemonic
    int menu_order_number;                // position of that menu among the host's menus
    QWidget *content;                     // the widget the element stands for
    int action_active_during_measurement; // 0: the host disables the action while measuring
};
typedef _GuiElement GuiElement;

class ModuleInterface
{
public:
    virtual ~ModuleInterface() {}
    virtual void about_to_exit_module() = 0;
    virtual void exit_module() = 0;
    virtual QString get_module_name() const = 0;
    virtual QString get_module_version() const = 0;
    virtual QList<_GuiElement *> get_gui_elements() = 0;
    virtual void set_param(QString key, QVariant value) = 0;
};

#define ModuleInterface_iid "com.korvane.gui.Module/0.2.0"
Q_DECLARE_INTERFACE(ModuleInterface, ModuleInterface_iid)

Q_DECLARE_METATYPE(QWidget *)
