// Test fixtures: definition files made from CSV text in a temporary folder.
#pragma once

#include "definitions/definition_writer.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <optional>

namespace corvane::test {

/// Makes a definition file in `folder` from CSV text; returns its path. The file holds exactly
/// what the text says: a column it leaves out is empty, 0 or no, so that every test states the
/// flags it depends on.
inline QString MakeDefinition(const QString& folder, const QString& name, const QString& csv,
                              std::optional<double> version = 4.0) {
    const QString path = QDir(folder).filePath(name);
    CreateDefinitionFile(path, name + QStringLiteral(".csv"), csv, KindOfFile(name), version,
                         MissingColumns::Empty);
    return path;
}

/// A questionnaire header with the columns the tests usually fill; the rest take empty values.
inline QString QuestionnaireHeader() {
    return QStringLiteral("questionnumber,QuestionType,QuestionWording,VariableName,Parameters,"
                          "WGR,BGR,WriteData,WriteRT,WriteText,omitconditions,GoBack,"
                          "textlabel1,pointlabel1,skip1,skip2\n");
}

/// A file's bytes; empty when it can't be read.
inline QByteArray ReadAll(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Writes raw bytes to a file.
inline void WriteBytes(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

} // namespace corvane::test
