// A second start on the same program folder: the musician double-clicks the launcher while
// Cantavox already runs. The running one comes to the front; the second leaves at once,
// writing nothing, and the library has one writer as before.
#include "ProgramRun.h"

#include "app/AppPaths.h"
#include "app/frmMain.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>
#include <QTest>
#include <gtest/gtest.h>

namespace {
// Every file under the folder with its size and time of last change.
QStringList snapshot(const QString& dir) {
    QStringList out;
    QDirIterator it(dir, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo f(it.next());
        out << QStringLiteral("%1 %2 %3")
                   .arg(f.filePath())
                   .arg(f.size())
                   .arg(f.lastModified().toMSecsSinceEpoch());
    }
    out.sort();
    return out;
}

struct SecondStart {
    int status = -1;
    QString prompts;
};

SecondStart startAgain() {
    QProcess second;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("CANTAVOX_HOME"), appDir());
    env.insert(QStringLiteral("CANTAVOX_PROMPTS"), QStringLiteral("script"));
    second.setProcessEnvironment(env);
    second.start(QStringLiteral(CANTAVOX_BINARY), {});
    // The running program answers the second over a socket: its event loop must run.
    EXPECT_TRUE(QTest::qWaitFor([&] { return second.state() == QProcess::NotRunning; }, 20000));
    return {second.exitStatus() == QProcess::NormalExit ? second.exitCode() : -1,
            QString::fromUtf8(second.readAllStandardError())};
}
} // namespace

TEST(SecondStart, BringsTheRunningWindowToTheFrontAndLeavesWithoutWriting) {
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    frmMain* main = run.main();
    main->showMinimized();
    QTest::qWait(50);
    const QStringList before = snapshot(appDir());

    const SecondStart second = startAgain();
    EXPECT_EQ(second.status, 5);
    EXPECT_TRUE(second.prompts.contains(u"Cantavox is already running with the program folder"))
        << second.prompts.toStdString();
    EXPECT_TRUE(second.prompts.contains(u"Its window has been brought to the front."))
        << second.prompts.toStdString();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !(main->windowState() & Qt::WindowMinimized); }))
        << "the running window stayed minimised";
    EXPECT_EQ(snapshot(appDir()), before) << "the second start touched the program folder";
}

TEST(SecondStart, AFolderLeftByAKilledProgramIsTakenOverAndAClosedOneIsFreeAgain) {
    // A holder that died leaves its lock behind; the process id in it no longer runs.
    QProcess crashed;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("CANTAVOX_HOME"), appDir());
    env.insert(QStringLiteral("CANTAVOX_PROMPTS"), QStringLiteral("script"));
    crashed.setProcessEnvironment(env);
    crashed.start(QStringLiteral(CANTAVOX_BINARY), {});
    ASSERT_TRUE(crashed.waitForStarted());
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return QFileInfo::exists(appDir() + QStringLiteral("/cantavox.lock")); }, 20000));
    QTest::qWait(500);
    crashed.kill();
    crashed.waitForFinished();
    ASSERT_TRUE(QFileInfo::exists(appDir() + QStringLiteral("/cantavox.lock")));

    {
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning()) << "a dead holder's lock kept the program out";
    }
    // Closed normally, the folder is free for the next start at once.
    ProgramRun again;
    again.start();
    EXPECT_TRUE(again.waitUntilRunning());
}
