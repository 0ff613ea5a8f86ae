#include "output/syntax_text.h"

#include "output/output_common.h"

namespace corvane {

void SyntaxText::Tab(int column) {
    if (m_column > column)
        Line();
    if (m_column < column) {
        m_text += QString(column - m_column, QLatin1Char(' '));
        m_column = column;
    }
}

void SyntaxText::Write(const QString& text) {
    m_text += text;
    m_column += int(text.size());
}

void SyntaxText::Line(const QString& text) {
    m_text += text + kLineEnd;
    m_column = 1;
}

void WriteSyntaxHead(SyntaxText& text, DataOrganisation organisation, const QString& dataFile,
                     const QString& otherSyntax) {
    const bool byVariable = organisation == DataOrganisation::ByVariable;
    text.Line(QStringLiteral("* This file may be used to read the data in '") + dataFile +
              QStringLiteral("'."));
    text.Line(QStringLiteral("* Run this code in SPSS-PC and you can immediately begin analyses."));
    text.Line(QStringLiteral("*."));
    if (byVariable) {
        text.Line(QStringLiteral("* This data file is organized by variable name. Data for all "
                                 "variables are written"));
        text.Line(QStringLiteral("* here and the order is alphabetical. Variable names which are "
                                 "identical in different"));
        text.Line(QStringLiteral("* questionnaires in different conditions are assumed to be the "
                                 "same variable and will"));
        text.Line(QStringLiteral("* located in the same column in this data file.  A missing "
                                 "value (e.g., 99) will be"));
        text.Line(QStringLiteral("* assigned if a subject did not receive the variable in his or "
                                 "her condition.  To analyze"));
        text.Line(QStringLiteral("* the data organized by questionnaire rather than by variable "
                                 "name, use the file:"));
    } else {
        text.Line(QStringLiteral("* This data file is organized by questionnaire name. Data for "
                                 "all questionnaires are written"));
        text.Line(QStringLiteral("* here and the order of the questionnaires is alphabetical. "
                                 "Missing values (e.g., 99) are"));
        text.Line(QStringLiteral("* assigned if a subject did not receive a questionnaire in his "
                                 "or her condition.  To analyze"));
        text.Line(QStringLiteral("* the data organized by variable name rather than by "
                                 "questionnaire, use the file:"));
    }
    text.Line(QStringLiteral("* ") + otherSyntax + QLatin1Char('.'));
    text.Line(QStringLiteral("*. "));
    text.Line(QStringLiteral(
        "* Note that reaction times are represented by a 't' added to the corresponding."));
    text.Line(QStringLiteral("* variable names."));
    text.Line(QStringLiteral("*."));
    text.Line(QStringLiteral(
        "* Questions that gather multiple responses (e.g., thought listings) are represented."));
    text.Line(QStringLiteral("* by an incremental index appended to variable name (e.g., tlist1, "
                             "tlist2, tlist3, etc.)."));
    text.Line(QStringLiteral("*."));
    text.Line(QStringLiteral("* Notes for an SPSS-friendly input file:."));
    text.Line(QStringLiteral("*."));
    text.Line(QStringLiteral("* Be sure that your variable names do not exceed 8 characters (the "
                             "limit for SPSS)."));
    text.Line(QStringLiteral(
        "*   It is important to double check this because Corvane appends characters to."));
    text.Line(QStringLiteral("*   certain variable names (e.g., RTs, thought listings, thought "
                             "ratings).  If a variable."));
    text.Line(QStringLiteral(
        "*   name exceeds 8 characters, simply rename it to something that makes sense to you."));
    text.Line(byVariable ? QStringLiteral("* .") : QStringLiteral("*."));
    text.Line(QStringLiteral("* Be sure no variable names begin with a number."));
    // Equal names are one column when the data are organised by variable.
    if (!byVariable)
        text.Line(QStringLiteral("* Be sure that no two variable names are the same."));
    text.Line(QStringLiteral("*."));
    text.Line(
        QStringLiteral("* Current formatting is very general and can changed.  A * is used."));
    text.Line(QStringLiteral(
        "*     to indicate a number, and (A25) is used to indicate a character string."));
    text.Line(QStringLiteral(
        "*     of up to 25 letters/numbers.  The value 25 may be changed, from as low as 1."));
    text.Line(QStringLiteral(
        "*     to as high as 255 if you wish to allocate less or greater space, respectively."));
    text.Line(QStringLiteral("*."));
    text.Line();
    text.Line(QStringLiteral("data list file '") + dataFile + QStringLiteral("' free"));
    text.Write(QStringLiteral("   /"));
    const struct {
        int column;
        const char* field;
    } fields[] = {
        {5, "Subject (A25)"}, {25, "Cond (A25)"}, {45, "Exper (A50)"}, {65, "Inifile (A25)"}};
    for (const auto& field : fields) {
        text.Tab(field.column);
        text.Write(QLatin1String(field.field));
    }
    text.Line();
    text.Tab(5);
    text.Write(QStringLiteral("Date (A25)"));
    text.Tab(25);
    text.Write(QStringLiteral("Time (A25)"));
    text.Line();
}

void WriteSyntaxClosing(SyntaxText& text) {
    text.Line(QStringLiteral("."));
    text.Line();
    text.Line(QStringLiteral("* A sample command."));
    text.Line(QStringLiteral("frequencies/variables cond date."));
    text.Line();
    text.Line();
}

} // namespace corvane
