#pragma once

#include <QSqlDatabase>
#include <QString>

// The library file and the connections to it. The library is one SQLite file,
// appDir()/cantavox.db, written through one connection ("library") that the data controls
// share; the field upgrade opens a connection of its own and closes it before that one opens.
// Every write is its own committed transaction, in WAL mode with synchronous FULL, so a crash
// loses nothing the user saw saved.
//
// Thread: UI thread only.
namespace library {

extern const char* const kMainConnection;
extern const char* const kUpgradeConnection;

QString libraryPath();

// Field kinds as the declared type of a column gives them: 4 long, 3 integer, 8 date and
// time, 10 text, 11 long binary, 12 memo; 0 for an unknown kind.
int fieldTypeCode(const QString& declaredType);
QString declaredTypeFor(int fieldTypeCode);

// Makes the library from the shipped schema when no file exists. Returns true if it made one.
// A failure leaves no file behind and says why in problem.
bool createLibraryIfMissing(const QString& path, bool& created, QString& problem);

// Opens (or returns the open) connection of that name to the file, after checking that the
// file is a readable, writable, intact SQLite library. Never changes a file that fails the
// checks; problem then holds a message for the user that names the file.
bool openConnection(const QString& name, const QString& path, QString& problem);
void closeConnection(const QString& name);
QSqlDatabase connection(const QString& name = QString::fromLatin1(kMainConnection));

// Copies the library beside itself under a dated name (VACUUM INTO) and checks the copy.
// Returns the copy's path, or an empty string with problem set.
QString backupLibrary(QSqlDatabase& db, const QString& path, QString& problem);

} // namespace library
