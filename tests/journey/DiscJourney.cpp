// A disc as a musician meets it: put in the drive, recognised as new and named by typing over
// its title, played, stepped through by Next and Previous, taken out and put back and known
// again. The drive is an image drive (a folder the program is pointed at), its disc a cue
// sheet and a bin, put in and taken out while the program runs.
#include "CdImage.h"
#include "Journey.h"
#include "SoundProbe.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScrollBar>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

namespace {

class DiscJourney : public Journey {
protected:
    explicit DiscJourney(int nullRate = 10) : Journey(nullRate) {}
    void SetUp() override {
        ASSERT_TRUE(drives.isValid());
        drive = drives.path() + QStringLiteral("/drive-d");
        ASSERT_TRUE(QDir().mkpath(drive));
        qputenv("CANTAVOX_CD", drives.path().toLocal8Bit());
        Journey::SetUp();
    }
    void TearDown() override {
        Journey::TearDown();
        qunsetenv("CANTAVOX_CD");
    }
    QLineEdit* title() const { return widget<QLineEdit>("CDTitle"); }
    QString shownPosition() const { return widget<QLabel>("txtCurrentPosition")->text(); }
    bool waitForMessage(const char* text) {
        return drive::waitFor([&] { return panel("pnlMsg") == QLatin1String(text); }, 5000);
    }
    QToolButton* cdButton(const char* tip) const {
        return drive::transportButton(widget("CDControl"), QString::fromLatin1(tip));
    }
    // Puts the album in, plays it from track `track`, and marks `count` loops of about
    // `seconds` each while it plays. The disc's record, or 0 when a step failed (and said so).
    int markOnDisc(int count, double seconds, int track = 1) {
        EXPECT_TRUE(cdimage::insert(drive, album));
        if (!waitForMessage("CD Found")) {
            ADD_FAILURE() << "the disc was not found; pnlMsg says "
                          << panel("pnlMsg").toStdString();
            return 0;
        }
        drive::Loopback ear(16000, 1);
        EXPECT_TRUE(ear.ok());
        for (int t = 1; t < track; ++t)
            click(cdButton("Next"));
        click(cdButton("Play"));
        EXPECT_TRUE(ear.listen(1.0));
        if (!drive::markLoops(input, mainWindow(), ear, count, seconds)) {
            ADD_FAILURE() << "the loops could not be marked";
            return 0;
        }
        return journey::LibraryReader::discs().value(0).id;
    }

    QTemporaryDir drives;
    QString drive;
    // Three tracks: 70, 45 and 50 seconds, the whole a little under three minutes.
    const cdimage::Disc album{{{70.0}, {45.0}, {50.0}}, {}, {}};
};

// A capture through the sound device records as the sound plays: at the pace of a real one,
// so that a disc can be taken out halfway through it.
class DiscCaptureJourney : public DiscJourney {
protected:
    DiscCaptureJourney() : DiscJourney(1) {}
};

} // namespace

TEST_F(DiscJourney, ADiscIsKnownNamedPlayedSteppedThroughAndKnownAgain) {
    EXPECT_EQ(panel("pnlMsg"), QStringLiteral("No CD in drive"));
    EXPECT_EQ(mainWindow()->windowTitle(), QStringLiteral("Cantavox: No CD in drive"));

    // In goes the disc: it is new, so it gets a record, and its title waits to be typed over.
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found")) << "pnlMsg says " << panel("pnlMsg").toStdString();
    QList<journey::LibraryReader::Disc> discs = journey::LibraryReader::discs();
    ASSERT_EQ(discs.size(), 1);
    EXPECT_EQ(discs[0].title, QStringLiteral("CD Title"));
    EXPECT_EQ(discs[0].artist, QStringLiteral("Artist"));
    EXPECT_EQ(discs[0].numTracks, 3);
    EXPECT_EQ(discs[0].cdLen, 165000);
    EXPECT_EQ(discs[0].track1Len, 70000);
    EXPECT_EQ(discs[0].trackNames,
              (QStringList{QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
    EXPECT_EQ(title()->text(), QStringLiteral("CD Title"));
    EXPECT_EQ(title()->selectedText(), QStringLiteral("CD Title")) << "ready to be typed over";
    EXPECT_EQ(panel("pnlCDlength"), QStringLiteral("CD Length: 02:45"));
    EXPECT_EQ(shownPosition(), QStringLiteral("01:00:00"));

    // Named by typing: kept at once, and the window says it.
    QTest::keyClicks(title(), QStringLiteral("Reels of the North"));
    EXPECT_EQ(journey::LibraryReader::discs().value(0).title, QStringLiteral("Reels of the North"));
    EXPECT_EQ(mainWindow()->windowTitle(), QStringLiteral("Cantavox: Reels of the North"));

    // Played with the strip's Play: the position runs in track 1.
    drive::Loopback ear(44100);
    ASSERT_TRUE(ear.ok());
    click(cdButton("Play"));
    ASSERT_TRUE(waitForMessage("CD playing"));
    EXPECT_TRUE(ear.listen(1.0));
    EXPECT_TRUE(drive::waitFor([&] { return shownPosition() > QStringLiteral("01:00:00"); }))
        << "the position stays at " << shownPosition().toStdString();

    // The position bar dragged halfway along track 1: the time follows the hand, and the disc
    // plays on from where it was let go.
    drive::dragScrollBar(widget<QScrollBar>("sbTrackPos"), 0.5);
    const QString dropped = shownPosition();
    EXPECT_TRUE(dropped >= QStringLiteral("01:00:30") && dropped <= QStringLiteral("01:00:40"))
        << dropped.toStdString();
    EXPECT_TRUE(waitForMessage("CD playing"));
    EXPECT_TRUE(drive::waitFor([&] { return shownPosition() > dropped; }))
        << "the position stays at " << shownPosition().toStdString();
    EXPECT_LT(shownPosition(), QStringLiteral("01:00:50")) << "it plays on from the drop";

    // Next goes to track 2 and plays on; Previous a moment in goes back to its start, and at
    // its start to track 1.
    click(cdButton("Next"));
    EXPECT_TRUE(shownPosition().startsWith(QStringLiteral("02:"))) << shownPosition().toStdString();
    EXPECT_TRUE(panel("pnlTrackLength").startsWith(QStringLiteral("Track 2 Length: ")));
    EXPECT_TRUE(drive::waitFor([&] { return shownPosition() >= QStringLiteral("02:00:01"); }));
    click(cdButton("Previous"));
    EXPECT_EQ(shownPosition().left(2), QStringLiteral("02"));
    click(cdButton("Stop"));
    click(cdButton("Previous"));
    EXPECT_EQ(shownPosition(), QStringLiteral("01:00:00"));
    click(cdButton("Next"));
    click(cdButton("Next"));
    click(cdButton("Next"));
    EXPECT_EQ(shownPosition(), QStringLiteral("03:00:00")) << "Next stops at the last track";

    // Out and in again: the same disc, the same record, the name it was given.
    ASSERT_TRUE(cdimage::eject(drive));
    ASSERT_TRUE(waitForMessage("No CD in drive"));
    EXPECT_EQ(title()->text(), QStringLiteral("No CD In Drive"));
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found"));
    EXPECT_EQ(title()->text(), QStringLiteral("Reels of the North"));
    discs = journey::LibraryReader::discs();
    ASSERT_EQ(discs.size(), 1) << "a disc known by its lengths gets no second record";
    EXPECT_EQ(discs[0].title, QStringLiteral("Reels of the North"));
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, ANamedDiscPutInWhileAFileIsUpIsFiledThenShownLoopedAndMarked) {
    ASSERT_TRUE(wavgen::writeSine(musicPath(QStringLiteral("air.wav")), 10.0, 440.0, {16000, 1}));
    openThroughFileMenu(musicPath(QStringLiteral("air.wav")));
    ASSERT_EQ(shownLoops().size(), 1);

    // The disc carries its names; it comes while the file is up.
    const cdimage::Disc named{
        {{70.0, true, QStringLiteral("Überleitung")}, {45.0, true, QStringLiteral("Reel")}},
        QStringLiteral("Ça m'énerve"),
        QStringLiteral("Trio Élan")};
    ASSERT_TRUE(cdimage::insert(drive, named));
    ASSERT_TRUE(drive::waitFor([] { return !journey::LibraryReader::discs().isEmpty(); }, 5000));
    const journey::LibraryReader::Disc filed = journey::LibraryReader::discs().value(0);
    EXPECT_EQ(filed.title, named.title);
    EXPECT_EQ(filed.artist, named.performer);
    EXPECT_EQ(filed.trackNames,
              (QStringList{QStringLiteral("Überleitung"), QStringLiteral("Reel")}));
    EXPECT_EQ(filed.cdLen, 115000) << "measured as a disc, whatever player was up";
    EXPECT_EQ(filed.track1Len, 70000);
    ASSERT_EQ(shownLoops().size(), 1) << "the file's loops stay while the file is up";
    EXPECT_EQ(shownLoops()[0][2], QStringLiteral("Entire file in this loop"));

    // View > CD View > Normal shows the disc.
    ASSERT_TRUE(drive::activate(mainWindow()));
    QTest::keyClick(mainWindow(), Qt::Key_V, Qt::AltModifier);
    QWidget* popup = nullptr;
    ASSERT_TRUE(drive::waitFor([&] { return (popup = QApplication::activePopupWidget()); }));
    QTest::keyClick(popup, Qt::Key_C);
    ASSERT_TRUE(drive::waitFor([&] {
        QWidget* now = QApplication::activePopupWidget();
        return now && now != popup && (popup = now);
    }));
    QTest::keyClick(popup, Qt::Key_N);
    ASSERT_TRUE(drive::waitFor([&] { return title()->text() == named.title; }))
        << "the title shows " << title()->text().toStdString();
    auto* tracks = widget<QAbstractItemView>("tgTracks");
    EXPECT_EQ(tracks->model()->index(0, 1).data().toString(), QStringLiteral("Überleitung"));
    EXPECT_TRUE(shownLoops().isEmpty());

    // Played, and two phrases marked while it plays, as on a file.
    drive::Loopback ear(16000);
    ASSERT_TRUE(ear.ok());
    click(cdButton("Play"));
    ASSERT_TRUE(ear.listen(1.0));
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 2, 2.0));
    const auto loops = journey::LibraryReader::loopsOfDisc(filed.id);
    ASSERT_EQ(loops.size(), 2);
    EXPECT_EQ(loops[0].end, loops[1].start) << "the loops abut";
    EXPECT_GE(loops[0].end - loops[0].start, 1500);
    EXPECT_EQ(shownLoops().size(), 2);

    // The first loop plays over and over.
    press(loopsGrid(), Qt::Key_F7);
    EXPECT_TRUE(drive::waitFor([&] { return panel("pnlMsg") == QStringLiteral("Looping"); }, 5000))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscCaptureJourney, ALoopOfADiscIsCapturedThroughTheSoundDeviceUnlessTheDiscIsTakenOut) {
    // The musician has chosen capture through the sound device over reading the disc.
    run.reset();
    {
        QSettings prefs(appDir() + QStringLiteral("/Cantavox.conf"), QSettings::IniFormat);
        prefs.setValue(QStringLiteral("Preferences/RecordMode"), QStringLiteral("2"));
    }
    startProgram();
    const int cdId = markOnDisc(1, 2.0);
    ASSERT_GT(cdId, 0);
    const auto loops = journey::LibraryReader::loopsOfDisc(cdId);
    ASSERT_EQ(loops.size(), 1);
    const double loopSeconds = (loops[0].end - loops[0].start) / 1000.0;

    // Taken out halfway through the capture: nothing half-made is kept.
    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(waitForMessage("Recording")) << "pnlMsg says " << panel("pnlMsg").toStdString();
    QTest::qWait(int(loopSeconds * 400));
    ASSERT_TRUE(cdimage::eject(drive));
    ASSERT_TRUE(drive::waitFor([this] { return !messageBoxes().isEmpty(); }, 5000))
        << "nothing was said; pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(messageBoxes().join(u'\n'),
              QStringLiteral("The CD was taken out while the loop was being recorded. Nothing "
                             "was recorded."));
    EXPECT_TRUE(waitForMessage("No CD in drive"))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_FALSE(QFile::exists(appDir() + QStringLiteral("/temp.wav")));
    EXPECT_TRUE(mainWindow()->isEnabled());
    EXPECT_FALSE(widget("cmdGraphic")->isEnabled()) << "there is no slowed loop to look at";
    EXPECT_EQ(journey::LibraryReader::loopsOfDisc(cdId), loops) << "the library is untouched";

    // Put back: the disc plays the loop into a recording, which is then slowed down.
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found")) << "pnlMsg says " << panel("pnlMsg").toStdString();
    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(drive::waitFor([this] { return widget("cmdGraphic")->isEnabled(); }, 30000))
        << "the slowed loop never came; pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(panel("pnlMsg"), QStringLiteral("Playing loop at 50% of original speed."));
    const Sound captured = load(appDir() + QStringLiteral("/temp.wav"));
    EXPECT_EQ(captured.info.channels, 1) << "a capture through the sound device is mono";
    EXPECT_NEAR(double(captured.info.frames) / captured.info.samplerate, loopSeconds, 0.25)
        << "the capture lasts as long as the loop";
    double energy = 0;
    for (const float v : captured.samples)
        energy += double(v) * v;
    EXPECT_GT(energy / std::max<size_t>(1, captured.samples.size()), 1e-4)
        << "the capture holds the disc's sound";
    const Sound slowed = load(appDir() + QStringLiteral("/tempslow.wav"));
    EXPECT_NEAR(double(slowed.info.frames), 2.0 * double(captured.info.frames),
                0.01 * double(captured.info.frames));
    EXPECT_EQ(messageBoxes().size(), 1) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, ALoopOfADiscIsReadDigitallySampleForSampleAndSlowedDown) {
    const int cdId = markOnDisc(1, 2.0, 2);
    ASSERT_GT(cdId, 0);
    const auto loops = journey::LibraryReader::loopsOfDisc(cdId);
    ASSERT_EQ(loops.size(), 1);
    ASSERT_GT(loops[0].start, 70000) << "the loop lies in track 2";

    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(drive::waitFor([this] { return widget("cmdGraphic")->isEnabled(); }, 30000))
        << "the slowed loop never came; pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(panel("pnlMsg"), QStringLiteral("Playing loop at 50% of original speed."));
    // Read off the disc: stereo at the disc's rate, every frame the disc's own, in order,
    // from the loop's start.
    const Sound copied = load(appDir() + QStringLiteral("/temp.wav"));
    EXPECT_EQ(copied.info.channels, 2);
    EXPECT_EQ(copied.info.samplerate, 44100);
    ASSERT_GT(copied.info.frames, 44100);
    const qint64 first = qint64(loops[0].start) * 75 / 1000 * 588;
    for (qint64 f = 0; f < copied.info.frames; ++f) {
        const auto left = qint16(std::lround(copied.at(f, 0) * 32768.0));
        const auto right = qint16(std::lround(copied.at(f, 1) * 32768.0));
        ASSERT_EQ(cdimage::frameOf(left, right), first + f) << "frame " << f;
    }
    EXPECT_NEAR(double(copied.info.frames) / 44100.0, (loops[0].end - loops[0].start) / 1000.0,
                0.03);
    const Sound slowed = load(appDir() + QStringLiteral("/tempslow.wav"));
    EXPECT_NEAR(double(slowed.info.frames), 2.0 * double(copied.info.frames),
                0.01 * double(copied.info.frames));
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, ATrackIsCopiedDigitallyIntoAFileOfTheUsersChoosing) {
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found"));
    // The second track, chosen in the grid, then CD > Digital Recording of Track.
    drive::clickCell(input, widget<QAbstractItemView>("tgTracks"), 1, 1);
    const QString copy = musicPath(QStringLiteral("track two.wav"));
    Prompts::pushAnswer(QStringLiteral("Yes"));
    Prompts::pushAnswer(copy);
    ASSERT_TRUE(drive::activate(mainWindow()));
    chooseMenu(Qt::Key_C, Qt::Key_D);
    ASSERT_TRUE(
        drive::waitFor([&] { return panel("pnlMsg") == QStringLiteral("Done reading CD"); }, 20000))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    bool asked = false;
    for (const QString& box : messageBoxes())
        asked = asked || box.contains(QStringLiteral("This track's length is 0.8 minutes."));
    EXPECT_TRUE(asked) << "the length and the room it needs are told first";
    const Sound copied = load(copy);
    EXPECT_EQ(copied.info.channels, 2);
    ASSERT_EQ(copied.info.frames, qint64(45 * 44100));
    const qint64 frames = copied.info.frames;
    for (const qint64 f : {qint64(0), frames / 2, frames - 1}) {
        const auto left = qint16(std::lround(copied.at(f, 0) * 32768.0));
        const auto right = qint16(std::lround(copied.at(f, 1) * 32768.0));
        EXPECT_EQ(cdimage::frameOf(left, right), qint64(70 * 44100) + f) << "frame " << f;
    }
    EXPECT_TRUE(mainWindow()->isEnabled()) << "the window takes input again";
    EXPECT_EQ(messageBoxes().size(), 1) << "the one question before the copy, and no other box: "
                                        << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, ADiscTakenOutWhileItPlaysLeavesTheProgramUsable) {
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found"));
    click(cdButton("Play"));
    ASSERT_TRUE(waitForMessage("CD playing"));

    ASSERT_TRUE(cdimage::eject(drive));
    ASSERT_TRUE(waitForMessage("No CD in drive"))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(mainWindow()->windowTitle(), QStringLiteral("Cantavox: No CD in drive"));
    EXPECT_TRUE(mainWindow()->isEnabled());
    QTest::qWait(300);
    EXPECT_EQ(panel("pnlMsg"), QStringLiteral("No CD in drive")) << "nothing plays on";

    // Put back, it is known and plays again.
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found"));
    click(cdButton("Play"));
    EXPECT_TRUE(waitForMessage("CD playing"));
    EXPECT_EQ(journey::LibraryReader::discs().size(), 1);
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, ADiscWhoseFirstTrackIsDataIsNoMusicAndGetsNoRecord) {
    ASSERT_TRUE(cdimage::insert(drive, {{{30.0, false, {}}, {60.0, true, {}}}, {}, {}}));
    ASSERT_TRUE(waitForMessage("CD-ROM (no audio tracks)"))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(title()->text(), QStringLiteral("CD-ROM (no audio tracks)"));
    EXPECT_TRUE(journey::LibraryReader::discs().isEmpty());
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

TEST_F(DiscJourney, AfterAThousandActionsOnADiscALoopStillRepeatsAndNothingIsLeftOver) {
    const int cdId = markOnDisc(4, 2.0);
    ASSERT_GT(cdId, 0);
    ASSERT_EQ(journey::LibraryReader::loopsOfDisc(cdId).size(), 4);

    drive::PracticeSession session(mainWindow(), input, 20261123, "CDControl");
    while (session.done() < 1000)
        session.act();
    if (QWidget* back = widget("cmdPrevView"); back->isVisible())
        click(back);
    ASSERT_TRUE(drive::waitFor([this] { return loopsGrid()->isVisible(); }));
    drive::spin(300);
    ProgramRun::settle();
    EXPECT_EQ(fsCallStackLines(), QStringList()) << "procedures still on the stack at rest";
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
    EXPECT_EQ(journey::LibraryReader::discs().size(), 1);
    EXPECT_EQ(journey::LibraryReader::loopsOfDisc(cdId).size(), 4) << "no loop lost or added";

    drive::clickCell(input, loopsGrid(), 1, 0);
    press(loopsGrid(), Qt::Key_F7);
    EXPECT_TRUE(drive::waitFor([&] { return panel("pnlMsg") == QStringLiteral("Looping"); }, 5000))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
}

// Two drives, and the first start: the program asks which plays audio, tries it, and finds
// the digital reader's drive by the disc in it.
class TwoDrivesJourney : public Journey {
protected:
    void SetUp() override {
        ASSERT_TRUE(drives.isValid());
        ASSERT_TRUE(QDir().mkpath(drives.path() + QStringLiteral("/d-first")));
        ASSERT_TRUE(cdimage::insert(drives.path() + QStringLiteral("/e-second"),
                                    {{{30.0}, {30.0}}, {}, {}}));
        qputenv("CANTAVOX_CD", drives.path().toLocal8Bit());
        Journey::SetUp();
    }
    void beforeStart() override {
        // The letter asked for, the answer to "Can you hear the CD playing?".
        Prompts::pushAnswer(QStringLiteral("e"));
        Prompts::pushAnswer(QStringLiteral("Yes"));
    }
    void TearDown() override {
        Journey::TearDown();
        qunsetenv("CANTAVOX_CD");
    }
    QTemporaryDir drives;
};

TEST_F(TwoDrivesJourney, TheFirstStartAsksForTheDriveTriesItAndKeepsIt) {
    QStringList asked;
    for (const Prompts::Record& r : Prompts::log())
        asked << r.kind + QStringLiteral(": ") + r.title + QStringLiteral(" | ") + r.text;
    ASSERT_FALSE(asked.isEmpty());
    EXPECT_TRUE(asked.first().startsWith(QStringLiteral(
        "input: Enter audio CD drive letter | Please enter the letter of the drive used for CD "
        "audio, and put an audio CD in that drive. Available letters appear to be: DE")))
        << asked.join(u'\n').toStdString();
    EXPECT_TRUE(asked.join(u'\n').contains(QStringLiteral("Can you hear the CD playing?")));
    EXPECT_TRUE(asked.join(u'\n').contains(
        QStringLiteral("Configuration succeeded! (Device number of active CD drive is 2)")))
        << asked.join(u'\n').toStdString();
    QSettings prefs(appDir() + QStringLiteral("/Cantavox.conf"), QSettings::IniFormat);
    EXPECT_EQ(prefs.value(QStringLiteral("Preferences/MCI CD letter")).toString(),
              QStringLiteral("E"));
    EXPECT_EQ(prefs.value(QStringLiteral("Preferences/digCDNum")).toString(), QStringLiteral("2"));
    EXPECT_TRUE(
        drive::waitFor([this] { return panel("pnlMsg") == QStringLiteral("CD Found"); }, 5000))
        << "pnlMsg says " << panel("pnlMsg").toStdString();
    EXPECT_EQ(journey::LibraryReader::discs().value(0).numTracks, 2) << "the disc in E";
}

TEST_F(DiscJourney, PutBackADiscComesWithItsLoopsAndTheLoopLastChosen) {
    ASSERT_GT(markOnDisc(3, 1.5), 0);
    click(cdButton("Stop"));
    drive::clickCell(input, loopsGrid(), 2, 0);
    ASSERT_EQ(loopsGrid()->currentIndex().row(), 2);

    ASSERT_TRUE(cdimage::eject(drive));
    ASSERT_TRUE(waitForMessage("No CD in drive"));
    EXPECT_TRUE(shownLoops().isEmpty()) << "an empty drive shows no loops";
    ASSERT_TRUE(cdimage::insert(drive, album));
    ASSERT_TRUE(waitForMessage("CD Found"));
    EXPECT_EQ(shownLoops().size(), 3);
    EXPECT_EQ(loopsGrid()->currentIndex().row(), 2) << "the loop chosen last is the current one";
}

TEST_F(DiscJourney, ADiscShorterThanAMinuteIsFiledAndShownWithoutMovingToItsTrack) {
    ASSERT_TRUE(cdimage::insert(drive, {{{30.0, true, {}}}, {}, {}}));
    ASSERT_TRUE(waitForMessage("CD Found"));
    EXPECT_EQ(panel("pnlCDlength"), QStringLiteral("CD Length: 00:30"));
    EXPECT_EQ(journey::LibraryReader::discs().value(0).cdLen, 30000);
    EXPECT_FALSE(panel("pnlTrackLength").startsWith(QStringLiteral("Track 1 Length")))
        << "a disc without a whole minute is not switched to its first track";
    click(cdButton("Play"));
    EXPECT_TRUE(waitForMessage("CD playing")) << "it plays all the same";
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}
