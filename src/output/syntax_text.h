// The text of the statistics syntax files: lines laid out with a print tab, and the comments at
// their head that both organisations of the data share.
#pragma once

#include <QString>

namespace corvane {

/// Text written as to a printer: a field is placed at a column counted from 1, and a field
/// whose column the line has already passed goes to that column of the next line.
class SyntaxText {
public:
    /// Moves to column `column`, on the next line when this one has gone past it.
    void Tab(int column);
    /// Writes the text where the line stands.
    void Write(const QString& text);
    /// Writes the text and ends the line.
    void Line(const QString& text = QString());

    const QString& Text() const { return m_text; }

private:
    QString m_text;
    int m_column = 1;
};

/// How the data file that a syntax file reads is organised.
enum class DataOrganisation { ByQuestionnaire, ByVariable };

/// The comments and the "data list" command that open a syntax file, with the fixed fields of
/// every record. `dataFile` is the data file read, as a full path; `otherSyntax` the syntax
/// file of the other organisation that the comments point to.
void WriteSyntaxHead(SyntaxText& text, DataOrganisation organisation, const QString& dataFile,
                     const QString& otherSyntax);

/// The closing point and the sample command.
void WriteSyntaxClosing(SyntaxText& text);

} // namespace corvane
