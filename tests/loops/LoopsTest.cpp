// Loops as the musician makes and plays them: marks taken by ear become abutting loops in
// the store, the selected loop's ends are derived once and kept, and a loop repeats on its
// natural end until the user stops it. The real window and library, generated WAV files and
// the null sound device running faster than real time.
#include "ErrorOf.h"
#include "MainWindowTest.h"

#include "app/AppPaths.h"
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
#include "ui_frmMain.h"
#include "ui_makeLoopPoints.h"

#include <QDir>
#include <QElapsedTimer>
#include <QListWidget>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

const QString kLoopProblem = QStringLiteral("Sorry, there's a loop problem. Endpoints are wrong.");

class Loops : public MainWindowTest {
protected:
    // Opens a mono 8 kHz sine in mode "Wave"; the catalogue gives it one whole-file loop,
    // which the tests take away.
    void openWave(double seconds) {
        MainWindowTest::openWave(QStringLiteral("piece.wav"), seconds);
        while (m->library().dtaLoopPoints->RecordCount() > 0) {
            m->library().dtaLoopPoints->MoveFirst();
            m->library().dtaLoopPoints->Delete();
            m->library().dtaLoopPoints->Requery();
        }
    }
    QVariant storedEnd(qint32 start) {
        auto probe = m->library().dtaLoopPoints->Clone();
        probe->Requery();
        probe->FindFirst(QStringLiteral("startTime = ?"), {start});
        return probe->NoMatch() ? QVariant(QStringLiteral("no such loop"))
                                : probe->field(QStringLiteral("endTime"));
    }
    // Rows of the loops table for the open file, in start order: (start, end, comment).
    QList<std::tuple<qint32, qint32, QString>> rows() {
        QList<std::tuple<qint32, qint32, QString>> out;
        auto all = m->library().dtaLoopPoints->Clone();
        all->Requery();
        if (all->RecordCount() == 0)
            return out;
        for (all->MoveFirst(); !all->isEOF(); all->MoveNext())
            out.append({all->field(QStringLiteral("startTime")).toInt(),
                        all->field(QStringLiteral("endTime")).toInt(),
                        all->field(QStringLiteral("Comment")).toString()});
        return out;
    }
    bool boxShown(const QString& text) const {
        for (const Prompts::Record& r : Prompts::log())
            if (r.text == text)
                return true;
        return false;
    }
    // Lets the sound run on for the given milliseconds of sound time.
    static void listen(int soundMs) { QTest::qWait(soundMs / 20); }
};

} // namespace

TEST(LoopPointsList, KeepsOrderReachesByPositionAndKeyAndRefusesWhatIsNotThere) {
    loopPoints list;
    EXPECT_EQ(list.Count(), 0);
    list.Add(QStringLiteral("0005000"), QStringLiteral("0005000"), QStringLiteral("00:05"));
    list.Add(QStringLiteral("0001000"), QStringLiteral("0001000"), QStringLiteral("00:01"),
             QStringLiteral("first"));
    // The same millisecond twice is two marks.
    list.Add(QStringLiteral("0001000"), QStringLiteral("0001000"), QStringLiteral("00:01"));
    ASSERT_EQ(list.Count(), 3);
    EXPECT_EQ(list.Item(1)->Key, u"0005000") << "insertion order, not position order";
    EXPECT_EQ(list.Item(2)->startTimeTTMMSS, u"00:01");
    EXPECT_EQ(list.Item(QStringLiteral("FIRST")), list.Item(2)) << "keys ignore case";

    EXPECT_EQ(errorOf([&] { list.Item(0); }), 9);
    EXPECT_EQ(errorOf([&] { list.Item(4); }), 9);
    EXPECT_EQ(errorOf([&] { list.Item(QStringLiteral("nobody")); }), 5);
    EXPECT_EQ(errorOf([&] {
                  list.Add(QStringLiteral("x"), QStringLiteral("x"), QStringLiteral("x"),
                           QStringLiteral("First"));
              }),
              457);
    EXPECT_EQ(list.Count(), 3) << "a refused key adds nothing";

    list.Remove(QStringLiteral("first"));
    ASSERT_EQ(list.Count(), 2);
    EXPECT_EQ(list.Item(2)->Key, u"0001000");
    EXPECT_EQ(errorOf([&] { list.Item(QStringLiteral("first")); }), 5);
    QStringList walked;
    for (const auto& mark : list)
        walked << mark->Key;
    EXPECT_EQ(walked, QStringList({QStringLiteral("0005000"), QStringLiteral("0001000")}));
    list.Clear();
    EXPECT_EQ(list.Count(), 0);
}

TEST_F(Loops, MarksGetSevenDigitKeysAndThePositionText) {
    openWave(5.0);
    u->txtCurrentPosition->setText(QStringLiteral("00:01"));
    m->fastInsert(1234);
    m->fastInsert(12345678);
    m->fastInsert(0);
    ASSERT_EQ(m->loops().loopPointBuffer->Count(), 3);
    EXPECT_EQ(m->loops().loopPointBuffer->Item(1)->Key, u"0001234");
    EXPECT_EQ(m->loops().loopPointBuffer->Item(1)->startTimeMs, u"0001234");
    EXPECT_EQ(m->loops().loopPointBuffer->Item(1)->startTimeTTMMSS, u"00:01");
    EXPECT_EQ(m->loops().loopPointBuffer->Item(2)->Key, u"12345678")
        << "a minimum width, never a cut";
    EXPECT_EQ(m->loops().loopPointBuffer->Item(3)->Key, u"0000000");
    m->loops().loopPointBuffer->Clear();
}

TEST_F(Loops, MarkingByEarGivesAbuttingLoopsAndTheFirstStartsRepeating) {
    openWave(60.0);
    ASSERT_NE(w->Mode(), MMControl::ModePlaying);

    // The first mark starts the music, which runs straight through while marks are taken.
    m->cmdStartNewLoop_Click();
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    auto* marking = formIfLoaded<makeLoopPoints>();
    ASSERT_NE(marking, nullptr);
    EXPECT_TRUE(marking->isVisible());
    EXPECT_EQ(marking->windowTitle(), u"Make Loop Points");
    EXPECT_EQ(marking->ui()->lstStarts->count(), 1);
    ASSERT_EQ(marking->ui()->lstEnds->count(), 1);
    EXPECT_EQ(marking->ui()->lstEnds->item(0)->text(), u"Endpoint not set yet.");

    // Three presses on the button: the mark is taken as it goes down.
    for (int i = 0; i < 3; ++i) {
        listen(3000);
        QTest::mousePress(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
        EXPECT_EQ(m->loops().loopPointBuffer->Count(), i + 2) << "press " << i;
        QTest::mouseRelease(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
        EXPECT_EQ(m->loops().loopPointBuffer->Count(), i + 2) << "the release adds nothing";
        EXPECT_EQ(w->Mode(), MMControl::ModePlaying) << "a mark never stops the music";
        EXPECT_FALSE(playState->isArmed());
    }
    EXPECT_EQ(marking->ui()->lstStarts->count(), 4);
    ASSERT_EQ(marking->ui()->lstEnds->count(), 4);
    EXPECT_EQ(marking->ui()->lstEnds->item(3)->text(), u"Endpoint not set yet.");
    EXPECT_EQ(marking->ui()->lstEnds->item(0)->text(), marking->ui()->lstStarts->item(1)->text());

    // Rows of the two lists go together.
    marking->ui()->lstStarts->item(2)->setSelected(true);
    EXPECT_TRUE(marking->ui()->lstEnds->item(2)->isSelected());
    marking->ui()->lstEnds->item(1)->setSelected(true);
    EXPECT_TRUE(marking->ui()->lstStarts->item(1)->isSelected());

    QStringList starts;
    for (const auto& mark : *m->loops().loopPointBuffer)
        starts << mark->startTimeMs;
    listen(3000);
    QTest::mouseClick(marking->ui()->btnKeep, Qt::LeftButton);
    ProgramRun::settle();

    EXPECT_FALSE(isLoaded(QStringLiteral("makeLoopPoints")));
    EXPECT_EQ(m->loops().loopPointBuffer->Count(), 0);
    const auto saved = rows();
    ASSERT_EQ(saved.size(), 4) << "five marks make four loops";
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(std::get<0>(saved[i]), starts[i].toInt()) << "loop " << i;
        if (i < 3)
            EXPECT_EQ(std::get<1>(saved[i]), std::get<0>(saved[i + 1])) << "loops abut";
        EXPECT_GT(std::get<1>(saved[i]), std::get<0>(saved[i])) << "loop " << i;
        EXPECT_EQ(std::get<2>(saved[i]).left(2), u"00") << "described by its position text";
    }
    // The first loop is selected and plays, armed to repeat.
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("startTime")).toInt(),
              starts[0].toInt());
    EXPECT_TRUE(playState->isArmed());
    EXPECT_EQ(m->loops().inPt, starts[0].toInt());
    EXPECT_EQ(m->loops().outPt, std::get<1>(saved[0]));
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), m->loops().inPt);
    EXPECT_LE(w->Position(), m->loops().outPt);
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm"))) << "the saving message is taken down";
}

TEST_F(Loops, ClosingTheMarkingWindowByItsFrameSavesNothing) {
    openWave(30.0);
    m->cmdStartNewLoop_Click();
    auto* marking = formIfLoaded<makeLoopPoints>();
    ASSERT_NE(marking, nullptr);
    listen(2000);
    QTest::mousePress(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
    QTest::mouseRelease(marking->ui()->cmdCompletePreviousLoop, Qt::LeftButton);
    ASSERT_EQ(m->loops().loopPointBuffer->Count(), 2);
    marking->close();
    ProgramRun::settle();
    EXPECT_FALSE(isLoaded(QStringLiteral("makeLoopPoints")));
    EXPECT_EQ(m->loops().loopPointBuffer->Count(), 0);
    EXPECT_TRUE(rows().isEmpty());

    // The next marking starts with only its own first mark.
    m->cmdStartNewLoop_Click();
    marking = formIfLoaded<makeLoopPoints>();
    ASSERT_NE(marking, nullptr);
    EXPECT_EQ(m->loops().loopPointBuffer->Count(), 1);
    EXPECT_EQ(marking->ui()->lstStarts->count(), 1);
    // One press of Start and one of Keep: one loop from the first mark to the second.
    listen(1500);
    QTest::mouseClick(marking->ui()->btnKeep, Qt::LeftButton);
    ProgramRun::settle();
    const auto saved = rows();
    ASSERT_EQ(saved.size(), 1);
    EXPECT_GT(std::get<1>(saved[0]) - std::get<0>(saved[0]), 1000);
}

TEST_F(Loops, AMissingEndIsDerivedOnceAndKept) {
    openWave(60.0);
    addLoop(10000, -1);
    addLoop(20000, -1);
    addLoop(58000, -1);

    qint32 in = 0, out = 0;
    // Runs to the start of the next loop...
    selectLoopStarting(10000);
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(in, 10000);
    EXPECT_EQ(out, 20000);
    EXPECT_EQ(storedEnd(10000).toInt(), 20000);
    // ...and keeps that end when the next loop moves later.
    selectLoopStarting(20000);
    m->library().dtaLoopPoints->Edit();
    m->library().dtaLoopPoints->setField(QStringLiteral("startTime"), 25000);
    m->library().dtaLoopPoints->Update();
    selectLoopStarting(10000);
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 20000);

    // The last loop lasts five seconds, cut at the end of the file.
    selectLoopStarting(58000);
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 60000);
    selectLoopStarting(25000);
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 58000);
    EXPECT_FALSE(boxShown(kLoopProblem));
}

TEST_F(Loops, LastLoopWithoutAnEndGetsFiveSeconds) {
    openWave(60.0);
    addLoop(10000, -1);
    selectLoopStarting(10000);
    qint32 in = 0, out = 0;
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 15000);
    EXPECT_EQ(storedEnd(10000).toInt(), 15000);
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
    selectLoopStarting(12000);
    qint32 in = 0, out = 0;
    EXPECT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(in, 12000);
    EXPECT_EQ(out, 12000);
    EXPECT_FALSE(boxShown(kLoopProblem));

    // An empty grid has no loop to play: the same words, nothing else.
    for (int i = 0; i < 2; ++i) {
        m->library().dtaLoopPoints->MoveFirst();
        m->library().dtaLoopPoints->Delete();
        m->library().dtaLoopPoints->Requery();
    }
    EXPECT_TRUE(m->calcInAndOutPoints(in, out));
    EXPECT_TRUE(boxShown(kLoopProblem));
}

TEST_F(Loops, OfTwoLoopsWithOneStartTheFirstWins) {
    openWave(30.0);
    addLoop(5000, 7000, QStringLiteral("first"));
    addLoop(5000, 9000, QStringLiteral("second"));
    m->library().dtaLoopPoints->MoveLast();
    ASSERT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("Comment")).toString(), u"second");
    qint32 in = 0, out = 0;
    ASSERT_FALSE(m->calcInAndOutPoints(in, out));
    EXPECT_EQ(out, 7000);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("Comment")).toString(), u"first");
}

TEST_F(Loops, ALoopRepeatsOnItsNaturalEndAndStopsForGoodOnTheUsersStop) {
    openWave(30.0);
    addLoop(4000, 6000);
    selectLoopStarting(4000);
    QSignalSpy done(w, &MMControl::Done);
    m->btnLoopPlay_Click();
    EXPECT_TRUE(playState->isArmed());
    EXPECT_FALSE(gvPlayRequested);
    ASSERT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_EQ(w->UpdateInterval(), 500);

    // Three passes: each natural end plays the loop again.
    for (int pass = 0; pass < 3; ++pass) {
        ASSERT_TRUE(done.wait(3000)) << "pass " << pass;
        EXPECT_EQ(done.last().at(0).toInt(), MMControl::NotifySuccessful);
        EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
        EXPECT_GE(w->Position(), 4000);
        EXPECT_LE(w->Position(), 6000);
    }
    m->togglePlayState();
    EXPECT_FALSE(playState->isArmed());
    EXPECT_NE(w->Mode(), MMControl::ModePlaying);
    QTest::qWait(300);
    EXPECT_NE(w->Mode(), MMControl::ModePlaying) << "no pass after the user's stop";
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

TEST_F(Loops, SaveCurrentStatusRemembersTheSelectedLoop) {
    openWave(20.0);
    EXPECT_FALSE(m->saveCurrentStatus());
    EXPECT_TRUE(boxShown(QStringLiteral("There are no loop points created. Please make at least "
                                        "one loop point before continuing")));
    addLoop(3000, 5000);
    addLoop(7000, 9000);
    selectLoopStarting(7000);
    EXPECT_TRUE(m->saveCurrentStatus());
    EXPECT_EQ(m->loops().prevStartTime, 7000);
    EXPECT_FALSE(m->transport().savedCdView);
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
