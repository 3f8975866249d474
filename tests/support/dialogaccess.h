// SPDX-License-Identifier: MIT
// White-box access to the settings dialog for the tests and the benchmarks.
// The dialog names this class as its friend; nothing else may reach its
// private parts. Every accessor is a static function taking the dialog, so
// that test code reads e.g. DialogAccess::ui(dlg).pushButton_ok.
#pragma once

#include <QList>
#include <QTimer>

#include "cascadedsettingsdlg.h"

class DialogAccess
{
public:
    using Dlg = CascadedSettingsDlg;

    static Ui::CascadedSettingsDlgClass &ui(Dlg &d) { return d.ui; }

    // The 100 ms timer that rebuilds the available list until the scan has a
    // result, and the 1 s poll of the connected slaves' availability.
    static QTimer &listTimer(Dlg &d) { return d.timerUpdateAvailableSlaves; }
    static QTimer &availabilityTimer(Dlg &d) { return d.timerConntectedSlavesAvailable; }

    static QList<SlaveInfo *> &availableSlaves(Dlg &d) { return d.list_availableSlaves; }
    static QList<SlaveInfo *> &connectedSlaves(Dlg &d) { return d.list_primarySelectedSlaves; }
    static bool &somethingChanged(Dlg &d) { return d.bSomethingChanged; }
    static bool configLocked(const Dlg &d) { return d.m_is_config_locked; }

    static bool isIpAddress(Dlg &d, const QString &s) { return d.isIpAddress(s); }
    static bool isLastPartOfIpAllowed(Dlg &d, const QString &s) { return d.isLastPartOfIpAllowed(s); }

    // The dialog's own steps, run directly instead of from its timers.
    // tickList runs the list timer's next tick if it is due, and says whether
    // the scan's result is in (the timer stopped).
    static bool tickList(Dlg &d)
    {
        if (d.timerUpdateAvailableSlaves.isActive())
            d.update_listAvailableSlaves();
        return !d.timerUpdateAvailableSlaves.isActive();
    }
    static void readConnectedSlaves(Dlg &d) { d.update_listPrimarySelectedSlaves(); }
    static void rebuildAvailable(Dlg &d) { d.update_listAvailableSlaves(); }
    static void pollConnectedAvailability(Dlg &d) { d.updateConnectedSlaveAvailability(); }
    static void refillAvailableTable(Dlg &d) { d.update_tableWidget_available(); }
    static void refillSelectedTable(Dlg &d) { d.update_tableWidget_selected(); }
};
