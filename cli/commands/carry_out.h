#pragma once

#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/repair/repair_finding.h"
#include "cli/run/jobs.h"
#include "cli/run/progress_marks.h"
#include "cli/run/retries.h"
#include "cli/run/run_lock.h"
#include "cli/run/run_sink.h"
#include "cli/run/server_care.h"
#include "cli/server/installation.h"
#include "cli/server/options.h"
#include "cli/server/session.h"
#include "cli/terminal/console.h"
#include "twupdate/update.h"

namespace CLI {
class App;
}

namespace twupdate::cli {

/// One operation of the component and its context.
struct Run {
    RunStart start;
    /// Calls the component, and does what belongs to the host afterwards. Empty where jobs upgrade
    /// sites and nothing else is to be done.
    std::function<void(Update&, Utility&)> operation;
    /// Upgrades the sites that the component's own walk must not begin from their recorded version,
    /// after the central ladders. May be empty.
    std::function<void(Update&, Utility&)> beforeSites;
    /// How many sites are upgraded at a time. With one the component does it in its walk.
    JobOptions jobs;
    /// Only the sites of `start` are upgraded, not all that the component's walk would find: jobs
    /// do so, even if it is one.
    bool isOfTheseSitesAlone = false;
    /// What is done when jobs have upgraded the sites, before the component looks for others. May
    /// be empty; may throw to end the component's operation.
    std::function<void()> afterSites;
    std::vector<RefusedSite> refused;  ///< sites that are left out and count as failed
    /// Finds out what is left to do when the operation is carried out again on a new connection.
    /// Without it nothing is tried again.
    std::function<void()> again;
    RetryOptions retries;
    CareOptions care;
    const RunLock* lock = nullptr;
    std::shared_ptr<ProgressMarks> marks;  ///< none for a creation, which walks no ladder
    Leftovers leftovers = Leftovers::kRefuse;
    /// What to do after a failure, unless a step has other advice; by default that the same command
    /// resumes.
    std::string afterFailure = "Repeat the command; it resumes.";
    /// Added to the result of --json.
    nlohmann::ordered_json result;
};

/// Adds --repair to a command that carries out a run.
/// @returns what the command line says of it
std::shared_ptr<Leftovers> AddRepairFlag(CLI::App& command);

/// Carries out and observes the run: traces it, shows its progress, and prints the summary, or
/// where it failed and what is done.
/// @return the exit status
int CarryOut(Session& session, const GlobalOptions& options, Console& console, const Run& run);

/// Records where --events and --log say that there was nothing to do for a run.
void RecordNothingToDo(const Session& session, const GlobalOptions& options, Console& console,
                       RunStart start);

/// What a run that did not end has finished, for people; one line.
std::string WhatStands(const std::vector<DatabaseDone>& databases);

}  // namespace twupdate::cli
