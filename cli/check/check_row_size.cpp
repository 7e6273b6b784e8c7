#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "cli/check/check_finding.h"
#include "cli/server/innodb_settings.h"
#include "cli/server/layout.h"
#include "cli/server/server_version.h"
#include "cli/terminal/text.h"

// Tables whose longest row InnoDB would refuse, and those that come to the server's own limits. In
// the row formats COMPACT and REDUNDANT a long text keeps 788 bytes in the row, in DYNAMIC 20.
namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;
using Number = std::uint64_t;

enum class Format { kRedundant, kCompact, kDynamic };

std::optional<Format> FormatOf(const std::string& name) {
    static const std::map<std::string, Format> formats{{"redundant", Format::kRedundant},
                                                       {"compact", Format::kCompact},
                                                       {"dynamic", Format::kDynamic}};
    const auto found = formats.find(LowerCase(name));
    return found == formats.end() ? std::nullopt : std::optional(found->second);
}

std::string_view NameOf(Format format) {
    return format == Format::kRedundant ? "REDUNDANT"
           : format == Format::kCompact ? "COMPACT"
                                        : "DYNAMIC";
}

struct Field {
    std::string type;
    Number bytes = 0;  ///< at most
    bool fixed = false;
    bool nullable = false;
    bool operator==(const Field&) const = default;
};

constexpr Number kLong = std::numeric_limits<std::uint32_t>::max();

struct Table {
    Format format = Format::kDynamic;
    bool formatIsItsOwn = false;  ///< and not the server's default when it was made
    bool hasKey = false;          ///< that the rows are kept by
    Number maxLength = 1;         ///< bytes of a character in a new column
    std::map<std::string, Field> fields;

    /// The longest row, as the server counts it: a long text is a length and an address.
    Number ServerRowSize() const {
        static const std::map<std::string, Number> lengths{
            {"tinytext", 1}, {"text", 2}, {"mediumtext", 3}, {"longtext", 4},
            {"tinyblob", 1}, {"blob", 2}, {"mediumblob", 3}, {"longblob", 4}};
        Number nullable = 0;
        Number size = 0;
        for (const auto& [name, field] : fields) {
            const auto length = lengths.find(field.type);
            const bool varies = field.type.starts_with("var");
            size += length != lengths.end() ? length->second + 8
                    : varies                ? field.bytes + (field.bytes > 255 ? 2 : 1)
                                            : field.bytes;
            nullable += field.nullable ? 1 : 0;
        }
        return size + (nullable + 7) / 8;
    }

    /// The longest row, as InnoDB counts it.
    Number RowSize() const {
        const bool redundant = format == Format::kRedundant;
        const Number own = hasKey ? 2 : 3;  // columns of InnoDB's own
        Number nullable = 0;
        Number size = hasKey ? 13 : 19;
        for (const auto& [name, field] : fields) {
            const Number inRow =
                std::min<Number>(field.bytes, field.fixed || field.bytes <= 255 ? kLong
                                              : format == Format::kDynamic      ? 20
                                                                                : 788);
            const Number length = field.fixed || redundant ? 0 : inRow < 256 ? 1 : 2;
            size += inRow + length;
            nullable += field.nullable ? 1 : 0;
        }
        return size + (redundant ? 6 + 2 * (fields.size() + own) : 5 + (nullable + 7) / 8);
    }
};

/// Half of what an empty page takes.
Number Limit(Format format, Number pageSize) {
    return (pageSize - (format == Format::kRedundant ? 137 : 132)) / 2;
}

Number DecimalBytes(Number digits) {
    return digits / 9 * 4 + (digits % 9 + 1) / 2;
}

/// A column of information_schema.columns: its type, its length in bytes (0: it has none), its
/// digits or the digits of its seconds.
Field FieldOf(const std::string& type, Number octets, Number precision, Number scale,
              bool multiByte) {
    static const std::map<std::string, Number> fixed{
        {"tinyint", 1}, {"smallint", 2}, {"mediumint", 3}, {"int", 4},  {"bigint", 8},
        {"float", 4},   {"double", 8},   {"date", 3},      {"year", 1}, {"enum", 1}};
    static const std::map<std::string, Number> times{
        {"time", 3}, {"timestamp", 4}, {"datetime", 5}};
    if (const auto found = fixed.find(type); found != fixed.end()) {
        return {type, found->second, true};
    }
    if (const auto found = times.find(type); found != times.end()) {
        return {type, found->second + (precision + 1) / 2, true};
    }
    if (type == "decimal") {
        return {type, DecimalBytes(precision - scale) + DecimalBytes(scale), true};
    }
    const bool hasLength = type.ends_with("char") || type.ends_with("binary");
    return {type, octets == 0 && !hasLength ? kLong : octets,
            type == "binary" || (type == "char" && !multiByte)};
}

/// A column of the layout: "billingname VARCHAR(100) DEFAULT '' NOT NULL".
Field FieldOf(const std::string& definition, Number maxLength) {
    const auto words = SplitAtBlanks(definition);
    const std::string type = LowerCase(words.at(1).substr(0, words[1].find('(')));
    Number length = 0;
    Number scale = 0;
    char sign = 0;
    std::istringstream(words[1].substr(type.size())) >> sign >> length >> sign >> scale;
    const Number octets = type.ends_with("char") ? length * maxLength : 0;
    Field field = FieldOf(type == "bool" ? "tinyint" : type, octets, length, scale, maxLength > 1);
    field.nullable = words.at(words.size() - 2) != "NOT";
    return field;
}

std::map<std::string, Table> ReadTables(host::Connection& connection, const std::string& database) {
    std::map<std::string, Table> tables;
    const auto formats = connection.Query(
        fmt::format("SELECT t.table_name, t.row_format, t.create_options, c.maxlen FROM "
                    "information_schema.tables t INNER JOIN information_schema.character_sets c ON "
                    "c.character_set_name = SUBSTRING_INDEX(t.table_collation, '_', 1) WHERE "
                    "t.table_schema = '{}' AND t.engine = 'InnoDB';",
                    database));
    while (formats->Next()) {
        if (const auto format = FormatOf(formats->Get(1).ToText())) {
            Table& table = tables[formats->Get(0).ToText()];
            table.format = *format;
            table.formatIsItsOwn =
                formats->Get(2).ToText().find("row_format=") != std::string::npos;
            table.maxLength = std::stoull(formats->Get(3).ToText());
        }
    }
    const auto keys = connection.Query(
        fmt::format("SELECT table_name FROM information_schema.statistics WHERE table_schema = "
                    "'{}' AND non_unique = 0 GROUP BY table_name, index_name HAVING MAX(nullable) "
                    "= '';",
                    database));
    while (keys->Next()) {
        if (const auto table = tables.find(keys->Get(0).ToText()); table != tables.end()) {
            table->second.hasKey = true;
        }
    }
    const auto columns = connection.Query(fmt::format(
        "SELECT table_name, column_name, data_type, COALESCE(character_octet_length, 0), "
        "COALESCE(numeric_precision, datetime_precision, 0), COALESCE(numeric_scale, 0), "
        "character_octet_length > character_maximum_length, is_nullable FROM "
        "information_schema.columns WHERE table_schema = '{}';",
        database));
    const auto number = [&](std::size_t i) { return std::stoull(columns->Get(i).ToText()); };
    while (columns->Next()) {
        const auto table = tables.find(columns->Get(0).ToText());
        if (table != tables.end()) {
            const bool multiByte = !columns->Get(6).IsNull() && columns->Get(6).ToText() == "1";
            Field field =
                FieldOf(columns->Get(2).ToText(), number(3), number(4), number(5), multiByte);
            field.nullable = columns->Get(7).ToText() == "YES";
            table->second.fields[columns->Get(1).ToText()] = field;
        }
    }
    return tables;
}

/// What a pending step does to a column of a table.
struct Change {
    std::string step;
    std::string column;
    Field field;            ///< as it will be
    bool rebuilds = false;  ///< even where the column is new
};

/// The changes of a table of the layout, in the order in which they come.
std::vector<Change> ChangesOf(const Layout::Table& expected, const Table& table,
                              const PendingRun& pending) {
    std::vector<Change> changes;
    for (const auto& [name, item] : expected.items) {
        const std::string& definition = item.definitions.front();
        if (pending.Has(item.step) && !name.starts_with("KEY ") && name != "PRIMARY KEY") {
            const Field field = FieldOf(definition, table.maxLength);
            const auto stored = table.fields.find(name);
            if (stored == table.fields.end() || stored->second != field) {
                changes.push_back({item.step, name, field,
                                   definition.find(" AUTO_INCREMENT") != std::string::npos});
            }
        }
    }
    std::stable_sort(changes.begin(), changes.end(), [&](const Change& a, const Change& b) {
        return pending.Place(a.step) < pending.Place(b.step);
    });
    return changes;
}

/// The changes of the forms' data tables, by table.
std::map<std::string, std::vector<Change>> ChangesOfForms(
    host::Connection& connection, const std::string& database,
    const std::map<std::string, Table>& tables, const PendingRun& pending) {
    struct Use {
        std::string_view step;
        std::string_view types;
        Field field;
    };
    const std::array uses{Use{"SiteSchemaStep_1_0035", "'float'", {"double", 8, true}},
                          Use{"SiteSchemaStep_1_0047", "'currency'", {"decimal", 8, true}},
                          Use{"SiteContentStep_1_0255", "'dhtml', 'memo'", {"longtext", kLong}}};
    std::map<std::string, std::vector<Change>> changes;
    for (const Use& use : uses) {
        if (!pending.Has(use.step) || !tables.contains("formfield")) {
            continue;
        }
        std::unique_ptr<host::Rows> fields;
        try {
            fields = connection.Query(fmt::format(
                "SELECT CONCAT('form_', featureid), CONCAT('field_', formfieldid) FROM "
                "{}.formfield WHERE type IN({}) AND featureid IS NOT NULL ORDER BY formfieldid;",
                database, use.types));
        } catch (const HostError& error) {
            if (!IsMissing(error)) {
                throw;
            }
            break;  // a finding of its own
        }
        while (fields->Next()) {
            const auto table = tables.find(fields->Get(0).ToText());
            if (table == tables.end()) {
                continue;
            }
            const std::string column = fields->Get(1).ToText();
            const auto stored = table->second.fields.find(column);
            if (stored != table->second.fields.end() && stored->second != use.field) {
                changes[table->first].push_back({std::string(use.step), column, use.field});
            }
        }
    }
    return changes;
}

/// What InnoDB holds against a row; the server's limits hold anyway.
struct InnoDbRules {
    Format serversFormat;
    Number pageSize;
};

/// A table and a step that changes it.
struct Place {
    std::string database;
    std::string table;
    std::string step = {};
};

/// Why the server takes no table like this, of whatever engine; nothing when it does.
std::optional<CheckFinding> RefusedByServer(const Place& at, const Table& table) {
    constexpr Number kLongestRow = 65535;
    constexpr Number kMostColumns = 1017;
    if (const Number columns = table.fields.size(); columns > kMostColumns) {
        const CheckFinding finding{
            at.database, at.table, at.step,
            fmt::format("a table takes {} columns, and it comes to {}", kMostColumns, columns),
            "drop columns that the platform does not have"};
        return finding;
    }
    if (const Number size = table.ServerRowSize(); size > kLongestRow) {
        const CheckFinding finding{
            at.database, at.table, at.step,
            fmt::format("a row takes {} bytes without its long texts, and it comes to {}",
                        kLongestRow, size),
            "make columns that the platform does not have shorter"};
        return finding;
    }
    return std::nullopt;
}

/// Carries out the changes until one is refused. A column is not added to a table whose row is too
/// long already, however short it is; a change that rebuilds the table is refused where the row is
/// too long afterwards, in the format that the server now gives it.
std::optional<CheckFinding> FirstRefused(Place at, Table table, const std::vector<Change>& changes,
                                         const std::optional<InnoDbRules>& rules) {
    for (const Change& change : changes) {
        at.step = change.step;
        const auto stored = table.fields.find(change.column);
        const bool isNew = stored == table.fields.end();
        Table looked = table;
        Table after = table;
        after.fields[change.column] = change.field;
        if (!isNew && stored->second.type == "float" && change.field.type == "double") {
            looked.fields["double_temp"] = change.field;  // the old column goes only after that
            after.fields = looked.fields;
        } else if (!isNew || change.rebuilds) {
            looked.fields[change.column] = change.field;
            looked.format = table.formatIsItsOwn || !rules ? table.format : rules->serversFormat;
        }
        if (auto refused = RefusedByServer(at, after)) {
            return refused;
        }
        if (const Number size = looked.RowSize();
            rules && size >= Limit(looked.format, rules->pageSize)) {
            const CheckFinding finding{
                at.database, at.table, at.step,
                fmt::format("in the row format {} a row takes less than {} bytes, and it can come "
                            "to {}",
                            NameOf(looked.format), Limit(looked.format, rules->pageSize), size),
                fmt::format("ALTER TABLE {}.{} ROW_FORMAT=DYNAMIC", at.database, at.table)};
            return finding;
        }
        table.format = looked.format;
        table.fields[change.column] = change.field;
    }
    return std::nullopt;
}

void CheckTables(host::Connection& connection, const PendingDatabase& database,
                 const std::optional<InnoDbRules>& rules, std::vector<CheckFinding>& findings) {
    const bool isSite = database.kind == Kind::kSite;
    const Layout& expected = isSite ? SiteLayout() : CentralLayout();
    const PendingRun pending = database.Run();
    const auto tables = ReadTables(connection, database.name);
    auto changes = isSite ? ChangesOfForms(connection, database.name, tables, pending)
                          : std::map<std::string, std::vector<Change>>();
    for (const auto& [name, table] : tables) {
        if (const auto found = expected.tables.find(name); found != expected.tables.end()) {
            changes[name] = ChangesOf(found->second, table, pending);
        }
        if (const auto finding = FirstRefused({database.name, name}, table, changes[name], rules)) {
            findings.push_back(*finding);
        }
    }
}

/// Nothing where InnoDB does not mind, or counts otherwise than here.
std::optional<InnoDbRules> RulesOf(host::Connection& connection) {
    const ServerVersion version = ServerVersion::Of(connection);
    if (!version.IsMariaDb() || version.Number() < 100300) {
        return std::nullopt;
    }
    const InnoDbSettings settings = InnoDbSettings::Of(connection);
    const auto serversFormat = FormatOf(settings.defaultRowFormat);
    const auto page = connection.Query("SELECT @@innodb_page_size;");
    const Number pageSize = page->Next() ? std::stoull(page->Get(0).ToText()) : 0;
    constexpr Number kLargestPage = 65536;  // of which a row takes less than a half
    if (!settings.strict || !serversFormat || pageSize == kLargestPage) {
        return std::nullopt;
    }
    return InnoDbRules{*serversFormat, pageSize};
}

}  // namespace

void CheckRowSizes(host::Connection& connection, const std::vector<PendingDatabase>& pending,
                   std::vector<CheckFinding>& findings) {
    const auto rules = RulesOf(connection);
    for (const PendingDatabase& database : pending) {
        if (database.kind == Kind::kCentral || database.kind == Kind::kSite) {
            CheckTables(connection, database, rules, findings);
        }
    }
}

}  // namespace twupdate::cli
