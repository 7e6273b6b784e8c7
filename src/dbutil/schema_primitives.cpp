#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

/// Reads on until a row whose `column` equals `wanted` to the letter; false at the end.
bool FindRow(Reader& rows, std::string_view column, std::string_view wanted) {
    for (; !rows.IsEOF(); rows.ReaderMoveNext()) {
        if (rows.GetField(column).ToText() == wanted) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool Update::TableExists(const std::string& db, const std::string& table) {
    const auto tables = OpenRecordset(Sql("SHOW TABLES FROM ", db, " LIKE '", table, "';"));
    const bool found = !tables->IsEOF();
    tables->Close();
    return found;
}

bool Update::ColumnExists(const std::string& db, const std::string& table,
                          const std::string& column) {
    const auto columns = OpenReader(Sql("DESCRIBE ", db, ".", table, ";"));
    const bool found = FindRow(*columns, "Field", column);
    columns->ReaderClose();
    return found;
}

bool Update::IndexExists(const std::string& db, const std::string& table,
                         const std::string& index) {
    const auto indexes = OpenReader(Sql("SHOW INDEXES FROM ", db, ".", table, ";"));
    const bool found = FindRow(*indexes, "Key_name", index);
    indexes->ReaderClose();
    return found;
}

void Update::AddColumnIfMissing(const std::string& db, const std::string& table,
                                const std::string& column, const std::string& definition) {
    if (!ColumnExists(db, table, column)) {
        AddColumn(db, table, column, definition);
    }
}

void Update::AddColumn(const std::string& db, const std::string& table, const std::string& column,
                       const std::string& definition) {
    Execute(Sql("ALTER TABLE ", db, ".", table, " ADD COLUMN ", column, " ", definition, ";"));
}

void Update::DropColumn(const std::string& db, const std::string& table,
                        const std::string& column) {
    if (ColumnExists(db, table, column)) {
        Execute(Sql("ALTER TABLE ", db, ".", table, " DROP COLUMN ", column, ";"));
    }
}

void Update::DropColumnByQuery(const std::string& db, const std::string& table,
                               const std::string& column) {
    if (ColumnExists(db, table, column)) {
        OpenRecordset(Sql("ALTER TABLE ", db, ".", table, " DROP COLUMN ", column, ";"));
    }
}

void Update::DropIndex(const std::string& db, const std::string& table, const std::string& index) {
    if (IndexExists(db, table, index)) {
        Execute(Sql("ALTER TABLE ", db, ".", table, " DROP INDEX ", index, ";"));
    }
}

void Update::AddIndexIfMissing(const std::string& db, const std::string& table,
                               const std::string& index, const std::string& columns) {
    if (!IndexExists(db, table, index)) {
        AddIndex(db, table, index, columns);
    }
}

void Update::AddIndex(const std::string& db, const std::string& table, const std::string& index,
                      const std::string& columns) {
    Execute(Sql("ALTER TABLE ", db, ".", table, " ADD INDEX ", index, "(", columns, ");"));
}

void Update::ConvertFloatToDouble(const std::string& db, const std::string& table,
                                  const std::string& column) {
    const auto columns = OpenReader(Sql("DESCRIBE ", db, ".", table, ";"));
    const bool isFloat =
        FindRow(*columns, "Field", column) && columns->GetField("Type").ToText() == "float";
    columns->ReaderClose();
    if (!isFloat) {
        return;
    }
    Execute(
        Sql("ALTER TABLE ", db, ".", table, " ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;"));
    // As text, so that 0.1 stays 0.1: the bits of the float would give 0.10000000149.
    Execute(Sql("UPDATE ", db, ".", table, " SET double_temp = CAST(", column, " AS BINARY);"));
    Execute(Sql("ALTER TABLE ", db, ".", table, " DROP COLUMN ", column, ";"));
    Execute(Sql("ALTER TABLE ", db, ".", table, " CHANGE COLUMN double_temp ", column,
                " DOUBLE DEFAULT 0 NOT NULL;"));
}

void Update::ConvertToDecimal(const std::string& db, const std::string& table,
                              const std::string& column) {
    const auto found = OpenReader(Sql("DESCRIBE ", db, ".", table, " ", column, ";"));
    const bool exists = !found->IsEOF();
    found->ReaderClose();
    if (exists) {
        Execute(Sql("ALTER TABLE ", db, ".", table, " MODIFY COLUMN ", column,
                    " DECIMAL(17,2) NOT NULL DEFAULT '0.00';"));
    }
}

}  // namespace twupdate
