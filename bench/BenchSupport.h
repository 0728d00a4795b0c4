#pragma once

// What the benchmarks that drive the real program share: its environment (a program folder
// of its own, the null sound device), its start in this process, waits that keep the event
// loop running, and generated tones.
#include "app/Main.h"
#include "app/Prompts.h"
#include "app/frmMain.h"

#include <QEventLoop>
#include <QFile>
#include <QTimer>
#include <cmath>
#include <sndfile.h>
#include <vector>

namespace bench {

// Before the application object: the program folder, the null device at that pace (1 is
// real time), offscreen unless a display is asked for.
inline void prepareEnvironment(const QString& home, int nullRate) {
    qputenv("CANTAVOX_HOME", home.toUtf8());
    qputenv("CANTAVOX_AUDIO", "null");
    if (nullRate > 1)
        qputenv("CANTAVOX_NULL_RATE", QByteArray::number(nullRate));
    else
        qunsetenv("CANTAVOX_NULL_RATE");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

inline void waitMs(int ms) {
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}

// Runs Main with scripted prompts and waits for the main window; nullptr if it never came.
inline frmMain* startProgram() {
    Prompts::setScripted(true);
    Main();
    for (int i = 0; i < 500 && !(frmMain::instance() && frmMain::instance()->isVisible()); ++i)
        waitMs(10);
    return frmMain::instance();
}

// A 16-bit sine at `amplitude` of full scale, the same on every channel.
inline bool writeTone(const QString& path, double seconds, double hz, int channels = 2,
                      int rate = 44100, double amplitude = 0.2) {
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = channels;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* sf = sf_open(QFile::encodeName(path).constData(), SFM_WRITE, &info);
    if (!sf)
        return false;
    // A second at a time: an hour of sound needs no hour of memory.
    std::vector<short> block(size_t(rate) * size_t(channels));
    const qint64 total = qint64(std::llround(seconds * rate));
    bool ok = true;
    for (qint64 done = 0; done < total && ok;) {
        const qint64 n = std::min<qint64>(rate, total - done);
        for (qint64 i = 0; i < n; ++i) {
            const short v =
                short(32767 * amplitude * std::sin(2 * M_PI * hz * double(done + i) / rate));
            for (int c = 0; c < channels; ++c)
                block[size_t(i) * size_t(channels) + size_t(c)] = v;
        }
        ok = sf_writef_short(sf, block.data(), n) == n;
        done += n;
    }
    return sf_close(sf) == 0 && ok;
}

} // namespace bench
