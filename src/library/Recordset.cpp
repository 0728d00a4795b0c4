#include "library/Recordset.h"

#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"
#include "library/LibraryDatabase.h"

#include <QRegularExpression>
#include <QSet>
#include <QSqlDriver>
#include <QSqlError>
#include <QSqlField>
#include <QSqlQuery>

namespace {
const char* const kModule = "Recordset";
const QString kRowid = QStringLiteral("__rowid__");

QString quoted(const QString& name) {
    return u'"' + QString(name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

// The run-time number for a failed statement, from the engine's own code.
int errorNumberOf(const QSqlError& e) {
    const int code = e.nativeErrorCode().toInt();
    switch (code & 0xFF) {
    case 13:
        return 3026; // full
    case 8:
        return 3027; // read-only
    case 5:
    case 6:
        return 3260; // locked
    case 11:
    case 26:
        return 3049; // damaged
    default:
        return 3000;
    }
}

QString errorTextOf(const QSqlError& e) {
    switch (errorNumberOf(e)) {
    case 3026:
        return QStringLiteral("Not enough space on disk. The change was not saved; everything "
                              "saved before is intact.");
    case 3027:
        return QStringLiteral("The library can't be changed: it is read-only.");
    case 3260:
        return QStringLiteral("The library is locked by another program; the change was not "
                              "saved.");
    case 3049:
        return QStringLiteral("The library file is damaged; the change was not saved.");
    default:
        return QStringLiteral("The library could not save the change: ") + e.text();
    }
}
} // namespace

Recordset::Recordset(QObject* parent) : QObject(parent), m_rows(std::make_shared<Rows>()) {}

Recordset::~Recordset() = default;

QSqlDatabase Recordset::db() const {
    return library::connection(
        m_connection.isEmpty() ? QString::fromLatin1(library::kMainConnection) : m_connection);
}

void Recordset::fail(int number, const QString& text) {
    // A procedure that called us gets the error (and may have said to ignore it); only the
    // grid's own work has nobody else to tell, so only then the window shows its own words.
    if (m_boundDepth > 0) {
        int response = 1;
        emit Error(number, response);
    }
    raiseError(number, text, QStringLiteral("Recordset"));
}

void Recordset::setRecordSource(const QString& selectText, const QVariantList& values) {
    FS_PROC(kModule, "Property (Let) RecordSource", FS_ARG(selectText));
    static const QRegularExpression re(
        QStringLiteral(R"re(^\s*select\s+\*\s+from\s+("([^"]+)"|\[([^\]]+)\]|([A-Za-z_]\w*)))re"),
        QRegularExpression::CaseInsensitiveOption);
    const auto m = re.match(selectText);
    if (!m.hasMatch())
        raiseError(errnum::InvalidPropertyValue,
                   QStringLiteral("A record source must select * from one table."));
    m_table = !m.captured(2).isEmpty()   ? m.captured(2)
              : !m.captured(3).isEmpty() ? m.captured(3)
                                         : m.captured(4);
    m_source = selectText;
    m_rewritten = QStringLiteral("SELECT rowid AS ") + kRowid + QStringLiteral(", * FROM ") +
                  selectText.mid(m.capturedEnd(1) - m.captured(1).size());
    m_values = values;
}

void Recordset::load() {
    QSqlDatabase database = db();
    if (!database.isOpen())
        fail(3051, QStringLiteral("The library is not open."));
    QSqlQuery q(database);
    q.setForwardOnly(true);
    q.prepare(m_rewritten);
    for (const QVariant& v : m_values)
        q.addBindValue(v);
    if (!q.exec())
        fail(errorNumberOf(q.lastError()), q.lastError().text());
    auto rows = std::make_shared<Rows>();
    QSqlRecord shape = q.record();
    shape.remove(shape.indexOf(kRowid));
    while (q.next()) {
        QSqlRecord r = q.record();
        const qint64 rowid = r.value(0).toLongLong();
        r.remove(0);
        rows->push_back({rowid, r});
    }
    m_rows = rows;
    m_shape = shape;
}

void Recordset::Refresh() {
    FS_PROC(kModule, "Sub Refresh");
    m_editMode = dbEditNone;
    load();
    setPos(m_rows->empty() ? -1 : 0);
}

void Recordset::Requery() {
    FS_PROC(kModule, "Sub Requery");
    const QVariant mark = isEOF() || isBOF() ? QVariant() : Bookmark();
    m_editMode = dbEditNone;
    load();
    const int at = mark.isValid() ? indexOfRowid(mark.toLongLong()) : -1;
    setPos(at >= 0 ? at : (m_rows->empty() ? -1 : 0));
}

void Recordset::setPos(int pos) {
    m_pos = pos;
    emit Reposition();
}

void Recordset::MoveFirst() {
    FS_PROC(kModule, "Sub MoveFirst");
    if (m_rows->empty())
        fail(errnum::NoCurrentRecord, standardErrorText(errnum::NoCurrentRecord));
    setPos(0);
}

void Recordset::MoveLast() {
    FS_PROC(kModule, "Sub MoveLast");
    if (m_rows->empty())
        fail(errnum::NoCurrentRecord, standardErrorText(errnum::NoCurrentRecord));
    setPos(static_cast<int>(m_rows->size()) - 1);
}

void Recordset::MoveNext() {
    FS_PROC(kModule, "Sub MoveNext");
    if (isEOF())
        fail(errnum::NoCurrentRecord, standardErrorText(errnum::NoCurrentRecord));
    setPos(m_pos + 1);
}

void Recordset::MovePrevious() {
    FS_PROC(kModule, "Sub MovePrevious");
    if (isBOF())
        fail(errnum::NoCurrentRecord, standardErrorText(errnum::NoCurrentRecord));
    setPos(m_pos - 1);
}

void Recordset::FindFirst(const QString& condition, const QVariantList& values) {
    FS_PROC(kModule, "Sub FindFirst", FS_ARG(condition));
    QSqlQuery q(db());
    q.setForwardOnly(true);
    q.prepare(QStringLiteral("SELECT ") + kRowid + QStringLiteral(" FROM (") + m_rewritten +
              QStringLiteral(") WHERE ") + condition);
    for (const QVariant& v : m_values)
        q.addBindValue(v);
    for (const QVariant& v : values)
        q.addBindValue(v);
    if (!q.exec())
        fail(errorNumberOf(q.lastError()), q.lastError().text());
    QSet<qint64> hits;
    while (q.next())
        hits.insert(q.value(0).toLongLong());
    for (int i = 0; i < static_cast<int>(m_rows->size()); ++i) {
        if (hits.contains((*m_rows)[i].rowid)) {
            m_noMatch = false;
            setPos(i);
            return;
        }
    }
    m_noMatch = true;
}

void Recordset::setAbsolutePosition(int position) {
    FS_PROC(kModule, "Property (Let) AbsolutePosition", FS_ARG(position));
    if (position < 0 || position >= static_cast<int>(m_rows->size()))
        fail(errnum::NoCurrentRecord, standardErrorText(errnum::NoCurrentRecord));
    setPos(position);
}

QVariant Recordset::valueAt(int position, const QString& name) const {
    const int i = indexOfField(name);
    if (i < 0 || position < 0 || position >= static_cast<int>(m_rows->size()))
        return {};
    return (*m_rows)[position].record.value(i);
}

void Recordset::requireCurrent() const {
    if (isBOF() || isEOF())
        raiseError(errnum::NoCurrentRecord);
}

int Recordset::indexOfField(const QString& name) const {
    return m_shape.indexOf(name);
}

int Recordset::indexOfRowid(qint64 rowid) const {
    for (int i = 0; i < static_cast<int>(m_rows->size()); ++i)
        if ((*m_rows)[i].rowid == rowid)
            return i;
    return -1;
}

QVariant Recordset::field(const QString& name) const {
    const int i = indexOfField(name);
    if (i < 0)
        raiseError(3265, QStringLiteral("Item not found in this collection."));
    if (m_editMode != dbEditNone)
        return m_buffer.value(i);
    requireCurrent();
    return (*m_rows)[m_pos].record.value(i);
}

void Recordset::setField(const QString& name, const QVariant& value) {
    const int i = indexOfField(name);
    if (i < 0)
        raiseError(3265, QStringLiteral("Item not found in this collection."));
    if (m_editMode == dbEditNone)
        raiseError(3020, QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
    m_buffer.setValue(i, value);
    m_buffer.setGenerated(i, true);
}

QStringList Recordset::fieldNames() const {
    QStringList names;
    for (int i = 0; i < m_shape.count(); ++i)
        names << m_shape.fieldName(i);
    return names;
}

int Recordset::fieldType(const QString& name) const {
    QSqlQuery q(db());
    q.exec(QStringLiteral("PRAGMA table_info(") + quoted(m_table) + u')');
    while (q.next())
        if (q.value(1).toString().compare(name, Qt::CaseInsensitive) == 0)
            return library::fieldTypeCode(q.value(2).toString());
    return 0;
}

void Recordset::AddNew() {
    FS_PROC(kModule, "Sub AddNew");
    m_buffer = m_shape;
    for (int i = 0; i < m_buffer.count(); ++i) {
        m_buffer.setValue(i, QVariant());
        m_buffer.setGenerated(i, false);
    }
    m_editMode = dbEditAdd;
}

void Recordset::Edit() {
    FS_PROC(kModule, "Sub Edit");
    requireCurrent();
    m_buffer = (*m_rows)[m_pos].record;
    for (int i = 0; i < m_buffer.count(); ++i)
        m_buffer.setGenerated(i, false);
    m_editMode = dbEditInProgress;
}

void Recordset::CancelUpdate() {
    FS_PROC(kModule, "Sub CancelUpdate");
    m_editMode = dbEditNone;
    m_buffer = QSqlRecord();
}

void Recordset::Update() {
    FS_PROC(kModule, "Sub Update");
    if (m_editMode == dbEditNone)
        fail(3020, QStringLiteral("Update or CancelUpdate without AddNew or Edit."));
    QStringList names;
    QVariantList values;
    for (int i = 0; i < m_buffer.count(); ++i) {
        if (m_buffer.isGenerated(i)) {
            names << quoted(m_buffer.fieldName(i));
            values << m_buffer.value(i);
        }
    }
    QSqlQuery q(db());
    qint64 rowid = 0;
    if (m_editMode == dbEditAdd) {
        QStringList marks;
        for (int i = 0; i < names.size(); ++i)
            marks << QStringLiteral("?");
        q.prepare(names.isEmpty()
                      ? QStringLiteral("INSERT INTO ") + quoted(m_table) +
                            QStringLiteral(" DEFAULT VALUES")
                      : QStringLiteral("INSERT INTO ") + quoted(m_table) + QStringLiteral(" (") +
                            names.join(QStringLiteral(", ")) + QStringLiteral(") VALUES (") +
                            marks.join(QStringLiteral(", ")) + u')');
        for (const QVariant& v : values)
            q.addBindValue(v);
        if (!q.exec())
            fail(errorNumberOf(q.lastError()), errorTextOf(q.lastError()));
        rowid = q.lastInsertId().toLongLong();
    } else {
        rowid = (*m_rows)[m_pos].rowid;
        if (!names.isEmpty()) {
            QStringList sets;
            for (const QString& n : names)
                sets << n + QStringLiteral(" = ?");
            q.prepare(QStringLiteral("UPDATE ") + quoted(m_table) + QStringLiteral(" SET ") +
                      sets.join(QStringLiteral(", ")) + QStringLiteral(" WHERE rowid = ?"));
            for (const QVariant& v : values)
                q.addBindValue(v);
            q.addBindValue(rowid);
            if (!q.exec())
                fail(errorNumberOf(q.lastError()), errorTextOf(q.lastError()));
        }
    }
    // The stored row, with what the store filled in (key, defaults).
    QSqlQuery back(db());
    back.prepare(QStringLiteral("SELECT * FROM ") + quoted(m_table) +
                 QStringLiteral(" WHERE rowid = ?"));
    back.addBindValue(rowid);
    QSqlRecord stored = m_shape;
    if (back.exec() && back.next()) {
        const QSqlRecord r = back.record();
        for (int i = 0; i < stored.count(); ++i)
            stored.setValue(i, r.value(stored.fieldName(i)));
    }
    if (m_editMode == dbEditAdd) {
        // A new record stands at the end until the next requery; the current record stays.
        m_rows->push_back({rowid, stored});
    } else {
        (*m_rows)[m_pos].record = stored;
    }
    m_lastModified = rowid;
    m_editMode = dbEditNone;
    m_buffer = QSqlRecord();
}

void Recordset::Delete() {
    FS_PROC(kModule, "Sub Delete");
    requireCurrent();
    const qint64 rowid = (*m_rows)[m_pos].rowid;
    QSqlQuery q(db());
    q.prepare(QStringLiteral("DELETE FROM ") + quoted(m_table) +
              QStringLiteral(" WHERE rowid = ?"));
    q.addBindValue(rowid);
    if (!q.exec())
        fail(errorNumberOf(q.lastError()), errorTextOf(q.lastError()));
    m_rows->erase(m_rows->begin() + m_pos);
    setPos(std::min(m_pos, static_cast<int>(m_rows->size())));
}

QVariant Recordset::Bookmark() const {
    requireCurrent();
    return (*m_rows)[m_pos].rowid;
}

void Recordset::setBookmark(const QVariant& bookmark) {
    FS_PROC(kModule, "Property (Let) Bookmark", FS_ARG(bookmark));
    const int i = indexOfRowid(bookmark.toLongLong());
    if (i < 0)
        fail(3159, QStringLiteral("Not a valid bookmark."));
    setPos(i);
}

std::unique_ptr<Recordset> Recordset::Clone() const {
    auto c = std::make_unique<Recordset>();
    c->m_connection = m_connection;
    c->m_databaseName = m_databaseName;
    c->m_source = m_source;
    c->m_rewritten = m_rewritten;
    c->m_table = m_table;
    c->m_values = m_values;
    c->m_rows = m_rows;
    c->m_shape = m_shape;
    c->m_pos = m_rows->empty() ? -1 : 0;
    return c;
}
