#include "transform/slowplayInterface.h"

#include "failsafe/modFailSafe.h"
#include "platform/TimeScaleEngine.h"

#include <memory>
#include <mutex>

namespace {
const char* const kModule = "slowplay interface";

std::unique_ptr<TimeScaleEngine> g_engine;
MFPlayFileCallBack g_callback = nullptr;
// The handler is set on the UI thread and called on the worker thread.
std::mutex g_handlerLock;
std::function<void(int)> g_handler;
} // namespace

TimeScaleEngine& slowPlayEngine() {
    if (!g_engine) {
        g_engine = std::make_unique<TimeScaleEngine>();
        g_engine->setCallback([](int result) {
            if (MFPlayFileCallBack cb = g_callback)
                cb(result);
        });
    }
    return *g_engine;
}

qint16 MFPlayFileInit(const QString& engineLibrary) {
    FS_PROC(kModule, "Function MFPlayFileInit", FS_ARG(engineLibrary));
    slowPlayEngine();
    return 1;
}

qint16 MFPlayFileRegisterCallBack(MFPlayFileCallBack callback) {
    FS_PROC(kModule, "Function MFPlayFileRegisterCallBack");
    g_callback = callback;
    return 1;
}

qint32 MFPlayFileStart(const QString& inputFile, double pitchFactor, double speedFactor,
                       qint16 bands, qint16 fixedOne, const QString& outputFile, qint16 playNow,
                       qint16 channelChoice) {
    FS_PROC(kModule, "Function MFPlayFileStart", FS_ARG(inputFile), FS_ARG(pitchFactor),
            FS_ARG(speedFactor), FS_ARG(bands), FS_ARG(fixedOne), FS_ARG(outputFile),
            FS_ARG(playNow), FS_ARG(channelChoice));
    return slowPlayEngine().start(inputFile, pitchFactor, speedFactor, bands, outputFile,
                                  playNow != 0, channelChoice);
}

qint16 MFPlayFileStop() {
    FS_PROC(kModule, "Function MFPlayFileStop");
    if (g_engine)
        g_engine->stop();
    return 1;
}

qint16 MFPlayFileCleanUp() {
    FS_PROC(kModule, "Function MFPlayFileCleanUp");
    if (g_engine)
        g_engine->stop();
    g_engine.reset();
    g_callback = nullptr;
    return 1;
}

QString slowPlayErrorMessage(int code) {
    return TimeScaleEngine::errorText(code);
}

void slowPlayCallBack(int jobResult) {
    std::function<void(int)> handler;
    {
        std::lock_guard<std::mutex> hold(g_handlerLock);
        handler = g_handler;
    }
    if (handler)
        handler(jobResult);
}

void setSlowPlayCallbackHandler(std::function<void(int)> handler) {
    std::lock_guard<std::mutex> hold(g_handlerLock);
    g_handler = std::move(handler);
}
