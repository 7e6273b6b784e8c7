#include "cli/commands/many_sites.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <iterator>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include "cli/commands/carry_out.h"
#include "cli/terminal/decimal.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

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

std::vector<SiteRow> InState(const std::vector<SiteRow>& sites, SiteState state) {
    std::vector<SiteRow> chosen;
    std::copy_if(sites.begin(), sites.end(), std::back_inserter(chosen),
                 [state](const SiteRow& site) { return site.State() == state; });
    return chosen;
}

/// Takes the sites out that have no database.
void TakeOutWithoutDatabase(Installation& installation, std::vector<SiteRow>& sites,
                            std::vector<RefusedSite>& refused) {
    std::set<std::int64_t> ids;
    for (const SiteRow& site : installation.WithoutDatabase(sites)) {
        refused.push_back({site, "no database that this account can see"});
        ids.insert(site.siteId);
    }
    std::erase_if(sites, [&](const SiteRow& site) { return ids.contains(site.siteId); });
}

/// Why a site that is named cannot be upgraded; empty when it can, or is current.
std::string RefusalOf(const SiteRow& site) {
    switch (site.State()) {
        case SiteState::kOld:
        case SiteState::kCurrent:
            return "";
        case SiteState::kNewer:
            return fmt::format("it is at {}, newer than the {} that this program knows",
                               VersionText(*site.version), VersionText(kCurrentVersion));
        case SiteState::kNoVersion:
            return fmt::format(
                "its version in tw_tarnwick.site is {}\nhint: set it to the version of its layout "
                "(0 runs every step)",
                site.noVersion);
        case SiteState::kHardDeleted:
        case SiteState::kInTransaction:
        case SiteState::kNoSite:
            break;
    }
    return fmt::format("it is {}, so it cannot be upgraded", SiteStateText(site.State()));
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

}  // namespace

JobOptions ManySites::Jobs(std::size_t sites) const {
    JobOptions options;
    options.isAuto = jobs.IsAuto() && sites > 1;
    options.number = jobs.IsAuto() ? 1 : jobs.Number();
    options.batches = batch;
    if (!maxFailures.empty()) {
        options.mostFailures = FailureLimitOf(maxFailures)->Of(sites);
    } else if (keepGoing) {
        options.mostFailures = std::numeric_limits<std::size_t>::max();
    }
    return options;
}

RetryOptions ManySites::Retries(const GlobalOptions& options) const {
    return {!options.ddlTimeoutSeconds, std::chrono::seconds(reconnectSeconds)};
}

CareOptions ManySites::Care() const {
    CareOptions limits = care;
    if (limits.mostLag && limits.replicas.empty()) {
        throw CommandError(
            "no replica is named, so no lag can be seen; nothing was done\nhint: name each with "
            "--replica HOST[:PORT]",
            kUsageError);
    }
    if (!maxLoad.empty()) {
        limits.mostRunning = MostRunningOf(maxLoad);
    }
    return limits;
}

void AddManySitesOptions(CLI::App& command, ManySites& many) {
    AddJobsOption(command, many.jobs,
                  "Upgrade this many sites at a time; auto: as many as the server gains from");
    command.add_flag("--batch", many.batch,
                     "Wait less for the server's disk: join changes of a table, and write rows in "
                     "transactions");
    command.add_flag("--keep-going", many.keepGoing,
                     "Upgrade the other sites too if one fails; exit status 6 names those");
    command
        .add_option("--max-failures", many.maxFailures,
                    "Keep going until more than this number, or percentage, of sites has failed")
        ->type_name("N|P%")
        ->check(FaultOfFailureLimit);
    command
        .add_option("--max-load", many.maxLoad,
                    "Wait while more threads of others than this run a statement on the server")
        ->type_name("Threads_running=N")
        ->check(FaultOfMaxLoad);
    auto* lag = command
                    .add_option("--max-replica-lag", many.care.mostLag,
                                "Wait while a replica is further behind than this")
                    ->type_name("SECONDS")
                    ->transform(Decimal())
                    ->check(CLI::Range(0, 31536000));
    command
        .add_option("--replica", many.care.replicas,
                    "A replica whose lag counts, as HOST or HOST:PORT; may be given several times")
        ->type_name("HOST")
        ->allow_extra_args(false)
        ->check(FaultOfReplica)
        ->needs(lag);
    command
        .add_option("--reconnect", many.reconnectSeconds,
                    "Wait this long for a server that cannot be reached any more (default: a few "
                    "attempts)")
        ->type_name("SECONDS")
        ->transform(Decimal())
        ->check(CLI::Range(0, 31536000));
}

void RequireLockForBatch(const ManySites& many, const GlobalOptions& options) {
    if (many.batch && options.noLock) {
        throw CommandError(
            "--batch keeps the layouts of sites in memory, so no other run may change them; "
            "nothing was done\nhint: omit --no-lock or --batch",
            kUsageError);
    }
}

void RefuseTwins(std::vector<std::int32_t> siteIds) {
    std::sort(siteIds.begin(), siteIds.end());
    const auto twin = std::adjacent_find(siteIds.begin(), siteIds.end());
    if (twin != siteIds.end()) {
        throw CLI::ValidationError(fmt::format("site {} is named twice", *twin));
    }
}

ChosenSites AllOldSites(Installation& installation, const ManySites& many) {
    auto sites = installation.Sites();
    ChosenSites chosen;
    chosen.jobs = many.Jobs(InState(sites, SiteState::kOld).size());
    if (chosen.MayFail()) {
        TakeOutWithoutDatabase(installation, sites, chosen.refused);
    }
    if (const auto refusals = Refusals(installation, sites); !refusals.empty()) {
        throw CommandError(JoinMessages(refusals, "; nothing was done"));
    }
    chosen.old = InState(sites, SiteState::kOld);
    chosen.leftOut = SitesLeftOut(sites);
    return chosen;
}

ChosenSites NamedSites(Installation& installation, const std::vector<std::int32_t>& siteIds,
                       const ManySites& many) {
    std::map<std::int64_t, SiteRow> rows;
    for (SiteRow& site : installation.Sites()) {
        rows.emplace(site.siteId, std::move(site));
    }
    ChosenSites chosen;
    for (const std::int32_t siteId : std::set<std::int32_t>(siteIds.begin(), siteIds.end())) {
        const auto row = rows.find(siteId);
        if (row == rows.end()) {
            SiteRow unknown;
            unknown.siteId = siteId;
            chosen.refused.push_back({unknown, "it is not in tw_tarnwick.site"});
        } else if (const std::string refusal = RefusalOf(row->second); !refusal.empty()) {
            chosen.refused.push_back({row->second, refusal});
        } else if (row->second.State() == SiteState::kOld) {
            chosen.old.push_back(row->second);
        } else {
            chosen.current.push_back(row->second);
        }
    }
    TakeOutWithoutDatabase(installation, chosen.old, chosen.refused);
    chosen.jobs = many.Jobs(chosen.old.size() + chosen.refused.size());
    return chosen;
}

std::vector<SiteRow> StillOld(Installation& installation, const ChosenSites& chosen) {
    std::set<std::int64_t> ids;
    for (const SiteRow& site : chosen.old) {
        ids.insert(site.siteId);
    }
    auto sites = InState(installation.Sites(), SiteState::kOld);
    std::erase_if(sites, [&](const SiteRow& site) { return !ids.contains(site.siteId); });
    return sites;
}

void TakeOutFaulty(const Session& session, ProgressMarks& marks, Leftovers leftovers,
                   ChosenSites& chosen) {
    std::erase_if(chosen.old, [&](const SiteRow& site) {
        const std::string fault = FaultOf(session, marks, site, leftovers);
        if (!fault.empty()) {
            chosen.refused.push_back({site, fault});
        }
        return !fault.empty();
    });
}

void TellRefused(const ChosenSites& chosen, Console& console) {
    if (chosen.refused.size() > chosen.jobs.mostFailures) {
        std::vector<std::string> texts;
        for (const RefusedSite& one : chosen.refused) {
            texts.push_back(fmt::format("site {}: {}", one.site.siteId, one.why));
        }
        throw CommandError(JoinMessages(texts, "; nothing was done"));
    }
    for (const RefusedSite& one : chosen.refused) {
        console.Warn(fmt::format("left out, site {}: {}", one.site.siteId, one.why));
    }
}

void TellCurrent(const ChosenSites& chosen, Console& console) {
    for (const SiteRow& site : chosen.current) {
        console.Say(
            fmt::format("Site {} is at {} already.", site.siteId, VersionText(*site.version)));
    }
}

int NoSiteToUpgrade(const Session& session, const GlobalOptions& options, Console& console,
                    RunStart start) {
    const std::string command = start.command.substr(0, start.command.find(' '));
    RecordNothingToDo(session, options, console, std::move(start));
    console.Say("No site is to be upgraded; nothing was done.");
    console.Result({{"command", command}, {"result", "nothing to do"}});
    return kDone;
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

}  // namespace twupdate::cli
