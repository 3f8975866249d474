#include "slavetable.h"

#include <QFocusEvent>
#include <QKeyEvent>

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
