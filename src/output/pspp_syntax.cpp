#include "output/pspp_syntax.h"

#include "output/data_file.h"
#include "output/output_common.h"

#include <QRegularExpression>
#include <QStringList>

namespace corvane {

namespace {

// Wide enough for any path or typed answer that the data files hold.
constexpr int kStringWidth = 1024;
constexpr int kLineWidth = 78;

struct Field {
    QString name;
    bool numeric = false;
};

struct DataList {
    QString file;
    QList<Field> fields;
};

// The "data list" command of a Corvane syntax text: the file it reads and its fields in order.
DataList ReadDataList(const QString& syntax) {
    DataList list;
    const qsizetype start = syntax.indexOf(QLatin1String("\ndata list file '"));
    if (start < 0)
        return list;
    const qsizetype fileStart = syntax.indexOf(QLatin1Char('\''), start) + 1;
    const qsizetype fileEnd = syntax.indexOf(QLatin1String("' free"), fileStart);
    if (fileEnd < 0)
        return list;
    list.file = syntax.mid(fileStart, fileEnd - fileStart);
    // The command ends with the first " ." or a line that is "." alone.
    static const QRegularExpression end(QStringLiteral("(^|\\s)\\.\\s*(\\r?\\n|$)"),
                                        QRegularExpression::MultilineOption);
    const QRegularExpressionMatch closing = end.match(syntax, fileEnd);
    const qsizetype bodyEnd = closing.hasMatch() ? closing.capturedStart() : syntax.size();
    const QString body = syntax.mid(fileEnd, bodyEnd - fileEnd);
    static const QRegularExpression field(QStringLiteral("(\\S+)\\s+(\\*|\\(A\\d+\\))"));
    for (auto it = field.globalMatch(body); it.hasNext();) {
        const QRegularExpressionMatch match = it.next();
        QString name = match.captured(1);
        if (name.startsWith(QLatin1Char('/')))
            name.remove(0, 1);
        if (!name.isEmpty())
            list.fields.append({name, match.captured(2) == QLatin1String("*")});
    }
    return list;
}

// Words laid out after `lead`, on lines no wider than the page, the command ended by `end`.
QString Wrapped(const QString& lead, const QStringList& words, const QString& end) {
    QString text = lead;
    int column = int(lead.size());
    for (const QString& word : words) {
        if (column + 1 + word.size() > kLineWidth) {
            text += QStringLiteral("\r\n   ");
            column = 3;
        }
        text += QLatin1Char(' ') + word;
        column += 1 + int(word.size());
    }
    return text + end + QStringLiteral("\r\n");
}

} // namespace

QString PsppSyntax(const QString& syntax) {
    const DataList list = ReadDataList(syntax);
    QStringList declared;
    QStringList numeric;
    for (const Field& field : list.fields) {
        declared << field.name + (field.numeric ? QStringLiteral(" (F8.0)")
                                                : QStringLiteral(" (A%1)").arg(kStringWidth));
        if (field.numeric)
            numeric << field.name;
    }
    QString text =
        QStringLiteral(
            "* Reads '%1' in GNU PSPP.\r\n"
            "* Responses and reaction times that are missing are written as 99, declared "
            "missing\r\n"
            "* below; a reaction time of exactly 99 ms is therefore left out as well.\r\n\r\n")
            .arg(list.file);
    text += QStringLiteral("DATA LIST FILE='%1' FREE\r\n").arg(list.file);
    text += Wrapped(QStringLiteral("   /"), declared, QStringLiteral("."));
    if (!numeric.isEmpty()) {
        text += Wrapped(QStringLiteral("MISSING VALUES"), numeric, QStringLiteral(" (99)."));
        text += QStringLiteral("\r\n* Sample commands.\r\nFREQUENCIES /VARIABLES=Cond.\r\n");
        text += Wrapped(QStringLiteral("DESCRIPTIVES /VARIABLES="), numeric, QStringLiteral("."));
    } else {
        text += QStringLiteral("\r\n* A sample command.\r\nFREQUENCIES /VARIABLES=Cond.\r\n");
    }
    return text;
}

QString PsppSyntaxPath(const QString& spsPath) {
    return spsPath.left(spsPath.size() - 4) + QStringLiteral("_pspp.sps");
}

void WritePsppSyntax(RunState& state, const QString& spsPath, const QString& syntax) {
    const QString path = PsppSyntaxPath(spsPath);
    QString reason;
    if (RewriteFile(path, EncodeForFile(PsppSyntax(syntax)), &reason) != FileFault::None)
        ReportWriteFault(state, path, reason, QStringLiteral("the PSPP syntax"), false);
}

} // namespace corvane
