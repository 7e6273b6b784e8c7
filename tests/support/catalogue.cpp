#include "support/catalogue.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace twupdate::test {
namespace {

bool IsNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

std::string Lower(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return lower;
}

std::string_view Trim(std::string_view text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.front())) != 0) {
        text.remove_prefix(1);
    }
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())) != 0) {
        text.remove_suffix(1);
    }
    return text;
}

/// LIKE without an escape character: '%' is any text, '_' any one character.
bool IsLike(std::string_view text, std::string_view pattern) {
    if (pattern.empty()) {
        return text.empty();
    }
    if (pattern.front() == '%') {
        return IsLike(text, pattern.substr(1)) ||
               (!text.empty() && IsLike(text.substr(1), pattern));
    }
    return !text.empty() && (pattern.front() == '_' || pattern.front() == text.front()) &&
           IsLike(text.substr(1), pattern.substr(1));
}

StatementRefused Refused(std::uint32_t code, const char* sqlState, const std::string& text) {
    return {code, sqlState, text};
}

}  // namespace

/// Reads one statement and applies it to a catalogue.
class CatalogueStatement {
  public:
    CatalogueStatement(Catalogue& catalogue, std::string_view sql)
        : databases_(catalogue.databases_), text_(sql) {}

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
        return OnRows();
    }

  private:
    using Table = Catalogue::Table;
    using Column = Catalogue::Column;
    using Index = Catalogue::Index;

    void SkipBlanks() {
        while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_])) != 0) {
            ++at_;
        }
    }

    bool Accept(std::string_view word) {
        SkipBlanks();
        const auto end = at_ + word.size();
        if (end > text_.size() || Lower(text_.substr(at_, word.size())) != Lower(word)) {
            return false;
        }
        if (IsNameCharacter(word.back()) && end < text_.size() && IsNameCharacter(text_[end])) {
            return false;
        }
        at_ = end;
        return true;
    }

    void Expect(std::string_view word) {
        if (!Accept(word)) {
            throw Refused(1064, "42000",
                          "You have an error in your SQL syntax near '" +
                              std::string(text_.substr(at_, 40)) + "': no " + std::string(word));
        }
    }

    std::string Name() {
        SkipBlanks();
        const auto begin = at_;
        while (at_ < text_.size() && IsNameCharacter(text_[at_])) {
            ++at_;
        }
        if (begin == at_) {
            Expect("a name");
        }
        return std::string(text_.substr(begin, at_ - begin));
    }

    std::string Quoted() {
        Expect("'");
        const auto end = text_.find('\'', at_);
        std::string quoted(text_.substr(at_, end - at_));
        at_ = end + 1;
        return quoted;
    }

    std::pair<std::string, std::string> QualifiedName() {
        std::string database = Name();
        Expect(".");
        return {std::move(database), Name()};
    }

    /// The text up to a comma or closing parenthesis outside quotes and inner parentheses.
    std::string Clause() {
        SkipBlanks();
        const auto begin = at_;
        int depth = 0;
        bool quoted = false;
        for (; at_ < text_.size(); ++at_) {
            const char c = text_[at_];
            if (c == '\'') {
                quoted = !quoted;
            } else if (quoted) {
                continue;
            } else if (c == '(') {
                ++depth;
            } else if ((c == ')' && depth-- == 0) || (c == ',' && depth == 0) || c == ';') {
                break;
            }
        }
        return std::string(Trim(text_.substr(begin, at_ - begin)));
    }

    std::string Parenthesised() {
        Expect("(");
        std::string inner = Clause();
        while (Accept(",")) {
            inner += ", " + Clause();
        }
        Expect(")");
        return inner;
    }

    std::map<std::string, Table>& Database(const std::string& name) {
        const auto found = databases_.find(name);
        if (found == databases_.end()) {
            throw Refused(1049, "42000", "Unknown database '" + name + "'");
        }
        return found->second;
    }

    Table& TableOf(const std::pair<std::string, std::string>& name) {
        const auto database = databases_.find(name.first);
        if (database != databases_.end()) {
            const auto table = database->second.find(name.second);
            if (table != database->second.end()) {
                return table->second;
            }
        }
        throw Refused(1146, "42S02",
                      "Table '" + name.first + "." + name.second + "' doesn't exist");
    }

    static auto FindColumn(Table& table, const std::string& name) {
        return std::find_if(table.columns.begin(), table.columns.end(),
                            [&](const Column& column) { return column.name == name; });
    }

    static auto FindIndex(Table& table, const std::string& name) {
        return std::find_if(table.indexes.begin(), table.indexes.end(),
                            [&](const Index& index) { return index.name == name; });
    }

    static void AddIndex(Table& table, Index index) {
        if (FindIndex(table, index.name) != table.indexes.end()) {
            if (index.name == "PRIMARY") {
                throw Refused(1068, "42000", "Multiple primary key defined");
            }
            throw Refused(1061, "42000", "Duplicate key name '" + index.name + "'");
        }
        table.indexes.push_back(std::move(index));
    }

    /// A key clause, or false where the text goes on with a column.
    bool AcceptKey(Table& table) {
        if (Accept("PRIMARY")) {
            Expect("KEY");
            AddIndex(table, {"PRIMARY", Parenthesised(), true});
            return true;
        }
        const bool unique = Accept("UNIQUE");
        if (Accept("INDEX") || Accept("KEY")) {
            std::string name = Name();
            AddIndex(table, {std::move(name), Parenthesised(), unique});
            return true;
        }
        return false;
    }

    ResultSet CreateDatabase() {
        const bool ifNotExists = AcceptIfNotExists();
        const std::string name = Name();
        if (databases_.contains(name) && !ifNotExists) {
            throw Refused(1007, "HY000", "Can't create database '" + name + "'; database exists");
        }
        databases_[name];
        return {};
    }

    bool AcceptIfNotExists() {
        if (!Accept("IF")) {
            return false;
        }
        Expect("NOT");
        Expect("EXISTS");
        return true;
    }

    ResultSet CreateTable() {
        Expect("TABLE");
        const bool ifNotExists = AcceptIfNotExists();
        const auto [databaseName, name] = QualifiedName();
        auto& database = Database(databaseName);
        if (database.contains(name)) {
            if (ifNotExists) {
                return {};
            }
            throw Refused(1050, "42S01", "Table '" + name + "' already exists");
        }
        Table table;
        Expect("(");
        do {
            if (!AcceptKey(table)) {
                std::string column = Name();
                table.columns.push_back({std::move(column), Clause()});
            }
        } while (Accept(","));
        Expect(")");
        database.emplace(name, std::move(table));
        return {};
    }

    ResultSet AlterTable() {
        Table& table = TableOf(QualifiedName());
        Table changed = table;
        do {
            AlterOnce(changed);
        } while (Accept(","));
        SkipBlanks();
        if (at_ < text_.size()) {
            Expect(";");
        }
        table = std::move(changed);
        return {};
    }

    void AlterOnce(Table& table) {
        if (Accept("ADD")) {
            if (AcceptKey(table)) {
                return;
            }
            Expect("COLUMN");
            std::string name = Name();
            std::string definition = Clause();
            if (FindColumn(table, name) != table.columns.end()) {
                throw Refused(1060, "42S21", "Duplicate column name '" + name + "'");
            }
            constexpr std::string_view kFirst = " FIRST";
            auto place = table.columns.end();
            if (definition.ends_with(kFirst)) {
                definition.resize(definition.size() - kFirst.size());
                place = table.columns.begin();
            }
            table.columns.insert(place, {std::move(name), std::move(definition)});
        } else if (Accept("DROP")) {
            DropFrom(table);
        } else if (Accept("MODIFY")) {
            Expect("COLUMN");
            const auto column = ExistingColumn(table, Name());
            column->definition = Clause();
        } else {
            Expect("CHANGE");
            Expect("COLUMN");
            const auto column = ExistingColumn(table, Name());
            column->name = Name();
            column->definition = Clause();
        }
    }

    static std::vector<Column>::iterator ExistingColumn(Table& table, const std::string& name) {
        const auto column = FindColumn(table, name);
        if (column == table.columns.end()) {
            throw Refused(1054, "42S22", "Unknown column '" + name + "'");
        }
        return column;
    }

    void DropFrom(Table& table) {
        if (Accept("PRIMARY")) {
            Expect("KEY");
            DropIndex(table, "PRIMARY");
        } else if (Accept("INDEX")) {
            DropIndex(table, Name());
        } else {
            Expect("COLUMN");
            const std::string name = Name();
            const auto column = FindColumn(table, name);
            if (column == table.columns.end()) {
                throw Refused(1091, "42000", "Can't DROP COLUMN `" + name + "`");
            }
            table.columns.erase(column);
        }
    }

    static void DropIndex(Table& table, const std::string& name) {
        const auto index = FindIndex(table, name);
        if (index == table.indexes.end()) {
            throw Refused(1091, "42000", "Can't DROP INDEX `" + name + "`");
        }
        table.indexes.erase(index);
    }

    ResultSet RenameTable() {
        const auto from = QualifiedName();
        Table& table = TableOf(from);
        Expect("TO");
        const auto [database, name] = QualifiedName();
        if (Database(database).contains(name)) {
            throw Refused(1050, "42S01", "Table '" + name + "' already exists");
        }
        Database(database)[name] = std::move(table);
        Database(from.first).erase(from.second);
        return {};
    }

    ResultSet Drop() {
        if (Accept("DATABASE")) {
            databases_.erase(Name());
        } else {
            Expect("TABLE");
            const auto name = QualifiedName();
            TableOf(name);
            Database(name.first).erase(name.second);
        }
        return {};
    }

    ResultSet Show() {
        ResultSet result;
        if (Accept("DATABASES")) {
            Expect("LIKE");
            const std::string pattern = Quoted();
            result.columns = {"Database (" + pattern + ")"};
            for (const auto& [name, tables] : databases_) {
                if (IsLike(name, pattern)) {
                    result.rows.push_back({name});
                }
            }
            return result;
        }
        if (Accept("TABLES")) {
            Expect("FROM");
            const std::string database = Name();
            Expect("LIKE");
            const std::string pattern = Quoted();
            result.columns = {"Tables_in_" + database + " (" + pattern + ")"};
            for (const auto& [name, table] : Database(database)) {
                if (IsLike(name, pattern)) {
                    result.rows.push_back({name});
                }
            }
            return result;
        }
        Expect("INDEXES");
        Expect("FROM");
        const auto name = QualifiedName();
        result.columns = {"Table", "Non_unique", "Key_name", "Column_name"};
        for (const Index& index : TableOf(name).indexes) {
            result.rows.push_back({name.second, index.unique ? 0 : 1, index.name, index.columns});
        }
        return result;
    }

    ResultSet Describe() {
        const Table& table = TableOf(QualifiedName());
        SkipBlanks();
        const std::string wanted =
            at_ < text_.size() && IsNameCharacter(text_[at_]) ? Name() : std::string();
        ResultSet result;
        result.columns = {"Field", "Type"};
        for (const Column& column : table.columns) {
            if (wanted.empty() || wanted == column.name) {
                result.rows.push_back({column.name, column.Type()});
            }
        }
        return result;
    }

    /// A statement on rows: every table that it names with its database must exist.
    ResultSet OnRows() {
        bool quoted = false;
        for (std::size_t i = 0; i < text_.size(); ++i) {
            if (text_[i] == '\'') {
                quoted = !quoted;
            }
            if (quoted || !text_.substr(i).starts_with("tw_") ||
                (i > 0 && (IsNameCharacter(text_[i - 1]) || text_[i - 1] == '.'))) {
                continue;
            }
            at_ = i;
            std::string database = Name();
            if (at_ < text_.size() && text_[at_] == '.') {
                ++at_;
                TableOf({std::move(database), Name()});
            }
            i = at_ - 1;
        }
        return {};
    }

    std::map<std::string, std::map<std::string, Table>>& databases_;
    std::string_view text_;
    std::size_t at_ = 0;
};

std::string Catalogue::Column::Type() const {
    const std::string lower = Lower(definition);
    const auto end = lower.find(' ');
    const std::string word = lower.substr(0, end);
    if (word == "int") {
        return "int(11)";
    }
    if (word == "bool") {
        return "tinyint(1)";
    }
    return word;
}

ResultSet Catalogue::Run(std::string_view sql) {
    return CatalogueStatement(*this, sql).Run();
}

void Catalogue::RunScript(std::string_view script) {
    std::string statement;
    while (!script.empty()) {
        const auto end = script.find('\n');
        const auto line = Trim(script.substr(0, end));
        script = end == std::string_view::npos ? std::string_view() : script.substr(end + 1);
        if (line.starts_with("--") || line.empty()) {
            continue;
        }
        statement.append(line).append(" ");
        if (line.ends_with(";")) {
            Run(statement);
            statement.clear();
        }
    }
}

void Catalogue::AddTable(const std::string& database, const std::string& createText) {
    AddDatabase(database);
    Run("CREATE TABLE " + database + "." + createText + ";");
}

void Catalogue::DropTable(const std::string& database, const std::string& table) {
    databases_.at(database).erase(table);
}

const Catalogue::Table* Catalogue::Find(const std::string& database,
                                        const std::string& table) const {
    const auto found = databases_.find(database);
    if (found == databases_.end()) {
        return nullptr;
    }
    const auto it = found->second.find(table);
    return it == found->second.end() ? nullptr : &it->second;
}

std::optional<std::string> Catalogue::Definition(const std::string& database,
                                                 const std::string& table,
                                                 const std::string& column) const {
    if (const Table* found = Find(database, table)) {
        for (const Column& candidate : found->columns) {
            if (candidate.name == column) {
                return candidate.definition;
            }
        }
    }
    return std::nullopt;
}

bool Catalogue::HasIndex(const std::string& database, const std::string& table,
                         const std::string& index) const {
    const Table* found = Find(database, table);
    return found != nullptr &&
           std::any_of(found->indexes.begin(), found->indexes.end(),
                       [&](const Index& candidate) { return candidate.name == index; });
}

std::string Catalogue::Text() const {
    std::string text;
    for (const auto& [database, tables] : databases_) {
        text += database + "\n";
        for (const auto& [name, table] : tables) {
            text += "  " + name + "\n";
            for (const Column& column : table.columns) {
                text += "    " + column.name + " " + column.definition + "\n";
            }
            for (const Index& index : table.indexes) {
                text += std::string("    ") + (index.unique ? "unique " : "index ") + index.name +
                        "(" + index.columns + ")\n";
            }
        }
    }
    return text;
}

}  // namespace twupdate::test
