#include "engine/messages.h"

#include "definitions/number_reading.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QFile>
#include <QStringDecoder>
#include <optional>

namespace corvane {

namespace {

constexpr int kRecordLimit = 1000;

// Reads fields the way comma-separated records are read: a field ends at a comma or a line end,
// leading blanks are skipped, and a field in double quotes may hold commas.
class FieldReader {
public:
    explicit FieldReader(QString text) : m_text(std::move(text)) {}

    /// The next field; no value past the end of the text.
    std::optional<QString> Next() {
        while (m_at < m_text.size() &&
               (m_text.at(m_at) == QLatin1Char(' ') || m_text.at(m_at) == QLatin1Char('\t')))
            ++m_at;
        if (m_at >= m_text.size())
            return std::nullopt;
        QString field;
        if (m_text.at(m_at) == QLatin1Char('"')) {
            const qsizetype close = m_text.indexOf(QLatin1Char('"'), m_at + 1);
            const qsizetype end = close < 0 ? m_text.size() : close;
            field = m_text.mid(m_at + 1, end - m_at - 1);
            m_at = end + 1;
            while (m_at < m_text.size() && !IsSeparator(m_text.at(m_at)))
                ++m_at;
        } else {
            const qsizetype start = m_at;
            while (m_at < m_text.size() && !IsSeparator(m_text.at(m_at)))
                ++m_at;
            field = TrimBlanks(m_text.mid(start, m_at - start));
        }
        SkipSeparator();
        return field;
    }

private:
    static bool IsSeparator(QChar c) {
        return c == QLatin1Char(',') || c == QLatin1Char('\r') || c == QLatin1Char('\n');
    }
    void SkipSeparator() {
        if (m_at >= m_text.size())
            return;
        if (m_text.at(m_at) == QLatin1Char('\r') && m_at + 1 < m_text.size() &&
            m_text.at(m_at + 1) == QLatin1Char('\n'))
            ++m_at;
        ++m_at;
    }

    QString m_text;
    qsizetype m_at = 0;
};

struct PendingError {
    int number = 0;
    QString description;
};

std::optional<QString> ReadText(const QString& path) {
    const auto found = FindFile(path);
    if (!found)
        return std::nullopt;
    QFile file(*found);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    QStringDecoder decode(QStringDecoder::System);
    return decode(file.readAll());
}

// One file's records into the table. `required`: the end of the text doesn't finish it, only an
// empty record does, as the message file must end with one.
void ReadMessageFile(RunState& state, const QString& path, int fileNumber, bool required,
                     int& records, PendingError& pending) {
    const auto text = ReadText(path);
    if (!text) {
        if (required)
            pending = {ErrorNumber::FileNotFound,
                       CorvaneError::standardDescription(ErrorNumber::FileNotFound) +
                           QStringLiteral(": ") + path};
        return;
    }
    FieldReader reader(*text);
    // A read past the end leaves a field as it was, as a failed read of a record does.
    QString code = QStringLiteral("0");
    QString message;
    while (true) {
        if (const auto field = reader.Next())
            code = *field;
        else if (!required)
            return;
        if (TrimBlanks(code).isEmpty())
            return;
        if (const auto field = reader.Next())
            message = *field;
        reader.Next(); // the remark, for whoever edits the file
        const int slot = int(ReadNumber(code)) - 100;
        if (slot >= 1 && slot <= 25)
            state.Messages[std::size_t(slot)] = message;
        if (++records > kRecordLimit) {
            pending = {999, QStringLiteral("Loop%1 limit reached").arg(fileNumber)};
            return;
        }
    }
}

} // namespace

void LoadMessages(RunState& state, const QString& programFolder) {
    const QDir program(programFolder);
    int records = 0;
    PendingError pending;
    ReadMessageFile(state, program.filePath(QStringLiteral("styles/messages.txt")), 1, true,
                    records, pending);
    ReadMessageFile(state, program.filePath(QStringLiteral("styles/substitute.txt")), 2, false,
                    records, pending);
    ReadMessageFile(state, QDir(state.ExperimentFolder).filePath(QStringLiteral("substitute.txt")),
                    3, false, records, pending);
    if (pending.number != 0)
        state.Boxes().Show(MessageBox{ReportErrorTitle(),
                                      ReportErrorText(pending.number, pending.description),
                                      BoxIcon::Critical});
}

} // namespace corvane
