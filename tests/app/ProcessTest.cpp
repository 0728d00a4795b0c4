// The real executable as a child process: it comes up, and a termination signal ends it
// through the same shutdown as File, Exit, with exit status 0.
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

namespace {
struct Child {
    QTemporaryDir home;
    QProcess process;

    void start(const QString& homePath) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("CANTAVOX_HOME"), homePath);
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("CANTAVOX_AUDIO"), QStringLiteral("null"));
        env.insert(QStringLiteral("CANTAVOX_PROMPTS"), QStringLiteral("script"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(CANTAVOX_BINARY), {});
        process.waitForStarted(10000);
    }
    // The trace's capture file tells when the after-load timer has finished.
    bool waitUntilRunning(int timeoutMs = 15000) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < timeoutMs && process.state() == QProcess::Running) {
            QTest::qWait(50);
            QFile log(home.path() + QStringLiteral("/trace.log"));
            if (log.open(QIODevice::ReadOnly) && log.readAll().contains("Sub ShowHint"))
                return true;
        }
        return false;
    }
    void prepare() {
        QFile ini(home.path() + QStringLiteral("/FSCLIENT.INI"));
        ini.open(QIODevice::WriteOnly);
        ini.write("[log file]\r\nCapture To Disk=1\r\nLog File=trace.log\r\n");
        for (const char* name : {"/temp.wav", "/tempslow.wav"}) {
            QFile f(home.path() + QString::fromLatin1(name));
            f.open(QIODevice::WriteOnly);
            f.write("RIFF");
        }
    }
};
} // namespace

class Termination : public ::testing::TestWithParam<int> {};

TEST_P(Termination, SignalEndsThroughExitProgramWithStatusZero) {
    Child child;
    child.prepare();
    child.start(child.home.path());
    ASSERT_TRUE(child.waitUntilRunning()) << child.process.readAllStandardError().toStdString();
    ::kill(static_cast<pid_t>(child.process.processId()), GetParam());
    ASSERT_TRUE(child.process.waitForFinished(10000));
    EXPECT_EQ(child.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(child.process.exitCode(), 0);
    EXPECT_FALSE(QFile::exists(child.home.path() + QStringLiteral("/temp.wav")));
    EXPECT_FALSE(QFile::exists(child.home.path() + QStringLiteral("/tempslow.wav")));
    QFile log(child.home.path() + QStringLiteral("/trace.log"));
    ASSERT_TRUE(log.open(QIODevice::ReadOnly));
    const QByteArray trace = log.readAll();
    EXPECT_TRUE(trace.contains("Sub Form_Unload"));
}

INSTANTIATE_TEST_SUITE_P(Signals, Termination, ::testing::Values(SIGTERM, SIGINT));

TEST(ProcessExit, RootProgramFolderIsRefusedWithAMessageAndAFailureStatus) {
    Child child;
    child.start(QStringLiteral("/"));
    ASSERT_TRUE(child.process.waitForFinished(15000));
    EXPECT_NE(child.process.exitCode(), 0);
    const QString err = QString::fromUtf8(child.process.readAllStandardError());
    EXPECT_TRUE(err.contains(u"PROMPT msgbox|Cantavox|This program was installed into a root "
                             "directory (/) , probably inadvertently."))
        << err.toStdString();
}
