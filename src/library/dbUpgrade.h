#pragma once

#include <QSqlDatabase>
#include <QString>
#include <QVariant>

// Adoption of an older installation's library and the field-by-field upgrade of the library.
// The upgrade runs on a connection of its own, opened and closed before the data controls
// open theirs. Each step is its own transaction; before the first change a checked copy of
// the file is made beside it.
//
// Thread: UI thread only.

// A table of the library, as the upgrade's helpers take it.
struct TableDef {
    QSqlDatabase db;
    QString Name; // as stored; found without regard to case
    bool exists() const { return !Name.isEmpty(); }
    bool Updatable() const;
    // The field's kind code, 0 when there is no such field.
    int fieldType(const QString& fieldName) const;
    QString fieldName(const QString& fieldName) const;
    static TableDef find(const QSqlDatabase& db, const QString& tableName);
};

void handleOldMDB();
// False when the library could not be opened or kept a copy of: the user has been told, and
// the program must end.
bool AppendNewFields();
// Appends (with an optional default for new records only) or deletes one field.
void AppendDeleteField(const TableDef& tdfTemp, const QString& strCommand, const QString& strName,
                       const QVariant& varType = {}, const QVariant& varSize = {},
                       const QVariant& defaultVal = {});
void addField(const QString& fieldName, const QString& tableName, QSqlDatabase& db,
              const QVariant& defaultVal = {});
void changeField(const QString& fieldName, const QString& tableName, QSqlDatabase& db);

// The old installation's library: the program folder with the old layout's path behind it.
QString oldLibraryPath();
