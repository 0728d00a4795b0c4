#include "shell/CFormEx.h"

#include "app/Prompts.h"
#include "failsafe/AppError.h"
#include "failsafe/modFailSafe.h"

namespace {
const char* const kModule = "CFormEx";
QString source() {
    return Prompts::appTitle() + QStringLiteral(".CFormEx");
}

// Changing window flags hides a shown window; show it again as it was.
void applyFlags(QWidget* w, Qt::WindowFlags flags) {
    const bool wasVisible = w->isVisible();
    w->setWindowFlags(flags);
    if (wasVisible)
        w->show();
}
} // namespace

QWidget* CFormEx::checked() const {
    if (!m_window)
        raiseError(errnum::ComponentFailure, QStringLiteral("Object not properly initialized"),
                   source());
    return m_window.data();
}

void CFormEx::Init(QWidget* hWnd) {
    FS_PROC(kModule, "Sub Init");
    m_window = hWnd;
}

QWidget* CFormEx::hWnd() const {
    return checked();
}
void CFormEx::setHWnd(QWidget* hWnd) {
    Init(hWnd);
}

bool CFormEx::OnTop() const {
    return checked()->windowFlags().testFlag(Qt::WindowStaysOnTopHint);
}

void CFormEx::setOnTop(bool onTop) {
    FS_PROC(kModule, "Property (Let) OnTop", FS_ARG(onTop));
    QWidget* w = checked();
    applyFlags(w, w->windowFlags().setFlag(Qt::WindowStaysOnTopHint, onTop));
}

QWidget* CFormEx::Parent() const {
    return checked()->parentWidget();
}

void CFormEx::setParent(QWidget* newParent) {
    FS_PROC(kModule, "Property (Let) Parent");
    QWidget* w = checked();
    if (!newParent)
        raiseError(errnum::WindowHandleInvalid, QStringLiteral("Invalid parent window"), source());
    const Qt::WindowFlags flags = w->windowFlags();
    w->setParent(newParent, flags);
}

quint32 CFormEx::Style() const {
    return static_cast<quint32>(checked()->windowFlags().toInt());
}
quint32 CFormEx::ExStyle() const {
    checked();
    return m_exStyle;
}

void CFormEx::AddStyle(quint32 style) {
    QWidget* w = checked();
    applyFlags(w, Qt::WindowFlags::fromInt(static_cast<int>(Style() | style)));
}

void CFormEx::RemoveStyle(quint32 style) {
    QWidget* w = checked();
    applyFlags(w, Qt::WindowFlags::fromInt(static_cast<int>(Style() & ~style)));
}

bool CFormEx::HasStyle(quint32 style) const {
    return (style | Style()) == style;
}

void CFormEx::AddExStyle(quint32 style) {
    checked();
    m_exStyle |= style;
}

void CFormEx::RemoveExStyle(quint32 style) {
    checked();
    m_exStyle &= ~style;
}

bool CFormEx::HasExStyle(quint32 style) const {
    return (style | ExStyle()) == style;
}
