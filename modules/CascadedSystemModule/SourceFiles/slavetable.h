// SPDX-License-Identifier: MIT
// The two tables of the settings dialog: their set-up, how a controller's row
// looks in each of its states (colour, and what a screen reader reads for
// it), the rows' tool tips, and the report of rows moved by the keyboard.
#pragma once

#include <QBrush>
#include <QString>
#include <QTableWidget>

#include <functional>

namespace SlaveRows {

// Columns: hostname, IP address, and the hidden availability text.
const int ColName = 0;
const int ColIp = 1;
const int ColAvailable = 2;

const int RowHeightAvailable = 20;
const int RowHeightSelected = 28;

// A row's state. A grey row cannot be selected (not available, or already
// selected), a red one is a connected slave the controller cannot reach.
enum class RowState { Normal, NotAvailable, NotReachable };

// The look of a row in one state. Normal rows keep the table's defaults.
class RowLook
{
public:
    explicit RowLook(RowState state);
    // Gives the item of the column its foreground and, unless the column is
    // the hidden one, the text a screen reader reads instead of the cell
    // text (the colour alone would say nothing). Applying it before the item
    // is inserted spares the model a change notice per item.
    void apply(QTableWidgetItem *item, int column) const;

private:
    RowState m_state;
    QBrush m_brush;
    QString m_pattern;
};

// Three columns, the hidden availability, row selection, no editing, no Tab
// walk through the cells, every row rowHeight pixels high.
void setupTable(QTableWidget *table, int rowHeight);

// The text of a cell, empty when the cell has no item.
QString cellText(const QTableWidget *table, int row, int column);

// Puts new items with the three texts into row, in the look given.
void fillRow(QTableWidget *table, int row, const QString &hostname, const QString &ip, const QString &available,
             const RowLook &look);

// Gives the existing items of row the look of state.
void setRowState(QTableWidget *table, int row, RowState state);

// Each cell's tool tip: the row's full hostname, which the Name column may
// cut, and on a second line the rest of what description(ip) returns (the
// scan's description without the hostname). Worked out when the mouse rests
// on a cell instead of being stored in every item, which would nearly double
// the cost of rebuilding a long available list.
void installRowToolTips(QTableWidget *table, std::function<QString(const QString &ip)> description);

} // namespace SlaveRows

// A table that tells when the user moved its current row with the keyboard
// (arrow keys, Ctrl+Home/End, Page Up/Down, typing a name, or a Tab into the
// table that makes a row current), so that the dialog can treat that row as
// if it had been clicked. Programmatic changes and mouse presses are not
// reported: the dialog handles those itself.
class SlaveTable : public QTableWidget
{
    Q_OBJECT

public:
    using QTableWidget::QTableWidget;

signals:
    void currentRowChangedByKey(int row, int column);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void focusInEvent(QFocusEvent *event) override;

private:
    void reportMoveFrom(int rowBefore);
};
