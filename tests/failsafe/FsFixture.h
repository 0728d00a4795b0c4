#pragma once

#include "TestHome.h"
#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"

#include <QFile>
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

// Each trace test starts from an empty trace and a program directory of its own, so that
// FSCLIENT.INI and the logs of one test never reach another.
class FsTest : public ::testing::Test {
protected:
    void SetUp() override {
        fsReset();
        Prompts::clear();
    }
    void TearDown() override {
        fsReset();
        Prompts::clear();
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
        if (!f.open(QIODevice::ReadOnly))
            return {};
        return f.readAll();
    }
    // The lines of a log file, split at CR LF.
    QStringList logLines(const QString& name = QStringLiteral("error.log")) const {
        QStringList lines =
            QString::fromUtf8(readFile(home.file(name))).split(QStringLiteral("\r\n"));
        if (!lines.isEmpty() && lines.back().isEmpty())
            lines.removeLast();
        return lines;
    }
    QList<Prompts::Record> records(const QString& kind) const {
        QList<Prompts::Record> out;
        for (const Prompts::Record& r : Prompts::log()) {
            if (r.kind == kind)
                out.append(r);
        }
        return out;
    }

    TestHome home;
};
