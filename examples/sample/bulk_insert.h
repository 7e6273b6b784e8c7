#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "twupdate/host.h"

namespace twupdate::sample {

/// A text as a quoted SQL literal.
std::string Quoted(std::string_view text);

/// A moment as DATETIME text, counted in seconds from the beginning of 2005.
std::string DateTime(std::int64_t seconds);

/// Inserts many rows into one table, some hundreds with each statement.
///
///     BulkInsert texts(host, "tw_7.text(textid, featureid, text)");
///     texts.Row(1, 7, "It's here");
///     texts.Finish();
class BulkInsert {
  public:
    BulkInsert(Utility& host, std::string target);
    ~BulkInsert();
    BulkInsert(const BulkInsert&) = delete;
    BulkInsert& operator=(const BulkInsert&) = delete;

    /// One row; null pointers become NULL.
    template <typename... Values>
    void Row(const Values&... values) {
        BeginRow();
        (Add(values), ...);
        EndRow();
    }
    /// Sends what is left. Must be called: the destructor sends nothing.
    void Finish();
    void Add(std::size_t number) = delete;

  private:
    void BeginRow();
    void EndRow();
    void Separate();
    void Add(std::int32_t number);
    void Add(double number);
    void Add(std::string_view text);
    void Add(const std::string& text) { Add(std::string_view(text)); }
    void Add(const char* text) { Add(std::string_view(text)); }
    void Add(std::nullptr_t);

    Utility& host_;
    std::string target_;
    std::string rows_;
    bool first_ = true;  ///< in the row
};

}  // namespace twupdate::sample
