#include "app/MouseUpWatcher.h"

#include <QApplication>
#include <QMouseEvent>
#include <QWidget>

MouseUpWatcher::MouseUpWatcher(QWidget* widget, Handler handler)
    : QObject(widget), m_handler(std::move(handler)) {
    widget->installEventFilter(this);
}

void MouseUpWatcher::watch(QWidget* widget, Handler handler) {
    new MouseUpWatcher(widget, std::move(handler));
}

bool MouseUpWatcher::eventFilter(QObject* watched, QEvent* event) {
    // A widget kept from input (its window disabled while a capture or a copy runs) hears no
    // click: the filter sees the event before Qt's own refusal would.
    const auto* widget = qobject_cast<const QWidget*>(watched);
    const QWidget* modal = QApplication::activeModalWidget();
    const bool blocked = !widget || !widget->isEnabled() || (modal && modal != widget->window());
    if (event->type() == QEvent::MouseButtonRelease && !blocked) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
        int button = 0;
        switch (mouse->button()) {
        case Qt::LeftButton:
            button = 1;
            break;
        case Qt::RightButton:
            button = 2;
            break;
        case Qt::MiddleButton:
            button = 4;
            break;
        default:
            break;
        }
        if (button != 0 && m_handler)
            m_handler(button);
    }
    return QObject::eventFilter(watched, event);
}
