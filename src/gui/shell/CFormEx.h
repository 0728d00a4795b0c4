#pragma once

#include <QPointer>
#include <QWidget>

// Wraps one window for changes of its style and stacking. The "window handle" is the widget
// itself; a handle that is no longer a window (its widget gone) fails every operation.
//
// Thread: UI thread only.
class CFormEx {
public:
    void Init(QWidget* hWnd);
    QWidget* hWnd() const;
    void setHWnd(QWidget* hWnd);
    bool OnTop() const;
    void setOnTop(bool onTop);
    QWidget* Parent() const;
    void setParent(QWidget* newParent);
    // Styles are the window's flags; extended styles its widget attributes' flags word.
    quint32 Style() const;
    quint32 ExStyle() const;
    void AddStyle(quint32 style);
    void RemoveStyle(quint32 style);
    // True when every bit of the window's style lies within style.
    bool HasStyle(quint32 style) const;
    void AddExStyle(quint32 style);
    void RemoveExStyle(quint32 style);
    bool HasExStyle(quint32 style) const;

private:
    QWidget* checked() const;
    QPointer<QWidget> m_window;
    quint32 m_exStyle = 0;
};
