// A loop of 2 s repeating 100 times, driven by the loop logic of the main window (Play
// Selected Loop, then each natural end's Done event plays the loop again), on the null sound
// device. Figures: silent frames inserted at the joins (target 0), and the sound played
// against 100 passes of the loop. The device runs 5 times faster than real time so that the
// 200 s of sound take 40 s; the repetition's grace for an answer is measured in real time,
// so this is the harder case.
#include "BenchSupport.h"
#include "app/AppPaths.h"
#include "app/CantavoxApplication.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "app/stateVariable.h"
#include "library/Recordset.h"
#include "platform/AudioDevice.h"
#include "platform/MMControl.h"
#include "platform/WaveDevice.h"
#include "ui_frmMain.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <cmath>
#include <cstdio>
#include <sndfile.h>
#include <vector>

namespace {

constexpr int kRate = 44100;
constexpr int kPasses = 100;
constexpr qint32 kIn = 1000;
constexpr qint32 kOut = 3000;

void waitUntil(const std::function<bool()>& done, int timeoutMs) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < timeoutMs)
        bench::waitMs(10);
}

} // namespace

int main(int argc, char** argv) {
    QTemporaryDir home;
    bench::prepareEnvironment(home.path(), 5);
    CantavoxApplication app(argc, argv);
    frmMain* m = bench::startProgram();
    if (!m) {
        std::fprintf(stderr, "the main window did not come up\n");
        return 1;
    }
    const QString file = appDir() + QStringLiteral("/loop source.wav");
    if (!bench::writeTone(file, 10, 330.0)) {
        std::fprintf(stderr, "could not write %s\n", qPrintable(file));
        return 1;
    }
    Prompts::pushAnswer(file);
    m->mnuFileOpen_Click();
    MMControl* w = m->ui()->WaveControl;
    if (m->transport().cdView || w->Error() != 0) {
        std::fprintf(stderr, "the file did not open: %s\n", qPrintable(w->ErrorMessage()));
        return 1;
    }
    Recordset* loops = m->library().dtaLoopPoints;
    loops->AddNew();
    loops->setField(QStringLiteral("waveFileID"),
                    m->library().WAVs->field(QStringLiteral("waveFileID")));
    loops->setField(QStringLiteral("startTime"), kIn);
    loops->setField(QStringLiteral("endTime"), kOut);
    loops->Update();
    loops->Requery();
    loops->FindFirst(QStringLiteral("startTime = ?"), {kIn});

    int passes = 0;
    QObject::connect(w, &MMControl::Done, [&](int code) {
        if (code == MMControl::NotifySuccessful)
            ++passes;
    });
    m->btnLoopPlay_Click();
    auto* device = static_cast<WaveDevice*>(w->device());
    QElapsedTimer wall;
    wall.start();
    waitUntil([&] { return passes >= kPasses; }, 200000);
    const double seconds = wall.elapsed() / 1000.0;
    AudioDevice* audio = device->audio();
    const qint64 silent = audio ? audio->joinSilentFrames() : -1;
    const qint64 played = audio ? audio->framesPlayed() : 0;
    m->togglePlayState();

    const double expected = double(kPasses) * (kOut - kIn) / 1000.0 * kRate;
    std::printf("loop of %d ms repeated %d times in %.1f s (device at 5x real time)\n", kOut - kIn,
                passes, seconds);
    std::printf("%-44s %9lld     (target 0)\n", "silent frames inserted at joins",
                static_cast<long long>(silent));
    std::printf("%-44s %9.3f     (100 passes of the loop = 1.000)\n", "sound played / 100 passes",
                double(played) / expected);
    exitProgram(false);
    return passes >= kPasses && silent == 0 ? 0 : 1;
}
