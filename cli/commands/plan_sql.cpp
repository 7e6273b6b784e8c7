#include "cli/commands/plan_sql.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/server/root_site.h"
#include "cli/terminal/text.h"
#include "twupdate/update.h"
#include "twupdate_host/dry_host.h"

namespace twupdate::cli {
namespace {

using host::DryStatement;
using Kind = DryStatement::Kind;

struct Walked {
    std::string database;
    std::vector<DryStatement> statements;
    std::string error;       ///< that ended the walk; empty: none
    host::Catalogue layout;  ///< that it leaves
};

std::string RefusalText(const host::Refusal& refusal) {
    return fmt::format("{} ({})", refusal.text, refusal.code);
}

Walked Walk(const std::shared_ptr<host::Connection>& connection, const host::Catalogue& layout,
            const host::DryHostOptions& options, const PlannedWalk& walk) {
    const auto dry = std::make_shared<host::DryHost>(connection, layout, options);
    Walked walked;
    Update update;
    update.Configure(dry);
    try {
        if (walk.siteId == 0) {
            walked.database = "tw_tarnwick";
            update.UpdateServer(walk.version);
        } else {
            walked.database = fmt::format("tw_{}", walk.siteId);
            update.UpdateSite(walk.siteId, walk.version);
        }
    } catch (const std::exception& error) {
        const LadderStep* step = dry->CurrentStep();
        walked.error =
            fmt::format("{}: {}", step == nullptr ? walked.database : step->name, error.what());
    }
    walked.layout = dry->Layout();
    for (const DryStatement& statement : dry->Record()) {
        if (statement.kind != Kind::kRead && statement.kind != Kind::kInspect) {
            walked.statements.push_back(statement);
        }
    }
    return walked;
}

void Print(const Walked& walked, const PlannedWalk& walk, Console& console) {
    console.Print(fmt::format("-- {} from {}: {}", walked.database, VersionText(walk.version),
                              Count(walked.statements.size(), "statement")));
    std::string_view step;
    for (const DryStatement& statement : walked.statements) {
        const std::string_view name = statement.step == nullptr ? "" : statement.step->name;
        if (name != step) {
            console.Print(fmt::format("\n-- {}", name.empty() ? "after the ladders" : name));
            step = name;
        }
        if (statement.kind == Kind::kService) {
            console.Print("-- component service: " + statement.sql);
        } else {
            console.Print(statement.sql);
        }
        if (statement.times > 1) {
            console.Print(fmt::format("-- and {} more with other values", statement.times - 1));
        }
        if (statement.refusal) {
            console.Print("-- would be refused: " + RefusalText(*statement.refusal));
        }
    }
    console.Print("");
}

nlohmann::ordered_json JsonOf(const Walked& walked, const PlannedWalk& walk) {
    nlohmann::ordered_json result{{"database", walked.database},
                                  {"version", VersionText(walk.version)}};
    auto& statements = result["statements"] = nlohmann::ordered_json::array();
    for (const DryStatement& statement : walked.statements) {
        nlohmann::ordered_json item;
        if (statement.step != nullptr) {
            item["step"] = statement.step->name;
        }
        item[statement.kind == Kind::kService ? "service" : "sql"] = statement.sql;
        item["times"] = statement.times;
        if (statement.refusal) {
            item["refused"] = RefusalText(*statement.refusal);
        }
        statements.push_back(std::move(item));
    }
    if (!walked.error.empty()) {
        result["error"] = walked.error;
    }
    return result;
}

}  // namespace

void PrintStatements(Session& session, const GlobalOptions& options,
                     const std::vector<PlannedWalk>& walks, Console& console) {
    const auto& connection = session.GetConnection();
    host::DryHostOptions dryOptions{.resources = InstallFolder(options) / "resources",
                                    .localHostName = options.localHostName};
    std::vector<std::string> central{"tw_tarnwick", "tw_logs"};
    if (const auto root = RootSite(*session.Own())) {
        central.push_back(fmt::format("tw_{}", *root));
    }
    host::Catalogue stored = host::ReadCatalogue(*connection, central);
    host::Catalogue layout = stored;
    nlohmann::ordered_json result{{"command", "plan"},
                                  {"current_version", VersionText(kCurrentVersion)}};
    auto& databases = result["databases"] = nlohmann::ordered_json::array();
    for (const PlannedWalk& walk : walks) {
        const std::string name = fmt::format("tw_{}", walk.siteId);
        const auto site = host::ReadCatalogue(*connection, {name});
        host::Catalogue before = layout;
        dryOptions.stored = stored;
        if (site.HasDatabase(name) && !stored.HasDatabase(name)) {
            before.AddDatabase(name, site.Databases().at(name));
            dryOptions.stored->AddDatabase(name, site.Databases().at(name));
        }
        const Walked walked = Walk(connection, before, dryOptions, walk);
        if (walk.siteId == 0) {
            layout = walked.layout;  // what the sites find
        }
        Print(walked, walk, console);
        databases.push_back(JsonOf(walked, walk));
        if (!walked.error.empty()) {
            console.Warn(fmt::format("{}: the statements end here, as the upgrade would: {}",
                                     walked.database, walked.error));
        }
    }
    console.Result(result);
}

}  // namespace twupdate::cli
