// SPDX-License-Identifier: MIT
#include "cascadedsettingsdlg.h"

#include <QCursor>
#include <QMessageBox>
#include <QSet>
#include <QTableWidgetItem>
#include <QTextDocumentFragment>

#include <algorithm>
#include <cstring>

#include "BackendVersions.h"
#include "IOManager.h"
#include "cascadecommands.h"
#include "endlessprogressdlg.h"
#include "errorreport.h"
#include "handprobe.h"
#include "qtcompat.h"
#include "slavetable.h"

using namespace CascadeCommands;
using namespace SlaveRows;

namespace {

void showSlave(QTableWidget *table, int row, const SlaveInfo *slave, const RowLook &look)
{
    fillRow(table, row, slave->hostname(), slave->ip(), slave->availableStr(), look);
}

void deleteAll(QList<SlaveInfo *> &list)
{
    while (!list.isEmpty())
        delete list.takeFirst();
    list.clear();
}

// Makes sure a text answer is terminated inside its buffer whatever the host
// wrote, so that it is never read past its end.
void terminate(char *answer) { answer[AnswerSize - 1] = '\0'; }

// Sends the slave command (add or remove, the address as its argument) under
// the slave time-out and reports sendFailure when it could not be sent,
// answerFailure when the controller did not answer exactly "korvane ok".
void sendSlaveCommand(IOManager *iom, const char *command, const QString &ip, const char *sendFailure,
                      const char *answerFailure)
{
    iom->set_timeout(SlaveTimeout[0], SlaveTimeout[1], SlaveTimeout[2]);
    char answer[AnswerSize] = {0};
    const int result = iom->send_command(answer, command, ip.toLatin1().constData());
    terminate(answer);
    if (result != 0)
        sendErrorReport(iom, QLatin1String(sendFailure));
    else if (!isExactly(answer, KorvaneOk))
        sendErrorReport(iom, QLatin1String(answerFailure));
}

} // namespace

// ---- SlaveInfo --------------------------------------------------------------

SlaveInfo::SlaveInfo(QString sHost, QString sIP, QString sAvailable)
    : sHostname(sHost), sIp(sIP), bAvailable(sAvailable != QLatin1String(No))
{
}

QString SlaveInfo::availableStr() const
{
    return bAvailable ? QString::fromLatin1(Yes) : QString::fromLatin1(No);
}

bool SlaveInfo::sortAscendingByHostname(SlaveInfo *s1, SlaveInfo *s2)
{
    return QString::compare(s1->sHostname, s2->sHostname, Qt::CaseInsensitive) < 0;
}

// ---- Construction -------------------------------------------------------------

CascadedSettingsDlg::CascadedSettingsDlg(IOManager *iom, QWidget *parent, BackendVersions *beVers)
    : QDialog(parent), iom(nullptr), beVers(nullptr), m_parent(nullptr), bSomethingChanged(false),
      bUserAction(false), m_scan_LAN(false), m_old_scan_LAN(false), m_is_config_locked(false),
      m_iLastSelection_tableWidget_available(0)
{
    ui.setupUi(this);

    m_parent = parent;
    this->beVers = beVers;
    this->iom = iom;
    m_iLastSelection_tableWidget_available = 0;

    m_icon_lock.addFile(QStringLiteral(":/lock.png"));

    connect(&timerUpdateAvailableSlaves, &QTimer::timeout, this,
            &CascadedSettingsDlg::update_listAvailableSlaves);
    connect(&timerConntectedSlavesAvailable, &QTimer::timeout, this,
            &CascadedSettingsDlg::updateConnectedSlaveAvailability);

    bSomethingChanged = false;
    bUserAction = false;
    m_scan_LAN = false;
    m_old_scan_LAN = false;
    m_is_config_locked = false;

    setup_tableWidget_available();
    setup_tableWidget_selected();
    setupAccessibility();
    const auto description = [this](const QString &ip) { return scanDescription(ip); };
    installRowToolTips(ui.tableWidget_available, description);
    installRowToolTips(ui.tableWidget_selected, description);

    // A keyboard user moves the current row instead of clicking it; the row
    // then counts as clicked, so that the buttons follow it.
    connect(ui.tableWidget_available, &SlaveTable::currentRowChangedByKey, this,
            [this](int row, int column) { on_tableWidget_available_cellClicked(row, column); });
    connect(ui.tableWidget_selected, &SlaveTable::currentRowChangedByKey, this,
            [this](int row, int column) { on_tableWidget_selected_cellClicked(row, column); });

    list_availableSlaves.clear();
    list_primarySelectedSlaves.clear();

    // Only ASCII letters, digits, '-' and '.' can be typed into the add field.
    ui.lineEdit_addSlave->setValidator(
        qtcompat::newRegExpValidator(QStringLiteral("([A-Z]|[a-z]|-|[.]|[0-9])*"), this));
}

CascadedSettingsDlg::~CascadedSettingsDlg()
{
    deleteAll(list_availableSlaves);
    deleteAll(list_primarySelectedSlaves);
}

// Names and descriptions for screen readers. The visible texts carry
// mnemonics and arrows, and the tables and the add field have none at all.
void CascadedSettingsDlg::setupAccessibility()
{
    const struct
    {
        QWidget *widget;
        QString name;
        QString description;
    } texts[] = {
        {ui.checkBox_scanLan, tr("Scan LAN"),
         tr("Lets the controller scan the LAN for controllers that can become slaves. A change is written to "
            "the controller at once and starts a new scan.")},
        {ui.tableWidget_selected, tr("Selected slaves"),
         tr("Controllers selected as slaves of the Cascaded System. A connected slave that the controller "
            "cannot reach is marked as not reachable.")},
        {ui.pushButton_select, tr("Select"),
         tr("Moves the current controller of the available controllers to the selected slaves.")},
        {ui.pushButton_deselect, tr("Deselect"),
         tr("Removes the current controller from the selected slaves.")},
        {ui.tableWidget_available, tr("Available controllers"),
         tr("Controllers found by the LAN scan or added by hand. A controller that cannot become a slave now is "
            "marked as not available.")},
        {ui.pushButton_update, tr("Update"),
         tr("Scans the LAN again and refreshes the available controllers.")},
        {ui.lineEdit_addSlave, tr("Slave hostname or IP address"),
         tr("Hostname or IPv4 address of a controller to add to the available controllers.")},
        {ui.pushButton_addSlave, tr("Add"),
         tr("Checks the controller named in the field and adds it to the available controllers.")},
        {ui.checkBox_wol, tr("Wake on LAN redirected to connected slaves"),
         tr("Passes wake on LAN on to the connected slaves. Applied with OK.")},
        {ui.pushButton_ok, tr("OK"), tr("Applies the changes to the controller and closes the dialog.")},
        {ui.pushButton_cancel, tr("Cancel"), tr("Discards the changes and closes the dialog.")},
    };
    for (const auto &t : texts) {
        t.widget->setAccessibleName(t.name);
        t.widget->setAccessibleDescription(t.description);
    }
}

QString CascadedSettingsDlg::scanDescription(const QString &ip) const
{
    for (const auto &entry : m_scanDescriptions)
        if (entry.first == ip)
            return entry.second;
    return QString();
}

// ---- Opening sequence -----------------------------------------------------------

int CascadedSettingsDlg::update_and_exec()
{
    m_is_config_locked = is_config_locked();

    if (isCascadeAvailable()) {
        enableDialog(true);
        ui.label_error->hide();
        setAccessibleDescription(QString());
        bUserAction = false;
        update_lan_scan();
        on_pushButton_update_clicked();
        setCursor(Qt::WaitCursor); // the next available-list refresh restores the arrow
        if (!timerUpdateAvailableSlaves.isActive())
            timerUpdateAvailableSlaves.start(100);
        update_listPrimarySelectedSlaves();
        update_checkBox_wol();
        bSomethingChanged = false;
        bUserAction = true;
        timerConntectedSlavesAvailable.start(1000);
        return exec();
    }

    enableDialog(false);
    ui.label_error->setText(tr("<b><font color=red>Cascaded System is not available!</font></b>"));
    ui.label_error->show();
    // A screen reader reads the description with the dialog, so a user who
    // lands on Cancel learns why nothing else can be used.
    setAccessibleDescription(QTextDocumentFragment::fromHtml(ui.label_error->text()).toPlainText());
    return exec();
}

bool CascadedSettingsDlg::is_config_locked()
{
    if (!iom || !beVers || beVers->protocol() < VersionInfo(1, 9, 0))
        return false;
    char answer[AnswerSize] = {0};
    if (iom->get_parameter(answer, ConfigIsChangeable) != 0)
        return false;
    terminate(answer);
    return isNo(answer);
}

bool CascadedSettingsDlg::isCascadeAvailable()
{
    if (!iom || !beVers)
        return false; // without the host's collaborators there is nothing to ask
    const VersionInfo &prot = beVers->protocol();
    if (prot < VersionInfo(1, 7, 0)) {
        sendErrorReport(iom, QStringLiteral("Error: Version of the Controller (pv v%1.%2) is too old ")
                                 .arg(prot.major())
                                 .arg(prot.minor()));
        return false;
    }
    char answer[AnswerSize] = {0};
    if (iom->get_parameter(answer, CascadeAvailable) != 0) {
        sendErrorReport(iom, QStringLiteral("Error: Unable to get availability of the Cascaded System"));
        return false;
    }
    terminate(answer);
    return isYes(answer);
}

void CascadedSettingsDlg::enableDialog(bool enable)
{
    const bool changeable = enable && !m_is_config_locked;

    ui.checkBox_scanLan->setEnabled(enable);
    ui.label_selected->setEnabled(enable);
    ui.label_available->setEnabled(enable);
    ui.tableWidget_selected->setEnabled(enable);
    ui.tableWidget_available->setEnabled(enable);

    ui.pushButton_select->setEnabled(changeable);
    ui.pushButton_deselect->setEnabled(changeable);
    ui.checkBox_wol->setEnabled(changeable);

    ui.pushButton_update->setEnabled(enable);
    ui.label_addSlave->setEnabled(enable);
    ui.lineEdit_addSlave->setEnabled(enable);
    ui.pushButton_addSlave->setEnabled(enable);

    if (m_is_config_locked)
        setWindowIcon(m_icon_lock);
    else
        setWindowIcon(m_parent ? m_parent->windowIcon() : QIcon());

    ui.pushButton_ok->setEnabled(changeable);
}

void CascadedSettingsDlg::on_pushButton_cancel_clicked()
{
    if (timerUpdateAvailableSlaves.isActive())
        timerUpdateAvailableSlaves.stop();
    if (timerConntectedSlavesAvailable.isActive())
        timerConntectedSlavesAvailable.stop();

    if (m_old_scan_LAN != m_scan_LAN && iom) {
        if (m_old_scan_LAN) {
            if (iom->set_parameter(SetScanSlavesLanYes) != 0)
                sendErrorReport(iom, QStringLiteral("Error: Unable to enable scan LAN for the Cascaded System"));
        } else {
            if (iom->set_parameter(SetScanSlavesLanNo) != 0)
                sendErrorReport(iom, QStringLiteral("Error: Unable to disable scan LAN for the Cascaded System"));
        }
    }
    done(QDialog::Rejected);
}

// Escape and the title bar's close button end here too.
void CascadedSettingsDlg::reject()
{
    on_pushButton_cancel_clicked();
}

void CascadedSettingsDlg::on_pushButton_update_clicked()
{
    EndlessProgressDlg progress(m_parent, iom);
    progress.update_and_exec();
    timerUpdateAvailableSlaves.start(100);
}

// ---- Tables -----------------------------------------------------------------------

void CascadedSettingsDlg::setup_tableWidget_available()
{
    setupTable(ui.tableWidget_available, RowHeightAvailable);
}

void CascadedSettingsDlg::setup_tableWidget_selected()
{
    setupTable(ui.tableWidget_selected, RowHeightSelected);
}

void CascadedSettingsDlg::update_tableWidget_available()
{
    QTableWidget *table = ui.tableWidget_available;
    const RowLook normal(RowState::Normal);
    const RowLook grey(RowState::NotAvailable);
    table->setUpdatesEnabled(false);
    table->clearContents();
    table->setRowCount(list_availableSlaves.size());
    for (int i = 0; i < list_availableSlaves.size(); ++i) {
        const SlaveInfo *slave = list_availableSlaves.at(i);
        showSlave(table, i, slave, slave->available() ? normal : grey);
    }
    table->setUpdatesEnabled(true);
}

void CascadedSettingsDlg::update_tableWidget_selected()
{
    QTableWidget *table = ui.tableWidget_selected;
    table->clearContents();
    table->setRowCount(list_primarySelectedSlaves.size());
    const RowLook normal(RowState::Normal);
    for (int row = 0; row < list_primarySelectedSlaves.size(); ++row)
        showSlave(table, row, list_primarySelectedSlaves.at(row), normal);
}

// ---- Connected slaves ------------------------------------------------------------------

void CascadedSettingsDlg::update_listPrimarySelectedSlaves()
{
    int count = 0;
    if (iom->get_parameter_int(&count, NumberOfConnectedSlaves) != 0) {
        sendErrorReport(iom, QStringLiteral("Error: Unable to get the number of the connected slaves"));
        count = 0;
    }

    deleteAll(list_primarySelectedSlaves);

    for (int i = 1; i <= count; ++i) {
        char ip[AnswerSize] = {0};
        if (iom->get_parameter(ip, ConnectedSlave, i) != 0) {
            sendErrorReport(iom,
                            QStringLiteral("Error: Unable to get the IP address of the connected Cascaded System slave"));
            continue;
        }
        terminate(ip);
        char host[AnswerSize] = {0};
        QString hostname;
        if (iom->get_parameter(host, HostnameSlave, ip) != 0) {
            hostname = QStringLiteral("unknown");
        } else {
            terminate(host);
            hostname = QString::fromUtf8(host);
        }
        list_primarySelectedSlaves.append(new SlaveInfo(hostname, QString::fromUtf8(ip), QString::fromLatin1(Yes)));
    }

    update_tableWidget_selected();
    updateConnectedSlaveAvailability();
}

bool CascadedSettingsDlg::isInListprimarySelectedSlaves(QString sIp)
{
    for (const SlaveInfo *slave : qAsConst(list_primarySelectedSlaves)) {
        if (slave->ip() == sIp)
            return true;
    }
    return false;
}

// Rows of connected slaves come first in the selected table (select appends,
// deselect only removes), so the poll stops at the first row that is not a
// connected slave. A row once marked unavailable stays red until the table is
// rebuilt at the next opening.
void CascadedSettingsDlg::updateConnectedSlaveAvailability()
{
    QTableWidget *table = ui.tableWidget_selected;
    for (int row = 0; row < table->rowCount(); ++row) {
        const QString ip = cellText(table, row, ColIp);
        if (!isInListprimarySelectedSlaves(ip))
            break;
        char answer[AnswerSize] = {0};
        const int result = iom->get_parameter(answer, ConnectedSlaveAvailable, ip.toLatin1().constData());
        terminate(answer);
        if (result == 0 && isYes(answer))
            continue;
        if (QTableWidgetItem *item = table->item(row, ColAvailable))
            item->setText(QString::fromLatin1(No));
        else
            table->setItem(row, ColAvailable, new QTableWidgetItem(QString::fromLatin1(No)));
        setRowState(table, row, RowState::NotReachable);
    }
}

// ---- Available slaves --------------------------------------------------------------------

void CascadedSettingsDlg::update_listAvailableSlaves()
{
    int count = 0;
    if (iom->get_parameter_int(&count, NumberOfScannedSlaves) != 0) {
        sendErrorReport(iom, QStringLiteral("Error: Unable to get the number of the scanned slaves"));
        count = 0;
    }

    setCursor(Qt::ArrowCursor);

    if (count < 0)
        return; // the scan still runs: try again on the next tick

    timerUpdateAvailableSlaves.stop();
    deleteAll(list_availableSlaves);
    // Nothing is reserved by the count: it comes from the controller and may
    // be absurd. The lists grow by the entries actually read.
    m_scanDescriptions.clear();

    // Controllers already in the selected table are greyed.
    QSet<QString> selectedIps;
    const QTableWidget *selected = ui.tableWidget_selected;
    for (int row = 0; row < selected->rowCount(); ++row)
        selectedIps.insert(cellText(selected, row, ColIp));

    for (int i = 1; i <= count; ++i) {
        // The results of these reads are not judged; each buffer is cleared
        // first so that a failed read yields an empty text, never stale bytes.
        char ip[AnswerSize] = {0};
        char description[AnswerSize] = {0};
        char available[AnswerSize] = {0};
        iom->get_parameter(ip, ScannedSlave, i);
        terminate(ip);
        iom->get_parameter(description, ScannedSlaveController, ip);
        terminate(description);
        iom->get_parameter(available, ScannedSlaveAvailable, ip);
        terminate(available);

        const QString text = QString::fromUtf8(description);
        const QString hostname = text.section(QLatin1Char(' '), 0, 0);
        auto *slave = new SlaveInfo(hostname, QString::fromUtf8(ip), QString::fromUtf8(available));
        m_scanDescriptions.append(qMakePair(slave->ip(), text));
        if (selectedIps.contains(slave->ip()))
            slave->setAvailable(false);
        list_availableSlaves.append(slave);
    }

    std::sort(list_availableSlaves.begin(), list_availableSlaves.end(), SlaveInfo::sortAscendingByHostname);
    update_tableWidget_available();
    activateSelectButton();
    activateDeselectButton();
}

// ---- Select and deselect ---------------------------------------------------------------

// A row of the available table can be selected when its hidden Available
// text is "yes" and its address stands in no row of the selected table.
bool CascadedSettingsDlg::isSelectable(int row) const
{
    const QTableWidget *available = ui.tableWidget_available;
    if (row < 0 || cellText(available, row, ColAvailable) != QLatin1String(Yes))
        return false;
    const QString ip = cellText(available, row, ColIp);
    const QTableWidget *selected = ui.tableWidget_selected;
    for (int r = 0; r < selected->rowCount(); ++r) {
        if (cellText(selected, r, ColIp) == ip)
            return false;
    }
    return true;
}

void CascadedSettingsDlg::activateSelectButton()
{
    if (!isSelectable(ui.tableWidget_available->currentRow()))
        ui.pushButton_select->setEnabled(false);
    else if (!m_is_config_locked)
        ui.pushButton_select->setEnabled(true);
}

void CascadedSettingsDlg::activateDeselectButton()
{
    if (ui.tableWidget_selected->currentRow() < 0)
        ui.pushButton_deselect->setEnabled(false);
    else if (!m_is_config_locked)
        ui.pushButton_deselect->setEnabled(true);
}

void CascadedSettingsDlg::on_tableWidget_available_cellClicked(int iRow, int)
{
    m_iLastSelection_tableWidget_available = iRow;
    activateSelectButton();
    activateDeselectButton();
}

void CascadedSettingsDlg::on_tableWidget_selected_cellClicked(int, int)
{
    activateSelectButton();
    activateDeselectButton();
}

void CascadedSettingsDlg::on_pushButton_select_clicked()
{
    QTableWidget *available = ui.tableWidget_available;
    const int iRow = available->currentRow();
    // The available table shows list_availableSlaves row for row. The rule is
    // checked again here: a controller already selected is never added twice,
    // whatever row became current since the button was enabled.
    if (iRow < 0 || iRow >= list_availableSlaves.size() || !isSelectable(iRow))
        return;

    QTableWidget *selected = ui.tableWidget_selected;
    const int n = selected->rowCount();
    selected->setRowCount(n + 1);
    showSlave(selected, n, list_availableSlaves.at(iRow), RowLook(RowState::Normal));

    setRowState(available, iRow, RowState::NotAvailable);
    available->setCurrentCell(-1, 0);

    activateSelectButton();
    activateDeselectButton();
    bSomethingChanged = true;
}

void CascadedSettingsDlg::on_pushButton_deselect_clicked()
{
    QTableWidget *selected = ui.tableWidget_selected;
    const int row = selected->currentRow();
    if (row < 0 || !selected->item(row, ColIp))
        return;
    const QString host = cellText(selected, row, ColName);
    const QString ip = cellText(selected, row, ColIp);
    const QString availableText = cellText(selected, row, ColAvailable);

    selected->removeRow(row);

    auto found = std::find_if(list_availableSlaves.begin(), list_availableSlaves.end(),
                              [&ip](const SlaveInfo *s) { return s->ip() == ip; });
    if (found != list_availableSlaves.end())
        (*found)->setAvailable(true);
    else
        list_availableSlaves.append(new SlaveInfo(host, ip, availableText));

    update_tableWidget_available();
    selected->setCurrentCell(-1, 0);

    activateSelectButton();
    activateDeselectButton();
    bSomethingChanged = true;
}

// ---- Adding a slave by hand ------------------------------------------------------------

bool CascadedSettingsDlg::isIpAddress(QString sIp)
{
    QString text = sIp.toLower().simplified();
    if (text.count(QLatin1Char('.')) != 3)
        return false;
    text.remove(QLatin1Char('.'));
    qtcompat::removeRegExp(text, QStringLiteral("[0-9]"));
    return text.isEmpty();
}

bool CascadedSettingsDlg::isLastPartOfIpAllowed(QString sIp)
{
    bool ok = false;
    const int last = sIp.section(QLatin1Char('.'), 3, 3).toInt(&ok, 10);
    return ok && last >= 1 && last <= 254;
}

bool CascadedSettingsDlg::isValidIpOrHostname(QString sIp)
{
    if (isIpAddress(sIp) && !isLastPartOfIpAllowed(sIp))
        return false;
    return HandProbe::answersAsController(sIp);
}

bool CascadedSettingsDlg::isAvailableAsSlave(QString sIp)
{
    return HandProbe::qualifiesAsSlave(sIp);
}

bool CascadedSettingsDlg::isIpInListAvailableSlaves(QString sIp)
{
    const QString key = isIpAddress(sIp) ? sIp : HandProbe::addressOf(sIp);
    if (key.isEmpty())
        return false;
    for (const SlaveInfo *slave : qAsConst(list_availableSlaves)) {
        if (slave->ip() == key)
            return true;
    }
    return false;
}

void CascadedSettingsDlg::warn(const QString &text)
{
    QMessageBox::warning(this, QStringLiteral("VESTRAL"), text, QMessageBox::Ok, QMessageBox::NoButton);
}

void CascadedSettingsDlg::on_pushButton_addSlave_clicked()
{
    setCursor(Qt::WaitCursor);
    const QString sIp = ui.lineEdit_addSlave->text();
    if (!isValidIpOrHostname(sIp)) {
        setCursor(Qt::ArrowCursor);
        warn(tr("IP address or hostname is not valid"));
        return;
    }
    setCursor(Qt::ArrowCursor);

    if (isIpInListAvailableSlaves(sIp)) {
        warn(tr("IP address is already as a Cascaded System slave available"));
        return;
    }
    if (!isAvailableAsSlave(sIp)) {
        warn(tr("IP address is not available as a Cascaded System slave"));
        return;
    }

    char result[AnswerSize] = {0};
    if (iom->send_command(result, CmdAddScannedSlave, sIp.toLatin1().constData()) != 0)
        sendErrorReport(iom, QStringLiteral("Error: Unable to add Cascaded System slave %1").arg(sIp));

    bSomethingChanged = true;
    timerUpdateAvailableSlaves.start(100);
}

void CascadedSettingsDlg::on_lineEdit_addSlave_editingFinished()
{
    // Adding happens only through the add button.
}

// ---- Applying changes ------------------------------------------------------------------

void CascadedSettingsDlg::on_pushButton_ok_clicked()
{
    if (timerUpdateAvailableSlaves.isActive())
        timerUpdateAvailableSlaves.stop();
    if (timerConntectedSlavesAvailable.isActive())
        timerConntectedSlavesAvailable.stop();

    if (bSomethingChanged) {
        setCursor(Qt::WaitCursor);
        removeDeselectedSlaves();
        addSelectedSlaves();

        if (ui.checkBox_wol->checkState() == Qt::Checked) {
            if (iom->set_parameter(SetWolSlavesYes) != 0)
                sendErrorReport(iom, QStringLiteral("Error: Unable set WOL to Cascaded System slaves"));
        } else {
            if (iom->set_parameter(SetWolSlavesNo) != 0)
                sendErrorReport(iom, QStringLiteral("Error: Unable reset WOL to Cascaded System slaves"));
        }

        iom->send_message("GlobalEvent", "Korvane", 2, "New Hardware");
        iom->send_message("Main_Window", "CascadedSystemModule", 1, "CascadedSettingsChanged");
        setCursor(Qt::ArrowCursor);
    }
    accept();
}

void CascadedSettingsDlg::removeDeselectedSlaves()
{
    const QTableWidget *selected = ui.tableWidget_selected;
    for (const SlaveInfo *slave : qAsConst(list_primarySelectedSlaves)) {
        bool stays = false;
        for (int row = 0; row < selected->rowCount() && !stays; ++row)
            stays = cellText(selected, row, ColIp) == slave->ip();
        if (stays)
            continue;
        sendSlaveCommand(iom, CmdSubSlave, slave->ip(), "Error: Unable to disconnect Cascaded System slave",
                         "Error: Unable to disconnect the Cascaded System slave");
    }
}

void CascadedSettingsDlg::addSelectedSlaves()
{
    const QTableWidget *selected = ui.tableWidget_selected;
    for (int row = 0; row < selected->rowCount(); ++row) {
        const QString ip = cellText(selected, row, ColIp);
        if (isInListprimarySelectedSlaves(ip))
            continue; // already connected

        // Without the LAN scan the controller knows only the controllers it
        // was told about; register the new slave first.
        if (!ui.checkBox_scanLan->isChecked() && !isIpInListAvailableSlaves(ip)) {
            char ignored[AnswerSize] = {0};
            iom->send_command(ignored, CmdAddScannedSlave, ip.toLatin1().constData());
        }
        sendSlaveCommand(iom, CmdAddSlave, ip, "Error: Unable to connect Cascaded System slave",
                         "Error: Unable to connect the Cascaded System slave");
    }
}

void CascadedSettingsDlg::onDoOperations()
{
    addSelectedSlaves();
    removeDeselectedSlaves();
}

// ---- Options -------------------------------------------------------------------------------

void CascadedSettingsDlg::update_lan_scan()
{
    char answer[AnswerSize] = {0};
    if (iom->get_parameter(answer, ScanSlavesLan) != 0) {
        sendErrorReport(iom,
                        QStringLiteral("Error: Unable to get the status for scanning for Cascaded System slaves in the LAN"));
        std::strcpy(answer, No);
    }
    terminate(answer);

    const bool on = isYes(answer);
    ui.checkBox_scanLan->setChecked(on);
    m_scan_LAN = on;
    m_old_scan_LAN = on;

    if (m_is_config_locked)
        ui.checkBox_scanLan->setEnabled(false);
}

void CascadedSettingsDlg::on_checkBox_scanLan_stateChanged(int state)
{
    if (!bUserAction)
        return;
    if (state == Qt::Checked) {
        if (iom->set_parameter(SetScanSlavesLanYes) == 0) {
            m_scan_LAN = true;
            on_pushButton_update_clicked();
        } else {
            sendErrorReport(iom, QStringLiteral("Error: Unable to enable scan LAN for the Cascaded System"));
        }
    } else {
        if (iom->set_parameter(SetScanSlavesLanNo) == 0) {
            m_scan_LAN = false;
            on_pushButton_update_clicked();
        } else {
            sendErrorReport(iom, QStringLiteral("Error: Unable to disable scan LAN for the Cascaded System"));
        }
    }
}

void CascadedSettingsDlg::update_checkBox_wol()
{
    char answer[AnswerSize] = {0};
    if (iom->get_parameter(answer, WolSlaves) != 0) {
        sendErrorReport(iom, QStringLiteral("Error: Unable to get the WOL status of the Cascaded System slaves"));
        std::strcpy(answer, No);
        ui.checkBox_wol->setEnabled(false);
    } else if (!m_is_config_locked) {
        ui.checkBox_wol->setEnabled(true);
    }
    terminate(answer);

    const bool on = isYes(answer);
    ui.checkBox_wol->setChecked(on);

    // This model does not offer the option: it is hidden and always on.
    if (beVers && beVers->ctrlModel() == QLatin1String("HARROWGLINT")) {
        ui.checkBox_wol->hide();
        ui.line_wol->hide();
        if (!on)
            ui.checkBox_wol->setChecked(true);
    }
}

void CascadedSettingsDlg::on_checkBox_wol_stateChanged(int)
{
    bSomethingChanged = true;
}
