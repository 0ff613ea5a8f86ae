#include "preferences/preference_file.h"

#include "definitions/sqlite_file.h"
#include "state/error.h"
#include "state/helpers.h"

#include <QFile>
#include <QFileInfo>
#include <cmath>
#include <vector>

namespace corvane {

namespace {

// The column types of a new file; the reading doesn't depend on them.
const QStringList& FieldTypes() {
    static const QStringList types = [] {
        const QStringList style = {QStringLiteral("TEXT"),    QStringLiteral("REAL"),
                                   QStringLiteral("INTEGER"), QStringLiteral("INTEGER"),
                                   QStringLiteral("INTEGER"), QStringLiteral("INTEGER")};
        QStringList all = style + style;
        all << QStringLiteral("TEXT") << QStringLiteral("TEXT") << QStringLiteral("INTEGER")
            << QStringLiteral("TEXT") << QStringLiteral("INTEGER") << QStringLiteral("INTEGER")
            << QStringLiteral("INTEGER") << QStringLiteral("TEXT") << QStringLiteral("TEXT");
        return all;
    }();
    return types;
}

FieldValue Truth(bool value) {
    return FieldValue::FromInteger(value ? 1 : 0);
}

FieldValue Colour(quint32 value) {
    return FieldValue::FromInteger(qint64(value));
}

// The record's values in the order of PreferenceFieldNames().
std::vector<FieldValue> RecordValues(const PreferenceRecord& record) {
    std::vector<FieldValue> values;
    for (int style = 1; style <= 2; ++style) {
        const PreferenceFont& font = record.Fonts[std::size_t(style)];
        values.push_back(FieldValue::FromText(font.name));
        values.push_back(FieldValue::FromReal(font.size));
        values.push_back(Truth(font.bold));
        values.push_back(Truth(font.italic));
        values.push_back(Colour(record.ForeColors[std::size_t(style)]));
        values.push_back(Colour(record.BackColors[std::size_t(style)]));
    }
    values.push_back(FieldValue::FromText(record.WordFolder));
    values.push_back(FieldValue::FromText(record.SecondAppFolder));
    values.push_back(Truth(record.EditMode));
    values.push_back(FieldValue::FromText(record.MachineCode));
    values.push_back(Truth(record.HideRatsFlag));
    values.push_back(Truth(record.DisableKeysFlag));
    values.push_back(Truth(record.DoubleClickFlag));
    values.push_back(FieldValue::FromText(record.AlternateDataFolder));
    values.push_back(FieldValue::FromText(record.ExitPassword));
    return values;
}

QString CreateTableStatement() {
    QStringList columns;
    for (qsizetype i = 0; i < PreferenceFieldNames().size(); ++i)
        columns << PreferenceFieldNames()[i] + QLatin1Char(' ') + FieldTypes()[i];
    return QStringLiteral("create table options (") + columns.join(QStringLiteral(", ")) +
           QLatin1Char(')');
}

QString Placeholders(qsizetype count) {
    QStringList marks;
    for (qsizetype i = 0; i < count; ++i)
        marks << QStringLiteral("?");
    return marks.join(QStringLiteral(", "));
}

bool HasOptionsTable(SqliteFile& file) {
    return !file.Query(QStringLiteral("select name from sqlite_master where type = 'table' and "
                                      "lower(name) = 'options'"))
                .empty();
}

// A number field as a number: text must read as a number as a whole. No value when the field
// holds something else.
std::optional<double> NumberOf(const FieldValue& value) {
    if (value.IsNumber())
        return value.ToNumber();
    if (value.IsText()) {
        bool ok = false;
        const double number = value.ToText().trimmed().toDouble(&ok);
        if (ok)
            return number;
    }
    return std::nullopt;
}

// Each reader below: a field the file lacks reads as empty, a NULL or a value of the wrong kind
// is passed over.
void TakeText(const PreferenceFileContents& contents, const QString& name, QString& target) {
    const FieldValue* value = contents.Find(name);
    if (!value) {
        target.clear();
        return;
    }
    if (value->IsText() || value->IsNumber())
        target = value->ToText();
}

void TakeTruth(const PreferenceFileContents& contents, const QString& name, bool& target) {
    const FieldValue* value = contents.Find(name);
    if (!value) {
        target = false;
        return;
    }
    if (!value->IsText() && !value->IsNumber())
        return;
    try {
        target = value->ToBool();
    } catch (const CorvaneError&) {
        // neither a truth value nor a number
    }
}

void TakeColour(const PreferenceFileContents& contents, const QString& name, quint32& target) {
    const FieldValue* value = contents.Find(name);
    if (!value) {
        target = 0;
        return;
    }
    const auto number = NumberOf(*value);
    // A 32-bit value, whether it was stored signed or unsigned.
    if (!number || !std::isfinite(*number) || *number < -2147483648.0 || *number > 4294967295.0)
        return;
    target = static_cast<quint32>(static_cast<qint64>(std::llround(*number)));
}

void TakeFont(const PreferenceFileContents& contents, int style, PreferenceFont& font) {
    const QString n = QString::number(style);
    QString name = font.name;
    TakeText(contents, QStringLiteral("cvs_fontname") + n, name);
    // A font can't take an empty name or a size of 0 or below: it keeps the one it had.
    if (!name.isEmpty())
        font.name = name;
    if (const FieldValue* size = contents.Find(QStringLiteral("cvs_fontsize") + n)) {
        const auto number = NumberOf(*size);
        if (number && std::isfinite(*number) && *number > 0)
            font.size = *number;
    }
    TakeTruth(contents, QStringLiteral("cvs_fontbold") + n, font.bold);
    TakeTruth(contents, QStringLiteral("cvs_fontitalic") + n, font.italic);
}

QString Quoted(const QString& path) {
    return QLatin1Char('\'') + path + QLatin1Char('\'');
}

} // namespace

const QStringList& PreferenceFieldNames() {
    static const QStringList names = {
        QStringLiteral("cvs_fontname1"),   QStringLiteral("cvs_fontsize1"),
        QStringLiteral("cvs_fontbold1"),   QStringLiteral("cvs_fontitalic1"),
        QStringLiteral("cvs_fcolour1"),    QStringLiteral("cvs_bcolour1"),
        QStringLiteral("cvs_fontname2"),   QStringLiteral("cvs_fontsize2"),
        QStringLiteral("cvs_fontbold2"),   QStringLiteral("cvs_fontitalic2"),
        QStringLiteral("cvs_fcolour2"),    QStringLiteral("cvs_bcolour2"),
        QStringLiteral("cvs_winword"),     QStringLiteral("cvs_wordperfect"),
        QStringLiteral("cvs_editable"),    QStringLiteral("cvs_machcode"),
        QStringLiteral("cvs_hiderats"),    QStringLiteral("cvs_disablekeys"),
        QStringLiteral("cvs_doubleclick"), QStringLiteral("cvs_alternatedata"),
        QStringLiteral("cvs_password")};
    return names;
}

const FieldValue* PreferenceFileContents::Find(const QString& name) const {
    const auto found = fields.constFind(name.toLower());
    return found == fields.constEnd() ? nullptr : &found.value();
}

PreferenceFileContents ReadPreferenceFile(const QString& path) {
    PreferenceFileContents contents;
    contents.path = path;
    const auto found = FindFile(path);
    if (!found || !QFileInfo(*found).isFile())
        return contents;
    contents.path = *found;
    contents.status = PreferenceFileContents::Status::Unusable;
    try {
        SqliteFile file(*found, SqliteFile::Mode::ReadOnly);
        if (!HasOptionsTable(file)) {
            contents.problem = QStringLiteral("is not a preference file: it has no options table");
            return contents;
        }
        QStringList columns;
        const auto rows = file.Query(QStringLiteral("select * from [options]"), &columns);
        if (rows.empty()) {
            contents.problem =
                QStringLiteral("is not a preference file: its options table holds no record");
            return contents;
        }
        for (qsizetype c = 0; c < columns.size(); ++c) {
            const QString name = columns[c].toLower();
            if (!contents.fields.contains(name)) // the first of two same names, as a lookup has it
                contents.fields.insert(name, rows.front()[std::size_t(c)]);
        }
        contents.status = PreferenceFileContents::Status::Read;
    } catch (const CorvaneError& error) {
        switch (error.number()) {
        case ErrorNumber::DatabaseNotFound:
            contents.status = PreferenceFileContents::Status::Missing;
            break;
        case ErrorNumber::NotADefinitionFile:
            contents.problem = QStringLiteral("is not a preference file: it is not a database");
            break;
        case ErrorNumber::PermissionDenied:
            contents.problem = QStringLiteral("can not be opened: check its permissions, and that "
                                              "no other program is writing it");
            break;
        default:
            contents.problem = QStringLiteral("is damaged and can not be read");
            break;
        }
    }
    return contents;
}

void ReadOptions(const PreferenceFileContents& contents, PreferenceRecord& record) {
    TakeText(contents, QStringLiteral("cvs_winword"), record.WordFolder);
    TakeText(contents, QStringLiteral("cvs_wordperfect"), record.SecondAppFolder);
    TakeTruth(contents, QStringLiteral("cvs_editable"), record.EditMode);
    TakeText(contents, QStringLiteral("cvs_machcode"), record.MachineCode);
    TakeTruth(contents, QStringLiteral("cvs_hiderats"), record.HideRatsFlag);
    TakeTruth(contents, QStringLiteral("cvs_disablekeys"), record.DisableKeysFlag);
    TakeTruth(contents, QStringLiteral("cvs_doubleclick"), record.DoubleClickFlag);
    TakeText(contents, QStringLiteral("cvs_alternatedata"), record.AlternateDataFolder);
    TakeText(contents, QStringLiteral("cvs_password"), record.ExitPassword);
}

void ReadLook(const PreferenceFileContents& contents, PreferenceRecord& record) {
    TakeFont(contents, 1, record.Fonts[1]);
    TakeFont(contents, 2, record.Fonts[2]);
    TakeColour(contents, QStringLiteral("cvs_bcolour1"), record.BackColors[1]);
    TakeColour(contents, QStringLiteral("cvs_fcolour1"), record.ForeColors[1]);
    TakeColour(contents, QStringLiteral("cvs_bcolour2"), record.BackColors[2]);
    TakeColour(contents, QStringLiteral("cvs_fcolour2"), record.ForeColors[2]);
}

std::optional<PreferenceRecord> ReadPreferenceRecord(const QString& path) {
    const PreferenceFileContents contents = ReadPreferenceFile(path);
    if (!contents.Read())
        return std::nullopt;
    PreferenceRecord record;
    ReadOptions(contents, record);
    ReadLook(contents, record);
    return record;
}

void WritePreferenceFile(const QString& path, const PreferenceRecord& record) {
    // Written beside the target and put in its place when whole, so that a failed write never
    // leaves half a file under the name.
    const QString part = path + QStringLiteral(".new");
    QFile::remove(part);
    try {
        SqliteFile file(part, SqliteFile::Mode::Create);
        file.Execute(CreateTableStatement());
        file.Execute(QStringLiteral("insert into options (") +
                         PreferenceFieldNames().join(QStringLiteral(", ")) +
                         QStringLiteral(") values (") +
                         Placeholders(PreferenceFieldNames().size()) + QLatin1Char(')'),
                     RecordValues(record));
    } catch (const CorvaneError&) {
        QFile::remove(part);
        throw;
    }
    if (QFileInfo::exists(path) && !QFile::remove(path)) {
        QFile::remove(part);
        raise(ErrorNumber::PermissionDenied,
              Quoted(path) + QStringLiteral(" can not be replaced. Check its permissions."));
    }
    if (!QFile::rename(part, path))
        raise(ErrorNumber::PermissionDenied,
              Quoted(path) + QStringLiteral(" can not be written. Check the permissions of its "
                                            "folder."));
}

void SavePreferenceRecord(const QString& path, const PreferenceRecord& record) {
    SqliteFile file(path, SqliteFile::Mode::ReadWrite);
    // One transaction: a failure on the way leaves the file as it was.
    file.Execute(QStringLiteral("begin"));
    if (!HasOptionsTable(file))
        file.Execute(CreateTableStatement());
    QStringList present;
    for (const auto& row : file.Query(QStringLiteral("pragma table_info(options)")))
        present << row.at(1).ToText().toLower();
    for (qsizetype i = 0; i < PreferenceFieldNames().size(); ++i) {
        if (!present.contains(PreferenceFieldNames()[i]))
            file.Execute(QStringLiteral("alter table options add column ") +
                         PreferenceFieldNames()[i] + QLatin1Char(' ') + FieldTypes()[i]);
    }
    const std::vector<FieldValue> values = RecordValues(record);
    const auto first = file.Query(QStringLiteral("select rowid from options limit 1"));
    if (first.empty()) {
        file.Execute(QStringLiteral("insert into options (") +
                         PreferenceFieldNames().join(QStringLiteral(", ")) +
                         QStringLiteral(") values (") +
                         Placeholders(PreferenceFieldNames().size()) + QLatin1Char(')'),
                     values);
    } else {
        QStringList assignments;
        for (const QString& name : PreferenceFieldNames())
            assignments << name + QStringLiteral(" = ?");
        std::vector<FieldValue> bound = values;
        bound.push_back(first.front().front());
        file.Execute(QStringLiteral("update options set ") +
                         assignments.join(QStringLiteral(", ")) +
                         QStringLiteral(" where rowid = ?"),
                     bound);
    }
    file.Execute(QStringLiteral("commit"));
}

} // namespace corvane
