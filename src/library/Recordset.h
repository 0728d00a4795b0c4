#pragma once

#include <QObject>
#include <QSqlDatabase>
#include <QSqlRecord>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <memory>
#include <vector>

// A live recordset with a current record, as the data controls of the main window offer it:
// a record source (a select text over one table, with bound values), beginning and end of
// file, moves, find first by condition with its no-match flag, add new / edit / update /
// cancel, fields by name without regard to case, bookmarks, clones that search without
// moving the original, and the Reposition and Error events.
//
// Rows are read into memory at Refresh/Requery; every Update and Delete is one committed
// transaction on the library connection.
//
// Thread: UI thread only.
class Recordset : public QObject {
    Q_OBJECT
public:
    enum EditMode { dbEditNone = 0, dbEditInProgress = 1, dbEditAdd = 2 };

    explicit Recordset(QObject* parent = nullptr);
    ~Recordset() override;

    // The connection's name; empty means the library connection.
    void setConnectionName(const QString& name) { m_connection = name; }
    QString DatabaseName() const { return m_databaseName; }
    void setDatabaseName(const QString& path) { m_databaseName = path; }
    // "SELECT * FROM <table> [WHERE ...] [ORDER BY ...]" with "?" for each bound value.
    void setRecordSource(const QString& selectText, const QVariantList& values = {});
    QString RecordSource() const { return m_source; }
    QString tableName() const { return m_table; }

    // Reads the rows again and goes to the first.
    void Refresh();
    // Reads the rows again and keeps the current record where it still exists.
    void Requery();

    // EOF is a C macro, hence the names.
    bool isBOF() const { return m_pos < 0 || m_rows->empty(); }
    bool isEOF() const { return m_pos >= static_cast<int>(m_rows->size()) || m_rows->empty(); }
    int RecordCount() const { return static_cast<int>(m_rows->size()); }
    int AbsolutePosition() const { return m_pos; }
    // Makes the row at that position (from 0) the current record.
    void setAbsolutePosition(int position);
    // A field of the row at that position, without moving the current record.
    QVariant valueAt(int position, const QString& name) const;
    void MoveFirst();
    void MoveLast();
    void MoveNext();
    void MovePrevious();
    // The first record in order that meets the condition (SQL, "?" for values); NoMatch
    // tells whether there was one. Without a match the current record stays.
    void FindFirst(const QString& condition, const QVariantList& values = {});
    bool NoMatch() const { return m_noMatch; }

    void AddNew();
    void Edit();
    void Update();
    void CancelUpdate();
    void Delete();
    EditMode editMode() const { return m_editMode; }

    QVariant field(const QString& name) const;
    bool isNull(const QString& name) const { return field(name).isNull(); }
    void setField(const QString& name, const QVariant& value);
    QStringList fieldNames() const;
    // The kind code of a field (4 long, 10 text, 12 memo, ...).
    int fieldType(const QString& name) const;

    QVariant Bookmark() const;
    void setBookmark(const QVariant& bookmark);
    QVariant LastModified() const { return m_lastModified; }

    // A second cursor over the same rows: moving or searching it leaves this one as it is.
    std::unique_ptr<Recordset> Clone() const;

    // While one lives, the recordset works for its bound grid rather than for a procedure:
    // a failure then also raises the Error event, since no code is there to catch it.
    class BoundOperation {
    public:
        explicit BoundOperation(Recordset* rs) : m_rs(rs) { ++m_rs->m_boundDepth; }
        ~BoundOperation() { --m_rs->m_boundDepth; }
        BoundOperation(const BoundOperation&) = delete;
        BoundOperation& operator=(const BoundOperation&) = delete;

    private:
        Recordset* m_rs;
    };

signals:
    void Reposition();
    // A data error of the bound grid's own work (never of a call from code, which gets the
    // error raised instead). DataErr is the error number; Response 0 says the handler has
    // shown its own message.
    void Error(int DataErr, int& Response);

private:
    struct Row {
        qint64 rowid = 0;
        QSqlRecord record;
    };
    using Rows = std::vector<Row>;

    QSqlDatabase db() const;
    void load();
    void setPos(int pos);
    int indexOfField(const QString& name) const;
    int indexOfRowid(qint64 rowid) const;
    [[noreturn]] void fail(int number, const QString& text);
    void requireCurrent() const;

    QString m_connection;
    QString m_databaseName;
    QString m_source;
    QString m_rewritten;
    QString m_table;
    QVariantList m_values;
    std::shared_ptr<Rows> m_rows;
    QSqlRecord m_shape;
    int m_pos = -1;
    bool m_noMatch = false;
    EditMode m_editMode = dbEditNone;
    QSqlRecord m_buffer;
    QVariant m_lastModified;
    int m_boundDepth = 0;
};
