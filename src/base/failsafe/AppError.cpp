#include "failsafe/AppError.h"

#include <cmath>
#include <limits>

ErrObject Err;

QString standardErrorText(int number) {
    switch (number) {
    case 3:
        return QStringLiteral("Return without GoSub");
    case 5:
        return QStringLiteral("Invalid procedure call or argument");
    case 6:
        return QStringLiteral("Overflow");
    case 7:
        return QStringLiteral("Out of memory");
    case 9:
        return QStringLiteral("Subscript out of range");
    case 11:
        return QStringLiteral("Division by zero");
    case 13:
        return QStringLiteral("Type mismatch");
    case 51:
        return QStringLiteral("Internal error");
    case 52:
        return QStringLiteral("Bad file name or number");
    case 53:
        return QStringLiteral("File not found");
    case 54:
        return QStringLiteral("Bad file mode");
    case 61:
        return QStringLiteral("Disk full");
    case 70:
        return QStringLiteral("Permission denied");
    case 75:
        return QStringLiteral("Path/File access error");
    case 76:
        return QStringLiteral("Path not found");
    case 91:
        return QStringLiteral("Object variable or With block variable not set");
    case 380:
        return QStringLiteral("Invalid property value");
    case 3021:
        return QStringLiteral("No current record.");
    default:
        return QStringLiteral("Application-defined or object-defined error");
    }
}

AppError::AppError(int number_, QString description_, QString source_, int helpContext_)
    : number(number_),
      description(description_.isEmpty() ? standardErrorText(number_) : std::move(description_)),
      source(source_.isEmpty() ? QStringLiteral("Cantavox") : std::move(source_)),
      helpContext(helpContext_) {}

const char* AppError::what() const noexcept {
    if (m_what.isEmpty())
        m_what = QStringLiteral("Error %1: %2").arg(number).arg(description).toUtf8();
    return m_what.constData();
}

void ErrObject::set(const AppError& e) {
    Number = e.number;
    Description = e.description;
    Source = e.source;
    HelpContext = e.helpContext;
    Line = 0;
    CodePointer = 0;
}

void raiseError(int number, const QString& description, const QString& source) {
    throw AppError(number, description, source);
}

qint16 checkedInt16(double value) {
    // The conversion rounds half to even, as the run time's CInt does.
    if (std::isnan(value))
        raiseError(errnum::Overflow);
    const double r = std::nearbyint(value);
    if (r < std::numeric_limits<qint16>::min() || r > std::numeric_limits<qint16>::max())
        raiseError(errnum::Overflow);
    return static_cast<qint16>(r);
}

qint16 checkedInt16(qint64 value) {
    if (value < std::numeric_limits<qint16>::min() || value > std::numeric_limits<qint16>::max())
        raiseError(errnum::Overflow);
    return static_cast<qint16>(value);
}

qint32 checkedInt32(double value) {
    if (std::isnan(value))
        raiseError(errnum::Overflow);
    const double r = std::nearbyint(value);
    if (r < std::numeric_limits<qint32>::min() || r > std::numeric_limits<qint32>::max())
        raiseError(errnum::Overflow);
    return static_cast<qint32>(r);
}
