#include "twupdate_host/catalogue.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>
#include <utility>

#include "like.h"
#include "sql_tokens.h"

namespace twupdate::host {
namespace {

template <typename Named>
auto FindNamed(Named& items, std::string_view name) {
    return std::find_if(items.begin(), items.end(),
                        [&](const auto& item) { return EqualNames(item.name, name); });
}

std::string TypeWord(std::string_view type) {
    return std::string(type.substr(0, type.find_first_of("( ")));
}

bool IsLongText(std::string_view word) {
    return word.ends_with("text") || word.ends_with("blob");
}

bool HasCharset(std::string_view word) {
    return word.ends_with("text") || word.ends_with("char") || word == "enum" || word == "set";
}

/// The number in "varchar(20)"; nothing in "text".
std::optional<std::uint32_t> LengthOf(std::string_view type) {
    const auto open = type.find('(');
    std::uint32_t length = 0;
    if (open == std::string_view::npos ||
        std::from_chars(type.data() + open + 1, type.data() + type.size(), length).ec !=
            std::errc{}) {
        return std::nullopt;
    }
    return length;
}

/// A default as the server shows it: with the decimals of the type, or with its time.
std::string ShownDefault(const std::string& type, std::string text) {
    const std::string word = TypeWord(type);
    if (word == "decimal") {
        const auto comma = type.find(',');
        std::size_t scale = 0;
        std::from_chars(type.data() + comma + 1, type.data() + type.size(), scale);
        const auto point = std::min(text.find('.'), text.size());
        std::string decimals = point < text.size() ? text.substr(point + 1) : "";
        decimals.resize(scale, '0');
        return text.substr(0, point) + (scale > 0 ? "." + decimals : "");
    }
    if (word.ends_with("int") || word == "float" || word == "double") {
        if (text.find('.') != std::string::npos) {
            text.resize(text.find_last_not_of('0') + 1);
            text.resize(text.size() - (text.ends_with('.') ? 1U : 0U));
        }
        return text;
    }
    if (word == "datetime" || word == "timestamp") {
        constexpr std::string_view kMidnight = " 00:00:00";
        constexpr std::size_t kDate = 10;  // "1000-01-01"
        if (text.size() >= kDate && text.size() < kDate + kMidnight.size() && text[4] == '-') {
            text += kMidnight.substr(text.size() - kDate);
        }
    }
    return text;
}

}  // namespace

/// Reads one statement and applies it to a catalogue.
class CatalogueStatement {
  public:
    CatalogueStatement(Catalogue& catalogue, std::string_view sql, std::optional<Refusal>* refused)
        : catalogue_(catalogue), tokens_(Tokenize(sql)), sql_(sql), refused_(refused) {}

    ResultSet Run() {
        if (Accept("CREATE")) {
            return Accept("DATABASE") ? CreateDatabase() : CreateTable();
        }
        if (Accept("ALTER")) {
            Expect("TABLE");
            return AlterTable();
        }
        if (Accept("RENAME")) {
            Expect("TABLE");
            return RenameTable();
        }
        if (Accept("DROP")) {
            return Drop();
        }
        if (Accept("SHOW")) {
            return Show();
        }
        if (Accept("DESCRIBE")) {
            return Describe();
        }
        if (Accept("REPAIR")) {
            return {};  // changes no layout, and answers for a missing table with a row
        }
        if (auto missing = catalogue_.Missing(NamesIn(sql_))) {
            Reject(std::move(*missing));
        }
        return {};
    }

  private:
    using Table = Catalogue::Table;
    using Column = Catalogue::Column;
    using Index = Catalogue::Index;

    // --- the text -----------------------------------------------------------------------------

    const SqlToken& Peek() const { return tokens_[at_]; }
    const SqlToken& Take() {
        const SqlToken& token = tokens_[at_];
        at_ += token.kind == SqlToken::Kind::kEnd ? 0U : 1U;
        return token;
    }
    bool Accept(std::string_view wordOrSign) {
        const bool accepted = Peek().Is(wordOrSign);
        at_ += accepted ? 1U : 0U;
        return accepted;
    }
    [[noreturn]] void FailToFollow(std::string_view wanted) const {
        throw Refusal{0, "",
                      "expected " + std::string(wanted) + " in the statement at '" +
                          std::string(Peek().text) + "'"};
    }
    void Expect(std::string_view wordOrSign) {
        if (!Accept(wordOrSign)) {
            FailToFollow(wordOrSign);
        }
    }
    std::string Name() {
        if (!Peek().IsName()) {
            FailToFollow("name");
        }
        return std::string(Take().text);
    }
    std::uint32_t Number(std::uint32_t most) {
        const std::string_view text = Peek().text;
        const char* const end = text.data() + text.size();
        std::uint32_t number = 0;
        const auto [rest, error] = std::from_chars(text.data(), end, number);
        if (Peek().kind != SqlToken::Kind::kNumber || error != std::errc{} || rest != end ||
            number > most) {
            FailToFollow("number up to " + std::to_string(most));
        }
        Take();
        return number;
    }
    std::string Text() {
        if (Peek().kind != SqlToken::Kind::kText) {
            FailToFollow("text");
        }
        return Take().Unescaped();
    }
    TableName QualifiedName() {
        std::string database = Name();
        Expect(".");
        return {std::move(database), Name()};
    }
    bool AcceptIfNotExists() {
        if (!Accept("IF")) {
            return false;
        }
        Expect("NOT");
        Expect("EXISTS");
        return true;
    }
    bool AcceptIfExists() {
        if (!Accept("IF")) {
            return false;
        }
        Expect("EXISTS");
        return true;
    }
    void ExpectEnd() {
        Accept(";");
        if (Peek().kind != SqlToken::Kind::kEnd) {
            FailToFollow("end");
        }
    }

    // --- refusals -----------------------------------------------------------------------------

    void Reject(Refusal refusal) {
        if (refused_ == nullptr) {
            throw refusal;
        }
        if (!*refused_) {
            *refused_ = std::move(refusal);  // the first one is what the server answers
        }
    }

    /// The database's tables; null when there is no such database.
    Catalogue::Database* FindDatabase(const std::string& name) {
        const auto found = catalogue_.databases_.find(name);
        if (found == catalogue_.databases_.end()) {
            Reject({1049, "42000", "Unknown database '" + name + "'"});
            return nullptr;
        }
        return &found->second;
    }

    /// The place of a table; null when there is none.
    Catalogue::TablePointer* FindTable(const TableName& name) {
        const auto database = catalogue_.databases_.find(name.database);
        if (database != catalogue_.databases_.end()) {
            const auto table = database->second.tables.find(name.table);
            if (table != database->second.tables.end()) {
                return &table->second;
            }
        }
        Reject({1146, "42S02", "Table '" + name.database + "." + name.table + "' doesn't exist"});
        return nullptr;
    }

    // --- columns ------------------------------------------------------------------------------

    /// "17,2"; a server has limits for both.
    std::string ReadDecimals() {
        constexpr std::uint32_t kMostDigits = 65;
        constexpr std::uint32_t kMostDecimals = 38;
        std::uint32_t digits = 10;
        std::uint32_t decimals = 0;
        if (Accept("(")) {
            digits = Number(kMostDigits);
            decimals = Accept(",") ? Number(kMostDecimals) : 0;
            Expect(")");
        }
        return std::to_string(digits) + "," + std::to_string(decimals);
    }

    std::string ReadType() {
        std::string word = LowerCase(Name());
        if (word == "bool" || word == "boolean") {
            return "tinyint(1)";
        }
        word = word == "integer" ? "int" : word == "dec" || word == "numeric" ? "decimal" : word;
        std::string arguments;
        if (word == "decimal") {
            arguments = ReadDecimals();
        } else if (Accept("(")) {
            do {
                const SqlToken& token = Take();
                const bool isText = token.kind == SqlToken::Kind::kText;
                arguments +=
                    (arguments.empty() ? "" : ",") +
                    (isText ? "'" + std::string(token.text) + "'" : std::string(token.text));
            } while (Accept(","));
            Expect(")");
        }
        const bool isUnsigned = Accept("UNSIGNED");
        static const std::map<std::string, int> widths{
            {"tinyint", 4}, {"smallint", 6}, {"mediumint", 9}, {"int", 11}, {"bigint", 20}};
        if (const auto width = widths.find(word); width != widths.end()) {
            if (arguments.empty()) {
                const bool isNarrower = isUnsigned && word != "bigint";
                arguments = std::to_string(width->second - (isNarrower ? 1 : 0));
            }
            if (!catalogue_.defaults.displayWidths && word + arguments != "tinyint1") {
                arguments.clear();
            }
        } else if (word == "char" && arguments.empty()) {
            arguments = "1";
        }
        return word + (arguments.empty() ? "" : "(" + arguments + ")") +
               (isUnsigned ? " unsigned" : "");
    }

    /// A column as it stands after its name.
    Column ReadColumn(std::string name, const Table& table) {
        Column column{.name = std::move(name), .type = ReadType()};
        if (HasCharset(TypeWord(column.type))) {
            column.charset = table.charset;
            column.collation = table.collation;
        }
        for (;;) {
            if (Accept("NOT")) {
                Expect("NULL");
                column.nullable = false;
            } else if (Accept("DEFAULT")) {
                column.defaultText = ReadDefault(column.type);
            } else if (Accept("AUTO_INCREMENT")) {
                column.autoIncrement = true;
            } else if (!Accept("NULL")) {
                break;
            }
        }
        column.nullable = column.nullable && !column.autoIncrement;
        return column;
    }

    std::optional<std::string> ReadDefault(const std::string& type) {
        if (Accept("NULL")) {
            return std::nullopt;
        }
        if (Peek().kind == SqlToken::Kind::kText) {
            return ShownDefault(type, Text());
        }
        if (Accept("CURRENT_TIMESTAMP") || Accept("NOW")) {
            if (Accept("(")) {
                Expect(")");
            }
            return "current_timestamp()";
        }
        if (Accept("TRUE")) {
            return "1";
        }
        if (Accept("FALSE")) {
            return "0";
        }
        const std::string sign = Accept("-") ? "-" : "";
        if (Peek().kind != SqlToken::Kind::kNumber) {
            FailToFollow("default");
        }
        return ShownDefault(type, sign + std::string(Take().text));
    }

    void AddColumn(Table& table, Column column) {
        if (FindNamed(table.columns, column.name) != table.columns.end()) {
            Reject({1060, "42S21", "Duplicate column name '" + column.name + "'"});
            return;
        }
        auto place = table.columns.end();
        if (Accept("FIRST")) {
            place = table.columns.begin();
        } else if (Accept("AFTER")) {
            place = FindNamed(table.columns, Name());
            place += place == table.columns.end() ? 0 : 1;
        }
        table.columns.insert(place, std::move(column));
    }

    void ChangeColumn(Table& table, const std::string& name, Column column) {
        const auto found = FindNamed(table.columns, name);
        if (found == table.columns.end()) {
            Reject({1054, "42S22", "Unknown column '" + name + "' in '" + table_.table + "'"});
            table.columns.push_back(std::move(column));
            return;
        }
        if (!EqualNames(name, column.name) &&
            FindNamed(table.columns, column.name) != table.columns.end()) {
            Reject({1060, "42S21", "Duplicate column name '" + column.name + "'"});
            return;
        }
        for (Index& index : table.indexes) {
            for (Catalogue::KeyPart& part : index.parts) {
                if (EqualNames(part.column, name)) {
                    part.column = column.name;
                }
            }
        }
        *found = std::move(column);
    }

    void DropColumn(Table& table, const std::string& name) {
        const auto column = FindNamed(table.columns, name);
        if (column == table.columns.end()) {
            RejectDrop("COLUMN", name);
            return;
        }
        table.columns.erase(column);
        for (Index& index : table.indexes) {
            std::erase_if(index.parts,
                          [&](const auto& part) { return EqualNames(part.column, name); });
        }
        std::erase_if(table.indexes, [](const Index& index) { return index.parts.empty(); });
    }

    // --- keys ---------------------------------------------------------------------------------

    /// A key clause, or false where the text goes on with a column.
    bool AcceptKey(Table& table) {
        if (Accept("PRIMARY")) {
            Expect("KEY");
            AddIndex(table, {"PRIMARY", true, ReadParts()});
            return true;
        }
        const bool unique = Accept("UNIQUE");
        if (Accept("INDEX") || Accept("KEY") || unique) {
            std::string name = Name();
            AddIndex(table, {std::move(name), unique, ReadParts()});
            return true;
        }
        return false;
    }

    std::vector<Catalogue::KeyPart> ReadParts() {
        std::vector<Catalogue::KeyPart> parts;
        Expect("(");
        do {
            Catalogue::KeyPart part{Name()};
            if (Accept("(")) {
                part.length = Number(std::numeric_limits<std::uint32_t>::max());
                Expect(")");
            }
            parts.push_back(std::move(part));
        } while (Accept(","));
        Expect(")");
        return parts;
    }

    void AddIndex(Table& table, Index index) {
        if (FindNamed(table.indexes, index.name) != table.indexes.end()) {
            if (index.name == "PRIMARY") {
                Reject({1068, "42000", "Multiple primary key defined"});
            } else {
                Reject({1061, "42000", "Duplicate key name '" + index.name + "'"});
            }
            return;
        }
        table.indexes.push_back(std::move(index));
    }

    void DropIndex(Table& table, const std::string& name) {
        const auto index = FindNamed(table.indexes, name);
        if (index == table.indexes.end()) {
            RejectDrop("INDEX", name);
            return;
        }
        table.indexes.erase(index);
    }

    void RejectDrop(const char* what, const std::string& name) {
        Reject({1091, "42000",
                "Can't DROP " + std::string(what) + " `" + name + "`; check that it exists"});
    }

    /// What holds of a whole table, once every clause has been read.
    void FinishKeys(Table& table) {
        for (Index& index : table.indexes) {
            for (Catalogue::KeyPart& part : index.parts) {
                const auto column = FindNamed(table.columns, part.column);
                if (column == table.columns.end()) {
                    Reject(
                        {1072, "42000", "Key column '" + part.column + "' doesn't exist in table"});
                    continue;
                }
                part.column = column->name;
                column->nullable = column->nullable && index.name != "PRIMARY";
                FinishPart(*column, part, index.name == "PRIMARY");
            }
        }
        for (const Column& column : table.columns) {
            const bool isKey =
                std::any_of(table.indexes.begin(), table.indexes.end(), [&](const Index& index) {
                    return !index.parts.empty() &&
                           EqualNames(index.parts.front().column, column.name);
                });
            if (column.autoIncrement && !isKey) {
                Reject({1075, "42000",
                        "Incorrect table definition; there can be only one auto column and it "
                        "must be defined as a key"});
            }
        }
    }

    void FinishPart(const Column& column, Catalogue::KeyPart& part, bool isPrimary) {
        const std::string word = TypeWord(column.type);
        const bool isText = IsLongText(word) || word.ends_with("char") || word.ends_with("binary");
        if (IsLongText(word) && !part.length && (isPrimary || !catalogue_.defaults.shortensKeys)) {
            Reject({1170, "42000",
                    "BLOB/TEXT column '" + column.name +
                        "' used in key specification without a key length"});
        }
        const auto length = isText && !IsLongText(word) ? LengthOf(column.type) : std::nullopt;
        if (part.length && (!isText || (length && *part.length > *length))) {
            Reject({1089, "HY000",
                    "Incorrect prefix key; the used key part isn't a string, the used length is "
                    "longer than the key part, or the storage engine doesn't support unique "
                    "prefix keys"});
            part.length.reset();
        }
        if (part.length && length && *part.length == *length) {
            part.length.reset();  // the whole column
        }
    }

    // --- statements ---------------------------------------------------------------------------

    ResultSet CreateDatabase() {
        const bool ifNotExists = AcceptIfNotExists();
        const std::string name = Name();
        ExpectEnd();
        if (catalogue_.HasDatabase(name)) {
            if (!ifNotExists) {
                Reject({1007, "HY000", "Can't create database '" + name + "'; database exists"});
            }
            return {};
        }
        catalogue_.AddDatabase(name);
        return {};
    }

    ResultSet CreateTable() {
        Expect("TABLE");
        const bool ifNotExists = AcceptIfNotExists();
        table_ = QualifiedName();
        auto* database = FindDatabase(table_.database);
        if (database == nullptr) {
            return {};
        }
        if (database->tables.contains(table_.table)) {
            if (!ifNotExists) {
                Reject({1050, "42S01", "Table '" + table_.table + "' already exists"});
            }
            return {};
        }
        Table table{.engine = catalogue_.defaults.engine,
                    .rowFormat = catalogue_.defaults.rowFormat,
                    .charset = database->charset,
                    .collation = database->collation};
        Expect("(");
        do {
            if (!AcceptKey(table)) {
                std::string name = Name();
                AddColumn(table, ReadColumn(std::move(name), table));
            }
        } while (Accept(","));
        Expect(")");
        ExpectEnd();
        FinishKeys(table);
        database->tables[table_.table] = std::make_shared<const Table>(std::move(table));
        return {};
    }

    ResultSet AlterTable() {
        table_ = QualifiedName();
        auto* place = FindTable(table_);
        if (place == nullptr) {
            return {};
        }
        if ((*place)->isView) {
            Reject({1347, "HY000",
                    "'" + table_.database + "." + table_.table + "' is not of type 'BASE TABLE'"});
        }
        Table changed = **place;
        do {
            AlterOnce(changed);
        } while (Accept(","));
        ExpectEnd();
        FinishKeys(changed);
        *place = std::make_shared<const Table>(std::move(changed));
        return {};
    }

    void AlterOnce(Table& table) {
        if (Accept("ADD")) {
            if (!AcceptKey(table)) {
                Expect("COLUMN");
                std::string name = Name();
                AddColumn(table, ReadColumn(std::move(name), table));
            }
        } else if (Accept("DROP")) {
            if (Accept("PRIMARY")) {
                Expect("KEY");
                DropIndex(table, "PRIMARY");
            } else if (Accept("INDEX")) {
                DropIndex(table, Name());
            } else {
                Expect("COLUMN");
                DropColumn(table, Name());
            }
        } else {
            const bool renames = Accept("CHANGE");
            if (!renames) {
                Expect("MODIFY");
            }
            Expect("COLUMN");
            const std::string name = Name();
            std::string newName = renames ? Name() : name;
            ChangeColumn(table, name, ReadColumn(std::move(newName), table));
        }
    }

    ResultSet RenameTable() {
        const TableName from = QualifiedName();
        Expect("TO");
        const TableName to = QualifiedName();
        ExpectEnd();
        const auto* place = FindTable(from);
        auto* database = FindDatabase(to.database);
        if (place == nullptr || database == nullptr) {
            return {};
        }
        if (database->tables.contains(to.table)) {
            Reject({1050, "42S01", "Table '" + to.table + "' already exists"});
        }
        const auto table = *place;
        catalogue_.databases_[from.database].tables.erase(from.table);
        database->tables[to.table] = table;
        return {};
    }

    ResultSet Drop() {
        if (Accept("DATABASE")) {
            const bool ifExists = AcceptIfExists();
            const std::string name = Name();
            if (catalogue_.databases_.erase(name) == 0 && !ifExists) {
                Reject(
                    {1008, "HY000", "Can't drop database '" + name + "'; database doesn't exist"});
            }
            return {};
        }
        Expect("TABLE");
        const bool ifExists = AcceptIfExists();
        const TableName name = QualifiedName();
        if (catalogue_.Find(name.database, name.table) == nullptr) {
            if (ifExists) {
                return {};
            }
            Reject({1051, "42S02", "Unknown table '" + name.database + "." + name.table + "'"});
            return {};
        }
        catalogue_.DropTable(name.database, name.table);
        return {};
    }

    // --- answers ------------------------------------------------------------------------------

    template <typename Items>
    static ResultSet NamesLike(std::string head, const Items& items, const std::string& pattern) {
        ResultSet result{{head.append(" (").append(pattern).append(")")}, {}};
        for (const auto& [name, item] : items) {
            if (IsLike(name, pattern)) {
                result.rows.push_back({name});
            }
        }
        return result;
    }

    ResultSet Show() {
        if (Accept("DATABASES")) {
            Expect("LIKE");
            return NamesLike("Database", catalogue_.databases_, Text());
        }
        if (Accept("TABLES")) {
            Expect("FROM");
            const std::string name = Name();
            Expect("LIKE");
            const std::string pattern = Text();
            const auto* database = FindDatabase(name);
            return database == nullptr ? ResultSet{{"Tables_in_" + name}, {}}
                                       : NamesLike("Tables_in_" + name, database->tables, pattern);
        }
        Expect("INDEXES");
        Expect("FROM");
        const TableName name = QualifiedName();
        ResultSet result{{"Table", "Non_unique", "Key_name", "Column_name"}, {}};
        if (const auto* table = FindTable(name)) {
            for (const Index& index : (*table)->indexes) {
                for (const auto& part : index.parts) {
                    result.rows.push_back(
                        {name.table, index.unique ? 0 : 1, index.name, part.column});
                }
            }
        }
        return result;
    }

    ResultSet Describe() {
        const TableName name = QualifiedName();
        const std::string wanted = Peek().IsName() ? Name() : std::string();
        ResultSet result{{"Field", "Type", "Null", "Default"}, {}};
        if (const auto* table = FindTable(name)) {
            for (const Column& column : (*table)->columns) {
                if (wanted.empty() || EqualNames(wanted, column.name)) {
                    result.rows.push_back(
                        {column.name, column.type, column.nullable ? "YES" : "NO",
                         column.defaultText ? Value(*column.defaultText) : Value()});
                }
            }
        }
        return result;
    }

    Catalogue& catalogue_;
    std::vector<SqlToken> tokens_;
    std::string_view sql_;
    std::optional<Refusal>* refused_;
    std::size_t at_ = 0;
    TableName table_;  ///< that is created or altered
};

std::string Catalogue::Column::TypeName() const {
    if (type == "tinyint(1)") {
        return "BOOL";
    }
    std::string text = type;
    if (TypeWord(type).ends_with("int")) {
        const auto open = std::min(type.find('('), type.size());  // a display width says nothing
        text.erase(open, type.find(')') + 1 - open);
    }
    const auto letters = static_cast<std::ptrdiff_t>(std::min(text.find('\''), text.size()));
    std::transform(text.begin(), text.begin() + letters, text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::string Catalogue::Column::Definition() const {
    const std::string word = TypeWord(type);
    const bool isNumber =
        word.ends_with("int") || word == "float" || word == "double" || word == "decimal";
    const std::string quote = isNumber ? "" : "'";
    return TypeName() + (autoIncrement ? " AUTO_INCREMENT" : "") +
           (defaultText ? " DEFAULT " + quote + *defaultText + quote : "") +
           (nullable ? "" : " NOT NULL");
}

bool Catalogue::Column::NeedsValue() const {
    return !nullable && !defaultText && !autoIncrement && !generated && !type.starts_with("enum");
}

std::string Catalogue::Index::PartsText() const {
    std::string text;
    for (const KeyPart& part : parts) {
        text += (text.empty() ? "" : ", ") + part.column +
                (part.length ? "(" + std::to_string(*part.length) + ")" : "") +
                (part.descending ? " DESC" : "");
    }
    return text;
}

const Catalogue::Column* Catalogue::Table::Find(std::string_view column) const {
    const auto found = FindNamed(columns, column);
    return found == columns.end() ? nullptr : &*found;
}

const Catalogue::Index* Catalogue::Table::FindIndex(std::string_view index) const {
    const auto found = FindNamed(indexes, index);
    return found == indexes.end() ? nullptr : &*found;
}

ResultSet Catalogue::Run(std::string_view sql, std::optional<Refusal>* refused) {
    return CatalogueStatement(*this, sql, refused).Run();
}

std::optional<Refusal> Catalogue::Missing(const StatementNames& names) const {
    for (const TableName& name : names.tables) {
        if (Find(name.database, name.table) == nullptr) {
            return Refusal{1146, "42S02",
                           "Table '" + name.database + "." + name.table + "' doesn't exist"};
        }
    }
    const auto unknown = [](const std::string& column, const char* clause) {
        return Refusal{1054, "42S22", "Unknown column '" + column + "' in '" + clause + "'"};
    };
    for (const std::string& column : names.columns) {
        if (Find(names.target.database, names.target.table)->Find(column) == nullptr) {
            return unknown(column, "INSERT INTO");
        }
    }
    for (const StatementNames::ColumnUse& use : names.uses) {
        const bool found =
            std::any_of(names.tables.begin(), names.tables.end(), [&](const TableName& name) {
                return (!use.table || *use.table == name) &&
                       Find(name.database, name.table)->Find(use.column) != nullptr;
            });
        if (!found) {
            return unknown(use.column, "WHERE");
        }
    }
    return std::nullopt;
}

void Catalogue::RunScript(std::string_view script) {
    std::size_t begin = 0;
    for (const SqlToken& token : Tokenize(script)) {
        if (token.Is(";")) {
            const auto end = static_cast<std::size_t>(token.text.data() - script.data());
            Run(script.substr(begin, end - begin));
            begin = end + 1;
        }
    }
}

void Catalogue::AddDatabase(const std::string& database) {
    databases_.try_emplace(database, Database{defaults.charset, defaults.collation, {}});
}

void Catalogue::AddDatabase(const std::string& database, Database content) {
    databases_[database] = std::move(content);
}

void Catalogue::AddTable(const std::string& database, const std::string& createText) {
    AddDatabase(database);
    Run("CREATE TABLE " + database + "." + createText + ";");
}

void Catalogue::DropTable(const std::string& database, const std::string& table) {
    databases_.at(database).tables.erase(table);
}

const Catalogue::Table* Catalogue::Find(const std::string& database,
                                        const std::string& table) const {
    const auto found = databases_.find(database);
    if (found == databases_.end()) {
        return nullptr;
    }
    const auto it = found->second.tables.find(table);
    return it == found->second.tables.end() ? nullptr : it->second.get();
}

Catalogue::TablePointer Catalogue::Share(const TableName& name) const {
    return Find(name.database, name.table) == nullptr
               ? nullptr
               : databases_.at(name.database).tables.at(name.table);
}

std::optional<std::string> Catalogue::Definition(const std::string& database,
                                                 const std::string& table,
                                                 const std::string& column) const {
    const Table* found = Find(database, table);
    const Column* candidate = found == nullptr ? nullptr : found->Find(column);
    return candidate == nullptr ? std::nullopt : std::optional(candidate->Definition());
}

bool Catalogue::HasIndex(const std::string& database, const std::string& table,
                         const std::string& index) const {
    const Table* found = Find(database, table);
    return found != nullptr && found->FindIndex(index) != nullptr;
}

std::string Catalogue::Text() const {
    std::string text;
    for (const auto& [databaseName, database] : databases_) {
        text += databaseName + "\n";
        for (const auto& [name, table] : database.tables) {
            text += "  " + name + "\n";
            for (const Column& column : table->columns) {
                text += "    " + column.name + " " + column.Definition() + "\n";
            }
            for (const Index& index : table->indexes) {
                text += std::string("    ") + (index.unique ? "unique " : "index ") + index.name +
                        "(" + index.PartsText() + ")\n";
            }
        }
    }
    return text;
}

}  // namespace twupdate::host
