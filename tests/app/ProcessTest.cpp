// The real executable as a child process: it comes up, and a termination signal ends it
// through the same shutdown as File, Exit, with exit status 0.
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

    QString file(const char* name) const { return home.path() + u'/' + QLatin1StringView(name); }
    QByteArray read(const char* name) const {
        QFile f(file(name));
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
    void write(const char* name, const QByteArray& data) const {
        QFile f(file(name));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(data);
    }
    void start() {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert(QStringLiteral("CANTAVOX_HOME"), home.path());
        env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
        env.insert(QStringLiteral("CANTAVOX_AUDIO"), QStringLiteral("null"));
        env.insert(QStringLiteral("CANTAVOX_PROMPTS"), QStringLiteral("script"));
        process.setProcessEnvironment(env);
        process.start(QStringLiteral(CANTAVOX_BINARY), {});
        process.waitForStarted(10000);
    }
};
} // namespace

class Termination : public ::testing::TestWithParam<int> {};

TEST_P(Termination, SignalEndsThroughExitProgramWithStatusZero) {
    Child child;
    // The trace's capture file tells when the after-load timer has finished.
    child.write("FSCLIENT.INI", "[log file]\r\nCapture To Disk=1\r\nLog File=trace.log\r\n");
    child.write("temp.wav", "RIFF");
    child.write("tempslow.wav", "RIFF");
    child.start();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            return child.process.state() != QProcess::Running ||
                   child.read("trace.log").contains("Sub ShowHint");
        },
        15000));
    ASSERT_EQ(child.process.state(), QProcess::Running)
        << child.process.readAllStandardError().toStdString();
    ::kill(static_cast<pid_t>(child.process.processId()), GetParam());
    ASSERT_TRUE(child.process.waitForFinished(10000));
    EXPECT_EQ(child.process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(child.process.exitCode(), 0);
    EXPECT_FALSE(QFile::exists(child.file("temp.wav")));
    EXPECT_FALSE(QFile::exists(child.file("tempslow.wav")));
    EXPECT_TRUE(child.read("trace.log").contains("Sub Form_Unload"));
}

INSTANTIATE_TEST_SUITE_P(Signals, Termination, ::testing::Values(SIGTERM, SIGINT));
