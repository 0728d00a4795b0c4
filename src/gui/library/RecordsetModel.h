#pragma once

#include <QAbstractTableModel>
#include <QHash>
#include <QList>
#include <QPointer>
#include <QString>

class QItemSelectionModel;
class Recordset;

// A grid over a recordset, as a bound grid works: each column shows one field, a cell edit is
// held with its row, and the row's edits reach the store together when the user leaves the
// row (or the grid commits it). Moving the grid's current row moves the recordset.
//
// Thread: UI thread only.
class RecordsetModel : public QAbstractTableModel {
    Q_OBJECT
public:
    struct Column {
        QString field;
        QString heading;
        bool editable = true;
    };

    RecordsetModel(Recordset* recordset, QList<Column> columns, QObject* parent = nullptr);

    // Follows the view's current row: leaving a row commits its edits.
    void attach(QItemSelectionModel* selection);
    // Writes the held edits of the row being edited, if any. Returns false if the store
    // refused them (the edits stay held).
    bool commitPendingRow();
    bool hasPendingEdits() const { return !m_pending.isEmpty(); }
    // Reads the recordset's rows anew (after it was requeried elsewhere).
    void reload();

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

private:
    QVariant valueAt(int row, const QString& field) const;
    QPointer<Recordset> m_recordset;
    QList<Column> m_columns;
    int m_pendingRow = -1;
    QHash<QString, QVariant> m_pending;
};
