#pragma once

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "sql_tokens.h"
#include "twupdate/host.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/connection.h"

namespace twupdate::host {

/// The rows of a result in memory.
class RowsInMemory : public Rows {
  public:
    explicit RowsInMemory(ResultSet result) : result_(std::move(result)) {}
    std::size_t ColumnCount() const override { return result_.columns.size(); }
    std::optional<std::size_t> Find(std::string_view column) const override {
        const auto found =
            std::find_if(result_.columns.begin(), result_.columns.end(),
                         [&](const std::string& name) { return EqualNames(name, column); });
        return found == result_.columns.end()
                   ? std::nullopt
                   : std::optional(static_cast<std::size_t>(found - result_.columns.begin()));
    }
    bool Next() override { return next_++ < result_.rows.size(); }
    Value Get(std::size_t column) const override { return result_.rows.at(next_ - 1).at(column); }

  private:
    ResultSet result_;
    std::size_t next_ = 0;
};

/// The rows of one statement with a cursor; the base of both kinds of result.
class Cursor {
  public:
    Cursor(std::unique_ptr<Rows> rows, std::string sql)
        : rows_(std::move(rows)), sql_(std::move(sql)), atEnd_(!rows_->Next()) {}

    bool AtEnd() const { return atEnd_; }
    void Next() { atEnd_ = atEnd_ || !rows_->Next(); }
    void Close() {
        rows_.reset();
        atEnd_ = true;
    }
    std::size_t Index(std::string_view column) const {
        if (!rows_) {
            throw HostError(sql_, 0, "", "the recordset is closed");
        }
        const auto index = rows_->Find(column);
        if (!index) {
            throw HostError(sql_, 0, "", "the recordset has no column " + std::string(column));
        }
        return *index;
    }
    Value Get(std::size_t index) const {
        if (atEnd_) {
            throw HostError(sql_, 0, "", "the recordset has no current row");
        }
        return rows_->Get(index);
    }
    std::size_t ColumnCount() const { return rows_ ? rows_->ColumnCount() : 0; }

  private:
    std::unique_ptr<Rows> rows_;
    std::string sql_;
    bool atEnd_;
};

class BufferedRecordset : public Recordset, private Fields {
  public:
    BufferedRecordset(std::unique_ptr<Rows> rows, const std::string& sql)
        : cursor_(std::move(rows), sql) {
        columns_.reserve(cursor_.ColumnCount());
        for (std::size_t i = 0; i < cursor_.ColumnCount(); ++i) {
            columns_.emplace_back(cursor_, i);
        }
    }
    bool IsEOF() const override { return cursor_.AtEnd(); }
    const twupdate::Fields& Fields() const override { return *this; }
    void MoveNext() override { cursor_.Next(); }
    void Close() override { cursor_.Close(); }

  private:
    class Column : public Field {
      public:
        Column(const Cursor& cursor, std::size_t index) : cursor_(cursor), index_(index) {}
        twupdate::Value Value() const override { return cursor_.Get(index_); }

      private:
        const Cursor& cursor_;
        std::size_t index_;
    };

    const Field& Item(std::string_view column) const override {
        return columns_[cursor_.Index(column)];
    }

    Cursor cursor_;
    std::vector<Column> columns_;
};

class BufferedReader : public Reader {
  public:
    BufferedReader(std::unique_ptr<Rows> rows, const std::string& sql)
        : cursor_(std::move(rows), sql) {}
    bool IsEOF() const override { return cursor_.AtEnd(); }
    void ReaderMoveNext() override { cursor_.Next(); }
    void ReaderClose() override { cursor_.Close(); }
    Value GetField(std::string_view column) const override {
        return cursor_.Get(cursor_.Index(column));
    }

  private:
    Cursor cursor_;
};

}  // namespace twupdate::host
