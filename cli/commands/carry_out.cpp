#include "cli/commands/carry_out.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <utility>

#include "cli/backup/backup.h"
#include "cli/repair/repair_sink.h"
#include "cli/report/live_report.h"
#include "cli/run/events.h"
#include "cli/run/failures.h"
#include "cli/run/metrics.h"
#include "cli/run/progress.h"
#include "cli/run/run_log.h"
#include "cli/run/run_watch.h"
#include "cli/run/stop_request.h"
#include "cli/run/trace.h"
#include "cli/server/blockers.h"
#include "cli/server/restore_mark.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

nlohmann::ordered_json JsonOf(const RunFailure& failure) {
    nlohmann::ordered_json error;
    error["database"] = failure.where.database;
    if (failure.where.ladder) {
        error["ladder"] = LadderName(*failure.where.ladder);
    }
    if (failure.where.step) {
        error["step"] = failure.where.step->name;
    }
    if (!failure.statement.empty()) {
        error["statement"] = failure.statement;
        error["code"] = failure.code;
        error["sqlstate"] = failure.sqlState;
    }
    error["text"] = failure.text;
    return error;
}

nlohmann::ordered_json JsonOf(const std::vector<DatabaseDone>& databases) {
    auto list = nlohmann::ordered_json::array();
    for (const DatabaseDone& done : databases) {
        list.push_back({{"database", done.database},
                        {"from", VersionText(done.from)},
                        {"steps", done.steps},
                        {"statements", done.statements},
                        {"seconds", std::chrono::duration<double>(done.duration).count()}});
    }
    return list;
}

std::string SummaryLine(const RunWatch& watch) {
    const Counts counts = watch.Done();
    const std::string ladders = counts.databases == 0
                                    ? std::string()  // a creation walks no ladder
                                    : fmt::format("{}, {}, ", Count(counts.databases, "database"),
                                                  Count(counts.steps, "step"));
    return fmt::format("Done: {}{} in {}.", ladders, Count(counts.statements, "statement"),
                       DurationText(watch.Elapsed()));
}

void PrintServices(Console& console, const ServiceCounts& services, bool noServices) {
    if (services.carriedOut > 0) {
        console.Say(
            fmt::format("Component services: {} carried out.", Count(services.carriedOut, "call")));
    }
    if (services.recorded == 0) {
        return;
    }
    if (!services.log.empty()) {
        console.Say(
            fmt::format("Component services: {} recorded in {}, for the platform to carry "
                        "out.",
                        Count(services.recorded, "call"), services.log));
    } else if (noServices) {
        console.Say(fmt::format(
            "Component services: {} neither carried out nor recorded, as --no-services says.",
            Count(services.recorded, "call")));
    } else {
        console.Warn(
            fmt::format("{} to component services neither carried out nor recorded\nhint: next "
                        "time, use --service-command or --services-log",
                        Count(services.recorded, "call")));
    }
}

/// --report: a page that follows the run.
std::shared_ptr<Events> ReportFile(const std::filesystem::path& file, Console& console) {
    return std::make_shared<Events>(
        [page = std::make_shared<LiveReport>(file, console)](const nlohmann::ordered_json& event) {
            page->Take(event);
        });
}

/// What shows a run while it goes on, and what is kept of it.
/// @param batches  whether statements are batched
void AddRecords(RunWatch& watch, const GlobalOptions& options, bool batches,
                const std::shared_ptr<Progress>& progress, Console& console) {
    if (!options.trace.empty()) {
        watch.AddSharedSink(std::make_shared<Trace>(options.trace, batches, console));
    }
    if (!options.events.empty()) {
        watch.AddSharedSink(std::make_shared<Events>(options.events, console));
    }
    if (!options.report.empty()) {
        watch.AddSharedSink(ReportFile(options.report, console));
    }
    if (!options.log.empty()) {
        watch.AddSharedSink(MakeRunLog(options.log, console));
    }
    watch.AddSharedSink(progress);
    if (!options.metrics.empty()) {
        watch.AddSharedSink(std::make_shared<Metrics>(options.metrics, progress, console));
    }
}

/// The name that the groups of the option files give the installation: "eu1" for -eu1.
std::string InstallationName(const GlobalOptions& options) {
    const std::string& suffix = options.files.suffix;
    const auto begin = suffix.find_first_not_of("-_.");
    return begin == std::string::npos ? "" : suffix.substr(begin);
}

/// The run with the server's description.
RunStart WithServer(RunStart start, const Session& session, const GlobalOptions& options) {
    start.installation = InstallationName(options);
    start.server = session.ServerText();
    start.account = session.Account();
    return start;
}

/// What each job of a run does beside its statements, on its own connection.
std::vector<std::shared_ptr<RunSink>> SinksOfJob(const Run& run,
                                                 const std::shared_ptr<Backup>& backup,
                                                 const Session& session,
                                                 const std::shared_ptr<ProgressMarks>& marks,
                                                 Console& console) {
    std::vector<std::shared_ptr<RunSink>> sinks;
    if (run.lock != nullptr) {
        sinks.push_back(std::make_shared<LockWatch>(*run.lock, session.GetConnection()));
    }
    if (backup) {
        sinks.push_back(backup);
    }
    if (run.leftovers == Leftovers::kRepair) {  // so that the backup has what a repair changes
        sinks.push_back(std::make_shared<RepairSink>(session, marks, console));
    }
    if (marks) {
        sinks.push_back(marks);
    }
    return sinks;
}

/// @param isReported  what failed was printed when it happened
void ExplainFailure(const Session& session, Console& console, const RunFailure& failure,
                    bool isReported) {
    if (failure.stopped) {
        console.Error("stopped as requested, before the next statement: " + FailureLine(failure));
        return;
    }
    if (!isReported) {
        console.Error("failed: " + FailureLine(failure));
    }
    if (failure.code == kLockWaitTimeout) {
        for (const std::string& holder : LockHolders(session, failure.where.database)) {
            console.Error("a lock may be held by " + holder);
        }
    }
}

/// How a run ended before its time.
struct EndedRun {
    ExitCode status = kFailed;
    RunFailure first;                  ///< what counts as its failure
    std::vector<RunFailure> failures;  ///< all; of several jobs there may be more than one
};

EndedRun End(RunWatch& watch, const RunFailure& failure) {
    watch.FailSite(failure);
    watch.Fail(failure);
    return {failure.stopped ? kStopped : kFailed, failure, {failure}};
}

EndedRun End(RunWatch& watch, const JobsEnded& ended) {
    EndedRun end{kFailed, ended.Failures().front(), ended.Failures()};
    if (ended.HowEnded() == JobsEnded::How::kStopped) {
        end.status = kStopped;
        end.first = ended.Failures().back();
        end.first.stopped = true;
    } else if (ended.HowEnded() == JobsEnded::How::kIncomplete) {
        end.status = kIncomplete;
        end.first.isOfOneSite = true;
    }
    watch.FailSites(end.failures);
    watch.Fail(end.first);
    return end;
}

/// Carries out the operation, and again what may be tried again.
/// @returns how it has ended before its time
std::optional<EndedRun> Operate(const Run& run, const Session& session,
                                const std::function<void()>& operation, Retries& retries,
                                RunWatch& watch) {
    std::optional<RunRetry> retry;
    while (true) {
        try {
            if (retry) {
                retries.Reconnect(*retry, [&]() -> host::Connection& {
                    session.Reconnect();
                    watch.SetConnection(session.GetConnection()->ThreadId());
                    return *session.GetConnection();
                });
                run.again();
            }
            operation();
            return std::nullopt;
        } catch (const JobsEnded& ended) {
            watch.Leave(ended);
            return End(watch, ended);
        } catch (const ServerGone&) {
            return End(watch, retry->failure);
        } catch (const std::exception& error) {
            RunFailure failure = watch.Leave(error);
            if (retry && failure.stopped) {
                failure.where = retry->failure.where;
            }
            retry =
                run.again ? retries.Next(failure.where.siteId.value_or(0), failure) : std::nullopt;
            if (!retry) {
                return End(watch, failure);
            }
            watch.Retry(*retry);
        }
    }
}

/// What follows the jobs needs the run's own connection, which they have not used.
void ReconnectIfLost(const Session& session, const RunLock* lock) {
    host::Connection& connection = *session.GetConnection();
    if (!connection.IsLost()) {
        return;
    }
    try {
        session.Reconnect();
    } catch (const CannotConnect&) {
        return;  // the next statement fails, and is tried again
    }
    if (lock != nullptr) {
        lock->HoldAgain(connection);
    }
}

/// By jobs, in the place of the component's walk.
void UpgradeSites(const Run& run, Jobs& jobs, const Session& session) {
    jobs.Upgrade(run.start.sites, run.refused);
    ReconnectIfLost(session, run.lock);
    if (run.afterSites) {
        run.afterSites();
    }
}

/// Whether the same command may well succeed later: nothing has failed but what passes by itself. A
/// failure that the server does not name may be the consequence of one that passes, such as that
/// of the next connection.
bool IsWorthARetry(const std::vector<RunFailure>& failures) {
    const auto passes = [](const RunFailure& failure) { return MayPass(failure.code); };
    const auto stays = [](const RunFailure& failure) {
        return failure.code != 0 && !MayPass(failure.code);
    };
    return std::any_of(failures.begin(), failures.end(), passes) &&
           std::none_of(failures.begin(), failures.end(), stays);
}

/// Tells of the sites that have failed in groups, unless it is the one that has ended the run.
void ExplainGroups(Console& console, const EndedRun& end, const JobOptions& jobs) {
    const auto groups = GroupFailures(end.failures);
    std::size_t sites = 0;
    for (const FailedSites& group : groups) {
        sites += group.sites.size();
    }
    if (sites == 0 || (sites == 1 && jobs.mostFailures == 0)) {
        return;
    }
    if (end.status == kIncomplete) {
        console.Error(
            fmt::format("{} failed; all other sites of the run are done", Count(sites, "site")));
    } else if (jobs.mostFailures > 0 && sites > jobs.mostFailures) {
        console.Error(
            fmt::format("{} failed, more than --max-failures allows; no further site was "
                        "begun",
                        Count(sites, "site")));
    } else {
        console.Error(fmt::format("{} failed", Count(sites, "site")));
    }
    for (const FailedSites& group : groups) {
        console.Error(GroupText(group));
    }
}

std::string_view ResultText(ExitCode status) {
    return status == kStopped ? "stopped" : status == kIncomplete ? "incomplete" : "failed";
}

nlohmann::ordered_json JsonOf(const Run& run, const RunWatch& watch, const ServiceCounts& services,
                              const std::string& backup, const EndedRun* end,
                              const std::string& resume = "") {
    nlohmann::ordered_json result{
        {"command", run.start.command},
        {"result", end == nullptr ? "done" : std::string(ResultText(end->status))}};
    if (!run.result.is_null()) {  // an operation that failed may not have come so far
        result.update(run.result);
    }
    const Counts counts = watch.Done();
    result["databases"] = counts.databases;
    result["sites"] = counts.sites;
    result["steps"] = counts.steps;
    result["statements"] = counts.statements;
    result["seconds"] = std::chrono::duration<double>(watch.Elapsed()).count();
    result["services"] = {{"carried_out", services.carriedOut}, {"recorded", services.recorded}};
    if (!backup.empty()) {
        result["backup"] = backup;
    }
    result["upgraded"] = JsonOf(watch.Databases());
    if (end == nullptr) {
        return result;
    }
    result["error"] = JsonOf(end->first);
    result["failures"] = JsonOf(GroupFailures(end->failures));
    auto& sites = result["failed_sites"] = nlohmann::ordered_json::array();
    for (const RunFailure& failure : end->failures) {
        if (failure.where.siteId && !failure.stopped) {
            nlohmann::ordered_json site{{"site", *failure.where.siteId}};
            site.update(JsonOf(failure));
            sites.push_back(std::move(site));
        }
    }
    result["resume"] = resume;
    return result;
}

ServiceCounts Sum(ServiceCounts counts, const std::optional<Jobs>& jobs) {
    if (jobs) {
        counts.carriedOut += jobs->Services().carriedOut;
        counts.recorded += jobs->Services().recorded;
    }
    return counts;
}

std::string WhatToDo(const Run& run, const std::vector<RunFailure>& failures) {
    for (const RunFailure& failure : failures) {
        if (failure.where.step && !EffectOfRepeat(*failure.where.step).empty()) {
            return fmt::format(
                "{} cannot simply be repeated: {}. Fix the cause, run {}, and repeat the command; "
                "or repeat it with --repair.",
                failure.where.step->name, EffectOfRepeat(*failure.where.step),
                RepairCommand(failure.where.database));
        }
    }
    return run.afterFailure;
}

}  // namespace

std::string WhatStands(const std::vector<DatabaseDone>& databases) {
    constexpr std::size_t kMostNames = 10;
    std::vector<std::string> names;
    bool central = false;
    for (const DatabaseDone& done : databases) {
        if (done.database == "tw_tarnwick") {
            central = true;
        } else {
            names.push_back(done.database);
        }
    }
    const std::string more =
        names.size() > kMostNames ? fmt::format(" and {} more", names.size() - kMostNames) : "";
    std::string line = "No database was completed.";
    if (!names.empty()) {
        const auto end =
            names.begin() + static_cast<std::ptrdiff_t>(std::min(names.size(), kMostNames));
        line = fmt::format("Completed: {} ({}{}).", Count(names.size(), "database"),
                           fmt::join(names.begin(), end, ", "), more);
    }
    // Its version waits for the last site, so that a run that resumes walks its ladders again.
    return line + (central ? " The ladders of tw_tarnwick are done; its version is recorded after "
                             "the last site."
                           : "");
}

std::shared_ptr<Leftovers> AddRepairFlag(CLI::App& command) {
    auto leftovers = std::make_shared<Leftovers>(Leftovers::kRefuse);
    command.add_flag_function(
        "--repair",
        [leftovers](std::int64_t number) {  // below 1 for --repair=false
            *leftovers = number > 0 ? Leftovers::kRepair : Leftovers::kRefuse;
        },
        "First repair what an interrupted step has left in a database, as repair --apply does");
    return leftovers;
}

void RecordNothingToDo(const Session& session, const GlobalOptions& options, Console& console,
                       RunStart start) {
    RunWatch watch;
    const auto nobodyWaits = [](const Position&) { return std::optional<LockWait>(); };
    AddRecords(watch, options, false, std::make_shared<Progress>(console, nobodyWaits), console);
    watch.Start(WithServer(std::move(start), session, options));
    watch.End();
}

int CarryOut(Session& session, const GlobalOptions& options, Console& console, const Run& run) {
    RefuseUnfinishedRestore(*session.Own());
    const auto watch = std::make_shared<RunWatch>();
    const auto care = ServerCare::For(run.care, session, *watch, run.lock);
    const RunStart start = WithServer(run.start, session, options);
    const auto progress = std::make_shared<Progress>(
        console, [finder = std::make_shared<LockWaitFinder>(session)](const Position& where) {
            return finder->Find(where.database, where.connection);
        });
    const auto backup =
        options.backup.empty()
            ? nullptr
            : std::make_shared<Backup>(session, options, run.start, progress, console);
    const std::string folder = backup ? backup->Folder().string() : "";
    const auto sinksOf = [&](const Session& own, const std::shared_ptr<ProgressMarks>& marks) {
        return SinksOfJob(run, backup, own, marks, console);
    };
    for (auto& sink : sinksOf(session, run.marks)) {
        watch->AddSink(std::move(sink));
    }
    AddRecords(*watch, options, run.jobs.batches, progress, console);
    if (care) {
        watch->SetPause([&](const Position& where) {
            care->Pause(where, backup ? backup->DumpsUnderWay() : 0);
        });
    }
    const auto host =
        session.ForComponent(watch, watch, run.jobs.batches ? watch->ForBatchedCalls() : nullptr);
    Retries retries(run.retries, *watch, run.lock);
    std::optional<Jobs> jobs;
    if (run.jobs.AreWanted() || run.isOfTheseSitesAlone) {
        jobs.emplace(session, *watch, *run.marks, sinksOf, run.jobs, retries, console);
    }
    const StopSignals stopSignals("statement", options.graceSeconds.value_or(0));
    watch->Start(start);
    Update update;
    update.Configure(host);
    if (jobs) {
        watch->SetBeforeSites([&] { UpgradeSites(run, *jobs, session); });
    } else if (run.beforeSites) {
        watch->SetBeforeSites([&] { run.beforeSites(update, *host); });
    }
    const auto operation = [&] {
        if (run.operation) {
            session.Run([&] { run.operation(update, *host); });
        } else {
            UpgradeSites(run, *jobs, session);
        }
    };
    if (auto end = Operate(run, session, operation, retries, *watch)) {
        if (end->status == kFailed && IsWorthARetry(end->failures)) {
            end->status = kTryAgain;
        }
        for (const RunFailure& failure : end->failures) {
            ExplainFailure(session, console, failure, jobs && failure.where.siteId);
        }
        ExplainGroups(console, *end, run.jobs);
        const std::string resume = WhatToDo(run, end->failures);
        const ServiceCounts services = Sum(session.Services(), jobs);
        console.Error(WhatStands(watch->Databases()) + " " + resume);
        PrintServices(console, services, options.noServices);
        console.Result(JsonOf(run, *watch, services, folder, &*end, resume));
        return end->status;
    }
    watch->End();
    const ServiceCounts services = Sum(session.Services(), jobs);
    console.Say(SummaryLine(*watch));
    PrintServices(console, services, options.noServices);
    console.Result(JsonOf(run, *watch, services, folder, nullptr));
    return kDone;
}

}  // namespace twupdate::cli
