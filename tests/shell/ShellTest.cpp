// Window utilities, the session's end, and the about box.
#include "failsafe/AppError.h"
#include "shell/CFormEx.h"
#include "shell/CShutdown.h"
#include "shell/frmAbout.h"
#include "ui_frmAbout.h"

#include <QPushButton>
#include <QWidget>
#include <gtest/gtest.h>

namespace {
QString errorText(const std::function<void()>& f) {
    try {
        f();
    } catch (const AppError& e) {
        return e.description;
    }
    return {};
}
} // namespace

TEST(CFormEx, KeepsAWindowOnTopWithoutHidingItAndTestsStyles) {
    QWidget w;
    w.show();
    CFormEx ex;
    ex.Init(&w);
    for (const bool onTop : {true, false}) {
        ex.setOnTop(onTop);
        EXPECT_EQ(ex.OnTop(), onTop);
        EXPECT_TRUE(w.isVisible());
    }
    // A style test answers whether the window's bits lie within the given ones.
    EXPECT_TRUE(ex.HasStyle(ex.Style() | 0x10000));
    EXPECT_FALSE(ex.HasStyle(0));
    ex.AddExStyle(8);
    EXPECT_TRUE(ex.HasExStyle(8 | 4));
    ex.RemoveExStyle(8);
    EXPECT_EQ(ex.ExStyle(), 0u);
}

TEST(CFormEx, AGoneWindowFailsWithItsTexts) {
    CFormEx ex;
    EXPECT_EQ(errorText([&] { ex.setOnTop(true); }), u"Object not properly initialized");
    auto* w = new QWidget;
    ex.Init(w);
    EXPECT_EQ(errorText([&] { ex.setParent(nullptr); }), u"Invalid parent window");
    delete w;
    EXPECT_EQ(errorText([&] { (void)ex.OnTop(); }), u"Object not properly initialized");
}

TEST(CShutdown, CommandsCarryTheirFlagAndForceAndAFailureSaysWhichFailed) {
    struct Case {
        void (CShutdown::*command)();
        int flag;
        int force;
        const char* failure;
    };
    const Case cases[] = {
        {&CShutdown::Reboot, 2, 4, "Could not reboot"},
        {&CShutdown::LogOff, 0, 0, "Could not log-off"},
        {&CShutdown::PowerOff, 8, 4, "Could not power-off"},
        {&CShutdown::Shutdown, 1, 0, "Could not shutdown"},
    };
    CShutdown s;
    for (const Case& c : cases) {
        s.setForce(c.force);
        std::pair<int, int> call{-1, -1};
        CShutdown::setBackend([&](int command, int force) {
            call = {command, force};
            return true;
        });
        (s.*c.command)();
        EXPECT_EQ(call, std::make_pair(c.flag, c.force)) << c.failure;
        CShutdown::setBackend([](int, int) { return false; });
        EXPECT_EQ(errorText([&] { (s.*c.command)(); }), QLatin1StringView(c.failure));
    }
    CShutdown::setBackend(nullptr);
}

TEST(FrmAbout, ButtonsCanBeHiddenForTheSplash) {
    frmAbout about;
    EXPECT_EQ(about.windowTitle(), u"About Cantavox");
    about.showButtons(false);
    EXPECT_TRUE(about.ui()->cmdOK->isHidden());
    EXPECT_TRUE(about.ui()->Command1->isHidden());
    about.showButtons(true);
    EXPECT_FALSE(about.ui()->cmdOK->isHidden());
    EXPECT_FALSE(about.ui()->Command1->isHidden());
}
