// SPDX-License-Identifier: MIT
// The "Cascaded System Settings" dialog: shows the controllers selected as
// slaves of the connected controller and those available to become slaves,
// lets the user move them between the two tables or name one by hand, and
// applies the arranged cascade to the controller on OK.
#pragma once

#include <QDialog>
#include <QPair>
#include <QVector>
#include <QIcon>
#include <QList>
#include <QString>
#include <QTimer>

#include "ui_cascadedsettingsdlg.h"

class IOManager;
class BackendVersions;

// One controller as a slave candidate. Only the exact text "no" makes a
// record unavailable; "yes", an empty text or "No" all mean available.
class SlaveInfo
{
public:
    SlaveInfo(QString sHost, QString sIP, QString sAvailable);

    QString hostname() const { return sHostname; }
    QString ip() const { return sIp; }
    bool available() const { return bAvailable; }
    QString availableStr() const;

    void setHostname(QString s) { sHostname = s; }
    void setIp(QString s) { sIp = s; }
    void setAvailable(bool b) { bAvailable = b; }

    // Ascending hostnames, letter case ignored; equal-but-for-case names give
    // false both ways.
    static bool sortAscendingByHostname(SlaveInfo *s1, SlaveInfo *s2);

private:
    QString sHostname;
    QString sIp;
    bool bAvailable;
};

class CascadedSettingsDlg : public QDialog
{
    Q_OBJECT

public:
    CascadedSettingsDlg(IOManager *iom, QWidget *parent, BackendVersions *beVers);
    virtual ~CascadedSettingsDlg();

    void addSelectedSlaves();
    void removeDeselectedSlaves();

public slots:
    int update_and_exec();
    void onDoOperations();

private slots:
    void on_checkBox_scanLan_stateChanged(int state);
    void update_listAvailableSlaves();
    void updateConnectedSlaveAvailability();
    void on_pushButton_ok_clicked();
    void on_pushButton_cancel_clicked();
    void on_pushButton_select_clicked();
    void on_pushButton_deselect_clicked();
    void on_pushButton_update_clicked();
    void on_pushButton_addSlave_clicked();
    void on_lineEdit_addSlave_editingFinished();
    void on_tableWidget_available_cellClicked(int iRow, int);
    void on_tableWidget_selected_cellClicked(int, int);
    void on_checkBox_wol_stateChanged(int);
    void reject() override;

private:
    friend class DialogAccess; // white-box access for the tests and benchmarks (tests/support)

    // Opening sequence and state
    bool is_config_locked();
    bool isCascadeAvailable();
    void enableDialog(bool enable);
    void setupAccessibility();
    QString scanDescription(const QString &ip) const;

    // Tables
    void setup_tableWidget_available();
    void setup_tableWidget_selected();
    void update_tableWidget_available();
    void update_tableWidget_selected();

    // Connected slaves
    void update_listPrimarySelectedSlaves();
    bool isInListprimarySelectedSlaves(QString sIp);

    // Select and deselect
    bool isSelectable(int row) const;
    void activateSelectButton();
    void activateDeselectButton();

    // Adding a slave by hand
    bool isIpAddress(QString sIp);
    bool isLastPartOfIpAllowed(QString sIp);
    bool isValidIpOrHostname(QString sIp);
    bool isIpInListAvailableSlaves(QString sIp);
    bool isAvailableAsSlave(QString sIp);
    void warn(const QString &text);

    // Options
    void update_lan_scan();
    void update_checkBox_wol();

    Ui::CascadedSettingsDlgClass ui;
    IOManager *iom;
    BackendVersions *beVers;
    QWidget *m_parent;
    QList<SlaveInfo *> list_availableSlaves;
    QList<SlaveInfo *> list_primarySelectedSlaves;
    bool bSomethingChanged;
    bool bUserAction;
    bool m_scan_LAN;
    bool m_old_scan_LAN;
    bool m_is_config_locked;
    QTimer timerUpdateAvailableSlaves;
    QTimer timerConntectedSlavesAvailable;
    int m_iLastSelection_tableWidget_available;
    QIcon m_icon_lock;
    // The description of each controller of the last scan (hostname, model,
    // version), by IP address, in scan order; shown in the rows' tool tips.
    QVector<QPair<QString, QString>> m_scanDescriptions;
};
