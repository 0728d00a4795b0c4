#pragma once

#include "failsafe/AppError.h"

#include <functional>

// The number of the run-time error that the call raises, 0 when it raises none.
inline int errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const AppError& e) {
        return e.number;
    }
    return 0;
}
