// The recordset operations the rest of the program relies on, on a real library file.
#include "ErrorOf.h"
#include "StoreSupport.h"
#include "TestHome.h"

#include "failsafe/AppError.h"
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/dbUpgrade.h"

#include <QElapsedTimer>
#include <QItemSelectionModel>
#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QStandardItemModel>
#include <QTest>
#include <gtest/gtest.h>

namespace {
class Store : public OpenLibrary {
protected:
    void addLoop(Recordset& rs, int cd, int start, const QString& comment) {
        rs.AddNew();
        rs.setField(QStringLiteral("CDid"), cd);
        rs.setField(QStringLiteral("startTime"), start);
        rs.setField(QStringLiteral("Comment"), comment);
        rs.Update();
    }
    TestHome home;
};
} // namespace

TEST_F(Store, AddNewKeepsTheCurrentRecordAndBookmarksTheNewOne) {
    Recordset cds;
    cds.setRecordSource(QStringLiteral("SELECT * FROM CDs"));
    cds.Refresh();
    ASSERT_EQ(cds.RecordCount(), 1);
    cds.AddNew();
    cds.setField(QStringLiteral("title"), QStringLiteral("Kind of Blue"));
    cds.setField(QStringLiteral("cdLen"), 2752000);
    cds.setField(QStringLiteral("track1Len"), 562000);
    cds.Update();
    EXPECT_EQ(cds.field(QStringLiteral("CDid")).toInt(), 1) << "the current record stays";
    cds.setBookmark(cds.LastModified());
    EXPECT_EQ(cds.field(QStringLiteral("Title")).toString(), u"Kind of Blue");
    EXPECT_GT(cds.field(QStringLiteral("CDid")).toInt(), 1) << "the store made the key";
    EXPECT_TRUE(cds.isNull(QStringLiteral("lastLoopSelected")) == false)
        << "new records take the upgrade's defaults";
    EXPECT_EQ(cds.field(QStringLiteral("lastLoopSelected")).toInt(), 0);
    EXPECT_TRUE(cds.isNull(QStringLiteral("Artist")));
}

TEST_F(Store, FindFirstTakesTheFirstInOrderAndNoMatchKeepsThePlace) {
    Recordset loops;
    loops.setRecordSource(
        QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ? ORDER BY startTime"), {5});
    loops.Refresh();
    addLoop(loops, 5, 3000, QStringLiteral("bridge"));
    addLoop(loops, 5, 1000, QStringLiteral("intro, first take"));
    addLoop(loops, 5, 1000, QStringLiteral("intro, second take"));
    addLoop(loops, 6, 1000, QStringLiteral("another disc"));
    loops.Requery();
    ASSERT_EQ(loops.RecordCount(), 3);
    loops.MoveLast();
    loops.FindFirst(QStringLiteral("startTime = ?"), {1000});
    EXPECT_FALSE(loops.NoMatch());
    EXPECT_EQ(loops.field(QStringLiteral("Comment")).toString(), u"intro, first take");
    loops.FindFirst(QStringLiteral("startTime > ?"), {99999});
    EXPECT_TRUE(loops.NoMatch());
    EXPECT_EQ(loops.field(QStringLiteral("Comment")).toString(), u"intro, first take");
}

TEST_F(Store, ValuesWithQuotesAreBoundNotSpliced) {
    Recordset wavs;
    wavs.setRecordSource(QStringLiteral("SELECT * FROM \"Wave Files\""));
    wavs.Refresh();
    const QString name = QStringLiteral("Don't Stop \"Me\" Now; DROP TABLE CDs.wav");
    wavs.AddNew();
    wavs.setField(QStringLiteral("waveFileName"), name);
    wavs.setField(QStringLiteral("waveFilePath"), QStringLiteral("/music/it's"));
    wavs.Update();
    wavs.Requery();
    wavs.FindFirst(QStringLiteral("waveFileName = ? AND waveFilePath = ?"),
                   {name, QStringLiteral("/music/it's")});
    ASSERT_FALSE(wavs.NoMatch());
    EXPECT_EQ(wavs.field(QStringLiteral("waveFileName")).toString(), name);
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT count(*) FROM CDs")).toInt(), 1);
}

TEST_F(Store, ACloneSearchesWithoutMovingTheOriginal) {
    Recordset loops;
    loops.setRecordSource(
        QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ? ORDER BY startTime"), {5});
    loops.Refresh();
    for (int i = 1; i <= 5; ++i)
        addLoop(loops, 5, i * 1000, QStringLiteral("loop %1").arg(i));
    loops.Requery();
    loops.MoveFirst();
    auto clone = loops.Clone();
    clone->FindFirst(QStringLiteral("startTime = ?"), {4000});
    EXPECT_EQ(clone->field(QStringLiteral("Comment")).toString(), u"loop 4");
    EXPECT_EQ(loops.field(QStringLiteral("Comment")).toString(), u"loop 1");
    loops.setBookmark(clone->Bookmark());
    EXPECT_EQ(loops.field(QStringLiteral("startTime")).toInt(), 4000);
}

TEST_F(Store, MovesStopAtBothEndsWithNoCurrentRecord) {
    Recordset loops;
    loops.setRecordSource(QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ?"), {9});
    loops.Refresh();
    EXPECT_TRUE(loops.isBOF());
    EXPECT_TRUE(loops.isEOF());
    EXPECT_EQ(errorOf([&] { loops.MoveFirst(); }), 3021);
    EXPECT_EQ(errorOf([&] { (void)loops.field(QStringLiteral("Comment")); }), 3021);
    addLoop(loops, 9, 1, QStringLiteral("a"));
    loops.Requery();
    loops.MoveNext();
    EXPECT_TRUE(loops.isEOF());
    EXPECT_EQ(errorOf([&] { loops.MoveNext(); }), 3021);
    loops.MovePrevious();
    EXPECT_EQ(loops.field(QStringLiteral("Comment")).toString(), u"a");
}

TEST_F(Store, EditUpdateCancelAndDeleteReachTheFileAtOnce) {
    Recordset loops;
    loops.setRecordSource(
        QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ? ORDER BY startTime"), {5});
    loops.Refresh();
    addLoop(loops, 5, 1000, QStringLiteral("verse"));
    addLoop(loops, 5, 2000, QStringLiteral("chorus"));
    loops.Requery();
    QSignalSpy moved(&loops, &Recordset::Reposition);
    loops.Edit();
    loops.setField(QStringLiteral("Lyrics"), QString(5000, u'x'));
    loops.Update();
    loops.Edit();
    loops.setField(QStringLiteral("Comment"), QStringLiteral("not this"));
    loops.CancelUpdate();
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT length(Lyrics) FROM LoopPoints WHERE startTime = "
                                      "1000"))
                  .toInt(),
              5000);
    EXPECT_EQ(db.value(QStringLiteral("SELECT Comment FROM LoopPoints WHERE startTime = 1000"))
                  .toString(),
              u"verse");
    loops.Delete();
    EXPECT_EQ(db.value(QStringLiteral("SELECT count(*) FROM LoopPoints")).toInt(), 1);
    EXPECT_EQ(loops.field(QStringLiteral("Comment")).toString(), u"chorus");
    EXPECT_GE(moved.count(), 1);
    EXPECT_EQ(errorOf([&] { loops.setField(QStringLiteral("Comment"), 1); }), 3020)
        << "no field changes without Edit";
}

TEST_F(Store, AFullDiskFailsTheUpdateWithAMessageAndKeepsWhatWasSaved) {
    Recordset loops;
    loops.setRecordSource(QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ?"), {5});
    loops.Refresh();
    addLoop(loops, 5, 1000, QStringLiteral("saved before"));
    // The engine's own limit stands in for a disk that is full.
    QSqlQuery q(library::connection());
    ASSERT_TRUE(q.exec(QStringLiteral("PRAGMA page_count")) && q.next());
    const int pages = q.value(0).toInt();
    q.exec(QStringLiteral("PRAGMA max_page_count = %1").arg(pages));
    int number = 0;
    QString text;
    QSignalSpy errors(&loops, &Recordset::Error);
    try {
        for (int i = 0; i < 200; ++i) {
            loops.AddNew();
            loops.setField(QStringLiteral("CDid"), 5);
            loops.setField(QStringLiteral("Lyrics"), QString(4000, u'l'));
            loops.Update();
        }
    } catch (const AppError& e) {
        number = e.number;
        text = e.description;
    }
    EXPECT_EQ(number, 3026);
    EXPECT_TRUE(text.startsWith(u"Not enough space on disk.")) << text.toStdString();
    EXPECT_EQ(errors.count(), 0) << "a procedure's own call gets the error, not the event";
    loops.CancelUpdate();
    // The same failure in the grid's own commit has only the window to tell the user.
    loops.Requery();
    RecordsetModel grid(&loops, {{QStringLiteral("Lyrics"), QStringLiteral("Lyrics")}});
    grid.setData(grid.index(0, 0), QString(400000, u'x'));
    EXPECT_THROW(grid.commitPendingRow(), AppError);
    EXPECT_EQ(errors.count(), 1);
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT Comment FROM LoopPoints WHERE startTime = 1000"))
                  .toString(),
              u"saved before");
    EXPECT_EQ(db.value(QStringLiteral("PRAGMA integrity_check")).toString(), u"ok");
}

TEST_F(Store, GridEditsReachTheStoreWhenTheRowIsLeft) {
    Recordset loops;
    loops.setRecordSource(
        QStringLiteral("SELECT * FROM LoopPoints WHERE CDid = ? ORDER BY startTime"), {5});
    loops.Refresh();
    addLoop(loops, 5, 1000, QStringLiteral("one"));
    addLoop(loops, 5, 2000, QStringLiteral("two"));
    loops.Requery();
    RecordsetModel model(&loops, {{QStringLiteral("Comment"), QStringLiteral("Label/Comment")},
                                  {QStringLiteral("Chords"), QStringLiteral("Chords")}});
    QItemSelectionModel selection(&model);
    model.attach(&selection);
    selection.setCurrentIndex(model.index(0, 0), QItemSelectionModel::Select);
    ASSERT_TRUE(model.setData(model.index(0, 0), QStringLiteral("intro")));
    ASSERT_TRUE(model.setData(model.index(0, 1), QStringLiteral("Am F C G")));
    EXPECT_EQ(model.data(model.index(0, 0)).toString(), u"intro");
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("SELECT Comment FROM LoopPoints WHERE startTime = 1000"))
                  .toString(),
              u"one")
        << "still in the row: not written yet";
    selection.setCurrentIndex(model.index(1, 0), QItemSelectionModel::ClearAndSelect);
    EXPECT_EQ(db.value(QStringLiteral("SELECT Comment || '|' || Chords FROM LoopPoints WHERE "
                                      "startTime = 1000"))
                  .toString(),
              u"intro|Am F C G");
    EXPECT_EQ(loops.field(QStringLiteral("startTime")).toInt(), 2000)
        << "the recordset follows the grid's row";
}

TEST_F(Store, AKilledWriterLosesNoCommittedRowAndLeavesASoundFile) {
    library::closeConnection(QString::fromLatin1(library::kMainConnection));
    auto* rng = QRandomGenerator::global();
    QList<std::pair<int, int>> rounds; // base, loops announced
    for (int round = 0; round < 4; ++round) {
        const int base = (round + 1) * 1000000;
        QProcess writer;
        writer.start(QStringLiteral(STORE_WRITER), {library::libraryPath(), QString::number(base)});
        ASSERT_TRUE(writer.waitForStarted(5000));
        QTest::qWait(60 + static_cast<int>(rng->bounded(240)));
        writer.kill(); // SIGKILL, in the middle of whatever it was writing
        writer.waitForFinished(5000);
        EXPECT_EQ(writer.exitStatus(), QProcess::CrashExit)
            << writer.readAllStandardError().toStdString();
        int announced = 0;
        for (const QByteArray& line : writer.readAllStandardOutput().split('\n'))
            if (!line.trimmed().isEmpty())
                announced = std::max(announced, line.trimmed().toInt());
        rounds.append({base, announced});
    }
    Inspect db(library::libraryPath());
    EXPECT_EQ(db.value(QStringLiteral("PRAGMA integrity_check")).toString(), u"ok");
    int total = 0;
    for (const auto& [base, announced] : rounds) {
        total += announced;
        EXPECT_EQ(db.value(QStringLiteral("SELECT count(*) FROM LoopPoints WHERE CDid = 77 AND "
                                          "startTime > %1 AND startTime <= %2")
                               .arg(base)
                               .arg(base + announced))
                      .toInt(),
                  announced)
            << "a loop the writer had committed is missing (base " << base << ")";
    }
    EXPECT_GT(total, 0) << "the writer wrote nothing before it was killed";
}
