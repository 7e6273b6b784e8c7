#include "cli/check/table_sizes.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <set>

#include "cli/check/column_range.h"
#include "cli/check/rewrites.h"
#include "cli/server/queries.h"
#include "cli/terminal/text.h"

// In the row formats COMPACT and REDUNDANT a long text keeps 788 bytes in the row, in DYNAMIC 20.
namespace twupdate::cli {
namespace {

using Number = std::uint64_t;
using Table = host::Catalogue::Table;
using Column = host::Catalogue::Column;

/// What a column takes of a row.
struct Field {
    Number bytes = 0;     ///< at most
    bool fixed = false;   ///< always as many
    Number inServer = 0;  ///< as the server counts it: a long text is a length and an address
};

Number DecimalBytes(Number digits) {
    return digits / 9 * 4 + (digits % 9 + 1) / 2;
}

Field FieldOf(const Column& column) {
    static const std::map<std::string, Number> fixed{
        {"tinyint", 1}, {"smallint", 2}, {"mediumint", 3}, {"int", 4},  {"bigint", 8},
        {"float", 4},   {"double", 8},   {"date", 3},      {"year", 1}, {"enum", 1}};
    static const std::map<std::string, Number> times{
        {"time", 3}, {"timestamp", 4}, {"datetime", 5}};
    static const std::map<std::string, Number> lengths{
        {"tiny", 1}, {"", 2}, {"medium", 3}, {"long", 4}};
    const std::string type = BaseType(column);
    Number first = 0;
    Number second = 0;
    if (const auto bracket = column.type.find('('); bracket != std::string::npos) {
        char comma = 0;
        std::istringstream(column.type.substr(bracket + 1)) >> first >> comma >> second;
    }
    if (const auto found = fixed.find(type); found != fixed.end()) {
        return {found->second, true, found->second};
    }
    if (const auto found = times.find(type); found != times.end()) {
        const Number bytes = found->second + (first + 1) / 2;
        return {bytes, true, bytes};
    }
    if (type == "decimal") {
        const Number bytes = DecimalBytes(first - second) + DecimalBytes(second);
        return {bytes, true, bytes};
    }
    const Number perCharacter = BytesOfCharacter(column.charset);
    if (type == "char" || type == "binary") {
        const Number bytes = std::max<Number>(first, 1) * perCharacter;
        return {bytes, perCharacter == 1, bytes};
    }
    if (type.starts_with("var")) {
        const Number bytes = first * perCharacter;
        return {bytes, false, bytes + (bytes > 255 ? 2 : 1)};
    }
    const std::string size = type.substr(0, type.size() - std::min<std::size_t>(4, type.size()));
    const auto length = lengths.find(size);
    return {std::numeric_limits<std::uint32_t>::max(), false,
            (length == lengths.end() ? 4 : length->second) + 8};
}

Number BytesForNull(const Table& table) {
    const auto nullable = std::count_if(table.columns.begin(), table.columns.end(),
                                        [](const Column& column) { return column.nullable; });
    return (static_cast<Number>(nullable) + 7) / 8;
}

/// The longest row, as the server counts it.
Number ServerRowSize(const Table& table) {
    Number size = BytesForNull(table);
    for (const Column& column : table.columns) {
        size += FieldOf(column).inServer;
    }
    return size;
}

/// The longest row, as InnoDB counts it.
Number RowSize(const Table& table, const std::string& format) {
    const bool redundant = format == "REDUNDANT";
    const bool hasKey = HasKey(table);
    Number size = hasKey ? 13 : 19;
    for (const Column& column : table.columns) {
        const Field field = FieldOf(column);
        const Number most = format == "DYNAMIC" ? 20 : 788;
        const Number inRow =
            field.fixed || field.bytes <= 255 ? field.bytes : std::min(field.bytes, most);
        const Number length = field.fixed || redundant ? 0 : inRow < 256 ? 1 : 2;
        size += inRow + length;
    }
    const Number own = hasKey ? 2 : 3;  // columns of InnoDB's own
    return size + (redundant ? 6 + 2 * (table.columns.size() + own) : 5 + BytesForNull(table));
}

std::string UpperCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

bool ChangesColumns(const Table& before, const Table& after) {
    return !std::equal(
        before.columns.begin(), before.columns.end(), after.columns.begin(), after.columns.end(),
        [](const Column& a, const Column& b) { return a.name == b.name && a.type == b.type; });
}

/// What is wrong with a table, and what helps.
struct Fault {
    std::string problem;
    std::string fix;
};

std::optional<Fault> FaultForServer(const Table& table) {
    constexpr Number kLongestRow = 65535;
    constexpr Number kMostColumns = 1017;
    if (const Number columns = table.columns.size(); columns > kMostColumns) {
        return Fault{
            fmt::format("a table takes {} columns, and it comes to {}", kMostColumns, columns),
            "drop columns that the platform does not have"};
    }
    if (const Number size = ServerRowSize(table); size > kLongestRow) {
        return Fault{fmt::format("a row takes {} bytes without its long texts, and it comes to {}",
                                 kLongestRow, size),
                     "make columns that the platform does not have shorter"};
    }
    return std::nullopt;
}

std::optional<Fault> FaultOfKeys(const Table& before, const Table& after,
                                 const std::string& format) {
    constexpr Number kLongestKey = 3072;
    const Number longestPart = format == "DYNAMIC" ? kLongestKey : 767;
    for (const auto& index : after.indexes) {
        if (before.FindIndex(index.name) != nullptr) {
            continue;
        }
        Number size = 0;
        for (const auto& part : index.parts) {
            const Column* column = after.Find(part.column);
            if (column == nullptr) {
                continue;
            }
            const Number perCharacter = BytesOfCharacter(column->charset);
            const Number bytes = part.length ? *part.length * perCharacter : FieldOf(*column).bytes;
            size += bytes;
            if (bytes > longestPart || size > kLongestKey) {
                return Fault{
                    fmt::format("the key {} takes {} bytes of {}, and the row format {} allows {}",
                                index.name, std::max(bytes, size), column->name, format,
                                bytes > longestPart ? longestPart : kLongestKey),
                    fmt::format("make {} as wide as the layout has it", column->name)};
            }
        }
    }
    return std::nullopt;
}

/// Follows the changes of one walk with the row format that each table has by then.
class TableSizes {
  public:
    TableSizes(const ServerState& server, const Walk& walk) : server_(server), walk_(walk) {
        const std::string page = server.Get("innodb_page_size");
        pageSize_ = page.empty() ? 0 : std::stoull(page);
        constexpr Number kLargestPage = 65536;  // of which a row takes less than a half
        judgesRows_ = server.version.IsMariaDb() && server.version.Number() >= 100300 &&
                      server.IsOn("innodb_strict_mode") && pageSize_ != kLargestPage;
    }

    void Check(const DryStatement& statement, std::vector<CheckFinding>& findings) {
        const host::TableName& at = statement.target;
        if (!refused_.contains(at.table)) {
            if (const auto fault = FaultOf(statement)) {
                const CheckFinding finding{at.database, at.table, StepOf(statement), fault->problem,
                                           fault->fix};
                walk_.Tell(finding, findings);
                refused_.insert(at.table);
            }
        }
    }

  private:
    std::optional<Fault> FaultOf(const DryStatement& statement) {
        static const Table kNone;
        const Table& after = *statement.after;
        const Table& before = statement.before ? *statement.before : kNone;
        if (auto fault = FaultForServer(after)) {
            return fault;
        }
        if (LowerCase(after.engine) != "innodb") {
            return std::nullopt;
        }
        const bool rebuilds =
            !statement.before || RewriteOf(statement, server_.version) >= Rewrite::kRebuild;
        const std::string format = FormatOf(statement, rebuilds);
        if (auto fault = FaultOfKeys(before, after, format)) {
            return fault;
        }
        // A column is not added to a table whose row is too long already, however short it is; a
        // change that rebuilds the table is refused where the row is too long afterwards.
        const Number limit = (pageSize_ - (format == "REDUNDANT" ? 137 : 132)) / 2;
        const Number size = RowSize(rebuilds ? after : before, format);
        if (!judgesRows_ || size < limit || statement.kind != StatementKind::kAlterTable ||
            !(rebuilds || ChangesColumns(before, after))) {
            return std::nullopt;
        }
        return Fault{fmt::format("in the row format {} a row takes less than {} bytes, and it can "
                                 "come to {}",
                                 format, limit, size),
                     fmt::format("ALTER TABLE {}.{} ROW_FORMAT=DYNAMIC", statement.target.database,
                                 statement.target.table)};
    }

    /// A table that is rewritten gets the server's format of now, unless it names its own.
    std::string FormatOf(const DryStatement& statement, bool rebuilds) {
        const std::string stored =
            UpperCase(statement.before ? statement.before->rowFormat : statement.after->rowFormat);
        const std::string servers = UpperCase(server_.Get("innodb_default_row_format"));
        std::string& format = formats_.try_emplace(statement.target.table, stored).first->second;
        if (rebuilds && !servers.empty() && format != servers && !NamesItsFormat(statement)) {
            format = servers;
        }
        return format;
    }

    bool NamesItsFormat(const DryStatement& statement) const {
        return HasRows(server_.connection, statement.target.database,
                       fmt::format("SELECT 1 FROM information_schema.tables WHERE table_schema = "
                                   "'{{0}}' AND table_name = '{}' AND create_options LIKE "
                                   "'%row_format=%'",
                                   statement.target.table));
    }

    const ServerState& server_;
    const Walk& walk_;
    Number pageSize_ = 0;
    bool judgesRows_ = false;
    std::map<std::string, std::string> formats_;  ///< by table
    std::set<std::string> refused_;               ///< tables of which it is said
};

}  // namespace

void CheckTableSizes(const ServerState& server, const Walk& walk,
                     std::vector<CheckFinding>& findings) {
    TableSizes sizes(server, walk);
    for (const DryStatement& statement : walk.record) {
        if (statement.after && (statement.kind == StatementKind::kCreateTable ||
                                statement.kind == StatementKind::kAlterTable)) {
            sizes.Check(statement, findings);
        }
    }
}

}  // namespace twupdate::cli
