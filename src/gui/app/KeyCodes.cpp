#include "app/KeyCodes.h"

int vbKeyCode(int qtKey, Qt::KeyboardModifiers modifiers) {
    const bool pad = modifiers & Qt::KeypadModifier;
    if (pad && qtKey == Qt::Key_Plus)
        return 107;
    if (pad && qtKey == Qt::Key_Minus)
        return 109;
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F12)
        return 112 + (qtKey - Qt::Key_F1);
    if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9))
        return qtKey;
    switch (qtKey) {
    case Qt::Key_Space:
        return 32;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return 13;
    case Qt::Key_Delete:
        return 46;
    case Qt::Key_Backspace:
        return 8;
    case Qt::Key_Tab:
        return 9;
    case Qt::Key_Escape:
        return 27;
    case Qt::Key_Left:
        return 37;
    case Qt::Key_Up:
        return 38;
    case Qt::Key_Right:
        return 39;
    case Qt::Key_Down:
        return 40;
    default:
        return 0;
    }
}
