#include "app/MouseUpWatcher.h"

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
    if (event->type() == QEvent::MouseButtonRelease) {
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
