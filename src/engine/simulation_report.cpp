#include "engine/simulation_report.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

namespace corvane {

namespace {

QString Html(const QString& text) {
    return text.toHtmlEscaped();
}

int Ended(const SimulationTally& tally) {
    return int(std::count_if(tally.participants.begin(), tally.participants.end(),
                             [](const ParticipantTally& p) { return p.stopReason.isEmpty(); }));
}

// Bars of participants who reached each item, in question-number order.
QString Chart(const QuestionnaireTally& q, int participants) {
    constexpr int kBar = 26;
    constexpr int kHeight = 120;
    constexpr int kLabels = 90;
    const int width = std::max(1, int(q.items.size())) * kBar + 40;
    QString svg = QStringLiteral("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%1\" "
                                 "height=\"%2\" role=\"img\">")
                      .arg(width)
                      .arg(kHeight + kLabels + 20);
    svg += QStringLiteral("<line x1=\"30\" y1=\"%1\" x2=\"%2\" y2=\"%1\" stroke=\"#444\"/>")
               .arg(kHeight + 10)
               .arg(width);
    svg += QStringLiteral("<text x=\"0\" y=\"18\" font-size=\"10\">%1</text>").arg(participants);
    svg += QStringLiteral("<text x=\"0\" y=\"%1\" font-size=\"10\">0</text>").arg(kHeight + 10);
    for (int i = 0; i < q.items.size(); ++i) {
        const int count = q.reached.value(q.items.at(i));
        const int h = participants > 0 ? count * kHeight / participants : 0;
        const int x = 34 + i * kBar;
        svg += QStringLiteral("<rect x=\"%1\" y=\"%2\" width=\"%3\" height=\"%4\" fill=\"%5\">"
                              "<title>%6: %7</title></rect>")
                   .arg(x)
                   .arg(kHeight + 10 - h)
                   .arg(kBar - 6)
                   .arg(h)
                   .arg(count == 0 ? QStringLiteral("#c0392b") : QStringLiteral("#2e86c1"))
                   .arg(Html(q.items.at(i)))
                   .arg(count);
        svg += QStringLiteral("<text x=\"%1\" y=\"%2\" font-size=\"10\" transform=\"rotate(60 "
                              "%1 %2)\">%3</text>")
                   .arg(x + 4)
                   .arg(kHeight + 22)
                   .arg(Html(q.items.at(i)));
    }
    return svg + QStringLiteral("</svg>");
}

QJsonObject Json(const SimulationTally& tally) {
    QJsonObject root;
    root[QStringLiteral("experiment")] = tally.experiment;
    root[QStringLiteral("seed")] = QString::number(tally.seed);
    root[QStringLiteral("conditions")] = QJsonArray::fromStringList(tally.conditions);
    root[QStringLiteral("seconds")] = tally.seconds;
    root[QStringLiteral("participants")] = int(tally.participants.size());
    root[QStringLiteral("participantsEnded")] = Ended(tally);
    QJsonObject questionnaires;
    for (auto it = tally.questionnaires.cbegin(); it != tally.questionnaires.cend(); ++it) {
        const QuestionnaireTally& q = it.value();
        QJsonObject one;
        QJsonObject reached;
        QJsonArray never;
        for (const QString& item : q.items) {
            reached[item] = q.reached.value(item);
            if (q.reached.value(item) == 0)
                never.append(item);
        }
        one[QStringLiteral("items")] = QJsonArray::fromStringList(q.items);
        one[QStringLiteral("reached")] = reached;
        one[QStringLiteral("neverReached")] = never;
        QJsonArray skips;
        for (const SkipTally& skip : q.skips)
            skips.append(QJsonObject{{QStringLiteral("from"), skip.from},
                                     {QStringLiteral("to"), skip.to},
                                     {QStringLiteral("taken"), skip.taken},
                                     {QStringLiteral("backwards"), skip.backwards},
                                     {QStringLiteral("unknownTarget"), skip.unknown}});
        one[QStringLiteral("skips")] = skips;
        QJsonObject byCondition;
        for (auto c = q.presented.cbegin(); c != q.presented.cend(); ++c) {
            QJsonObject counts;
            for (auto v = c.value().cbegin(); v != c.value().cend(); ++v)
                counts[v.key()] = v.value();
            byCondition[c.key()] = counts;
        }
        one[QStringLiteral("presentedByCondition")] = byCondition;
        QJsonObject limits;
        for (auto l = q.timeLimits.cbegin(); l != q.timeLimits.cend(); ++l)
            limits[l.key()] = l.value();
        one[QStringLiteral("timeLimitsFired")] = limits;
        questionnaires[it.key()] = one;
    }
    root[QStringLiteral("questionnaires")] = questionnaires;
    QJsonObject messages;
    for (auto it = tally.messages.cbegin(); it != tally.messages.cend(); ++it)
        messages[it.key()] = it.value();
    root[QStringLiteral("messages")] = messages;
    QJsonObject notSimulated;
    for (auto it = tally.notSimulated.cbegin(); it != tally.notSimulated.cend(); ++it)
        notSimulated[it.key()] = it.value();
    root[QStringLiteral("notSimulated")] = notSimulated;
    QJsonArray data;
    for (const DataFileTally& file : tally.dataFiles) {
        QJsonArray bad;
        for (int line : file.badRows)
            bad.append(line);
        data.append(QJsonObject{{QStringLiteral("file"), file.file},
                                {QStringLiteral("columns"), file.columns},
                                {QStringLiteral("header"), QJsonArray::fromStringList(file.header)},
                                {QStringLiteral("rows"), file.rows},
                                {QStringLiteral("rowsNotMatchingHeader"), bad}});
    }
    root[QStringLiteral("dataFiles")] = data;
    QJsonArray syntax;
    for (const SyntaxTally& file : tally.syntaxFiles)
        syntax.append(
            QJsonObject{{QStringLiteral("file"), file.file},
                        {QStringLiteral("checkedWithPspp"), file.checked},
                        {QStringLiteral("problems"), QJsonArray::fromStringList(file.problems)}});
    root[QStringLiteral("syntaxFiles")] = syntax;
    root[QStringLiteral("findings")] = QJsonArray::fromStringList(SimulationFindings(tally));
    return root;
}

QString Table(const QStringList& head, const QList<QStringList>& rows) {
    QString html = QStringLiteral("<table><tr>");
    for (const QString& h : head)
        html += QStringLiteral("<th>") + Html(h) + QStringLiteral("</th>");
    html += QStringLiteral("</tr>");
    for (const QStringList& row : rows) {
        html += QStringLiteral("<tr>");
        for (const QString& cell : row)
            html += QStringLiteral("<td>") + Html(cell) + QStringLiteral("</td>");
        html += QStringLiteral("</tr>");
    }
    return html + QStringLiteral("</table>");
}

QString Page(const SimulationTally& tally) {
    const int participants = int(tally.participants.size());
    QString html =
        QStringLiteral("<!DOCTYPE html><html><head><meta charset=\"utf-8\"><title>Simulation of ");
    html += Html(tally.experiment) +
            QStringLiteral(
                "</title><style>body{font-family:sans-serif;margin:1.5em;max-width:70em}"
                "table{border-collapse:collapse;margin:.5em 0 1em}td,th{border:1px solid #bbb;"
                "padding:2px 8px;text-align:left;font-size:90%}th{background:#eee}"
                ".bad{color:#c0392b}section{border-top:1px solid #ccc;margin-top:1em}</style>"
                "</head><body>");
    html += QStringLiteral("<h1>Simulation of ") + Html(tally.experiment) + QStringLiteral("</h1>");
    html += QStringLiteral("<p>%1 simulated participants (seed %2) in the conditions %3; %4 "
                           "ended their run on their own. %5 s.</p>")
                .arg(participants)
                .arg(tally.seed)
                .arg(Html(tally.conditions.join(QStringLiteral(", "))))
                .arg(Ended(tally))
                .arg(tally.seconds, 0, 'f', 1);
    const QStringList findings = SimulationFindings(tally);
    html += QStringLiteral("<h2>Findings</h2>");
    if (findings.isEmpty())
        html += QStringLiteral("<p>Nothing calls for attention.</p>");
    else {
        html += QStringLiteral("<ul>");
        for (const QString& line : findings)
            html += QStringLiteral("<li class=\"bad\">") + Html(line) + QStringLiteral("</li>");
        html += QStringLiteral("</ul>");
    }
    for (auto it = tally.questionnaires.cbegin(); it != tally.questionnaires.cend(); ++it) {
        const QuestionnaireTally& q = it.value();
        html += QStringLiteral("<section><h2>") + Html(it.key()) + QStringLiteral("</h2>");
        html += QStringLiteral("<p>Items reached, from the order log of the run data "
                               "(red: never reached):</p>") +
                Chart(q, participants);
        QList<QStringList> skipRows;
        for (const SkipTally& skip : q.skips)
            skipRows << QStringList{skip.from, skip.to, QString::number(skip.taken),
                                    skip.backwards ? QStringLiteral("jumps back: runs to the end")
                                    : skip.unknown ? QStringLiteral("names no item")
                                    : skip.taken == 0 ? QStringLiteral("never taken")
                                                      : QString()};
        html += QStringLiteral("<h3>Skips</h3>") +
                (skipRows.isEmpty() ? QStringLiteral("<p>None defined.</p>")
                                    : Table({QStringLiteral("from"), QStringLiteral("to"),
                                             QStringLiteral("taken"), QStringLiteral("note")},
                                            skipRows));
        QList<QStringList> byCondition;
        for (auto c = q.presented.cbegin(); c != q.presented.cend(); ++c) {
            QStringList row{c.key()};
            for (const QString& item : q.items)
                row << QString::number(c.value().value(item));
            byCondition << row;
        }
        html += QStringLiteral("<h3>Items presented by condition</h3>") +
                Table(QStringList{QStringLiteral("condition")} + q.items, byCondition);
        QList<QStringList> limits;
        for (auto l = q.timeLimits.cbegin(); l != q.timeLimits.cend(); ++l)
            limits << QStringList{l.key(), QString::number(l.value())};
        if (!limits.isEmpty())
            html += QStringLiteral("<h3>Time limits fired</h3>") +
                    Table({QStringLiteral("item"), QStringLiteral("times")}, limits);
        html += QStringLiteral("</section>");
    }
    QList<QStringList> messageRows;
    for (auto it = tally.messages.cbegin(); it != tally.messages.cend(); ++it)
        messageRows << QStringList{it.key(), QString::number(it.value())};
    html += QStringLiteral("<section><h2>Messages shown</h2>") +
            Table({QStringLiteral("message"), QStringLiteral("times")}, messageRows) +
            QStringLiteral("</section>");
    QList<QStringList> dataRows;
    for (const DataFileTally& file : tally.dataFiles) {
        QStringList bad;
        for (int line : file.badRows)
            bad << QString::number(line);
        dataRows << QStringList{
            file.file, QString::number(file.columns), QString::number(file.rows),
            bad.isEmpty() ? QStringLiteral("all match the header")
                          : QStringLiteral("lines ") + bad.join(QStringLiteral(", "))};
    }
    html += QStringLiteral("<section><h2>Data files</h2>") +
            Table({QStringLiteral("file"), QStringLiteral("columns"), QStringLiteral("rows"),
                   QStringLiteral("cell counts")},
                  dataRows);
    QList<QStringList> syntaxRows;
    for (const SyntaxTally& file : tally.syntaxFiles)
        syntaxRows << QStringList{
            file.file, !file.checked ? QStringLiteral("not checked: PSPP is not installed")
                       : file.problems.isEmpty() ? QStringLiteral("PSPP reads it")
                                                 : file.problems.join(QLatin1Char('\n'))};
    html += QStringLiteral("<h2>Statistics syntax</h2>") +
            Table({QStringLiteral("file"), QStringLiteral("PSPP")}, syntaxRows) +
            QStringLiteral("</section></body></html>\n");
    return html;
}

bool WriteText(const QString& path, const QByteArray& bytes, QString* problem) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate) ||
        file.write(bytes) != bytes.size()) {
        *problem = path + QStringLiteral(": the report can not be written (") + file.errorString() +
                   QLatin1Char(')');
        return false;
    }
    return true;
}

} // namespace

QStringList SimulationFindings(const SimulationTally& tally) {
    QStringList lines;
    for (auto it = tally.questionnaires.cbegin(); it != tally.questionnaires.cend(); ++it) {
        const QuestionnaireTally& q = it.value();
        for (const QString& item : q.items)
            if (q.reached.value(item) == 0)
                lines << it.key() + QStringLiteral(": item '") + item +
                             QStringLiteral("' was never reached");
        for (const SkipTally& skip : q.skips) {
            if (skip.backwards)
                lines << it.key() + QStringLiteral(": skip loop: '") + skip.from +
                             QStringLiteral("' jumps back to '") + skip.to +
                             QStringLiteral("', which comes before it; a jump only goes "
                                            "forward, so the walk runs to the end of the "
                                            "questionnaire instead of looping");
            else if (skip.unknown)
                lines << it.key() + QStringLiteral(": the skip of '") + skip.from +
                             QStringLiteral("' names '") + skip.to +
                             QStringLiteral("', which is no item; the walk runs to the end");
            else if (skip.taken == 0)
                lines << it.key() + QStringLiteral(": the skip from '") + skip.from +
                             QStringLiteral("' to '") + skip.to +
                             QStringLiteral("' was never taken");
        }
    }
    for (const QString& loop : tally.loops)
        lines << QStringLiteral("loop: ") + loop;
    for (auto it = tally.notSimulated.cbegin(); it != tally.notSimulated.cend(); ++it)
        lines << QStringLiteral("not simulated: items of the type '") + it.key() +
                     QStringLiteral("' (met by %1 participants, whose runs were ended there)")
                         .arg(it.value());
    for (auto it = tally.stuck.cbegin(); it != tally.stuck.cend(); ++it)
        lines
            << QStringLiteral("the item ") + it.key() +
                   QStringLiteral(" took none of the simulated answers (%1 times)").arg(it.value());
    for (const DataFileTally& file : tally.dataFiles)
        if (!file.badRows.isEmpty())
            lines << file.file + QStringLiteral(": %1 rows whose cell count differs from the "
                                                "header's %2")
                                     .arg(file.badRows.size())
                                     .arg(file.columns);
    for (const SyntaxTally& file : tally.syntaxFiles)
        for (const QString& problem : file.problems)
            lines << QStringLiteral("PSPP on ") + file.file + QStringLiteral(": ") + problem;
    return lines;
}

QString SimulationSummary(const SimulationTally& tally) {
    QString text = QStringLiteral("corvane simulate: %1 participants, %2 ended on their own, %3 s")
                       .arg(tally.participants.size())
                       .arg(Ended(tally))
                       .arg(tally.seconds, 0, 'f', 1);
    for (const QString& line : SimulationFindings(tally))
        text += QStringLiteral("\n  ") + line;
    return text;
}

bool WriteSimulationReport(const SimulationTally& tally, const QString& htmlPath,
                           QString* problem) {
    const QFileInfo html(htmlPath);
    const QString jsonPath =
        html.path() + QLatin1Char('/') + html.completeBaseName() + QStringLiteral(".json");
    return WriteText(htmlPath, Page(tally).toUtf8(), problem) &&
           WriteText(jsonPath, QJsonDocument(Json(tally)).toJson(), problem);
}

} // namespace corvane
