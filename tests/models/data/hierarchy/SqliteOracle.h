#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <string>
#include <vector>

#include "pellium/models/data/dataset/Column.h"
#include "pellium/models/data/dataset/DataValue.h"

// SQLite as the independent oracle of aggregated crosstabs: an in-memory database, and the member
// texts of a row as the hierarchies format them. Only tests link SQLite.
namespace pellium::test {

class Sqlite {
public:
    Sqlite() { sqlite3_open(":memory:", &db_); }
    ~Sqlite() { sqlite3_close(db_); }
    Sqlite(const Sqlite&) = delete;
    Sqlite& operator=(const Sqlite&) = delete;

    void execute(const std::string& sql) {
        char* error = nullptr;
        ASSERT_EQ(sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, &error), SQLITE_OK) << (error ? error : "") << sql;
    }

    // Calls `row` with each result row's statement.
    template <typename Row>
    void query(const std::string& sql, Row&& row) {
        sqlite3_stmt* statement = nullptr;
        ASSERT_EQ(sqlite3_prepare_v2(db_, sql.c_str(), -1, &statement, nullptr), SQLITE_OK) << sqlite3_errmsg(db_);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            row(statement);
        }
        sqlite3_finalize(statement);
    }

    // The first column of every result row, as text.
    std::vector<std::string> texts(const std::string& sql) {
        std::vector<std::string> result;
        query(sql, [&result](sqlite3_stmt* statement) {
            result.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        });
        return result;
    }

    sqlite3* handle() { return db_; }

private:
    sqlite3* db_ = nullptr;
};

inline void bindText(sqlite3_stmt* statement, int position, const SharedString& text) {
    sqlite3_bind_text(statement, position, text->c_str(), static_cast<int>(text->size()), SQLITE_TRANSIENT);
}

// Binds the Region, Product and Year texts of `row` from `position` on, as the levels show them.
inline void bindMemberTexts(sqlite3_stmt* statement, int position, const Column& region, const Column& product,
                            const Column& year, std::int32_t row) {
    bindText(statement, position,
             DataValue::formatStringValue(region.getStringAtIndex(row), region.getStringIndexAtIndex(row)));
    bindText(statement, position + 1,
             DataValue::formatStringValue(product.getStringAtIndex(row), product.getStringIndexAtIndex(row)));
    bindText(statement, position + 2, DataValue::formatNumericValue(year.getNumberAtIndex(row), year.getFormatName()));
}

}  // namespace pellium::test
