#include "library/RecordsetModel.h"

#include "failsafe/modFailSafe.h"
#include "library/Recordset.h"

#include <QItemSelectionModel>

RecordsetModel::RecordsetModel(Recordset* recordset, QList<Column> columns, QObject* parent)
    : QAbstractTableModel(parent), m_recordset(recordset), m_columns(std::move(columns)) {}

void RecordsetModel::attach(QItemSelectionModel* selection) {
    connect(selection, &QItemSelectionModel::currentRowChanged, this,
            fs::trapped("RecordsetModel", "Sub RowColChange",
                        [this](const QModelIndex& current, const QModelIndex&) {
                            if (current.row() != m_pendingRow)
                                commitPendingRow();
                            if (m_recordset && current.isValid() &&
                                current.row() < m_recordset->RecordCount() &&
                                current.row() != m_recordset->AbsolutePosition())
                                m_recordset->setAbsolutePosition(current.row());
                        }));
}

void RecordsetModel::reload() {
    beginResetModel();
    m_pending.clear();
    m_pendingRow = -1;
    endResetModel();
}

int RecordsetModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() || !m_recordset ? 0 : m_recordset->RecordCount();
}

int RecordsetModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_columns.size());
}

QVariant RecordsetModel::valueAt(int row, const QString& field) const {
    return m_recordset->valueAt(row, field);
}

QVariant RecordsetModel::data(const QModelIndex& index, int role) const {
    if (!m_recordset || !index.isValid() || (role != Qt::DisplayRole && role != Qt::EditRole))
        return {};
    const QString& field = m_columns[index.column()].field;
    if (index.row() == m_pendingRow && m_pending.contains(field))
        return m_pending.value(field);
    return valueAt(index.row(), field);
}

bool RecordsetModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || role != Qt::EditRole || !m_columns[index.column()].editable)
        return false;
    if (m_pendingRow != index.row() && !commitPendingRow())
        return false;
    m_pendingRow = index.row();
    m_pending.insert(m_columns[index.column()].field, value);
    emit dataChanged(index, index, {role});
    return true;
}

bool RecordsetModel::commitPendingRow() {
    if (m_pending.isEmpty() || !m_recordset)
        return true;
    FS_PROC("RecordsetModel", "Function commitPendingRow");
    const Recordset::BoundOperation bound(m_recordset);
    const QVariant keep =
        m_recordset->isEOF() || m_recordset->isBOF() ? QVariant() : m_recordset->Bookmark();
    m_recordset->setAbsolutePosition(m_pendingRow);
    m_recordset->Edit();
    for (auto it = m_pending.cbegin(); it != m_pending.cend(); ++it)
        m_recordset->setField(it.key(), it.value());
    try {
        m_recordset->Update();
    } catch (...) {
        m_recordset->CancelUpdate();
        throw;
    }
    const int row = m_pendingRow;
    m_pending.clear();
    m_pendingRow = -1;
    if (keep.isValid())
        m_recordset->setBookmark(keep);
    emit dataChanged(index(row, 0), index(row, columnCount() - 1));
    return true;
}

QVariant RecordsetModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (role != Qt::DisplayRole)
        return {};
    if (orientation == Qt::Horizontal)
        return section < m_columns.size() ? m_columns[section].heading : QString();
    return {};
}

Qt::ItemFlags RecordsetModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && m_columns[index.column()].editable)
        f |= Qt::ItemIsEditable;
    return f;
}
