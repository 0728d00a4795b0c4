#pragma once

#include <QString>

// Turns a run-time error number into its class code, and a class code into the category
// text the error dialog and the error log show. The number ranges are a fixed table (see
// ErrorClasses.cpp); a number outside every range has class 0, "Unknown Error Class".
//
// Thread: any (pure functions over constant tables).
class ErrorClasses {
public:
    static int classOf(int number);
    static QString categoryText(int classCode);
    static QString categoryOf(int number) { return categoryText(classOf(number)); }

    // The object-defined errors of components: vbObjectError and the 65535 numbers above.
    static constexpr int ObjectErrorBase = -2147221504;
};
