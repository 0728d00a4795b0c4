#include "platform/SelectCDInput.h"

#include <QByteArray>

long SelectCDInput() {
    // The sound server's client library reads the default source from the environment at
    // each new stream; its special name stands for the monitor of the default output.
    qputenv("PULSE_SOURCE", QByteArrayLiteral("@DEFAULT_MONITOR@"));
    return 0;
}
