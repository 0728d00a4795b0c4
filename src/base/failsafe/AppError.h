#pragma once

#include <QString>
#include <exception>

// Run-time errors travel as exceptions carrying the classic run-time numbers, so that the
// error dialog can classify them and a trap can decide to retry or leave.
//
// Thread: created and caught on the UI thread only.

// Numbers the program raises itself. Numbers of our own platform layer start at 32000 (see
// docs/ARCHITECTURE.md for the ranges and the category each falls into).
namespace errnum {
constexpr int ReturnWithoutGoSub = 3;
constexpr int InvalidProcedureCall = 5;
constexpr int Overflow = 6;
constexpr int OutOfMemory = 7;
constexpr int SubscriptOutOfRange = 9;
constexpr int DivisionByZero = 11;
constexpr int TypeMismatch = 13;
constexpr int InternalError = 51;
constexpr int BadFileNameOrNumber = 52;
constexpr int FileNotFound = 53;
constexpr int BadFileMode = 54;
constexpr int DiskFull = 61;
constexpr int PermissionDenied = 70;
constexpr int PathFileAccessError = 75;
constexpr int PathNotFound = 76;
constexpr int KeyAlreadyAssociated = 457;
constexpr int ObjectVariableNotSet = 91;
constexpr int InvalidPropertyValue = 380;
constexpr int NoCurrentRecord = 3021;
// Our platform layer.
constexpr int MediaDeviceNotOpen = 32001;
constexpr int MediaCommandFailed = 32002;
constexpr int WindowHandleInvalid = 32100;
constexpr int ComponentFailure = 32101;
} // namespace errnum

// The text the run time gives each standard number when the raiser gave none.
QString standardErrorText(int number);

struct AppError : std::exception {
    AppError(int number, QString description = {}, QString source = {}, int helpContext = 0);

    int number;
    QString description;
    QString source;
    int helpContext;

    const char* what() const noexcept override;

private:
    mutable QByteArray m_what;
};

// The last error seen by a trap, as the error object of the run time holds it.
struct ErrObject {
    int Number = 0;
    QString Description;
    QString Source;
    int HelpContext = 0;
    int Line = 0; // 0: line numbers are not used
    qint64 CodePointer = 0;

    void clear() { *this = ErrObject{}; }
    void set(const AppError& e);
};
extern ErrObject Err;

[[noreturn]] void raiseError(int number, const QString& description = {},
                             const QString& source = {});

// Integer in this program means 16 bits: arithmetic that would overflow one raises error 6.
qint16 checkedInt16(double value);
qint16 checkedInt16(qint64 value);
qint32 checkedInt32(double value);
