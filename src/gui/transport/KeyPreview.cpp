#include "transport/KeyPreview.h"

#include "app/KeyCodes.h"
#include "app/frmMain.h"
#include "failsafe/modFailSafe.h"

#include <QApplication>
#include <QKeyEvent>
#include <QWidget>

KeyPreview::KeyPreview(frmMain* form) : QObject(form), m_form(form) {
    qApp->installEventFilter(this);
}

KeyPreview::~KeyPreview() {
    qApp->removeEventFilter(this);
}

bool KeyPreview::eventFilter(QObject* watched, QEvent* event) {
    // A key's release closes its travel: the next press is a new key even where it reuses
    // the memory of the last one.
    if (event->type() == QEvent::KeyRelease)
        m_last = nullptr;
    if (event->type() != QEvent::KeyPress || !watched->isWidgetType() || !m_form)
        return false;
    auto* key = static_cast<QKeyEvent*>(event);
    if (key == m_last)
        return false;
    auto* target = static_cast<QWidget*>(watched);
    if (target->window() != m_form.data())
        return false;
    // A window kept from input (a capture or a copy running, a busy box up) takes no keys
    // either: the filter sees them before Qt's own refusal would.
    const QWidget* modal = QApplication::activeModalWidget();
    if (!m_form->isEnabled() || !target->isEnabled() || (modal && modal != m_form.data()))
        return true;
    m_last = key;
    return handle(target, key);
}

bool KeyPreview::handle(QWidget* target, QKeyEvent* key) {
    bool consumed = false;
    fs::trap("main form", "Sub Form_KeyDown", [&] {
        int code = vbKeyCode(key->key(), key->modifiers());
        if (code == 0)
            return;
        int shift = 0;
        if (key->modifiers() & Qt::ShiftModifier)
            shift |= 1;
        if (key->modifiers() & Qt::ControlModifier)
            shift |= 2;
        if (key->modifiers() & Qt::AltModifier)
            shift |= 4;
        m_form->Form_KeyDown(code, shift);
        consumed = code == 0;
    });
    if (consumed || key->text().isEmpty() || !key->text().at(0).isPrint())
        return consumed;
    fs::trap("main form", "Sub Form_KeyPress", [&] {
        int ascii = key->text().at(0).unicode();
        m_form->Form_KeyPress(ascii);
        if (ascii != 0 && target->objectName() == u"Comments")
            m_form->Comments_KeyPress(ascii);
        consumed = ascii == 0;
    });
    return consumed;
}
