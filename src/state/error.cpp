#include "state/error.h"

namespace corvane {

CorvaneError::CorvaneError(int number, QString description)
    : m_number(number), m_description(std::move(description)),
      m_what((QString::number(number) + QLatin1Char(' ') + m_description).toUtf8()) {}

QString CorvaneError::standardDescription(int number) {
    switch (number) {
    case ErrorNumber::InvalidArgument:
        return QStringLiteral("Invalid procedure call or argument");
    case ErrorNumber::Overflow:
        return QStringLiteral("Overflow");
    case ErrorNumber::Subscript:
        return QStringLiteral("Subscript out of range");
    case ErrorNumber::TypeMismatch:
        return QStringLiteral("Type mismatch");
    case ErrorNumber::BadFileName:
        return QStringLiteral("Bad file name or number");
    case ErrorNumber::FileNotFound:
        return QStringLiteral("File not found");
    case ErrorNumber::DeviceUnavailable:
        return QStringLiteral("Device unavailable");
    case ErrorNumber::PermissionDenied:
        return QStringLiteral("Permission denied");
    case ErrorNumber::PathNotFound:
        return QStringLiteral("Path not found");
    case ErrorNumber::InvalidUseOfNull:
        return QStringLiteral("Invalid use of Null");
    case ErrorNumber::NoCurrentRecord:
        return QStringLiteral("No current record.");
    default:
        return QStringLiteral("Application-defined or object-defined error");
    }
}

void raise(int number) {
    throw CorvaneError(number, CorvaneError::standardDescription(number));
}

void raise(int number, const QString& description) {
    throw CorvaneError(number, description);
}

} // namespace corvane
