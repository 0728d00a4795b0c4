// A practice hour compressed, through the real window: 5,000 random actions of a musician
// (Space, F6, F7, F8, loop changes in the grid, the transport buttons, trim moves, Transform,
// speed changes, Previous View; the seed makes every run the same) on a file with four loops,
// on the null sound device at ten times real time. Then a loop is played with F7 and heard
// through a recording null input. Figures: actions handled per second, resident memory growth
// from after the first 200 actions to the end (target 20 MB), and the passes of that loop that
// repeated without a gap against the passes played (all of them expected).
#include "../tests/journey/Drive.h"
#include "BenchSupport.h"
#include "app/AppPaths.h"
#include "app/CantavoxApplication.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"

#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>
#include <cstdio>

namespace {

constexpr int kRate = 8000;
constexpr int kNullRate = 10;
constexpr int kActions = 5000;
constexpr int kListenedPasses = 20;
constexpr std::uint32_t kSeed = 20240607;

// The practice and its figures; the status the program ends with.
int practise() {
    frmMain* m = bench::startProgram();
    if (!m) {
        std::fprintf(stderr, "the main window did not come up\n");
        return 1;
    }
    const QString file = appDir() + QStringLiteral("/etude in loops.wav");
    if (!drive::writeFrameNumbered(file, 12.0, kRate)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(file));
        return 1;
    }
    Prompts::pushAnswer(file);
    m->mnuFileOpen_Click();
    drive::activate(m);
    const drive::Input input = drive::eventInput();
    auto* grid = drive::in<QAbstractItemView>(m, "loopPoints");
    {
        drive::Loopback ear(kRate, 1);
        drive::press(input, grid, Qt::Key_Space);
        ear.listen(0.5);
        if (!drive::markLoops(input, m, ear, 4, 2.5)) {
            std::fprintf(stderr, "the loops could not be marked\n");
            return 1;
        }
    }

    drive::PracticeSession session(m, input, kSeed);
    double before = 0;
    QElapsedTimer wall;
    wall.start();
    // Each action arrives from the event loop on its own, as the musician's do, so that what
    // an action leaves for the loop to delete is deleted before the next one.
    QEventLoop practice;
    QTimer next;
    QObject::connect(&next, &QTimer::timeout, &practice, [&] {
        session.act();
        if (session.done() == 200)
            before = drive::residentMb();
        if (session.done() >= kActions)
            practice.quit();
    });
    next.start(0);
    practice.exec();
    next.stop();
    const double seconds = wall.elapsed() / 1000.0;
    if (QWidget* back = drive::in(m, "cmdPrevView"); drive::usable(back))
        drive::click(input, back);
    drive::waitFor([grid] { return grid->isVisible(); });
    drive::spin(300);
    const double grown = drive::residentMb() - before;

    // The loop in the grid's third row, played with F7 and heard.
    drive::Loopback ear(kRate, 200);
    drive::clickCell(input, grid, 2, 0);
    drive::press(input, grid, Qt::Key_F7);
    ear.clear();
    QWidget* trim = drive::shownWindow(QStringLiteral("frmTrim"));
    auto* startEnd = drive::in<QSlider>(trim, "slStart_0");
    auto* endEnd = drive::in<QSlider>(trim, "slStart_1");
    drive::Passes passes;
    if (startEnd && endEnd) {
        const qint32 start = startEnd->value(), end = endEnd->value();
        ear.listen((end - start) / 1000.0 * (kListenedPasses + 1.5), 120000);
        passes = drive::passesOf(ear.samples(), qint64(start) * kRate / 1000,
                                 qint64(end) * kRate / 1000, kRate / 50);
    }

    std::printf("practice hour compressed: %d actions in %.1f s (device at %dx real time)\n",
                session.done(), seconds, kNullRate);
    std::string tally;
    for (const auto& [action, count] : session.tally())
        tally += (tally.empty() ? "" : ", ") + action + ' ' + std::to_string(count);
    std::printf("  %s\n", tally.c_str());
    std::printf("%-52s %9.1f\n", "actions handled per second", session.done() / seconds);
    std::printf("%-52s %9.1f     (target 20)\n", "resident memory growth after 200 actions (MB)",
                grown);
    std::printf("%-52s %5d of %d (all %d expected)\n",
                "loop passes repeated without a gap, of passes played", passes.seamless,
                passes.whole, std::max(0, passes.whole - 1));
    std::printf("%-52s %9lld     (target 0)\n", "silent frames at the joins",
                static_cast<long long>(passes.silentAtJoins));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    bench::prepareEnvironment(home.path(), kNullRate);
    CantavoxApplication app(argc, argv);
    // The program runs inside the application's event loop, as for the musician.
    int status = 1;
    QTimer::singleShot(0, &app, [&] {
        status = practise();
        exitProgram(false);
        QCoreApplication::exit(status);
    });
    app.exec();
    return status;
}
