#include "definitions/sqlite_file.h"

#include "state/error.h"

#include <QFile>
#include <QFileInfo>
#include <QUrl>
#include <sqlite3.h>

namespace corvane {

namespace {

QString Quoted(const QString& path) {
    return QLatin1Char('\'') + path + QLatin1Char('\'');
}

// A definition file that is no database at all is told apart before SQLite sees it.
bool HasDatabaseHeader(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return true; // let the open report why it can't be read
    static const QByteArray header("SQLite format 3\0", 16);
    return file.read(16) == header;
}

class Statement {
public:
    Statement(sqlite3* db, const QByteArray& sql, int& code) {
        code = sqlite3_prepare_v2(db, sql.constData(), int(sql.size()), &m_stmt, nullptr);
    }
    ~Statement() { sqlite3_finalize(m_stmt); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;
    sqlite3_stmt* get() const { return m_stmt; }

private:
    sqlite3_stmt* m_stmt = nullptr;
};

int Bind(sqlite3_stmt* stmt, int index, const FieldValue& value) {
    if (value.IsNull())
        return sqlite3_bind_null(stmt, index);
    if (value.IsText()) {
        const QByteArray utf8 = value.ToText().toUtf8();
        return sqlite3_bind_text(stmt, index, utf8.constData(), int(utf8.size()), SQLITE_TRANSIENT);
    }
    if (value.IsInteger())
        return sqlite3_bind_int64(stmt, index, qint64(value.ToNumber()));
    return sqlite3_bind_double(stmt, index, value.ToNumber());
}

FieldValue Column(sqlite3_stmt* stmt, int column) {
    switch (sqlite3_column_type(stmt, column)) {
    case SQLITE_INTEGER:
        return FieldValue::FromInteger(sqlite3_column_int64(stmt, column));
    case SQLITE_FLOAT:
        return FieldValue::FromReal(sqlite3_column_double(stmt, column));
    case SQLITE_TEXT: {
        const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, column));
        return FieldValue::FromText(QString::fromUtf8(text, sqlite3_column_bytes(stmt, column)));
    }
    case SQLITE_BLOB: {
        const auto* blob = static_cast<const char*>(sqlite3_column_blob(stmt, column));
        return FieldValue::FromBlob(QByteArray(blob, sqlite3_column_bytes(stmt, column)));
    }
    default:
        return FieldValue();
    }
}

} // namespace

SqliteFile::SqliteFile(const QString& path, Mode mode) : m_path(path) {
    const bool exists = QFileInfo(path).isFile();
    if (mode != Mode::Create && !exists)
        raise(ErrorNumber::DatabaseNotFound,
              QStringLiteral("Could not find file ") + Quoted(path) + QLatin1Char('.'));
    if (exists && !HasDatabaseHeader(path))
        raise(ErrorNumber::NotADefinitionFile,
              Quoted(path) + QStringLiteral(" is not a Corvane definition file: it is not a "
                                            "database. Make definition files with corvane-def."));
    int flags = SQLITE_OPEN_READWRITE;
    QByteArray name = QFile::encodeName(path);
    if (mode == Mode::Create)
        flags |= SQLITE_OPEN_CREATE;
    if (mode == Mode::ReadOnly) {
        // Changes still waiting in a write-ahead log would be missed by an unchanging read.
        if (QFileInfo::exists(path + QStringLiteral("-wal")))
            raise(ErrorNumber::PermissionDenied,
                  Quoted(path) + QStringLiteral(" is being written by another program (its -wal "
                                                "file is beside it). Close that program and try "
                                                "again."));
        // Read as an unchanging file: no lock, journal or shared-memory file is made beside
        // it, so a definition in a read-only folder or in a log mode reads all the same.
        flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_URI;
        name = "file:" + QUrl::toPercentEncoding(QString::fromLocal8Bit(name), "/") +
               "?mode=ro&immutable=1";
    }
    const int code = sqlite3_open_v2(name.constData(), &m_db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code != SQLITE_OK)
        RaiseFromSqlite(code, QStringLiteral("open"));
    // A file from elsewhere may be hostile: its schema must not run code in this program.
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
    sqlite3_busy_timeout(m_db, 2000);
}

SqliteFile::~SqliteFile() {
    sqlite3_close_v2(m_db);
}

void SqliteFile::RaiseFromSqlite(int code, const QString& doing) {
    const QString detail =
        m_db ? QString::fromUtf8(sqlite3_errmsg(m_db)) : QString::fromUtf8(sqlite3_errstr(code));
    switch (code & 0xff) {
    case SQLITE_NOTADB:
        raise(ErrorNumber::NotADefinitionFile,
              Quoted(m_path) + QStringLiteral(" is not a Corvane definition file: it is not a "
                                              "database. Make definition files with corvane-def."));
    case SQLITE_CORRUPT:
    case SQLITE_IOERR:
    case SQLITE_FORMAT:
        raise(ErrorNumber::DamagedDefinitionFile,
              Quoted(m_path) + QStringLiteral(" is damaged (") + detail +
                  QStringLiteral("). Use a saved copy or make it again with corvane-def."));
    case SQLITE_CANTOPEN:
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH:
        raise(ErrorNumber::PermissionDenied,
              Quoted(m_path) + QStringLiteral(" can not be ") +
                  (doing == QLatin1String("open") ? QStringLiteral("opened")
                                                  : QStringLiteral("written")) +
                  QStringLiteral(" (") + detail + QStringLiteral("). Check its permissions."));
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        raise(ErrorNumber::PermissionDenied,
              Quoted(m_path) + QStringLiteral(" is locked by another program. Close it there "
                                              "and try again."));
    default:
        raise(ErrorNumber::DamagedDefinitionFile,
              Quoted(m_path) + QStringLiteral(" can not be read (") + detail +
                  QStringLiteral("). Use a saved copy or make it again with corvane-def."));
    }
}

void SqliteFile::Execute(const QString& sql, const std::vector<FieldValue>& values) {
    int code = SQLITE_OK;
    Statement stmt(m_db, sql.toUtf8(), code);
    if (code != SQLITE_OK)
        RaiseFromSqlite(code, QStringLiteral("write"));
    for (std::size_t i = 0; i < values.size(); ++i) {
        code = Bind(stmt.get(), int(i) + 1, values[i]);
        if (code != SQLITE_OK)
            RaiseFromSqlite(code, QStringLiteral("write"));
    }
    while ((code = sqlite3_step(stmt.get())) == SQLITE_ROW) {
    }
    if (code != SQLITE_DONE)
        RaiseFromSqlite(code, QStringLiteral("write"));
}

std::vector<std::vector<FieldValue>>
SqliteFile::Query(const QString& sql, QStringList* columns, const std::vector<FieldValue>& values,
                  const std::function<void(std::vector<FieldValue>&&)>* each) {
    std::vector<std::vector<FieldValue>> rows;
    int code = SQLITE_OK;
    Statement stmt(m_db, sql.toUtf8(), code);
    if (code != SQLITE_OK)
        RaiseFromSqlite(code, QStringLiteral("read"));
    for (std::size_t i = 0; i < values.size(); ++i) {
        code = Bind(stmt.get(), int(i) + 1, values[i]);
        if (code != SQLITE_OK)
            RaiseFromSqlite(code, QStringLiteral("read"));
    }
    const int count = sqlite3_column_count(stmt.get());
    if (columns) {
        columns->clear();
        for (int c = 0; c < count; ++c)
            *columns << QString::fromUtf8(sqlite3_column_name(stmt.get(), c));
    }
    while ((code = sqlite3_step(stmt.get())) == SQLITE_ROW) {
        std::vector<FieldValue> row(static_cast<std::size_t>(count));
        for (int c = 0; c < count; ++c)
            row[std::size_t(c)] = Column(stmt.get(), c);
        if (each)
            (*each)(std::move(row));
        else
            rows.push_back(std::move(row));
    }
    if (code != SQLITE_DONE)
        RaiseFromSqlite(code, QStringLiteral("read"));
    return rows;
}

void SqliteFile::QueryEach(const QString& sql, QStringList* columns,
                           const std::function<void(std::vector<FieldValue>&&)>& each) {
    Query(sql, columns, {}, &each);
}

SqliteLookup::SqliteLookup(SqliteFile& file, const QString& sql) : m_file(file) {
    const QByteArray utf8 = sql.toUtf8();
    const int code =
        sqlite3_prepare_v2(file.m_db, utf8.constData(), int(utf8.size()), &m_stmt, nullptr);
    if (code != SQLITE_OK)
        file.RaiseFromSqlite(code, QStringLiteral("read"));
}

SqliteLookup::~SqliteLookup() {
    sqlite3_finalize(m_stmt);
}

std::vector<FieldValue> SqliteLookup::FirstRow(const std::vector<FieldValue>& values) {
    sqlite3_reset(m_stmt);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int code = Bind(m_stmt, int(i) + 1, values[i]);
        if (code != SQLITE_OK)
            m_file.RaiseFromSqlite(code, QStringLiteral("read"));
    }
    std::vector<FieldValue> row;
    const int code = sqlite3_step(m_stmt);
    if (code == SQLITE_ROW) {
        const int count = sqlite3_column_count(m_stmt);
        row.resize(std::size_t(count));
        for (int c = 0; c < count; ++c)
            row[std::size_t(c)] = Column(m_stmt, c);
    } else if (code != SQLITE_DONE) {
        m_file.RaiseFromSqlite(code, QStringLiteral("read"));
    }
    return row;
}

} // namespace corvane
