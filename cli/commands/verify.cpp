#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/commands/commands.h"
#include "cli/commands/site_option.h"
#include "cli/server/installation.h"
#include "cli/server/layout.h"
#include "cli/server/server_version.h"
#include "cli/server/session.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

struct VerifyResult {
    std::vector<std::string> databases;
    std::vector<std::string> notUpgraded;  ///< databases that are not at the current version
    std::vector<LayoutFinding> findings;
    /// Optional tables of each database.
    std::vector<std::pair<std::string, std::vector<std::string>>> absent;
};

void VerifyDatabase(host::Connection& connection, const std::string& database,
                    const Layout& expected, VerifyResult& verifyResult) {
    verifyResult.databases.push_back(database);
    const Layout actual = ReadLayout(connection, database);
    if (actual.tables.empty()) {
        verifyResult.findings.push_back({database, "", "", "", "", ""});
        return;
    }
    auto& absent = verifyResult.absent.emplace_back(database, std::vector<std::string>()).second;
    for (auto& finding : Compare(database, expected, actual, absent)) {
        verifyResult.findings.push_back(std::move(finding));
    }
}

std::string TextOf(const LayoutFinding& finding) {
    return finding.table.empty()
               ? fmt::format("{}: the database is missing, or has no tables", finding.database)
               : finding.Text();
}

VerifyResult VerifyAll(Session& session, std::optional<std::int32_t> siteId) {
    Installation installation(session.Own());
    const bool defaults = ServerVersion::Of(*session.GetConnection()).TakesLongTextDefaults();
    const auto onThisServer = [defaults](const Layout& layout) {
        return defaults ? layout : OnOldServer(layout);
    };
    const Layout siteLayout = onThisServer(SiteLayout());
    VerifyResult verifyResult;
    const double version = installation.Version();
    if (!siteId) {
        if (IsBelow(version, kCurrentVersion)) {
            verifyResult.notUpgraded.emplace_back("tw_tarnwick");
        } else {
            VerifyDatabase(*session.GetConnection(), "tw_tarnwick", onThisServer(CentralLayout()),
                           verifyResult);
        }
    }
    bool found = false;
    for (const SiteRow& site : installation.Sites()) {
        const auto state = site.State();
        if ((siteId && site.siteId != *siteId) || state == SiteState::kHardDeleted ||
            state == SiteState::kNoSite) {
            continue;
        }
        found = true;
        const std::string database = fmt::format("tw_{}", site.siteId);
        if (!site.version || IsBelow(*site.version, kCurrentVersion)) {
            verifyResult.notUpgraded.push_back(database);
        } else {
            VerifyDatabase(*session.GetConnection(), database, siteLayout, verifyResult);
        }
    }
    if (siteId && !found) {
        throw CommandError(
            fmt::format("tw_tarnwick.site has no site {}, or it is hard-deleted", *siteId));
    }
    return verifyResult;
}

nlohmann::ordered_json JsonOf(const VerifyResult& verifyResult) {
    nlohmann::ordered_json result{{"command", "verify"},
                                  {"result", verifyResult.findings.empty() ? "clean" : "findings"},
                                  {"databases", verifyResult.databases},
                                  {"not_upgraded", verifyResult.notUpgraded}};
    auto& findings = result["findings"] = nlohmann::ordered_json::array();
    for (const LayoutFinding& finding : verifyResult.findings) {
        findings.push_back({{"database", finding.database},
                            {"table", finding.table},
                            {"item", finding.item},
                            {"expected", finding.expected},
                            {"actual", finding.actual},
                            {"step", finding.step},
                            {"text", TextOf(finding)}});
    }
    auto& absent = result["absent_optional_tables"] = nlohmann::ordered_json::object();
    for (const auto& [database, tables] : verifyResult.absent) {
        if (!tables.empty()) {
            absent[database] = tables;
        }
    }
    return result;
}

std::string Verdict(const VerifyResult& verifyResult) {
    const std::size_t databases = verifyResult.databases.size();
    if (databases == 0) {
        return "No database was compared.";
    }
    const std::string sound = databases == 1 ? "as it should be" : "as they should be";
    return fmt::format(
        "{} compared: {}.", Count(databases, "database"),
        verifyResult.findings.empty() ? sound : Count(verifyResult.findings.size(), "difference"));
}

int Verify(const GlobalOptions& options, Console& console, std::optional<std::int32_t> siteId) {
    Session session(options);
    const VerifyResult verifyResult = VerifyAll(session, siteId);
    for (const LayoutFinding& finding : verifyResult.findings) {
        console.Print(TextOf(finding));
    }
    for (const auto& [database, tables] : verifyResult.absent) {
        if (!tables.empty()) {
            console.Say(fmt::format("{}: without {} of features that it does not have", database,
                                    Count(tables.size(), "table")));
        }
    }
    if (!verifyResult.notUpgraded.empty()) {
        console.Say(fmt::format("Not at {} and not looked at: {}", VersionText(kCurrentVersion),
                                fmt::join(verifyResult.notUpgraded, ", ")));
    }
    console.Say(Verdict(verifyResult));
    console.Result(JsonOf(verifyResult));
    return verifyResult.findings.empty() ? kDone : kFindings;
}

}  // namespace

void AddVerify(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand(
        "verify", "Compare the upgraded databases with the layout that they should have");
    const auto siteId = std::make_shared<std::optional<std::int32_t>>();
    AddSiteOption(*command, *siteId, "Look at one site alone");
    command->callback([&invocation, siteId] {
        invocation.run = [siteId](const GlobalOptions& options, Console& console) {
            return Verify(options, console, *siteId);
        };
    });
}

}  // namespace twupdate::cli
