#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "cli/commands/jobs_option.h"
#include "cli/repair/repair_finding.h"
#include "cli/run/jobs.h"
#include "cli/run/progress_marks.h"
#include "cli/run/retries.h"
#include "cli/run/server_care.h"
#include "cli/server/installation.h"
#include "cli/server/left_out.h"
#include "cli/server/options.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"

namespace CLI {
class App;
}

namespace twupdate::cli {

/// The options of a command that upgrades many sites, as they are written.
struct ManySites {
    JobsOption jobs{"auto"};
    bool keepGoing = false;
    bool batch = false;       ///< see host::BatchingUtility
    std::string maxFailures;  ///< empty: any number with --keep-going, else none
    unsigned reconnectSeconds = 0;
    std::string maxLoad;  ///< may be empty
    CareOptions care;     ///< without the limit of --max-load

    /// @param sites  how many there are to upgrade; auto is one job for a single one
    JobOptions Jobs(std::size_t sites) const;
    RetryOptions Retries(const GlobalOptions& options) const;
    /// @throws CommandError for a limit to the lag of no replica
    CareOptions Care() const;
};

void AddManySitesOptions(CLI::App& command, ManySites& many);

/// Refuses --batch without the run's lock.
/// @throws CommandError (exit 2)
void RequireLockForBatch(const ManySites& many, const GlobalOptions& options);

/// @throws CLI::ValidationError when an id is there twice
void RefuseTwins(std::vector<std::int32_t> siteIds);

/// The sites that a run is to upgrade.
struct ChosenSites {
    std::vector<SiteRow> old;
    std::vector<SiteRow> current;      ///< named, although there is nothing to do for them
    std::vector<RefusedSite> refused;  ///< that the run leaves out and that count as failed
    LeftOut leftOut;                   ///< not named, and neither old nor current
    JobOptions jobs;

    bool IsEmpty() const { return old.empty() && refused.empty(); }
    bool MayFail() const { return jobs.mostFailures > 0; }
};

/// Every older site, as an upgrade of the installation visits them.
/// @throws CommandError for a site that such an upgrade refuses
ChosenSites AllOldSites(Installation& installation, const ManySites& many);

/// The sites with these ids, in the order of the ids; one that cannot be upgraded is refused.
ChosenSites NamedSites(Installation& installation, const std::vector<std::int32_t>& siteIds,
                       const ManySites& many);

/// Those of the sites that are older now; what the run leaves out is not among them.
std::vector<SiteRow> StillOld(Installation& installation, const ChosenSites& chosen);

/// Takes the sites out that would end the run at an interrupted step or a mark.
void TakeOutFaulty(const Session& session, ProgressMarks& marks, Leftovers leftovers,
                   ChosenSites& chosen);

/// Reports the sites that the run leaves out, or refuses the run when they are too many.
/// @throws CommandError
void TellRefused(const ChosenSites& chosen, Console& console);

/// Names the sites that are at the current version already.
void TellCurrent(const ChosenSites& chosen, Console& console);

/// Ends a run for which none of the sites that it names is to be upgraded.
/// @return the exit status
int NoSiteToUpgrade(const Session& session, const GlobalOptions& options, Console& console,
                    RunStart start);

/// Names the sites that the run leaves out although they are not current, and were not named.
void TellLeftOut(const LeftOut& leftOut, Console& console);

}  // namespace twupdate::cli
