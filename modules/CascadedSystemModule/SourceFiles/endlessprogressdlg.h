// SPDX-License-Identifier: MIT
// Small modal dialog that starts a LAN scan on the controller and waits,
// with a busy progress bar, until the controller reports the scan's result.
#pragma once

#include <QDialog>
#include <QTimer>

#include "ui_endlessprogressdlg.h"

class IOManager;

class EndlessProgressDlg : public QDialog
{
    Q_OBJECT

public:
    EndlessProgressDlg(QWidget *p, IOManager *iomgr);
    ~EndlessProgressDlg();

signals:
    void doOperations();

public slots:
    // Starts the scan and runs the dialog modally: 1 when the scan finished,
    // 0 when the user closed the dialog.
    int update_and_exec();

private slots:
    void onTimer();

private:
    Ui::EndlessProgressDlgClass ui;
    IOManager *iom;
    QTimer timer;
};
