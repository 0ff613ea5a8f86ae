#include "output/questionnaire_syntax.h"

#include "output/data_file.h"
#include "output/output_common.h"
#include "output/pspp_syntax.h"
#include "output/syntax_text.h"
#include "state/run_state.h"

#include <QDir>

namespace corvane {

namespace {

// Fields stand at four columns, 20 apart.
int FieldColumn(int counter) {
    return 5 + 20 * (counter - 1);
}

struct Declarations {
    SyntaxText syntax;
    QString header; // the .csv header, when the file is still empty
};

// The variable list, in the order the record by questionnaire writes its values.
void DeclareQuestionnaire(const RunState& state, int q, bool writeHeader, Declarations& out) {
    SyntaxText& syntax = out.syntax;
    syntax.Tab(5);
    syntax.Line(QStringLiteral("que") + QString::number(q) + QStringLiteral(" (A25) "));
    if (writeHeader)
        out.header += QStringLiteral(",que") + QString::number(q);

    const int items = ItemsOf(state, q);
    // Every fourth field ends its line, except within the last questionnaire where only the
    // last variable of an item does; a line left open is ended by the next field's tab.
    auto endLine = [&](int counter, int i, int k) {
        if (counter == 4 &&
            (q != state.NumQuestionnaires || i == items || k == VariablesOf(state, q, i)))
            syntax.Line();
    };

    int counter = 0;
    for (int i = 1; i <= items; ++i) {
        for (int k = 1; k <= VariablesOf(state, q, i); ++k) {
            const auto column = ColumnOf(state, q, i, k);
            if (!column || !IsTrue(column->writeData))
                continue;
            ++counter;
            syntax.Tab(FieldColumn(counter));
            if (column->type == 0) {
                syntax.Write(column->name + QStringLiteral(" * "));
                if (writeHeader)
                    out.header += QLatin1Char(',') + column->name;
            } else if (column->type == 1) {
                syntax.Write(column->name + QStringLiteral(" (A50) "));
                if (writeHeader)
                    out.header += QLatin1Char(',') + column->name;
            }
            endLine(counter, i, k);
            if (counter == 4)
                counter = 0;
        }
    }

    counter = 0;
    for (int i = 1; i <= items; ++i) {
        for (int k = 1; k <= VariablesOf(state, q, i); ++k) {
            const auto column = ColumnOf(state, q, i, k);
            if (!column || !IsTrue(column->writeRT))
                continue;
            ++counter;
            syntax.Tab(FieldColumn(counter));
            syntax.Write(column->name + QStringLiteral("t * "));
            if (writeHeader)
                out.header += QLatin1Char(',') + column->name + QLatin1Char('t');
            endLine(counter, i, k);
            if (counter == 4)
                counter = 0;
        }
    }
}

Declarations Declare(const RunState& state, const QString& folder, const QString& base,
                     bool writeHeader) {
    Declarations out;
    const QString path = folder + QLatin1Char('/') + base;
    WriteSyntaxHead(out.syntax, DataOrganisation::ByQuestionnaire, path + QStringLiteral(".txt"),
                    path + QStringLiteral(" (by variable).sps"));
    if (writeHeader)
        out.header = QStringLiteral("Subject,Cond,Exper,Inifile,Date,Time");
    for (int q = 1; q <= state.NumQuestionnaires; ++q)
        DeclareQuestionnaire(state, q, writeHeader, out);
    WriteSyntaxClosing(out.syntax);
    return out;
}

bool Write(RunState& state, const DataOutputSettings& settings) {
    // The by-variable folder is made now; its files come at the end of a run.
    {
        const QString working = QDir::currentPath();
        EnterFolder(DataFolder(state, QStringLiteral("byvariablename")));
        QDir::setCurrent(working);
    }
    const QString folder = DataFolder(state, QStringLiteral("byquestionnaire"));
    const QString& fileName = state.ExperimentFileName;
    QString base = fileName.left(qMax(qsizetype(0), fileName.size() - 4));
    base.replace(QLatin1Char(' '), QLatin1Char('_'));
    base += FileNameCode(settings.machineCode);
    const QDir dir(folder);
    const QString csvPath = dir.filePath(base + QStringLiteral(".csv"));
    const QString spsPath = dir.filePath(base + QStringLiteral(".sps"));

    if (!EnterFolder(folder)) {
        state.Boxes().Show(MessageBox{
            QStringLiteral("Not a good thing."),
            QStringLiteral("Unable to create or access data folders.  If running experiment off "
                           "of a CD-ROM, specify an alternate data folder in Preferences."),
            BoxIcon::Information});
        // Without the folder the files have nowhere to go; the load goes on.
        return false;
    }

    const QString header = QStringLiteral("this experiment's column header");
    const std::optional<bool> headerNeeded =
        HeaderNeeded(state, csvPath, base + QStringLiteral(".csv"));
    if (!headerNeeded)
        return false;
    const bool writeHeader = *headerNeeded;
    AppendFile csv(csvPath);
    switch (csv.Open()) {
    case FileFault::InUse:
        ReportInUse(state, base + QStringLiteral(".csv"), false);
        return false;
    case FileFault::Failed:
        ReportOpenFault(state, csvPath, csv.Reason(), header);
        return false;
    case FileFault::None:
        break;
    }

    const Declarations declared = Declare(state, folder, base, writeHeader);
    bool written = true;
    QString reason;
    switch (RewriteFile(spsPath, EncodeForFile(declared.syntax.Text()), &reason)) {
    case FileFault::InUse:
        ReportInUse(state, base + QStringLiteral(".sps"), false);
        // Neither file gets anything, as when the syntax file can't be opened at all.
        return false;
    case FileFault::Failed:
        ReportWriteFault(state, spsPath, reason, QStringLiteral("the syntax"), false);
        written = false;
        break;
    case FileFault::None:
        WritePsppSyntax(state, spsPath, declared.syntax.Text());
        break;
    }
    // Its line end also ends the row that the last run left open.
    if (csv.AppendHead(EncodeForFile(declared.header)) != FileFault::None) {
        ReportWriteFault(state, csvPath, csv.Reason(), header, csv.LeftPartial());
        written = false;
    }
    return csv.Close() && written;
}

} // namespace

bool WriteQuestionnaireSyntax(RunState& state, const DataOutputSettings& settings) {
    bool written = false;
    try {
        written = Write(state, settings);
    } catch (const std::exception& error) {
        state.Boxes().Show(
            MessageBox{state.MessageTitle(),
                       QStringLiteral("Corvane could not write the syntax of this experiment: ") +
                           QString::fromLocal8Bit(error.what()),
                       BoxIcon::Warning});
    }
    // Whatever happened, the experiment's folder is where the load goes on.
    if (!state.ExperimentFolder.isEmpty())
        EnterFolder(state.ExperimentFolder);
    return written;
}

} // namespace corvane
