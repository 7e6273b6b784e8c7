// The events of runs, from which the report and the forecast are made.
#include "cli/report/forecast.h"
#include "cli/report/page.h"
#include "cli/report/run_events.h"
#include "cli/server/option_files.h"
#include "cli/terminal/failure.h"
#include "fuzz/target.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    const cli::Descriptor file = cli::MemoryFile(std::string(text));
    std::vector<cli::RunRecord> runs;
    try {
        runs = cli::ReadRuns(cli::PathOf(file));
    } catch (const cli::CommandError&) {
        return;
    }
    Require(!runs.empty(), "events are of a run");
    const std::string page = cli::ReportPage(runs);
    Require(page.find("<script") == std::string::npos, "a page has no scripts");
    cli::MakeForecast(runs, {{"tw_tarnwick", false, 1.0}, {"tw_7", true, 1.0}}).WithJobs(4);
}

const FuzzTarget kTarget("run_events", Read);

}  // namespace
}  // namespace twupdate::test
