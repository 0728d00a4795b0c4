// The error dialog, built offscreen: its texts, its tabs, its status line and its answers.
#include "FsFixture.h"

#include "failsafe/ErrorClasses.h"
#include "failsafe/frmFAILSAFE.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QEnterEvent>
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
    void enter(QWidget* widget) {
        QEnterEvent e(QPointF(1, 1), QPointF(1, 1), QPointF(1, 1));
        QCoreApplication::sendEvent(widget, &e);
    }
    void leave(QWidget* widget) {
        QEvent e(QEvent::Leave);
        QCoreApplication::sendEvent(widget, &e);
    }
    frmFAILSAFE dlg;
};

} // namespace

TEST_F(DialogTest, ShowsTheError) {
    dlg.fill(fileNotFound(), kTree, 2, QStringLiteral("Cantavox"));
    EXPECT_EQ(dlg.objectName(), QStringLiteral("frmFAILSAFE"));
    EXPECT_EQ(text("ErrNo"), QStringLiteral("53"));
    EXPECT_EQ(text("ErrType"), QStringLiteral("File System (disk, directory or file) access"));
    EXPECT_EQ(text("ErrModule"), QStringLiteral("main form"));
    EXPECT_EQ(text("ErrProcedure"), QStringLiteral("Sub openWave"));
    EXPECT_EQ(text("errProject"), QStringLiteral("Cantavox (local)"));
    EXPECT_EQ(text("ErrLine"), QStringLiteral(" line numbers not used - Code Pointer = 0"));
    EXPECT_EQ(w<QPlainTextEdit>("errText")->toPlainText(), QStringLiteral("File not found"));
    EXPECT_EQ(dlg.headline(),
              QStringLiteral("An unexpected 'File System (disk, directory or file) access' error "
                             "occurred in Cantavox."));
    EXPECT_EQ(text("lblErrCnt"), QStringLiteral("2 error(s) are logged."));
    EXPECT_EQ(text("lblStatus"), QStringLiteral("Error 53 - File not found"));
    EXPECT_EQ(text("lblErrNo"), QStringLiteral("Error No. "));
    EXPECT_EQ(text("lblErrModule"), QStringLiteral("Module "));
    EXPECT_EQ(text("lblErrProcedure"), QStringLiteral("Procedure "));

    auto* text1 = w<QPlainTextEdit>("Text1");
    EXPECT_EQ(text1->toPlainText(), QStringLiteral("Type in what you were doing here."));
    EXPECT_EQ(text1->textCursor().selectedText(), text1->toPlainText());
    EXPECT_EQ(text1->toolTip(),
              QStringLiteral("To help resolve the problem, please enter what you were doing."));

    EXPECT_EQ(w<QPushButton>("nsCtrlContinue")->text(), QStringLiteral("&Continue"));
    EXPECT_EQ(w<QPushButton>("nsCtrlMore")->text(), QStringLiteral("&More"));
    EXPECT_EQ(w<QPushButton>("nsHelp")->text(), QStringLiteral("Help"));
    EXPECT_TRUE(w<QPushButton>("nsHelp")->isEnabled());
    EXPECT_EQ(w<QPushButton>("fsPrint")->text(), QStringLiteral("Print"));
    EXPECT_EQ(w<QPlainTextEdit>("nsCtrlArgs")->toPlainText(), kTree.join(u'\n'));
}

TEST_F(DialogTest, LineAndComponentVariants) {
    FsErrorSlot e = fileNotFound();
    e.line = 120;
    e.rawSource = QStringLiteral("sndfile");
    e.source = QStringLiteral("sndfile (local)");
    dlg.fill(e, {}, 1, QStringLiteral("Cantavox"));
    EXPECT_EQ(text("ErrLine"), QStringLiteral("120"));
    EXPECT_EQ(dlg.headline(),
              QStringLiteral("An unexpected 'File System (disk, directory or file) access' error "
                             "occurred in a component used by Cantavox."));

    e.remote = true;
    e.errClass = 0;
    dlg.fill(e, {}, 1, QStringLiteral("Cantavox"));
    EXPECT_EQ(w<QPlainTextEdit>("errText")->toPlainText(),
              QStringLiteral("File not found (handled remotely by Lopaib FailSafe)"));
    EXPECT_TRUE(
        dlg.headline().startsWith(QStringLiteral("An unexpected 'Unknown Error Class' error")));
}

TEST_F(DialogTest, Combo1ChoosesThePanel) {
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    auto* combo = w<QComboBox>("Combo1");
    auto* panels = w<QStackedWidget>("panels");
    ASSERT_EQ(combo->count(), 3);
    EXPECT_EQ(combo->itemText(0), QStringLiteral("Error Information"));
    EXPECT_EQ(combo->itemText(1), QStringLiteral("Call Tree & Arguments"));
    EXPECT_EQ(combo->itemText(2), QStringLiteral("System State Information"));
    EXPECT_EQ(combo->itemData(0, Qt::ToolTipRole).toString(),
              QStringLiteral("View detailed information about the error source"));
    EXPECT_EQ(combo->itemData(1, Qt::ToolTipRole).toString(),
              QStringLiteral("View error context and procedure trace"));
    EXPECT_EQ(combo->itemData(2, Qt::ToolTipRole).toString(),
              QStringLiteral("View local system information"));

    auto* text1 = w<QPlainTextEdit>("Text1");
    auto* args = w<QPlainTextEdit>("nsCtrlArgs");
    auto* calls = w<QPlainTextEdit>("nsCtrlCalls");
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(text1));

    // The user types, selects a part, and looks at the other tabs.
    text1->setPlainText(QStringLiteral("Opening a wave file"));
    QTextCursor c = text1->textCursor();
    c.setPosition(8);
    c.setPosition(12, QTextCursor::KeepAnchor);
    text1->setTextCursor(c);

    combo->setCurrentIndex(1);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(args));
    EXPECT_FALSE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().isEmpty());

    combo->setCurrentIndex(2);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(calls));
    EXPECT_TRUE(fsSystemReportMade());
    EXPECT_TRUE(calls->toPlainText().contains(QStringLiteral("\nMemory Information\n")));
    EXPECT_EQ(dlg.tabText(2), calls->toPlainText());
    EXPECT_EQ(dlg.tabText(1), kTree.join(u'\n'));

    combo->setCurrentIndex(0);
    EXPECT_TRUE(panels->currentWidget()->isAncestorOf(text1));
    EXPECT_EQ(text1->textCursor().selectedText(), QStringLiteral("a wa"));
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
    EXPECT_EQ(fsUserSaid, QStringLiteral("Loading my song"));
    EXPECT_EQ(dlg.userSaid(), QStringLiteral("Loading my song"));
}

TEST_F(DialogTest, PrintWithoutPrinterSaysSo) {
    if (!QPrinterInfo::defaultPrinter().isNull())
        GTEST_SKIP() << "this machine has a default printer";
    dlg.fill(fileNotFound(), kTree, 1, QStringLiteral("Cantavox"));
    w<QPushButton>("fsPrint")->click();
    const auto boxes = records(QStringLiteral("msgbox"));
    ASSERT_EQ(boxes.size(), 1);
    EXPECT_EQ(boxes[0].text, QStringLiteral("No default printer is set up on this computer."));
}
