// Wave files on the main window: opening one files it in the library with its loops, the
// program's scratch files are refused, the recent-files list keeps the last four, and the
// player's status and end events do what the loop logic relies on.
#include "ProgramRun.h"
#include "TestHome.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "prefs/REG_MODULE.h"
#include "ui_frmMain.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QTest>
#include <gtest/gtest.h>

namespace {

class WaveFiles : public ::testing::Test {
protected:
    void SetUp() override {
        qputenv("CANTAVOX_NULL_RATE", "20");
        Prompts::clear();
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        m = run.main();
        u = m->ui();
        ASSERT_TRUE(QDir().mkpath(folder()));
    }
    void TearDown() override { qunsetenv("CANTAVOX_NULL_RATE"); }
    QString folder() const { return appDir() + QStringLiteral("/my recordings"); }
    QString file(const QString& name) const { return folder() + u'/' + name; }
    // The user picks the file in the open dialog.
    void openThroughMenu(const QString& path) {
        Prompts::pushAnswer(path);
        m->mnuFileOpen_Click();
    }
    int count(const QString& sql, const QVariantList& values = {}) {
        QSqlQuery q(library::connection());
        q.prepare(sql);
        for (const QVariant& v : values)
            q.addBindValue(v);
        if (!q.exec() || !q.next())
            return -1;
        return q.value(0).toInt();
    }
    QStringList prompts() const {
        QStringList texts;
        for (const Prompts::Record& r : Prompts::log())
            texts << r.text;
        return texts;
    }

    TestHome home;
    ProgramRun run;
    frmMain* m = nullptr;
    Ui::frmMain* u = nullptr;
};

} // namespace

TEST_F(WaveFiles, AFileIsFiledOnceWithAWholeFileLoopAndKeepsItsLoopsWhateverItsSize) {
    const QString path = file(QStringLiteral("Don't \"stop\" – Größe.wav"));
    ASSERT_TRUE(wavgen::writeSine(path, 2.5));
    openThroughMenu(path);
    EXPECT_FALSE(m->cdView);
    EXPECT_EQ(m->currentMMControl, u->WaveControl);
    EXPECT_EQ(u->WaveControl->Mode(), MMControl::ModeStopped);
    EXPECT_EQ(m->windowTitle(), QStringLiteral("Cantavox: ") + path);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlCDlength")), u"CD Length: 00:02");
    EXPECT_EQ(m->panelText(QStringLiteral("pnlTrackLength")), u"Wave File Length 00:02");
    EXPECT_EQ(u->sbTrackPos->maximum(), 2);

    const QString name = QStringLiteral("Don't \"stop\" – Größe.wav");
    EXPECT_EQ(count(QStringLiteral("SELECT COUNT(*) FROM \"Wave Files\" WHERE waveFileName = ? "
                                   "AND waveFilePath = ?"),
                    {name, folder()}),
              1);
    ASSERT_EQ(m->dtaLoopPoints->RecordCount(), 1);
    EXPECT_EQ(m->dtaLoopPoints->field(QStringLiteral("Comment")).toString(),
              u"Entire file in this loop");
    EXPECT_EQ(m->dtaLoopPoints->field(QStringLiteral("startTime")).toInt(), 1);
    EXPECT_EQ(m->dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 2500);
    EXPECT_EQ(u->loopPoints->model()->rowCount(), 1) << "the loops grid shows the file's loop";

    // A second loop, then the file edited in place with another length: it is the same file.
    const qint64 id = m->WAVs->field(QStringLiteral("waveFileID")).toLongLong();
    m->dtaLoopPoints->AddNew();
    m->dtaLoopPoints->setField(QStringLiteral("waveFileID"), id);
    m->dtaLoopPoints->setField(QStringLiteral("startTime"), 700);
    m->dtaLoopPoints->setField(QStringLiteral("Comment"), QStringLiteral("the bridge"));
    m->dtaLoopPoints->Update();
    m->changeToMode(QStringLiteral("CD"));
    ASSERT_TRUE(wavgen::writeSine(path, 4.0, 330.0));
    openThroughMenu(path);
    EXPECT_EQ(count(QStringLiteral("SELECT COUNT(*) FROM \"Wave Files\"")), 1);
    EXPECT_EQ(m->WAVs->field(QStringLiteral("waveFileID")).toLongLong(), id);
    ASSERT_EQ(m->dtaLoopPoints->RecordCount(), 2);
    m->dtaLoopPoints->MoveLast();
    EXPECT_EQ(m->dtaLoopPoints->field(QStringLiteral("Comment")).toString(), u"the bridge");

    // Every loop deleted: coming back gives a fresh whole-file loop.
    m->dtaLoopPoints->MoveFirst();
    while (m->dtaLoopPoints->RecordCount() > 0) {
        m->dtaLoopPoints->MoveFirst();
        m->dtaLoopPoints->Delete();
    }
    m->changeToMode(QStringLiteral("CD"));
    m->changeToMode(QStringLiteral("Wave"));
    ASSERT_EQ(m->dtaLoopPoints->RecordCount(), 1);
    EXPECT_EQ(m->dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 4000);
    EXPECT_EQ(
        count(QStringLiteral("SELECT COUNT(*) FROM WaveLoopPoints WHERE waveFileID = ?"), {id}), 1);

    // A moved file is a new one.
    ASSERT_TRUE(QDir().mkpath(folder() + QStringLiteral("/moved")));
    ASSERT_TRUE(QFile::copy(path, folder() + QStringLiteral("/moved/") + name));
    openThroughMenu(folder() + QStringLiteral("/moved/") + name);
    EXPECT_EQ(count(QStringLiteral("SELECT COUNT(*) FROM \"Wave Files\"")), 2);
}

TEST_F(WaveFiles, TheProgramsScratchFilesAreRefusedOrCopiedFirst) {
    ASSERT_TRUE(wavgen::writeSine(file(QStringLiteral("mytemp.wav")), 0.5));
    openThroughMenu(file(QStringLiteral("mytemp.wav")));
    EXPECT_EQ(prompts().last(),
              u"Please choose a different na Cantavox likes temp.wav for itself.");
    EXPECT_TRUE(m->cdView);
    EXPECT_EQ(u->WaveControl->Mode(), MMControl::ModeNotOpen);

    const QString confirmText = QStringLiteral(
        "You cannot use tempslow.wav for this function - that file name is used exclusively "
        "by Cantavox. Would you like to make a copy of it and slow down that?");
    ASSERT_TRUE(wavgen::writeSine(appDir() + QStringLiteral("/tempslow.wav"), 1.5));
    // No: nothing happens.
    Prompts::clear();
    Prompts::pushAnswer(appDir() + QStringLiteral("/tempslow.wav"));
    Prompts::pushAnswer(vb::vbNo);
    m->mnuFileOpen_Click();
    EXPECT_EQ(prompts(), QStringList({QStringLiteral("Wave files (*.wav *.WAV);;All files (*)"),
                                      confirmText}));
    EXPECT_TRUE(m->cdView);
    // Yes, but a copy named like the scratch file again: nothing is copied.
    Prompts::pushAnswer(appDir() + QStringLiteral("/tempslow.wav"));
    Prompts::pushAnswer(vb::vbYes);
    Prompts::pushAnswer(file(QStringLiteral("my tempslow.wav")));
    m->mnuFileOpen_Click();
    EXPECT_FALSE(QFile::exists(file(QStringLiteral("my tempslow.wav"))));
    EXPECT_EQ(Prompts::log().last().title, u"Choose filename for copy of tempslow.wav");
    // Yes, and a name of the user's: the copy is made and opened.
    Prompts::pushAnswer(appDir() + QStringLiteral("/tempslow.wav"));
    Prompts::pushAnswer(vb::vbYes);
    Prompts::pushAnswer(file(QStringLiteral("slow practice.wav")));
    m->mnuFileOpen_Click();
    ASSERT_TRUE(QFile::exists(file(QStringLiteral("slow practice.wav"))));
    EXPECT_FALSE(m->cdView);
    EXPECT_EQ(u->WaveControl->FileName(), file(QStringLiteral("slow practice.wav")));
    EXPECT_EQ(u->WaveControl->Length(), 1500);
}

TEST_F(WaveFiles, RecentFilesKeepTheLastFourWithTheLatestFirst) {
    for (qint16 i = 1; i <= 4; ++i)
        EXPECT_FALSE(m->mnuMRU(i)->isVisible());
    EXPECT_FALSE(u->mnuMRUsep->isVisible()) << "nothing stored: no item and no separator";

    QStringList names;
    for (const char* n : {"a.wav", "b.wav", "c.wav", "d.wav", "e.wav"}) {
        names << file(QString::fromLatin1(n));
        ASSERT_TRUE(wavgen::writeSine(names.last(), 0.3));
        openThroughMenu(names.last());
    }
    auto captions = [&] {
        QStringList c;
        for (qint16 i = 1; i <= 4; ++i)
            c << m->mnuMRU(i)->text();
        return c;
    };
    EXPECT_EQ(captions(), QStringList({names[4], names[3], names[2], names[1]}));
    EXPECT_TRUE(u->mnuMRUsep->isVisible());

    // The same file in other letters is one entry, moved to the top with the new spelling.
    const QString shouted = names[2].toUpper().replace(folder().toUpper(), folder());
    m->addToMRUs(shouted);
    EXPECT_EQ(captions(), QStringList({shouted, names[4], names[3], names[1]}));
    m->addToMRUs(file(QStringLiteral("notes.txt")));
    EXPECT_EQ(captions().first(), shouted) << "other kinds of file never enter the list";
    EXPECT_EQ(GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                         QStringLiteral("1"), QString()),
              shouted);

    // The list comes back at the next start; a file gone since stays, and choosing it says so.
    ASSERT_TRUE(QFile::remove(names[4]));
    for (qint16 i = 1; i <= 4; ++i)
        m->mnuMRU(i)->setText(QString());
    m->getMRUs();
    EXPECT_EQ(captions(), QStringList({shouted, names[4], names[3], names[1]}));
    Prompts::clear();
    m->mnuMRU_Click(2);
    EXPECT_TRUE(prompts().contains(QStringLiteral("File not found")))
        << prompts().join(u'|').toStdString();
    EXPECT_EQ(m->mnuMRU(2)->text(), names[4]);

    // Save Slowed Down File is offered only while there is a slowed file.
    QFile::remove(appDir() + QStringLiteral("/tempslow.wav"));
    m->menuFile_Click();
    EXPECT_FALSE(u->mnuSaveSlowedDownFile->isEnabled());
    ASSERT_TRUE(wavgen::writeSine(appDir() + QStringLiteral("/tempslow.wav"), 0.2));
    m->menuFile_Click();
    EXPECT_TRUE(u->mnuSaveSlowedDownFile->isEnabled());
}

TEST_F(WaveFiles, ThePlayerShowsItsFileAndAnArmedLoopRestartsOnlyAtANaturalEnd) {
    const QString path = file(QStringLiteral("tune.wav"));
    ASSERT_TRUE(wavgen::writeSine(path, 3.0));
    openThroughMenu(path);
    MMControl* w = u->WaveControl;
    m->updateWaveStatus();
    EXPECT_EQ(m->panelText(QStringLiteral("pnlMsg")), QStringLiteral("Wave file ") + path);

    w->setFrom(1000);
    w->setTo(2000);
    w->setNotify(true);
    w->setCommand(QStringLiteral("Play"));
    QTest::qWait(15);
    m->updateWaveStatus();
    EXPECT_EQ(m->panelText(QStringLiteral("pnlMsg")),
              QStringLiteral("Wave file ") + path + QStringLiteral(" playing"));
    EXPECT_GE(u->sbTrackPos->value(), 1);
    EXPECT_TRUE(u->txtCurrentPosition->text().startsWith(u"00:0"));

    playState->setState(true);
    EXPECT_TRUE(w->RepeatAhead()) << "an armed loop lets the device join its repeats";
    QSignalSpy done(w, &MMControl::Done);
    ASSERT_TRUE(done.wait(3000));
    EXPECT_EQ(m->loopRestarts, 1);

    // A user's stop clears the arming and gives another code: nothing restarts.
    w->setFrom(0);
    w->setTo(3000);
    w->setNotify(true);
    w->setCommand(QStringLiteral("Play"));
    bool cancel = false;
    m->WaveControl_StopClick(cancel);
    w->setCommand(QStringLiteral("Stop"));
    EXPECT_FALSE(playState->isArmed());
    EXPECT_FALSE(w->RepeatAhead());
    EXPECT_EQ(m->loopRestarts, 1);

    // Dragging the scroll bar plays from the second it was let go at.
    u->sbTrackPos->setSliderPosition(2);
    m->sbTrackPos_Scroll();
    EXPECT_EQ(u->txtCurrentPosition->text(), u"00:02");
    m->sbTrackPos_Change();
    EXPECT_EQ(w->Mode(), MMControl::ModePlaying);
    EXPECT_GE(w->Position(), 2000);
    EXPECT_FALSE(m->scrollDragging);
}
