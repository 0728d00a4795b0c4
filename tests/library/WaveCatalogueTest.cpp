// The library's wave files: a file opened through File Open is filed once with a loop over
// the whole of it, found again by its folder and name whatever its size and date are by
// now, and the program's own scratch files are refused or copied first. The real window,
// the real library file, generated WAV files and the null sound device.
#include "ProgramRun.h"
#include "TestHome.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "library/LibraryDatabase.h"
#include "library/Recordset.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QSqlQuery>
#include <gtest/gtest.h>

namespace {

const QString kSlowCopyQuestion = QStringLiteral(
    "You cannot use tempslow.wav for this function - that file name is used exclusively by "
    "Cantavox. Would you like to make a copy of it and slow down that?");

class WaveCatalogue : public ::testing::Test {
protected:
    void SetUp() override {
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        m = run.main();
        u = m->ui();
        ASSERT_TRUE(QDir().mkpath(folder()));
        Prompts::clear();
    }
    QString folder() const { return appDir() + QStringLiteral("/my recordings"); }
    QString file(const QString& name) const { return folder() + u'/' + name; }
    // The user picks the file in the open dialog.
    void openThroughMenu(const QString& path) {
        Prompts::pushAnswer(path);
        m->mnuFileOpen_Click();
    }
    // One row of "Wave Files" read straight from the library file, or an empty map.
    QVariantMap waveRecord(const QString& path) {
        const int slash = path.lastIndexOf(u'/');
        QSqlQuery q(library::connection());
        q.prepare(QStringLiteral("SELECT * FROM \"Wave Files\" WHERE waveFileName = ? AND "
                                 "waveFilePath = ?"));
        q.addBindValue(path.mid(slash + 1));
        q.addBindValue(path.left(slash));
        QVariantMap row;
        if (q.exec() && q.next())
            for (const char* f : {"waveFileID", "waveDataLength", "waveFileModDate"})
                row.insert(QString::fromLatin1(f), q.value(QString::fromLatin1(f)));
        return row;
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
    int wavesFiled() { return count(QStringLiteral("SELECT COUNT(*) FROM \"Wave Files\"")); }
    // What the loops grid shows: its rows and the comment column.
    QStringList gridComments() const {
        QStringList c;
        const QAbstractItemModel* grid = u->loopPoints->model();
        // The grid's columns, in the order the musician reads them.
        EXPECT_EQ(grid->headerData(3, Qt::Horizontal).toString(), u"Label/Comment");
        for (int r = 0; r < grid->rowCount(); ++r)
            c << grid->index(r, 3).data().toString();
        return c;
    }
    QString lastPrompt() const {
        return Prompts::log().isEmpty() ? QString() : Prompts::log().last().text;
    }

    TestHome home;
    ProgramRun run;
    frmMain* m = nullptr;
    Ui::frmMain* u = nullptr;
};

} // namespace

TEST_F(WaveCatalogue, AFileIsFiledOnceAndKeepsItsLoopsWhenEditedInPlace) {
    const QString name = QStringLiteral("Don't \"stop\" – Größe Ärger.wav");
    const QString path = file(name);
    ASSERT_TRUE(wavgen::writeSine(path, 2.5));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::ReadWrite));
        ASSERT_TRUE(f.setFileTime(QDateTime(QDate(2024, 3, 1), QTime(10, 30)),
                                  QFileDevice::FileModificationTime));
    }
    openThroughMenu(path);
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(m->transport().currentMMControl, u->WaveControl);
    EXPECT_EQ(m->windowTitle(), QStringLiteral("Cantavox: ") + path);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlCDlength")), u"CD Length: 00:02");
    EXPECT_EQ(m->panelText(QStringLiteral("pnlTrackLength")), u"Wave File Length 00:02");
    EXPECT_EQ(u->sbTrackPos->maximum(), 2);

    const QVariantMap first = waveRecord(path);
    ASSERT_FALSE(first.isEmpty()) << "filed under its folder and name";
    EXPECT_EQ(first.value(QStringLiteral("waveDataLength")).toInt(), 2500);
    EXPECT_EQ(first.value(QStringLiteral("waveFileModDate")).toDateTime(),
              QDateTime(QDate(2024, 3, 1), QTime(10, 30)));
    EXPECT_EQ(wavesFiled(), 1);
    ASSERT_EQ(m->library().dtaLoopPoints->RecordCount(), 1);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("startTime")).toInt(), 1);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 2500);
    EXPECT_EQ(gridComments(), QStringList{QStringLiteral("Entire file in this loop")});

    // A loop of the user's, then the file rewritten with another length and date.
    const qint64 id = first.value(QStringLiteral("waveFileID")).toLongLong();
    m->library().dtaLoopPoints->AddNew();
    m->library().dtaLoopPoints->setField(QStringLiteral("waveFileID"), id);
    m->library().dtaLoopPoints->setField(QStringLiteral("startTime"), 700);
    m->library().dtaLoopPoints->setField(QStringLiteral("endTime"), 1200);
    m->library().dtaLoopPoints->setField(QStringLiteral("Comment"), QStringLiteral("the bridge"));
    m->library().dtaLoopPoints->Update();
    m->changeToMode(QStringLiteral("CD"));
    ASSERT_TRUE(wavgen::writeSine(path, 4.0, 330.0));
    openThroughMenu(path);
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(wavesFiled(), 1);
    EXPECT_EQ(m->library().WAVs->field(QStringLiteral("waveFileID")).toLongLong(), id);
    EXPECT_EQ(waveRecord(path).value(QStringLiteral("waveFileModDate")).toDateTime(),
              QDateTime(QDate(2024, 3, 1), QTime(10, 30)))
        << "a found record is left as it was";
    EXPECT_EQ(gridComments(), QStringList({QStringLiteral("Entire file in this loop"),
                                           QStringLiteral("the bridge")}))
        << "the loops in order of their start";
    EXPECT_EQ(m->panelText(QStringLiteral("pnlCDlength")), u"CD Length: 00:04");
    EXPECT_EQ(u->sbTrackPos->maximum(), 4);

    // Every loop deleted: coming back gives a fresh loop over the file as it is now.
    while (m->library().dtaLoopPoints->RecordCount() > 0) {
        m->library().dtaLoopPoints->MoveFirst();
        m->library().dtaLoopPoints->Delete();
    }
    m->changeToMode(QStringLiteral("CD"));
    m->changeToMode(QStringLiteral("Wave"));
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(
        count(QStringLiteral("SELECT COUNT(*) FROM WaveLoopPoints WHERE waveFileID = ?"), {id}), 1);
    ASSERT_EQ(m->library().dtaLoopPoints->RecordCount(), 1);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 4000);
    EXPECT_EQ(gridComments(), QStringList{QStringLiteral("Entire file in this loop")});
}

TEST_F(WaveCatalogue, FolderAndNameTogetherAreTheFilesIdentity) {
    ASSERT_TRUE(QDir().mkpath(folder() + QStringLiteral("/moved")));
    const QString here = file(QStringLiteral("take 1.wav"));
    const QString moved = file(QStringLiteral("moved/take 1.wav"));
    ASSERT_TRUE(wavgen::writeSine(here, 1.0));
    ASSERT_TRUE(wavgen::writeSine(moved, 3.0));
    // A name that, pasted into the condition, would match any file of its folder.
    const QString sly = file(QStringLiteral("x' OR 'a.wav'='a.wav"));
    ASSERT_TRUE(wavgen::writeSine(sly, 2.0));

    openThroughMenu(here);
    const qint64 hereId = m->library().WAVs->field(QStringLiteral("waveFileID")).toLongLong();
    openThroughMenu(moved);
    EXPECT_EQ(wavesFiled(), 2) << "a moved or renamed file is a new one";
    EXPECT_NE(m->library().WAVs->field(QStringLiteral("waveFileID")).toLongLong(), hereId);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 3000);
    openThroughMenu(sly);
    EXPECT_EQ(wavesFiled(), 3);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 2000);

    // Each is found again with its own loops.
    openThroughMenu(here);
    EXPECT_EQ(wavesFiled(), 3);
    EXPECT_EQ(m->library().WAVs->field(QStringLiteral("waveFileID")).toLongLong(), hereId);
    ASSERT_EQ(m->library().dtaLoopPoints->RecordCount(), 1);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("endTime")).toInt(), 1000);
    EXPECT_EQ(m->library().dtaLoopPoints->field(QStringLiteral("waveFileID")).toLongLong(), hereId);
}

TEST_F(WaveCatalogue, TheProgramsScratchFilesAreRefusedOrCopiedFirst) {
    // Any name holding "temp.wav", in any case of letters, is refused.
    for (const QString& name : {QStringLiteral("mytemp.wav"), QStringLiteral("Old TEMP.WAV")}) {
        ASSERT_TRUE(wavgen::writeSine(file(name), 0.5));
        openThroughMenu(file(name));
        EXPECT_EQ(lastPrompt(),
                  u"Please choose a different na Cantavox likes temp.wav for itself.");
        EXPECT_TRUE(m->transport().cdView);
        EXPECT_EQ(u->WaveControl->Mode(), MMControl::ModeNotOpen);
    }

    // "tempslow.wav" doesn't hold "temp.wav": it is offered as a copy.
    const QString slowed = appDir() + QStringLiteral("/tempslow.wav");
    ASSERT_TRUE(wavgen::writeSine(slowed, 1.5));
    auto chooseSlowedThen = [&](int answer, const QString& copyName) {
        Prompts::clear();
        Prompts::pushAnswer(slowed);
        Prompts::pushAnswer(answer);
        if (answer == vb::vbYes)
            Prompts::pushAnswer(copyName);
        m->mnuFileOpen_Click();
    };

    chooseSlowedThen(vb::vbNo, {});
    ASSERT_EQ(Prompts::log().size(), 2);
    EXPECT_EQ(Prompts::log().at(1).text, kSlowCopyQuestion);
    EXPECT_EQ(Prompts::log().at(1).buttons & 7, vb::vbYesNo);
    EXPECT_TRUE(m->transport().cdView);

    // A copy named like the scratch file again is not made.
    chooseSlowedThen(vb::vbYes, file(QStringLiteral("my TempSlow.wav")));
    ASSERT_EQ(Prompts::log().size(), 3);
    EXPECT_EQ(Prompts::log().at(2).kind, u"save");
    EXPECT_EQ(Prompts::log().at(2).title, u"Choose filename for copy of tempslow.wav");
    EXPECT_FALSE(QFile::exists(file(QStringLiteral("my TempSlow.wav"))));
    EXPECT_TRUE(m->transport().cdView);

    // A name of the user's: the copy is made over what was there, filed and opened.
    const QString copy = file(QStringLiteral("slow practice.wav"));
    ASSERT_TRUE(wavgen::writeBytes(copy, QByteArray("an older file the user agreed to replace")));
    chooseSlowedThen(vb::vbYes, copy);
    QFile a(slowed), b(copy);
    ASSERT_TRUE(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
    EXPECT_EQ(a.readAll(), b.readAll());
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(u->WaveControl->FileName(), copy);
    EXPECT_EQ(m->windowTitle(), QStringLiteral("Cantavox: ") + copy);
    EXPECT_FALSE(waveRecord(copy).isEmpty());

    // The next open dialog has its own title back and starts in the copy's folder.
    Prompts::clear();
    openThroughMenu(QString());
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_NE(Prompts::log().first().title, u"Choose filename for copy of tempslow.wav");
    EXPECT_EQ(Prompts::log().first().defaultValue, folder());
}
