// The File menu's last four wave files: the items themselves are the list, kept in the
// settings file under "Recent Files" and read back at the next start. The real window, its
// real menu actions, the real settings file and generated WAV files.
#include "ProgramRun.h"
#include "TestHome.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "platform/MMControl.h"
#include "prefs/REG_MODULE.h"
#include "ui_frmMain.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QMenu>
#include <gtest/gtest.h>

namespace {

class RecentFiles : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(QDir().mkpath(folder())); }
    void startProgram() {
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        m = run.main();
        u = m->ui();
        Prompts::clear();
    }
    QString folder() const { return appDir() + QStringLiteral("/takes"); }
    QString wave(const QString& name) {
        const QString path = folder() + u'/' + name;
        EXPECT_TRUE(wavgen::writeSine(path, 0.3, 440.0, {8000, 1}));
        return path;
    }
    void openThroughMenu(const QString& path) {
        Prompts::pushAnswer(path);
        m->mnuFileOpen_Click();
    }
    // The list as the File menu shows it, top first; hidden items left out.
    QStringList shownList() const {
        QStringList shown;
        for (qint16 i = 1; i <= 4; ++i)
            if (m->mnuMRU(i)->isVisible())
                shown << m->mnuMRUCaption(i);
        return shown;
    }
    QStringList stored() const {
        QStringList keys;
        for (int i = 1; i <= 4; ++i)
            keys << GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                               QString::number(i), QStringLiteral("-"));
        return keys;
    }
    QStringList promptTexts() const {
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

TEST_F(RecentFiles, NothingStoredShowsNoItemAndNoSeparator) {
    startProgram();
    EXPECT_TRUE(shownList().isEmpty());
    EXPECT_FALSE(u->mnuMRUsep->isVisible());
    EXPECT_TRUE(u->mnuMRUsep->isSeparator());
    // The list sits in the File menu right under its separator.
    const QList<QAction*> items = u->mnuFile->actions();
    EXPECT_EQ(items.mid(items.indexOf(u->mnuMRUsep) + 1, 4),
              QList<QAction*>({m->mnuMRU(1), m->mnuMRU(2), m->mnuMRU(3), m->mnuMRU(4)}));
}

TEST_F(RecentFiles, TheLatestComesFirstAndAFullListLosesItsLast) {
    startProgram();
    QStringList files;
    for (const char* n : {"a.wav", "b.wav", "c.wav", "d.wav", "e.wav"}) {
        files << wave(QString::fromLatin1(n));
        openThroughMenu(files.last());
    }
    EXPECT_EQ(shownList(), QStringList({files[4], files[3], files[2], files[1]}));
    EXPECT_TRUE(u->mnuMRUsep->isVisible());
    EXPECT_EQ(stored(), shownList());

    // A file already in the list moves to the top; nothing falls off.
    openThroughMenu(files[2]);
    EXPECT_EQ(shownList(), QStringList({files[2], files[4], files[3], files[1]}));

    // The same file in other letters is one entry, and takes the new spelling.
    const QString otherCase = folder() + QStringLiteral("/D.WAV");
    m->addToMRUs(QStringLiteral("  ") + otherCase);
    EXPECT_EQ(shownList(),
              QStringList({QStringLiteral("  ") + otherCase, files[2], files[4], files[1]}));
    EXPECT_EQ(stored().first(), QStringLiteral("  ") + otherCase);

    // Other kinds of file never enter the list.
    m->addToMRUs(folder() + QStringLiteral("/notes.txt"));
    m->addToMRUs(folder() + QStringLiteral("/song.mp3"));
    EXPECT_EQ(shownList().size(), 4);
    EXPECT_EQ(shownList().first(), QStringLiteral("  ") + otherCase);

    // Choosing an item in the menu opens that file in mode "Wave" and leaves the order.
    const QStringList before = shownList();
    m->mnuMRU(4)->trigger();
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(u->WaveControl->FileName(), files[1]);
    EXPECT_EQ(u->WaveControl->Mode(), MMControl::ModeStopped);
    EXPECT_EQ(m->windowTitle(), QStringLiteral("Cantavox: ") + files[1]);
    EXPECT_EQ(shownList(), before);
}

TEST_F(RecentFiles, TheStoredListComesBackAtStartAsTheUserWroteIt) {
    // Names a menu could take for accelerators, blanks, quote marks, other alphabets.
    const QString rock = wave(QStringLiteral("Rock & Roll && more.wav"));
    const QString quoted = wave(QStringLiteral("\"Ça\" c'est l'été.wav"));
    SaveSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"), QStringLiteral("1"),
                rock);
    SaveSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"), QStringLiteral("3"),
                quoted);
    startProgram();
    EXPECT_EQ(shownList(), QStringList({rock, quoted}));
    // What the menu draws: every "&" as it is in the name, none taken for an accelerator.
    EXPECT_EQ(m->mnuMRU(1)->iconText(), rock);
    EXPECT_FALSE(m->mnuMRU(2)->isVisible()) << "an empty slot shows nothing";
    EXPECT_TRUE(u->mnuMRUsep->isVisible());

    m->mnuMRU(1)->trigger();
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(u->WaveControl->FileName(), rock);
    EXPECT_TRUE(promptTexts().isEmpty()) << promptTexts().join(u'|').toStdString();

    // Opened again, it is still one entry, with its name intact.
    openThroughMenu(rock);
    EXPECT_EQ(shownList().count(rock), 1);
    EXPECT_EQ(stored().first(), rock);
}

TEST_F(RecentFiles, AFileGoneOrBrokenStaysAndChoosingItSaysSo) {
    startProgram();
    const QString kept = wave(QStringLiteral("kept.wav"));
    const QString gone = wave(QStringLiteral("gone.wav"));
    const QString broken = folder() + QStringLiteral("/broken.wav");
    ASSERT_TRUE(wavgen::writeBytes(broken, QByteArray("RIFF....WAVEjunk, no format chunk")));
    m->addToMRUs(broken);
    openThroughMenu(gone);
    openThroughMenu(kept);
    m->changeToMode(QStringLiteral("CD"));
    ASSERT_TRUE(QFile::remove(gone));
    const QStringList list = shownList();
    ASSERT_EQ(list, QStringList({kept, gone, broken}));

    Prompts::clear();
    m->mnuMRU(2)->trigger();
    EXPECT_TRUE(promptTexts().contains(QStringLiteral("File not found")))
        << promptTexts().join(u'|').toStdString();
    EXPECT_TRUE(m->transport().cdView) << "the mode stays as it was";
    EXPECT_EQ(shownList(), list) << "the entry stays until it is pushed out";

    Prompts::clear();
    m->mnuMRU(3)->trigger();
    ASSERT_FALSE(Prompts::log().isEmpty());
    EXPECT_EQ(Prompts::log().first().text, u->WaveControl->ErrorMessage())
        << "the device's own words come first";
    EXPECT_TRUE(Prompts::log().first().text.contains(QStringLiteral("broken.wav")));
    EXPECT_TRUE(m->transport().cdView);
    EXPECT_EQ(shownList(), list);
}

TEST_F(RecentFiles, SaveSlowedDownFileIsOfferedOnlyWhileThereIsOne) {
    startProgram();
    const QString slowed = appDir() + QStringLiteral("/tempslow.wav");
    for (const bool present : {false, true, false}) {
        if (present)
            ASSERT_TRUE(wavgen::writeSine(slowed, 0.2));
        else
            QFile::remove(slowed);
        emit u->mnuFile->aboutToShow();
        EXPECT_EQ(u->mnuSaveSlowedDownFile->isEnabled(), present);
    }
}
