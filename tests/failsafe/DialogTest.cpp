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
const QString kFileSystem = QStringLiteral("File System (disk, directory or file) access");

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

TEST_F(DialogTest, ShowsTheError) {
    dlg.fill(fileNotFound(), kTree, 2, QStringLiteral("Cantavox"));
    EXPECT_EQ(text("ErrType"), kFileSystem);
    EXPECT_EQ(text("ErrProcedure"), u"Sub openWave");
    EXPECT_EQ(text("ErrLine"), u" line numbers not used - Code Pointer = 0");
    EXPECT_EQ(plain("errText"), u"File not found");
    EXPECT_EQ(dlg.headline(),
              QStringLiteral("An unexpected '%1' error occurred in Cantavox.").arg(kFileSystem));
    EXPECT_EQ(text("lblErrCnt"), u"2 error(s) are logged.");
    EXPECT_EQ(text("lblStatus"), u"Error 53 - File not found");
    EXPECT_EQ(plain("nsCtrlArgs"), kTree.join(u'\n'));
    // The prompt for what the user was doing is selected, so that typing replaces it.
    auto* text1 = w<QPlainTextEdit>("Text1");
    EXPECT_EQ(text1->toPlainText(), u"Type in what you were doing here.");
    EXPECT_EQ(text1->textCursor().selectedText(), text1->toPlainText());

    // A known line, an error of a component, a remote error of no known class.
    FsErrorSlot e = fileNotFound();
    e.line = 120;
    e.rawSource = QStringLiteral("sndfile");
    dlg.fill(e, {}, 1, QStringLiteral("Cantavox"));
    EXPECT_EQ(text("ErrLine"), u"120");
    EXPECT_EQ(dlg.headline(),
              QStringLiteral("An unexpected '%1' error occurred in a component used by Cantavox.")
                  .arg(kFileSystem));
    e.remote = true;
    e.errClass = 0;
    dlg.fill(e, {}, 1, QStringLiteral("Cantavox"));
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
    EXPECT_FALSE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().isEmpty());

    combo->setCurrentIndex(2);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(calls));
    EXPECT_TRUE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().contains(u"\nMemory Information\n"));
    EXPECT_EQ(dlg.tabText(2), calls->toPlainText());
    EXPECT_EQ(dlg.tabText(1), kTree.join(u'\n'));

    combo->setCurrentIndex(0);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(text1));
    EXPECT_EQ(text1->textCursor().selectedText(), u"a wa") << "the selection is kept";
}

TEST_F(DialogTest, AnswersOfTheButtons) {
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    dlg.show();
    EXPECT_TRUE(fsInError); // the shown dialog holds back traced events
    w<QPlainTextEdit>("Text1")->setPlainText(QStringLiteral("Loading my song"));
    w<QPushButton>("nsCtrlMore")->click();
    EXPECT_EQ(dlg.result(), fsaction::Break);
    EXPECT_EQ(fsAction, fsaction::Break);
    EXPECT_FALSE(fsInError);
    EXPECT_FALSE(dlg.isVisible());

    dlg.show();
    w<QPushButton>("nsCtrlContinue")->click();
    EXPECT_EQ(dlg.result(), fsaction::Leave);
    EXPECT_EQ(fsAction, fsaction::Leave);
    EXPECT_EQ(fsUserSaid, u"Loading my song");
    EXPECT_EQ(dlg.userSaid(), u"Loading my song");
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
