// SPDX-License-Identifier: MIT
#include "endlessprogressdlg.h"

#include "IOManager.h"
#include "cascadecommands.h"
#include "errorreport.h"

using namespace CascadeCommands;

namespace {
const int PollIntervalMs = 500;
}

EndlessProgressDlg::EndlessProgressDlg(QWidget *p, IOManager *iomgr) : QDialog(p), iom(nullptr)
{
    ui.setupUi(this);
    iom = iomgr;
    connect(&timer, &QTimer::timeout, this, &EndlessProgressDlg::onTimer);
}

EndlessProgressDlg::~EndlessProgressDlg()
{
    timer.stop();
}

int EndlessProgressDlg::update_and_exec()
{
    char result[AnswerSize] = {0};
    const int rc = iom ? iom->send_command(result, CmdScanSlaves) : -1;
    result[AnswerSize - 1] = '\0';
    if (commandSucceeded(rc, result)) {
        timer.start(PollIntervalMs);
    } else {
        // Without a started scan there is nothing to wait for: the dialog
        // stays until the user closes it.
        sendErrorReport(iom, QStringLiteral("Error: Unable to start scan for Controller as slaves"));
    }
    return exec();
}

void EndlessProgressDlg::onTimer()
{
    int num_slaves = -1;
    if (iom->get_parameter_int(&num_slaves, NumberOfScannedSlaves) != 0) {
        sendErrorReport(iom, QStringLiteral("Error: Unable to get number of slaves"));
        return;
    }
    // A negative count means the scan is still running.
    if (num_slaves >= 0)
        done(1);
}
