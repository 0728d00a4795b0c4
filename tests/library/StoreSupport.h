#pragma once

#include "library/LibraryDatabase.h"
#include "library/dbUpgrade.h"

#include <QMap>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QString>
#include <QVariant>
#include <gtest/gtest.h>

// A library made from the shipped layout, brought up to date and opened on the program's own
// connection, as the main window has it.
class OpenLibrary : public ::testing::Test {
protected:
    void SetUp() override {
        bool created = false;
        QString problem;
        ASSERT_TRUE(library::createLibraryIfMissing(library::libraryPath(), created, problem));
        AppendNewFields();
        ASSERT_TRUE(library::openConnection(QString::fromLatin1(library::kMainConnection),
                                            library::libraryPath(), problem))
            << problem.toStdString();
    }
    void TearDown() override {
        library::closeConnection(QString::fromLatin1(library::kMainConnection));
    }
};

// Looks into a library file with a connection of its own, apart from the program's.
class Inspect {
public:
    explicit Inspect(const QString& path) {
        m_db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("inspect"));
        m_db.setDatabaseName(path);
        m_db.open();
    }
    ~Inspect() {
        m_db.close();
        m_db = QSqlDatabase();
        QSqlDatabase::removeDatabase(QStringLiteral("inspect"));
    }
    // Field name -> kind code.
    QMap<QString, int> fields(const QString& table) {
        QMap<QString, int> out;
        QSqlQuery q(m_db);
        q.exec(QStringLiteral("PRAGMA table_info(\"%1\")").arg(table));
        while (q.next())
            out.insert(q.value(1).toString(), library::fieldTypeCode(q.value(2).toString()));
        return out;
    }
    QVariant value(const QString& sql) {
        QSqlQuery q(m_db);
        if (!q.exec(sql) || !q.next())
            return QStringLiteral("<no row>");
        return q.value(0);
    }
    bool exec(const QString& sql) {
        QSqlQuery q(m_db);
        return q.exec(sql);
    }
    QString schema() {
        return value(QStringLiteral("SELECT group_concat(sql, ';') FROM sqlite_master")).toString();
    }

private:
    QSqlDatabase m_db;
};
