// The field upgrade of a library file, when it runs and what it keeps, the adoption of an old
// library, and the faults of the file itself.
#include "ProgramRun.h"
#include "StoreSupport.h"
#include "TestHome.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "library/LibraryDatabase.h"
#include "library/dbUpgrade.h"
#include "prefs/Preference.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <algorithm>
#include <gtest/gtest.h>

namespace {
QString prefValue(const QString& name) {
    Preference p;
    p.setPreferenceName(name);
    return p.Value().toString();
}

void setPref(const QString& name, const QString& value) {
    Preference p;
    p.setPreferenceName(name);
    p.setValue(value);
}

QStringList backups() {
    return QDir(appDir()).entryList({QStringLiteral("cantavox-*.db")}, QDir::Files);
}

void makeLibrary() {
    bool created = false;
    QString problem;
    ASSERT_TRUE(library::createLibraryIfMissing(library::libraryPath(), created, problem))
        << problem.toStdString();
    ASSERT_TRUE(created);
}

QByteArray bytesOf(const QString& path) {
    QFile f(path);
    f.open(QIODevice::ReadOnly);
    return f.readAll();
}
} // namespace

TEST(Library, UpgradeAfterACheckedCopyKeepsMemoContentsLosesLongBinaryAndLeavesOldRowsNull) {
    TestHome home;
    makeLibrary();
    {
        Inspect db(library::libraryPath());
        ASSERT_TRUE(db.exec(QStringLiteral(
            "INSERT INTO Tracks (CDid, TrackNum, Notation) VALUES (1, 1, zeroblob(200000))")));
        // LoopPoints.Notation is memo already in this file, and holds a path.
        ASSERT_TRUE(db.exec(QStringLiteral("ALTER TABLE LoopPoints DROP COLUMN Notation")));
        ASSERT_TRUE(db.exec(QStringLiteral("ALTER TABLE LoopPoints ADD COLUMN Notation MEMO")));
        ASSERT_TRUE(db.exec(QStringLiteral("INSERT INTO LoopPoints (CDid, startTime, Notation) "
                                           "VALUES (1, 1000, '/scores/reel.mid')")));
    }
    ASSERT_TRUE(backups().isEmpty());
    EXPECT_TRUE(AppendNewFields());
    EXPECT_EQ(backups().size(), 1) << "a copy was kept before the first change";
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.fields(QStringLiteral("Tracks")).value(QStringLiteral("Notation")), 12);
    EXPECT_TRUE(db.value(QStringLiteral("SELECT Notation FROM Tracks")).isNull())
        << "a long binary field's contents are not carried over";
    EXPECT_EQ(db.value(QStringLiteral("SELECT Notation FROM LoopPoints")).toString(),
              u"/scores/reel.mid");
    for (const char* oldRow :
         {"SELECT endTime FROM LoopPoints", "SELECT lastPct FROM LoopPoints",
          "SELECT gridVisible FROM LoopPoints", "SELECT lastPitchChange FROM Tracks"})
        EXPECT_TRUE(db.value(QString::fromLatin1(oldRow)).isNull()) << oldRow;
    // New rows take the defaults.
    ASSERT_TRUE(db.exec(QStringLiteral("INSERT INTO LoopPoints (CDid, startTime) VALUES (1, 2)")));
    EXPECT_EQ(db.value(QStringLiteral("SELECT lastPct FROM LoopPoints WHERE startTime = 2")), 50);
    EXPECT_EQ(db.value(QStringLiteral("SELECT gridVisible FROM LoopPoints WHERE startTime = 2")),
              0);
    EXPECT_TRUE(
        db.value(QStringLiteral("SELECT endTime FROM LoopPoints WHERE startTime = 2")).isNull());
}

TEST(Library, ASecondUpgradeChangesNothingAndSaysNothing) {
    TestHome home;
    makeLibrary();
    AppendNewFields();
    const QString before = Inspect(library::libraryPath()).schema();
    const QStringList copies = backups();
    Prompts::clear();
    AppendNewFields();
    EXPECT_EQ(Inspect(library::libraryPath()).schema(), before);
    EXPECT_EQ(backups(), copies) << "nothing to change, no copy";
    EXPECT_TRUE(Prompts::log().isEmpty());
}

TEST(Library, DbVersionDecidesWhetherTheUpgradeRuns) {
    for (const char* version : {"", "6", "7"}) {
        TestHome home;
        makeLibrary();
        if (*version)
            setPref(QStringLiteral("dbVersion"), QString::fromLatin1(version));
        // The program makes no library here (one exists), so only the preference decides.
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        Inspect db(library::libraryPath());
        const bool upgraded =
            db.fields(QStringLiteral("LoopPoints")).contains(QStringLiteral("endTime"));
        EXPECT_EQ(upgraded, std::string(version) != "7") << "dbVersion '" << version << "'";
        EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"7");
    }
}

TEST(Library, OldLibraryIsAdoptedOnceAndUpgradedAgain) {
    TestHome home;
    makeLibrary();
    const QString title = QStringLiteral("SELECT Title FROM CDs WHERE CDid = 2");
    Inspect(library::libraryPath())
        .exec(QStringLiteral("INSERT INTO CDs (Title, cdLen, track1Len) VALUES ('New', 1, 1)"));
    ASSERT_TRUE(QDir().mkpath(QFileInfo(oldLibraryPath()).absolutePath()));
    ASSERT_TRUE(QFile::copy(library::libraryPath(), oldLibraryPath()));
    Inspect(oldLibraryPath()).exec(QStringLiteral("UPDATE CDs SET Title = 'Old' WHERE CDid = 2"));
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));

    handleOldMDB();
    EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"6") << "the adopted library is upgraded";
    EXPECT_EQ(prefValue(QStringLiteral("oldDBHandled")), u"True");
    EXPECT_EQ(Inspect(library::libraryPath()).value(title).toString(), u"Old");
    // The library that was there is set aside, not deleted.
    const QStringList aside = QDir(appDir()).entryList({QStringLiteral("cantavox-replaced-*.db")});
    ASSERT_EQ(aside.size(), 1);
    EXPECT_EQ(Inspect(appDir() + u'/' + aside.first()).value(title).toString(), u"New");

    // Only once: a later change of the old file is not brought over again.
    Inspect(oldLibraryPath()).exec(QStringLiteral("UPDATE CDs SET Title = 'Again' WHERE CDid = 2"));
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));
    handleOldMDB();
    EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"7");
    EXPECT_EQ(Inspect(library::libraryPath()).value(title).toString(), u"Old");
}

TEST(Library, WithoutAnOldLibraryTheLookEndsForGood) {
    TestHome home;
    handleOldMDB();
    EXPECT_EQ(prefValue(QStringLiteral("oldDBHandled")), u"True");
    EXPECT_FALSE(QFile::exists(library::libraryPath()));
}

class BadLibrary : public ::testing::TestWithParam<const char*> {};

TEST_P(BadLibrary, IsNamedNeverChangedAndTheProgramEnds) {
    TestHome home;
    const std::string kind = GetParam();
    const QString path = library::libraryPath();
    if (kind == "not a library") {
        ASSERT_TRUE(wavgen::writeBytes(path, "My notes about the Bach partita, not a database."));
    } else if (kind == "damaged") {
        makeLibrary();
        QByteArray bytes = bytesOf(path);
        ASSERT_GT(bytes.size(), 4096);
        bytes.replace(4096, 300, QByteArray(300, char(0xA5))); // the second page's header
        ASSERT_TRUE(wavgen::writeBytes(path, bytes));
    } else if (kind == "empty") {
        ASSERT_TRUE(wavgen::writeBytes(path, {}));
    } else if (kind == "unreadable") {
        // A folder where the file should be: nobody can read it as a file.
        ASSERT_TRUE(QDir().mkpath(path));
    }
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));
    setPref(QStringLiteral("oldDBHandled"), QStringLiteral("True"));
    const QByteArray before = bytesOf(path);

    ProgramRun run;
    run.start();
    ProgramRun::settle();
    EXPECT_TRUE(processEnded());
    EXPECT_NE(processExitStatus(), 0);
    EXPECT_EQ(frmMain::instance(), nullptr);
    EXPECT_TRUE(std::any_of(Prompts::log().begin(), Prompts::log().end(),
                            [&](const Prompts::Record& r) { return r.text.contains(path); }))
        << "the message names the file";
    EXPECT_EQ(bytesOf(path), before) << "the file is never changed";
}

INSTANTIATE_TEST_SUITE_P(Faults, BadLibrary,
                         ::testing::Values("not a library", "damaged", "empty", "unreadable"));

TEST(Library, ReadOnlyLibraryIsRefusedWithoutChange) {
    TestHome home;
    makeLibrary();
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));
    const QString path = library::libraryPath();
    const QByteArray before = bytesOf(path);
    // A mode without write rights stops an ordinary user; root is stopped only by the
    // immutable flag, so that is set too where the file system has it.
    QFile::setPermissions(path, QFile::ReadOwner | QFile::ReadGroup | QFile::ReadOther);
    QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("+i"), path});
    const bool writable = QFile(path).open(QIODevice::ReadWrite);
    if (writable) {
        QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), path});
        GTEST_SKIP() << "this user can write the file whatever its mode";
    }
    ProgramRun run;
    run.start();
    ProgramRun::settle();
    QProcess::execute(QStringLiteral("chattr"), {QStringLiteral("-i"), path});
    EXPECT_TRUE(processEnded());
    ASSERT_FALSE(Prompts::log().isEmpty());
    EXPECT_TRUE(Prompts::log().last().text.contains(u"read-only"));
    EXPECT_EQ(bytesOf(path), before);
}
