#include "library/LibraryDatabase.h"

#include "app/AppPaths.h"
#include "failsafe/modFailSafe.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSqlError>
#include <QSqlQuery>

namespace library {

const char* const kMainConnection = "library";
const char* const kUpgradeConnection = "library-upgrade";

namespace {
const char* const kModule = "LibraryDatabase";

QString damaged(const QString& path, const QString& detail) {
    return QStringLiteral("The library file %1 can't be used: %2. Cantavox has not changed it. "
                          "Restore a copy of it (Cantavox keeps one named cantavox-<date>.db "
                          "beside it before each upgrade), or move it away to start a new, empty "
                          "library.")
        .arg(QDir::toNativeSeparators(path), detail);
}

bool execAll(QSqlDatabase& db, const QString& script, QString& problem) {
    // The schema script holds one statement per ";"-terminated block, without triggers.
    const QStringList statements = script.split(u';', Qt::SkipEmptyParts);
    QSqlQuery q(db);
    for (QString s : statements) {
        QStringList lines;
        for (const QString& line : s.split(u'\n'))
            if (!line.trimmed().startsWith(QStringLiteral("--")))
                lines << line;
        s = lines.join(u'\n').trimmed();
        if (s.isEmpty())
            continue;
        if (!q.exec(s)) {
            problem = q.lastError().text();
            return false;
        }
    }
    return true;
}
} // namespace

QString libraryPath() {
    return appDir() + QStringLiteral("/cantavox.db");
}

int fieldTypeCode(const QString& declaredType) {
    const QString t = declaredType.trimmed().toUpper();
    if (t == u"LONG" || t == u"INTEGER")
        return 4;
    if (t == u"SHORT")
        return 3;
    if (t == u"DATETIME")
        return 8;
    if (t == u"TEXT")
        return 10;
    if (t == u"LONGBINARY" || t == u"BLOB")
        return 11;
    if (t == u"MEMO")
        return 12;
    return 0;
}

QString declaredTypeFor(int code) {
    switch (code) {
    case 3:
        return QStringLiteral("SHORT");
    case 4:
        return QStringLiteral("LONG");
    case 8:
        return QStringLiteral("DATETIME");
    case 10:
        return QStringLiteral("TEXT");
    case 11:
        return QStringLiteral("LONGBINARY");
    case 12:
        return QStringLiteral("MEMO");
    default:
        return QStringLiteral("TEXT");
    }
}

bool createLibraryIfMissing(const QString& path, bool& created, QString& problem) {
    FS_PROC(kModule, "Function createLibraryIfMissing", FS_ARG(path));
    created = false;
    if (QFileInfo::exists(path))
        return true;
    ensureResources();
    QFile schema(QStringLiteral(":/cantavox-schema.sql"));
    if (!schema.open(QIODevice::ReadOnly)) {
        problem = QStringLiteral("The library's layout is missing from the program.");
        return false;
    }
    // Built under a temporary name and renamed into place, so no half-made library is ever
    // taken for a real one.
    const QString temp = path + QStringLiteral(".new");
    QFile::remove(temp);
    {
        QSqlDatabase db =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("library-create"));
        db.setDatabaseName(temp);
        bool ok = db.open();
        if (ok) {
            QSqlQuery q(db);
            ok = q.exec(QStringLiteral("PRAGMA journal_mode=DELETE")) &&
                 q.exec(QStringLiteral("BEGIN")) &&
                 execAll(db, QString::fromUtf8(schema.readAll()), problem) &&
                 q.exec(QStringLiteral("COMMIT"));
            if (!ok && problem.isEmpty())
                problem = q.lastError().text();
        } else {
            problem = db.lastError().text();
        }
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("library-create"));
        if (!ok) {
            QFile::remove(temp);
            problem = QStringLiteral("Cantavox could not make a new library file %1: %2")
                          .arg(QDir::toNativeSeparators(path), problem);
            return false;
        }
    }
    if (!QFile::rename(temp, path)) {
        QFile::remove(temp);
        problem = QStringLiteral("Cantavox could not make a new library file %1.")
                      .arg(QDir::toNativeSeparators(path));
        return false;
    }
    created = true;
    return true;
}

bool openConnection(const QString& name, const QString& path, QString& problem) {
    FS_PROC(kModule, "Function openConnection", FS_ARG(name), FS_ARG(path));
    if (QSqlDatabase::contains(name)) {
        QSqlDatabase db = QSqlDatabase::database(name, false);
        if (db.isOpen() && db.databaseName() == path)
            return true;
        closeConnection(name);
    }
    QFileInfo info(path);
    if (!info.exists()) {
        problem = damaged(path, QStringLiteral("the file is missing"));
        return false;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        problem = damaged(path, QStringLiteral("it can't be read (%1)").arg(file.errorString()));
        return false;
    }
    const QByteArray header = file.read(16);
    file.close();
    if (header != QByteArray("SQLite format 3\0", 16)) {
        problem = damaged(path, QStringLiteral("it is not a Cantavox library"));
        return false;
    }
    // Writing needs the file and its folder (for the write-ahead log).
    if (!info.isWritable() || !QFileInfo(info.absolutePath()).isWritable() ||
        !QFile(path).open(QIODevice::ReadWrite)) {
        problem = damaged(path, QStringLiteral("it is read-only, and Cantavox must be able to "
                                               "save what you write"));
        return false;
    }
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    db.setDatabaseName(path);
    db.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=5000"));
    if (!db.open()) {
        problem = damaged(path, db.lastError().text());
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        return false;
    }
    QSqlQuery q(db);
    QString check;
    if (q.exec(QStringLiteral("PRAGMA quick_check")) && q.next())
        check = q.value(0).toString();
    else
        check = q.lastError().text();
    if (check != u"ok") {
        problem = damaged(path, QStringLiteral("it is damaged (%1)").arg(check));
        db.close();
        db = QSqlDatabase();
        QSqlDatabase::removeDatabase(name);
        return false;
    }
    q.exec(QStringLiteral("PRAGMA journal_mode=WAL"));
    q.exec(QStringLiteral("PRAGMA synchronous=FULL"));
    q.exec(QStringLiteral("PRAGMA foreign_keys=OFF"));
    return true;
}

void closeConnection(const QString& name) {
    FS_PROC(kModule, "Sub closeConnection", FS_ARG(name));
    if (!QSqlDatabase::contains(name))
        return;
    {
        QSqlDatabase db = QSqlDatabase::database(name, false);
        db.close();
    }
    QSqlDatabase::removeDatabase(name);
}

QSqlDatabase connection(const QString& name) {
    return QSqlDatabase::database(name, false);
}

QString backupLibrary(QSqlDatabase& db, const QString& path, QString& problem) {
    FS_PROC(kModule, "Function backupLibrary", FS_ARG(path));
    const QFileInfo info(path);
    QString copy = info.absolutePath() + QStringLiteral("/cantavox-") +
                   QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")) +
                   QStringLiteral(".db");
    for (int n = 2; QFileInfo::exists(copy); ++n)
        copy = info.absolutePath() + QStringLiteral("/cantavox-") +
               QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss")) +
               QStringLiteral("-%1.db").arg(n);
    QSqlQuery q(db);
    q.prepare(QStringLiteral("VACUUM INTO ?"));
    q.addBindValue(copy);
    if (!q.exec()) {
        problem = q.lastError().text();
        QFile::remove(copy);
        return {};
    }
    // The copy must itself be a sound library before the original may change.
    bool sound = false;
    {
        QSqlDatabase check =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("library-check"));
        check.setDatabaseName(copy);
        check.setConnectOptions(QStringLiteral("QSQLITE_OPEN_READONLY"));
        if (check.open()) {
            QSqlQuery c(check);
            sound = c.exec(QStringLiteral("PRAGMA integrity_check")) && c.next() &&
                    c.value(0).toString() == u"ok";
        }
        check.close();
    }
    QSqlDatabase::removeDatabase(QStringLiteral("library-check"));
    if (!sound) {
        problem = QStringLiteral("the copy %1 did not check out").arg(copy);
        QFile::remove(copy);
        return {};
    }
    return copy;
}

} // namespace library
