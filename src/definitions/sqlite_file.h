// A small owner of one SQLite connection, with errors turned into the program's numbered errors
// that name the file.
#pragma once

#include "definitions/field_value.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace corvane {

class SqliteFile {
public:
    enum class Mode { ReadOnly, ReadWrite, Create };
    /// Opens the file; a missing file raises "could not find file", a file that is no database
    /// or is damaged raises a clear error naming it.
    SqliteFile(const QString& path, Mode mode);
    ~SqliteFile();
    SqliteFile(const SqliteFile&) = delete;
    SqliteFile& operator=(const SqliteFile&) = delete;

    const QString& Path() const { return m_path; }
    /// Runs a statement that returns no rows, with bound values.
    void Execute(const QString& sql, const std::vector<FieldValue>& values = {});
    /// The result rows of a query.
    std::vector<std::vector<FieldValue>>
    Query(const QString& sql, QStringList* columns = nullptr,
          const std::vector<FieldValue>& values = {},
          const std::function<void(std::vector<FieldValue>&&)>* each = nullptr);
    /// The result rows of a query handed to `each` one at a time, none kept.
    void QueryEach(const QString& sql, QStringList* columns,
                   const std::function<void(std::vector<FieldValue>&&)>& each);

private:
    friend class SqliteLookup;
    [[noreturn]] void RaiseFromSqlite(int code, const QString& doing);

    QString m_path;
    sqlite3* m_db = nullptr;
};

/// A query prepared once and run many times with new values, each run giving its first row.
class SqliteLookup {
public:
    SqliteLookup(SqliteFile& file, const QString& sql);
    ~SqliteLookup();
    SqliteLookup(const SqliteLookup&) = delete;
    SqliteLookup& operator=(const SqliteLookup&) = delete;

    /// The first row of the query run with these values; an empty row when it gives none.
    std::vector<FieldValue> FirstRow(const std::vector<FieldValue>& values);

private:
    SqliteFile& m_file;
    sqlite3_stmt* m_stmt = nullptr;
};

} // namespace corvane
