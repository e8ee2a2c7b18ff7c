#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

struct sqlite3;
struct sqlite3_stmt;

namespace dowsel::sqlite {

// One use of a cached prepared statement: binds, steps, reads columns, and resets the
// statement when it goes out of scope, so no read snapshot outlives the query.
class Database;

class Query {
public:
    Query(sqlite3_stmt *statement, Database *owner);
    ~Query();
    Query(const Query &) = delete;
    Query &operator=(const Query &) = delete;

    // Parameters are numbered from 1, as in SQLite. A null statement (failed prepare)
    // accepts binds and reports failure on `step`/`run`.
    Query &bind(int index, std::int64_t value);
    Query &bind(int index, double value);
    Query &bind(int index, std::optional<double> value);
    // Exact bytes: paths and names are stored as the kernel gave them, valid UTF-8 or not.
    Query &bind(int index, const QByteArray &bytes);

    // Next row of a query: true while there is one. After it returns false, `ok()` tells
    // whether the query ran to its end or failed.
    bool step();
    // Runs a statement that returns no rows; true when it completed.
    bool run();
    bool ok() const { return m_ok; }

    std::int64_t int64(int column) const;
    double real(int column) const;
    std::optional<double> optionalReal(int column) const;
    QByteArray bytes(int column) const;

private:
    sqlite3_stmt *m_statement;
    Database *m_owner;
    bool m_ok;
};

// SQLite's verdict that a file is damaged (SQLITE_CORRUPT) or is no database at all
// (SQLITE_NOTADB); extended codes included.
bool isDamageCode(int resultCode);

// An open database connection with a cache of prepared statements, keyed by their SQL.
class Database {
public:
    // Opens an existing database or creates one when `create` is set. Null and `error` set
    // when SQLite refuses.
    static std::unique_ptr<Database> open(const QString &path, bool create, QString *error);
    // Opens an existing database for reading only: no checkpoint, no journal replay into the
    // file, nothing written.
    static std::unique_ptr<Database> openReadOnly(const QString &path, QString *error);
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    Query query(const char *sql);
    // Runs one or more statements that return no rows.
    bool exec(const char *sql);
    // A single value of the first row, e.g. for PRAGMA queries.
    std::optional<std::int64_t> scalar(const char *sql);
    QString lastError() const;
    std::int64_t lastInsertRowId() const;
    // Rows changed by the last INSERT, UPDATE or DELETE.
    int changes() const;
    // The primary result code of the last failed call (SQLITE_BUSY, SQLITE_CORRUPT, ...).
    int lastErrorCode() const;
    bool isReadOnly() const;
    sqlite3 *handle() const { return m_db; }

    // `handler` runs once, from inside the call that first finds the file damaged; it must
    // not use the connection itself (queue the repair instead). From then on the connection
    // leaves the file and its journal as they are when it closes.
    void setDamageHandler(std::function<void(const QString &reason)> handler);
    bool isDamaged() const { return m_damaged; }
    // Every result code of the connection's calls comes through here.
    void noteResult(int resultCode);

private:
    explicit Database(sqlite3 *db) : m_db(db) {}

    sqlite3 *m_db;
    std::map<std::string, sqlite3_stmt *> m_statements;
    std::function<void(const QString &)> m_damageHandler;
    bool m_damaged = false;
};

// BEGIN IMMEDIATE ... COMMIT; rolled back when dropped without `commit()`.
class Transaction {
public:
    explicit Transaction(Database &db);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    bool commit();

private:
    Database &m_db;
    bool m_open;
};

} // namespace dowsel::sqlite
