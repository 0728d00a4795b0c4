#include "platform/AudioDevice.h"

#include "platform/NullAudioDevice.h"
#include "platform/PortAudioDevice.h"

#include <QMutex>

namespace {
QMutex g_noticeLock;
QString g_notice;
bool g_noticeGiven = false;
std::atomic<int> g_null{-1}; // -1 not decided yet, 0 sound card, 1 null

double nullSpeed() {
    bool ok = false;
    const double n = qEnvironmentVariable("CANTAVOX_NULL_RATE").toDouble(&ok);
    return ok && n > 0 ? n : 1.0;
}

// Decided once per process: a sound card that can't be opened now won't be a minute later
// without the user doing something, and one message is enough.
bool decideNull() {
    int decided = g_null.load();
    if (decided >= 0)
        return decided == 1;
    bool useNull =
        qEnvironmentVariable("CANTAVOX_AUDIO").compare(u"null", Qt::CaseInsensitive) == 0;
    if (!useNull) {
        QString why;
        if (!PortAudioDevice::available(why)) {
            useNull = true;
            QMutexLocker lock(&g_noticeLock);
            g_notice = QStringLiteral("No sound device could be opened (%1). Cantavox plays "
                                      "silently until one is connected and Cantavox restarted.")
                           .arg(why);
        }
    }
    g_null.store(useNull ? 1 : 0);
    return useNull;
}
} // namespace

std::unique_ptr<AudioDevice> AudioDevice::create() {
    if (decideNull())
        return std::make_unique<NullAudioDevice>(nullSpeed());
    return std::make_unique<PortAudioDevice>();
}

bool AudioDevice::usingNull() {
    return decideNull();
}

QString AudioDevice::takeNotice() {
    decideNull();
    QMutexLocker lock(&g_noticeLock);
    if (g_noticeGiven)
        return {};
    g_noticeGiven = true;
    return g_notice;
}
