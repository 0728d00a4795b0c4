// Start-up and shutdown of the whole program, in this process, on the offscreen platform.
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/AppPaths.h"
#include "app/Forms.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "ui_frmMain.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <QTextStream>
#include <gtest/gtest.h>

namespace {
void touch(const QString& path) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("RIFF");
}

QString readAll(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll());
}

// Turns on "Capture To Disk" so that the trace shows which procedures ran, and how often.
void captureTrace(const TestHome& home) {
    QFile ini(home.file(QStringLiteral("FSCLIENT.INI")));
    ASSERT_TRUE(ini.open(QIODevice::WriteOnly));
    ini.write("[log file]\r\nCapture To Disk=1\r\nLog File=trace.log\r\n");
}

int callsOf(const QString& log, const QString& proc) {
    int n = 0;
    for (const QString& line : log.split(u'\n')) {
        if (line.contains(u"] ->") && line.contains(proc + QStringLiteral(" :")))
            ++n;
    }
    return n;
}

QList<Prompts::Record> boxes() {
    QList<Prompts::Record> out;
    for (const auto& r : Prompts::log())
        if (r.kind == u"msgbox")
            out << r;
    return out;
}
} // namespace

TEST(Startup, FirstStartShowsMessageAndSplashThenTheMainWindowInCdMode) {
    TestHome home;
    ProgramRun run;
    run.start();

    // Between Main and the after-load timer: one-time message, splash, hidden main window.
    EXPECT_TRUE(gvFirstRun);
    EXPECT_TRUE(gvInStartup);
    ASSERT_TRUE(isLoaded(QStringLiteral("messageForm")));
    EXPECT_TRUE(findLoadedForm(QStringLiteral("messageForm"))->windowTitle() ==
                u"Starting Cantavox");
    ASSERT_TRUE(isLoaded(QStringLiteral("frmAbout")));
    EXPECT_TRUE(findLoadedForm(QStringLiteral("frmAbout"))->isVisible());
    ASSERT_NE(run.main(), nullptr);
    EXPECT_TRUE(run.main()->formLoaded());
    EXPECT_FALSE(run.main()->isVisible());

    ASSERT_TRUE(run.waitUntilRunning());
    frmMain* m = run.main();
    EXPECT_FALSE(isLoaded(QStringLiteral("frmAbout")));
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
    EXPECT_EQ(m->currentMode(), u"CD");
    EXPECT_EQ(m->panelText(QStringLiteral("pnlMsg")), u"No CD in drive");
    EXPECT_EQ(m->windowTitle(), u"Cantavox: No CD in drive");
    EXPECT_FALSE(m->panelVisible(QStringLiteral("pnlTrackLength")));
    EXPECT_FALSE(m->panelVisible(QStringLiteral("pnlCDlength")));
    EXPECT_EQ(m->ui()->CDTitle->text(), u"No CD In Drive");
    EXPECT_EQ(m->ui()->lblMMCtrl->text(), u"CD");
    EXPECT_EQ(m->ui()->CDControl->UpdateInterval(), 500);
    EXPECT_TRUE(m->isEnabled());
    EXPECT_TRUE(boxes().isEmpty());

    // The preferences read at start-up now stand in the settings file with their defaults,
    // and the library's field version is recorded.
    QSettings conf(settingsFile(), QSettings::IniFormat);
    conf.beginGroup(QStringLiteral("Preferences"));
    EXPECT_EQ(conf.value(QStringLiteral("DeleteTempFiles")).toString(), u"True");
    EXPECT_EQ(conf.value(QStringLiteral("SoundQuality")).toString(), u"3");
    EXPECT_EQ(conf.value(QStringLiteral("Show Tips at Startup")).toString(), u"True");
    EXPECT_EQ(conf.value(QStringLiteral("dbVersion")).toString(), u"7");
}

TEST(Startup, OnlyTheFirstStartIsAFirstRun) {
    TestHome home;
    {
        ProgramRun first;
        first.start();
        EXPECT_TRUE(gvFirstRun);
        ASSERT_TRUE(first.waitUntilRunning());
    }
    ProgramRun second;
    second.start();
    EXPECT_FALSE(gvFirstRun);
    EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
    ASSERT_TRUE(second.waitUntilRunning());
}

TEST(Startup, LeftoverDriversFolderGetsTheOneTimeMessageAndIsRemoved) {
    TestHome home;
    { // a start that is not the first
        ProgramRun first;
        first.start();
        ASSERT_TRUE(first.waitUntilRunning());
    }
    ASSERT_TRUE(QDir().mkpath(home.file(QStringLiteral("drivers/sub"))));
    touch(home.file(QStringLiteral("drivers/sub/old.sys")));
    ProgramRun run;
    run.start();
    EXPECT_FALSE(gvFirstRun);
    EXPECT_TRUE(isLoaded(QStringLiteral("messageForm")));
    EXPECT_FALSE(QDir(home.file(QStringLiteral("drivers"))).exists());
    ASSERT_TRUE(run.waitUntilRunning());
}

TEST(Startup, RootDirectoryIsRefusedOnceAndNothingIsOpened) {
    const QByteArray previous = qgetenv("CANTAVOX_HOME");
    qputenv("CANTAVOX_HOME", "/");
    ProgramRun run;
    run.start();
    qputenv("CANTAVOX_HOME", previous);

    const auto shown = boxes();
    ASSERT_EQ(shown.size(), 1);
    EXPECT_EQ(shown[0].text,
              u"This program was installed into a root directory (/) , probably inadvertently. "
              "It is not designed to run from such a directory. We suggest that you uninstall "
              "the program by going to the Windows Control Panel's Add/Remove Program feature, "
              "and then re-install the program to the default installation directory or a "
              "different, non-root, directory.");
    EXPECT_EQ(run.main(), nullptr);
    EXPECT_FALSE(isLoaded(QStringLiteral("frmAbout")));
    EXPECT_TRUE(processEnded());
    EXPECT_NE(processExitStatus(), 0);
    EXPECT_EQ(run.endCount(), 1);
    EXPECT_FALSE(gvInStartup);
}

TEST(Startup, ProgramFolderThatCannotBeCreatedIsNamedAndNothingStarts) {
    const QByteArray previous = qgetenv("CANTAVOX_HOME");
    // Nobody, not even root, can make a folder in /proc.
    qputenv("CANTAVOX_HOME", "/proc/cantavox-test/home");
    ProgramRun run;
    run.start();
    qputenv("CANTAVOX_HOME", previous);

    const auto shown = boxes();
    ASSERT_EQ(shown.size(), 1);
    EXPECT_TRUE(shown[0].text.contains(u"/proc/cantavox-test/home")) << shown[0].text.toStdString();
    EXPECT_EQ(run.main(), nullptr);
    EXPECT_TRUE(processEnded());
    EXPECT_NE(processExitStatus(), 0);
}

TEST(Shutdown, FileExitRemovesScratchFilesAndEndsOnceThroughOneUnload) {
    TestHome home;
    captureTrace(home);
    touch(home.file(QStringLiteral("temp.wav")));
    touch(home.file(QStringLiteral("tempslow.wav")));
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());

    run.main()->menuExit_Click();
    ProgramRun::settle();

    EXPECT_EQ(run.endCount(), 1);
    EXPECT_EQ(processExitStatus(), 0);
    EXPECT_FALSE(QFile::exists(home.file(QStringLiteral("temp.wav"))));
    EXPECT_FALSE(QFile::exists(home.file(QStringLiteral("tempslow.wav"))));
    EXPECT_EQ(frmMain::instance(), nullptr);
    EXPECT_TRUE(loadedForms().isEmpty());
    EXPECT_FALSE(gvExiting);

    // exitProgram is entered twice (File Exit, then the main window's unload) but does its
    // work once.
    const QString log = readAll(home.file(QStringLiteral("trace.log")));
    EXPECT_EQ(callsOf(log, QStringLiteral("Sub exitProgram")), 2);
    EXPECT_EQ(callsOf(log, QStringLiteral("Sub Form_Unload")), 1);
    EXPECT_EQ(callsOf(log, QStringLiteral("Function MFPlayFileCleanUp")), 1);
    EXPECT_EQ(callsOf(log, QStringLiteral("Sub closeAllForms")), 1);
}

TEST(Shutdown, ScratchFilesSurviveWhenDeleteTempFilesIsFalse) {
    TestHome home;
    {
        QSettings conf(settingsFile(), QSettings::IniFormat);
        conf.setValue(QStringLiteral("Preferences/DeleteTempFiles"), QStringLiteral("False"));
    }
    touch(home.file(QStringLiteral("temp.wav")));
    touch(home.file(QStringLiteral("tempslow.wav")));
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    EXPECT_FALSE(gvDeleteTempFiles);
    run.main()->menuExit_Click();
    ProgramRun::settle();
    EXPECT_EQ(run.endCount(), 1);
    EXPECT_TRUE(QFile::exists(home.file(QStringLiteral("temp.wav"))));
    EXPECT_TRUE(QFile::exists(home.file(QStringLiteral("tempslow.wav"))));
}

TEST(Shutdown, CloseBoxInSlowPlayGoesBackButFileExitInSlowPlayEnds) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    frmMain* m = run.main();

    m->changeToMode(QStringLiteral("SlowPlay"));
    ASSERT_TRUE(gvInSlowPlay);
    EXPECT_FALSE(m->close());
    ProgramRun::settle();
    ASSERT_EQ(frmMain::instance(), m);
    EXPECT_TRUE(m->isVisible());
    EXPECT_FALSE(gvInSlowPlay);
    EXPECT_EQ(m->currentMode(), u"CD");
    EXPECT_EQ(run.endCount(), 0);

    m->changeToMode(QStringLiteral("SlowPlay"));
    m->menuExit_Click();
    ProgramRun::settle();
    EXPECT_EQ(run.endCount(), 1);
    EXPECT_EQ(frmMain::instance(), nullptr);
}

TEST(Shutdown, CloseBoxOutsideSlowPlayEndsTheProgram) {
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    EXPECT_TRUE(run.main()->close());
    ProgramRun::settle();
    EXPECT_EQ(run.endCount(), 1);
    EXPECT_EQ(frmMain::instance(), nullptr);
    EXPECT_TRUE(loadedForms().isEmpty());
}
