#pragma once

#include <Qt>

// Key codes as the keyboard procedures number them: letters and digits by their capital
// ASCII code, Space 32, Enter 13, Delete 46, F1..F12 112..123, the numeric pad's plus 107
// and minus 109. A key without such a code gives 0.
int vbKeyCode(int qtKey, Qt::KeyboardModifiers modifiers);
