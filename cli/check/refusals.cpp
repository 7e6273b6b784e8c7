#include "cli/check/refusals.h"

#include <fmt/format.h>

#include <regex>

#include "cli/server/server_errors.h"
#include "host/sql_tokens.h"

namespace twupdate::cli {
namespace {

/// The first name between quotes in the server's words.
std::string FirstName(const std::string& text) {
    static const std::regex name("['`]([^'`]+)['`]");
    std::smatch found;
    return std::regex_search(text, found, name) ? found[1].str() : std::string();
}

/// The table that lacks the column: the one of which the statement says that it has it, or else the
/// first that it reads.
host::TableName TableWithout(const std::string& column, const DryStatement& statement,
                             const host::Catalogue& stored) {
    const auto lacks = [&](const host::TableName& name) {
        const bool isTarget = name == statement.target && statement.before;
        const auto* table =
            isTarget ? statement.before.get() : stored.Find(name.database, name.table);
        return table != nullptr && table->Find(column) == nullptr;
    };
    for (const auto& use : host::NamesIn(statement.sql).uses) {
        if (use.table && host::EqualNames(use.column, column) && lacks(*use.table)) {
            return *use.table;
        }
    }
    const bool reads = statement.kind == StatementKind::kInsert && statement.tables.size() > 1;
    for (const host::TableName& name : statement.tables) {
        if (lacks(name) && !(reads && name == statement.target)) {
            return name;
        }
    }
    return statement.tables.empty() ? statement.target : statement.tables.front();
}

/// What the refusal names.
host::TableName PlaceOf(const DryStatement& statement, const std::string& name,
                        const host::Catalogue& stored) {
    switch (statement.refusal->code) {
        case kUnknownDatabase:
            return {name, ""};
        case kUnknownTable:
            return {name.substr(0, name.find('.')), name.substr(name.find('.') + 1)};
        case kUnknownColumn:
            return TableWithout(name, statement, stored);
        default:
            return statement.target;
    }
}

CheckFinding FindingOf(const DryStatement& statement, const host::Catalogue& stored) {
    constexpr const char* kFromBackup = "bring it back from a backup";
    const host::Refusal& refusal = *statement.refusal;
    const std::string name = FirstName(refusal.text);
    const host::TableName at = PlaceOf(statement, name, stored);
    CheckFinding finding{at.database, at.table, StepOf(statement), "", ""};
    switch (refusal.code) {
        case kUnknownDatabase:
        case kUnknownTable:
            if (stored.HasDatabase(at.database)) {
                finding.problem = "the table is missing";
            } else {
                finding.problem = "the database is missing";
                finding.table.clear();
            }
            finding.fix = kFromBackup;
            break;
        case kUnknownColumn:
        case kNoKeyColumn:
            finding.problem = fmt::format("the column {} is missing", name);
            finding.fix = kFromBackup;
            break;
        case kTableExists:
            finding.problem = fmt::format("the table {} is there already", name);
            finding.fix = "see which of the two is in use, and rename the other";
            break;
        case kColumnExists:
            finding.problem = fmt::format("the column {} is there already", name);
            finding.fix =
                "twupdate repair tells what an interrupted run has left; rename a column of your "
                "own";
            break;
        case kKeyExists:
            finding.problem = fmt::format("the key {} is there already", name);
            finding.fix = "drop or rename the key";
            break;
        case kSecondPrimaryKey:
            finding.problem = "the table has another primary key";
            finding.fix = fmt::format("ALTER TABLE {}.{} DROP PRIMARY KEY", at.database, at.table);
            break;
        default:
            finding.problem = "the server refuses the change: " + refusal.text;
            finding.fix =
                "twupdate plan --sql shows the statement; compare the table with that of another "
                "site";
            break;
    }
    return finding;
}

}  // namespace

void CheckRefusals(const ServerState& server, const host::Catalogue& stored, const Walk& walk,
                   std::vector<CheckFinding>& findings) {
    for (const DryStatement& statement : walk.record) {
        if (statement.refusal) {
            walk.Tell(FindingOf(statement, stored), findings);
        }
    }
    if (!walk.failure) {
        return;
    }
    const Walk::Failure& failure = *walk.failure;  // mostly for a row of that database
    const bool isDenied = failure.code == kDatabaseDenied || failure.code == kTableDenied ||
                          failure.code == kColumnDenied;
    if (!isDenied) {  // which CheckPrivileges tells of
        AddOnce({failure.table.database, failure.table.table, failure.step, failure.text,
                 failure.code == kNotGrouped ? server.RunWithout({"ONLY_FULL_GROUP_BY", "ANSI"})
                                             : "correct what the message names"},
                findings);
    }
}

}  // namespace twupdate::cli
