// The wave graph's chart on a 1920x1080 window, with a 5-minute mono loop at 44.1 kHz.
// Figures, each against its target:
//   fill      - the points set while batching and the first picture drawn: every word of the
//               loop (the finest quality) and every 20th word (the quality at the start);
//   rebuild   - the picture drawn again from the points, as a zoom or a colour change asks;
//   repaint   - the whole chart painted from the kept picture, at scale 1 and at scale 2
//               (painted into an image of twice the pixels, so the painter works at 2x);
//   play line - one step of the play position: the old line toggled off, the new one on, and
//               the two strips repainted on the window.
// A chart made with Qt Charts would be the peer; it is measured only where that module is
// installed, which it isn't on this build.
#include "graph/WaveChart.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QPaintEvent>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kWords = 5 * 60 * kRate;

// A plucked note every half second over a quiet hum: peaks and near-silence, as a loop has.
std::vector<qint16> makeLoop() {
    std::vector<qint16> words(kWords);
    for (int i = 0; i < kWords; ++i) {
        const double t = double(i) / kRate, sinceNote = std::fmod(t, 0.5);
        const double v = 1500 * std::sin(2 * M_PI * 110 * t) +
                         26000 * std::exp(-8 * sinceNote) * std::sin(2 * M_PI * 330 * t);
        words[size_t(i)] = qint16(std::lround(v));
    }
    return words;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double timeMs(const std::function<void()>& work) {
    QElapsedTimer t;
    t.start();
    work();
    return double(t.nsecsElapsed()) / 1e6;
}

void report(const char* what, double value, const char* unit, double target) {
    std::printf("%-52s %9.2f %-3s (target %5.1f %s: ratio %.3f)\n", what, value, unit, target, unit,
                value / target);
}

// As the graph reads a loop: one point for every `step` words.
void fill(WaveChart& chart, const std::vector<qint16>& words, int step) {
    const int points = kWords / step;
    chart.setBatching(true);
    chart.setPointCount(points);
    for (int p = 1; p <= points; ++p) {
        const int word = (p - 1) * step;
        chart.setX(p, word);
        chart.setY(p, words[size_t(word)]);
    }
    chart.setBatching(false);
}

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const std::vector<qint16> words = makeLoop();
    QImage once(1920, 1080, QImage::Format_RGB32);
    QImage twice(3840, 2160, QImage::Format_RGB32);
    twice.setDevicePixelRatio(2);

    for (const int step : {1, 20}) {
        std::vector<double> ms;
        for (int run = 0; run < 5; ++run) {
            WaveChart chart;
            chart.resize(1920, 1080);
            ms.push_back(timeMs([&] {
                fill(chart, words, step);
                chart.render(&once);
            }));
        }
        char what[80];
        std::snprintf(what, sizeof what, "fill, %d points, and first picture (median of 5)",
                      kWords / step);
        report(what, median(ms), "ms", 150);
    }

    WaveChart chart;
    chart.resize(1920, 1080);
    fill(chart, words, 20);
    chart.render(&once);
    for (QImage* target : {&once, &twice}) {
        const char* scale = target == &once ? "1" : "2";
        std::vector<double> rebuild, repaint;
        for (int run = 0; run < 21; ++run) {
            const int builds = chart.pictureBuilds();
            chart.setLineColor(run % 2 ? Qt::darkBlue : Qt::darkGreen);
            rebuild.push_back(timeMs([&] { chart.render(target); }));
            repaint.push_back(timeMs([&] { chart.render(target); }));
            if (chart.pictureBuilds() != builds + 1) {
                std::fprintf(stderr, "the picture was drawn %d times, not once\n",
                             chart.pictureBuilds() - builds);
                return 1;
            }
        }
        char what[80];
        std::snprintf(what, sizeof what, "repaint from the kept picture, scale %s", scale);
        report(what, median(repaint), "ms", 4);
        std::snprintf(what, sizeof what, "rebuild, 661500 points, scale %s", scale);
        report(what, median(rebuild), "ms", 150);
    }

    // The play line on a shown window: both toggles and the repaint their strips ask for.
    chart.show();
    QApplication::processEvents();
    struct PaintCount : QObject {
        int paints = 0;
        bool eventFilter(QObject*, QEvent* e) override {
            paints += e->type() == QEvent::Paint;
            return false;
        }
    } count;
    chart.installEventFilter(&count);
    const int top = chart.plotRect().left(), width = chart.plotRect().width();
    std::vector<double> steps;
    chart.toggleLine(top);
    QApplication::processEvents();
    count.paints = 0;
    for (int i = 1; i < 1000; ++i) {
        const int from = top + (i - 1) % width, to = top + i % width;
        steps.push_back(timeMs([&] {
            chart.toggleLine(from);
            chart.toggleLine(to);
            QApplication::processEvents();
        }));
    }
    if (count.paints < 999) {
        std::fprintf(stderr, "only %d of 999 steps were painted\n", count.paints);
        return 1;
    }
    report("play line step, two toggles and their repaint", median(steps), "ms", 0.5);
    std::printf("no peer ratio: Qt Charts is not installed here\n");
    return 0;
}
