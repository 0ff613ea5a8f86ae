#include "analysis/tidy_outputs.h"

#include "definitions/csv.h"

#include <QRegularExpression>

namespace corvane {

namespace {

QString LabelList(const CodebookEntry& entry) {
    QStringList pairs;
    for (const auto& [code, label] : entry.valueLabels)
        pairs << code + QStringLiteral(" = ") + label;
    return pairs.join(QStringLiteral("; "));
}

QString ValueType(const CodebookEntry& entry) {
    if (!entry.hasValue)
        return QStringLiteral("none");
    return entry.item && entry.item->text ? QStringLiteral("text") : QStringLiteral("number");
}

QString TimeColumn(const CodebookEntry& entry) {
    return entry.hasTime ? entry.variable + QStringLiteral("t") : QString();
}

QString OneLine(QString text) {
    text.replace(QRegularExpression(QStringLiteral("\\s+")), QStringLiteral(" "));
    return text.trimmed();
}

QString MarkdownCell(const QString& text) {
    QString cell = OneLine(text);
    cell.replace(QLatin1Char('|'), QStringLiteral("\\|"));
    return cell;
}

// A string for R's parser whatever the locale it runs in: non-ASCII letters as \u escapes.
QString RString(const QString& text) {
    QString out = QStringLiteral("\"");
    for (const QChar c : text) {
        if (c == QLatin1Char('\\') || c == QLatin1Char('"'))
            out += QLatin1Char('\\') + QString(c);
        else if (c == QLatin1Char('\n'))
            out += QStringLiteral("\\n");
        else if (c == QLatin1Char('\r'))
            out += QStringLiteral("\\r");
        else if (c.unicode() < 0x20 || c.unicode() > 0x7e)
            out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
        else
            out += c;
    }
    return out + QLatin1Char('"');
}

QString RVector(const QStringList& items) {
    QStringList quoted;
    for (const QString& item : items)
        quoted << RString(item);
    return QStringLiteral("c(") + quoted.join(QStringLiteral(", ")) + QLatin1Char(')');
}

QString RName(const QString& base) {
    QString name = base;
    name.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9_.]")), QStringLiteral("_"));
    if (name.isEmpty() || !name.front().isLetter())
        name.prepend(QLatin1Char('x'));
    return name;
}

} // namespace

const QStringList& LongColumns() {
    static const QStringList columns = {
        QStringLiteral("subject"),       QStringLiteral("condition"), QStringLiteral("run"),
        QStringLiteral("date"),          QStringLiteral("time"),      QStringLiteral("station"),
        QStringLiteral("questionnaire"), QStringLiteral("position"),  QStringLiteral("variable"),
        QStringLiteral("value"),         QStringLiteral("rt_ms"),     QStringLiteral("item_type")};
    return columns;
}

QString CodebookCsv(const std::vector<CodebookEntry>& entries) {
    QString out = CsvLine(
        {QStringLiteral("variable"), QStringLiteral("questionnaire"), QStringLiteral("item_number"),
         QStringLiteral("item_type"), QStringLiteral("item_wording"), QStringLiteral("value_type"),
         QStringLiteral("value_labels"), QStringLiteral("meaning"), QStringLiteral("missing_code"),
         QStringLiteral("rt_column"), QStringLiteral("rt_unit")});
    for (const CodebookEntry& entry : entries) {
        out += CsvLine({entry.variable, entry.questionnaire,
                        entry.item ? QString::number(entry.item->number) : QString(),
                        entry.item ? entry.item->type : QString(),
                        entry.item ? OneLine(entry.item->wording) : QString(), ValueType(entry),
                        LabelList(entry), entry.meaning, kMissingCode, TimeColumn(entry),
                        entry.hasTime ? QStringLiteral("ms") : QString()});
    }
    return out;
}

QString CodebookMarkdown(const QString& experiment, const std::vector<CodebookEntry>& entries) {
    QString out = QStringLiteral("# Codebook of ") + experiment + QStringLiteral("\n\n");
    out += QStringLiteral(
        "One row of the long table per participant, run and variable. `value` is the answer as "
        "the data files hold it; 99 there means no response (an answer of 99 reads the same). "
        "`rt_ms` is the reaction time in milliseconds, empty where the data files have 99 (no "
        "time). `position` is the place at which the item was shown in its questionnaire, empty "
        "when it wasn't shown or the order log has no line for it.\n\n");
    out += QStringLiteral("| Variable | Questionnaire | Item | Type | Wording | Value | Codes | "
                          "Meaning | RT column (ms) |\n");
    out += QStringLiteral("|---|---|---|---|---|---|---|---|---|\n");
    for (const CodebookEntry& entry : entries) {
        const QStringList cells = {entry.variable,
                                   entry.questionnaire,
                                   entry.item ? QString::number(entry.item->number) : QString(),
                                   entry.item ? entry.item->type : QString(),
                                   entry.item ? entry.item->wording : QString(),
                                   ValueType(entry),
                                   LabelList(entry),
                                   entry.meaning,
                                   TimeColumn(entry)};
        QStringList escaped;
        for (const QString& cell : cells)
            escaped << MarkdownCell(cell);
        out += QStringLiteral("| ") + escaped.join(QStringLiteral(" | ")) + QStringLiteral(" |\n");
    }
    return out;
}

QString ReadingScript(const QString& base, const QString& longFile,
                      const std::vector<CodebookEntry>& entries) {
    QStringList labelQuestionnaire, labelVariable, labelCode, labelText, numeric;
    for (const CodebookEntry& entry : entries) {
        for (const auto& [code, label] : entry.valueLabels) {
            labelQuestionnaire << entry.questionnaire;
            labelVariable << entry.variable;
            labelCode << code;
            labelText << label;
        }
        if (ValueType(entry) == QLatin1String("number"))
            numeric << entry.questionnaire + QLatin1Char('/') + entry.variable;
    }
    const QString table = RName(base) + QStringLiteral("_long");
    QString s;
    s += QStringLiteral("# Reads %1 (beside this script) into the data frame %2: one row per\n"
                        "# participant, run and variable. value_label holds the codebook's "
                        "labels as a factor,\n# value_number the numeric answers, rt_ms the "
                        "reaction times in ms (NA: none).\n# Writes nothing.\n")
             .arg(longFile, table);
    s += QStringLiteral(
        "corvane_folder <- local({\n"
        "  for (i in rev(seq_len(sys.nframe()))) {\n"
        "    f <- sys.frame(i)$ofile\n"
        "    if (!is.null(f)) return(dirname(normalizePath(f)))\n"
        "  }\n"
        "  a <- grep(\"^--file=\", commandArgs(FALSE), value = TRUE)\n"
        "  if (length(a)) dirname(normalizePath(sub(\"^--file=\", \"\", a[1]))) else getwd()\n"
        "})\n");
    s += table + QStringLiteral(" <- read.csv(file.path(corvane_folder, ") + RString(longFile) +
         QStringLiteral(
             "),\n  fileEncoding = \"UTF-8\", na.strings = \"\", stringsAsFactors = FALSE,\n"
             "  colClasses = c(subject = \"character\", condition = \"character\", "
             "run = \"integer\",\n    date = \"character\", time = \"character\", "
             "station = \"character\",\n    questionnaire = \"character\", position = "
             "\"integer\", variable = \"character\",\n    value = \"character\", rt_ms = "
             "\"numeric\", item_type = \"character\"))\n");
    s += QStringLiteral("local({\n  labels <- data.frame(questionnaire = ") +
         RVector(labelQuestionnaire) + QStringLiteral(",\n    variable = ") +
         RVector(labelVariable) + QStringLiteral(",\n    code = ") + RVector(labelCode) +
         QStringLiteral(",\n    label = ") + RVector(labelText) +
         QStringLiteral(", stringsAsFactors = FALSE)\n  numeric <- ") + RVector(numeric) +
         QStringLiteral("\n  d <- ") + table + QStringLiteral("\n");
    s += QStringLiteral(
        "  key <- paste(d$questionnaire, d$variable, d$value, sep = \"\\r\")\n"
        "  at <- match(key, paste(labels$questionnaire, labels$variable, labels$code, sep = "
        "\"\\r\"))\n"
        "  d$value_label <- factor(labels$label[at], levels = unique(labels$label))\n"
        "  is_number <- paste(d$questionnaire, d$variable, sep = \"/\") %in% numeric & d$value != "
        "\"99\"\n"
        "  d$value_number <- ifelse(is_number, suppressWarnings(as.numeric(d$value)), NA_real_)\n"
        "  for (column in c(\"condition\", \"station\", \"questionnaire\", \"variable\", "
        "\"item_type\"))\n"
        "    d[[column]] <- factor(d[[column]])\n");
    s += QStringLiteral("  ") + table + QStringLiteral(" <<- d\n})\n");
    return s;
}

} // namespace corvane
