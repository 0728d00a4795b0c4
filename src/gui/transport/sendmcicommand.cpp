#include "transport/sendmcicommand.h"

#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"
#include "platform/MMControl.h"
#include "platform/WaveDevice.h"

namespace {
const char* const kModule = "sendmcicommand";
}

bool SetRecordingParameters(qint16 deviceId, qint16 bitsPerSample, qint16 numberOfChannels,
                            qint32 sampleRate) {
    FS_PROC(kModule, "Function SetRecordingParameters", FS_ARG(deviceId), FS_ARG(bitsPerSample),
            FS_ARG(numberOfChannels), FS_ARG(sampleRate));
    WaveDevice* device = WaveDevice::byId(deviceId);
    if (!device)
        return false;
    // The device keeps PCM at whole bytes a sample: block alignment and bytes a second
    // follow from these three.
    QString why;
    return device->setRecordingFormat(bitsPerSample, numberOfChannels, sampleRate, why);
}

bool SetRecordingParameters(qint16 bitsPerSample, qint16 numberOfChannels, qint32 sampleRate) {
    FS_PROC(kModule, "Function SetRecordingParameters", FS_ARG(bitsPerSample),
            FS_ARG(numberOfChannels), FS_ARG(sampleRate));
    frmMain* main = frmMain::instance();
    if (!main)
        return false;
    const auto* wave = main->findChild<MMControl*>(QStringLiteral("WaveControl"));
    return wave &&
           SetRecordingParameters(wave->DeviceID(), bitsPerSample, numberOfChannels, sampleRate);
}
