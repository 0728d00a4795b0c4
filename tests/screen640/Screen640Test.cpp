// On a screen exactly 640 pixels wide the main window starts maximised.
#include "ProgramRun.h"
#include "TestHome.h"

#include "app/frmMain.h"

#include <QGuiApplication>
#include <QScreen>
#include <gtest/gtest.h>

TEST(SmallScreen, MainWindowStartsMaximisedOnA640PixelScreen) {
    ASSERT_EQ(QGuiApplication::primaryScreen()->geometry().width(), 640);
    TestHome home;
    ProgramRun run;
    run.start();
    ASSERT_TRUE(run.waitUntilRunning());
    EXPECT_TRUE(run.main()->windowState() & Qt::WindowMaximized);
    // Everything of the CD mode still fits: nothing is pushed off the right edge.
    EXPECT_LE(run.main()->minimumSizeHint().width(), 640);
}
