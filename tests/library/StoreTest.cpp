// The store on a real library file. The recordset: which record is current after adds, finds in
// a clone, moves and deletes; that every write is in the file at once; what a full disk or a
// killed writer leaves behind. The look-ups the forms use: which rows a data control holds for
// a disc or a wave file, and which record each find lands on, or that it lands on none and
// leaves the current record where it was.
#include "ErrorOf.h"
#include "StoreSupport.h"
#include "TestHome.h"

#include "failsafe/AppError.h"
#include "library/DiscQueries.h"
#include "library/LibraryDatabase.h"
#include "library/LoopQueries.h"
#include "library/PitchOwner.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "library/TrackQueries.h"
#include "library/WaveFileQueries.h"

#include <QProcess>
#include <QRandomGenerator>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTest>
#include <gtest/gtest.h>
#include <tuple>
#include <utility>

namespace {

using Fields = QList<std::pair<const char*, QVariant>>;
using Loops = QList<std::tuple<int, int, const char*>>; // disc, start, comment

class Store : public OpenLibrary {
protected:
    static void add(Recordset& rs, const Fields& fields) {
        rs.AddNew();
        for (const auto& [name, value] : fields)
            rs.setField(QString::fromLatin1(name), value);
        rs.Update();
    }
    // The loops given are added through the control, which then holds the disc's loops as the
    // loops control does, read afresh.
    static void showDisc(Recordset& loops, int cd, const Loops& added = {}) {
        library::selectDiscLoops(loops, cd);
        loops.Refresh();
        for (const auto& [disc, start, comment] : added)
            add(loops, {{"CDid", disc}, {"startTime", start}, {"Comment", comment}});
        loops.Refresh();
    }
    static QVariant field(const Recordset& rs, const char* name) {
        return rs.field(QString::fromLatin1(name));
    }
    static QString text(const Recordset& rs, const char* name = "Comment") {
        return field(rs, name).toString();
    }
    static QList<int> column(const Recordset& rs, const char* name) {
        QList<int> out;
        for (int i = 0; i < rs.RecordCount(); ++i)
            out << rs.valueAt(i, QString::fromLatin1(name)).toInt();
        return out;
    }
    // What another connection reads in the file right now.
    static QVariant onDisk(const char* sql) {
        return Inspect(library::libraryPath()).value(QString::fromLatin1(sql));
    }
    TestHome home;
};

using DiscLoops = Store;
using WaveLoops = Store;
using Tracks = Store;
using Discs = Store;
using WaveFiles = Store;
using PitchOwner = Store;

} // namespace

TEST_F(Store, AddNewKeepsTheCurrentRecordAndTheStoreFillsInTheKeyAndTheDefaults) {
    Recordset cds;
    library::selectAllDiscs(cds);
    cds.Refresh();
    ASSERT_EQ(cds.RecordCount(), 1);
    add(cds, {{"title", QStringLiteral("Kind of Blue")}});
    EXPECT_EQ(field(cds, "CDid").toInt(), 1) << "the current record stays";
    cds.setBookmark(cds.LastModified());
    EXPECT_EQ(text(cds, "Title"), u"Kind of Blue") << "field names ignore case";
    EXPECT_GT(field(cds, "CDid").toInt(), 1) << "the store made the key";
    EXPECT_EQ(field(cds, "lastLoopSelected"), 0) << "new records take the upgrade's defaults";
    EXPECT_TRUE(cds.isNull(QStringLiteral("Artist")));
}

TEST_F(Store, ACloneSearchesWithoutMovingTheOriginal) {
    Recordset loops;
    showDisc(loops, 5, {{5, 1000, "intro"}, {5, 2000, "verse"}, {5, 3000, "chorus"}});
    auto clone = loops.Clone();
    clone->FindFirst(QStringLiteral("startTime = ?"), {2000});
    EXPECT_EQ(text(*clone), u"verse");
    EXPECT_EQ(text(loops), u"intro");
    loops.setBookmark(clone->Bookmark());
    EXPECT_EQ(text(loops), u"verse");
}

TEST_F(Store, MovesStopAtBothEndsWithNoCurrentRecord) {
    Recordset loops;
    showDisc(loops, 5);
    EXPECT_TRUE(loops.isBOF());
    EXPECT_TRUE(loops.isEOF());
    EXPECT_EQ(errorOf([&] { loops.MoveFirst(); }), 3021);
    EXPECT_EQ(errorOf([&] { (void)text(loops); }), 3021);
    showDisc(loops, 5, {{5, 1, "a"}});
    loops.MoveNext();
    EXPECT_TRUE(loops.isEOF());
    EXPECT_EQ(errorOf([&] { loops.MoveNext(); }), 3021);
    loops.MovePrevious();
    EXPECT_EQ(text(loops), u"a");
}

TEST_F(Store, EditUpdateCancelAndDeleteReachTheFileAtOnce) {
    Recordset loops;
    showDisc(loops, 5, {{5, 1000, "verse"}, {5, 2000, "chorus"}});
    QSignalSpy moved(&loops, &Recordset::Reposition);
    loops.Edit();
    loops.setField(QStringLiteral("Lyrics"), QString(5000, u'x'));
    loops.Update();
    loops.Edit();
    loops.setField(QStringLiteral("Comment"), QStringLiteral("not this"));
    loops.CancelUpdate();
    EXPECT_EQ(onDisk("SELECT length(Lyrics) || Comment FROM LoopPoints WHERE startTime = 1000")
                  .toString(),
              u"5000verse");
    loops.Delete();
    EXPECT_EQ(onDisk("SELECT count(*) FROM LoopPoints").toInt(), 1);
    EXPECT_EQ(text(loops), u"chorus") << "the next record becomes current";
    EXPECT_GE(moved.count(), 1);
    EXPECT_EQ(errorOf([&] { loops.setField(QStringLiteral("Comment"), 1); }), 3020)
        << "no field changes without Edit";
}

TEST_F(Store, AFullDiskFailsTheUpdateWithAMessageAndKeepsWhatWasSaved) {
    Recordset loops;
    showDisc(loops, 5, {{5, 1000, "saved before"}});
    // The engine's own limit stands in for a disk that is full.
    QSqlQuery q(library::connection());
    ASSERT_TRUE(q.exec(QStringLiteral("PRAGMA page_count")) && q.next());
    q.exec(QStringLiteral("PRAGMA max_page_count = %1").arg(q.value(0).toInt()));
    int number = 0;
    QString words;
    QSignalSpy errors(&loops, &Recordset::Error);
    try {
        for (int i = 0; i < 200; ++i)
            add(loops, {{"CDid", 5}, {"Lyrics", QString(4000, u'l')}});
    } catch (const AppError& e) {
        number = e.number;
        words = e.description;
    }
    EXPECT_EQ(number, 3026);
    EXPECT_TRUE(words.startsWith(u"Not enough space on disk.")) << words.toStdString();
    EXPECT_EQ(errors.count(), 0) << "a procedure's own call gets the error, not the event";
    loops.CancelUpdate();
    // The same failure in the grid's own commit has only the window to tell the user.
    loops.Requery();
    RecordsetModel grid(&loops, {{QStringLiteral("Lyrics"), QStringLiteral("Lyrics")}});
    grid.setData(grid.index(0, 0), QString(400000, u'x'));
    EXPECT_THROW(grid.commitPendingRow(), AppError);
    EXPECT_EQ(errors.count(), 1);
    EXPECT_EQ(onDisk("SELECT Comment FROM LoopPoints WHERE startTime = 1000").toString(),
              u"saved before");
    EXPECT_EQ(onDisk("PRAGMA integrity_check").toString(), u"ok");
}

TEST_F(Store, AKilledWriterLosesNoCommittedRowAndLeavesASoundFile) {
    library::closeConnection(QString::fromLatin1(library::kMainConnection));
    QList<std::pair<int, int>> rounds; // base, loops announced
    for (int round = 0; round < 4; ++round) {
        const int base = (round + 1) * 1000000;
        QProcess writer;
        writer.start(QStringLiteral(STORE_WRITER), {library::libraryPath(), QString::number(base)});
        ASSERT_TRUE(writer.waitForStarted(5000));
        // Killed at a random moment, in the middle of whatever it was writing.
        QTest::qWait(60 + static_cast<int>(QRandomGenerator::global()->bounded(240)));
        writer.kill();
        writer.waitForFinished(5000);
        EXPECT_EQ(writer.exitStatus(), QProcess::CrashExit)
            << writer.readAllStandardError().toStdString();
        int announced = 0;
        for (const QByteArray& line : writer.readAllStandardOutput().split('\n'))
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

TEST_F(DiscLoops, HoldOnlyThatDiscsLoopsInStartOrderAndAreFoundByTheirExactStart) {
    Recordset loops;
    showDisc(loops, 5,
             {{5, 3000, "chorus"},
              {6, 2500, "another disc"},
              {5, 2000, "verse, first take"},
              {5, 1000, "intro"},
              {5, 2000, "verse, second take"}});
    EXPECT_EQ(column(loops, "startTime"), (QList<int>{1000, 2000, 2000, 3000}));
    EXPECT_EQ(text(loops), u"intro") << "a fresh read starts at the first loop";

    loops.MoveLast();
    library::findLoopStartingAt(loops, 2000);
    ASSERT_FALSE(loops.NoMatch());
    EXPECT_EQ(loops.AbsolutePosition(), 1) << "the list shows both; the upper one wins";
    library::findLoopStartingAt(loops, 3000);
    EXPECT_EQ(text(loops), u"chorus");
    for (const int missing : {2999, 2500}) {
        library::findLoopStartingAt(loops, missing);
        EXPECT_TRUE(loops.NoMatch()) << missing << ": not the nearest, nor another disc's";
        EXPECT_EQ(text(loops), u"chorus") << missing << ": the current loop stays";
    }
}

TEST_F(DiscLoops, TheLoopBegunAtAPositionIsFoundFromTheNextStart) {
    Recordset loops;
    showDisc(loops, 5, {{5, 1000, "intro"}, {5, 5000, "verse"}, {5, 9000, "chorus"}});
    // Past the last start nothing is found and the loop found before stays.
    for (const auto& [from, found] :
         {std::pair{6000, "chorus"}, {5000, "verse"}, {9001, "verse"}}) {
        library::findFirstLoopStartingFrom(loops, from);
        EXPECT_EQ(loops.NoMatch(), from == 9001) << from;
        EXPECT_EQ(text(loops), QString::fromLatin1(found)) << from;
    }
}

TEST_F(WaveLoops, HoldOnlyThatFilesLoopsAndKnowWhenTheyAreAlreadyHeld) {
    Recordset loops;
    library::selectWaveLoops(loops, 7);
    loops.Refresh();
    EXPECT_FALSE(library::holdsWaveLoopsOf(loops, 7)) << "a file without loops is never held";
    for (const auto& [file, start, comment] :
         {std::tuple{7, 8000, "solo"}, {8, 2000, "another file"}, {7, 1, "whole file"}})
        add(loops, {{"waveFileID", file}, {"startTime", start}, {"Comment", comment}});
    loops.Refresh();
    EXPECT_EQ(column(loops, "startTime"), (QList<int>{1, 8000}));
    EXPECT_TRUE(library::holdsWaveLoopsOf(loops, 7));
    EXPECT_FALSE(library::holdsWaveLoopsOf(loops, 8));

    library::findLoopStartingAt(loops, 8000);
    ASSERT_FALSE(loops.NoMatch()) << "a wave file's loop is found by its start as well";
    EXPECT_EQ(text(loops), u"solo");

    // A disc whose number is the file's is still a disc.
    Recordset discLoops;
    showDisc(discLoops, 7, {{7, 1000, "disc seven"}});
    EXPECT_FALSE(library::holdsWaveLoopsOf(discLoops, 7));
}

TEST_F(Tracks, HoldOnlyThatDiscsTracksInNumberOrderAndAreFoundByNumber) {
    Recordset tracks;
    library::selectDiscTracks(tracks, 3);
    tracks.Refresh();
    for (const auto& [cd, num, name] : {std::tuple{3, 2, "So What"},
                                        {4, 1, "another disc"},
                                        {3, 1, "Freddie Freeloader"},
                                        {3, 3, "Blue in Green"}})
        add(tracks, {{"CDid", cd}, {"TrackNum", num}, {"TrackName", name}});
    add(tracks, {{"CDid", 3}, {"TrackName", QStringLiteral("?")}});
    tracks.Refresh();
    ASSERT_EQ(tracks.RecordCount(), 4);
    EXPECT_EQ(column(tracks, "TrackNum").mid(1), (QList<int>{1, 2, 3}))
        << "numbered tracks in order, after the unnumbered one";

    library::findTrack(tracks, 3);
    ASSERT_FALSE(tracks.NoMatch());
    EXPECT_EQ(text(tracks, "TrackName"), u"Blue in Green");
    for (const QVariant& missing : {QVariant(9), QVariant()}) {
        library::findTrack(tracks, missing);
        EXPECT_TRUE(tracks.NoMatch()) << "no such number; no number is not the unnumbered track";
        EXPECT_EQ(text(tracks, "TrackName"), u"Blue in Green");
    }
}

TEST_F(Discs, TheEmptyDriveAndADiscByBothItsLengths) {
    Recordset cds;
    library::selectAllDiscs(cds);
    cds.Refresh();
    ASSERT_EQ(cds.RecordCount(), 1) << "a new library knows only the empty drive";
    for (const auto& [title, cdLen, track1Len] :
         {std::tuple{"Same length, other start", 2752000, 100000},
          {"The one", 2752000, 562000},
          {"Same start, other length", 3000000, 562000}})
        add(cds, {{"Title", title}, {"cdLen", cdLen}, {"track1Len", track1Len}});
    cds.Requery();

    library::findDiscByLengths(cds, 2752000, 562000);
    ASSERT_FALSE(cds.NoMatch());
    EXPECT_EQ(text(cds, "Title"), u"The one");
    library::findDiscByLengths(cds, 2752000, 562001);
    EXPECT_TRUE(cds.NoMatch());
    EXPECT_EQ(text(cds, "Title"), u"The one");

    library::findEmptyDriveRecord(cds);
    ASSERT_FALSE(cds.NoMatch());
    EXPECT_EQ(field(cds, "CDid").toInt(), 1);
    EXPECT_EQ(text(cds, "Title"), u"No CD In Drive");
}

TEST_F(WaveFiles, AreKnownByFolderAndNameWithQuotesBoundNotSpliced) {
    Recordset files;
    library::selectAllWaveFiles(files);
    files.Refresh();
    const QString name = QStringLiteral("Don't Stop \"Me\" Now; DROP TABLE CDs.wav");
    for (const auto& [folder, length] : {std::pair{"/music/it's mine", 100}, {"/music/other", 200}})
        add(files, {{"waveFileName", name}, {"waveFilePath", folder}, {"waveDataLength", length}});
    files.Requery();

    for (const auto& [folder, length] :
         {std::pair{"/music/it's mine", 100}, {"/music/other", 200}, {"/music", 0}}) {
        library::findWaveFile(files, name, QString::fromUtf8(folder));
        EXPECT_EQ(files.NoMatch(), length == 0) << folder << ": the folder must agree as well";
        if (length)
            EXPECT_EQ(field(files, "waveDataLength").toInt(), length) << folder;
    }
    EXPECT_EQ(text(files, "waveFileName"), name);
    EXPECT_EQ(onDisk("SELECT count(*) FROM CDs").toInt(), 1);
}

TEST_F(PitchOwner, IsTheLoopsTrackOnADiscAndTheFilesRecordForAWaveFile) {
    Recordset tracks, files, discLoops, waveLoops;
    library::selectDiscTracks(tracks, 3);
    tracks.Refresh();
    for (int num : {1, 2, 3})
        add(tracks, {{"CDid", 3}, {"TrackNum", num}, {"lastPitchChange", num * 100}});
    tracks.Requery();
    showDisc(discLoops, 3);
    add(discLoops, {{"CDid", 3}, {"TrackNum", 2}, {"startTime", 1000}});
    add(discLoops, {{"CDid", 3}, {"startTime", 5000}});
    discLoops.Refresh();

    library::findPitchOwner(tracks, discLoops, true);
    ASSERT_FALSE(tracks.NoMatch());
    EXPECT_EQ(field(tracks, "lastPitchChange").toInt(), 200);
    discLoops.MoveLast();
    library::findPitchOwner(tracks, discLoops, true);
    EXPECT_TRUE(tracks.NoMatch()) << "a loop without a track has no owner";

    library::selectAllWaveFiles(files);
    files.Refresh();
    for (const char* fileName : {"first.wav", "second.wav"})
        add(files, {{"waveFileName", fileName}, {"waveFilePath", "/music"}});
    files.Requery();
    files.MoveLast();
    const QVariant second = field(files, "waveFileID");
    files.MoveFirst();
    library::selectWaveLoops(waveLoops, second);
    waveLoops.Refresh();
    add(waveLoops, {{"waveFileID", second}, {"startTime", 1}});
    waveLoops.Refresh();

    library::findPitchOwner(files, waveLoops, false);
    ASSERT_FALSE(files.NoMatch());
    EXPECT_EQ(text(files, "waveFileName"), u"second.wav");

    // The pitch to start from is looked for among the tracks even for a wave file: the search
    // fails there and leaves the tracks where they were.
    library::findTrack(tracks, 1);
    EXPECT_NE(errorOf([&] { library::findPitchOwner(tracks, waveLoops, false); }), 0);
    EXPECT_EQ(field(tracks, "TrackNum").toInt(), 1);
}
