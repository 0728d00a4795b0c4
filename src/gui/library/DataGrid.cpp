#include "library/DataGrid.h"

#include "app/KeyCodes.h"
#include "library/Recordset.h"

#include <QHeaderView>
#include <QItemSelectionModel>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QScrollBar>

DataGrid::DataGrid(QWidget* parent) : QTableView(parent) {
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed |
                    QAbstractItemView::AnyKeyPressed | QAbstractItemView::SelectedClicked);
    setWordWrap(true);
}

QVariant DataGrid::Columns(int col) const {
    const QModelIndex current = currentIndex();
    if (!model() || !current.isValid())
        return {};
    return model()->index(current.row(), col).data(Qt::EditRole);
}

bool DataGrid::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    if (trigger == QAbstractItemView::AnyKeyPressed && event && event->type() == QEvent::KeyPress) {
        const auto* key = static_cast<QKeyEvent*>(event);
        const QString text = key->text();
        if (!text.isEmpty()) {
            bool cancel = false;
            emit BeforeColEdit(index.column(), text.at(0).unicode(), cancel);
            if (cancel)
                return false;
        }
    }
    return QTableView::edit(index, trigger, event);
}

void DataGrid::mouseReleaseEvent(QMouseEvent* event) {
    QTableView::mouseReleaseEvent(event);
    // The release that ends a double-click is no second click.
    if (event->button() == Qt::LeftButton && !m_doubleClicked)
        emit Click();
    m_doubleClicked = false;
    emit MouseUp(event->button() == Qt::RightButton    ? 2
                 : event->button() == Qt::MiddleButton ? 4
                                                       : 1);
}

void DataGrid::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    m_doubleClicked = true;
    emit DblClick();
}

void DataGrid::keyReleaseEvent(QKeyEvent* event) {
    QTableView::keyReleaseEvent(event);
    emit KeyUp(vbKeyCode(event->key(), event->modifiers()), event->modifiers());
}

int DataGrid::rowOf(const QVariant& bookmark) const {
    if (!m_recordset || !bookmark.isValid())
        return -1;
    auto probe = m_recordset->Clone();
    probe->setBookmark(bookmark);
    return probe->AbsolutePosition();
}

int DataGrid::SelBookmarksCount() const {
    return selectionModel() ? static_cast<int>(selectionModel()->selectedRows().size()) : 0;
}

void DataGrid::SelBookmarksClear() {
    if (selectionModel())
        selectionModel()->clearSelection();
}

void DataGrid::SelBookmarksAdd(const QVariant& bookmark) {
    const int row = rowOf(bookmark);
    if (row >= 0 && selectionModel() && model())
        selectionModel()->select(model()->index(row, 0),
                                 QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

QVariant DataGrid::Bookmark() const {
    if (!m_recordset || !currentIndex().isValid())
        return {};
    auto probe = m_recordset->Clone();
    probe->setAbsolutePosition(currentIndex().row());
    return probe->Bookmark();
}

void DataGrid::setBookmark(const QVariant& bookmark) {
    const int row = rowOf(bookmark);
    if (row < 0 || !model() || !selectionModel())
        return;
    const int col = currentIndex().isValid() ? currentIndex().column() : 0;
    // Keep the selection made by SelBookmarksAdd: only the current row moves.
    selectionModel()->setCurrentIndex(model()->index(row, col), QItemSelectionModel::NoUpdate);
}

int DataGrid::Row() const {
    const QModelIndex current = currentIndex();
    if (!current.isValid())
        return 0;
    return std::max(0, current.row() - FirstRow());
}

int DataGrid::VisibleRows() const {
    const int h = verticalHeader()->defaultSectionSize();
    return h > 0 ? std::max(1, viewport()->height() / h) : 1;
}

int DataGrid::FirstRow() const {
    const int row = rowAt(0);
    return row < 0 ? 0 : row;
}

void DataGrid::setFirstRow(int row) {
    if (model() && row >= 0 && row < model()->rowCount())
        scrollTo(model()->index(row, 0), QAbstractItemView::PositionAtTop);
}
