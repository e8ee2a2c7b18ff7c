#include "core/Sqlite.h"

#include <sqlite3.h>

namespace dowsel::sqlite {

bool isDamageCode(int resultCode)
{
    const int primary = resultCode & 0xff;
    return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

Query::Query(sqlite3_stmt *statement, Database *owner)
    : m_statement(statement), m_owner(owner), m_ok(statement != nullptr)
{
}

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
    if (!m_ok && m_owner)
        m_owner->noteResult(rc);
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

namespace {

sqlite3 *openConnection(const QString &path, int flags, QString *error)
{
    sqlite3 *db = nullptr;
    const int rc = sqlite3_open_v2(path.toUtf8().constData(), &db, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc != SQLITE_OK) {
        if (error)
            *error = db ? QString::fromUtf8(sqlite3_errmsg(db)) : QString::fromUtf8(sqlite3_errstr(rc));
        sqlite3_close(db);
        return nullptr;
    }
    sqlite3_extended_result_codes(db, 1);
    return db;
}

} // namespace

std::unique_ptr<Database> Database::openReadOnly(const QString &path, QString *error)
{
    sqlite3 *db = openConnection(path, SQLITE_OPEN_READONLY, error);
    return db ? std::unique_ptr<Database>(new Database(db)) : nullptr;
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
        const int rc = sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
        if (rc != SQLITE_OK) {
            noteResult(rc);
            return Query(nullptr, this);
        }
        it = m_statements.emplace(sql, statement).first;
    }
    return Query(it->second, this);
}

bool Database::exec(const char *sql)
{
    const int rc = sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr);
    if (rc != SQLITE_OK)
        noteResult(rc);
    return rc == SQLITE_OK;
}

void Database::setDamageHandler(std::function<void(const QString &)> handler)
{
    m_damageHandler = std::move(handler);
}

void Database::noteResult(int resultCode)
{
    if (!isDamageCode(resultCode) || m_damaged)
        return;
    m_damaged = true;
    // Closing must not checkpoint the journal into a damaged file: both are set aside as
    // they are.
    sqlite3_db_config(m_db, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    if (m_damageHandler)
        m_damageHandler(QString::fromUtf8(sqlite3_errstr(resultCode)));
}

int Database::lastErrorCode() const
{
    return sqlite3_errcode(m_db) & 0xff;
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
    // A failed COMMIT (a full disk) may have rolled back already; a second ROLLBACK would
    // only replace the reason with its own complaint.
    if (!sqlite3_get_autocommit(m_db.handle()))
        m_db.exec("ROLLBACK");
    return false;
}

} // namespace dowsel::sqlite
