// An hour of practice compressed: thousands of random actions of a musician (the seed makes
// them the same every run) on a file with four loops, on a null device running ten times
// faster than real time. Afterwards the program must still do its work as on the first
// minute: a loop repeats without a gap, nothing was ever said in a box, no procedure is left
// half-run, and memory didn't creep.
#include "Journey.h"

#include "app/Prompts.h"
#include "failsafe/modFailSafe.h"

#include <QAbstractItemView>
#include <QSlider>
#include <QTest>

namespace {

constexpr int kRate = 8000;
constexpr int kActions = 5000;
constexpr std::uint32_t kSeed = 20240607;

class PracticeJourney : public Journey {};

} // namespace

TEST_F(PracticeJourney, AfterFiveThousandActionsALoopStillRepeatsSeamlesslyAndNothingIsLeftOver) {
    const QString name = QStringLiteral("etude in loops.wav");
    ASSERT_TRUE(drive::writeFrameNumbered(musicPath(name), 12.0, kRate));
    openThroughFileMenu(musicPath(name));
    {
        drive::Loopback ear(kRate, 1);
        press(loopsGrid(), Qt::Key_Space);
        ASSERT_TRUE(ear.listen(0.5));
        ASSERT_TRUE(drive::markLoops(input, mainWindow(), ear, 4, 2.5));
    }
    ASSERT_EQ(journey::LibraryReader::loopsOf(name).size(), 5);

    drive::PracticeSession session(mainWindow(), input, kSeed);
    double before = 0;
    while (session.done() < kActions) {
        session.act();
        if (session.done() == 200)
            before = drive::residentMb();
    }
    QStringList tally;
    for (const auto& [action, count] : session.tally())
        tally << QStringLiteral("%1 %2").arg(QString::fromStdString(action)).arg(count);
    RecordProperty("actions", tally.join(QStringLiteral(", ")).toStdString());

    // Back to the loops, where the session may have left SlowPlay open.
    if (QWidget* back = widget("cmdPrevView"); back->isVisible())
        click(back);
    ASSERT_TRUE(drive::waitFor([this] { return loopsGrid()->isVisible(); }));
    EXPECT_EQ(drive::shownWindow(QStringLiteral("frmScrollTime")), nullptr)
        << "Wave View goes with SlowPlay";
    drive::spin(300);
    ProgramRun::settle();
    EXPECT_EQ(fsCallStackLines(), QStringList()) << "procedures still on the stack at rest";
    QStringList said;
    for (const Prompts::Record& r : Prompts::log())
        if (r.kind == u"msgbox" || r.kind == u"dialog")
            said << r.kind + QStringLiteral(": ") + r.text;
    EXPECT_EQ(said, QStringList()) << "the practice met boxes";
    const double grown = drive::residentMb() - before;
    RecordProperty("resident memory growth MB", QString::number(grown, 'f', 1).toStdString());
#ifndef __SANITIZE_ADDRESS__
    EXPECT_LE(grown, 20.0) << "resident memory grew by " << grown << " MB";
#else
    // The address sanitizer keeps freed memory in quarantine (256 MB) and shadows all of it,
    // so resident memory says nothing here; its leak checker looks at what was never freed.
#endif

    // A loop played with F7 repeats seamlessly, as the trim window shows it.
    drive::Loopback ear(kRate);
    QAbstractItemView* grid = loopsGrid();
    drive::clickCell(input, grid, 2, 0);
    press(grid, Qt::Key_F7);
    // Whatever played before F7 is no part of the loop's passes.
    ear.clear();
    QWidget* trim = drive::shownWindow(QStringLiteral("frmTrim"));
    ASSERT_NE(trim, nullptr);
    const qint32 start = drive::in<QSlider>(trim, "slStart_0")->value();
    const qint32 end = drive::in<QSlider>(trim, "slStart_1")->value();
    ASSERT_GT(end - start, 1000);
    ASSERT_TRUE(ear.listen((end - start) / 1000.0 * 6.5));
    const drive::Passes passes = drive::passesOf(ear.samples(), qint64(start) * kRate / 1000,
                                                 qint64(end) * kRate / 1000, kRate / 50);
    RecordProperty("passes", passes.whole);
    RecordProperty("seamless joins", passes.seamless);
    EXPECT_GE(passes.whole, 5) << "the loop should repeat";
    EXPECT_EQ(passes.joins, passes.whole - 1) << "every pass should follow the one before";
    EXPECT_EQ(passes.seamless, passes.joins) << "joins with a gap";
    EXPECT_EQ(passes.silentAtJoins, 0) << "silent frames at the joins";
}
