// Loops as the musician makes, plays and trims them, away from the main path: the marking
// window's lists and what closing it by its frame keeps, ends derived for loops stored without
// one, endpoints that can't be played, a disc that isn't playing; the trim window's margin of a
// second, a press and a release on its sliders, the end preview, Zoom Out, Prev and Next at the
// edges of the sound, Save answered No, and its keys. The real window and library, generated
// WAV files and the null sound device running faster than real time.
#include "ErrorOf.h"
#include "MainWindowTest.h"

#include "app/Forms.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/Recordset.h"
#include "loops/frmTrim.h"
#include "loops/loopPoints.h"
#include "loops/makeLoopPoints.h"
#include "platform/MMControl.h"
#include "ui_makeLoopPoints.h"

#include <QAbstractButton>
#include <QElapsedTimer>
#include <QListWidget>
#include <QSlider>
#include <QTest>
#include <gtest/gtest.h>
#include <tuple>

namespace {

const QString kLoopProblem = QStringLiteral("Sorry, there's a loop problem. Endpoints are wrong.");

class Loops : public MainWindowTest {
protected:
    // Opens a mono 8 kHz sine in mode "Wave"; the catalogue gives it one whole-file loop,
    // which the tests take away.
    void openWave(double seconds) {
        MainWindowTest::openWave(QStringLiteral("piece.wav"), seconds);
        while (loops()->RecordCount() > 0) {
            loops()->MoveFirst();
            loops()->Delete();
        }
    }
    Recordset* loops() const { return m->library().dtaLoopPoints; }
    // A field of the loop starting there (of the first loop for -1), read afresh.
    QVariant stored(const char* field, qint32 start) {
        auto probe = loops()->Clone();
        probe->Requery();
        if (start >= 0)
            probe->FindFirst(QStringLiteral("startTime = ?"), {start});
        return probe->NoMatch() || probe->isEOF() ? QVariant(QStringLiteral("no such loop"))
                                                  : probe->field(QString::fromLatin1(field));
    }
    // The in and out points the loop starting there plays with.
    std::pair<qint32, qint32> endsOf(qint32 start) {
        selectLoopStarting(start);
        qint32 in = 0, out = 0;
        EXPECT_FALSE(m->calcInAndOutPoints(in, out)) << "loop at " << start;
        return {in, out};
    }
    bool boxShown(const QString& text) const {
        for (const Prompts::Record& r : Prompts::log())
            if (r.text == text)
                return true;
        return false;
    }
    // Lets the music run on for that much of the sound.
    bool listen(qint32 soundMs) {
        const qint32 from = w->Position();
        return QTest::qWaitFor([&] { return w->Position() >= from + soundMs; }, 5000);
    }
    makeLoopPoints* startMarking() {
        m->cmdStartNewLoop_Click();
        return formIfLoaded<makeLoopPoints>();
    }
};

// The trim window comes up for a loop of a minute of sound as it is played.
class Trim : public Loops {
protected:
    void SetUp() override {
        Loops::SetUp();
        openWave(60.0);
    }
    frmTrim* playLoop(qint32 start, qint32 end) {
        addLoop(start, end);
        selectLoopStarting(start);
        m->btnLoopPlay_Click();
        return formIfLoaded<frmTrim>();
    }
    static QSlider* s(frmTrim* t, int i) { return t->slStart(i); }
};

} // namespace

TEST(LoopPointsList, KeepsOrderReachesByPositionAndKeyAndRefusesWhatIsNotThere) {
    loopPoints list;
    const auto add = [&](const char* ms, const char* key = "") {
        list.Add(QString::fromLatin1(ms), QString::fromLatin1(ms), {}, QString::fromLatin1(key));
    };
    add("0005000");
    add("0001000", "first");
    add("0001000"); // the same millisecond twice is two marks
    ASSERT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Item(1)->Key, u"0005000") << "insertion order, not position order";
    EXPECT_EQ(list.Item(QStringLiteral("FIRST")), list.Item(2)) << "keys ignore case";

    for (const int missing : {0, 4})
        EXPECT_EQ(errorOf([&] { list.Item(missing); }), 9) << missing;
    EXPECT_EQ(errorOf([&] { list.Item(QStringLiteral("nobody")); }), 5);
    EXPECT_EQ(errorOf([&] { add("x", "First"); }), 457);
    EXPECT_EQ(list.Count(), 3) << "a refused key adds nothing";

    list.Remove(QStringLiteral("first"));
    EXPECT_EQ(errorOf([&] { list.Item(QStringLiteral("first")); }), 5);
    QStringList walked;
    for (const auto& mark : list)
        walked << mark->Key;
    EXPECT_EQ(walked, QStringList({QStringLiteral("0005000"), QStringLiteral("0001000")}));
    list.Clear();
    EXPECT_EQ(list.Count(), 0);
}

TEST_F(Loops, TheMarkingWindowListsEachMarkAsTheButtonGoesDown) {
    openWave(60.0);
    ASSERT_NE(w->Mode(), MMControl::ModePlaying);
    // The first mark starts the music, which runs straight through while marks are taken.
    makeLoopPoints* marking = startMarking();
    ASSERT_NE(marking, nullptr);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    QListWidget* starts = marking->ui()->lstStarts;
    QListWidget* ends = marking->ui()->lstEnds;
    ASSERT_EQ(ends->count(), 1);
    EXPECT_EQ(ends->item(0)->text(), u"Endpoint not set yet.");

    for (int i = 0; i < 3; ++i) {
        ASSERT_TRUE(listen(3000));
        QTest::mousePress(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
        EXPECT_EQ(starts->count(), i + 2) << "press " << i;
        QTest::mouseRelease(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
        EXPECT_EQ(starts->count(), i + 2) << "the release adds nothing";
        EXPECT_EQ(w->Mode(), MMControl::ModePlaying) << "a mark never stops the music";
        EXPECT_FALSE(playState->isArmed());
    }
    ASSERT_EQ(ends->count(), 4);
    EXPECT_EQ(ends->item(3)->text(), u"Endpoint not set yet.");
    EXPECT_EQ(ends->item(0)->text(), starts->item(1)->text()) << "each loop ends the next begins";
    // Rows of the two lists go together.
    starts->item(2)->setSelected(true);
    EXPECT_TRUE(ends->item(2)->isSelected());
    ends->item(1)->setSelected(true);
    EXPECT_TRUE(starts->item(1)->isSelected());

    ASSERT_TRUE(listen(3000));
    QTest::mouseClick(marking->ui()->btnKeep, Qt::LeftButton);
    ProgramRun::settle();
    EXPECT_FALSE(isLoaded(QStringLiteral("makeLoopPoints")));
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm"))) << "the saving message is taken down";
    EXPECT_EQ(loops()->RecordCount(), 4) << "five marks make four loops";
}

TEST_F(Loops, ClosingTheMarkingWindowByItsFrameSavesNothing) {
    openWave(30.0);
    makeLoopPoints* marking = startMarking();
    ASSERT_NE(marking, nullptr);
    ASSERT_TRUE(listen(2000));
    QTest::mouseClick(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
    ASSERT_EQ(marking->ui()->lstStarts->count(), 2);
    marking->close();
    ProgramRun::settle();
    EXPECT_FALSE(isLoaded(QStringLiteral("makeLoopPoints")));
    EXPECT_EQ(loops()->RecordCount(), 0);

    // The next marking starts with only its own first mark; Keep right after it makes one loop
    // from the first mark to the press of Keep.
    marking = startMarking();
    ASSERT_NE(marking, nullptr);
    EXPECT_EQ(marking->ui()->lstStarts->count(), 1);
    ASSERT_TRUE(listen(1500));
    QTest::mouseClick(marking->ui()->btnKeep, Qt::LeftButton);
    ProgramRun::settle();
    ASSERT_EQ(loops()->RecordCount(), 1);
    const qint32 start = loops()->valueAt(0, QStringLiteral("startTime")).toInt();
    EXPECT_GT(stored("endTime", start).toInt() - start, 1000);
}

TEST_F(Loops, AMissingEndIsDerivedOnceAndKept) {
    openWave(60.0);
    addLoop(10000, -1);
    addLoop(20000, -1);
    // The last loop lasts five seconds...
    EXPECT_EQ(endsOf(20000), std::pair(20000, 25000));
    EXPECT_EQ(stored("endTime", 20000).toInt(), 25000);
    // ...another runs to the start of the next loop, and keeps that end when the next moves.
    EXPECT_EQ(endsOf(10000), std::pair(10000, 20000));
    EXPECT_EQ(stored("endTime", 10000).toInt(), 20000);
    selectLoopStarting(20000);
    loops()->Edit();
    loops()->setField(QStringLiteral("startTime"), 30000);
    loops()->Update();
    EXPECT_EQ(endsOf(10000).second, 20000);
    // Five seconds are cut at the end of the file.
    addLoop(58000, -1);
    EXPECT_EQ(endsOf(58000).second, 60000);
    EXPECT_FALSE(boxShown(kLoopProblem));
}

TEST_F(Loops, OfTwoLoopsWithOneStartTheFirstWins) {
    openWave(30.0);
    addLoop(5000, 7000, QStringLiteral("first"));
    addLoop(5000, 9000, QStringLiteral("second"));
    loops()->MoveLast();
    ASSERT_EQ(loops()->field(QStringLiteral("Comment")).toString(), u"second");
    qint32 in = 0, out = 0;
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 7000);
    EXPECT_EQ(loops()->field(QStringLiteral("Comment")).toString(), u"first");
}

TEST_F(Loops, WrongEndpointsSpeakAndPlayNothing) {
    openWave(30.0);
    addLoop(9000, 8000);
    addLoop(12000, 12000);
    selectLoopStarting(9000);
    m->btnLoopPlay_Click();
    EXPECT_TRUE(boxShown(kLoopProblem));
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);

    // An end equal to the start is an empty stretch, not a problem. (Without the trim window,
    // which the play above brought up, the stored times count again.)
    unloadForm(formIfLoaded<frmTrim>());
    ProgramRun::settle();
    Prompts::clear();
    EXPECT_EQ(endsOf(12000), std::pair(12000, 12000));
    EXPECT_FALSE(boxShown(kLoopProblem));

    // An empty grid has no loop to play: the same words, nothing else.
    while (loops()->RecordCount() > 0) {
        loops()->MoveFirst();
        loops()->Delete();
    }
    qint32 in = 0, out = 0;
    EXPECT_TRUE(m->calcInAndOutPoints(in, out));
    EXPECT_TRUE(boxShown(kLoopProblem));
}

TEST_F(Loops, ALoopReachingPastTheEndPlaysToTheEnd) {
    openWave(20.0);
    addLoop(18000, 23000);
    selectLoopStarting(18000);
    m->btnLoopPlay_Click();
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(m->loops().outPt, 20000) << "the out point is pulled back to the end of the file";
    EXPECT_EQ(w->Error(), 0);
}

TEST_F(Loops, WithoutADiscPlayingStartNewLoopMarksNothingAndDoesntHang) {
    ASSERT_TRUE(m->transport().cdView);
    QElapsedTimer t;
    t.start();
    m->cmdStartNewLoop_Click();
    EXPECT_LT(t.elapsed(), 1000);
    EXPECT_EQ(m->loops().loopPointBuffer->Count(), 0);
    EXPECT_FALSE(isLoaded(QStringLiteral("makeLoopPoints")));
}

TEST_F(Trim, OpensOnTheLoopWithASecondOfMarginAndASecondPlayFitsItAgain) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_NE(t, nullptr);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(s(t, i)->minimum(), 9000);
        EXPECT_EQ(s(t, i)->maximum(), 15000);
    }
    EXPECT_EQ(s(t, 0)->value(), 10000);
    EXPECT_EQ(s(t, 1)->value(), 14000);
    // While the window is up its sliders are the loop...
    s(t, 0)->setValue(11000);
    EXPECT_EQ(m->loops().inPt, 11000);
    // ...and a second press on Play Selected Loop fits them to the stored loop again.
    m->btnLoopPlay_Click();
    EXPECT_EQ(formIfLoaded<frmTrim>(), t);
    EXPECT_EQ(s(t, 0)->value(), 10000);
    EXPECT_EQ(m->loops().inPt, 10000);
}

TEST_F(Trim, APressedSliderStopsTheLoopAndTheReleasePlaysTheNewBoundsUnstoredUntilYes) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_NE(t, nullptr);
    gvPreviewEnd = false;
    t->slStart_MouseDown(0);
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    s(t, 0)->setValue(10500);
    t->slStart_MouseUp(0);
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(m->loops().inPt, 10500);
    EXPECT_EQ(m->loops().outPt, 14000);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlLoopLength")), u"Loop Length: 00:03");

    Prompts::pushAnswer(vb::vbNo);
    t->cmdSave_Click();
    EXPECT_EQ(stored("startTime", -1).toInt(), 10000) << "No keeps the stored loop";
    Prompts::pushAnswer(vb::vbYes);
    t->cmdSave_Click();
    EXPECT_EQ(stored("startTime", -1).toInt(), 10500);
    EXPECT_EQ(stored("endTime", -1).toInt(), 14000);
}

TEST_F(Trim, TheEndPreviewPlaysTheLastTwoSecondsOfALoopOverThree) {
    frmTrim* t = playLoop(10000, 16000);
    gvPreviewEnd = true;
    s(t, 1)->setValue(15000);
    // The preview is under way: the last two seconds, and the whole loop stays in force.
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), 13000);
    EXPECT_EQ(m->loops().inPt, 10000);
    EXPECT_EQ(m->loops().outPt, 15000);
    EXPECT_EQ(w->From(), 10000) << "the loop's own bounds are put back for the next pass";
    EXPECT_EQ(w->To(), 15000);

    // A loop of three seconds or less never previews.
    s(t, 0)->setValue(12000);
    s(t, 1)->setValue(14500);
    EXPECT_LT(w->Position(), 12500) << "plays from the start at once";
    EXPECT_EQ(m->loops().inPt, 12000);
}

TEST_F(Trim, ZoomPrevAndNextStayWithinTheSliders) {
    frmTrim* t = playLoop(3000, 5000);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 0)->minimum(), 0) << "never below 0";
    EXPECT_EQ(s(t, 0)->maximum(), 11000);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 1)->maximum(), 16000) << "each press widens further";
    EXPECT_EQ(s(t, 0)->value(), 3000) << "zoom doesn't move the ends";

    // Prev moves by the loop's length, short of it at the left stop and not at all there;
    // Next by the loop's length. Each shift is heard.
    for (const auto& [button, start, end] :
         {std::tuple{1, 1000, 3000}, {1, 0, 2000}, {1, 0, 2000}, {2, 2000, 4000}}) {
        SCOPED_TRACE(testing::Message() << (button == 1 ? "Prev" : "Next") << " to " << start);
        t->cmdNext_Click(button);
        EXPECT_EQ(s(t, 0)->value(), start);
        EXPECT_EQ(s(t, 1)->value(), end);
        EXPECT_EQ(m->loops().inPt, start);
    }
}

TEST_F(Trim, ALoopWithinTheFirstSecondGetsANegativeMinimum) {
    frmTrim* t = playLoop(400, 2400);
    EXPECT_EQ(s(t, 0)->minimum(), -600);
    EXPECT_EQ(s(t, 0)->value(), 400);
    t->cmdNext_Click(1);
    EXPECT_EQ(s(t, 0)->value(), -600);
    EXPECT_EQ(m->loops().inPt, 0) << "the loop starts with the sound";
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    t->cmdZoom_Click();
    EXPECT_EQ(s(t, 0)->minimum(), 0);
}

TEST_F(Trim, KeysInTheWindowAreTheMainWindowsAndNoButtonTakesThem) {
    frmTrim* t = playLoop(10000, 14000);
    ASSERT_TRUE(playState->isArmed());
    s(t, 0)->setFocus();
    // Space stops, as it does on the main window; Save never sees it.
    QTest::keyClick(s(t, 0), Qt::Key_Space);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    EXPECT_TRUE(Prompts::log().isEmpty());
    for (QAbstractButton* b : t->findChildren<QAbstractButton*>())
        EXPECT_EQ(b->focusPolicy(), Qt::NoFocus) << b->objectName().toStdString();
    // F7 plays the loop again.
    QTest::keyClick(s(t, 0), Qt::Key_F7);
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(s(t, 0)->value(), 10000) << "arrow keys aside, the key moved nothing";
}
