// The desktop's autoplay for audio CDs is taken away at start and given back at exit. The
// test process keeps its gsettings in a key file of its own (see TestMain).
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/AppPaths.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "platform/DesktopAutoplay.h"

#include <QProcess>
#include <QSettings>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
// Reads the list of media that take an action ("start-app", "ignore", ...), or sets it.
QString list(const char* action, const char* value = nullptr) {
    QStringList args{QStringLiteral("org.gnome.desktop.media-handling"),
                     QStringLiteral("autorun-x-content-") + QLatin1StringView(action)};
    args.prepend(value ? QStringLiteral("set") : QStringLiteral("get"));
    if (value)
        args << QString::fromLatin1(value);
    QProcess p;
    p.start(QStringLiteral("gsettings"), args);
    p.waitForFinished(5000);
    return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
}

QString previousAutoplay() {
    QSettings conf(settingsFile(), QSettings::IniFormat);
    return conf.value(QStringLiteral("Previous/AutoplayString"), QStringLiteral("<none>"))
        .toString();
}

const char* const kBoth = "['x-content/audio-cdda', 'x-content/video-dvd']";

class Autoplay : public ::testing::Test {
protected:
    void SetUp() override {
        if (!DesktopAutoplay::available())
            GTEST_SKIP() << "this machine has no desktop media-handling settings";
        list("start-app", kBoth);
        list("ignore", "@as []");
        list("open-folder", "@as []");
    }
    TestHome home;
};
} // namespace

// Audio CDs stop starting an application while the program runs (other media keep theirs),
// and get back what they had; taking and giving back says nothing (a first start without a
// CD drive only asks for one).
TEST_F(Autoplay, TheProgramTakesItAwayWhileRunningAndGivesItBack) {
    {
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        EXPECT_EQ(list("ignore"), u"['x-content/audio-cdda']");
        EXPECT_EQ(list("start-app"), u"['x-content/video-dvd']");
    }
    EXPECT_EQ(list("start-app"), u"['x-content/video-dvd', 'x-content/audio-cdda']");
    EXPECT_EQ(list("ignore"), u"@as []");
    for (const Prompts::Record& r : Prompts::log())
        EXPECT_EQ(r.title, u"Enter audio CD drive letter") << r.text.toStdString();
}

// A desktop that asked the user about audio CDs asks again afterwards.
TEST_F(Autoplay, AskingTheUserIsGivenBackToo) {
    list("start-app", "@as []");
    autoplay(false);
    EXPECT_EQ(previousAutoplay(), u"ask");
    EXPECT_EQ(list("ignore"), u"['x-content/audio-cdda']");
    autoplay(true);
    EXPECT_EQ(list("start-app"), u"@as []");
    EXPECT_EQ(list("ignore"), u"@as []");
}

TEST(AutoplayAbsent, WithoutTheDesktopSettingNothingHappensSilently) {
    TestHome home;
    QTemporaryDir empty;
    const QByteArray dataDirs = qgetenv("XDG_DATA_DIRS");
    const QByteArray schemaDir = qgetenv("GSETTINGS_SCHEMA_DIR");
    qputenv("XDG_DATA_DIRS", empty.path().toUtf8());
    qputenv("GSETTINGS_SCHEMA_DIR", empty.path().toUtf8());
    Prompts::clear();
    const bool available = DesktopAutoplay::available();
    autoplay(false);
    autoplay(true);
    for (const auto& [name, value] :
         {std::pair{"XDG_DATA_DIRS", dataDirs}, std::pair{"GSETTINGS_SCHEMA_DIR", schemaDir}}) {
        if (value.isNull())
            qunsetenv(name);
        else
            qputenv(name, value);
    }
    EXPECT_FALSE(available);
    EXPECT_TRUE(Prompts::log().isEmpty());
    EXPECT_EQ(previousAutoplay(), u"<none>");
}
