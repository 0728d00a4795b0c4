// Loops as a musician lives with them: marked by ear while the music plays, played over and
// over, trimmed by ear, written on, and all of it found again after the program was closed
// and started anew. The sound is a file whose every sample names its own frame, so what the
// null device played can be read back pass by pass.
#include "Journey.h"

#include "app/Prompts.h"

#include <QAbstractItemView>
#include <QSlider>
#include <QTest>

namespace {

constexpr int kRate = 8000;
// A join may blend its two sides for this long; 20 ms.
constexpr qint64 kJoinTolerance = kRate / 50;

class LoopsJourney : public Journey {
protected:
    static qint64 frame(qint32 ms) { return qint64(ms) * kRate / 1000; }

    // Clears what was heard, lets the given action start the loop start..end, and listens long
    // enough for that many whole passes wherever in a pass the listening began.
    drive::Passes hear(drive::Loopback& ear, qint32 start, qint32 end, int passes,
                       const std::function<void()>& action) {
        ear.clear();
        action();
        EXPECT_TRUE(ear.listen((end - start) / 1000.0 * (passes + 1.5)));
        return drive::passesOf(ear.samples(), frame(start), frame(end), kJoinTolerance);
    }

    // Enter in a cell being edited: the text goes to the grid as the editor closes, a moment
    // after the key.
    void enterCell(QAbstractItemView* grid) {
        press(QApplication::focusWidget(), Qt::Key_Return);
        EXPECT_TRUE(drive::waitFor([grid] { return QApplication::focusWidget() == grid; }))
            << "Enter left the cell open";
    }

    // The latest frame of the sound heard at all, -1 if nothing but silence.
    static qint64 furthestFrameHeard(const drive::Loopback& ear) {
        qint64 furthest = -1;
        for (const float v : ear.samples())
            furthest = std::max(furthest, drive::frameOf(v));
        return furthest;
    }

    // The frame heard last, -1 if nothing but silence.
    static qint64 lastFrameHeard(const drive::Loopback& ear) {
        const std::vector<float> heard = ear.samples();
        for (auto it = heard.rbegin(); it != heard.rend(); ++it)
            if (const qint64 f = drive::frameOf(*it); f >= 0)
                return f;
        return -1;
    }
};

} // namespace

TEST_F(LoopsJourney, MarkedPlayedTrimmedAndAnnotatedLoopsAreAllThereAfterARestart) {
    const QString name = QStringLiteral("phrases.wav");
    const QString path = musicPath(name);
    ASSERT_TRUE(drive::writeFrameNumbered(path, 30.0, kRate));
    drive::Loopback ear(kRate);
    ASSERT_TRUE(ear.ok());

    openThroughFileMenu(path);
    EXPECT_EQ(mainWindow()->windowTitle(), QStringLiteral("Cantavox: ") + path);
    ASSERT_EQ(shownLoops().size(), 1) << "a new file comes with its whole-file loop";
    EXPECT_EQ(shownLoops()[0][2], u"Entire file in this loop");

    // Space plays the file from its start.
    QAbstractItemView* grid = loopsGrid();
    press(grid, Qt::Key_Space);
    ASSERT_TRUE(ear.listen(1.0));
    EXPECT_GT(lastFrameHeard(ear), frame(500)) << "Space played nothing";

    // Four phrases marked while listening.
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 4, 2.5));
    const auto marked = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(marked.size(), 5) << "four loops besides the whole-file one";
    const QList<QStringList> rows = shownLoops();
    ASSERT_EQ(rows.size(), 5);
    for (int i = 1; i <= 4; ++i) {
        EXPECT_GE(marked[i].end - marked[i].start, 2000) << "loop " << i;
        EXPECT_LE(marked[i].end - marked[i].start, 6000) << "loop " << i;
        if (i < 4)
            EXPECT_EQ(marked[i].end, marked[i + 1].start) << "loops abut";
        EXPECT_TRUE(marked[i].comment.startsWith(u"00:")) << "named by its position";
        EXPECT_EQ(rows[i][2], marked[i].comment) << "row " << i;
    }
    EXPECT_TRUE(drive::shownWindow(QStringLiteral("frmTrim"))) << "the first loop plays";

    // The third loop, played with F7, repeats.
    drive::clickCell(input, grid, 3, 0);
    EXPECT_EQ(grid->currentIndex().row(), 3);
    const auto& third = marked[3];
    drive::Passes passes = hear(ear, third.start, third.end, 3, [&] { press(grid, Qt::Key_F7); });
    EXPECT_GE(passes.whole, 3) << "F7 should play the loop over and over";
    QWidget* trim = drive::shownWindow(QStringLiteral("frmTrim"));
    ASSERT_NE(trim, nullptr);
    auto* startEnd = drive::in<QSlider>(trim, "slStart_0");
    auto* endEnd = drive::in<QSlider>(trim, "slStart_1");
    ASSERT_TRUE(startEnd && endEnd);
    EXPECT_EQ(startEnd->value(), third.start) << "the trim window shows the loop played";
    EXPECT_EQ(endEnd->value(), third.end);

    // Trimmed by ear: a click on each groove and a few arrow keys, each heard at once.
    drive::clickGroove(input, startEnd, 0.95);
    press(startEnd, Qt::Key_Right);
    press(startEnd, Qt::Key_Right);
    drive::clickGroove(input, endEnd, 0.05);
    for (int i = 0; i < 3; ++i)
        press(endEnd, Qt::Key_Left);
    const qint32 trimmedStart = startEnd->value();
    const qint32 trimmedEnd = endEnd->value();
    EXPECT_EQ(trimmedStart, third.start + startEnd->pageStep() + 2 * startEnd->singleStep());
    EXPECT_EQ(trimmedEnd, third.end - endEnd->pageStep() - 3 * endEnd->singleStep());
    passes = hear(ear, trimmedStart, trimmedEnd, 3, [] {});
    EXPECT_GE(passes.whole, 3) << "the trimmed loop should be what repeats";
    EXPECT_EQ(journey::LibraryReader::loopsOf(name)[3].start, third.start)
        << "moves are for listening until Save";

    Prompts::pushAnswer(vb::vbYes);
    click(drive::in(trim, "cmdSave"));
    ASSERT_FALSE(messageBoxes().isEmpty());
    EXPECT_EQ(messageBoxes().last(),
              u"Are you sure that you want to save the current trim points as the new start and "
              u"end points for the loop?");
    auto saved = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(saved.size(), 5);
    EXPECT_EQ(saved[3].start, trimmedStart);
    EXPECT_EQ(saved[3].end, trimmedEnd);

    // Chords and lyrics typed into the grid; the last row is never left before the quit.
    const QStringList chords = {QStringLiteral("Am G"), QStringLiteral("F C"),
                                QStringLiteral("Dm7 E7"), QStringLiteral("Am")};
    const QStringList lyrics = {QStringLiteral("when the night"), QStringLiteral("has come"),
                                QStringLiteral("and the land is dark"),
                                QStringLiteral("stand by me")};
    for (int i = 0; i < 4; ++i) {
        const int row = i + 1;
        drive::clickCell(input, grid, row, 0);
        press(grid, Qt::Key_Right);
        drive::type(input, chords[i]);
        enterCell(grid);
        press(grid, Qt::Key_Right);
        drive::type(input, lyrics[i]);
        enterCell(grid);
        if (row < 4)
            press(grid, Qt::Key_Down);
    }
    for (int row = 1; row <= 4; ++row) {
        EXPECT_EQ(shownLoops()[row][0], chords[row - 1]) << "row " << row;
        EXPECT_EQ(shownLoops()[row][1], lyrics[row - 1]) << "row " << row;
    }
    saved = journey::LibraryReader::loopsOf(name);
    for (int row = 1; row <= 3; ++row) {
        EXPECT_EQ(saved[row].chords, chords[row - 1]) << "a row left is in the library";
        EXPECT_EQ(saved[row].lyrics, lyrics[row - 1]);
    }

    quitThroughFileMenu();
    EXPECT_EQ(run->endCount(), 1) << "File > Exit ends the process";
    saved = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(saved.size(), 5);
    EXPECT_EQ(saved[4].chords, chords[3]) << "what the grid held for its row, kept at the quit";
    EXPECT_EQ(saved[4].lyrics, lyrics[3]);

    // Started again on the same folder, the file brings everything back.
    startProgram();
    openThroughFileMenu(path);
    const QList<QStringList> again = shownLoops();
    ASSERT_EQ(again.size(), 5);
    for (int row = 1; row <= 4; ++row) {
        EXPECT_EQ(again[row][0], chords[row - 1]) << "row " << row;
        EXPECT_EQ(again[row][1], lyrics[row - 1]) << "row " << row;
        EXPECT_EQ(again[row][2], marked[row].comment) << "row " << row;
        EXPECT_EQ(saved[row].comment, marked[row].comment);
    }
    grid = loopsGrid();
    drive::clickCell(input, grid, 3, 0);
    passes = hear(ear, trimmedStart, trimmedEnd, 3, [&] { press(grid, Qt::Key_F7); });
    EXPECT_GE(passes.whole, 3) << "the saved trim should be what plays after the restart";
    trim = drive::shownWindow(QStringLiteral("frmTrim"));
    ASSERT_NE(trim, nullptr);
    EXPECT_EQ(drive::in<QSlider>(trim, "slStart_0")->value(), trimmedStart);
    EXPECT_EQ(drive::in<QSlider>(trim, "slStart_1")->value(), trimmedEnd);
}

// Every play and stop used to leave a count behind that a narrow store then cut: after a few
// hundred of them the loop played once and stopped.
TEST_F(LoopsJourney, ALoopStillRepeatsAfterThreeHundredPressesOfSpace) {
    const QString name = QStringLiteral("long take.wav");
    const QString path = musicPath(name);
    ASSERT_TRUE(drive::writeFrameNumbered(path, 30.0, kRate));
    drive::Loopback ear(kRate);
    ASSERT_TRUE(ear.ok());
    openThroughFileMenu(path);
    press(loopsGrid(), Qt::Key_Space);
    ASSERT_TRUE(ear.listen(1.0));
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 1, 2.0));
    const auto loops = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(loops.size(), 2);
    const auto& loop = loops[1];

    QAbstractItemView* grid = loopsGrid();
    drive::clickCell(input, grid, 1, 0);
    drive::Passes passes = hear(ear, loop.start, loop.end, 3, [&] { press(grid, Qt::Key_F7); });
    ASSERT_GE(passes.whole, 3) << "the loop should repeat to begin with";

    for (int i = 0; i < 300; ++i) {
        press(grid, Qt::Key_Space);
        drive::spin(1);
    }
    passes = hear(ear, loop.start, loop.end, 3, [&] { press(grid, Qt::Key_F7); });
    EXPECT_GE(passes.whole, 3) << "after 150 plays and stops the loop should still repeat";
    EXPECT_TRUE(messageBoxes().isEmpty()) << messageBoxes().join(u'\n').toStdString();
}

// "Start New Loop" pressed while a loop repeats: the marks are taken while the music runs
// straight on, so the next phrases can be marked after it.
TEST_F(LoopsJourney, MarkingWhileALoopRepeatsLetsTheMusicRunOnPastTheLoop) {
    const QString name = QStringLiteral("verse and chorus.wav");
    const QString path = musicPath(name);
    ASSERT_TRUE(drive::writeFrameNumbered(path, 30.0, kRate));
    drive::Loopback ear(kRate);
    openThroughFileMenu(path);
    press(loopsGrid(), Qt::Key_Space);
    ASSERT_TRUE(ear.listen(1.0));
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 1, 1.5));
    const auto first = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(first.size(), 2);
    const qint32 loopEnd = first[1].end;

    // The first loop repeats; a new marking starts inside it.
    ASSERT_TRUE(ear.listen(2.0));
    ear.clear();
    ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 2, 2.5));
    EXPECT_GT(furthestFrameHeard(ear), frame(loopEnd + 3000))
        << "the music stopped at the repeating loop's end instead of running on";
    const auto loops = journey::LibraryReader::loopsOf(name);
    ASSERT_EQ(loops.size(), 4);
    // Each phrase lasts as long as it was listened to, not to the first loop's end.
    for (int i = 2; i < 4; ++i)
        EXPECT_GE(loops[i].end - loops[i].start, 2000)
            << "loop " << loops[i].start << ".." << loops[i].end << " (the first loop ended at "
            << loopEnd << ")";
}
