// The library survives other programs and a killed program. SQLite's locks are POSIX record
// locks: when any descriptor of the library file closes in our process, all of them go, and
// another program that then opens the library believes it is alone, checkpoints and deletes
// the write-ahead log that we go on writing into. So nothing in the program may open the
// library behind SQLite's back - not even the file dialog listing the program folder.
#include "ProgramRun.h"
#include "WavGen.h"

#include "app/AppPaths.h"
#include "app/Prompts.h"
#include "app/frmMain.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>
#include <QTimer>
#include <csignal>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace {

// "maj:min:inode" as /proc/locks names a file.
QString lockKey(const QString& path) {
    struct stat st {};
    if (::stat(QFile::encodeName(path).constData(), &st) != 0)
        return {};
    return QStringLiteral("%1:%2:%3")
        .arg(major(st.st_dev), 2, 16, QLatin1Char('0'))
        .arg(minor(st.st_dev), 2, 16, QLatin1Char('0'))
        .arg(st.st_ino);
}

// The POSIX locks the process holds on the file, as the kernel shows them to anybody.
int locksHeld(qint64 pid, const QString& path) {
    QFile f(QStringLiteral("/proc/locks"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    const QString key = lockKey(path);
    int n = 0;
    for (const QByteArray& line : f.readAll().split('\n')) {
        const QList<QByteArray> cells = line.simplified().split(' ');
        // "1: POSIX  ADVISORY  READ 1234 08:01:5678 128 128"
        if (cells.size() >= 6 && cells[1] == "POSIX" && cells[4].toLongLong() == pid &&
            QString::fromLatin1(cells[5]) == key)
            ++n;
    }
    return n;
}

// Answers the real File Open dialog the way a user does: waits until it has listed the
// folder it shows, types the file's name and presses Enter.
void answerRealOpenDialog(const QString& path) {
    auto* poll = new QTimer;
    QObject::connect(poll, &QTimer::timeout, poll, [poll, path] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        auto* list = dialog->findChild<QAbstractItemView*>(QStringLiteral("listView"));
        if (!list || !list->model() || list->model()->rowCount(list->rootIndex()) == 0)
            return; // still listing: what it reads while listing is what is tested
        poll->stop();
        poll->deleteLater();
        QTest::qWait(300); // icons and types are filled in after the names
        auto* name = dialog->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        ASSERT_NE(name, nullptr);
        name->setFocus();
        QTest::keyClicks(name, path);
        QTest::keyClick(name, Qt::Key_Return);
    });
    poll->start(50);
}

QString writeMusic(const QString& name, double seconds) {
    QDir().mkpath(appDir() + QStringLiteral("/music"));
    const QString path = appDir() + QStringLiteral("/music/") + name;
    EXPECT_TRUE(wavgen::writeSine(path, seconds, 440.0, {8000, 1}));
    return path;
}

// File > Open with the real dialog, which starts in the program folder beside the library.
void openThroughRealDialog(frmMain* main, const QString& path) {
    Prompts::setScripted(false);
    answerRealOpenDialog(path);
    QTest::keyClick(main, Qt::Key_F, Qt::AltModifier);
    QTest::keyClick(QApplication::activePopupWidget(), Qt::Key_O);
    Prompts::setScripted(true);
}

} // namespace

TEST(LibraryLock, TheProgramKeepsItsLockOnTheLibraryThroughTheRealFileDialog) {
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    const QString db = appDir() + QStringLiteral("/cantavox.db");
    const qint64 pid = QCoreApplication::applicationPid();
    ASSERT_GT(locksHeld(pid, db), 0) << "an open library is locked";
    const QString music = writeMusic(QStringLiteral("tune.wav"), 5);
    openThroughRealDialog(run.main(), music);
    ASSERT_TRUE(run.main()->windowTitle().contains(QStringLiteral("tune.wav")) ||
                run.main()->findChild<QWidget*>(QStringLiteral("loopPoints"))->isVisible());
    EXPECT_GT(locksHeld(pid, db), 0) << "the dialog let go of the library's locks";
    EXPECT_GT(locksHeld(pid, db + QStringLiteral("-shm")), 0)
        << "the dialog let go of the shared-memory file's locks";
}

namespace {
const char* const kChildRole = "CANTAVOX_JOURNEY_LIBRARY_CHILD";

int shownLoops(frmMain* main) {
    auto* grid = main->findChild<QAbstractItemView*>(QStringLiteral("loopPoints"));
    return grid && grid->model() ? grid->model()->rowCount() : -1;
}

void clickButton(QWidget* window, const char* name) {
    auto* button = window->findChild<QPushButton*>(QString::fromLatin1(name));
    ASSERT_NE(button, nullptr) << name;
    QTest::mouseClick(button, Qt::LeftButton);
}
} // namespace

// The program's side, run as a child process by the test below: opens a file through the
// real dialog, waits while another program reads the library, marks loops, says how many the
// grid shows, and waits to be killed.
TEST(LibraryLockChild, MarksLoopsAfterAnotherProgramReadTheLibrary) {
    const QString go = qEnvironmentVariable(kChildRole);
    if (go.isEmpty())
        GTEST_SKIP() << "run by the killed-program journey as its child";
    qputenv("CANTAVOX_NULL_RATE", "4");
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    frmMain* main = run.main();
    openThroughRealDialog(main, writeMusic(QStringLiteral("phrase.wav"), 30));
    std::cout << "READY " << appDir().toStdString() << std::endl;
    ASSERT_TRUE(QTest::qWaitFor([&] { return QFile::exists(go); }, 30000));
    QTest::keyClick(main, Qt::Key_Space);
    QTest::qWait(300);
    clickButton(main, "cmdStartNewLoop");
    QWidget* marking = nullptr;
    ASSERT_TRUE(QTest::qWaitFor([&] {
        marking = main->window()->findChild<QWidget*>(QStringLiteral("makeLoopPoints"));
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->objectName() == u"makeLoopPoints" && w->isVisible())
                marking = w;
        return marking && marking->isVisible();
    }));
    for (int i = 0; i < 2; ++i) {
        QTest::qWait(300);
        clickButton(marking, "cmdCompletePreviousLoop");
    }
    QTest::qWait(300);
    clickButton(marking, "btnKeep");
    QTest::qWait(200);
    std::cout << "SHOWN " << shownLoops(main) << std::endl;
    QTest::qWait(60000); // killed long before this ends
}

TEST(LibraryLock, NothingTheGridShowedIsLostWhenAnotherProgramReadAndTheProgramWasKilled) {
    const QString go = appDir() + QStringLiteral("/go");
    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QString::fromLatin1(kChildRole), go);
    env.insert(QStringLiteral("CANTAVOX_HOME"), appDir());
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(),
                {QStringLiteral("--gtest_filter=LibraryLockChild.*")});
    ASSERT_TRUE(child.waitForStarted());
    QString childHome;
    int shown = -1;
    auto readLines = [&](const char* word) {
        while (child.canReadLine()) {
            const QString line = QString::fromUtf8(child.readLine()).trimmed();
            if (line.startsWith(u"READY "))
                childHome = line.mid(6);
            if (line.startsWith(u"SHOWN "))
                shown = line.mid(6).toInt();
        }
        return QByteArray(word) == "READY" ? !childHome.isEmpty() : shown >= 0;
    };
    ASSERT_TRUE(QTest::qWaitFor([&] { return readLines("READY"); }, 30000));

    // Another program reads the library while the program runs, and lets go of it again.
    const QString db = childHome + QStringLiteral("/cantavox.db");
    auto countLoops = [&] {
        int n = -1;
        {
            QSqlDatabase reader =
                QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("reader"));
            reader.setDatabaseName(db);
            if (reader.open()) {
                QSqlQuery q(reader);
                if (q.exec(QStringLiteral("SELECT count(*) FROM WaveLoopPoints")) && q.next())
                    n = q.value(0).toInt();
            }
            reader.close();
        }
        QSqlDatabase::removeDatabase(QStringLiteral("reader"));
        return n;
    };
    const int before = countLoops();
    EXPECT_EQ(before, 1) << "the opened file's whole-file loop";
    QFile(go).open(QIODevice::WriteOnly);

    ASSERT_TRUE(QTest::qWaitFor([&] { return readLines("SHOWN"); }, 30000));
    EXPECT_GE(shown, before + 2) << "the marks became loops in the grid";
    ::kill(pid_t(child.processId()), SIGKILL);
    child.waitForFinished();
    EXPECT_EQ(countLoops(), shown) << "loops the grid showed were lost with the program";
}
