#include "dbutil/inspection.h"

#include <algorithm>
#include <utility>

#include "dbutil/sql.h"

namespace twupdate {
namespace {

std::string TextOf(const Value& value) {
    return value.IsNull() ? std::string() : value.ToText();
}

}  // namespace

Inspection::Inspection(Utility& host, std::string database)
    : host_(&host), database_(std::move(database)) {}

std::vector<Inspection::Column> Inspection::Columns(std::string_view table) const {
    const auto rows = host_->GetDatabase()->OpenRecordset(
        Sql("SELECT column_name AS name, column_type AS type, column_default IS NOT NULL AS "
            "hasdefault FROM information_schema.columns WHERE table_schema = '",
            database_, "' AND table_name = '", table, "' ORDER BY ordinal_position;"),
        0, 0);
    std::vector<Column> columns;
    for (; !rows->IsEOF(); rows->MoveNext()) {
        const Fields& fields = rows->Fields();
        columns.push_back({TextOf(fields.Item("name").Value()), TextOf(fields.Item("type").Value()),
                           fields.Item("hasdefault").Value().ToBool()});
    }
    rows->Close();
    return columns;
}

bool Inspection::HasColumn(std::string_view table, std::string_view column) const {
    const auto columns = Columns(table);
    return std::any_of(columns.begin(), columns.end(),
                       [column](const Column& stored) { return stored.name == column; });
}

std::vector<std::string> Inspection::TablesWith(std::string_view column) const {
    return Texts(Sql("SELECT c.table_name AS name FROM information_schema.columns c INNER JOIN "
                     "information_schema.tables t ON t.table_schema = c.table_schema AND "
                     "t.table_name = c.table_name WHERE c.table_schema = '",
                     database_, "' AND c.column_name = '", column,
                     "' AND t.table_type = 'BASE TABLE' ORDER BY c.table_name;"),
                 "name");
}

std::vector<std::string> Inspection::Tables() const {
    return Texts(Sql("SELECT table_name AS name FROM information_schema.tables WHERE table_schema "
                     "= '",
                     database_, "' ORDER BY table_name;"),
                 "name");
}

std::int64_t Inspection::Number(const std::string& sql) const {
    const auto rows = host_->GetDatabase()->OpenRecordset(sql, 0, 0);
    const std::string text = rows->IsEOF() ? "" : TextOf(rows->Fields().Item("n").Value());
    rows->Close();
    return text.empty() ? 0 : std::stoll(text);
}

std::int64_t Inspection::Count(std::string_view rest) const {
    return Number(Sql("SELECT COUNT(*) AS n FROM ", rest, ";"));
}

std::vector<std::string> Inspection::Texts(const std::string& sql, std::string_view column) const {
    const auto rows = host_->GetDatabase()->OpenRecordset(sql, 0, 0);
    std::vector<std::string> texts;
    for (; !rows->IsEOF(); rows->MoveNext()) {
        texts.push_back(TextOf(rows->Fields().Item(column).Value()));
    }
    rows->Close();
    return texts;
}

}  // namespace twupdate
