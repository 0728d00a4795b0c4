#include "app/stateVariable.h"

#include "failsafe/modFailSafe.h"
#include "platform/MMControl.h"

stateVariable::stateVariable(MMControl* cdControl, MMControl* waveControl)
    : m_value(false), m_cdControl(cdControl), m_waveControl(waveControl) {}

QVariant stateVariable::state() const {
    FS_PROC("stateVariable", "Property (Get) state");
    if (m_object)
        return QVariant::fromValue(m_object.data());
    return m_value;
}

void stateVariable::setState(const QVariant& value) {
    FS_PROC("stateVariable", "Property (Let) state", FS_ARG(value));
    m_object = nullptr;
    m_value = value;
    const bool armed = value.toBool();
    // A control that isn't ready must not stop the flag from changing.
    for (MMControl* control : {m_cdControl.data(), m_waveControl.data()}) {
        if (control)
            fs::ignoreErrors([&] { control->setAutoEnable(!armed); });
        if (control)
            control->setRepeatAhead(armed);
    }
    for (MMControl* control : {m_cdControl.data(), m_waveControl.data()}) {
        if (control)
            fs::ignoreErrors([&] { control->setStopVisible(true); });
    }
}

void stateVariable::setStateObject(QObject* object) {
    FS_PROC("stateVariable", "Property (Set) state");
    m_object = object;
    m_value = QVariant::fromValue(object);
}
