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
#include <gtest/gtest.h>

namespace {
void touch(const QString& path) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("RIFF");
}

QList<Prompts::Record> boxes() {
    QList<Prompts::Record> out;
    for (const auto& r : Prompts::log())
        if (r.kind == u"msgbox")
            out << r;
    return out;
}

// Sets CANTAVOX_HOME for one scope.
class HomeAt {
public:
    explicit HomeAt(const char* path) : m_previous(qgetenv("CANTAVOX_HOME")) {
        qputenv("CANTAVOX_HOME", path);
    }
    ~HomeAt() { qputenv("CANTAVOX_HOME", m_previous); }

private:
    QByteArray m_previous;
};
} // namespace

// The window that comes up on an empty drive is the disc journeys' first sight; here what
// comes before it, and which starts are first ones.
TEST(Startup, TheFirstStartOrALeftoverDriversFolderShowsTheOneTimeMessageBeforeTheWindow) {
    TestHome home;
    {
        ProgramRun first;
        first.start();
        // Between Main and the after-load timer: one-time message, splash, hidden main window.
        EXPECT_TRUE(gvFirstRun);
        EXPECT_TRUE(gvInStartup);
        ASSERT_TRUE(isLoaded(QStringLiteral("messageForm")));
        EXPECT_EQ(findLoadedForm(QStringLiteral("messageForm"))->windowTitle(),
                  u"Starting Cantavox");
        ASSERT_TRUE(isLoaded(QStringLiteral("frmAbout")));
        EXPECT_TRUE(findLoadedForm(QStringLiteral("frmAbout"))->isVisible());
        ASSERT_NE(first.main(), nullptr);
        EXPECT_FALSE(first.main()->isVisible());

        ASSERT_TRUE(first.waitUntilRunning());
        frmMain* m = first.main();
        EXPECT_FALSE(isLoaded(QStringLiteral("frmAbout")));
        EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
        EXPECT_EQ(m->currentMode(), u"CD");
        EXPECT_FALSE(m->panelVisible(QStringLiteral("pnlTrackLength")));
        EXPECT_FALSE(m->panelVisible(QStringLiteral("pnlCDlength")));
        EXPECT_EQ(m->ui()->CDTitle->text(), u"No CD In Drive");
        EXPECT_TRUE(boxes().isEmpty());
    }
    {
        ProgramRun second;
        second.start();
        EXPECT_FALSE(gvFirstRun);
        EXPECT_FALSE(isLoaded(QStringLiteral("messageForm")));
        ASSERT_TRUE(second.waitUntilRunning());
    }
    ASSERT_TRUE(QDir().mkpath(home.file(QStringLiteral("drivers/sub"))));
    touch(home.file(QStringLiteral("drivers/sub/old.sys")));
    ProgramRun third;
    third.start();
    EXPECT_FALSE(gvFirstRun);
    EXPECT_TRUE(isLoaded(QStringLiteral("messageForm")));
    EXPECT_FALSE(QDir(home.file(QStringLiteral("drivers"))).exists());
    ASSERT_TRUE(third.waitUntilRunning());
}

// The root folder, and one that nobody (not even root) can create in /proc: refused once
// with a message that names it, and nothing opens.
TEST(Startup, AProgramFolderThatCantBeUsedIsRefusedAndNothingStarts) {
    // The root folder is left through exitProgram; the other ends by its status alone.
    const std::tuple<const char*, const char*, int> cases[] = {
        {"/", "This program was installed into a root directory (/) , probably inadvertently.", 1},
        {"/proc/cantavox-test/home", "Cantavox can't use its folder /proc/cantavox-test/home", 0},
    };
    for (const auto& [folder, message, ends] : cases) {
        ProgramRun run;
        {
            const HomeAt at(folder);
            run.start();
        }
        const auto shown = boxes();
        ASSERT_EQ(shown.size(), 1) << folder;
        EXPECT_TRUE(shown[0].text.startsWith(QLatin1StringView(message)))
            << shown[0].text.toStdString();
        EXPECT_EQ(run.main(), nullptr);
        EXPECT_FALSE(isLoaded(QStringLiteral("frmAbout")));
        EXPECT_TRUE(processEnded());
        EXPECT_NE(processExitStatus(), 0);
        EXPECT_EQ(run.endCount(), ends);
        EXPECT_FALSE(gvInStartup);
    }
}

// File, Exit, also from SlowPlay: the scratch files go unless the preference keeps them, and
// the process ends once though exitProgram is entered twice (File Exit, then the main
// window's unload).
TEST(Shutdown, FileExitEndsOnceAndRemovesScratchFilesIfWanted) {
    for (const bool deleteTemp : {true, false}) {
        TestHome home;
        if (!deleteTemp) {
            QSettings conf(settingsFile(), QSettings::IniFormat);
            conf.setValue(QStringLiteral("Preferences/DeleteTempFiles"), QStringLiteral("False"));
        }
        touch(home.file(QStringLiteral("temp.wav")));
        touch(home.file(QStringLiteral("tempslow.wav")));
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        if (!deleteTemp)
            run.main()->changeToMode(QStringLiteral("SlowPlay"));

        run.main()->menuExit_Click();
        ProgramRun::settle();
        EXPECT_EQ(run.endCount(), 1);
        EXPECT_EQ(processExitStatus(), 0);
        EXPECT_EQ(QFile::exists(home.file(QStringLiteral("temp.wav"))), !deleteTemp);
        EXPECT_EQ(QFile::exists(home.file(QStringLiteral("tempslow.wav"))), !deleteTemp);
        EXPECT_EQ(frmMain::instance(), nullptr);
        EXPECT_TRUE(loadedForms().isEmpty());
        EXPECT_FALSE(gvExiting);
    }
}

TEST(Shutdown, TheCloseBoxInSlowPlayGoesBackAndOutsideItEndsTheProgram) {
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

    EXPECT_TRUE(m->close());
    ProgramRun::settle();
    EXPECT_EQ(run.endCount(), 1);
    EXPECT_EQ(frmMain::instance(), nullptr);
    EXPECT_TRUE(loadedForms().isEmpty());
}
