// The program's error type. Errors carry the numbers that the loaders' handlers select on, so
// that a fault raised deep in a reader is reported with the same number and words everywhere.
#pragma once

#include <QString>
#include <exception>

namespace corvane {

/// Error numbers used across the program.
namespace ErrorNumber {
constexpr int InvalidArgument = 5;
constexpr int Overflow = 6;
constexpr int Subscript = 9;
constexpr int TypeMismatch = 13;
constexpr int BadFileName = 52;
constexpr int FileNotFound = 53;
constexpr int DeviceUnavailable = 68;
constexpr int PermissionDenied = 70;
constexpr int PathNotFound = 76;
constexpr int InvalidUseOfNull = 94;
constexpr int NoCurrentRecord = 3021;
constexpr int DatabaseNotFound = 3024;
constexpr int QuerySyntax = 3075;
constexpr int ItemNotFound = 3265;
// Definition files that can't be trusted: not a database, damaged, unsafe or of the wrong shape.
constexpr int NotADefinitionFile = 3501;
constexpr int DamagedDefinitionFile = 3502;
constexpr int UnsafeDefinitionFile = 3503;
constexpr int MissingTable = 3504;
constexpr int MissingColumn = 3505;
constexpr int NoQuestionnaires = 9999;
} // namespace ErrorNumber

/// A numbered error with its description, raised by the core and reported by the caller.
class CorvaneError : public std::exception {
public:
    CorvaneError(int number, QString description);

    int number() const { return m_number; }
    const QString& description() const { return m_description; }
    const char* what() const noexcept override { return m_what.constData(); }

    /// The standard description for a number, used when none is given.
    static QString standardDescription(int number);

private:
    int m_number;
    QString m_description;
    QByteArray m_what;
};

/// Raises the error with its standard description.
[[noreturn]] void raise(int number);
/// Raises the error with a description of its own.
[[noreturn]] void raise(int number, const QString& description);

} // namespace corvane
