#pragma once

#include <QTableView>
#include <QVariant>

class Recordset;

// A grid bound to a recordset, with what the grid procedures need of it: the current row's
// column values, selection by record identity (bookmarks), the first visible row, whether a
// cell is being edited, deleting the current row. A key that would start a cell edit first
// asks BeforeColEdit, so that a Space can be taken for the transport and never land in a cell.
//
// Thread: UI thread only.
class DataGrid : public QTableView {
    Q_OBJECT
public:
    explicit DataGrid(QWidget* parent = nullptr);
    using QTableView::edit;

    void setRecordset(Recordset* recordset) { m_recordset = recordset; }
    Recordset* recordset() const { return m_recordset; }

    // The value of column col of the current row (Null without one).
    QVariant Columns(int col) const;
    bool EditActive() const { return state() == QAbstractItemView::EditingState; }

    // Selected rows, by their records' bookmarks.
    int SelBookmarksCount() const;
    void SelBookmarksClear();
    void SelBookmarksAdd(const QVariant& bookmark);
    // The current row's bookmark; setting it makes that record's row current.
    QVariant Bookmark() const;
    void setBookmark(const QVariant& bookmark);

    // Rows of the view: the current row's place from the top of the view (0 when above or
    // none), how many rows fit, and the first row shown.
    int Row() const;
    int VisibleRows() const;
    int FirstRow() const;
    void setFirstRow(int row);

signals:
    void BeforeColEdit(int ColIndex, int KeyAscii, bool& Cancel);
    void Click();
    void DblClick();
    void MouseUp(int Button);
    void KeyUp(int KeyCode, Qt::KeyboardModifiers Shift);

protected:
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    int rowOf(const QVariant& bookmark) const;
    Recordset* m_recordset = nullptr;
    bool m_doubleClicked = false;
};
