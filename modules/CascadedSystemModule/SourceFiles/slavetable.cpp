// SPDX-License-Identifier: MIT
#include "slavetable.h"

#include <QCoreApplication>
#include <QFocusEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QToolTip>

namespace SlaveRows {

namespace {

const int NameColumnWidth = 140;

// The tool tips of one table, from an event filter on its viewport.
class RowToolTips : public QObject
{
public:
    RowToolTips(QTableWidget *table, std::function<QString(const QString &ip)> description)
        : QObject(table), m_table(table), m_description(std::move(description))
    {
        table->viewport()->installEventFilter(this);
    }

    QString toolTip(int row) const
    {
        const QString hostname = cellText(m_table, row, ColName);
        const QString details = m_description(cellText(m_table, row, ColIp)).section(QLatin1Char(' '), 1);
        if (hostname.isEmpty() || details.isEmpty())
            return hostname.isEmpty() ? details : hostname;
        return hostname + QLatin1Char('\n') + details;
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() != QEvent::ToolTip)
            return false;
        auto *help = static_cast<QHelpEvent *>(event);
        const QModelIndex index = m_table->indexAt(help->pos());
        const QString tip = index.isValid() ? toolTip(index.row()) : QString();
        if (tip.isEmpty()) {
            QToolTip::hideText();
            event->ignore();
        } else {
            QToolTip::showText(help->globalPos(), tip, m_table->viewport(), m_table->visualRect(index));
        }
        return true;
    }

private:
    QTableWidget *m_table;
    std::function<QString(const QString &ip)> m_description;
};

} // namespace

RowLook::RowLook(RowState state) : m_state(state)
{
    if (state == RowState::NotReachable) {
        m_brush = QBrush(Qt::red);
        m_pattern = QCoreApplication::translate("CascadedSettingsDlg", "%1 (not reachable)");
    } else if (state == RowState::NotAvailable) {
        m_brush = QBrush(Qt::gray);
        m_pattern = QCoreApplication::translate("CascadedSettingsDlg", "%1 (not available)");
    }
}

void RowLook::apply(QTableWidgetItem *item, int column) const
{
    if (m_state == RowState::Normal)
        return;
    item->setForeground(m_brush);
    if (column != ColAvailable)
        item->setData(Qt::AccessibleTextRole, m_pattern.arg(item->text()));
}

void setupTable(QTableWidget *table, int rowHeight)
{
    table->setColumnCount(3);
    table->setRowCount(0);
    table->setHorizontalHeaderLabels(QStringList() << QStringLiteral("Name") << QStringLiteral("IP")
                                                   << QStringLiteral("Available"));
    table->verticalHeader()->hide();
    // Let rows be as low as the lowest row height in use; the header's own
    // minimum follows the font and would otherwise win.
    table->verticalHeader()->setMinimumSectionSize(RowHeightAvailable);
    // Every row gets the table's height as it is created, with no per-row resize.
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    QHeaderView *header = table->horizontalHeader();
    header->setSectionHidden(ColAvailable, true);
    header->setSectionsClickable(false);
    header->setStretchLastSection(true);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab and Shift+Tab leave the table for the next widget of the dialog
    // instead of walking its cells; the arrow keys still move the current row.
    table->setTabKeyNavigation(false);
    table->setColumnWidth(ColName, NameColumnWidth);
}

QString cellText(const QTableWidget *table, int row, int column)
{
    const QTableWidgetItem *item = table->item(row, column);
    return item ? item->text() : QString();
}

void fillRow(QTableWidget *table, int row, const QString &hostname, const QString &ip, const QString &available,
             const RowLook &look)
{
    const QString texts[] = {hostname, ip, available};
    for (int column = ColName; column <= ColAvailable; ++column) {
        auto *item = new QTableWidgetItem(texts[column]);
        look.apply(item, column);
        table->setItem(row, column, item);
    }
}

void setRowState(QTableWidget *table, int row, RowState state)
{
    const RowLook look(state);
    for (int column = 0; column < table->columnCount(); ++column) {
        if (QTableWidgetItem *item = table->item(row, column))
            look.apply(item, column);
    }
}

void installRowToolTips(QTableWidget *table, std::function<QString(const QString &ip)> description)
{
    new RowToolTips(table, std::move(description));
}

} // namespace SlaveRows

void SlaveTable::keyPressEvent(QKeyEvent *event)
{
    const int before = currentRow();
    QTableWidget::keyPressEvent(event);
    reportMoveFrom(before);
}

void SlaveTable::focusInEvent(QFocusEvent *event)
{
    const int before = currentRow();
    QTableWidget::focusInEvent(event);
    if (event->reason() != Qt::MouseFocusReason)
        reportMoveFrom(before);
}

void SlaveTable::reportMoveFrom(int rowBefore)
{
    const int row = currentRow();
    if (row >= 0 && row != rowBefore)
        emit currentRowChangedByKey(row, currentColumn());
}
