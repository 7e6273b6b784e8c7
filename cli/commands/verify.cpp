#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <filesystem>
#include <iterator>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "cli/backup/backup.h"
#include "cli/backup/dump.h"
#include "cli/commands/commands.h"
#include "cli/commands/jobs_option.h"
#include "cli/commands/site_option.h"
#include "cli/run/parallel.h"
#include "cli/server/beyond_layout.h"
#include "cli/server/installation.h"
#include "cli/server/layout.h"
#include "cli/server/server_version.h"
#include "cli/server/session.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

struct VerifyResult {
    std::vector<std::string> databases;
    std::vector<std::string> notUpgraded;  ///< databases that are not at the current version
    std::vector<LayoutFinding> findings;
    std::vector<std::string> notes;  ///< what is for the owner of a database to decide
    /// Optional tables of each database.
    std::vector<std::pair<std::string, std::vector<std::string>>> absent;
};

template <typename Item>
void Append(std::vector<Item>& to, std::vector<Item> items) {
    std::move(items.begin(), items.end(), std::back_inserter(to));
}

/// @param siteId  of a site's database
void VerifyDatabase(host::Connection& connection, const std::string& database,
                    std::optional<std::int64_t> siteId, const Layout& expected,
                    VerifyResult& verifyResult) {
    verifyResult.databases.push_back(database);
    const host::Catalogue catalogue = host::ReadCatalogue(connection, {database});
    if (!catalogue.HasDatabase(database) || catalogue.Databases().at(database).tables.empty()) {
        verifyResult.findings.push_back({database, "", "", "", "", "", ""});
        return;
    }
    const auto& actual = catalogue.Databases().at(database);
    auto& absent = verifyResult.absent.emplace_back(database, std::vector<std::string>()).second;
    const Layout layout = LayoutOf(actual);
    const FeatureEvidence evidence =
        siteId
            ? FindFeatureEvidence(connection, *siteId, actual, FeaturesWithTables(expected, layout))
            : FeatureEvidence();
    Append(verifyResult.findings, Compare(database, expected, layout, absent, evidence));
    auto beyond = FindBeyondLayout(database, expected, actual);
    Append(verifyResult.findings, std::move(beyond.findings));
    Append(verifyResult.notes, std::move(beyond.notes));
}

/// The indexes of the web logs. An installation may have no log yet.
void VerifyLogs(host::Connection& connection, VerifyResult& verifyResult) {
    const Layout actual = ReadLayout(connection, "tw_logs");
    std::vector<std::string> logs;
    for (const auto& [name, table] : actual.tables) {
        if (name.starts_with("tw_")) {
            logs.push_back(name);
        }
    }
    if (!logs.empty()) {
        std::vector<std::string> absent;
        verifyResult.databases.emplace_back("tw_logs");
        Append(verifyResult.findings, Compare("tw_logs", LogsLayout(logs), actual, absent));
    }
}

std::string TextOf(const LayoutFinding& finding) {
    return finding.table.empty()
               ? fmt::format("{}: the database is missing, or has no tables", finding.database)
               : finding.Text();
}

/// What was found in one database follows what was found before.
void Append(VerifyResult& to, VerifyResult one) {
    Append(to.databases, std::move(one.databases));
    Append(to.findings, std::move(one.findings));
    Append(to.notes, std::move(one.notes));
    Append(to.absent, std::move(one.absent));
}

struct VerifyArguments {
    std::optional<std::int32_t> siteId;
    JobsOption jobs;
};

VerifyResult VerifyAll(Session& session, const VerifyArguments& arguments, Console& console) {
    const auto& siteId = arguments.siteId;
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
            VerifyDatabase(*session.GetConnection(), "tw_tarnwick", std::nullopt,
                           onThisServer(CentralLayout()), verifyResult);
            VerifyLogs(*session.GetConnection(), verifyResult);
        }
    }
    bool found = false;
    std::vector<std::int64_t> sites;  // to be compared
    for (const SiteRow& site : installation.Sites()) {
        const auto state = site.State();
        if ((siteId && site.siteId != *siteId) || state == SiteState::kHardDeleted ||
            state == SiteState::kNoSite) {
            continue;
        }
        found = true;
        if (!site.version || IsBelow(*site.version, kCurrentVersion)) {
            verifyResult.notUpgraded.push_back(fmt::format("tw_{}", site.siteId));
        } else {
            sites.push_back(site.siteId);
        }
    }
    if (siteId && !found) {
        throw CommandError(
            fmt::format("tw_tarnwick.site has no site {}, or it is hard-deleted", *siteId));
    }
    std::vector<VerifyResult> ofSites(sites.size());
    const JobSessions sessions(session, arguments.jobs.Number(), sites.size(), console);
    const auto verifySite = [&](unsigned job, std::size_t place) {
        VerifyDatabase(sessions.ConnectionOf(job), fmt::format("tw_{}", sites[place]), sites[place],
                       siteLayout, ofSites[place]);
    };
    InParallel(sessions.Count(), sites.size(), {verifySite, {}, {}});
    for (VerifyResult& one : ofSites) {
        Append(verifyResult, std::move(one));
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
    result["notes"] = verifyResult.notes;
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
    return fmt::format("{} compared: {}.", Count(databases, "database"),
                       verifyResult.findings.empty()
                           ? "no differences"
                           : Count(verifyResult.findings.size(), "difference"));
}

/// The newest backup that has a dump of the database: below the folder, or the folder itself.
std::optional<fs::path> FolderWithDump(const fs::path& backup, const std::string& database) {
    std::vector<fs::path> folders{backup};
    for (const BackupRun& run : BackupRuns(backup)) {
        folders.push_back(run.folder);
    }
    const auto found = std::find_if(folders.rbegin(), folders.rend(), [&](const fs::path& folder) {
        std::error_code ignored;
        return fs::exists(DumpFile(folder, database), ignored);
    });
    return found == folders.rend() ? std::nullopt : std::optional(*found);
}

/// Makes findings of the optional tables that a database lacks and that its last dump has.
/// @returns false when there is no dump
bool CompareWithBackup(const fs::path& backup, const std::string& database,
                       std::vector<std::string>& absent, std::vector<LayoutFinding>& findings) {
    const auto folder = FolderWithDump(backup, database);
    if (!folder) {
        return false;
    }
    const DumpContents dump = ReadDump(DumpFile(*folder, database), database);
    const auto note = ReadNote(*folder, database);
    std::erase_if(absent, [&](const std::string& table) {
        const bool isInDump = dump.Tables().contains(table);
        if (isInDump) {
            findings.push_back({database, table, "", "", "", "",
                                fmt::format("the table is missing, but the dump of {} has it",
                                            note ? note->time : folder->string())});
        }
        return isInDump;
    });
    return true;
}

/// The same of all databases.
void CompareWithBackup(const fs::path& backup, unsigned jobs, VerifyResult& verifyResult,
                       Console& console) {
    auto& databases = verifyResult.absent;
    struct Found {
        bool hasDump = false;
        std::vector<LayoutFinding> findings;
    };
    std::vector<Found> found(databases.size());
    CountedProgress progress(console, "database", databases.size());
    const auto compare = [&](unsigned /*job*/, std::size_t place) {
        const std::string& database = databases[place].first;
        progress.Next("reading the dump of " + database);
        found[place].hasDump =
            CompareWithBackup(backup, database, databases[place].second, found[place].findings);
    };
    InParallel(jobs, databases.size(), {compare, {}, {}});
    for (Found& one : found) {
        Append(verifyResult.findings, std::move(one.findings));
    }
    if (std::none_of(found.begin(), found.end(), [](const Found& one) { return one.hasDump; })) {
        throw CommandError(
            fmt::format("{} has no dump of these databases\nhint: --backup names the folder of the "
                        "upgrade's backups",
                        backup.string()),
            kUsageError);
    }
}

int Verify(const GlobalOptions& options, Console& console, const VerifyArguments& arguments) {
    Session session(options);
    VerifyResult verifyResult = VerifyAll(session, arguments, console);
    if (!options.backup.empty()) {
        CompareWithBackup(options.backup, arguments.jobs.Number(), verifyResult, console);
    }
    for (const LayoutFinding& finding : verifyResult.findings) {
        console.Print(TextOf(finding));
    }
    for (const std::string& note : verifyResult.notes) {
        console.Say("note: " + note);
    }
    if (!verifyResult.notUpgraded.empty()) {
        console.Say(fmt::format("Not at {}, so not compared: {}", VersionText(kCurrentVersion),
                                fmt::join(verifyResult.notUpgraded, ", ")));
    }
    console.Say(Verdict(verifyResult));
    console.Result(JsonOf(verifyResult));
    return verifyResult.findings.empty() ? kDone : kFindings;
}

}  // namespace

void AddVerify(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("verify", "Compare the upgraded databases with the expected layout");
    const auto arguments = std::make_shared<VerifyArguments>();
    AddSiteOption(*command, arguments->siteId, "Examine only this site");
    AddJobsOption(*command, arguments->jobs, "Compare this many sites at a time");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Verify(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
