#include "engine/autostart.h"

#include "definitions/number_reading.h"
#include "state/error.h"
#include "state/helpers.h"
#include "state/run_state.h"
#include "state/text.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QSaveFile>
#include <QStringDecoder>
#include <QStringList>
#include <vector>

namespace corvane {

namespace {

const QString kAutoStartFile = QStringLiteral("autostart.txt");
const QString kVerifySubjectFile = QStringLiteral("verifysubject.txt");
// The list is held in tables of 1000 rows.
constexpr std::size_t kMaxRows = 1000;

struct AutoStartRow {
    QString subject;
    QString condition;
};

// The lines of the file, and whether it was UTF-8 or an 8-bit code page, so that a rewrite
// gives back the bytes it was given.
struct AutoStartText {
    QStringList lines;
    bool utf8 = true;
};

// A file that is there but can't be read counts as there, and as empty.
AutoStartText ReadAutoStart(const QString& path) {
    AutoStartText text;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return text;
    const QByteArray bytes = file.readAll();
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString decoded = decoder.decode(bytes);
    if (decoder.hasError()) {
        decoded = QString::fromLatin1(bytes);
        text.utf8 = false;
    }
    decoded.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    decoded.replace(QLatin1Char('\r'), QLatin1Char('\n'));
    text.lines = decoded.split(QLatin1Char('\n'));
    return text;
}

// The fields of a line: a field in double quotes runs to the next quote and keeps its blanks
// (what follows the closing quote up to the comma is passed over); any other field runs to the
// next comma and loses its outer blanks.
QStringList ReadFields(const QString& line) {
    QStringList fields;
    const qsizetype end = line.size();
    qsizetype at = 0;
    while (true) {
        while (at < end && line.at(at) == QLatin1Char(' '))
            ++at;
        if (at < end && line.at(at) == QLatin1Char('"')) {
            const qsizetype close = line.indexOf(QLatin1Char('"'), at + 1);
            const qsizetype stop = close < 0 ? end : close;
            fields << line.mid(at + 1, stop - at - 1);
            const qsizetype comma = line.indexOf(QLatin1Char(','), stop);
            at = comma < 0 ? end : comma;
        } else {
            const qsizetype comma = line.indexOf(QLatin1Char(','), at);
            const qsizetype stop = comma < 0 ? end : comma;
            fields << TrimBlanks(line.mid(at, stop - at));
            at = stop;
        }
        if (at >= end)
            return fields;
        ++at; // past the comma
    }
}

AutoStartRow ReadRow(const QString& line) {
    const QStringList fields = ReadFields(line);
    return AutoStartRow{fields.value(0), fields.value(1)};
}

// A field written so that it reads back the same: quoted when a comma, outer blanks or a
// leading quote would otherwise change it.
QString WriteField(const QString& field) {
    const bool quote = field.contains(QLatin1Char(',')) || field.startsWith(QLatin1Char(' ')) ||
                       field.endsWith(QLatin1Char(' ')) || field.startsWith(QLatin1Char('"'));
    return quote ? QLatin1Char('"') + field + QLatin1Char('"') : field;
}

// Written beside the list and renamed over it, so that a failure never leaves half a list.
bool WriteList(const QString& path, const std::vector<AutoStartRow>& rows, bool utf8,
               QString& failure) {
    QString text;
    for (const AutoStartRow& row : rows)
        text += WriteField(row.subject) + QLatin1Char(',') + WriteField(row.condition) +
                QStringLiteral("\r\n");
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly)) {
        file.write(utf8 ? text.toUtf8() : text.toLatin1());
        if (file.commit())
            return true;
    }
    failure = file.errorString();
    return false;
}

BoxAnswer AskYesNo(RunState& state, const QString& text) {
    return state.Boxes().Show(MessageBox{state.MessageTitle(), text, BoxIcon::Question,
                                         BoxButtons::YesNo, BoxAnswer::Yes});
}

// The lookup form: the participant types an ID and its row gives the condition.
bool LookUpSubject(RunState& state, const QString& path) {
    bool result = false;
    state.SubjectID = QStringLiteral("0");
    state.ConditionID.clear();
    while (true) {
        const QString answer =
            state.Boxes()
                .Input(QStringLiteral("Enter Your ID"),
                       QStringLiteral("Please enter your participant number and then press enter"),
                       QString())
                .value_or(QString());
        // Cancel, 0 and anything that doesn't start with a number end the lookup; the
        // condition then stays empty and the run is refused later.
        if (ReadNumber(answer) == 0.0)
            return true;
        const QString id = TrimBlanks(answer);
        // Read afresh each round: the operator may have mended the file meanwhile.
        const QStringList lines = ReadAutoStart(path).lines;
        for (qsizetype line = 1; line < lines.size(); ++line) {
            const AutoStartRow row = ReadRow(lines.at(line));
            if (TrimBlanks(row.subject) == id) {
                state.SubjectID = id;
                state.ConditionID = row.condition;
                result = true;
            }
        }
        if (!state.ConditionID.isEmpty())
            return result;
        if (AskYesNo(state, QStringLiteral("This ID does not seem to appear in the autostart "
                                           "file.  Choose another?")) != BoxAnswer::Yes)
            return result;
    }
}

// The list form: the first unmarked row is taken and marked before the run, so that a run
// that breaks off still counts as used.
bool TakeFromList(RunState& state, const QString& path, const AutoStartText& text) {
    std::vector<AutoStartRow> rows;
    for (const QString& line : text.lines) {
        const AutoStartRow row = ReadRow(line);
        if (row.subject.isEmpty() || row.condition.isEmpty())
            continue;
        if (rows.size() == kMaxRows)
            raise(ErrorNumber::Subscript, QStringLiteral("The autostart file ") + path +
                                              QStringLiteral(" holds more than ") +
                                              QString::number(kMaxRows) + QStringLiteral(" rows"));
        rows.push_back(row);
    }

    std::size_t taken = 0;
    while (taken < rows.size() && rows[taken].condition.endsWith(QLatin1Char('*')))
        ++taken;
    if (taken == rows.size()) {
        state.Boxes().Show(MessageBox{state.MessageTitle(),
                                      QStringLiteral("The autostart list has been completed."),
                                      BoxIcon::Information, BoxButtons::Ok, BoxAnswer::Ok});
        return false;
    }

    const AutoStartRow chosen = rows[taken];
    rows[taken].condition += QLatin1Char('*');
    QString failure;
    if (!WriteList(path, rows, text.utf8, failure)) {
        // An unmarked row would be given out again on the next run: better the form.
        state.Boxes().Show(
            MessageBox{state.MessageTitle(),
                       QStringLiteral("The autostart file ") + path +
                           QStringLiteral(" could not be marked (") + failure +
                           QStringLiteral("). Enter the subject and condition by hand."),
                       BoxIcon::Warning, BoxButtons::Ok, BoxAnswer::Ok});
        return false;
    }
    state.SubjectID = chosen.subject;
    state.ConditionID = chosen.condition;
    return true;
}

} // namespace

bool CheckAutoStart(RunState& state, bool& verifySubject) {
    // Only a file that isn't there at all counts as absent.
    verifySubject = FindFile(kVerifySubjectFile).has_value();
    const std::optional<QString> path = FindFile(kAutoStartFile);
    if (!path)
        return false;
    // A next session of a repeated run has been agreed to already.
    if (!IsTrue(state.NextSessionAccepted) &&
        AskYesNo(state, QStringLiteral("Use autostart file?")) != BoxAnswer::Yes)
        return false;
    try {
        const AutoStartText text = ReadAutoStart(*path);
        const QString firstItem = ReadFields(text.lines.value(0)).value(0);
        if (Normalised(firstItem) == QLatin1String("select subject"))
            return LookUpSubject(state, *path);
        return TakeFromList(state, *path, text);
    } catch (const CorvaneError& error) {
        // A list that can't be used must not keep the entry form from showing.
        state.Boxes().Show(MessageBox{ReportErrorTitle(),
                                      ReportErrorText(error.number(), error.description()),
                                      BoxIcon::Critical, BoxButtons::Ok, BoxAnswer::Ok});
        return false;
    }
}

bool VerifySubjectMatches(const QString& typed, const QString& again) {
    return typed == again;
}

namespace {

// The data folders whose files Clear Data deletes, as found (made elsewhere, their case may
// differ), and the folders of journals, which go whole.
struct DataToClear {
    QStringList files;
    QStringList wholeFolders;
};

DataToClear FindDataToClear(const QString& dataRoot) {
    DataToClear data;
    const QDir root(dataRoot);
    for (const QString& name : {QStringLiteral("data"), QStringLiteral("data/byvariablename"),
                                QStringLiteral("data/byquestionnaire")}) {
        const std::optional<QString> found = FindFile(root.filePath(name));
        if (!found)
            continue;
        const QDir folder(*found);
        for (const QString& file : folder.entryList(QDir::Files | QDir::Hidden | QDir::System))
            data.files << folder.filePath(file);
    }
    // The journals of runs and of recovered runs belong to the data as well.
    for (const QString& name :
         {QStringLiteral("data/.journal"), QStringLiteral("data/recovered")}) {
        const std::optional<QString> found = FindFile(root.filePath(name));
        if (!found)
            continue;
        data.wholeFolders << *found;
        QDirIterator files(*found, QDir::Files | QDir::Hidden | QDir::System,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            data.files << files.next();
    }
    return data;
}

} // namespace

QString ClearDataQuestion() {
    return QStringLiteral("Corvane will destroy any existing files in this experiment's 'Data' "
                          "directory.  This is recommended if you have made any changes to the "
                          "experiment or if you are starting the collection of real data.");
}

QString ClearDataQuestion(const QString& dataRoot) {
    const int count = int(FindDataToClear(dataRoot).files.size());
    return ClearDataQuestion() + QStringLiteral("\n\n") +
           QStringLiteral("%1 file(s) in '%2' will be deleted.")
               .arg(count)
               .arg(QDir(dataRoot).filePath(QStringLiteral("data")));
}

bool ClearDataFiles(const QString& dataRoot) {
    const DataToClear data = FindDataToClear(dataRoot);
    bool allGone = true;
    for (const QString& file : data.files)
        allGone = QFile::remove(file) && allGone;
    for (const QString& folder : data.wholeFolders)
        allGone = QDir(folder).removeRecursively() && allGone;
    return allGone;
}

QString DataRootFor(RunState& state, const QString& alternateFolder, bool& usedAlternate) {
    usedAlternate = false;
    if (!alternateFolder.isEmpty()) {
        const QString& name = state.ExperimentFileName;
        const QString root = QDir::cleanPath(ToLinuxSeparators(alternateFolder) + QLatin1Char('/') +
                                             name.left(qMax(qsizetype(0), name.size() - 4)));
        const QString working = QDir::currentPath();
        QString entered = root;
        try {
            usedAlternate = ChangeToFolder(entered);
        } catch (const CorvaneError&) {
            usedAlternate = false; // a path too deep to make is one that can't be made
        }
        // Only the data go there: the experiment's relative file names are read from where
        // they were, its own folder.
        QDir::setCurrent(working);
        if (usedAlternate) {
            state.DataRoot = root;
            return state.DataRoot;
        }
        state.Boxes().Show(MessageBox{
            QStringLiteral("Not a good thing"),
            QStringLiteral("The alternate data folder specified in the current preferences can "
                           "not be created or accessed. The experiment folder will be used "
                           "instead (if possible)."),
            BoxIcon::Information, BoxButtons::Ok, BoxAnswer::Ok});
    }
    state.DataRoot = state.ExperimentFolder;
    return state.DataRoot;
}

} // namespace corvane
