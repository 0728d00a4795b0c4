// Preferences through the real settings file: defaults, the "N/A" rule, conversions, faults.
#include "ErrorOf.h"
#include "TestHome.h"

#include "app/AppPaths.h"
#include "app/globals.h"
#include "failsafe/AppError.h"
#include "prefs/CRegistry.h"
#include "prefs/Preference.h"
#include "prefs/REG_MODULE.h"
#include "prefs/prefs.h"

#include <QDir>
#include <QFile>
#include <QSettings>
#include <gtest/gtest.h>

namespace {
QString storedPref(const QString& name) {
    QSettings s(settingsFile(), QSettings::IniFormat);
    return s.value(QStringLiteral("Preferences/") + name, QStringLiteral("<missing>")).toString();
}

void writeFile(const QByteArray& content) {
    QFile f(settingsFile());
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(content);
}
} // namespace

TEST(Preferences, AMissingOrEmptyValueTakesTheDefaultWhichIsStoredAndThenKept) {
    TestHome home;
    Preference p;
    p.setPreferenceName(QStringLiteral("AutoSlow"));
    EXPECT_EQ(p.Value().toString(), u"N/A");
    bool b = false;
    readPref(QStringLiteral("AutoSlow"), b, true);
    EXPECT_TRUE(b);
    EXPECT_EQ(storedPref(QStringLiteral("AutoSlow")), u"True");

    writeFile("[Preferences]\nSoundQuality=\n");
    p.setPreferenceName(QStringLiteral("SoundQuality"));
    EXPECT_EQ(p.Value().toString(), u"N/A");
    qint16 q = 0;
    readPref(QStringLiteral("SoundQuality"), q, 3);
    EXPECT_EQ(q, 3);
    EXPECT_EQ(storedPref(QStringLiteral("SoundQuality")), u"3");
    readPref(QStringLiteral("SoundQuality"), q, 1);
    EXPECT_EQ(q, 3) << "a new default doesn't overwrite what is stored";
}

TEST(Preferences, ValuesSurviveARestartAsTheirText) {
    TestHome home;
    bool flag = true;
    writePref(QStringLiteral("DeleteTempFiles"), flag, false);
    QString letter;
    writePref(QStringLiteral("MCI CD letter"), letter, QStringLiteral("D"));
    qint32 rate = 0;
    writePref(QStringLiteral("RecordingSampleRate"), rate, 48000);
    EXPECT_FALSE(flag);
    EXPECT_EQ(letter, u"D");
    EXPECT_EQ(rate, 48000);

    // Another program run: only the file carries the values.
    EXPECT_EQ(storedPref(QStringLiteral("DeleteTempFiles")), u"False");
    EXPECT_EQ(storedPref(QStringLiteral("MCI CD letter")), u"D");
    EXPECT_EQ(storedPref(QStringLiteral("RecordingSampleRate")), u"48000");
    bool back = true;
    readPref(QStringLiteral("DeleteTempFiles"), back, true);
    EXPECT_FALSE(back);
}

TEST(Preferences, TextConversionsFollowTheRunTime) {
    TestHome home;
    writeFile("[Preferences]\nA=maybe\nB=true\nC=0\nD=-1\nE=twelve\nF=12abc\nG=40000\nH=2.5\n");
    bool b = false;
    EXPECT_EQ(errorOf([&] { readPref(QStringLiteral("A"), b, true); }), errnum::TypeMismatch);
    const std::pair<const char*, bool> flags[] = {{"B", true}, {"C", false}, {"D", true}};
    for (const auto& [name, value] : flags) {
        readPref(QString::fromLatin1(name), b, !value);
        EXPECT_EQ(b, value) << name;
    }
    qint16 n = 7;
    readPref(QStringLiteral("E"), n, 1);
    EXPECT_EQ(n, 0) << "a word where a number belongs reads as 0";
    readPref(QStringLiteral("F"), n, 1);
    EXPECT_EQ(n, 12);
    EXPECT_EQ(errorOf([&] { readPref(QStringLiteral("G"), n, 1); }), errnum::Overflow);
    qint32 l = 0;
    readPref(QStringLiteral("G"), l, 1);
    EXPECT_EQ(l, 40000);
    readPref(QStringLiteral("H"), n, 1);
    EXPECT_EQ(n, 2) << "Integer narrowing rounds half to even";
}

TEST(Preferences, GarbageOrUnreadableFileGivesDefaults) {
    TestHome home;
    writeFile(QByteArray("\x00\xff\xfe[[[=\n\x01garbage\n=\n", 20));
    bool b = false;
    readPref(QStringLiteral("Realtime"), b, true);
    EXPECT_TRUE(b);

    // A settings "file" that can't be read at all, whatever the rights of the reader.
    TestHome other;
    ASSERT_TRUE(QDir().mkpath(settingsFile()));
    b = false;
    readPref(QStringLiteral("Realtime"), b, true);
    EXPECT_TRUE(b);
    qint16 q = 0;
    readPref(QStringLiteral("SoundQuality"), q, 3);
    EXPECT_EQ(q, 3);
}

TEST(Preferences, WritePrefChangesTheVariableEvenWhenTheStoreCannotBeWritten) {
    const QByteArray previous = qgetenv("CANTAVOX_HOME");
    qputenv("CANTAVOX_HOME", "/proc/no-such-folder");
    bool flag = true;
    writePref(QStringLiteral("PreviewEnd"), flag, false);
    qint16 q = 0;
    writePref(QStringLiteral("SoundQuality"), q, 2);
    qputenv("CANTAVOX_HOME", previous);
    EXPECT_FALSE(flag);
    EXPECT_EQ(q, 2);
}

TEST(Preferences, RecordingFormatFollowsTheRecordMode) {
    gvRecordingSampleRate = 22050;
    gvRecordMode = 2;
    getRecordingSubPrefs();
    EXPECT_EQ(gvRecordingChannels, 1);
    EXPECT_EQ(gvTrueSampleRate, 22050);
    EXPECT_FLOAT_EQ(gvSamplesPerMs, 22.05f);
    gvRecordMode = 1; // digital reads are always at the disc's rate
    getRecordingSubPrefs();
    EXPECT_EQ(gvTrueSampleRate, 44100);
    resetGlobals();
}

TEST(Settings, ApplicationSettingsLiveInTheirSection) {
    TestHome home;
    const QString app = QStringLiteral("Cantavox");
    const QString recent = QStringLiteral("Recent Files");
    EXPECT_EQ(GetSetting(app, QStringLiteral("Previous"), QStringLiteral("AutoplayString"),
                         QStringLiteral("none")),
              u"none");
    const QString path = QStringLiteral("/music/it's here.wav");
    ASSERT_TRUE(SaveSetting(app, recent, QStringLiteral("File1"), path));
    EXPECT_EQ(GetSetting(app, recent, QStringLiteral("File1")), path);
    DeleteSetting(app, recent);
    EXPECT_EQ(GetSetting(app, recent, QStringLiteral("File1")), u"");
}

TEST(Registry, KeysAndValuesRoundTrip) {
    TestHome home;
    CRegistry reg;
    reg.setKeyName(QStringLiteral("Software\\Cantavox\\FailSafe\\Reports"));
    EXPECT_FALSE(reg.KeyExists());
    reg.CreateKey();
    EXPECT_TRUE(reg.KeyExists());
    EXPECT_TRUE(reg.EnumerateValues().isEmpty());
    reg.WriteValue(QStringLiteral("Count"), 3);
    reg.WriteValue(QStringLiteral("Last"), QStringLiteral("Overflow"));
    int type = 0;
    EXPECT_EQ(reg.ReadValue(QStringLiteral("Count"), &type).toInt(), 3);
    EXPECT_EQ(type, regtype::REG_DWORD);
    EXPECT_EQ(reg.ReadValue(QStringLiteral("Last"), &type).toString(), u"Overflow");
    EXPECT_EQ(type, regtype::REG_SZ);
    EXPECT_EQ(reg.EnumerateValues(),
              QStringList({QStringLiteral("Count"), QStringLiteral("Last")}));

    CRegistry parent;
    parent.setKeyName(QStringLiteral("Software\\Cantavox\\FailSafe"));
    EXPECT_EQ(parent.EnumerateSubKeys(), QStringList{QStringLiteral("Reports")});

    reg.DeleteValue(QStringLiteral("Count"));
    EXPECT_EQ(reg.EnumerateValues(), QStringList{QStringLiteral("Last")});
    reg.DeleteKey();
    EXPECT_FALSE(reg.KeyExists());
}

TEST(Registry, BadKeyNamesAreRefusedWithTheirText) {
    auto refusal = [](const std::function<void()>& f) {
        try {
            f();
        } catch (const AppError& e) {
            return e.description;
        }
        return QStringLiteral("accepted");
    };
    CRegistry reg;
    for (const char* bad : {"", "\\", "a\\\\b"})
        EXPECT_EQ(refusal([&] { reg.setKeyName(QString::fromLatin1(bad)); }),
                  u"Invalid KeyName value")
            << bad;
    EXPECT_EQ(refusal([&] { reg.KeyExists(); }), u"Invalid KeyName value")
        << "a registry object without a key name";
}
