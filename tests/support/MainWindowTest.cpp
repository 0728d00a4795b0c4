#include "MainWindowTest.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "library/Recordset.h"
#include "library/RecordsetModel.h"
#include "platform/MMControl.h"
#include "ui_frmMain.h"

#include <QDir>

void MainWindowTest::SetUp() {
    qputenv("CANTAVOX_NULL_RATE", "20");
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    m = run.main();
    u = m->ui();
    w = u->WaveControl;
    ASSERT_TRUE(QDir().mkpath(appDir() + QStringLiteral("/music")));
    Prompts::clear();
}

void MainWindowTest::TearDown() {
    qunsetenv("CANTAVOX_NULL_RATE");
}

QString MainWindowTest::openWave(const QString& name, double seconds,
                                 const wavgen::Format& format) {
    const QString path = appDir() + QStringLiteral("/music/") + name;
    EXPECT_TRUE(wavgen::writeSine(path, seconds, 440.0, format));
    Prompts::pushAnswer(path);
    m->mnuFileOpen_Click();
    EXPECT_FALSE(m->transport().cdView) << "the file should have opened in mode Wave";
    Prompts::clear();
    return path;
}

void MainWindowTest::addLoop(qint32 start, qint32 end, const QString& comment) {
    Recordset* rs = m->library().dtaLoopPoints;
    rs->AddNew();
    rs->setField(QStringLiteral("waveFileID"),
                 m->library().WAVs->field(QStringLiteral("waveFileID")));
    rs->setField(QStringLiteral("startTime"), start);
    if (end >= 0)
        rs->setField(QStringLiteral("endTime"), end);
    if (!comment.isEmpty())
        rs->setField(QStringLiteral("Comment"), comment);
    rs->Update();
    rs->Requery();
    m->library().loopsModel->reload();
}

void MainWindowTest::selectLoopStarting(qint32 start) {
    m->library().dtaLoopPoints->FindFirst(QStringLiteral("startTime = ?"), {start});
    ASSERT_FALSE(m->library().dtaLoopPoints->NoMatch());
}
