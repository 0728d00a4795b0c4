#include "transform/slowplayInterface.h"

#include "failsafe/modFailSafe.h"

// Placeholder until the time-scale engine lands: the engine has no job to run or stop yet.
namespace {
MFPlayFileCallBack g_callback = nullptr;
bool g_initialised = false;
} // namespace

int MFPlayFileInit(const QString& libraryName) {
    FS_PROC("slowplay interface", "Function MFPlayFileInit", FS_ARG(libraryName));
    g_initialised = true;
    return 1;
}

int MFPlayFileRegisterCallBack(MFPlayFileCallBack callback) {
    FS_PROC("slowplay interface", "Function MFPlayFileRegisterCallBack");
    g_callback = callback;
    return 1;
}

void MFPlayFileCleanUp() {
    FS_PROC("slowplay interface", "Sub MFPlayFileCleanUp");
    g_callback = nullptr;
    g_initialised = false;
}

void stopDLL() {
    FS_PROC("slowplay interface", "Sub stopDLL");
}

void slowPlayCallBack(int jobResult) {
    FS_PROC("slowplay interface", "Sub slowPlayCallBack", FS_ARG(jobResult));
}
