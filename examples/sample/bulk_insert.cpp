#include "sample/bulk_insert.h"

#include <array>
#include <charconv>
#include <cstdio>
#include <utility>

namespace twupdate::sample {
namespace {

/// Well below the smallest max_allowed_packet in use.
constexpr std::size_t kBytesPerStatement = 262144;

void AppendQuoted(std::string& to, std::string_view text) {
    to += '\'';
    for (const char c : text) {
        switch (c) {
            case '\0':
                to += "\\0";
                break;
            case '\'':
            case '\\':
                to += '\\';
                [[fallthrough]];
            default:
                to += c;
        }
    }
    to += '\'';
}

}  // namespace

std::string Quoted(std::string_view text) {
    std::string quoted;
    AppendQuoted(quoted, text);
    return quoted;
}

std::string DateTime(std::int64_t seconds) {
    constexpr std::int64_t kSecondsPerDay = 86400;
    constexpr std::array<int, 12> kDays{31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    std::int64_t day = seconds / kSecondsPerDay;
    const std::int64_t second = seconds % kSecondsPerDay;
    int year = 2005;
    const auto isLeap = [](int y) { return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0; };
    for (; day >= (isLeap(year) ? 366 : 365); ++year) {
        day -= isLeap(year) ? 366 : 365;
    }
    std::size_t month = 0;
    const auto daysIn = [&](std::size_t m) { return kDays[m] + (m == 1 && isLeap(year) ? 1 : 0); };
    for (; day >= daysIn(month); ++month) {
        day -= daysIn(month);
    }
    std::array<char, 32> text{};
    const int length = std::snprintf(
        text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", year,
        static_cast<int>(month) + 1, static_cast<int>(day) + 1, static_cast<int>(second / 3600),
        static_cast<int>(second / 60 % 60), static_cast<int>(second % 60));
    return {text.data(), static_cast<std::size_t>(length)};
}

BulkInsert::BulkInsert(Utility& host, std::string target)
    : host_(host), target_(std::move(target)) {}

BulkInsert::~BulkInsert() = default;

void BulkInsert::BeginRow() {
    rows_ += rows_.empty() ? "(" : ",(";
    first_ = true;
}

void BulkInsert::EndRow() {
    rows_ += ')';
    if (rows_.size() >= kBytesPerStatement) {
        Finish();
    }
}

void BulkInsert::Finish() {
    if (rows_.empty()) {
        return;
    }
    std::int64_t rowsAffected = 0;
    host_.GetDatabase()->Execute("INSERT INTO " + target_ + " VALUES" + rows_ + ";", rowsAffected);
    rows_.clear();
}

void BulkInsert::Separate() {
    if (!std::exchange(first_, false)) {
        rows_ += ',';
    }
}

void BulkInsert::Add(std::int32_t number) {
    Separate();
    rows_ += std::to_string(number);
}

void BulkInsert::Add(double number) {
    Separate();
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    rows_.append(text.data(), end);
}

void BulkInsert::Add(std::string_view text) {
    Separate();
    AppendQuoted(rows_, text);
}

void BulkInsert::Add(std::nullptr_t) {
    Separate();
    rows_ += "NULL";
}

}  // namespace twupdate::sample
