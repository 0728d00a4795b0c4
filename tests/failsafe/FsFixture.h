#pragma once

#include "TestHome.h"
#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"

#include <QFile>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

// Traced procedures the trace tests run, all in one module.
namespace fstest {
inline const char* const kMod = "test module";
// The trace settings that leave out the columns that change from run to run.
inline const QString kFixedColumns = QStringLiteral("[include]\nResources=0\nMemory=0\nUser=0\n");
// The running procedures as leaf saw them.
inline QStringList seen;

inline void leaf(int a, const QString& s) {
    FS_PROC(kMod, "Sub leaf", FS_ARG(a), FS_ARG(s));
    seen = fsCallStackLines();
}
inline void thrower(int n) {
    FS_PROC(kMod, "Sub thrower", FS_ARG(n));
    raiseError(n);
}
inline void middle(int x) {
    FS_PROC(kMod, "Sub middle", FS_ARG(x));
    thrower(6);
}
// outer -> middle(3) -> thrower(6), which raises error 6.
inline void outer() {
    FS_PROC(kMod, "Sub outer");
    middle(3);
}
inline void failing() {
    FS_PROC(kMod, "Sub failing");
    raiseError(errnum::DivisionByZero);
}
} // namespace fstest

// Each trace test starts from an empty trace and a program directory of its own, so that
// FSCLIENT.INI and the logs of one test never reach another.
class FsTest : public ::testing::Test {
protected:
    void SetUp() override { restart(); }
    void TearDown() override { restart(); }
    static void restart() {
        fsReset();
        Prompts::clear();
        fstest::seen.clear();
    }

    void writeIni(const QString& text, const QString& name = QStringLiteral("FSCLIENT.INI")) {
        writeFile(home.file(name), text.toUtf8());
    }
    static void writeFile(const QString& path, const QByteArray& data) {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
        f.write(data);
    }
    static QByteArray readFile(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    // The lines of a log file, split at CR LF.
    QStringList logLines(const QString& name = QStringLiteral("error.log")) const {
        QStringList lines =
            QString::fromUtf8(readFile(home.file(name))).split(QStringLiteral("\r\n"));
        if (!lines.isEmpty() && lines.back().isEmpty())
            lines.removeLast();
        return lines;
    }
    static QList<Prompts::Record> records(const QString& kind) {
        QList<Prompts::Record> out;
        for (const Prompts::Record& r : Prompts::log()) {
            if (r.kind == kind)
                out.append(r);
        }
        return out;
    }

    TestHome home;
};
