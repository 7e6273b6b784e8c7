#include "cli/report/page.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>
#include <vector>

#include "cli/report/html.h"
#include "cli/report/page_parts.h"
#include "cli/report/run_figures.h"
#include "cli/report/timeline.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr std::size_t kMostSteps = 50;
constexpr std::size_t kMostStatements = 15;
constexpr std::size_t kMostMarked = 10;
constexpr std::size_t kMostTimelines = 12;
constexpr std::size_t kMostFailures = 30;
constexpr std::size_t kMostNames = 20;
constexpr std::size_t kMostRuns = 100;
constexpr std::size_t kMostDatabases = 5000;

// --- the summary ---------------------------------------------------------------------------------

std::string PlaceOf(const FailureRecord& failure) {
    std::string place = NameHtml(failure.database);
    if (!failure.ladder.empty()) {
        place += fmt::format(", {} ladder", NameHtml(failure.ladder));
    }
    if (!failure.step.empty()) {
        place += fmt::format(", step {}", NameHtml(failure.step));
        if (const auto words = StepWordsHtml(failure.step); !words.empty()) {
            place += fmt::format(" ({})", words);
        }
    }
    return place;
}

std::string ErrorOf(const FailureRecord& failure) {
    std::string error;
    if (failure.code != 0) {
        error = failure.sqlState.empty() ? fmt::format("server error {}: ", failure.code)
                                         : fmt::format("server error {} ({}): ", failure.code,
                                                       NameHtml(failure.sqlState));
    }
    return error + Html(ShortStatement(failure.error, kMostText));
}

/// Where the events of a run end.
std::string LastSeen(const RunRecord& run) {
    std::string place = fmt::format("the last event is of {} UTC", TimeHtml(run.lastEvent));
    if (const DatabaseRecord* database = run.InHand()) {
        place += fmt::format(", in {}", NameHtml(database->name));
        if (!database->steps.empty() && !database->steps.back().ended) {
            place += fmt::format(", step {}", NameHtml(database->steps.back().name));
        }
    }
    return place;
}

std::string Outcome(const RunRecord& run, std::optional<std::chrono::seconds> renewed) {
    if (renewed && run.end == RunEnd::kNone) {
        return fmt::format(
            "<p class=\"outcome\" id=\"outcome\"><strong>▶ Running:</strong> {}. This page reloads "
            "itself every {} s; if the time stays the same, the program was killed.</p>\n",
            LastSeen(run), renewed->count());
    }
    switch (run.end) {
        case RunEnd::kFinished:
            return "<p class=\"outcome good\" id=\"outcome\"><strong>✓ Finished.</strong> The run "
                   "ended without errors.</p>\n";
        case RunEnd::kFailed:
            return fmt::format(
                "<p class=\"outcome bad\" id=\"outcome\"><strong>✗ Failed</strong> in {}: "
                "{}{}</p>\n",
                PlaceOf(*run.failure), ErrorOf(*run.failure),
                run.failures.size() < 2
                    ? ""
                    : fmt::format(" And {}; see <a href=\"#failures\">Failures</a>.",
                                  Count(run.failures.size() - 1, "more failure")));
        case RunEnd::kStopped:
            return fmt::format(
                "<p class=\"outcome\" id=\"outcome\"><strong>◼ Stopped</strong> as was asked for, "
                "in {}. The same command goes on.</p>\n",
                PlaceOf(*run.failure));
        case RunEnd::kNone:
            return fmt::format(
                "<p class=\"outcome\" id=\"outcome\"><strong>… Did not end:</strong> {}{}. The "
                "program was killed, or is still running.</p>\n",
                LastSeen(run), run.truncatedLine ? "; the event after it is truncated" : "");
    }
    return "";
}

std::string ServicesOf(std::span<const RunRecord> runs) {
    std::uint64_t calls = 0;
    std::uint64_t failed = 0;
    for (const ServiceTotal& total : ServiceTotals(runs)) {
        calls += total.calls;
        failed += total.failed;
    }
    return Grouped(calls) + (failed > 0 ? fmt::format(" ({} failed)", Grouped(failed)) : "");
}

std::string FiguresOfOne(const RunRecord& run) {
    return Figure("took", run.end == RunEnd::kFinished ? "Took" : "Took so far",
                  DurationHtml(run.duration)) +
           Figure("databases", "Databases upgraded", Grouped(run.DatabasesEnded())) +
           Figure("sites", "Sites upgraded",
                  fmt::format("{} of {}", Grouped(run.SitesEnded()), Grouped(run.sitesToDo))) +
           Figure("steps", "Steps", Grouped(run.StepsEnded())) +
           Figure("statements", "Statements", Grouped(run.statements));
}

std::string FiguresOfAll(std::span<const RunRecord> runs) {
    std::set<std::string_view> databases;
    std::set<std::string_view> sites;
    EventDuration duration{0};
    std::uint64_t steps = 0;
    std::uint64_t statements = 0;
    for (const RunRecord& run : runs) {
        duration += run.duration;
        steps += run.StepsEnded();
        statements += run.statements;
        for (const DatabaseRecord& database : run.databases) {
            if (database.ended) {
                databases.insert(database.name);
                if (database.siteId) {
                    sites.insert(database.name);
                }
            }
        }
    }
    return Figure("runs-figure", "Runs", Grouped(runs.size())) +
           Figure("took", "Took together", DurationHtml(duration)) +
           Figure("databases", "Databases upgraded", Grouped(databases.size())) +
           Figure("sites", "Sites upgraded", Grouped(sites.size())) +
           Figure("steps", "Steps", Grouped(steps)) +
           Figure("statements", "Statements", Grouped(statements));
}

/// Failures that no later run resolved, except one of the last run, which the outcome reports.
std::uint64_t OpenFailures(std::span<const RunRecord> runs) {
    std::uint64_t open = 0;
    for (const FailureGroup& group : FailureGroups(runs)) {
        open += static_cast<std::uint64_t>(std::count_if(
            group.occurrences.begin(), group.occurrences.end(), [&](const auto& occurrence) {
                return !occurrence.resolved && occurrence.run != &runs.back();
            }));
    }
    return open;
}

std::string RunTable(std::span<const RunRecord> runs) {
    Table table("runs", "The runs; times are UTC",
                {"Began", "Command", "End", "#Sites", "#Steps", "#Statements", "#Took"});
    const auto shown = runs.last(std::min(runs.size(), kMostRuns));
    for (const RunRecord& run : shown) {
        table.AddRow({TimeHtml(run.start), NameHtml(run.command), EndWord(run.end),
                      fmt::format("{} of {}", Grouped(run.SitesEnded()), Grouped(run.sitesToDo)),
                      Grouped(run.StepsEnded()), Grouped(run.statements),
                      DurationHtml(run.duration)});
    }
    return table.Done() + AndMore(runs.size(), shown.size(), "earlier run");
}

std::string Summary(std::span<const RunRecord> runs, std::optional<std::chrono::seconds> renewed) {
    const bool one = runs.size() == 1;
    std::string html;
    if (!one) {
        html += fmt::format("<p>The last of {}:</p>\n", Count(runs.size(), "run"));
    }
    html += Outcome(runs.back(), renewed);
    if (const auto open = OpenFailures(runs); open > 0) {
        html += fmt::format(
            "<p class=\"outcome bad\" id=\"open-failures\"><strong>✗ {}</strong> of earlier runs "
            "{} not resolved by a later one; see <a href=\"#failures\">Failures</a>.</p>\n",
            Count(open, "failure"), open == 1 ? "was" : "were");
    }
    html += "<dl class=\"figures\">\n" + (one ? FiguresOfOne(runs[0]) : FiguresOfAll(runs)) +
            Figure("services-figure", "Service calls", ServicesOf(runs)) + "</dl>\n";
    return Section("summary", "Summary", html + (one ? "" : RunTable(runs)));
}

// --- failures ------------------------------------------------------------------------------------

std::string FailureTitle(const FailureRecord& failure) {
    const std::string step = failure.step.empty() ? "Outside of a step" : NameHtml(failure.step);
    return failure.code == 0
               ? step + ": no error of the server"
               : fmt::format(
                     "{}: server error {}{}", step, failure.code,
                     failure.sqlState.empty() ? "" : " (" + NameHtml(failure.sqlState) + ")");
}

std::string FailureText(const FailureGroup& group) {
    const FailureRecord& latest = group.Latest();
    const std::string words = StepWordsHtml(latest.step);
    std::string html =
        fmt::format("<h3>{}</h3>\n{}<p>{}</p>\n", FailureTitle(latest),
                    words.empty() ? "" : fmt::format("<p class=\"quiet\">{}</p>\n", words),
                    Html(ShortStatement(latest.error, kMostText)));
    if (!latest.error.starts_with(latest.statement)) {  // the text of a service names the call
        html += Sql(latest.statement);
    }
    html += fmt::format("<p>{}:</p>\n<ul class=\"databases\">\n",
                        Count(group.occurrences.size(), "time"));
    const std::size_t shown = std::min(group.occurrences.size(), kMostNames);
    for (std::size_t i = group.occurrences.size() - shown; i < group.occurrences.size(); ++i) {
        const FailureRecord* failure = group.occurrences[i].failure;
        html += fmt::format("<li>{}, {} UTC: {}</li>\n", NameHtml(failure->database),
                            TimeHtml(failure->time),
                            group.occurrences[i].resolved
                                ? "<span class=\"good-word\">✓ resolved by a later run</span>"
                                : "<span class=\"bad-word\">✗ still open</span>");
    }
    return html + "</ul>\n" + AndMore(group.occurrences.size(), shown, "earlier failure");
}

std::string Failures(std::span<const RunRecord> runs) {
    const auto groups = FailureGroups(runs);
    if (groups.empty()) {
        return Section("failures", "Failures", "<p>None.</p>\n");
    }
    std::string html =
        "<p class=\"quiet\">By step and error of the server, the most frequent first; with text "
        "and statement of the latest.</p>\n";
    const std::size_t shown = std::min(groups.size(), kMostFailures);
    for (std::size_t i = 0; i < shown; ++i) {
        html += FailureText(groups[i]);
    }
    return Section("failures", "Failures", html + AndMore(groups.size(), shown, "failure group"));
}

// --- the timeline --------------------------------------------------------------------------------

constexpr std::string_view kLegend =
    "<ul class=\"legend\">\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"schema\" width=\"22\" "
    "height=\"12\"/></svg>plain: server or site schema ladder</li>\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"data\" width=\"22\" "
    "height=\"12\"/><path class=\"stripe\" d=\"M3 0h3l-4 12h-3zM11 0h3l-4 12h-3zM19 0h3l-4 12h-3z\""
    "/></svg>striped: server data or site content ladder</li>\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"step\" x=\"1\" y=\"1\" "
    "width=\"20\" height=\"10\"/></svg>outlined: a step of its own</li>\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"span\" width=\"22\" "
    "height=\"12\"/></svg>grey: parts too short to draw</li>\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><line class=\"interrupted\" "
    "x1=\"11\" "
    "x2=\"11\" y1=\"0\" y2=\"12\"/></svg>upright bar: it did not end</li>\n"
    "</ul>\n";

std::string Timeline(const RunRecord& run, std::size_t id) {
    const std::string ran =
        fmt::format("{} from {} to {}, {} UTC", NameHtml(run.command), VersionText(run.from),
                    VersionText(run.to), TimeHtml(run.start));
    if (run.databases.empty()) {
        return fmt::format("<p>{}: no ladder was begun.</p>\n", ran);
    }
    const auto marked = LongestSteps(run, kMostMarked);
    Table table(
        fmt::format("longest-{}", id), "The steps that took longest in one database",
        {"#No.", "Step", "Database", "#Began after", "#Took", "#Of the run", "~What it does"});
    for (std::size_t i = 0; i < marked.size(); ++i) {
        const StepRecord& step = *marked[i].step;
        table.AddRow(
            {std::to_string(i + 1), NameHtml(step.name), NameHtml(marked[i].database->name),
             DurationHtml(std::max<EventDuration>(step.start - run.start, EventDuration{0})),
             DurationHtml(step.duration) + (step.ended ? "" : " (did not end)"),
             ShareHtml(step.duration, run.duration), StepWordsHtml(step.name)});
    }
    return fmt::format("<figure>\n<figcaption>{}: {}</figcaption>\n{}</figure>\n{}", ran,
                       EndWord(run.end), TimelineSvg(run, marked, id),
                       marked.empty() ? "" : table.Done());
}

std::string Timelines(std::span<const RunRecord> runs) {
    std::string html(kLegend);
    html +=
        "<p class=\"quiet\">Numbers stand below the steps that took longest and are those of the "
        "table. Times of day are UTC.</p>\n";
    const auto shown = runs.last(std::min(runs.size(), kMostTimelines));
    html += AndMore(runs.size(), shown.size(), "earlier run");
    for (std::size_t i = 0; i < shown.size(); ++i) {
        html += Timeline(shown[i], i + 1);
    }
    return Section("timeline", "Timeline", html);
}

// --- the other tables ----------------------------------------------------------------------------

std::string OutcomeWord(DatabaseTotal::Outcome outcome) {
    switch (outcome) {
        case DatabaseTotal::Outcome::kUpgraded:
            return "<span class=\"good-word\">✓ upgraded</span>";
        case DatabaseTotal::Outcome::kFailed:
            return "<span class=\"bad-word\">✗ failed</span>";
        case DatabaseTotal::Outcome::kStopped:
            return "◼ stopped";
        case DatabaseTotal::Outcome::kNotEnded:
            return "… did not end";
        case DatabaseTotal::Outcome::kNotBegun:
            return "not begun";
    }
    return "";
}

std::string DatabaseTable(std::span<const RunRecord> runs) {
    const auto totals = DatabaseTotals(runs);
    Table table("all-databases", runs.size() == 1 ? "Every database" : "Every database, all runs",
                {"Database", "From", "To", "#Took", "#Statements", "Outcome"});
    const std::size_t shown = std::min(totals.size(), kMostDatabases);
    for (std::size_t i = 0; i < shown; ++i) {
        const DatabaseTotal& total = totals[i];
        const bool begun = total.outcome != DatabaseTotal::Outcome::kNotBegun;
        table.AddRow({NameHtml(total.name), VersionText(total.from),
                      total.to ? VersionText(*total.to) : "–",
                      begun ? DurationHtml(total.sum) : "–",
                      begun ? Grouped(total.statements) : "–", OutcomeWord(total.outcome)});
    }
    return table.Done() + AndMore(totals.size(), shown, "database");
}

std::string VersionTable(std::span<const RunRecord> runs) {
    Table table("versions", "Databases by the version at which they began",
                {"From", "#Begun", "#Upgraded", "#Median", "#Longest", "Where"});
    for (const VersionTotal& total : VersionTotals(runs)) {
        const bool any = total.ended > 0;
        table.AddRow({VersionText(total.from), Grouped(total.begun), Grouped(total.ended),
                      any ? DurationHtml(total.median) : "–",
                      any ? DurationHtml(total.longest) : "–", NameHtml(total.longestIn)});
    }
    return table.Done();
}

/// The sites that the last upgrade of the installation left alone.
std::string SitesLeftAlone(std::span<const RunRecord> runs) {
    constexpr std::size_t kMostIds = 200;
    const auto last = std::find_if(runs.rbegin(), runs.rend(),
                                   [](const RunRecord& run) { return run.command == "upgrade"; });
    if (last == runs.rend() || last->leftOut.empty()) {
        return "";
    }
    std::string html = "<h3>Sites left out</h3>\n<ul id=\"left-out\">\n";
    for (const auto& [why, ids] : last->leftOut) {
        const std::size_t shown = std::min(ids.size(), kMostIds);
        html += fmt::format(
            "<li>{}: {} ({}{})</li>\n", NameHtml(why), Count(ids.size(), "site"),
            fmt::join(ids.begin(), ids.begin() + static_cast<std::ptrdiff_t>(shown), ", "),
            ids.size() > shown ? fmt::format(" and {} more", Grouped(ids.size() - shown)) : "");
    }
    return html + "</ul>\n";
}

std::string AllDatabases(std::span<const RunRecord> runs) {
    const auto begins = [](const RunRecord& run) { return !run.databases.empty(); };
    const bool anyPlanned = std::any_of(runs.begin(), runs.end(),
                                        [](const RunRecord& run) { return !run.sites.empty(); });
    const bool anyBegun = std::any_of(runs.begin(), runs.end(), begins);
    const std::string html = SitesLeftAlone(runs) +
                             (anyBegun || anyPlanned ? DatabaseTable(runs) : "") +
                             (anyBegun ? VersionTable(runs) : "");
    return html.empty() ? "" : Section("databases-by-version", "Databases", html);
}

/// The servers and accounts of the runs, each once.
std::string Servers(std::span<const RunRecord> runs) {
    std::set<std::string> servers;
    for (const RunRecord& run : runs) {
        if (!run.server.empty()) {
            servers.insert(
                fmt::format("{}, account {}", NameHtml(run.server), NameHtml(run.account)));
        }
    }
    return servers.empty() ? ""
                           : fmt::format("<p class=\"quiet\" id=\"server\">Server: {}.</p>\n",
                                         fmt::join(servers, "; "));
}

std::string Steps(std::span<const RunRecord> runs) {
    const auto totals = StepTotals(runs);
    if (totals.empty()) {
        return Section("slowest-steps", "Slowest steps", "<p>No step has ended.</p>\n");
    }
    EventDuration all{0};
    for (const StepTotal& total : totals) {
        all += total.sum;
    }
    Table table("steps-table", "Steps by their time in all databases together",
                {"Step", "#Ran", "#Statements", "#Together", "#Of all steps", "#Longest", "Where",
                 "~What it does"});
    const std::size_t shown = std::min(totals.size(), kMostSteps);
    for (std::size_t i = 0; i < shown; ++i) {
        const StepTotal& total = totals[i];
        table.AddRow({NameHtml(total.name), Grouped(total.times), Grouped(total.statements),
                      DurationHtml(total.sum), ShareHtml(total.sum, all),
                      DurationHtml(total.longest), NameHtml(total.longestIn),
                      StepWordsHtml(total.name)});
    }
    return Section("slowest-steps", "Slowest steps",
                   table.Done() + AndMore(totals.size(), shown, "step"));
}

std::string Statements(std::span<const RunRecord> runs) {
    const auto stepRuns = SlowestStatements(runs, kMostStatements);
    if (stepRuns.empty()) {
        return "";
    }
    std::string html =
        "<p class=\"quiet\">Of every step in every database its longest statement is known; these "
        "are the longest of them.</p>\n<ol class=\"statements\">\n";
    for (const StepRun& stepRun : stepRuns) {
        const std::string words = StepWordsHtml(stepRun.step->name);
        html += fmt::format("<li><strong>{}</strong> in {}, {}{}\n{}</li>\n",
                            DurationHtml(stepRun.step->slowestTime),
                            NameHtml(stepRun.database->name), NameHtml(stepRun.step->name),
                            words.empty() ? "" : ": " + words, Sql(stepRun.step->slowest));
    }
    return Section("slowest-statements", "Slowest statements", html + "</ol>\n");
}

std::string FailedCalls(std::span<const RunRecord> runs) {
    std::vector<const ServiceRecord*> failed;
    for (const RunRecord& run : runs) {
        for (const ServiceRecord& call : run.services) {
            if (call.failed) {
                failed.push_back(&call);
            }
        }
    }
    if (failed.empty()) {
        return "";
    }
    std::string html = "<h3>Calls that failed</h3>\n<ul id=\"failed-calls\">\n";
    const std::size_t shown = std::min(failed.size(), kMostNames);
    for (std::size_t i = failed.size() - shown; i < failed.size(); ++i) {
        const ServiceRecord& call = *failed[i];
        html += fmt::format("<li>{}{} in {}, {} UTC</li>\n", NameHtml(call.name),
                            call.componentId ? fmt::format(" {}", *call.componentId) : "",
                            NameHtml(call.database), TimeHtml(call.time));
    }
    return html + "</ul>\n" + AndMore(failed.size(), shown, "earlier failed call");
}

std::string Services(std::span<const RunRecord> runs) {
    const auto totals = ServiceTotals(runs);
    if (totals.empty()) {
        return Section("services", "Service calls", "<p>None.</p>\n");
    }
    Table table("services-table", "Calls to the component's services",
                {"Service", "#Calls", "#Failed", "#Components", "#Together", "#Longest"});
    for (const ServiceTotal& total : totals) {
        table.AddRow(
            {NameHtml(total.name), Grouped(total.calls),
             total.failed == 0 ? "0"
                               : fmt::format("<span class=\"bad-word\">✗ {}</span>", total.failed),
             Grouped(total.components), DurationHtml(total.sum), DurationHtml(total.longest)});
    }
    return Section("services", "Service calls", table.Done() + FailedCalls(runs));
}

/// What distinguishes the page at its top and in a list of windows.
std::string Title(std::span<const RunRecord> runs) {
    return fmt::format("{} of {} UTC",
                       runs.size() == 1 ? NameHtml(runs[0].command) : Count(runs.size(), "run"),
                       TimeHtml(runs[0].start));
}

}  // namespace

std::string ReportPage(std::span<const RunRecord> runs,
                       std::optional<std::chrono::seconds> renewed) {
    const std::string title = Title(runs);
    const bool isRunning = runs.back().end == RunEnd::kNone;
    return PageHead(title, isRunning ? renewed : std::nullopt) +
           fmt::format(
               "<header>\n<h1>twupdate: {}</h1>\n<p class=\"quiet\">From version {} to {}. Times "
               "are UTC.</p>\n{}</header>\n",
               title, VersionText(runs.front().from), VersionText(runs.back().to), Servers(runs)) +
           Summary(runs, renewed) + Failures(runs) + Timelines(runs) + AllDatabases(runs) +
           Steps(runs) + Statements(runs) + Services(runs) + std::string(kPageEnd);
}

}  // namespace twupdate::cli
