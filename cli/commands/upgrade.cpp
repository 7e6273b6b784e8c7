#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "cli/commands/carry_out.h"
#include "cli/commands/commands.h"
#include "cli/run/pending_services.h"
#include "cli/run/resume.h"
#include "cli/run/run_lock.h"
#include "cli/run/server_care.h"
#include "cli/server/data_files.h"
#include "cli/server/left_out.h"
#include "cli/server/session.h"
#include "cli/server/unfinished_core.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr const char* kAuto = "auto";
constexpr unsigned kMostJobs = 64;

std::vector<SiteRow> InState(const std::vector<SiteRow>& sites, SiteState state) {
    std::vector<SiteRow> chosen;
    std::copy_if(sites.begin(), sites.end(), std::back_inserter(chosen),
                 [state](const SiteRow& site) { return site.State() == state; });
    return chosen;
}

/// Hard-deleted sites are gone permanently; any other site that is left out was perhaps forgotten.
void TellLeftOut(const LeftOut& leftOut, Console& console) {
    for (const auto& [state, ids] : leftOut) {
        const std::string text = LeftOutText(state, ids);
        if (state == SiteState::kHardDeleted) {
            console.Say("Left out, " + text);
        } else {
            console.Warn("left out, " + text);
        }
    }
}

int NothingToDo(double version, const std::vector<SiteRow>& sites, Console& console) {
    console.Say(
        fmt::format("The installation is at {} already; nothing was done.", VersionText(version)));
    const auto old = InState(sites, SiteState::kOld);
    if (!old.empty()) {
        console.Warn(
            fmt::format("{} older than the installation (the first is site {}); an upgrade of a "
                        "current installation skips them\nhint: run upgrade-site for each",
                        Count(old.size(), "site is", "sites are"), old.front().siteId));
    }
    const LeftOut leftOut = SitesLeftOut(sites);
    TellLeftOut(leftOut, console);
    console.Result({{"command", "upgrade"},
                    {"result", "nothing to do"},
                    {"version", VersionText(version)},
                    {"older_sites", old.size()},
                    {"left_out", JsonOf(leftOut)}});
    return kDone;
}

/// Why a run must not begin this site, since it would end at an interrupted step or at a mark;
/// empty when it may.
std::string FaultOf(const Session& session, ProgressMarks& marks, const SiteRow& site,
                    Leftovers leftovers) {
    const SteppedDatabase database{fmt::format("tw_{}", site.siteId), "", *site.version};
    try {
        marks.RequireWritable(database.name, Ladder::kSiteSchema, Ladder::kSiteContent,
                              database.version);
        return InterruptionText(session, marks, {database}, leftovers);
    } catch (const CommandError& error) {
        return error.what();
    }
}

/// Checks before the first statement what would end the run at an interrupted step or a mark.
void RefuseWhatCannotBeResumed(const Session& session, ProgressMarks& marks, double version,
                               const std::vector<SiteRow>& sites, Leftovers leftovers) {
    RefuseInterrupted(session, marks, SteppedDatabases(version, sites), leftovers);
    marks.RequireWritable("tw_tarnwick", Ladder::kServer, Ladder::kServerData, version);
    for (const SiteRow& site : sites) {
        marks.RequireWritable(fmt::format("tw_{}", site.siteId), Ladder::kSiteSchema,
                              Ladder::kSiteContent, *site.version);
    }
}

/// Takes the sites out that have no database.
std::vector<RefusedSite> TakeOutWithoutDatabase(Installation& installation,
                                                std::vector<SiteRow>& sites) {
    std::vector<RefusedSite> refused;
    for (const SiteRow& site : installation.WithoutDatabase(sites)) {
        refused.push_back({site, "no database that this account can see"});
        std::erase_if(sites, [&](const SiteRow& other) { return other.siteId == site.siteId; });
    }
    return refused;
}

/// Takes the sites out that would end the run at an interrupted step or a mark.
void TakeOutFaulty(const Session& session, ProgressMarks& marks, Leftovers leftovers,
                   std::vector<SiteRow>& sites, std::vector<RefusedSite>& refused) {
    std::erase_if(sites, [&](const SiteRow& site) {
        const std::string fault = FaultOf(session, marks, site, leftovers);
        if (!fault.empty()) {
            refused.push_back({site, fault});
        }
        return !fault.empty();
    });
}

/// The value of --jobs.
JobOptions JobsOf(const std::string& text) {
    JobOptions jobs;
    jobs.isAuto = text == kAuto;
    if (!jobs.isAuto) {
        jobs.number = static_cast<unsigned>(std::stoul(text));
    }
    return jobs;
}

std::string FaultOfJobs(const std::string& text) {
    unsigned number = 0;
    const char* end = text.data() + text.size();
    const bool isNumber = std::from_chars(text.data(), end, number).ptr == end;
    return text == kAuto || (isNumber && number >= 1 && number <= kMostJobs)
               ? ""
               : fmt::format("'{}' is not a number of jobs; that is 1 to {}, or auto", text,
                             kMostJobs);
}

/// The value of --max-failures: of sites, or of them a hundred "%".
struct FailureLimit {
    double number = 0;
    bool isPercent = false;

    std::size_t Of(std::size_t sites) const {
        return static_cast<std::size_t>(
            isPercent ? std::floor(number * static_cast<double>(sites) / 100) : number);
    }
};

/// Nothing for a text that is none.
std::optional<FailureLimit> FailureLimitOf(std::string_view text) {
    FailureLimit limit;
    limit.isPercent = text.ends_with('%');
    text.remove_suffix(limit.isPercent ? 1 : 0);
    unsigned number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (rest != end || error != std::errc() || (limit.isPercent && number > 100)) {
        return std::nullopt;
    }
    limit.number = number;
    return limit;
}

std::string FaultOfFailureLimit(const std::string& text) {
    return FailureLimitOf(text)
               ? ""
               : fmt::format("'{}' is not a number of sites, such as 10 or 5%", text);
}

/// The value of --max-load; nothing for a text that is none.
std::optional<std::int64_t> MostRunningOf(std::string_view text) {
    constexpr std::string_view kName = "Threads_running=";
    if (!text.starts_with(kName)) {
        return std::nullopt;
    }
    text.remove_prefix(kName.size());
    std::uint32_t number = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return rest == end && error == std::errc() ? std::optional<std::int64_t>(number) : std::nullopt;
}

std::string FaultOfMaxLoad(const std::string& text) {
    return MostRunningOf(text) ? ""
                               : fmt::format("'{}' is not a load such as Threads_running=25", text);
}

struct UpgradeArguments {
    std::shared_ptr<Leftovers> leftovers;
    std::string jobs = "1";
    bool keepGoing = false;
    unsigned reconnectSeconds = 0;
    std::string maxLoad;
    CareOptions care;         ///< without the limit of --max-load
    std::string maxFailures;  ///< empty: any number with --keep-going, else none

    std::size_t MostFailures(std::size_t sites) const {
        if (maxFailures.empty()) {
            return keepGoing ? std::numeric_limits<std::size_t>::max() : 0;
        }
        return FailureLimitOf(maxFailures)->Of(sites);
    }
};

/// Reports the sites that the run leaves out, or refuses the run when they are too many.
void TellRefused(const std::vector<RefusedSite>& refused, std::size_t most, Console& console) {
    if (refused.size() > most) {
        std::vector<std::string> texts;
        for (const RefusedSite& one : refused) {
            texts.push_back(fmt::format("site {}: {}", one.site.siteId, one.why));
        }
        throw CommandError(JoinMessages(texts, "; nothing was done"));
    }
    for (const RefusedSite& one : refused) {
        console.Warn(fmt::format("left out, site {}: {}", one.site.siteId, one.why));
    }
}

/// @throws CommandError for a lag of no replica
CareOptions CareOf(const UpgradeArguments& arguments) {
    CareOptions care = arguments.care;
    if (care.mostLag && care.replicas.empty()) {
        throw CommandError(
            "no replica is named, so no lag can be seen; nothing was done\nhint: name each with "
            "--replica HOST[:PORT]",
            kUsageError);
    }
    if (!arguments.maxLoad.empty()) {
        care.mostRunning = MostRunningOf(arguments.maxLoad);
    }
    return care;
}

int Upgrade(const GlobalOptions& options, Console& console, const UpgradeArguments& arguments) {
    const CareOptions care = CareOf(arguments);
    const Leftovers leftovers = *arguments.leftovers;
    InstallFolderWithData(options);  // a usage error is reported before anything is done
    Session session(options);
    const RunLock lock(session, options, "upgrade", console);
    Installation installation(session.Own());
    const double version = installation.Version();
    if (version > kCurrentVersion) {
        throw CommandError(fmt::format(
            "the installation is at {}, newer than the {} that this program knows; nothing was "
            "done",
            VersionText(version), VersionText(kCurrentVersion)));
    }
    auto sites = installation.Sites();
    if (!IsBelow(version, kCurrentVersion)) {
        if (const auto unfinished = UnfinishedCore(session, InstallFolder(options));
            !unfinished.empty()) {
            console.Warn(unfinished);
        }
        RunStart start{"upgrade", version, {}};
        start.leftOut = SitesLeftOut(sites);
        RecordNothingToDo(session, options, console, std::move(start));
        return NothingToDo(version, sites, console);
    }
    const std::size_t most = arguments.MostFailures(InState(sites, SiteState::kOld).size());
    std::vector<RefusedSite> refused;
    if (most > 0) {
        refused = TakeOutWithoutDatabase(installation, sites);
    }
    if (const auto refusals = Refusals(installation, sites); !refusals.empty()) {
        throw CommandError(JoinMessages(refusals, "; nothing was done"));
    }
    Run run;
    run.lock = &lock;
    run.marks = std::make_shared<ProgressMarks>(session.GetConnection());
    run.leftovers = leftovers;
    run.jobs = JobsOf(arguments.jobs);
    run.jobs.mostFailures = most;
    run.start = {"upgrade", version, InState(sites, SiteState::kOld)};
    if (most > 0) {
        TakeOutFaulty(session, *run.marks, leftovers, run.start.sites, refused);
        TellRefused(refused, most, console);
        run.refused = refused;
    }
    if (!run.start.sites.empty()) {
        RequireSiteFiles(options);
    }
    RequireSoundDataFiles(InstallFolder(options));
    std::vector<RunPart> parts{CentralPart(session, version)};
    for (const SiteRow& site : run.start.sites) {
        parts.push_back(SitePart(static_cast<std::int32_t>(site.siteId), *site.version));
    }
    RequireServices(session, options, parts);
    RefuseWhatCannotBeResumed(session, *run.marks, version,
                              most > 0 ? std::vector<SiteRow>{} : run.start.sites, leftovers);
    run.result["from"] = VersionText(version);
    const LeftOut leftOut = SitesLeftOut(sites);
    run.start.leftOut = leftOut;
    run.result["left_out"] = JsonOf(leftOut);
    run.operation = [&](Update& update, Utility& /*host*/) {
        update.UpdateServer(version);
        run.marks->Recorded("tw_tarnwick", Ladder::kServer, Ladder::kServerData);
    };
    console.Say(fmt::format("Upgrading the installation from {} to {}; {} to upgrade.",
                            VersionText(version), VersionText(kCurrentVersion),
                            Count(run.start.sites.size(), "site")));
    TellLeftOut(leftOut, console);
    auto resumed = SetResumeVersions(*run.marks, run.start.sites, console);
    run.again = [&] {
        run.marks->ReadAgain();
        run.start.sites = InState(installation.Sites(), SiteState::kOld);
        std::erase_if(run.start.sites, [&](const SiteRow& site) {
            return std::any_of(
                run.refused.begin(), run.refused.end(),
                [&](const RefusedSite& other) { return other.site.siteId == site.siteId; });
        });
        resumed = SetResumeVersions(*run.marks, run.start.sites, console);
    };
    run.care = care;
    run.retries.lockWaits = !options.ddlTimeoutSeconds;
    run.retries.reconnect = std::chrono::seconds(arguments.reconnectSeconds);
    run.beforeSites = [&](Update& update, Utility& host) {
        UpgradeResumed(update, host, *run.marks, resumed);
    };
    return CarryOut(session, options, console, run);
}

constexpr const char* kNeeds = R"(What an upgrade needs:
  Backup     --backup DIR dumps each database before its first change, and
             'twupdate restore' restores it. Nothing can be rolled back.
  Services   Some steps call component services of the platform. Pass
             --service-command, --services-log or --no-services.
  Files      Some steps copy files of the sites. --install-folder names the
             folder inside the installation; without files: --no-site-files.
  Locks      Only one run at a time; --lock-wait SECONDS waits for another one.
             --ddl-timeout SECONDS limits the wait for a table in use.
  Stopping   Ctrl-C stops before the next statement, with exit status 5.
             A second Ctrl-C stops at once.
  Failures   The run ends at the first site that fails. --keep-going upgrades the
             other sites too and ends with exit status 6.
  Load       --max-load Threads_running=N and --max-replica-lag SECONDS make the run
             wait while the server or a replica has too much to do.
  Retries    A deadlock, a wait for a lock or a lost connection is tried again.
             --reconnect SECONDS waits for a server that restarts.
  Resuming   Repeat the command. If it names an interrupted step, run
             'twupdate repair' first, or repeat the command with --repair.

For example:
  twupdate upgrade --backup /var/backups/twupdate --services-log services.jsonl
)";

}  // namespace

void AddUpgrade(CLI::App& app, Invocation& invocation) {
    auto* command =
        app.add_subcommand("upgrade", "Upgrade the central database and every older site");
    command->footer(kNeeds);
    const auto arguments = std::make_shared<UpgradeArguments>();
    arguments->leftovers = AddRepairFlag(*command);
    command
        ->add_option("--jobs", arguments->jobs,
                     "Upgrade this many sites at a time; auto: as many as the server gains from")
        ->type_name("N|auto")
        ->check(FaultOfJobs)
        ->capture_default_str();
    command->add_flag("--keep-going", arguments->keepGoing,
                      "Upgrade the other sites too if one fails; exit status 6 names those");
    command
        ->add_option("--max-failures", arguments->maxFailures,
                     "Keep going until more than this number, or percentage, of sites has failed")
        ->type_name("N|P%")
        ->check(FaultOfFailureLimit);
    command
        ->add_option("--max-load", arguments->maxLoad,
                     "Wait while more threads of others than this run a statement on the server")
        ->type_name("Threads_running=N")
        ->check(FaultOfMaxLoad);
    auto* lag = command
                    ->add_option("--max-replica-lag", arguments->care.mostLag,
                                 "Wait while a replica is further behind than this")
                    ->type_name("SECONDS")
                    ->transform(Decimal())
                    ->check(CLI::Range(0, 31536000));
    command
        ->add_option("--replica", arguments->care.replicas,
                     "A replica whose lag counts; may be given several times")
        ->type_name("HOST[:PORT]")
        ->allow_extra_args(false)
        ->check(FaultOfReplica)
        ->needs(lag);
    command
        ->add_option("--reconnect", arguments->reconnectSeconds,
                     "Wait this long for a server that cannot be reached any more (default: a few "
                     "attempts)")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(0, 31536000));
    command->callback([&invocation, arguments] {
        invocation.run = [arguments](const GlobalOptions& options, Console& console) {
            return Upgrade(options, console, *arguments);
        };
    });
}

}  // namespace twupdate::cli
