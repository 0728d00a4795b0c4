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

TEST(Preferences, FirstReadStoresTheDefaultAndLaterReadsKeepTheStoredValue) {
    TestHome home;
    bool b = false;
    readPref(QStringLiteral("AutoSlow"), b, true);
    EXPECT_TRUE(b);
    EXPECT_EQ(storedPref(QStringLiteral("AutoSlow")), u"True");

    qint16 q = 0;
    readPref(QStringLiteral("SoundQuality"), q, 3);
    EXPECT_EQ(q, 3);
    EXPECT_EQ(storedPref(QStringLiteral("SoundQuality")), u"3");
    // A new default doesn't overwrite what is stored.
    readPref(QStringLiteral("SoundQuality"), q, 1);
    EXPECT_EQ(q, 3);
}

TEST(Preferences, MissingAndEmptyValuesReadAsNA) {
    TestHome home;
    Preference p;
    p.setPreferenceName(QStringLiteral("dbVersion"));
    EXPECT_EQ(p.Value().toString(), u"N/A");
    writeFile("[Preferences]\ndbVersion=\n");
    p.setPreferenceName(QStringLiteral("dbVersion"));
    EXPECT_EQ(p.Value().toString(), u"N/A");
    QString s;
    readPref(QStringLiteral("dbVersion"), s, QStringLiteral("6"));
    EXPECT_EQ(s, u"6") << "an empty value counts as missing, so the default applies";
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
    QSettings s(settingsFile(), QSettings::IniFormat);
    EXPECT_EQ(s.value(QStringLiteral("Preferences/DeleteTempFiles")).toString(), u"False");
    EXPECT_EQ(s.value(QStringLiteral("Preferences/MCI CD letter")).toString(), u"D");
    EXPECT_EQ(s.value(QStringLiteral("Preferences/RecordingSampleRate")).toString(), u"48000");
    bool back = true;
    readPref(QStringLiteral("DeleteTempFiles"), back, true);
    EXPECT_FALSE(back);
}

TEST(Preferences, TextConversionsFollowTheRunTime) {
    TestHome home;
    writeFile("[Preferences]\nA=maybe\nB=true\nC=0\nD=-1\nE=twelve\nF=12abc\nG=40000\nH=2.5\n");
    bool b = false;
    EXPECT_EQ(errorOf([&] { readPref(QStringLiteral("A"), b, true); }), errnum::TypeMismatch);
    readPref(QStringLiteral("B"), b, false);
    EXPECT_TRUE(b);
    readPref(QStringLiteral("C"), b, true);
    EXPECT_FALSE(b);
    readPref(QStringLiteral("D"), b, false);
    EXPECT_TRUE(b);
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
    EXPECT_EQ(GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Previous"),
                         QStringLiteral("AutoplayString"), QStringLiteral("none")),
              u"none");
    ASSERT_TRUE(SaveSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                            QStringLiteral("File1"), QStringLiteral("/music/it's here.wav")));
    EXPECT_EQ(GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                         QStringLiteral("File1")),
              u"/music/it's here.wav");
    DeleteSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"));
    EXPECT_EQ(GetSetting(QStringLiteral("Cantavox"), QStringLiteral("Recent Files"),
                         QStringLiteral("File1")),
              u"");
    EXPECT_EQ(groupForKey(kPreferencesKey), u"Preferences");
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
              (QStringList{QStringLiteral("Count"), QStringLiteral("Last")}));

    CRegistry parent;
    parent.setKeyName(QStringLiteral("Software\\Cantavox\\FailSafe"));
    EXPECT_EQ(parent.EnumerateSubKeys(), QStringList{QStringLiteral("Reports")});

    reg.DeleteValue(QStringLiteral("Count"));
    EXPECT_EQ(reg.EnumerateValues(), QStringList{QStringLiteral("Last")});
    reg.DeleteKey();
    EXPECT_FALSE(reg.KeyExists());
}

TEST(Registry, BadKeyNamesAreRefusedWithTheirText) {
    CRegistry reg;
    for (const char* bad : {"", "\\", "a\\\\b"}) {
        try {
            reg.setKeyName(QString::fromLatin1(bad));
            ADD_FAILURE() << "accepted " << bad;
        } catch (const AppError& e) {
            EXPECT_EQ(e.description, u"Invalid KeyName value");
        }
    }
    try {
        reg.KeyExists();
        ADD_FAILURE() << "a registry object without a key name answered";
    } catch (const AppError& e) {
        EXPECT_EQ(e.description, u"Invalid KeyName value");
    }
}
