// Making definition files from comma-separated text and writing them back, for laboratories
// that prepare their experiments in a spreadsheet.
#pragma once

#include "definitions/definition_columns.h"

#include <QString>
#include <optional>
#include <stdexcept>
#include <vector>

namespace corvane {

/// A fault in the input, with the place it was found: "FILE:LINE:COLUMN: message".
class DefinitionInputError : public std::runtime_error {
public:
    DefinitionInputError(const QString& file, int line, int column, const QString& message);
    QString Text() const { return m_text; }

private:
    QString m_text;
};

/// How the columns that a CSV leaves out are filled.
enum class MissingColumns {
    TemplateDefaults, // as the template has them: answers and times written, rows numbered
    Empty,            // empty text, 0 or no: the file holds nothing but what the CSV says
};

/// A column the CSV left out, and what every row of the made file holds in it, in words.
struct FilledColumn {
    QString column;
    QString value;
};

/// What making a file from CSV found out on the way.
struct CreateReport {
    QChar separator = QLatin1Char(','); // ';' when the CSV was saved with semicolons
    std::vector<FilledColumn> filled;   // in the order of the kind's columns
};

/// Makes `outPath` from the CSV text read from `csvName`. The header names columns of
/// `Table1` in any order and case, separated by commas or, in the whole file, by semicolons
/// (where a number may then be written with a decimal comma); a missing column is filled as
/// `missing` says; a cell that is exactly \N (unquoted) is NULL. A questionnaire gets
/// `QuestionnaireInfo.Version` unless `version` is empty. The file appears whole or not at all.
CreateReport CreateDefinitionFile(const QString& outPath, const QString& csvName,
                                  const QString& csvText, DefinitionKind kind,
                                  std::optional<double> version,
                                  MissingColumns missing = MissingColumns::TemplateDefaults);

/// `Table1` of a definition file as CSV text, in the order of its rows, NULL as \N.
QString ExportDefinitionFile(const QString& path);

} // namespace corvane
