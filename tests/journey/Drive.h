#pragma once

// Driving the program as a musician does and hearing what it plays, shared by the journey
// tests and the practice benchmark (which links no test library, so nothing here may need
// one): widgets found by name, keys and clicks through an input of the caller's choosing,
// waits that keep the event loop running, a sound whose every sample names its frame, a
// recording null input that hears what the null device plays, the passes of a loop found in
// what was heard, and a compressed practice session of random but reproducible actions.
#include "platform/NullAudioDevice.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPushButton>
#include <QScrollBar>
#include <QSlider>
#include <QString>
#include <QStyle>
#include <QStyleOptionSlider>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <cmath>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <random>
#include <sndfile.h>
#include <string>
#include <vector>

namespace drive {

// ---------------------------------------------------------------------------------------
// Input and waiting

// How keys and clicks reach a widget: the tests send them through QTest, the benchmark as
// plain events. A key is pressed and released; text is what the key types (empty for F7).
struct Input {
    std::function<void(QWidget*, int key, Qt::KeyboardModifiers, const QString& text)> key;
    std::function<void(QWidget*, QPoint)> click;
};

// A mouse button going down or up on a widget, delivered as the window system's would be.
inline void sendMouse(QWidget* w, QPoint at, QEvent::Type type, Qt::MouseButton button) {
    const QPointF global = w->mapToGlobal(QPointF(at));
    QMouseEvent e(type, QPointF(at), global, button,
                  type == QEvent::MouseButtonPress ? button : Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(w, &e);
}

// Keys and clicks as plain events delivered to the widget, the way the window system's
// arrive, for a program driven without the test library (the benchmarks).
inline Input eventInput() {
    Input in;
    in.key = [](QWidget* w, int key, Qt::KeyboardModifiers mods, const QString& text) {
        QKeyEvent press(QEvent::KeyPress, key, mods, text);
        QApplication::sendEvent(w, &press);
        QKeyEvent release(QEvent::KeyRelease, key, mods, text);
        QApplication::sendEvent(w, &release);
    };
    in.click = [](QWidget* w, QPoint at) {
        sendMouse(w, at, QEvent::MouseButtonPress, Qt::LeftButton);
        sendMouse(w, at, QEvent::MouseButtonRelease, Qt::LeftButton);
    };
    return in;
}

inline void press(const Input& in, QWidget* w, int key, Qt::KeyboardModifiers mods = {}) {
    QString text;
    if (key == Qt::Key_Space)
        text = QStringLiteral(" ");
    else if (key == Qt::Key_Return)
        text = QStringLiteral("\r");
    else if (key >= Qt::Key_0 && key <= Qt::Key_9 && !(mods & ~Qt::ShiftModifier))
        text = QChar(key);
    else if (key >= Qt::Key_A && key <= Qt::Key_Z && !(mods & ~Qt::ShiftModifier))
        text = (mods & Qt::ShiftModifier) ? QString(QChar(key)) : QString(QChar(key)).toLower();
    in.key(w, key, mods, text);
}

// Types into whatever has the focus, a key at a time, so that the first key of a grid cell
// opens its editor and the rest land in the editor.
inline void type(const Input& in, const QString& text) {
    for (const QChar c : text) {
        QWidget* target = QApplication::focusWidget();
        if (!target)
            return;
        int key = c.toUpper().unicode();
        if (c == u' ')
            key = Qt::Key_Space;
        else if (c == u'-')
            key = Qt::Key_Minus;
        const Qt::KeyboardModifiers mods = c.isUpper() ? Qt::ShiftModifier : Qt::NoModifier;
        in.key(target, key, mods, QString(c));
    }
}

// Lets the program run for that long, events and timers included.
inline void spin(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

inline bool waitFor(const std::function<bool()>& done, int timeoutMs = 10000) {
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > timeoutMs)
            return done();
        spin(5);
    }
    return true;
}

// Brings the window to the front, as the user's click on it would, so that its shortcuts,
// mnemonics and focus are the ones that answer.
inline bool activate(QWidget* window) {
    if (QApplication::activeWindow() == window)
        return true;
    window->activateWindow();
    return waitFor([window] { return QApplication::activeWindow() == window; }, 3000);
}

// A click at that point of the widget; the click brings its window to the front first, as a
// window manager does.
inline void clickAt(const Input& in, QWidget* w, QPoint at) {
    activate(w->window());
    in.click(w, at);
}

inline void click(const Input& in, QWidget* w) {
    clickAt(in, w, w->rect().center());
}

// Where the style draws a part of a slider (its groove, its handle).
inline QRect sliderPart(QSlider* s, QStyle::SubControl part) {
    QStyleOptionSlider opt;
    opt.initFrom(s);
    opt.orientation = s->orientation();
    opt.minimum = s->minimum();
    opt.maximum = s->maximum();
    opt.sliderPosition = s->sliderPosition();
    opt.sliderValue = s->value();
    opt.singleStep = s->singleStep();
    opt.pageStep = s->pageStep();
    opt.tickPosition = s->tickPosition();
    opt.tickInterval = s->tickInterval();
    opt.upsideDown = s->invertedAppearance();
    opt.subControls = QStyle::SC_SliderGroove | QStyle::SC_SliderHandle;
    return s->style()->subControlRect(QStyle::CC_Slider, &opt, part, s);
}

// A click on a slider's groove at that fraction of its length.
inline void clickGroove(const Input& in, QSlider* s, double fraction) {
    const QRect groove = sliderPart(s, QStyle::SC_SliderGroove);
    clickAt(in, s, QPoint(groove.left() + int(groove.width() * fraction), groove.center().y()));
}

// A click on a slider's handle: it takes the keyboard and moves nothing.
inline void clickHandle(const Input& in, QSlider* s) {
    clickAt(in, s, sliderPart(s, QStyle::SC_SliderHandle).center());
}

// Drags a scroll bar's handle with the mouse until its middle stands at that fraction of the
// groove, in a few moves as a hand does, and lets go.
inline void dragScrollBar(QScrollBar* bar, double fraction) {
    auto part = [bar](QStyle::SubControl sc) {
        QStyleOptionSlider opt;
        opt.initFrom(bar);
        opt.orientation = bar->orientation();
        if (opt.orientation == Qt::Horizontal)
            opt.state |= QStyle::State_Horizontal;
        opt.minimum = bar->minimum();
        opt.maximum = bar->maximum();
        opt.sliderPosition = bar->sliderPosition();
        opt.sliderValue = bar->value();
        opt.singleStep = bar->singleStep();
        opt.pageStep = bar->pageStep();
        opt.upsideDown = bar->invertedAppearance();
        return bar->style()->subControlRect(QStyle::CC_ScrollBar, &opt, sc, bar);
    };
    activate(bar->window());
    const QRect groove = part(QStyle::SC_ScrollBarGroove);
    const QRect handle = part(QStyle::SC_ScrollBarSlider);
    const QPoint from = handle.center();
    const QPoint to(groove.left() + int(groove.width() * fraction), from.y());
    QTest::mousePress(bar, Qt::LeftButton, {}, from);
    for (int step = 1; step <= 5; ++step)
        QTest::mouseMove(bar, from + (to - from) * step / 5, 20);
    QTest::mouseRelease(bar, Qt::LeftButton, {}, to, 20);
}

// A click on the cell of a grid, where the user sees it.
inline void clickCell(const Input& in, QAbstractItemView* grid, int row, int column) {
    const QRect cell = grid->visualRect(grid->model()->index(row, column));
    clickAt(in, grid->viewport(), cell.center());
}

// The top-level window of that name that is on the screen, or nullptr.
inline QWidget* shownWindow(const QString& name) {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == name && w->isVisible())
            return w;
    return nullptr;
}

template <class T = QWidget> T* in(QWidget* window, const char* name) {
    return window ? window->findChild<T*>(QLatin1String(name)) : nullptr;
}

inline bool usable(const QWidget* w) {
    return w && w->isVisible() && w->isEnabled();
}

// The transport button with that tooltip in a media strip ("Play", "Stop", ...).
inline QToolButton* transportButton(QWidget* strip, const QString& tip) {
    if (!strip)
        return nullptr;
    for (QToolButton* b : strip->findChildren<QToolButton*>())
        if (b->toolTip() == tip)
            return b;
    return nullptr;
}

// The letter after a single '&' in a caption, upper case; a null QChar without one.
inline QChar mnemonicOf(const QString& text) {
    for (qsizetype i = 0; i + 1 < text.size(); ++i) {
        if (text[i] != u'&')
            continue;
        if (text[i + 1] == u'&') {
            ++i;
            continue;
        }
        return text[i + 1].toUpper();
    }
    return {};
}

// Resident memory of this process in MB, as the kernel counts it.
inline double residentMb() {
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return -1;
}

// ---------------------------------------------------------------------------------------
// Hearing

// Sample n of the sound holds (n + 1) / 2^20: exact in a float, never 0, so any sample heard
// names the frame it came from and silence can't pass for sound.
constexpr double kFrameScale = 1048576.0;

inline bool writeFrameNumbered(const QString& path, double seconds, int rate) {
    const qint64 frames = qint64(std::llround(seconds * rate));
    if (frames + 1 >= qint64(kFrameScale))
        return false;
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    std::vector<float> samples(static_cast<size_t>(frames));
    for (qint64 n = 0; n < frames; ++n)
        samples[size_t(n)] = float(double(n + 1) / kFrameScale);
    const bool written = sf_writef_float(sf, samples.data(), frames) == frames;
    return sf_close(sf) == 0 && written;
}

// The frame a heard sample names: -1 for silence, -2 for anything else (two frames mixed).
inline qint64 frameOf(float v) {
    if (v == 0.0f)
        return -1;
    const double x = double(v) * kFrameScale;
    const double r = std::round(x);
    if (r < 1 || std::abs(x - r) > 1e-3)
        return -2;
    return qint64(r) - 1;
}

// A recording null input: hears, as one channel at its own rate, everything the null
// outputs of this process play from the moment it is made.
class Loopback final : public AudioDevice::Sink {
public:
    explicit Loopback(int rate, double keepSeconds = 120)
        : m_rate(rate), m_keep(qint64(keepSeconds * rate)) {
        // Room for all of it now: the device's thread must not wait for memory.
        m_samples.reserve(size_t(m_keep));
        QString error;
        m_ok = m_input.startInput({rate, 1}, this, error);
    }
    ~Loopback() override { m_input.stopInput(); }
    Loopback(const Loopback&) = delete;
    Loopback& operator=(const Loopback&) = delete;

    bool ok() const { return m_ok; }
    int rate() const { return m_rate; }

    void capture(const float* in, int frames) noexcept override {
        std::lock_guard lock(m_lock);
        m_heard += frames;
        const qint64 room = m_keep - qint64(m_samples.size());
        if (room > 0)
            m_samples.insert(m_samples.end(), in, in + std::min<qint64>(room, frames));
    }
    qint64 framesHeard() const {
        std::lock_guard lock(m_lock);
        return m_heard;
    }
    std::vector<float> samples() const {
        std::lock_guard lock(m_lock);
        return m_samples;
    }
    void clear() {
        std::lock_guard lock(m_lock);
        m_samples.clear();
    }
    // Waits until that much more sound time has gone through the device.
    bool listen(double seconds, int timeoutMs = 20000) const {
        const qint64 until = framesHeard() + qint64(seconds * m_rate);
        return waitFor([&] { return framesHeard() >= until; }, timeoutMs);
    }

private:
    NullAudioDevice m_input;
    int m_rate;
    qint64 m_keep;
    bool m_ok = false;
    mutable std::mutex m_lock;
    std::vector<float> m_samples;
    qint64 m_heard = 0;
};

struct Passes {
    int whole = 0;    // passes heard from the loop's first frame to its last
    int joins = 0;    // whole passes that the next whole pass followed
    int seamless = 0; // joins with nothing but the join itself between them, and no silence
    qint64 silentAtJoins = 0;
};

// The passes of the loop first..end (frames, end exclusive) in what was heard of a
// frame-numbered sound. A join may mix the two passes for up to `tolerance` frames on each
// side (a crossfade); a silent sample there is a gap all the same.
inline Passes passesOf(const std::vector<float>& heard, qint64 first, qint64 end,
                       qint64 tolerance) {
    struct Run {
        qint64 from, to;
        size_t begin, finish;
    };
    std::vector<Run> runs;
    bool open = false;
    for (size_t i = 0; i < heard.size(); ++i) {
        const qint64 f = frameOf(heard[i]);
        if (open && f >= 0 && f == runs.back().to + 1) {
            runs.back().to = f;
            runs.back().finish = i + 1;
            continue;
        }
        open = f >= 0;
        if (open)
            runs.push_back({f, f, i, i + 1});
    }
    Passes p;
    const Run* previous = nullptr;
    for (const Run& r : runs) {
        const bool whole =
            std::abs(r.from - first) <= tolerance && std::abs(r.to - (end - 1)) <= tolerance;
        if (!whole) {
            // Anything longer than a join's mix between two passes means they didn't join.
            if (r.to - r.from > tolerance)
                previous = nullptr;
            continue;
        }
        ++p.whole;
        if (previous) {
            qint64 silent = 0;
            for (size_t i = previous->finish; i < r.begin; ++i)
                if (heard[i] == 0.0f)
                    ++silent;
            // A pass that started again only after a pause is no join: it is a new play.
            const qint64 between = qint64(r.begin - previous->finish);
            if (between <= end - first) {
                ++p.joins;
                p.silentAtJoins += silent;
                if (silent == 0 && between <= 2 * tolerance)
                    ++p.seamless;
            }
        }
        previous = &r;
    }
    return p;
}

// ---------------------------------------------------------------------------------------
// Marking loops by ear

// On the open wave file: "Start New Loop", then every `seconds` of music "Complete Previous
// Loop and Start New Loop", and at the end "Complete Current Loop and Close Window". Makes
// `count` loops; the first of them then plays. False if a window never came or went.
inline bool markLoops(const Input& in, QWidget* main, const Loopback& ear, int count,
                      double seconds) {
    QWidget* start = drive::in(main, "cmdStartNewLoop");
    if (!usable(start))
        return false;
    click(in, start);
    QWidget* marking = nullptr;
    if (!waitFor(
            [&] { return (marking = shownWindow(QStringLiteral("makeLoopPoints"))) != nullptr; }))
        return false;
    for (int i = 1; i < count; ++i) {
        ear.listen(seconds);
        click(in, drive::in(marking, "cmdCompletePreviousLoop"));
    }
    ear.listen(seconds);
    click(in, drive::in(marking, "btnKeep"));
    return waitFor([] { return !shownWindow(QStringLiteral("makeLoopPoints")); });
}

// ---------------------------------------------------------------------------------------
// A practice session compressed

// Random actions of a musician practising, drawn with a seeded generator whose numbers the
// language fixes, so a run can be repeated action for action. Only what is on the screen is
// touched: keys to the loops grid (or the focus), the transport strips, the trim window's
// sliders, Transform, Previous View and the speed controls.
class PracticeSession {
public:
    // player: the strip of the sound practised on ("WaveControl", or "CDControl" on a disc).
    PracticeSession(QWidget* main, Input input, std::uint32_t seed,
                    const char* player = "WaveControl")
        : m_main(main), m_in(std::move(input)), m_random(seed), m_player(player) {}

    // One action, then a moment for the program to take it in.
    void act(int settleMs = 2) {
        struct Choice {
            int weight;
            const char* name;
            std::function<void()> run;
        };
        std::vector<Choice> choices;
        const bool slowPlay = usable(find("cmdPrevView"));
        QWidget* keys = keyTarget();
        auto key = [this, keys](int k) { return [this, keys, k] { press(m_in, keys, k); }; };
        choices.push_back({slowPlay ? 8 : 20, "Space", key(Qt::Key_Space)});
        choices.push_back({slowPlay ? 4 : 10, "F6", key(Qt::Key_F6)});
        choices.push_back({slowPlay ? 6 : 14, "F7", key(Qt::Key_F7)});
        choices.push_back({slowPlay ? 2 : 6, "F8", key(Qt::Key_F8)});
        if (auto* grid = find<QAbstractItemView>("loopPoints"); usable(grid))
            choices.push_back({14, "loop change", [this, grid] {
                                   press(m_in, grid, pick(2) ? Qt::Key_Down : Qt::Key_Up);
                               }});
        if (QWidget* strip = find(slowPlay ? "slowControl" : m_player); usable(strip))
            choices.push_back(
                {slowPlay ? 6 : 10, "transport", [this, strip] { transport(strip); }});
        if (QWidget* trim = shownWindow(QStringLiteral("frmTrim")))
            choices.push_back({slowPlay ? 4 : 14, "trim", [this, trim] { trimMove(trim); }});
        if (QWidget* graph = shownWindow(QStringLiteral("frmScrollTime")); graph && slowPlay) {
            choices.push_back({8, "graph click", [this, graph] { graphClick(graph); }});
            choices.push_back({4, "graph beat", [this, graph] { graphBeat(graph); }});
            choices.push_back({1, "graph close", [graph] { graph->close(); }});
        } else if (QWidget* view = find("cmdGraphic"); slowPlay && view && view->isVisible()) {
            // The button is offered once the slowed loop is ready: the musician waits for it.
            choices.push_back({3, "Wave View", [this, view] {
                                   if (waitFor([view] { return usable(view); }, 3000))
                                       click(m_in, view);
                               }});
        }
        if (slowPlay) {
            choices.push_back({6, "speed", [this] { speedChange(); }});
            choices.push_back({9, "Previous View", [this] { click(m_in, find("cmdPrevView")); }});
        } else if (QWidget* transform = find("cmdSlowPlay"); usable(transform)) {
            choices.push_back({1, "Transform", [this, transform] { click(m_in, transform); }});
        }
        int total = 0;
        for (const Choice& c : choices)
            total += c.weight;
        int at = pick(total);
        for (const Choice& c : choices) {
            if (at < c.weight) {
                c.run();
                ++m_tally[c.name];
                break;
            }
            at -= c.weight;
        }
        ++m_done;
        spin(settleMs);
    }

    int done() const { return m_done; }
    const std::map<std::string, int>& tally() const { return m_tally; }

private:
    template <class T = QWidget> T* find(const char* name) const { return in<T>(m_main, name); }

    // 0 .. n-1 from the generator's own numbers (its distributions differ between libraries).
    int pick(int n) { return int(m_random() % std::uint32_t(n)); }

    // Keys go where the musician's focus is: the loops grid while it shows, else the widget
    // with the focus in the main window.
    QWidget* keyTarget() const {
        if (auto* grid = find("loopPoints"); usable(grid))
            return grid;
        QWidget* focus = QApplication::focusWidget();
        if (usable(focus) && focus->window() == m_main)
            return focus;
        return m_main;
    }

    void transport(QWidget* strip) {
        std::vector<QToolButton*> buttons;
        for (const char* tip : {"Play", "Pause", "Stop", "Previous", "Next", "Back", "Step"})
            if (QToolButton* b = transportButton(strip, QLatin1String(tip)); usable(b))
                buttons.push_back(b);
        if (!buttons.empty())
            click(m_in, buttons[size_t(pick(int(buttons.size())))]);
    }

    // A small move of one end, by ear: never so far that the loop turns inside out.
    void trimMove(QWidget* trim) {
        auto* startEnd = in<QSlider>(trim, "slStart_0");
        auto* endEnd = in<QSlider>(trim, "slStart_1");
        if (!usable(startEnd) || !usable(endEnd))
            return;
        const bool moveStart = pick(2);
        QSlider* s = moveStart ? startEnd : endEnd;
        const bool page = pick(5) == 0;
        const int step = page ? s->pageStep() : s->singleStep();
        bool up = pick(2);
        if (moveStart && up && startEnd->value() + step > endEnd->value() - 1000)
            up = false;
        if (!moveStart && !up && endEnd->value() - step < startEnd->value() + 1000)
            up = true;
        const int k =
            page ? (up ? Qt::Key_PageUp : Qt::Key_PageDown) : (up ? Qt::Key_Right : Qt::Key_Left);
        press(m_in, s, k);
    }

    // A click with either button somewhere on the wave graph's chart: the selection moves and
    // plays.
    void graphClick(QWidget* graph) {
        QWidget* chart = in(graph, "Chart");
        if (!usable(chart))
            return;
        const QPoint at(pick(std::max(1, chart->width())), chart->height() / 2);
        const Qt::MouseButton button = pick(3) == 0 ? Qt::RightButton : Qt::LeftButton;
        sendMouse(chart, at, QEvent::MouseButtonPress, button);
        sendMouse(chart, at, QEvent::MouseButtonRelease, button);
    }

    // A beat of the grid by its number, or the next or previous one.
    void graphBeat(QWidget* graph) {
        static const int keys[] = {Qt::Key_1, Qt::Key_2, Qt::Key_3,    Qt::Key_4,
                                   Qt::Key_N, Qt::Key_P, Qt::Key_Space};
        if (QWidget* chart = in(graph, "Chart"); usable(chart))
            press(m_in, chart, keys[pick(7)]);
    }

    // A new speed by one of the three ways the window offers, within what a practice wants.
    void speedChange() {
        auto* slider = find<QSlider>("slSlowPct_0");
        auto* field = find<QLineEdit>("txtSlowPct_0");
        switch (pick(3)) {
        case 0:
            if (usable(slider))
                press(m_in, slider, slider->value() < 100 ? Qt::Key_PageUp : Qt::Key_PageDown);
            break;
        case 1: {
            static const char* const labels[] = {"lbl1003Speed", "lbl1002", "lblOriginalSpeed"};
            if (QWidget* label = find(labels[pick(3)]); usable(label))
                click(m_in, label);
            break;
        }
        default:
            if (usable(field)) {
                click(m_in, field);
                press(m_in, field, Qt::Key_A, Qt::ControlModifier);
                type(m_in, QString::number(40 + 10 * pick(8)));
                press(m_in, field, Qt::Key_Return);
            }
            break;
        }
    }

    QWidget* m_main;
    Input m_in;
    std::mt19937 m_random;
    const char* m_player;
    int m_done = 0;
    std::map<std::string, int> m_tally;
};

} // namespace drive
