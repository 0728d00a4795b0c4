// cantavox-transform: a whole wave file slowed down (or sped up) and pitch-shifted with the
// program's own engine, for practice away from the desk.
//
//   cantavox-transform IN.wav OUT.wav --speed PCT --pitch CENTS [--quality 1|2|3]
//                      [--channel 0|1|2]
//
// Exit status: 0 done, 1 the input or output failed, 2 a bad command line.
#include "platform/TimeScaleEngine.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <atomic>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>
#include <unistd.h>

namespace {

const char* const kUsage =
    "usage: cantavox-transform IN.wav OUT.wav --speed PCT --pitch CENTS [--quality 1|2|3] "
    "[--channel 0|1|2]\n"
    "  --speed PCT     speed in percent of the original, 5 to 200 (50 is half speed)\n"
    "  --pitch CENTS   pitch change in cents, -1200 to 1200 (100 is a half step)\n"
    "  --quality Q     1 good (fastest), 2 better, 3 best (slowest); default 3\n"
    "  --channel C     0 both channels, 1 the right one only, 2 the left one only; default 0\n";

struct Options {
    QString input;
    QString output;
    int speed = 0;
    int pitch = 0;
    int quality = 3;
    int channel = 0;
};

int usage(const QString& problem) {
    std::fprintf(stderr, "cantavox-transform: %s\n%s", qPrintable(problem), kUsage);
    return 2;
}

std::optional<int> whole(const QString& text) {
    bool ok = false;
    const int v = text.toInt(&ok);
    return ok ? std::optional<int>(v) : std::nullopt;
}

// Fills options or says what is wrong with the command line.
QString parse(const QStringList& args, Options& o) {
    QStringList files;
    bool haveSpeed = false, havePitch = false;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args[i];
        if (!a.startsWith(u"--")) {
            files << a;
            continue;
        }
        if (a == u"--help")
            return QStringLiteral("help");
        if (i + 1 >= args.size())
            return a + QStringLiteral(" needs a value");
        const std::optional<int> v = whole(args[++i]);
        if (!v)
            return a + QStringLiteral(" needs a whole number, not \"") + args[i] + u'"';
        if (a == u"--speed") {
            if (*v < 5 || *v > 200)
                return QStringLiteral("--speed must be 5 to 200 percent");
            o.speed = *v;
            haveSpeed = true;
        } else if (a == u"--pitch") {
            if (*v < -1200 || *v > 1200)
                return QStringLiteral("--pitch must be -1200 to 1200 cents");
            o.pitch = *v;
            havePitch = true;
        } else if (a == u"--quality") {
            if (*v < 1 || *v > 3)
                return QStringLiteral("--quality must be 1, 2 or 3");
            o.quality = *v;
        } else if (a == u"--channel") {
            if (*v < 0 || *v > 2)
                return QStringLiteral("--channel must be 0, 1 or 2");
            o.channel = *v;
        } else {
            return QStringLiteral("unknown option ") + a;
        }
    }
    if (files.size() != 2)
        return QStringLiteral("give one input and one output file");
    if (!haveSpeed || !havePitch)
        return QStringLiteral("--speed and --pitch are both needed");
    o.input = files[0];
    o.output = files[1];
    if (QFileInfo(o.input).absoluteFilePath() == QFileInfo(o.output).absoluteFilePath())
        return QStringLiteral("the output must not be the input");
    return {};
}

void drawBar(double part) {
    constexpr int kWidth = 40;
    const int filled = int(std::lround(part * kWidth));
    std::fprintf(stderr, "\r[%-*s] %3d%%", kWidth, QByteArray(filled, '#').constData(),
                 int(std::lround(part * 100)));
    std::fflush(stderr);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    Options o;
    const QString problem = parse(app.arguments().mid(1), o);
    if (problem == u"help") {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (!problem.isEmpty())
        return usage(problem);

    std::mutex lock;
    std::condition_variable ended;
    std::optional<int> result;
    TimeScaleEngine engine;
    engine.setCallback([&](int r) {
        std::lock_guard<std::mutex> hold(lock);
        result = r;
        ended.notify_all();
    });
    const double speedFactor = 100.0 / o.speed;
    const double pitchFactor = o.pitch == 0 ? 1.0 : std::pow(2.0, o.pitch / 1200.0);
    const int bands = 256 << o.quality;
    // A job that fails half-way removes its output; one refused here never made it.
    const qint32 started =
        engine.start(o.input, pitchFactor, speedFactor, bands, o.output, false, o.channel);
    if (started != TimeScaleEngine::Running) {
        const QString file = started == TimeScaleEngine::OutputNotOpened ? o.output : o.input;
        std::fprintf(stderr, "cantavox-transform: %s: %s\n", qPrintable(file),
                     qPrintable(TimeScaleEngine::errorText(started)));
        return 1;
    }
    const bool terminal = isatty(fileno(stderr));
    {
        std::unique_lock<std::mutex> hold(lock);
        while (!result) {
            ended.wait_for(hold, std::chrono::milliseconds(100));
            if (terminal && !result)
                drawBar(engine.progress());
        }
    }
    engine.stop();
    if (*result != 0) {
        if (terminal)
            std::fputc('\n', stderr);
        std::fprintf(stderr, "cantavox-transform: %s: %s\n", qPrintable(o.output),
                     qPrintable(TimeScaleEngine::errorText(*result == 1 ? 4 : *result)));
        return 1;
    }
    if (terminal) {
        drawBar(1.0);
        std::fputc('\n', stderr);
    }
    return 0;
}
