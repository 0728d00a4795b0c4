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
#include <QStandardPaths>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {
const char* kSchema = "org.gnome.desktop.media-handling";

QString gsettings(const QStringList& args) {
    QProcess p;
    p.start(QStringLiteral("gsettings"), args);
    p.waitForFinished(5000);
    return QString::fromUtf8(p.readAllStandardOutput()).trimmed();
}

QString listOf(const char* word) {
    return gsettings({QStringLiteral("get"), QString::fromLatin1(kSchema),
                      QStringLiteral("autorun-x-content-") + QString::fromLatin1(word)});
}

void setList(const char* word, const QString& value) {
    gsettings({QStringLiteral("set"), QString::fromLatin1(kSchema),
               QStringLiteral("autorun-x-content-") + QString::fromLatin1(word), value});
}

QString previousAutoplay() {
    QSettings conf(settingsFile(), QSettings::IniFormat);
    return conf.value(QStringLiteral("Previous/AutoplayString"), QStringLiteral("<none>"))
        .toString();
}

class Autoplay : public ::testing::Test {
protected:
    void SetUp() override {
        if (!DesktopAutoplay::available())
            GTEST_SKIP() << "this machine has no desktop media-handling settings";
        setList("start-app", QStringLiteral("['x-content/audio-cdda', 'x-content/video-dvd']"));
        setList("ignore", QStringLiteral("@as []"));
        setList("open-folder", QStringLiteral("@as []"));
    }
    TestHome home;
};
} // namespace

TEST_F(Autoplay, TakenAwayAtLoadAndGivenBackAtUnload) {
    autoplay(false);
    EXPECT_EQ(previousAutoplay(), u"start-app");
    EXPECT_EQ(listOf("start-app"), u"['x-content/video-dvd']") << "other media keep theirs";
    EXPECT_EQ(listOf("ignore"), u"['x-content/audio-cdda']");

    autoplay(true);
    EXPECT_EQ(listOf("start-app"), u"['x-content/video-dvd', 'x-content/audio-cdda']");
    EXPECT_EQ(listOf("ignore"), u"@as []");
}

TEST_F(Autoplay, AskingTheUserIsAlsoGivenBack) {
    setList("start-app", QStringLiteral("@as []"));
    autoplay(false);
    EXPECT_EQ(previousAutoplay(), u"ask");
    EXPECT_EQ(listOf("ignore"), u"['x-content/audio-cdda']");
    autoplay(true);
    EXPECT_EQ(listOf("ignore"), u"@as []");
    EXPECT_EQ(listOf("start-app"), u"@as []");
}

TEST_F(Autoplay, TheProgramHoldsItWhileRunning) {
    {
        ProgramRun run;
        run.start();
        ASSERT_TRUE(run.waitUntilRunning());
        EXPECT_EQ(listOf("ignore"), u"['x-content/audio-cdda']");
    }
    EXPECT_EQ(listOf("start-app"), u"['x-content/video-dvd', 'x-content/audio-cdda']");
    EXPECT_TRUE(Prompts::log().isEmpty());
}

TEST(AutoplayAbsent, WithoutTheDesktopSettingNothingHappensSilently) {
    TestHome home;
    QTemporaryDir empty;
    const QByteArray dataDirs = qgetenv("XDG_DATA_DIRS");
    const QByteArray schemaDir = qgetenv("GSETTINGS_SCHEMA_DIR");
    qputenv("XDG_DATA_DIRS", empty.path().toUtf8());
    qputenv("GSETTINGS_SCHEMA_DIR", empty.path().toUtf8());
    Prompts::clear();
    EXPECT_FALSE(DesktopAutoplay::available());
    autoplay(false);
    autoplay(true);
    if (dataDirs.isNull())
        qunsetenv("XDG_DATA_DIRS");
    else
        qputenv("XDG_DATA_DIRS", dataDirs);
    if (schemaDir.isNull())
        qunsetenv("GSETTINGS_SCHEMA_DIR");
    else
        qputenv("GSETTINGS_SCHEMA_DIR", schemaDir);
    EXPECT_TRUE(Prompts::log().isEmpty());
    EXPECT_EQ(previousAutoplay(), u"<none>");
}
