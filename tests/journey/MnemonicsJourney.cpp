// Every window the program shows, walked as the musician meets it, with the Alt letters its
// captions underline: no letter may belong to two things that can be reached at the same time,
// and no menu may underline one letter twice. (Alt+T once opened the Tools menu instead of
// transforming the loop.)
#include "Journey.h"

#include "app/Prompts.h"

#include <QAbstractButton>
#include <QGroupBox>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QTabBar>
#include <QTest>
#include <QTimer>
#include <map>

namespace {

// The captions that underline each letter.
using Letters = std::map<char16_t, QStringList>;

void note(Letters& letters, const QString& caption, const QString& owner) {
    const QChar letter = drive::mnemonicOf(caption);
    if (!letter.isNull())
        letters[letter.unicode()] << owner + QStringLiteral(" \"") + caption + u'"';
}

QStringList clashes(const Letters& letters) {
    QStringList out;
    for (const auto& [letter, owners] : letters)
        if (owners.size() > 1)
            out << QStringLiteral("Alt+%1: %2")
                       .arg(QChar(letter), owners.join(QStringLiteral(", ")));
    return out;
}

// What the keyboard reaches at once in a window: its visible, enabled buttons, labels that
// name a buddy, group boxes, tabs and the menu bar's menus.
Letters lettersOf(QWidget* window) {
    Letters letters;
    for (QWidget* w : window->findChildren<QWidget*>()) {
        if (w->window() != window || !w->isVisible() || !w->isEnabled())
            continue;
        const QString name = w->objectName();
        if (auto* b = qobject_cast<QAbstractButton*>(w))
            note(letters, b->text(), name);
        else if (auto* l = qobject_cast<QLabel*>(w); l && l->buddy())
            note(letters, l->text(), name);
        else if (auto* g = qobject_cast<QGroupBox*>(w))
            note(letters, g->title(), name);
        else if (auto* tabs = qobject_cast<QTabBar*>(w)) {
            for (int i = 0; i < tabs->count(); ++i)
                if (tabs->isTabVisible(i) && tabs->isTabEnabled(i))
                    note(letters, tabs->tabText(i), name);
        } else if (auto* bar = qobject_cast<QMenuBar*>(w)) {
            for (QAction* a : bar->actions())
                if (a->isVisible() && a->isEnabled())
                    note(letters, a->text(), QStringLiteral("menu"));
        }
    }
    return letters;
}

QStringList windowClashes(QWidget* window) {
    return clashes(lettersOf(window));
}

// Who underlines that letter.
QStringList owners(const Letters& letters, char16_t letter) {
    const auto it = letters.find(letter);
    return it == letters.end() ? QStringList() : it->second;
}

// Within each menu and submenu of the bar, the items that show.
QStringList menuClashes(QMenu* menu) {
    Letters letters;
    QStringList out;
    for (QAction* a : menu->actions()) {
        if (!a->isVisible() || a->isSeparator())
            continue;
        note(letters, a->text(), QStringLiteral("item"));
        if (a->menu())
            out << menuClashes(a->menu());
    }
    for (const QString& c : clashes(letters))
        out << menu->title() + QStringLiteral(": ") + c;
    return out;
}

QStringList menuBarClashes(QWidget* window) {
    QStringList out;
    if (auto* bar = window->findChild<QMenuBar*>())
        for (QAction* a : bar->actions())
            if (a->menu())
                out << menuClashes(a->menu());
    return out;
}

class MnemonicsJourney : public Journey {
protected:
    // Lets `open` bring up the real modal window of that name (prompts shown, not scripted),
    // takes its letters while it is up and closes it with the named button. Fails if it never
    // came.
    Letters lettersOfModal(const QString& name, const char* closeButton,
                           const std::function<void()>& open) {
        Letters found;
        bool seen = false;
        QTimer poll;
        int waited = 0;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (dialog && dialog->objectName() == name && dialog->isVisible()) {
                poll.stop();
                seen = true;
                found = lettersOf(dialog);
                drive::click(input, drive::in(dialog, closeButton));
            } else if (++waited > 250 && dialog) {
                // Something else came up: out of the way, so that the journey can say so.
                poll.stop();
                ADD_FAILURE() << "unexpected window " << dialog->objectName().toStdString();
                dialog->close();
            }
        });
        poll.start(20);
        Prompts::setScripted(false);
        open();
        Prompts::setScripted(true);
        EXPECT_TRUE(drive::waitFor([&] { return seen; }, 5000))
            << name.toStdString() << " never came";
        poll.stop();
        return found;
    }
};

} // namespace

TEST_F(MnemonicsJourney, NoTwoThingsReachableAtOnceShareAnAltLetterInAnyWindow) {
    QMainWindow* main = mainWindow();
    Letters letters = lettersOf(main);
    EXPECT_EQ(clashes(letters), QStringList()) << "mode CD";
    EXPECT_EQ(owners(letters, u'O'), QStringList{QStringLiteral("menu \"T&ools\"")});
    EXPECT_EQ(menuBarClashes(main), QStringList()) << "mode CD";

    const QString path = musicPath(QStringLiteral("scales.wav"));
    ASSERT_TRUE(drive::writeFrameNumbered(path, 20.0, 8000));
    drive::Loopback ear(8000);
    openThroughFileMenu(path);
    ASSERT_TRUE(loopsGrid()->isVisible());
    letters = lettersOf(main);
    EXPECT_EQ(clashes(letters), QStringList()) << "mode Wave";
    EXPECT_EQ(owners(letters, u'T'), QStringList{QStringLiteral("cmdSlowPlay \"&Transform\"")});
    EXPECT_EQ(menuBarClashes(main), QStringList()) << "mode Wave";

    // The marking window, while it is up, is all the keyboard reaches.
    press(loopsGrid(), Qt::Key_Space);
    ASSERT_TRUE(ear.listen(0.5));
    click(widget("cmdStartNewLoop"));
    QWidget* marking = nullptr;
    ASSERT_TRUE(drive::waitFor([&] {
        return (marking = drive::shownWindow(QStringLiteral("makeLoopPoints"))) != nullptr;
    }));
    EXPECT_EQ(windowClashes(marking), QStringList()) << "Make Loop Points";
    ear.listen(2.0);
    click(drive::in(marking, "btnKeep"));
    QWidget* trim = nullptr;
    ASSERT_TRUE(drive::waitFor(
        [&] { return (trim = drive::shownWindow(QStringLiteral("frmTrim"))) != nullptr; }));
    EXPECT_EQ(windowClashes(trim), QStringList()) << "the trim window";
    EXPECT_EQ(windowClashes(main), QStringList()) << "mode Wave with a loop playing";

    click(widget("cmdSlowPlay"));
    ASSERT_TRUE(drive::waitFor([&] { return widget("cmdPrevView")->isVisible(); }));
    letters = lettersOf(main);
    EXPECT_EQ(clashes(letters), QStringList()) << "mode SlowPlay";
    EXPECT_EQ(owners(letters, u'P'), QStringList{QStringLiteral("cmdPrevView \"&Previous View\"")});
    EXPECT_EQ(menuBarClashes(main), QStringList()) << "mode SlowPlay";

    // Words in the half-steps field are an error the program reports in its error window.
    letters = lettersOfModal(QStringLiteral("frmFAILSAFE"), "nsCtrlContinue",
                             [&] { enter(widget("txtSlowPct_1"), QStringLiteral("up")); });
    EXPECT_EQ(clashes(letters), QStringList()) << "the error window";
    EXPECT_EQ(owners(letters, u'C').size(), 1) << "Continue";

    ASSERT_TRUE(drive::activate(main));
    letters = lettersOfModal(QStringLiteral("frmAbout"), "cmdOK",
                             [&] { chooseMenu(Qt::Key_H, Qt::Key_A); });
    EXPECT_EQ(clashes(letters), QStringList()) << "the about box";
    EXPECT_EQ(owners(letters, u'W'), QStringList{QStringLiteral("Command1 \"&Web Site\"")});
}
