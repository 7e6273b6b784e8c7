#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <iterator>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>

#include "cli/backup/copy_database.h"
#include "cli/backup/dump.h"
#include "cli/commands/commands.h"
#include "cli/commands/jobs_option.h"
#include "cli/commands/rehearsed_files.h"
#include "cli/commands/site_option.h"
#include "cli/repair/repair_finding.h"
#include "cli/run/events.h"
#include "cli/run/jobs.h"
#include "cli/run/parallel.h"
#include "cli/run/progress.h"
#include "cli/run/resume.h"
#include "cli/run/retries.h"
#include "cli/run/run_watch.h"
#include "cli/run/time_left.h"
#include "cli/run/trace.h"
#include "cli/server/blockers.h"
#include "cli/server/grants.h"
#include "cli/server/innodb_settings.h"
#include "cli/server/layout.h"
#include "cli/server/queries.h"
#include "cli/server/root_site.h"
#include "cli/server/server_options.h"
#include "cli/server/session.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/message_json.h"
#include "cli/terminal/table.h"
#include "cli/terminal/text.h"
#include "twupdate/update.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

struct RehearseArguments {
    std::vector<std::int32_t> sites;
    std::size_t sample = 0;
    fs::path workdir;
    bool schemaOnly = false;
    JobsOption jobs;
};

struct RehearsalResult {
    std::vector<DatabaseDone> done;
    std::vector<RunFailure> failed;
    std::vector<LayoutFinding> findings;
    std::vector<std::string> notes;     ///< what the copy lacks
    std::vector<std::string> refusals;  ///< why an upgrade would not begin
    std::size_t sitesInAll = 0;         ///< that an upgrade would come to
    /// The time that an upgrade of them all would take; nothing without rows, or if no step has
    /// run.
    std::optional<std::chrono::nanoseconds> wholeUpgrade;
    unsigned jobs = 1;  ///< of that upgrade
};

/// Learns how long each step takes.
class StepTimes final : public RunSink {
  public:
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t /*statements*/) override {
        timeLeft_.StepMeasured(*where.step, duration);
    }
    /// The time that sites at these versions would take; nothing if no step has run.
    std::optional<std::chrono::nanoseconds> Of(const std::vector<double>& versions) const {
        TimeLeft timeLeft = timeLeft_;
        timeLeft.Start(versions);
        return timeLeft.Estimate();
    }

  private:
    TimeLeft timeLeft_;
};

DatabaseDone Totals(const RehearsalResult& rehearsal) {
    DatabaseDone totals;
    for (const DatabaseDone& done : rehearsal.done) {
        totals.steps += done.steps;
        totals.statements += done.statements;
        totals.duration += done.duration;
    }
    return totals;
}

/// The measured time and, for each other site that an upgrade would visit, the time that its steps
/// took elsewhere. The jobs share the time of the sites.
void EstimateWholeUpgrade(const std::vector<SiteRow>& all, const StepTimes& times, unsigned jobs,
                          RehearsalResult& rehearsal) {
    std::vector<double> others;
    for (const SiteRow& site : all) {
        if (site.State() != SiteState::kOld) {
            continue;
        }
        ++rehearsal.sitesInAll;
        if (std::none_of(rehearsal.done.begin(), rehearsal.done.end(),
                         [&](const DatabaseDone& done) { return done.siteId == site.siteId; })) {
            others.push_back(site.version.value_or(0));
        }
    }
    const auto rest = times.Of(others);
    if (!rest) {
        return;
    }
    std::chrono::nanoseconds central{0};
    std::chrono::nanoseconds sites = *rest;
    for (const DatabaseDone& done : rehearsal.done) {
        (done.siteId ? sites : central) += done.duration;
    }
    rehearsal.jobs = jobs;
    rehearsal.wholeUpgrade = central + sites / jobs;
}

/// A named site that an upgrade would not visit is a mistake; no other site is tried in its place.
void RequireOldSites(const std::vector<SiteRow>& all, const std::vector<std::int32_t>& named) {
    for (const std::int32_t siteId : named) {
        const auto site = std::find_if(
            all.begin(), all.end(), [siteId](const SiteRow& row) { return row.siteId == siteId; });
        if (site == all.end()) {
            throw CommandError(fmt::format("tw_tarnwick.site has no site {}", siteId));
        }
        if (site->State() != SiteState::kOld) {
            throw CommandError(
                fmt::format("site {} would not be upgraded, so it cannot be rehearsed: {}", siteId,
                            SiteStateText(site->State())));
        }
    }
}

/// A rehearsal creates folders and files, which must not mix with existing ones.
void RequireEmpty(const fs::path& workdir) {
    std::error_code ignored;
    if (fs::exists(workdir / "server", ignored)) {
        throw CommandError(fmt::format("{} already holds a rehearsal\nhint: name another folder",
                                       workdir.string()),
                           kUsageError);
    }
    if (fs::exists(workdir, ignored) && !fs::is_empty(workdir, ignored)) {
        throw CommandError(
            fmt::format("{} is not empty\nhint: name another folder for the rehearsal",
                        workdir.string()),
            kUsageError);
    }
}

/// The sites to rehearse: those that are named, or all that an upgrade would visit, or a sample of
/// these with early and late versions. A site without its database is not copied.
std::vector<SiteRow> ChosenSites(Installation& installation, const std::vector<SiteRow>& all,
                                 const RehearseArguments& wanted) {
    std::set<std::int64_t> missing;
    for (const SiteRow& site : installation.WithoutDatabase(all)) {
        missing.insert(site.siteId);
    }
    std::vector<SiteRow> old;
    std::copy_if(all.begin(), all.end(), std::back_inserter(old), [&](const SiteRow& site) {
        const bool named =
            std::find(wanted.sites.begin(), wanted.sites.end(), site.siteId) != wanted.sites.end();
        return site.State() == SiteState::kOld && !missing.contains(site.siteId) &&
               (wanted.sites.empty() || named);
    });
    if (wanted.sample == 0 || wanted.sample >= old.size()) {
        return old;
    }
    std::stable_sort(old.begin(), old.end(),
                     [](const SiteRow& a, const SiteRow& b) { return a.version < b.version; });
    std::vector<SiteRow> sample;
    const std::size_t steps = std::max<std::size_t>(wanted.sample - 1, 1);
    for (std::size_t i = 0; i < wanted.sample; ++i) {
        sample.push_back(old[i * (old.size() - 1) / steps]);  // the first and the last among them
    }
    return sample;
}

/// Options for the copy: the session settings of the source without its connection options.
GlobalOptions OptionsForTheCopy(const GlobalOptions& options, const fs::path& workdir,
                                host::Connection& source) {
    GlobalOptions copy;
    copy.datadir = workdir / "server";
    copy.charset = options.charset;
    copy.sqlMode = SqlMode(source);
    copy.installFolder = workdir / "component";
    copy.localHostName = options.localHostName;
    copy.servicesLog = workdir / "services.jsonl";
    return copy;
}

/// A run must not copy files into the platform's own folders, so it gets a component folder of
/// its own, with the data files.
void MakeComponentFolder(const GlobalOptions& options, const fs::path& folder) {
    fs::create_directories(folder);
    fs::copy(InstallFolderWithData(options) / "resources", folder / "resources",
             fs::copy_options::recursive | fs::copy_options::overwrite_existing);
}

/// The files of the sites that are rehearsed.
void CopyFiles(const GlobalOptions& options, const fs::path& workdir,
               const std::vector<SiteRow>& chosen) {
    std::vector<std::int64_t> sites;
    for (const SiteRow& site : chosen) {
        sites.push_back(site.siteId);
    }
    CopyFilesOfSites(InstallationRoot(InstallFolderWithData(options)), workdir, sites);
}

/// Gives the copy the settings under which the source refuses a change of a table. What one of the
/// two servers does not have is skipped.
void TakeSettings(host::Connection& source, host::Connection& copy) {
    constexpr std::array kSettings{
        std::pair("SELECT IF(@@GLOBAL.innodb_force_primary_key, 'ON', 'OFF');",
                  "SET GLOBAL innodb_force_primary_key = '{}';"),
        std::pair("SELECT @@SESSION.alter_algorithm;", "SET SESSION alter_algorithm = '{}';")};
    for (const auto& [query, setting] : kSettings) {
        try {
            if (const auto value = FirstCell(source, query)) {
                copy.Execute(fmt::format(fmt::runtime(setting), *value));
            }
        } catch (const HostError&) {
            continue;
        }
    }
}

/// Sites that are not rehearsed are marked in the copy as if they were gone.
void LeaveOut(host::Connection& copy, const std::vector<SiteRow>& all,
              const std::vector<SiteRow>& chosen) {
    std::set<std::int64_t> ids;
    for (const SiteRow& site : chosen) {
        ids.insert(site.siteId);
    }
    for (const SiteRow& site : all) {
        if (!ids.contains(site.siteId)) {
            copy.Execute(fmt::format(
                "UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = {};", site.siteId));
        }
    }
}

/// Triggers and routines run with the privileges of the account that defined them, which must be
/// there.
void MakeDefiners(host::Connection& source, host::Connection& copy, const std::string& database) {
    const auto definers = source.Query(
        fmt::format("SELECT QUOTE(LEFT(definer, CHAR_LENGTH(definer) - CHAR_LENGTH(host) - 1)), "
                    "QUOTE(host) FROM (SELECT definer, SUBSTRING_INDEX(definer, '@', -1) AS host "
                    "FROM (SELECT definer FROM information_schema.triggers WHERE trigger_schema = "
                    "'{0}' UNION SELECT definer FROM information_schema.routines WHERE "
                    "routine_schema = '{0}') d) h;",
                    database));
    while (definers->Next()) {
        const std::string name = definers->Get(0).ToText();
        const std::string host = definers->Get(1).ToText();
        const bool role = host == "''";
        const std::string account = role ? name : fmt::format("{}@{}", name, host);
        copy.Execute(fmt::format("CREATE {} IF NOT EXISTS {};", role ? "ROLE" : "USER", account));
        copy.Execute(fmt::format("GRANT ALL PRIVILEGES ON *.* TO {};", account));
    }
}

/// Copies the databases. What the user may not read of them is noted.
void CopyAll(const Session& source, const Session& copy, const GlobalOptions& options,
             const GlobalOptions& copyOptions, const std::vector<std::string>& databases,
             const RehearseArguments& arguments, Console& console,
             std::vector<std::string>& notes) {
    const ClientOptionFile from(source, options);
    const ClientOptionFile to(copy, copyOptions);
    host::Connection& connection = *source.GetConnection();
    const bool routines = MayReadRoutines(connection);
    if (!routines) {
        notes.emplace_back(
            "procedures and functions are not copied: the account cannot read them (SELECT on "
            "mysql.proc)");
    }
    std::vector<CopyScope> scopes;
    std::vector<std::string> withoutTriggers;
    for (const std::string& database : databases) {
        CopyScope& scope = scopes.emplace_back();
        scope.routines = routines;
        // The versions are rows of the central database, so it is always copied whole.
        scope.rows = !arguments.schemaOnly || database == "tw_tarnwick";
        // A view may show another database, which is not copied; no step reads one.
        scope.leftOut = FirstColumn(
            connection, fmt::format("SELECT table_name FROM information_schema.tables WHERE "
                                    "table_schema = '{}' AND table_type = 'VIEW';",
                                    database));
        if (!HasPrivilege(connection, database, "TRIGGER")) {
            withoutTriggers.push_back(database);
        }
        MakeDefiners(connection, *copy.GetConnection(), database);
    }
    CountedProgress progress(console, "database", databases.size());
    const auto copyOne = [&](unsigned /*job*/, std::size_t place) {
        progress.Next("copying " + databases[place]);
        CopyDatabase(from, to, databases[place], scopes[place]);
    };
    const auto tell = [&](std::size_t place) {
        console.Say(fmt::format("{}: copied ({} of {})", databases[place], Grouped(place + 1),
                                Grouped(databases.size())));
    };
    InParallel(arguments.jobs.Number(), databases.size(), {copyOne, tell, {}});
    if (!withoutTriggers.empty()) {
        notes.push_back(
            fmt::format("triggers are not copied: the account lacks the privilege TRIGGER on {}",
                        fmt::join(withoutTriggers, ", ")));
    }
}

/// Upgrades the copy. A site that fails is noted and left out, and the run continues without it.
void Upgrade(Session& copy, double version, std::vector<SiteRow> chosen,
             const std::vector<std::shared_ptr<RunSink>>& sinks, RehearsalResult& rehearsal,
             Console& console) {
    const auto marks = std::make_shared<ProgressMarks>(copy.GetConnection());
    auto resumed = SetResumeVersions(*marks, chosen, console);
    for (bool again = true; again;) {
        again = false;
        const auto watch = std::make_shared<RunWatch>();
        for (const auto& sink : sinks) {
            watch->AddSink(sink);
        }
        watch->AddSink(marks);
        Update update;
        const auto host = copy.ForComponent(watch, watch);
        update.Configure(host);
        watch->SetBeforeSites([&] { UpgradeResumed(update, *host, *marks, resumed); });
        RunStart start{"rehearse", version, chosen};
        start.server = copy.ServerText();
        start.account = copy.Account();
        watch->Start(start);
        try {
            update.UpdateServer(version);
            watch->End();
        } catch (const std::exception& error) {
            rehearsal.failed.push_back(watch->Leave(error));
            watch->FailSite(rehearsal.failed.back());
            watch->Fail(rehearsal.failed.back());
            if (const auto site = rehearsal.failed.back().where.siteId) {
                copy.GetConnection()->Execute(fmt::format(
                    "UPDATE tw_tarnwick.site SET harddeleted = -1 WHERE siteid = {};", *site));
                std::erase_if(resumed, [&](const SiteRow& row) { return row.siteId == *site; });
                std::erase_if(chosen, [&](const SiteRow& row) { return row.siteId == *site; });
                again = true;
            }
        }
        for (const DatabaseDone& done : watch->Databases()) {
            std::erase_if(resumed, [&](const SiteRow& row) { return row.siteId == done.siteId; });
            const bool known = std::any_of(
                rehearsal.done.begin(), rehearsal.done.end(),
                [&](const DatabaseDone& other) { return other.database == done.database; });
            if (!known) {  // the central ladders run again with each attempt
                rehearsal.done.push_back(done);
            }
            std::erase_if(chosen, [&](const SiteRow& row) { return row.siteId == done.siteId; });
        }
    }
}

/// The same, several sites at a time. What it finds is in the order of the sites.
void UpgradeWithJobs(Session& copy, double version, const std::vector<SiteRow>& chosen,
                     unsigned number, const std::vector<std::shared_ptr<RunSink>>& sinks,
                     RehearsalResult& rehearsal, Console& console) {
    const auto marks = std::make_shared<ProgressMarks>(copy.GetConnection());
    RunStart start{"rehearse", version, chosen};
    SetResumeVersions(*marks, start.sites, console);
    start.server = copy.ServerText();
    start.account = copy.Account();
    const auto watch = std::make_shared<RunWatch>();
    watch->AddSink(marks);
    for (const auto& sink : sinks) {
        watch->AddSharedSink(sink);
    }
    JobOptions options;
    options.number = number;
    options.mostFailures = chosen.size();
    const auto sinksOfJob = [](const Session& /*own*/,
                               const std::shared_ptr<ProgressMarks>& ofJob) {
        return std::vector<std::shared_ptr<RunSink>>{ofJob};
    };
    Retries retries({}, *watch, nullptr);
    Jobs jobs(copy, *watch, *marks, sinksOfJob, options, retries, console);
    watch->SetBeforeSites([&] { jobs.Upgrade(start.sites, {}); });
    Update update;
    update.Configure(copy.ForComponent(watch, watch));
    watch->Start(start);
    try {
        update.UpdateServer(version);
        watch->End();
    } catch (const JobsEnded& ended) {
        rehearsal.failed = ended.Failures();
        watch->FailSites(rehearsal.failed);
        watch->Fail(rehearsal.failed.front());
    } catch (const std::exception& error) {
        rehearsal.failed.push_back(watch->Leave(error));
        watch->FailSite(rehearsal.failed.back());
        watch->Fail(rehearsal.failed.back());
    }
    rehearsal.done = watch->Databases();
    const auto siteOf = [](const RunFailure& failure) { return failure.where.siteId; };
    std::ranges::stable_sort(rehearsal.failed, {}, siteOf);
    std::ranges::stable_sort(rehearsal.done, {}, &DatabaseDone::siteId);  // the central one first
}

void VerifyCopy(const Session& copy, unsigned jobs, RehearsalResult& rehearsal, Console& console) {
    const auto& databases = rehearsal.done;
    std::vector<std::vector<LayoutFinding>> found(databases.size());
    const JobSessions sessions(copy, jobs, databases.size(), console);
    CountedProgress progress(console, "database", databases.size());
    const auto compare = [&](unsigned job, std::size_t place) {
        const DatabaseDone& done = databases[place];
        progress.Next("comparing " + done.database);
        std::vector<std::string> absent;
        found[place] = Compare(done.database, done.siteId ? SiteLayout() : CentralLayout(),
                               ReadLayout(sessions.ConnectionOf(job), done.database), absent);
    };
    InParallel(sessions.Count(), databases.size(), {compare, {}, {}});
    for (auto& some : found) {
        std::move(some.begin(), some.end(), std::back_inserter(rehearsal.findings));
    }
}

void Print(const RehearsalResult& rehearsal, Console& console) {
    using Align = TextTable::Align;
    TextTable table({{"Database"},
                     {"From"},
                     {"Steps", Align::kRight},
                     {"Statements", Align::kRight},
                     {"Time", Align::kRight}});
    for (const DatabaseDone& done : rehearsal.done) {
        table.AddRow({done.database, VersionText(done.from), std::to_string(done.steps),
                      std::to_string(done.statements), DurationText(done.duration)});
    }
    const DatabaseDone totals = Totals(rehearsal);
    table.AddRow({"Total", "", std::to_string(totals.steps), std::to_string(totals.statements),
                  DurationText(totals.duration)});
    for (const std::string& line : table.Lines()) {
        console.Print(line);
    }
    for (const std::string& refusal : rehearsal.refusals) {
        console.Print("an upgrade would not begin: " + refusal);
    }
    for (const RunFailure& failure : rehearsal.failed) {
        console.Print("would fail: " + FailureLine(failure));
    }
    for (const LayoutFinding& finding : rehearsal.findings) {
        console.Print("differs afterwards: " + finding.Text());
    }
    for (const std::string& note : rehearsal.notes) {
        console.Say("note: " + note);
    }
    if (rehearsal.wholeUpgrade) {
        console.Say(fmt::format(
            "An upgrade of the installation with {} would take about {} here{}, without backups.",
            rehearsal.sitesInAll == 1 ? "its one site"
                                      : "all " + Count(rehearsal.sitesInAll, "site"),
            DurationText(*rehearsal.wholeUpgrade),
            rehearsal.jobs == 1 ? "" : fmt::format(" with --jobs {}", rehearsal.jobs)));
    }
    console.Say(fmt::format(
        "Rehearsed: {} upgraded, {}, {}.", Count(rehearsal.done.size(), "database"),
        Count(rehearsal.failed.size(), "failure"), Count(rehearsal.findings.size(), "difference")));
}

nlohmann::ordered_json JsonOf(const RehearsalResult& rehearsal, bool clean) {
    nlohmann::ordered_json result{{"command", "rehearse"},
                                  {"result", clean ? "clean" : "findings"}};
    auto& done = result["upgraded"] = nlohmann::ordered_json::array();
    for (const DatabaseDone& database : rehearsal.done) {
        done.push_back({{"database", database.database},
                        {"from", VersionText(database.from)},
                        {"steps", database.steps},
                        {"statements", database.statements},
                        {"seconds", std::chrono::duration<double>(database.duration).count()}});
    }
    const DatabaseDone totals = Totals(rehearsal);
    result["totals"] = {{"databases", rehearsal.done.size()},
                        {"steps", totals.steps},
                        {"statements", totals.statements},
                        {"seconds", std::chrono::duration<double>(totals.duration).count()}};
    if (rehearsal.wholeUpgrade) {
        result["whole_upgrade"] = {
            {"sites", rehearsal.sitesInAll},
            {"jobs", rehearsal.jobs},
            {"seconds", std::chrono::duration<double>(*rehearsal.wholeUpgrade).count()}};
    }
    auto& refusals = result["refusals"] = nlohmann::ordered_json::array();
    for (const std::string& refusal : rehearsal.refusals) {
        refusals.push_back(MessageJson(refusal));
    }
    auto& failed = result["failures"] = nlohmann::ordered_json::array();
    for (const RunFailure& failure : rehearsal.failed) {
        failed.push_back({{"database", failure.where.database},
                          {"step", failure.where.step ? failure.where.step->name : ""},
                          {"code", failure.code},
                          {"text", FailureLine(failure)}});
    }
    auto& findings = result["differences"] = nlohmann::ordered_json::array();
    for (const LayoutFinding& finding : rehearsal.findings) {
        findings.push_back(finding.Text());
    }
    result["notes"] = rehearsal.notes;
    return result;
}

int Rehearse(const GlobalOptions& options, Console& console, const RehearseArguments& arguments) {
    RequireEmpty(arguments.workdir);
    InstallFolderWithData(options);  // before a folder is made that the next try would find
    Session source(options);
    Installation installation(source.Own());
    const double version = installation.Version();
    const auto all = installation.Sites();
    if (!IsBelow(version, kCurrentVersion)) {
        throw CommandError(
            "the installation is at the current version, so there is nothing to rehearse");
    }
    RequireOldSites(all, arguments.sites);
    RehearsalResult rehearsal;
    rehearsal.refusals = Refusals(installation, all);
    const auto chosen = ChosenSites(installation, all, arguments);
    if (const std::string refusal =
            InterruptionText(source, ProgressMarks(source.GetConnection()),
                             SteppedDatabases(version, chosen), Leftovers::kRefuse);
        !refusal.empty()) {
        rehearsal.refusals.push_back(refusal);
    }
    std::error_code error;
    fs::create_directories(arguments.workdir, error);
    if (error) {
        throw CommandError(fmt::format("cannot create the folder {}: {}",
                                       arguments.workdir.string(), error.message()),
                           kUsageError);
    }
    const GlobalOptions copyOptions =
        OptionsForTheCopy(options, arguments.workdir, *source.GetConnection());
    MakeComponentFolder(options, copyOptions.installFolder);
    Session copy(copyOptions, DataFolder::kAnyOrNew);
    std::vector<std::string> databases{"tw_tarnwick"};
    if (installation.HasDatabase("tw_logs")) {
        databases.emplace_back("tw_logs");
    }
    for (const SiteRow& site : chosen) {
        databases.push_back(fmt::format("tw_{}", site.siteId));
    }
    if (const auto root = RootSite(*source.Own())) {
        const std::string database = fmt::format("tw_{}", *root);
        if (std::find(databases.begin(), databases.end(), database) == databases.end()) {
            databases.push_back(database);  // the central ladder writes a domain into it
        }
    }
    std::erase_if(databases, [&](const std::string& database) {
        return !installation.HasDatabase(database);  // the step that needs it tells
    });
    const InnoDbSettings settings = InnoDbSettings::Of(*source.GetConnection());
    PrepareForCopies(*copy.GetConnection(), settings);
    CopyAll(source, copy, options, copyOptions, databases, arguments, console, rehearsal.notes);
    FinishCopies(*source.GetConnection(), *copy.GetConnection(), settings, databases);
    TakeSettings(*source.GetConnection(), *copy.GetConnection());
    if (!arguments.schemaOnly) {
        CopyFiles(options, arguments.workdir, chosen);
    }
    LeaveOut(*copy.GetConnection(), all, chosen);
    LockWaitFinder lockWaits(copy);
    const auto times = std::make_shared<StepTimes>();
    std::vector<std::shared_ptr<RunSink>> sinks{
        times, std::make_shared<Progress>(console, [&lockWaits](const Position& where) {
            return lockWaits.Find(where.database, where.connection);
        })};
    if (!options.trace.empty()) {
        sinks.push_back(std::make_shared<Trace>(options.trace, false, console));
    }
    if (!options.events.empty()) {
        sinks.push_back(std::make_shared<Events>(options.events, console));
    }
    const unsigned jobs = arguments.jobs.Number();
    if (jobs > 1) {
        UpgradeWithJobs(copy, version, chosen, jobs, sinks, rehearsal, console);
    } else {
        Upgrade(copy, version, chosen, sinks, rehearsal, console);
    }
    if (!arguments.schemaOnly) {
        EstimateWholeUpgrade(all, *times, jobs, rehearsal);
    }
    VerifyCopy(copy, jobs, rehearsal, console);
    Print(rehearsal, console);
    const bool clean =
        rehearsal.refusals.empty() && rehearsal.failed.empty() && rehearsal.findings.empty();
    console.Result(JsonOf(rehearsal, clean));
    return clean ? kDone : kFindings;
}

}  // namespace

void AddRehearse(CLI::App& app, Invocation& invocation) {
    auto* command = app.add_subcommand(
        "rehearse", "Upgrade a copy on a private server; the source is only read");
    const auto arguments = std::make_shared<RehearseArguments>();
    AddSiteOption(*command, arguments->sites, "Copy this site (may be repeated)");
    command->add_option("--sample", arguments->sample, "Copy a sample of N sites")
        ->type_name("N")
        ->transform(Decimal())
        ->check(CLI::Range(1, std::numeric_limits<std::int32_t>::max()));
    command
        ->add_option("--workdir", arguments->workdir, "New or empty folder for the private server")
        ->type_name("DIR")
        ->check(FaultOfEmptyValue)
        ->required();
    command->add_flag("--schema-only", arguments->schemaOnly,
                      "Copy the tables of the sites without their rows");
    AddJobsOption(*command, arguments->jobs, "Copy, upgrade and compare this many sites at a time");
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Rehearse(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
