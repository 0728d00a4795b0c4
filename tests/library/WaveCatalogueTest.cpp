// The library's wave files: a file is filed once, found again by its folder and name whatever
// its size and date are by now, given a fresh whole-file loop when all its loops are gone, and
// the program's own scratch files are refused or copied first. The real window, the real
// library file, generated WAV files and the null sound device.
#include "MainWindowTest.h"

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
#include <QFileInfo>
#include <QSqlQuery>
#include <gtest/gtest.h>

namespace {

class WaveCatalogue : public MainWindowTest {
protected:
    void SetUp() override {
        MainWindowTest::SetUp();
        ASSERT_TRUE(QDir().mkpath(folder()));
    }
    QString folder() const { return appDir() + QStringLiteral("/my recordings"); }
    QString file(const QString& name) const { return folder() + u'/' + name; }
    // The user picks the file in the open dialog.
    void openThroughMenu(const QString& path) {
        Prompts::pushAnswer(path);
        m->mnuFileOpen_Click();
    }
    // A field of the file's row of "Wave Files", read straight from the library file.
    QVariant filed(const QString& path, const char* field) {
        QSqlQuery q(library::connection());
        q.prepare(QStringLiteral("SELECT * FROM \"Wave Files\" WHERE waveFileName = ? AND "
                                 "waveFilePath = ?"));
        q.addBindValue(QFileInfo(path).fileName());
        q.addBindValue(QFileInfo(path).absolutePath());
        return q.exec() && q.next() ? q.value(QString::fromLatin1(field)) : QVariant();
    }
    int wavesFiled() {
        QSqlQuery q(library::connection());
        return q.exec(QStringLiteral("SELECT COUNT(*) FROM \"Wave Files\"")) && q.next()
                   ? q.value(0).toInt()
                   : -1;
    }
    qint64 fileId() const {
        return m->library().WAVs->field(QStringLiteral("waveFileID")).toLongLong();
    }
    // A field of the current loop.
    QVariant loop(const char* field) const {
        return m->library().dtaLoopPoints->field(QString::fromLatin1(field));
    }
    qint32 loopCount() const { return m->library().dtaLoopPoints->RecordCount(); }
    QString lastPrompt() const {
        return Prompts::log().isEmpty() ? QString() : Prompts::log().last().text;
    }
};

} // namespace

TEST_F(WaveCatalogue, AFileEditedInPlaceIsFoundAgainWithItsLoopsAndARecordLeftAsItWas) {
    const QString path = file(QStringLiteral("Don't \"stop\" – Größe Ärger.wav"));
    const QDateTime date(QDate(2024, 3, 1), QTime(10, 30));
    ASSERT_TRUE(wavgen::writeSine(path, 2.5));
    {
        QFile f(path);
        ASSERT_TRUE(f.open(QIODevice::ReadWrite));
        ASSERT_TRUE(f.setFileTime(date, QFileDevice::FileModificationTime));
    }
    openThroughMenu(path);
    EXPECT_EQ(m->transport().currentMMControl, u->WaveControl);
    EXPECT_EQ(m->panelText(QStringLiteral("pnlCDlength")), u"CD Length: 00:02");
    EXPECT_EQ(m->panelText(QStringLiteral("pnlTrackLength")), u"Wave File Length 00:02");
    EXPECT_EQ(u->sbTrackPos->maximum(), 2);
    EXPECT_EQ(filed(path, "waveDataLength").toInt(), 2500) << "filed under its folder and name";
    EXPECT_EQ(filed(path, "waveFileModDate").toDateTime(), date);
    EXPECT_EQ(wavesFiled(), 1);
    ASSERT_EQ(loopCount(), 1);
    EXPECT_EQ(loop("startTime").toInt(), 1);
    EXPECT_EQ(loop("endTime").toInt(), 2500);

    // A loop of the user's, then the file rewritten with another length and date.
    const qint64 id = fileId();
    addLoop(700, 1200, QStringLiteral("the bridge"));
    m->changeToMode(QStringLiteral("CD"));
    ASSERT_TRUE(wavgen::writeSine(path, 4.0, 330.0));
    openThroughMenu(path);
    EXPECT_FALSE(m->transport().cdView);
    EXPECT_EQ(wavesFiled(), 1);
    EXPECT_EQ(fileId(), id);
    EXPECT_EQ(filed(path, "waveFileModDate").toDateTime(), date)
        << "a found record stays as it was";
    ASSERT_EQ(loopCount(), 2);
    EXPECT_EQ(m->library().dtaLoopPoints->valueAt(1, QStringLiteral("Comment")).toString(),
              u"the bridge")
        << "the loops in order of their start";
    EXPECT_EQ(m->panelText(QStringLiteral("pnlCDlength")), u"CD Length: 00:04");
    EXPECT_EQ(u->sbTrackPos->maximum(), 4);

    // Every loop deleted: coming back gives a fresh loop over the file as it is now.
    while (loopCount() > 0) {
        m->library().dtaLoopPoints->MoveFirst();
        m->library().dtaLoopPoints->Delete();
    }
    m->changeToMode(QStringLiteral("CD"));
    m->changeToMode(QStringLiteral("Wave"));
    EXPECT_FALSE(m->transport().cdView);
    ASSERT_EQ(loopCount(), 1);
    EXPECT_EQ(loop("endTime").toInt(), 4000);
    EXPECT_EQ(loop("waveFileID").toLongLong(), id);
}

TEST_F(WaveCatalogue, FolderAndNameTogetherAreTheFilesIdentity) {
    ASSERT_TRUE(QDir().mkpath(folder() + QStringLiteral("/moved")));
    // The last name, pasted into the condition, would match any file of its folder.
    const QString here = file(QStringLiteral("take 1.wav"));
    const std::pair<QString, qint32> files[] = {
        {here, 1000},
        {file(QStringLiteral("moved/take 1.wav")), 3000},
        {file(QStringLiteral("x' OR 'a.wav'='a.wav")), 2000}};
    for (const auto& [path, ms] : files)
        ASSERT_TRUE(wavgen::writeSine(path, ms / 1000.0));
    QList<qint64> ids;
    for (const auto& [path, ms] : files) {
        openThroughMenu(path);
        EXPECT_EQ(loop("endTime").toInt(), ms) << path.toStdString();
        EXPECT_FALSE(ids.contains(fileId())) << "a moved or renamed file is a new one";
        ids << fileId();
    }
    EXPECT_EQ(wavesFiled(), 3);

    // Each is found again with its own loops.
    openThroughMenu(here);
    EXPECT_EQ(wavesFiled(), 3);
    EXPECT_EQ(fileId(), ids.first());
    ASSERT_EQ(loopCount(), 1);
    EXPECT_EQ(loop("endTime").toInt(), 1000);
    EXPECT_EQ(loop("waveFileID").toLongLong(), ids.first());
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
    EXPECT_EQ(Prompts::log().at(1).text,
              u"You cannot use tempslow.wav for this function - that file name is used "
              u"exclusively by Cantavox. Would you like to make a copy of it and slow down that?");
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
    EXPECT_TRUE(filed(copy, "waveFileID").isValid());

    // The next open dialog has its own title back and starts in the copy's folder.
    Prompts::clear();
    openThroughMenu(QString());
    ASSERT_EQ(Prompts::log().size(), 1);
    EXPECT_NE(Prompts::log().first().title, u"Choose filename for copy of tempslow.wav");
    EXPECT_EQ(Prompts::log().first().defaultValue, folder());
}
