#pragma once

#include <QObject>
#include <QPointer>
#include <QVariant>

class MMControl;

// Whether a loop is armed: while state is True, a natural end of play restarts the loop.
// Arming turns the media controls' automatic button handling off and keeps their stop
// button on view, so the musician can always stop a repeating loop.
//
// Thread: UI thread only.
class stateVariable {
public:
    stateVariable(MMControl* cdControl, MMControl* waveControl);

    // Property (Get) state: the value or the reference as it was stored.
    QVariant state() const;
    bool isArmed() const { return m_value.toBool(); }
    // Property (Let) state.
    void setState(const QVariant& value);
    // Property (Set) state: stores an object reference without touching the controls.
    void setStateObject(QObject* object);

private:
    QVariant m_value;
    QPointer<QObject> m_object;
    QPointer<MMControl> m_cdControl;
    QPointer<MMControl> m_waveControl;
};
