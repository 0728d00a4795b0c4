// The library as first made, its field upgrade, the adoption of an old library, and the
// faults of the file itself.
#include "ProgramRun.h"
#include "StoreSupport.h"
#include "TestHome.h"

#include "app/AppPaths.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"
#include "library/dbUpgrade.h"
#include "prefs/Preference.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSqlQuery>
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

TEST(Library, ShippedLayoutHoldsTheTablesAndTheRequiredRecord) {
    TestHome home;
    makeLibrary();
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT count(*) FROM CDs WHERE CDid = 1 AND cdLen = 0 AND "
                                      "track1Len = 0"))
                  .toInt(),
              1);
    const auto tracks = db.fields(QStringLiteral("Tracks"));
    EXPECT_EQ(tracks.value(QStringLiteral("Notation")), 11);
    EXPECT_EQ(tracks.value(QStringLiteral("TrackNum")), 3);
    EXPECT_FALSE(tracks.contains(QStringLiteral("lastPitchChange")));
    EXPECT_EQ(db.fields(QStringLiteral("Wave Files")).value(QStringLiteral("waveFileModDate")), 8);
    EXPECT_EQ(db.fields(QStringLiteral("CDs")).value(QStringLiteral("CDid")), 4);
    // The key is made by the store.
    EXPECT_TRUE(db.exec(QStringLiteral("INSERT INTO CDs (Title) VALUES ('x')")));
    EXPECT_EQ(db.value(QStringLiteral("SELECT max(CDid) FROM CDs")).toInt(), 2);
}

TEST(Library, FirstStartMakesAndUpgradesTheLibraryAfterACheckedCopy) {
    TestHome home;
    {
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"7");
        EXPECT_EQ(run.main()->library().CDs->field(QStringLiteral("cdlen")).toInt(), 0)
            << "the discs control stands on the required record; names ignore case";
        EXPECT_EQ(run.main()->library().CDs->field(QStringLiteral("CDID")).toInt(), 1);
    }
    Inspect db(library::libraryPath());
    const auto loops = db.fields(QStringLiteral("LoopPoints"));
    for (const char* f : {"endTime", "lastPct", "lastSelStart", "lastSelEnd", "lastGridStart",
                          "lastGridWidth", "gridVisible"})
        EXPECT_EQ(loops.value(QString::fromLatin1(f)), 4) << f;
    EXPECT_EQ(loops.value(QStringLiteral("Notation")), 12);
    EXPECT_EQ(loops.value(QStringLiteral("WAV")), 12);
    EXPECT_EQ(db.fields(QStringLiteral("Wave Files")).value(QStringLiteral("lastPitchChange")), 4);
    EXPECT_EQ(db.fields(QStringLiteral("CDs")).value(QStringLiteral("lastLoopSelected")), 4);
    EXPECT_EQ(backups().size(), 1) << "a copy was kept before the first change";
}

TEST(Library, UpgradeKeepsMemoContentsLosesLongBinaryAndLeavesOldRowsNull) {
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
    AppendNewFields();
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.fields(QStringLiteral("Tracks")).value(QStringLiteral("Notation")), 12);
    EXPECT_TRUE(db.value(QStringLiteral("SELECT Notation FROM Tracks")).isNull())
        << "a long binary field's contents are not carried over";
    EXPECT_EQ(db.value(QStringLiteral("SELECT Notation FROM LoopPoints")).toString(),
              u"/scores/reel.mid");
    EXPECT_TRUE(db.value(QStringLiteral("SELECT endTime FROM LoopPoints")).isNull());
    EXPECT_TRUE(db.value(QStringLiteral("SELECT lastPct FROM LoopPoints")).isNull());
    EXPECT_TRUE(db.value(QStringLiteral("SELECT gridVisible FROM LoopPoints")).isNull());
    EXPECT_TRUE(db.value(QStringLiteral("SELECT lastPitchChange FROM Tracks")).isNull());
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
    QString before;
    {
        Inspect db(library::libraryPath());
        before = db.schema();
    }
    const QStringList copies = backups();
    Prompts::clear();
    AppendNewFields();
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.schema(), before);
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
    {
        Inspect db(library::libraryPath());
        db.exec(QStringLiteral("INSERT INTO CDs (Title, cdLen, track1Len) VALUES ('New', 1, 1)"));
    }
    ASSERT_TRUE(QDir().mkpath(QFileInfo(oldLibraryPath()).absolutePath()));
    ASSERT_TRUE(QFile::copy(library::libraryPath(), oldLibraryPath()));
    {
        Inspect old(oldLibraryPath());
        old.exec(
            QStringLiteral("UPDATE CDs SET Title = 'From the old installation' WHERE CDid = 2"));
    }
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));

    handleOldMDB();
    EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"6");
    EXPECT_EQ(prefValue(QStringLiteral("oldDBHandled")), u"True");
    {
        Inspect db(library::libraryPath());
        EXPECT_EQ(db.value(QStringLiteral("SELECT Title FROM CDs WHERE CDid = 2")).toString(),
                  u"From the old installation");
    }
    // The library that was there is set aside, not deleted.
    const QStringList aside = QDir(appDir()).entryList({QStringLiteral("cantavox-replaced-*.db")});
    ASSERT_EQ(aside.size(), 1);
    {
        Inspect kept(appDir() + u'/' + aside.first());
        EXPECT_EQ(
            kept.value(QStringLiteral("SELECT COUNT(*) FROM CDs WHERE Title = 'New'")).toInt(), 1);
    }
    // Only once: a later change of the old file is not brought over again.
    {
        Inspect old(oldLibraryPath());
        old.exec(QStringLiteral("UPDATE CDs SET Title = 'Again' WHERE CDid = 2"));
    }
    setPref(QStringLiteral("dbVersion"), QStringLiteral("7"));
    handleOldMDB();
    EXPECT_EQ(prefValue(QStringLiteral("dbVersion")), u"7");
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT Title FROM CDs WHERE CDid = 2")).toString(),
              u"From the old installation");
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
        QFile f(path);
        f.open(QIODevice::WriteOnly);
        f.write("These are my notes about the Bach partita, not a database.\n");
    } else if (kind == "damaged") {
        makeLibrary();
        QByteArray bytes = bytesOf(path);
        ASSERT_GT(bytes.size(), 4096);
        for (int i = 4096; i < 4096 + 300; ++i) // scribble over the second page's header
            bytes[i] = static_cast<char>(0xA5);
        QFile f(path);
        f.open(QIODevice::WriteOnly | QIODevice::Truncate);
        f.write(bytes);
    } else if (kind == "empty") {
        QFile f(path);
        f.open(QIODevice::WriteOnly);
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
    bool named = false;
    for (const auto& r : Prompts::log())
        named = named || r.text.contains(path);
    EXPECT_TRUE(named) << "the message names the file";
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
