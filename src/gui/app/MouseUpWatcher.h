#pragma once

#include <QObject>
#include <functional>

class QWidget;

// Reports mouse releases on a widget that has no signal of its own for them (labels that act
// as buttons, right-clicks on a push button). Owned by the widget it watches.
//
// Thread: UI thread only.
class MouseUpWatcher : public QObject {
    Q_OBJECT
public:
    // button is 1 for the left, 2 for the right and 4 for the middle button.
    using Handler = std::function<void(int button)>;
    static void watch(QWidget* widget, Handler handler);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    MouseUpWatcher(QWidget* widget, Handler handler);
    Handler m_handler;
};
