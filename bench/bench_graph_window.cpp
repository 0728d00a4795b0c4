// Wave View as a musician meets it, through the real windows: a loop of five minutes marked by
// ear in a six-minute piece, Transform at the speed a new loop gets, and then
//   open     - the click on "Wave View" until the window stands with its chart painted once,
//              at the quality the program starts with (every 20th word) and at the finest
//              (every word, set through Options > Graphic Display Quality); beside it the
//              reading of temp.wav into points alone, as the window reads it;
//   click    - a mouse press on the chart until the null device plays the first frame of the
//              new selection, found sample for sample in what a recording null input hears;
//              the peer is F7 on the main window with the graph closed, measured the same way;
//   CPU      - the process's CPU time while the slowed loop plays for ten seconds of real time
//              with the graph up (the play line moving), and the same with the graph closed
//              and the loop started again by F7, which plays it without position updates.
//
// The loop is marked by ear, which takes five minutes of music: that part runs in a process
// of its own with the null device at fifty times real time, on the same program folder.
// Every device takes its pace when it is made, so this process makes the slowed file on the
// engine's device at that pace too, and the main window's player, made later, plays at real
// time: what is timed here is heard at the pace the musician hears it.
#include "../tests/journey/Drive.h"
#include "BenchSupport.h"
#include "app/AppPaths.h"
#include "app/CantavoxApplication.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "graph/GraphUnits.h"
#include "graph/WaveChart.h"
#include "platform/MMControl.h"
#include "platform/NullAudioDevice.h"

#include <QAbstractItemView>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QKeyEvent>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QMouseEvent>
#include <QPointer>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <vector>

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kRate = 44100;
constexpr double kPieceSeconds = 360;
constexpr double kLoopSeconds = 300;
constexpr int kMarkingPace = 50;
constexpr int kEnginePace = 50;
constexpr int kOpens = 5;
constexpr int kClicks = 20;
constexpr int kCpuSeconds = 10;
// A frame is the selection's own when this many heard samples equal the slowed file's from it.
constexpr int kMatchFrames = 64;
// How far from the frame the millisecond From names the search reaches, either side.
constexpr int kMatchSlack = 8;
const char* const kPieceName = "etude of five minutes.wav";

QString piecePath() {
    return appDir() + u'/' + QString::fromLatin1(kPieceName);
}

double median(std::vector<double> v) {
    if (v.empty())
        return std::nan("");
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double worst(const std::vector<double>& v) {
    return v.empty() ? std::nan("") : *std::max_element(v.begin(), v.end());
}

double msSince(Clock::time_point t) {
    return std::chrono::duration<double, std::milli>(Clock::now() - t).count();
}

void report(const char* what, double value, const char* unit, double target) {
    std::printf("%-62s %9.1f %-3s (target %5.0f %s: ratio %.2f)\n", what, value, unit, target, unit,
                value / target);
}

void note(const char* what, double value, const char* unit) {
    std::printf("%-62s %9.1f %s\n", what, value, unit);
}

// A plucked note every half second over a hum, with a little noise that never repeats: the
// slowed file then holds no stretch of 64 samples twice, so a stretch heard names its place.
bool writePiece(const QString& path) {
    SF_INFO info{};
    info.samplerate = kRate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::vector<short> block(kRate);
    std::uint32_t noise = 20240611;
    const qint64 total = qint64(kPieceSeconds * kRate);
    bool ok = true;
    for (qint64 done = 0; done < total && ok; done += kRate) {
        for (int i = 0; i < kRate; ++i) {
            const double t = double(done + i) / kRate, sinceNote = std::fmod(t, 0.5);
            noise = noise * 1664525u + 1013904223u;
            const double v = 1500 * std::sin(2 * M_PI * 110 * t) +
                             20000 * std::exp(-8 * sinceNote) * std::sin(2 * M_PI * 330 * t) +
                             double(int(noise >> 23) - 256);
            block[size_t(i)] = short(std::lround(v));
        }
        ok = sf_writef_short(sf, block.data(), kRate) == kRate;
    }
    return sf_close(sf) == 0 && ok;
}

// ---------------------------------------------------------------------------------------
// The marking process

int markTheLoop() {
    frmMain* m = bench::startProgram();
    if (!m) {
        std::fprintf(stderr, "the main window did not come up\n");
        return 1;
    }
    if (!writePiece(piecePath())) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(piecePath()));
        return 1;
    }
    Prompts::pushAnswer(piecePath());
    m->mnuFileOpen_Click();
    drive::activate(m);
    const drive::Input input = drive::eventInput();
    auto* grid = drive::in<QAbstractItemView>(m, "loopPoints");
    drive::Loopback ear(8000, 1);
    QElapsedTimer t;
    t.start();
    drive::press(input, grid, Qt::Key_Space);
    ear.listen(0.05);
    if (!drive::markLoops(input, m, ear, 1, kLoopSeconds)) {
        std::fprintf(stderr, "the loop could not be marked\n");
        return 1;
    }
    drive::press(input, grid, Qt::Key_Space);
    std::printf("a loop marked by ear over %.0f s of music, in %.1f s (device at %dx real time)\n",
                kLoopSeconds, t.elapsed() / 1000.0, kMarkingPace);
    return 0;
}

// ---------------------------------------------------------------------------------------
// Hearing with the time of each block

// A recording null input that keeps, with every block it hears, the moment the device played
// it: a frame's time is its block's plus its place in the block at the device's rate.
class TimedEar final : public AudioDevice::Sink {
public:
    TimedEar() {
        // Room for all of a listening now: the device's thread must not wait for memory.
        m_samples.reserve(size_t(kRate) * 4);
        m_blocks.reserve(4096);
        QString error;
        m_ok = m_input.startInput({kRate, 1}, this, error);
    }
    ~TimedEar() override { m_input.stopInput(); }
    TimedEar(const TimedEar&) = delete;
    TimedEar& operator=(const TimedEar&) = delete;
    bool ok() const { return m_ok; }

    void capture(const float* in, int frames) noexcept override {
        const Clock::time_point now = Clock::now();
        std::lock_guard lock(m_lock);
        if (m_samples.size() + size_t(frames) > m_samples.capacity() ||
            m_blocks.size() == m_blocks.capacity())
            return;
        m_blocks.push_back({m_samples.size(), now});
        m_samples.insert(m_samples.end(), in, in + frames);
    }
    void clear() {
        std::lock_guard lock(m_lock);
        m_samples.clear();
        m_blocks.clear();
    }

    struct Block {
        size_t first;
        Clock::time_point at;
    };
    struct Heard {
        std::vector<float> samples;
        std::vector<Block> blocks;
    };
    Heard heard() const {
        std::lock_guard lock(m_lock);
        return {m_samples, m_blocks};
    }

private:
    NullAudioDevice m_input;
    bool m_ok = false;
    mutable std::mutex m_lock;
    std::vector<float> m_samples;
    std::vector<Block> m_blocks;
};

// Frames of the slowed file as the device plays them to a one-channel input: channels added
// and divided, in the order the null device does it, so that equal means the same frame.
std::vector<float> slowedFrames(qint64 first, int count) {
    SF_INFO info{};
    const QString path = appDir() + QStringLiteral("/tempslow.wav");
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_READ, &info);
    if (!sf)
        return {};
    std::vector<float> frames(size_t(count) * size_t(info.channels));
    sf_count_t got = 0;
    if (sf_seek(sf, first, SEEK_SET) >= 0)
        got = sf_readf_float(sf, frames.data(), count);
    sf_close(sf);
    std::vector<float> mono(size_t(std::max<sf_count_t>(got, 0)));
    for (size_t i = 0; i < mono.size(); ++i) {
        float v = 0;
        if (info.channels == 1)
            v = frames[i];
        else {
            for (int c = 0; c < info.channels; ++c)
                v += frames[i * size_t(info.channels) + size_t(c)];
            v /= float(info.channels);
        }
        mono[i] = v;
    }
    return mono;
}

// When the first frame of a play from `fromFrame` was heard after `pressed`, in ms after it;
// nothing if it wasn't heard, or if what was heard before the press was already the same.
std::optional<double> firstFrameHeard(const TimedEar::Heard& h, qint64 fromFrame,
                                      Clock::time_point pressed) {
    const qint64 first = std::max<qint64>(0, fromFrame - kMatchSlack);
    const std::vector<float> want = slowedFrames(first, 2 * kMatchSlack + kMatchFrames);
    if (want.size() < size_t(kMatchFrames) || h.blocks.empty())
        return std::nullopt;
    const size_t starts = want.size() - size_t(kMatchFrames) + 1;
    size_t block = 0;
    for (size_t k = 0; k + size_t(kMatchFrames) <= h.samples.size(); ++k) {
        while (block + 1 < h.blocks.size() && h.blocks[block + 1].first <= k)
            ++block;
        for (size_t d = 0; d < starts; ++d) {
            if (std::memcmp(&h.samples[k], &want[d], sizeof(float) * size_t(kMatchFrames)) != 0)
                continue;
            const Clock::time_point at =
                h.blocks[block].at +
                std::chrono::duration_cast<Clock::duration>(
                    std::chrono::duration<double>(double(k - h.blocks[block].first) / kRate));
            if (at < pressed)
                return std::nullopt;
            return std::chrono::duration<double, std::milli>(at - pressed).count();
        }
    }
    return std::nullopt;
}

// ---------------------------------------------------------------------------------------
// The window

// Paint events that reach a wave chart, whichever window it is in.
class ChartPaints : public QObject {
public:
    int count = 0;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && qobject_cast<WaveChart*>(watched))
            ++count;
        return false;
    }
};

QMainWindow* graph() {
    return qobject_cast<QMainWindow*>(drive::shownWindow(QStringLiteral("frmScrollTime")));
}

WaveChart* chart() {
    return drive::in<WaveChart>(graph(), "Chart");
}

struct Open {
    bool ok = false;
    double handlerMs = 0; // the click's own handling: the file read, the points set, the layout
    double shownMs = 0;   // until the chart has drawn its picture and painted once
    int points = 0;
};

Open openGraph(frmMain* m, const drive::Input& input, const ChartPaints& paints) {
    Open o;
    QWidget* button = drive::in(m, "cmdGraphic");
    if (!drive::usable(button))
        return o;
    drive::activate(m);
    const int paintsBefore = paints.count;
    const Clock::time_point start = Clock::now();
    input.click(button, button->rect().center());
    o.handlerMs = msSince(start);
    // The event loop as the program's own runs it, and no longer than it takes.
    while (msSince(start) < 60000) {
        QCoreApplication::processEvents(QEventLoop::AllEvents);
        if (WaveChart* c = chart(); c && c->pictureBuilds() > 0 && paints.count > paintsBefore) {
            o.shownMs = msSince(start);
            o.points = c->pointCount();
            o.ok = true;
            break;
        }
    }
    return o;
}

bool closeGraph() {
    QPointer<QMainWindow> g = graph();
    if (!g)
        return true;
    g->close();
    const bool gone = drive::waitFor([&] { return g.isNull(); }, 10000);
    drive::spin(300);
    return gone;
}

// An item of the graph's Options menu, by the mouse: the menu's title, then the item.
bool chooseOption(const drive::Input& input, const char* item) {
    QMainWindow* g = graph();
    if (!g)
        return false;
    auto* options = g->findChild<QMenu*>(QStringLiteral("mnuOptionsMaster"));
    auto* action = g->findChild<QAction*>(QLatin1String(item));
    if (!options || !action)
        return false;
    drive::activate(g);
    QMenuBar* bar = g->menuBar();
    input.click(bar, bar->actionGeometry(options->menuAction()).center());
    if (!drive::waitFor([&] { return options->isVisible(); }, 3000))
        return false;
    input.click(options, options->actionGeometry(action).center());
    return drive::waitFor([&] { return !options->isVisible(); }, 3000);
}

// Options > Graphic Display Quality..., answered as the musician types it.
bool setQuality(const drive::Input& input, int answer) {
    Prompts::pushAnswer(QString::number(answer));
    return chooseOption(input, "mnuGraphicDisplayQuality") && gvDisplayQuality == 21 - answer;
}

void reportOpens(const char* quality, const std::vector<Open>& opens) {
    std::vector<double> shown, handler;
    for (const Open& o : opens) {
        shown.push_back(o.shownMs);
        handler.push_back(o.handlerMs);
    }
    char what[100];
    std::snprintf(what, sizeof what, "Wave View, %s (%d points): click to picture, median", quality,
                  opens.empty() ? 0 : opens.front().points);
    report(what, median(shown), "ms", 150);
    std::snprintf(what, sizeof what, "  worst of %zu", opens.size());
    report(what, worst(shown), "ms", 150);
    note("  of which in the click's handler (read, points, layout), median", median(handler), "ms");
}

// The file read as the window reads it and every point worked out, with no chart to keep
// them: what the open costs before the chart is touched.
double readingMs(int quality) {
    std::vector<double> ms;
    for (int run = 0; run < 3; ++run) {
        const Clock::time_point start = Clock::now();
        const graphunits::ChartPoints points =
            graphunits::readChartPoints(appDir() + QStringLiteral("/temp.wav"), quality);
        double sum = 0;
        for (int i = 1; i <= points.filled; ++i)
            sum += points.x(i) + points.y(i);
        ms.push_back(msSince(start));
        if (points.filled <= 0 || !points.error.isEmpty() || !std::isfinite(sum))
            return std::nan("");
    }
    return median(ms);
}

// The most memory the process has held at once, in MB, as the kernel counts it.
double peakResidentMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return -1;
}

double cpuSeconds() {
    rusage r{};
    getrusage(RUSAGE_SELF, &r);
    return double(r.ru_utime.tv_sec + r.ru_stime.tv_sec) +
           double(r.ru_utime.tv_usec + r.ru_stime.tv_usec) / 1e6;
}

struct Cpu {
    double percent = 0;
    double chartPaintsPerSecond = 0;
    int pictureBuilds = 0;
    double statusUpdatesPerSecond = 0;
    double soundPerRealSecond = 0; // ms of the loop the player went through each second
};

Cpu measureCpu(MMControl* player, const ChartPaints& paints) {
    int updates = 0;
    const QMetaObject::Connection counting =
        QObject::connect(player, &MMControl::StatusUpdate, [&updates] { ++updates; });
    WaveChart* c = chart();
    const int builds = c ? c->pictureBuilds() : 0;
    const int painted = paints.count;
    const qint32 position = player->Position();
    const double cpu = cpuSeconds();
    const Clock::time_point start = Clock::now();
    drive::spin(kCpuSeconds * 1000);
    const double seconds = msSince(start) / 1000.0;
    Cpu out;
    out.percent = (cpuSeconds() - cpu) / seconds * 100.0;
    out.soundPerRealSecond = (player->Position() - position) / seconds;
    out.chartPaintsPerSecond = (paints.count - painted) / seconds;
    out.pictureBuilds = c && c == chart() ? c->pictureBuilds() - builds : 0;
    out.statusUpdatesPerSecond = updates / seconds;
    QObject::disconnect(counting);
    return out;
}

// ---------------------------------------------------------------------------------------
// The measuring process

int measure() {
    frmMain* m = bench::startProgram();
    if (!m) {
        std::fprintf(stderr, "the main window did not come up\n");
        return 1;
    }
    ChartPaints paints;
    qApp->installEventFilter(&paints);
    const drive::Input input = drive::eventInput();
    Prompts::pushAnswer(piecePath());
    m->mnuFileOpen_Click();
    drive::activate(m);
    auto* grid = drive::in<QAbstractItemView>(m, "loopPoints");
    auto* player = drive::in<MMControl>(m, "WaveControl");
    // The grid holds the whole file as a loop of its own, and the loop marked, labelled by the
    // position it starts at.
    int row = -1;
    for (int r = 0; grid && r < grid->model()->rowCount(); ++r)
        if (grid->model()->index(r, 3).data().toString().startsWith(QStringLiteral("00:")))
            row = r;
    if (!player || row < 0) {
        std::fprintf(stderr, "the marked loop is not in the grid\n");
        return 1;
    }
    drive::clickCell(input, grid, row, 0);

    // Transform: the engine's device is made by this click, at its fast pace; the player's
    // after it, at real time.
    QElapsedTimer transform;
    transform.start();
    qputenv("CANTAVOX_NULL_RATE", QByteArray::number(kEnginePace));
    drive::click(input, drive::in(m, "cmdSlowPlay"));
    qunsetenv("CANTAVOX_NULL_RATE");
    if (!drive::waitFor([m] { return drive::in(m, "cmdGraphic")->isEnabled(); }, 600000)) {
        std::fprintf(stderr, "the slowed file was not made\n");
        return 1;
    }
    drive::spin(1000);
    const qint32 before = player->Position();
    const Clock::time_point paceStart = Clock::now();
    drive::spin(1000);
    const double pace = (player->Position() - before) / msSince(paceStart);
    const double tempSeconds =
        QFileInfo(appDir() + QStringLiteral("/temp.wav")).size() / 2.0 / kRate;
    std::printf("temp.wav holds %.1f s; the slowed loop %.1f s at %d%%, made in %.1f s "
                "(engine's device at %dx)\n",
                tempSeconds, player->Length() / 1000.0, m->transform().slowDownPercent,
                transform.elapsed() / 1000.0, kEnginePace);
    std::printf("the main player plays %.2f s of the loop per real second\n", pace);
    std::fflush(stdout);
    if (std::abs(pace - 1.0) > 0.2) {
        std::fprintf(stderr, "the main player does not play at real time\n");
        return 1;
    }

    // Open: the default quality, then every word, each opened anew on the playing loop.
    std::vector<Open> coarse, fine;
    for (int i = 0; i < kOpens; ++i) {
        drive::spin(500);
        const Open o = openGraph(m, input, paints);
        if (!o.ok) {
            std::fprintf(stderr, "Wave View did not show its picture\n");
            return 1;
        }
        coarse.push_back(o);
        drive::spin(500);
        if (i + 1 < kOpens && !closeGraph())
            return 1;
    }
    if (!setQuality(input, 20) || !closeGraph()) {
        std::fprintf(stderr, "the display quality could not be set to 20\n");
        return 1;
    }
    const double residentBefore = drive::residentMb(), peakBefore = peakResidentMb();
    double residentOpen = 0;
    for (int i = 0; i < kOpens; ++i) {
        drive::spin(500);
        const Open o = openGraph(m, input, paints);
        residentOpen = std::max(residentOpen, drive::residentMb());
        if (!o.ok) {
            std::fprintf(stderr, "Wave View did not show its picture at every word\n");
            return 1;
        }
        fine.push_back(o);
        drive::spin(500);
        if (i + 1 < kOpens && !closeGraph())
            return 1;
    }
    if (!setQuality(input, 1) || !closeGraph()) {
        std::fprintf(stderr, "the display quality could not be set back\n");
        return 1;
    }
    const double peakFine = peakResidentMb();
    const double readCoarse = readingMs(20), readFine = readingMs(1);
    drive::spin(500);
    if (!openGraph(m, input, paints).ok)
        return 1;

    // Clicks on the chart, each far from where the last selection plays.
    std::vector<double> clickMs, clickHandlerMs, keyMs;
    int clicksUnheard = 0, keysUnheard = 0;
    {
        TimedEar ear;
        if (!ear.ok()) {
            std::fprintf(stderr, "no recording null input\n");
            return 1;
        }
        for (int i = 0; i < kClicks; ++i) {
            drive::spin(700);
            QMainWindow* g = graph();
            WaveChart* c = chart();
            if (!g || !c)
                return 1;
            const QRect plot = c->plotRect();
            const double fraction = 0.05 + 0.9 * ((i * 7) % kClicks) / double(kClicks - 1);
            const QPoint at(plot.left() + int(plot.width() * fraction), plot.center().y());
            drive::activate(g);
            // The grid lies over the chart and lets the mouse through: the press goes to what
            // is under the pointer, as the window system sends it.
            QWidget* under = g->childAt(c->mapTo(g, at));
            if (!under)
                return 1;
            const QPoint local = under->mapFrom(g, c->mapTo(g, at));
            ear.clear();
            const Clock::time_point pressed = Clock::now();
            drive::sendMouse(under, local, QEvent::MouseButtonPress, Qt::LeftButton);
            clickHandlerMs.push_back(msSince(pressed));
            drive::sendMouse(under, local, QEvent::MouseButtonRelease, Qt::LeftButton);
            const qint64 fromFrame = qint64(player->From()) * kRate / 1000;
            drive::spin(700);
            if (const auto ms = firstFrameHeard(ear.heard(), fromFrame, pressed))
                clickMs.push_back(*ms);
            else
                ++clicksUnheard;
        }

        // The peer: F7 on the main window, the graph closed, the loop from its start.
        if (!closeGraph())
            return 1;
        drive::activate(m);
        for (int i = 0; i < kClicks; ++i) {
            drive::spin(700);
            QWidget* focus = QApplication::focusWidget();
            QWidget* target = focus && focus->window() == m ? focus : m;
            ear.clear();
            const Clock::time_point pressed = Clock::now();
            drive::press(input, target, Qt::Key_F7);
            const qint64 fromFrame = qint64(player->From()) * kRate / 1000;
            drive::spin(700);
            if (const auto ms = firstFrameHeard(ear.heard(), fromFrame, pressed))
                keyMs.push_back(*ms);
            else
                ++keysUnheard;
        }
    }

    // CPU with the graph closed (the loop playing from F7), then with it up playing the
    // whole loop (Options > Select All).
    drive::spin(1000);
    const Cpu closed = measureCpu(player, paints);
    drive::spin(500);
    if (!openGraph(m, input, paints).ok || !chooseOption(input, "mnuSelectAll"))
        return 1;
    drive::spin(1000);
    const Cpu open = measureCpu(player, paints);

    std::printf("\n");
    reportOpens("every 20th word", coarse);
    reportOpens("every word", fine);
    note("  resident memory added while open at every word", residentOpen - residentBefore, "MB");
    std::printf("%-62s %9.1f MB (%.1f MB before those opens)\n",
                "  the process's peak resident memory after them", peakFine,
                std::max(peakBefore, residentBefore));
    note("reading temp.wav into points alone, every 20th word, median", readCoarse, "ms");
    note("reading temp.wav into points alone, every word, median", readFine, "ms");

    char what[100];
    std::snprintf(what, sizeof what, "chart click to the selection's first frame, median of %zu",
                  clickMs.size());
    report(what, median(clickMs), "ms", 50);
    report("  worst", worst(clickMs), "ms", 50);
    note("  of which in the press's handler, median", median(clickHandlerMs), "ms");
    std::snprintf(what, sizeof what,
                  "peer: F7, graph closed, to the loop's first frame, median "
                  "of %zu",
                  keyMs.size());
    note(what, median(keyMs), "ms");
    note("  worst", worst(keyMs), "ms");
    std::printf("%-62s %9.2f\n", "chart click against F7 (ratio of medians)",
                median(clickMs) / median(keyMs));
    if (clicksUnheard + keysUnheard > 0)
        std::printf("not heard within 700 ms: %d chart clicks, %d F7 presses\n", clicksUnheard,
                    keysUnheard);

    report("CPU while the slowed loop plays, graph open", open.percent, "%", 5);
    note("CPU while the slowed loop plays, graph closed", closed.percent, "%");
    for (const auto& [name, cpu] : {std::pair{"graph open", open}, {"graph closed", closed}})
        std::printf("  %-12s: %.0f chart paints/s, %d picture rebuilds, %.1f status updates/s, "
                    "%.2f s of loop per real second\n",
                    name, cpu.chartPaintsPerSecond, cpu.pictureBuilds, cpu.statusUpdatesPerSecond,
                    cpu.soundPerRealSecond / 1000.0);
    closeGraph();
    return 0;
}

// Runs this program again as the marking process, on the same folder; its status.
int runMarking(const char* self, const QString& home) {
    const QByteArray folder = home.toUtf8();
    char mark[] = "--mark";
    char* args[] = {const_cast<char*>(self), mark, const_cast<char*>(folder.constData()), nullptr};
    pid_t pid = 0;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, args, environ) != 0)
        return 1;
    int status = 0;
    if (waitpid(pid, &status, 0) != pid)
        return 1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

int runInApplication(int argc, char** argv, int (*work)()) {
    CantavoxApplication app(argc, argv);
    // The program runs inside the application's event loop, as for the musician.
    int status = 1;
    QTimer::singleShot(0, &app, [&] {
        status = work();
        exitProgram(false);
        QCoreApplication::exit(status);
    });
    app.exec();
    return status;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--mark") == 0) {
        bench::prepareEnvironment(QString::fromUtf8(argv[2]), kMarkingPace);
        int one = 1;
        return runInApplication(one, argv, markTheLoop);
    }
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    std::fflush(stdout);
    if (runMarking(argv[0], home.path()) != 0) {
        std::fprintf(stderr, "the loop could not be marked\n");
        return 1;
    }
    bench::prepareEnvironment(home.path(), 1);
    return runInApplication(argc, argv, measure);
}
