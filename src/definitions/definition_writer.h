// Making definition files from comma-separated text and writing them back, for laboratories
// that prepare their experiments in a spreadsheet.
#pragma once

#include "definitions/definition_columns.h"

#include <QString>
#include <optional>
#include <stdexcept>

namespace corvane {

/// A fault in the input, with the place it was found: "FILE:LINE:COLUMN: message".
class DefinitionInputError : public std::runtime_error {
public:
    DefinitionInputError(const QString& file, int line, int column, const QString& message);
    QString Text() const { return m_text; }

private:
    QString m_text;
};

/// Makes `outPath` from the CSV text read from `csvName`. The header names columns of
/// `Table1` in any order and case; a missing column takes its empty or zero value; a cell that
/// is exactly \N (unquoted) is NULL. A questionnaire gets `QuestionnaireInfo.Version` unless
/// `version` is empty. The file appears whole or not at all.
void CreateDefinitionFile(const QString& outPath, const QString& csvName, const QString& csvText,
                          DefinitionKind kind, std::optional<double> version);

/// `Table1` of a definition file as CSV text, in the order of its rows, NULL as \N.
QString ExportDefinitionFile(const QString& path);

} // namespace corvane
