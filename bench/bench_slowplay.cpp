// SlowPlay on the main window, in real time on the null sound device: a loop of a wave file is
// transformed and loops; then the speed slider is moved and let go 10 times. Figure: from the
// release to the first frame of the loop at its new speed reaching the device, median and
// worst (target 300 ms).
#include "BenchSupport.h"
#include "app/AppPaths.h"
#include "app/CantavoxApplication.h"
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"
#include "app/globals.h"
#include "library/Recordset.h"
#include "platform/AudioDevice.h"
#include "platform/MMControl.h"
#include "platform/TimeScaleEngine.h"
#include "transform/slowplayInterface.h"
#include "ui_frmMain.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QSlider>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sndfile.h>
#include <vector>

int main(int argc, char** argv) {
    QTemporaryDir home;
    bench::prepareEnvironment(home.path(), 1);
    CantavoxApplication app(argc, argv);
    frmMain* m = bench::startProgram();
    const QString file = appDir() + QStringLiteral("/tune.wav");
    if (!m || !bench::writeTone(file, 30, 330.0))
        return 1;
    Prompts::pushAnswer(file);
    m->mnuFileOpen_Click();
    Recordset* rs = m->library().dtaLoopPoints;
    rs->AddNew();
    rs->setField(QStringLiteral("waveFileID"),
                 m->library().WAVs->field(QStringLiteral("waveFileID")));
    rs->setField(QStringLiteral("startTime"), 5000);
    rs->setField(QStringLiteral("endTime"), 9000);
    rs->Update();
    rs->Requery();
    rs->FindFirst(QStringLiteral("startTime = ?"), {5000});
    gvAutoSlow = true;
    gvRealtime = true;
    m->cmdSlowPlay_Click();
    for (int i = 0; i < 2000 && !gvSlowFileReady; ++i)
        bench::waitMs(10);
    if (!gvSlowFileReady) {
        std::fprintf(stderr, "the slowed loop never became ready\n");
        return 1;
    }
    std::vector<double> heard;
    QSlider* speed = m->ui()->slSlowPct_0;
    for (int i = 0; i < 10; ++i) {
        bench::waitMs(500);
        // Timed on the device's own clock: the release, and the first frame of the new job.
        AudioDevice* audio = slowPlayEngine().audio();
        if (!audio)
            return 1;
        const double released = audio->now();
        // The release of a drag: Change comes with the slider's new value.
        m->slSlowPct_MouseDown(0);
        speed->setValue(i % 2 ? 60 : 70);
        m->slSlowPct_MouseUp(0);
        QElapsedTimer t;
        t.start();
        while (slowPlayEngine().firstSoundAt() <= released && t.elapsed() < 3000)
            bench::waitMs(1);
        heard.push_back((slowPlayEngine().firstSoundAt() - released) * 1000.0);
    }
    std::sort(heard.begin(), heard.end());
    std::printf("new speed heard after the slider's release: median %.1f ms, worst %.1f ms "
                "(target 300 ms: ratios %.3f / %.3f)\n",
                heard[heard.size() / 2], heard.back(), heard[heard.size() / 2] / 300.0,
                heard.back() / 300.0);
    exitProgram(false);
    return 0;
}
