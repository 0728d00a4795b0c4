// The disc menu while a wave file is up: its track entries work on the disc's current track,
// and with no disc there is none. They are offered only where they can work, so a musician
// who reaches for them with a file open meets no error window.
#include "Journey.h"
#include "WavGen.h"

#include "app/Prompts.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QTest>

namespace {
class DiscMenuJourney : public Journey {};
} // namespace

TEST_F(DiscMenuJourney, TrackEntriesAreOffWithAWaveFileAndChoosingThemDoesNothing) {
    const QString name = QStringLiteral("etude.wav");
    ASSERT_TRUE(wavgen::writeSine(musicPath(name), 5.0, 440.0, {8000, 1}));
    openThroughFileMenu(musicPath(name));
    ASSERT_TRUE(drive::waitFor([&] { return mainWindow()->windowTitle().contains(name); }));
    Prompts::clear();

    ASSERT_TRUE(drive::activate(mainWindow()));
    QTest::keyClick(mainWindow(), Qt::Key_C, Qt::AltModifier);
    QMenu* disc = nullptr;
    ASSERT_TRUE(drive::waitFor(
        [&] { return (disc = qobject_cast<QMenu*>(QApplication::activePopupWidget())); }));
    QStringList offered;
    for (QAction* a : disc->actions())
        if (a->isVisible() && a->isEnabled() && !a->isSeparator())
            offered << a->text();
    EXPECT_FALSE(offered.contains(QStringLiteral("&Make Loop of Whole Track")))
        << offered.join(u", ").toStdString();
    EXPECT_FALSE(offered.contains(QStringLiteral("&Digital Recording of Track...")))
        << offered.join(u", ").toStdString();
    // The musician presses the entry's letter all the same.
    QTest::keyClick(disc, Qt::Key_M);
    QTest::qWait(200);
    if (QWidget* still = QApplication::activePopupWidget())
        QTest::keyClick(still, Qt::Key_Escape);
    EXPECT_TRUE(Prompts::log().isEmpty())
        << "a window came up: " << Prompts::log().constFirst().text.toStdString();
    EXPECT_EQ(shownLoops().size(), 1) << "the file's loops are as they were";
}
