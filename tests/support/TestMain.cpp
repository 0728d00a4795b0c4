// Shared main of every test executable: a real QApplication on the offscreen platform, the
// null audio device, a program directory of its own, and prompts answered by script.
#include "app/Dialogs.h"
#include "app/Prompts.h"

#include <QApplication>
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", qgetenv("QT_QPA_PLATFORM").isEmpty() ? QByteArray("offscreen")
                                                                    : qgetenv("QT_QPA_PLATFORM"));
    qputenv("CANTAVOX_AUDIO", "null");
    // Each test process gets a program directory of its own (below the one make test gives),
    // so tests that run in parallel never share a settings file or a library.
    const QString outer = qEnvironmentVariable("CANTAVOX_HOME");
    QTemporaryDir home((outer.isEmpty() ? QDir::tempPath() : outer) +
                       QStringLiteral("/cantavox-test-XXXXXX"));
    qputenv("CANTAVOX_HOME", home.path().toUtf8());
    // The desktop's autoplay setting is read and written through gsettings: keep it in a
    // key file of the test's own, never in the settings of the person running the tests.
    QTemporaryDir config;
    qputenv("GSETTINGS_BACKEND", "keyfile");
    qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Cantavox"));
    Dialogs::install();
    Prompts::setScripted(true);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
