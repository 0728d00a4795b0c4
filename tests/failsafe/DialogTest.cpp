// The error dialog, built offscreen: what it shows of the error, its tabs and its answers.
#include "FsFixture.h"

#include "failsafe/ErrorClasses.h"
#include "failsafe/frmFAILSAFE.h"

#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPrinterInfo>
#include <QPushButton>
#include <QStackedWidget>

namespace {

FsErrorSlot fileNotFound() {
    FsErrorSlot e;
    e.number = errnum::FileNotFound;
    e.text = QStringLiteral("File not found");
    e.rawSource = QStringLiteral("Cantavox");
    e.source = QStringLiteral("Cantavox (local)");
    e.errClass = ErrorClasses::classOf(e.number);
    e.procedure = QStringLiteral("Sub openWave");
    e.module = QStringLiteral("main form");
    return e;
}

const QStringList kTree = {
    QStringLiteral(
        "Sub cmdOpen_Click : main form : () : Trap : Runtime error 53, File not found on line 0"),
    QStringLiteral("\tSub openWave : main form : (name=a.wav) : Error"),
};

class DialogTest : public FsTest {
protected:
    template <class T> T* w(const char* name) {
        T* c = dlg.findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(c, nullptr) << name;
        return c;
    }
    QString text(const char* label) { return w<QLabel>(label)->text(); }
    QString plain(const char* edit) { return w<QPlainTextEdit>(edit)->toPlainText(); }
    frmFAILSAFE dlg;
};

} // namespace

// The headlines of the application's own errors and of a component's are those the trap
// tests read; here the fields, and those that depend on the error.
TEST_F(DialogTest, ShowsTheFieldsTheLineARemoteErrorAndAnUnknownClass) {
    dlg.fill(fileNotFound(), kTree, 2, QStringLiteral("Cantavox"));
    // Every field beside its caption, in the order the first tab gives them.
    QStringList fields;
    for (const QString& line : dlg.tabText(0).split(u'\n').mid(2, 6))
        fields << line.section(u'\t', 1);
    EXPECT_EQ(fields, (QStringList{QStringLiteral("53"),
                                   QStringLiteral("File System (disk, directory or file) access"),
                                   QStringLiteral("main form"), QStringLiteral("Sub openWave"),
                                   QStringLiteral("Cantavox (local)"),
                                   QStringLiteral(" line numbers not used - Code Pointer = 0")}));
    EXPECT_EQ(plain("errText"), u"File not found");
    // The prompt for what the user was doing is selected, so that typing replaces it.
    auto* text1 = w<QPlainTextEdit>("Text1");
    EXPECT_EQ(text1->textCursor().selectedText(), u"Type in what you were doing here.");

    FsErrorSlot e = fileNotFound();
    e.line = 120;
    e.remote = true;
    e.errClass = 0;
    dlg.fill(e, {}, 1, QStringLiteral("Cantavox"));
    EXPECT_EQ(text("ErrLine"), u"120");
    EXPECT_EQ(plain("errText"), u"File not found (handled remotely by Lopaib FailSafe)");
    EXPECT_TRUE(dlg.headline().startsWith(u"An unexpected 'Unknown Error Class' error"));
}

TEST_F(DialogTest, TheChoiceShowsItsPanelAndTheReportIsMadeOnFirstLook) {
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    auto* combo = w<QComboBox>("Combo1");
    auto* panels = w<QStackedWidget>("panels");
    auto* text1 = w<QPlainTextEdit>("Text1");
    auto* calls = w<QPlainTextEdit>("nsCtrlCalls");
    ASSERT_EQ(combo->count(), 3);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(text1));

    // The user types, selects a part, and looks at the other tabs.
    text1->setPlainText(QStringLiteral("Opening a wave file"));
    QTextCursor c = text1->textCursor();
    c.setPosition(8);
    c.setPosition(12, QTextCursor::KeepAnchor);
    text1->setTextCursor(c);

    combo->setCurrentIndex(1);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(w<QPlainTextEdit>("nsCtrlArgs")));
    EXPECT_EQ(plain("nsCtrlArgs"), kTree.join(u'\n'));
    EXPECT_FALSE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().isEmpty());

    combo->setCurrentIndex(2);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(calls));
    EXPECT_TRUE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().contains(u"\nMemory Information\n"));

    combo->setCurrentIndex(0);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(text1));
    EXPECT_EQ(text1->textCursor().selectedText(), u"a wa") << "the selection is kept";
}

// Continue, and what the user typed, are answered in the trap test of the shown dialog.
TEST_F(DialogTest, MoreBreaksIntoTheProgramAndGivesTheEventsBack) {
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    dlg.show();
    EXPECT_TRUE(fsInError); // the shown dialog holds back traced events
    w<QPushButton>("nsCtrlMore")->click();
    EXPECT_EQ(dlg.result(), fsaction::Break);
    EXPECT_EQ(fsAction, fsaction::Break);
    EXPECT_FALSE(fsInError);
    EXPECT_FALSE(dlg.isVisible());
}

TEST_F(DialogTest, PrintWithoutPrinterSaysSo) {
    if (!QPrinterInfo::defaultPrinter().isNull())
        GTEST_SKIP() << "this machine has a default printer";
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    w<QPushButton>("fsPrint")->click();
    const auto boxes = records(QStringLiteral("msgbox"));
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0].text, u"No default printer is set up on this computer.");
}
