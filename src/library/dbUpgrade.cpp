#include "library/dbUpgrade.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"
#include "library/LibraryDatabase.h"
#include "prefs/Preference.h"
#include "prefs/prefs.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

namespace {
const char* const kModule = "AppUtilities";

QString quoted(const QString& name) {
    return u'"' + QString(name).replace(u'"', QStringLiteral("\"\"")) + u'"';
}

struct NewField {
    const char* table;
    const char* field;
    QVariant defaultVal;
};

// The fields the upgrade adds, in order, with the default for new records.
const QList<NewField>& newFields() {
    static const QList<NewField> fields = {
        {"CDs", "lastTrackIDSelected", 0},      {"CDs", "lastLoopSelected", 0},
        {"LoopPoints", "endTime", {}},          {"LoopPoints", "lastPct", 50},
        {"LoopPoints", "lastSelStart", 0},      {"LoopPoints", "lastSelEnd", 0},
        {"LoopPoints", "lastGridStart", 0},     {"LoopPoints", "lastGridWidth", 0},
        {"LoopPoints", "gridVisible", false},   {"WaveLoopPoints", "endTime", {}},
        {"WaveLoopPoints", "lastPct", 50},      {"WaveLoopPoints", "lastSelStart", 0},
        {"WaveLoopPoints", "lastSelEnd", 0},    {"WaveLoopPoints", "lastGridStart", 0},
        {"WaveLoopPoints", "lastGridWidth", 0}, {"WaveLoopPoints", "gridVisible", false},
        {"Tracks", "lastPitchChange", 0},       {"Wave Files", "lastPitchChange", 0},
    };
    return fields;
}

const QList<std::pair<const char*, const char*>> kChangedFields = {
    {"Tracks", "WAV"}, {"Tracks", "Notation"}, {"LoopPoints", "WAV"}, {"LoopPoints", "Notation"}};

// A default as SQL text: numbers as digits, Booleans as 0 and -1 (the classic True).
QString sqlLiteral(const QVariant& v) {
    if (v.metaType().id() == QMetaType::Bool)
        return v.toBool() ? QStringLiteral("-1") : QStringLiteral("0");
    bool isNumber = false;
    const double d = v.toDouble(&isNumber);
    if (isNumber)
        return QString::number(d, 'g', 15);
    return u'\'' + v.toString().replace(u'\'', QStringLiteral("''")) + u'\'';
}

bool upgradeNeeded(const QSqlDatabase& db) {
    for (const NewField& f : newFields()) {
        const TableDef t = TableDef::find(db, QString::fromLatin1(f.table));
        if (t.exists() && t.fieldType(QString::fromLatin1(f.field)) == 0)
            return true;
    }
    for (const auto& [table, field] : kChangedFields) {
        if (TableDef::find(db, QString::fromLatin1(table)).fieldType(QString::fromLatin1(field)) ==
            11)
            return true;
    }
    return false;
}

// One step of the upgrade, in a transaction of its own.
void inTransaction(QSqlDatabase& db, const std::function<void(QSqlQuery&)>& step) {
    QSqlQuery q(db);
    if (!db.transaction())
        raiseError(3000, db.lastError().text());
    try {
        step(q);
    } catch (...) {
        db.rollback();
        throw;
    }
    if (!db.commit()) {
        const QString text = db.lastError().text();
        db.rollback();
        raiseError(3000, text);
    }
}

void exec(QSqlQuery& q, const QString& sql) {
    if (!q.exec(sql))
        raiseError(3000, q.lastError().text());
}
} // namespace

TableDef TableDef::find(const QSqlDatabase& db, const QString& tableName) {
    QSqlQuery q(db);
    q.prepare(QStringLiteral(
        "SELECT name FROM sqlite_master WHERE type = 'table' AND name = ? COLLATE NOCASE"));
    q.addBindValue(tableName);
    TableDef t;
    t.db = db;
    if (q.exec() && q.next())
        t.Name = q.value(0).toString();
    return t;
}

bool TableDef::Updatable() const {
    if (!exists() || !db.isOpen())
        return false;
    QSqlQuery q(db);
    // A connection opened read-only, or told to stay so, can't change a table.
    if (q.exec(QStringLiteral("PRAGMA query_only")) && q.next() && q.value(0).toInt() != 0)
        return false;
    return !db.connectOptions().contains(QStringLiteral("QSQLITE_OPEN_READONLY"));
}

QString TableDef::fieldName(const QString& name) const {
    if (!exists())
        return {};
    QSqlQuery q(db);
    q.exec(QStringLiteral("PRAGMA table_info(") + quoted(Name) + u')');
    while (q.next())
        if (q.value(1).toString().compare(name, Qt::CaseInsensitive) == 0)
            return q.value(1).toString();
    return {};
}

int TableDef::fieldType(const QString& name) const {
    if (!exists())
        return 0;
    QSqlQuery q(db);
    q.exec(QStringLiteral("PRAGMA table_info(") + quoted(Name) + u')');
    while (q.next())
        if (q.value(1).toString().compare(name, Qt::CaseInsensitive) == 0)
            return library::fieldTypeCode(q.value(2).toString());
    return 0;
}

QString oldLibraryPath() {
    // The program folder really stands in front of the whole old path.
    return appDir() + QStringLiteral("/Program Files/Cantavox II/cantavox.db");
}

void handleOldMDB() {
    FS_PROC("Main", "Sub handleOldMDB");
    Preference pref;
    pref.setPreferenceName(QStringLiteral("oldDBHandled"));
    if (pref.Value().toString() != u"N/A")
        return;
    const QString oldPath = oldLibraryPath();
    const QString newPath = library::libraryPath();
    if (QFile::exists(oldPath)) {
        // The old library takes the new one's place; a library already here is set aside
        // under a dated name rather than deleted, and only once the copy has succeeded.
        const QString incoming = newPath + QStringLiteral(".old");
        QFile::remove(incoming);
        if (!QFile::copy(oldPath, incoming))
            return;
        if (QFile::exists(newPath)) {
            const QString aside =
                QFileInfo(newPath).absolutePath() + QStringLiteral("/cantavox-replaced-") +
                QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")) +
                QStringLiteral(".db");
            if (!QFile::rename(newPath, aside)) {
                QFile::remove(incoming);
                return;
            }
            QFile::rename(newPath + QStringLiteral("-wal"), aside + QStringLiteral("-wal"));
            QFile::remove(newPath + QStringLiteral("-shm"));
        }
        QFile::rename(incoming, newPath);
        Preference version;
        version.setPreferenceName(QStringLiteral("dbVersion"));
        if (vbVal(version.Value().toString()) >= 7)
            version.setValue(QStringLiteral("6"));
    }
    pref.setValue(true);
}

void AppendDeleteField(const TableDef& tdfTemp, const QString& strCommand, const QString& strName,
                       const QVariant& varType, const QVariant& varSize,
                       const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub AppendDeleteField", FS_ARG(strCommand), FS_ARG(strName), FS_ARG(varType),
            FS_ARG(varSize));
    Q_UNUSED(varSize); // the store's fields have no fixed size
    if (!tdfTemp.Updatable()) {
        Prompts::msgBox(QStringLiteral("TableDef not Updatable! ") +
                        QStringLiteral("Unable to complete task."));
        return;
    }
    QSqlDatabase db = tdfTemp.db;
    if (strCommand == u"APPEND") {
        const QString type = library::declaredTypeFor(varType.isValid() ? varType.toInt() : 10);
        inTransaction(db, [&](QSqlQuery& q) {
            if (defaultVal.isValid()) {
                // The default is for new records: the rows already there keep Null.
                exec(q,
                     QStringLiteral("ALTER TABLE %1 ADD COLUMN %2 %3 DEFAULT %4")
                         .arg(quoted(tdfTemp.Name), quoted(strName), type, sqlLiteral(defaultVal)));
                exec(q, QStringLiteral("UPDATE %1 SET %2 = NULL")
                            .arg(quoted(tdfTemp.Name), quoted(strName)));
            } else {
                exec(q, QStringLiteral("ALTER TABLE %1 ADD COLUMN %2 %3")
                            .arg(quoted(tdfTemp.Name), quoted(strName), type));
            }
        });
    } else if (strCommand == u"DELETE") {
        inTransaction(db, [&](QSqlQuery& q) {
            exec(q, QStringLiteral("ALTER TABLE %1 DROP COLUMN %2")
                        .arg(quoted(tdfTemp.Name), quoted(tdfTemp.fieldName(strName))));
        });
    }
}

void addField(const QString& fieldName, const QString& tableName, QSqlDatabase& db,
              const QVariant& defaultVal) {
    FS_PROC(kModule, "Sub addField", FS_ARG(fieldName), FS_ARG(tableName));
    TableDef tdf;
    QString found;
    fs::ignoreErrors([&] { tdf = TableDef::find(db, tableName); });
    fs::ignoreErrors([&] { found = tdf.fieldName(fieldName); });
    if (!tdf.exists() || !found.isEmpty())
        return; // an existing field keeps its default; a missing table is passed over
    fs::ignoreErrors(
        [&] { AppendDeleteField(tdf, QStringLiteral("APPEND"), fieldName, 4, {}, defaultVal); });
}

void changeField(const QString& fieldName, const QString& tableName, QSqlDatabase& db) {
    FS_PROC(kModule, "Sub changeField", FS_ARG(fieldName), FS_ARG(tableName));
    TableDef tdf;
    int type = 0;
    fs::ignoreErrors([&] { tdf = TableDef::find(db, tableName); });
    fs::ignoreErrors([&] { type = tdf.fieldType(fieldName); });
    if (type != 11)
        return;
    // The long binary contents are not carried over into the memo field.
    fs::ignoreErrors([&] { AppendDeleteField(tdf, QStringLiteral("DELETE"), fieldName); });
    fs::ignoreErrors([&] { AppendDeleteField(tdf, QStringLiteral("APPEND"), fieldName, 12); });
}

bool AppendNewFields() {
    FS_PROC(kModule, "Sub AppendNewFields");
    const QString path = library::libraryPath();
    const QString name = QString::fromLatin1(library::kUpgradeConnection);
    QString problem;
    if (!library::openConnection(name, path, problem)) {
        Prompts::msgBox(QStringLiteral("Please inform the programmer that file ") + appDir() +
                        QStringLiteral("/cantavox.db failed to open.") +
                        QStringLiteral(" Error is ") + problem);
        return false;
    }
    {
        QSqlDatabase db = library::connection(name);
        if (upgradeNeeded(db)) {
            QString copyProblem;
            if (library::backupLibrary(db, path, copyProblem).isEmpty()) {
                db = QSqlDatabase();
                library::closeConnection(name);
                Prompts::msgBox(
                    QStringLiteral("Cantavox must bring the library file %1 up to date, and could "
                                   "not first keep a copy of it beside it (%2). Nothing was "
                                   "changed. Make some room on the disk and start Cantavox again.")
                        .arg(QDir::toNativeSeparators(path), copyProblem),
                    vb::vbCritical);
                return false;
            }
            for (const NewField& f : newFields())
                addField(QString::fromLatin1(f.field), QString::fromLatin1(f.table), db,
                         f.defaultVal);
            for (const auto& [table, field] : kChangedFields)
                changeField(QString::fromLatin1(field), QString::fromLatin1(table), db);
        }
    }
    library::closeConnection(name);
    return true;
}
