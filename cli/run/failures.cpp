#include "cli/run/failures.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <nlohmann/json.hpp>
#include <tuple>

#include "cli/server/left_out.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The place behind the text literal that begins there; a quote that stands twice, or behind a
/// backslash, does not end it.
std::size_t EndOfText(std::string_view sql, std::size_t begin) {
    const char quote = sql[begin];
    std::size_t i = begin + 1;
    while (i < sql.size()) {
        if (sql[i] == '\\') {
            i += 2;
        } else if (sql[i] != quote) {
            ++i;
        } else if (i + 1 < sql.size() && sql[i + 1] == quote) {
            i += 2;
        } else {
            return i + 1;
        }
    }
    return sql.size();
}

/// Makes "?, ?, ?" one "?".
std::string WithoutLists(const std::string& sql) {
    constexpr std::string_view kMore = ", ?";
    std::string text;
    for (std::size_t i = 0; i < sql.size();) {
        if (text.ends_with('?') && sql.compare(i, kMore.size(), kMore) == 0) {
            i += kMore.size();
        } else {
            text += sql[i++];
        }
    }
    return text;
}

/// The server's text without the numbers of the site, so that all sites of a group share it.
std::string ErrorOf(const RunFailure& failure) {
    return failure.code == 0 ? FactOf(failure.text)
                             : fmt::format("{} {}", failure.code, failure.text);
}

}  // namespace

std::string MaskedStatement(std::string_view sql) {
    std::string masked;
    for (std::size_t i = 0; i < sql.size();) {
        if (sql[i] == '\'' || sql[i] == '"') {
            i = EndOfText(sql, i);
            masked += '?';
        } else if (IsDigit(sql[i])) {
            while (i < sql.size() && (IsDigit(sql[i]) || sql[i] == '.')) {
                ++i;
            }
            if (sql[i - 1] == '.') {
                --i;  // between the names of a database and a table
            }
            masked += '?';
        } else {
            masked += sql[i++];
        }
    }
    return WithoutLists(masked);
}

std::vector<FailedSites> GroupFailures(const std::vector<RunFailure>& failures) {
    using Key = std::tuple<std::string, std::uint32_t, std::string>;
    std::map<Key, FailedSites> byCause;
    for (const RunFailure& failure : failures) {
        if (!failure.where.siteId || failure.stopped) {
            continue;
        }
        const std::string statement = MaskedStatement(failure.statement);
        const Key key{failure.where.step ? std::string(failure.where.step->name) : "", failure.code,
                      failure.code == 0 ? MaskedStatement(failure.text) : statement};
        FailedSites& group = byCause[key];
        if (group.sites.empty()) {
            group.first = failure;
            group.statement = statement;
        }
        group.sites.push_back(*failure.where.siteId);
    }
    std::vector<FailedSites> groups;
    for (auto& [key, group] : byCause) {
        std::sort(group.sites.begin(), group.sites.end());
        groups.push_back(std::move(group));
    }
    std::stable_sort(groups.begin(), groups.end(), [](const FailedSites& a, const FailedSites& b) {
        return a.sites.size() > b.sites.size();
    });
    return groups;
}

std::string GroupText(const FailedSites& group) {
    const auto& step = group.first.where.step;
    return fmt::format("{}: {}{}: {}", Count(group.sites.size(), "site"),
                       step ? fmt::format("{}, ", step->name) : "", ErrorOf(group.first),
                       IdsText(group.sites));
}

nlohmann::ordered_json JsonOf(const std::vector<FailedSites>& groups) {
    auto list = nlohmann::ordered_json::array();
    for (const FailedSites& group : groups) {
        nlohmann::ordered_json one;
        if (group.first.where.step) {
            one["step"] = group.first.where.step->name;
        }
        if (group.first.code != 0) {
            one["code"] = group.first.code;
            one["sqlstate"] = group.first.sqlState;
        }
        if (!group.statement.empty()) {
            one["statement"] = group.statement;
        }
        one["error"] = group.first.text;
        one["sites"] = group.sites;
        list.push_back(std::move(one));
    }
    return list;
}

}  // namespace twupdate::cli
