#pragma once

#include <QObject>
#include <QPointer>

class frmMain;
class QKeyEvent;

// The main window sees every key first, wherever the focus is on it: each key press meant for
// the window or one of its children goes to Form_KeyDown, and a typed character then to
// Form_KeyPress. A key they consume (code set to 0) goes no further.
//
// Thread: UI thread only.
class KeyPreview : public QObject {
    Q_OBJECT
public:
    explicit KeyPreview(frmMain* form);
    ~KeyPreview() override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool handle(QWidget* target, QKeyEvent* key);
    QPointer<frmMain> m_form;
    // A key travelling up from child to parent is one key: it is looked at once (until its
    // release).
    const QKeyEvent* m_last = nullptr;
};
