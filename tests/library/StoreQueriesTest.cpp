// The store's look-ups as the forms use them, on a real library file: which rows a data
// control holds for a disc or a wave file, and which record each find lands on, or that it
// lands on none and leaves the current record where it was.
#include "ErrorOf.h"
#include "TestHome.h"

#include "StoreSupport.h"
#include "library/DiscQueries.h"
#include "library/LibraryDatabase.h"
#include "library/LoopQueries.h"
#include "library/PitchOwner.h"
#include "library/Recordset.h"
#include "library/TrackQueries.h"
#include "library/WaveFileQueries.h"
#include "library/dbUpgrade.h"

#include <QList>
#include <gtest/gtest.h>
#include <tuple>
#include <utility>

namespace {

using Fields = QList<std::pair<QString, QVariant>>;

class StoreQueries : public OpenLibrary {
protected:
    static void add(Recordset& rs, const Fields& fields) {
        rs.AddNew();
        for (const auto& [name, value] : fields)
            rs.setField(name, value);
        rs.Update();
    }
    static void addDiscLoop(Recordset& loops, int cd, int start, const QString& comment) {
        add(loops, {{QStringLiteral("CDid"), cd},
                    {QStringLiteral("startTime"), start},
                    {QStringLiteral("Comment"), comment}});
    }
    static void addWaveLoop(Recordset& loops, int file, int start, const QString& comment) {
        add(loops, {{QStringLiteral("waveFileID"), file},
                    {QStringLiteral("startTime"), start},
                    {QStringLiteral("Comment"), comment}});
    }
    static QString comment(const Recordset& rs) {
        return rs.field(QStringLiteral("Comment")).toString();
    }
    static QList<int> column(const Recordset& rs, const QString& name) {
        QList<int> out;
        for (int i = 0; i < rs.RecordCount(); ++i)
            out << rs.valueAt(i, name).toInt();
        return out;
    }
    // A disc's loops as the loops control holds them, read afresh.
    static void showDisc(Recordset& loops, int cd) {
        library::selectDiscLoops(loops, cd);
        loops.Refresh();
    }
    TestHome home;
};

using DiscLoops = StoreQueries;
using WaveLoops = StoreQueries;
using Tracks = StoreQueries;
using Discs = StoreQueries;
using WaveFiles = StoreQueries;
using PitchOwner = StoreQueries;

} // namespace

TEST_F(DiscLoops, HoldOnlyThatDiscsLoopsInTheOrderOfTheirStarts) {
    Recordset loops;
    showDisc(loops, 5);
    addDiscLoop(loops, 5, 3000, QStringLiteral("bridge"));
    addDiscLoop(loops, 6, 2000, QStringLiteral("another disc"));
    addDiscLoop(loops, 5, 1000, QStringLiteral("intro"));
    addDiscLoop(loops, 5, 2000, QStringLiteral("verse"));
    showDisc(loops, 5);
    EXPECT_EQ(column(loops, QStringLiteral("startTime")), (QList<int>{1000, 2000, 3000}));
    EXPECT_EQ(comment(loops), u"intro") << "a fresh read starts at the first loop";
}

TEST_F(DiscLoops, ALoopIsFoundByItsStartAmongSeveralAndAMissingStartKeepsThePlace) {
    Recordset loops;
    showDisc(loops, 5);
    for (const auto& [start, text] : {std::pair{1000, "intro"}, std::pair{2000, "verse"},
                                      std::pair{3000, "chorus"}, std::pair{4000, "outro"}})
        addDiscLoop(loops, 5, start, QString::fromLatin1(text));
    addDiscLoop(loops, 6, 2500, QStringLiteral("another disc"));
    showDisc(loops, 5);

    library::findLoopStartingAt(loops, 3000);
    EXPECT_FALSE(loops.NoMatch());
    EXPECT_EQ(comment(loops), u"chorus");

    library::findLoopStartingAt(loops, 2999);
    EXPECT_TRUE(loops.NoMatch()) << "a start is matched exactly, not the nearest one";
    EXPECT_EQ(comment(loops), u"chorus");

    library::findLoopStartingAt(loops, 2500);
    EXPECT_TRUE(loops.NoMatch()) << "another disc's loop is not among this disc's";
    EXPECT_EQ(comment(loops), u"chorus");
}

TEST_F(DiscLoops, OfTwoLoopsWithOneStartTheFirstInTheListWins) {
    Recordset loops;
    showDisc(loops, 5);
    addDiscLoop(loops, 5, 1000, QStringLiteral("intro"));
    addDiscLoop(loops, 5, 2000, QStringLiteral("verse, first take"));
    addDiscLoop(loops, 5, 2000, QStringLiteral("verse, second take"));
    showDisc(loops, 5);
    loops.MoveLast();
    const int last = loops.AbsolutePosition();
    library::findLoopStartingAt(loops, 2000);
    ASSERT_FALSE(loops.NoMatch());
    EXPECT_EQ(loops.AbsolutePosition(), last - 1) << "the list shows both; the upper one wins";
}

TEST_F(DiscLoops, TheLoopBegunAtAPositionIsFoundFromTheNextStart) {
    Recordset loops;
    showDisc(loops, 5);
    addDiscLoop(loops, 5, 1000, QStringLiteral("intro"));
    addDiscLoop(loops, 5, 5000, QStringLiteral("verse"));
    addDiscLoop(loops, 5, 9000, QStringLiteral("chorus"));
    showDisc(loops, 5);

    library::findFirstLoopStartingFrom(loops, 6000);
    ASSERT_FALSE(loops.NoMatch());
    EXPECT_EQ(comment(loops), u"chorus") << "the next loop to begin";
    library::findFirstLoopStartingFrom(loops, 5000);
    EXPECT_EQ(comment(loops), u"verse") << "a loop beginning right there counts";
    library::findFirstLoopStartingFrom(loops, 9001);
    EXPECT_TRUE(loops.NoMatch()) << "past the last start";
    EXPECT_EQ(comment(loops), u"verse");
}

TEST_F(WaveLoops, HoldOnlyThatFilesLoopsAndKnowWhenTheyAreAlreadyHeld) {
    Recordset loops;
    library::selectWaveLoops(loops, 7);
    loops.Refresh();
    EXPECT_FALSE(library::holdsWaveLoopsOf(loops, 7)) << "a file without loops is never held";
    addWaveLoop(loops, 7, 8000, QStringLiteral("solo"));
    addWaveLoop(loops, 8, 2000, QStringLiteral("another file"));
    addWaveLoop(loops, 7, 1, QStringLiteral("Entire file in this loop"));
    loops.Refresh();
    EXPECT_EQ(column(loops, QStringLiteral("startTime")), (QList<int>{1, 8000}));
    EXPECT_TRUE(library::holdsWaveLoopsOf(loops, 7));
    EXPECT_FALSE(library::holdsWaveLoopsOf(loops, 8));

    library::findLoopStartingAt(loops, 8000);
    ASSERT_FALSE(loops.NoMatch()) << "a wave file's loop is found by its start as well";
    EXPECT_EQ(comment(loops), u"solo");

    // A disc whose number is the file's is still a disc.
    Recordset discLoops;
    showDisc(discLoops, 7);
    addDiscLoop(discLoops, 7, 1000, QStringLiteral("disc seven"));
    showDisc(discLoops, 7);
    EXPECT_FALSE(library::holdsWaveLoopsOf(discLoops, 7));
}

TEST_F(Tracks, HoldOnlyThatDiscsTracksInNumberOrderAndAreFoundByNumber) {
    Recordset tracks;
    library::selectDiscTracks(tracks, 3);
    tracks.Refresh();
    for (const auto& [cd, num, name] :
         {std::tuple{3, 2, "So What"}, std::tuple{4, 1, "another disc"},
          std::tuple{3, 1, "Freddie Freeloader"}, std::tuple{3, 3, "Blue in Green"}})
        add(tracks, {{QStringLiteral("CDid"), cd},
                     {QStringLiteral("TrackNum"), num},
                     {QStringLiteral("TrackName"), QString::fromLatin1(name)}});
    add(tracks, {{QStringLiteral("CDid"), 3}, {QStringLiteral("TrackName"), QStringLiteral("?")}});
    library::selectDiscTracks(tracks, 3);
    tracks.Refresh();
    ASSERT_EQ(tracks.RecordCount(), 4);
    EXPECT_EQ(column(tracks, QStringLiteral("TrackNum")).mid(1), (QList<int>{1, 2, 3}))
        << "numbered tracks in order, after the unnumbered one";

    library::findTrack(tracks, 3);
    ASSERT_FALSE(tracks.NoMatch());
    EXPECT_EQ(tracks.field(QStringLiteral("TrackName")).toString(), u"Blue in Green");
    library::findTrack(tracks, 9);
    EXPECT_TRUE(tracks.NoMatch());
    library::findTrack(tracks, QVariant());
    EXPECT_TRUE(tracks.NoMatch()) << "no number is not the unnumbered track";
    EXPECT_EQ(tracks.field(QStringLiteral("TrackName")).toString(), u"Blue in Green");
}

TEST_F(Discs, TheEmptyDriveAndADiscByBothItsLengths) {
    Recordset cds;
    library::selectAllDiscs(cds);
    cds.Refresh();
    ASSERT_EQ(cds.RecordCount(), 1) << "a new library knows only the empty drive";
    for (const auto& [title, cdLen, track1Len] :
         {std::tuple{"Same length, other start", 2752000, 100000},
          std::tuple{"The one", 2752000, 562000},
          std::tuple{"Same start, other length", 3000000, 562000}})
        add(cds, {{QStringLiteral("Title"), QString::fromLatin1(title)},
                  {QStringLiteral("cdLen"), cdLen},
                  {QStringLiteral("track1Len"), track1Len}});
    cds.Requery();

    library::findDiscByLengths(cds, 2752000, 562000);
    ASSERT_FALSE(cds.NoMatch());
    EXPECT_EQ(cds.field(QStringLiteral("Title")).toString(), u"The one");
    library::findDiscByLengths(cds, 2752000, 562001);
    EXPECT_TRUE(cds.NoMatch());
    EXPECT_EQ(cds.field(QStringLiteral("Title")).toString(), u"The one");

    library::findEmptyDriveRecord(cds);
    ASSERT_FALSE(cds.NoMatch());
    EXPECT_EQ(cds.field(QStringLiteral("CDid")).toInt(), 1);
    EXPECT_EQ(cds.field(QStringLiteral("Title")).toString(), u"No CD In Drive");
}

TEST_F(WaveFiles, AreKnownByFolderAndNameQuoteMarksAndAll) {
    Recordset files;
    library::selectAllWaveFiles(files);
    files.Refresh();
    const QString name = QStringLiteral("Don't Stop \"Me\" Now.wav");
    for (const auto& [folder, length] :
         {std::pair{"/music/it's mine", 100}, std::pair{"/music/other", 200}})
        add(files, {{QStringLiteral("waveFileName"), name},
                    {QStringLiteral("waveFilePath"), QString::fromLatin1(folder)},
                    {QStringLiteral("waveDataLength"), length}});
    files.Requery();

    library::findWaveFile(files, name, QStringLiteral("/music/it's mine"));
    ASSERT_FALSE(files.NoMatch());
    EXPECT_EQ(files.field(QStringLiteral("waveDataLength")).toInt(), 100);
    library::findWaveFile(files, name, QStringLiteral("/music/other"));
    ASSERT_FALSE(files.NoMatch());
    EXPECT_EQ(files.field(QStringLiteral("waveDataLength")).toInt(), 200);
    library::findWaveFile(files, name, QStringLiteral("/music"));
    EXPECT_TRUE(files.NoMatch()) << "the folder must agree as well";
    EXPECT_EQ(files.field(QStringLiteral("waveDataLength")).toInt(), 200);
}

TEST_F(PitchOwner, IsTheLoopsTrackOnADiscAndTheFilesRecordForAWaveFile) {
    Recordset tracks, files, discLoops, waveLoops;
    library::selectDiscTracks(tracks, 3);
    tracks.Refresh();
    for (int num : {1, 2, 3})
        add(tracks, {{QStringLiteral("CDid"), 3},
                     {QStringLiteral("TrackNum"), num},
                     {QStringLiteral("lastPitchChange"), num * 100}});
    tracks.Requery();
    showDisc(discLoops, 3);
    add(discLoops, {{QStringLiteral("CDid"), 3},
                    {QStringLiteral("TrackNum"), 2},
                    {QStringLiteral("startTime"), 1000}});
    add(discLoops, {{QStringLiteral("CDid"), 3}, {QStringLiteral("startTime"), 5000}});
    showDisc(discLoops, 3);

    library::findPitchOwner(tracks, discLoops, true);
    ASSERT_FALSE(tracks.NoMatch());
    EXPECT_EQ(tracks.field(QStringLiteral("lastPitchChange")).toInt(), 200);
    discLoops.MoveLast();
    library::findPitchOwner(tracks, discLoops, true);
    EXPECT_TRUE(tracks.NoMatch()) << "a loop without a track has no owner";

    library::selectAllWaveFiles(files);
    files.Refresh();
    for (const char* fileName : {"first.wav", "second.wav"})
        add(files, {{QStringLiteral("waveFileName"), QString::fromLatin1(fileName)},
                    {QStringLiteral("waveFilePath"), QStringLiteral("/music")}});
    files.Requery();
    files.MoveLast();
    const QVariant second = files.field(QStringLiteral("waveFileID"));
    files.MoveFirst();
    library::selectWaveLoops(waveLoops, second);
    waveLoops.Refresh();
    addWaveLoop(waveLoops, second.toInt(), 1, QStringLiteral("Entire file in this loop"));
    waveLoops.Refresh();

    library::findPitchOwner(files, waveLoops, false);
    ASSERT_FALSE(files.NoMatch());
    EXPECT_EQ(files.field(QStringLiteral("waveFileName")).toString(), u"second.wav");

    // The pitch to start from is looked for among the tracks even for a wave file: the search
    // fails there and leaves the tracks where they were.
    library::findTrack(tracks, 1);
    EXPECT_NE(errorOf([&] { library::findPitchOwner(tracks, waveLoops, false); }), 0);
    EXPECT_EQ(tracks.field(QStringLiteral("TrackNum")).toInt(), 1);
}
