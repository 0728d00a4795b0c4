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

TEST(CFormEx, KeepsAWindowOnTopWithoutHidingIt) {
    QWidget w;
    w.show();
    CFormEx ex;
    ex.Init(&w);
    ex.setOnTop(true);
    EXPECT_TRUE(ex.OnTop());
    EXPECT_TRUE(w.isVisible());
    ex.setOnTop(false);
    EXPECT_FALSE(ex.OnTop());
    EXPECT_TRUE(w.isVisible());
}

TEST(CFormEx, StyleTestAnswersWhetherTheWindowsBitsLieWithin) {
    QWidget w;
    CFormEx ex;
    ex.Init(&w);
    const quint32 style = ex.Style();
    EXPECT_TRUE(ex.HasStyle(style | 0x10000));
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

TEST(CShutdown, CommandsCarryTheirFlagAndForce) {
    QList<std::pair<int, int>> calls;
    CShutdown::setBackend([&](int command, int force) {
        calls.append({command, force});
        return true;
    });
    CShutdown s;
    s.setForce(4);
    s.Reboot();
    s.setForce(0);
    s.LogOff();
    s.PowerOff();
    s.Shutdown();
    ASSERT_EQ(calls.size(), 4);
    EXPECT_EQ(calls[0], std::make_pair(2, 4));
    EXPECT_EQ(calls[1], std::make_pair(0, 0));
    EXPECT_EQ(calls[2], std::make_pair(8, 0));
    EXPECT_EQ(calls[3], std::make_pair(1, 0));

    CShutdown::setBackend([](int, int) { return false; });
    EXPECT_EQ(errorText([&] { s.Reboot(); }), u"Could not reboot");
    EXPECT_EQ(errorText([&] { s.LogOff(); }), u"Could not log-off");
    EXPECT_EQ(errorText([&] { s.PowerOff(); }), u"Could not power-off");
    EXPECT_EQ(errorText([&] { s.Shutdown(); }), u"Could not shutdown");
    CShutdown::setBackend(nullptr);
}

TEST(FrmAbout, TitleVersionAndButtons) {
    frmAbout about;
    EXPECT_EQ(about.windowTitle(), u"About Cantavox");
    EXPECT_EQ(about.ui()->lblVersion->text(), u"Version 2.0.0");
    about.showButtons(false);
    EXPECT_TRUE(about.ui()->cmdOK->isHidden());
    EXPECT_TRUE(about.ui()->Command1->isHidden());
    about.showButtons(true);
    EXPECT_FALSE(about.ui()->cmdOK->isHidden());
}
