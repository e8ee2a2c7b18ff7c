#include "core/Sqlite.h"

#include <sqlite3.h>

namespace dowsel::sqlite {

Query::Query(sqlite3_stmt *statement) : m_statement(statement), m_ok(statement != nullptr) {}

Query::~Query()
{
    if (m_statement) {
        sqlite3_reset(m_statement);
        sqlite3_clear_bindings(m_statement);
    }
}

Query &Query::bind(int index, std::int64_t value)
{
    if (m_statement && sqlite3_bind_int64(m_statement, index, value) != SQLITE_OK)
        m_ok = false;
    return *this;
}

Query &Query::bind(int index, double value)
{
    if (m_statement && sqlite3_bind_double(m_statement, index, value) != SQLITE_OK)
        m_ok = false;
    return *this;
}

Query &Query::bind(int index, std::optional<double> value)
{
    if (value)
        return bind(index, *value);
    if (m_statement && sqlite3_bind_null(m_statement, index) != SQLITE_OK)
        m_ok = false;
    return *this;
}

Query &Query::bind(int index, const QByteArray &bytes)
{
    // Bound as TEXT so other tools show the paths, but with an explicit length and no
    // conversion: SQLite keeps the bytes exactly and compares them with memcmp.
    if (m_statement
        && sqlite3_bind_text64(m_statement, index, bytes.constData(), sqlite3_uint64(bytes.size()), SQLITE_TRANSIENT,
                               SQLITE_UTF8)
               != SQLITE_OK)
        m_ok = false;
    return *this;
}

bool Query::step()
{
    if (!m_statement || !m_ok)
        return false;
    const int rc = sqlite3_step(m_statement);
    if (rc == SQLITE_ROW)
        return true;
    m_ok = rc == SQLITE_DONE;
    return false;
}

bool Query::run()
{
    while (step()) {
    }
    return m_ok;
}

std::int64_t Query::int64(int column) const
{
    return sqlite3_column_int64(m_statement, column);
}

double Query::real(int column) const
{
    return sqlite3_column_double(m_statement, column);
}

std::optional<double> Query::optionalReal(int column) const
{
    if (sqlite3_column_type(m_statement, column) == SQLITE_NULL)
        return std::nullopt;
    return sqlite3_column_double(m_statement, column);
}

QByteArray Query::bytes(int column) const
{
    const auto *data = static_cast<const char *>(sqlite3_column_blob(m_statement, column));
    const int size = sqlite3_column_bytes(m_statement, column);
    return QByteArray(data, size);
}

std::unique_ptr<Database> Database::open(const QString &path, bool create, QString *error)
{
    sqlite3 *db = nullptr;
    const int flags = SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0) | SQLITE_OPEN_NOMUTEX;
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &db, flags, nullptr);
    if (rc != SQLITE_OK) {
        if (error)
            *error = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString::fromUtf8(sqlite3_errstr(rc));
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    return std::unique_ptr<Database>(new Database(db));
}

Database::~Database()
{
    for (auto &[sql, statement] : m_statements)
        sqlite3_finalize(statement);
    sqlite3_close(m_db);
}

Query Database::query(const char *sql)
{
    auto it = m_statements.find(sql);
    if (it == m_statements.end()) {
        sqlite3_stmt *statement = nullptr;
        if (sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
            return Query(nullptr);
        it = m_statements.emplace(sql, statement).first;
    }
    return Query(it->second);
}

bool Database::exec(const char *sql)
{
    return sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

std::optional<std::int64_t> Database::scalar(const char *sql)
{
    Query q = query(sql);
    if (!q.step())
        return std::nullopt;
    return q.int64(0);
}

QString Database::lastError() const
{
    return QString::fromUtf8(sqlite3_errmsg(m_db));
}

std::int64_t Database::lastInsertRowId() const
{
    return sqlite3_last_insert_rowid(m_db);
}

int Database::changes() const
{
    return sqlite3_changes(m_db);
}

bool Database::isReadOnly() const
{
    return sqlite3_db_readonly(m_db, "main") == 1;
}

Transaction::Transaction(Database &db) : m_db(db), m_open(db.exec("BEGIN IMMEDIATE")) {}

Transaction::~Transaction()
{
    if (m_open)
        m_db.exec("ROLLBACK");
}

bool Transaction::commit()
{
    if (!m_open)
        return false;
    m_open = false;
    if (m_db.exec("COMMIT"))
        return true;
    m_db.exec("ROLLBACK");
    return false;
}

} // namespace dowsel::sqlite
