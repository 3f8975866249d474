// The two tables of the settings dialog.
#pragma once

#include <QTableWidget>

// A table that tells when the user moved its current row with the keyboard
// (arrow keys, Home/End, Page Up/Down, typing a name, or a Tab into the table
// that makes a row current), so that the dialog can treat that row as if it
// had been clicked. Programmatic changes and mouse presses are not reported:
// the dialog handles those itself.
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
