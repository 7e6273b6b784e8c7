#include "cli/run/statement_kind.h"

namespace twupdate::cli {

StatementKind KindOf(std::string_view sql) {
    const std::string_view word = sql.substr(0, sql.find_first_of(" \t\n"));
    for (const std::string_view change : {"ALTER", "CREATE", "DROP", "RENAME", "TRUNCATE"}) {
        if (word == change) {
            return StatementKind::kTableChange;
        }
    }
    for (const std::string_view write :
         {"INSERT", "UPDATE", "DELETE", "REPLACE", "START", "COMMIT;"}) {
        if (word == write) {
            return StatementKind::kWrite;
        }
    }
    return StatementKind::kRead;
}

const char* KindName(StatementKind kind) {
    switch (kind) {
        case StatementKind::kTableChange:
            return "ddl";
        case StatementKind::kWrite:
            return "write";
        case StatementKind::kRead:
            return "read";
    }
    return "";
}

}  // namespace twupdate::cli
