#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "cli/report/fleet.h"
#include "cli/report/html.h"
#include "cli/report/page_parts.h"
#include "cli/report/timeline.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

using Installations = std::span<const InstallationRuns>;

constexpr std::size_t kMostFailures = 30;
constexpr std::size_t kMostPlaces = 40;
constexpr std::size_t kMostSites = 200;

/// From the first event of all to the last.
struct Period {
    EventTime start = EventTime::max();
    EventTime end = EventTime::min();
    EventDuration Length() const {
        return std::max<EventDuration>(end - start, std::chrono::milliseconds{1});
    }
};

EventTime EndOf(const RunRecord& run) {
    return std::max(
        run.lastEvent,
        run.start + std::chrono::duration_cast<std::chrono::milliseconds>(run.duration));
}

Period PeriodOf(Installations installations) {
    Period period;
    for (const InstallationRuns& installation : installations) {
        for (const RunRecord& run : installation.runs) {
            period.start = std::min(period.start, run.start);
            period.end = std::max(period.end, EndOf(run));
        }
    }
    return period;
}

// --- the summary ---------------------------------------------------------------------------------

std::string Outcome(Installations installations) {
    const auto done = static_cast<std::size_t>(
        std::count_if(installations.begin(), installations.end(),
                      [](const InstallationRuns& one) { return one.IsDone(); }));
    if (done == installations.size()) {
        return fmt::format(
            "<p class=\"outcome good\" id=\"outcome\"><strong>✓ Finished.</strong> The last run of "
            "each of the {} ended without errors.</p>\n",
            Count(installations.size(), "installation"));
    }
    return fmt::format(
        "<p class=\"outcome bad\" id=\"outcome\"><strong>✗ {} of {}</strong> {} not finished, or "
        "{} failures that no later run has resolved.</p>\n",
        installations.size() - done, Count(installations.size(), "installation"),
        installations.size() - done == 1 ? "is" : "are",
        installations.size() - done == 1 ? "has" : "have");
}

std::string InstallationTable(Installations installations) {
    Table table("installations", "The installations; times are UTC",
                {"Installation", "Last run", "#Sites", "#Open failures", "#Runs", "#Steps",
                 "#Statements", "Began", "Last event", "#Took together", "Server"});
    for (const InstallationRuns& one : installations) {
        EventDuration duration{0};
        for (const RunRecord& run : one.runs) {
            duration += run.duration;
        }
        table.AddRow({NameHtml(one.name), EndWord(one.Last().end),
                      fmt::format("{} of {}", Grouped(one.sitesEnded), Grouped(one.sites)),
                      one.openFailures == 0 ? "0"
                                            : fmt::format("<span class=\"bad-word\">✗ {}</span>",
                                                          Grouped(one.openFailures)),
                      Grouped(one.runs.size()), Grouped(one.steps), Grouped(one.statements),
                      TimeHtml(one.runs.front().start), TimeHtml(one.Last().lastEvent),
                      DurationHtml(duration), NameHtml(one.Last().server)});
    }
    return table.Done();
}

std::string Summary(Installations installations) {
    std::uint64_t runs = 0;
    std::uint64_t sites = 0;
    std::uint64_t sitesEnded = 0;
    std::uint64_t steps = 0;
    std::uint64_t statements = 0;
    for (const InstallationRuns& one : installations) {
        runs += one.runs.size();
        sites += one.sites;
        sitesEnded += one.sitesEnded;
        steps += one.steps;
        statements += one.statements;
    }
    return Section(
        "summary", "Summary",
        Outcome(installations) + "<dl class=\"figures\">\n" +
            Figure("installations-figure", "Installations", Grouped(installations.size())) +
            Figure("runs-figure", "Runs", Grouped(runs)) +
            Figure("took", "From first to last", DurationHtml(PeriodOf(installations).Length())) +
            Figure("sites", "Sites upgraded",
                   fmt::format("{} of {}", Grouped(sitesEnded), Grouped(sites))) +
            Figure("steps", "Steps", Grouped(steps)) +
            Figure("statements", "Statements", Grouped(statements)) + "</dl>\n" +
            InstallationTable(installations));
}

// --- failures ------------------------------------------------------------------------------------

std::string FailureText(const FleetFailure& failure) {
    const FailureRecord& latest = failure.Latest();
    std::string html =
        fmt::format("<h3>{}{}</h3>\n<p>{}</p>\n",
                    latest.step.empty() ? "Outside of a step" : NameHtml(latest.step),
                    latest.code == 0 ? "" : fmt::format(": server error {}", latest.code),
                    Html(ShortStatement(latest.error, kMostText)));
    if (!latest.statement.empty() && !latest.error.starts_with(latest.statement)) {
        html += Sql(latest.statement);
    }
    html += fmt::format("<p>{}:</p>\n<ul class=\"databases\">\n",
                        Count(failure.occurrences.size(), "time"));
    const std::size_t shown = std::min(failure.occurrences.size(), kMostPlaces);
    for (std::size_t i = failure.occurrences.size() - shown; i < failure.occurrences.size(); ++i) {
        const auto& occurrence = failure.occurrences[i];
        html += fmt::format(
            "<li>{}: {}, {} UTC: {}</li>\n", NameHtml(occurrence.installation->name),
            NameHtml(occurrence.in.failure->database), TimeHtml(occurrence.in.failure->time),
            occurrence.in.resolved ? "<span class=\"good-word\">✓ resolved by a later run</span>"
                                   : "<span class=\"bad-word\">✗ still open</span>");
    }
    return html + "</ul>\n" + AndMore(failure.occurrences.size(), shown, "earlier failure");
}

std::string Failures(Installations installations) {
    const auto failures = FleetFailures(installations);
    std::string html = failures.empty()
                           ? "<p>None.</p>\n"
                           : "<p class=\"quiet\">By step and error of the server, over all "
                             "installations; the most frequent first.</p>\n";
    const std::size_t shown = std::min(failures.size(), kMostFailures);
    for (std::size_t i = 0; i < shown; ++i) {
        html += FailureText(failures[i]);
    }
    return Section("failures", "Failures", html + AndMore(failures.size(), shown, "failure group"));
}

// --- the timeline --------------------------------------------------------------------------------

class RunBars {
  public:
    explicit RunBars(Installations installations) : period_(PeriodOf(installations)) {
        for (const InstallationRuns& one : installations) {
            AddRow(one);
        }
    }

    std::string Svg() const {
        return fmt::format(
            "<svg class=\"timeline\" width=\"100%\" height=\"{}\" role=\"img\" "
            "aria-labelledby=\"timeline-title\"><title id=\"timeline-title\">The runs of each "
            "installation</title>\n{}{}</svg>\n",
            y_, Axis(), body_);
    }

  private:
    static constexpr int kAxisHeight = 22;
    static constexpr int kLabelHeight = 16;
    static constexpr int kBarHeight = 12;
    static constexpr int kGap = 6;

    double At(EventTime time) const {
        return std::clamp(
            static_cast<double>((time - period_.start) / std::chrono::milliseconds{1}) /
                std::chrono::duration<double, std::milli>(period_.Length()).count(),
            0.0, 1.0);
    }

    void AddRow(const InstallationRuns& one) {
        body_ +=
            fmt::format("<text x=\"0\" y=\"{}\">{}: {}, {} of {}</text>\n", y_ + kLabelHeight - 4,
                        NameHtml(one.name), Count(one.runs.size(), "run"), Grouped(one.sitesEnded),
                        Count(one.sites, "site"));
        y_ += kLabelHeight;
        for (const RunRecord& run : one.runs) {
            const double from = At(run.start);
            const double end = At(EndOf(run));
            const bool finished = run.end == RunEnd::kFinished;
            body_ += fmt::format(
                "<rect class=\"{}\" x=\"{:.2f}%\" y=\"{}\" width=\"{:.2f}%\" height=\"{}\">"
                "<title>{}, {} UTC, {}: {}</title></rect>\n",
                finished ? "schema" : "span", from * 100, y_, (end - from) * 100, kBarHeight,
                NameHtml(run.command), TimeHtml(run.start), DurationHtml(run.duration),
                EndText(run.end));
            if (!finished) {
                body_ += fmt::format(
                    "<line class=\"interrupted\" x1=\"{0:.2f}%\" x2=\"{0:.2f}%\" y1=\"{1}\" "
                    "y2=\"{2}\"/>\n",
                    end * 100, y_ - 3, y_ + kBarHeight + 3);
            }
        }
        y_ += kBarHeight + kGap;
    }

    std::string Axis() const {
        std::string axis;
        for (const AxisMark& mark : AxisMarks(period_.start, period_.Length())) {
            axis += fmt::format(
                "<text class=\"axis\" x=\"{0:.2f}%\" y=\"12\" text-anchor=\"{1}\">{2}</text>\n"
                "<line class=\"grid\" x1=\"{0:.2f}%\" x2=\"{0:.2f}%\" y1=\"16\" y2=\"{3}\"/>\n",
                mark.share * 100,
                mark.share < 0.06  ? "start"
                : mark.share > 0.9 ? "end"
                                   : "middle",
                mark.label, y_);
        }
        return axis;
    }

    Period period_;
    int y_ = kAxisHeight;
    std::string body_;
};

constexpr std::string_view kLegend =
    "<ul class=\"legend\">\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"schema\" width=\"22\" "
    "height=\"12\"/></svg>a run that finished</li>\n"
    "<li><svg width=\"22\" height=\"12\" aria-hidden=\"true\"><rect class=\"span\" width=\"22\" "
    "height=\"12\"/><line class=\"interrupted\" x1=\"20\" x2=\"20\" y1=\"0\" y2=\"12\"/></svg>a "
    "run "
    "that failed, was stopped, or has not ended, up to the upright bar</li>\n"
    "</ul>\n";

std::string Timeline(Installations installations) {
    return Section(
        "timeline", "Timeline",
        std::string(kLegend) + "<figure>\n" + RunBars(installations).Svg() + "</figure>\n");
}

// --- what is left --------------------------------------------------------------------------------

/// The databases that no run has brought to their end.
std::string Unfinished(Installations installations) {
    std::string html;
    for (const InstallationRuns& one : installations) {
        std::vector<std::string> names;
        for (const DatabaseTotal& total : DatabaseTotals(one.runs)) {
            if (!total.to) {
                names.push_back(NameHtml(total.name));
            }
        }
        if (names.empty()) {
            continue;
        }
        const std::size_t all = names.size();
        names.resize(std::min(all, kMostSites));
        html += fmt::format(
            "<li>{}: {} ({}{})</li>\n", NameHtml(one.name), Count(all, "database"),
            fmt::join(names, ", "),
            all > names.size() ? fmt::format(" and {} more", Grouped(all - names.size())) : "");
    }
    return Section("unfinished", "Unfinished databases",
                   html.empty() ? "<p>None.</p>\n" : "<ul>\n" + html + "</ul>\n");
}

}  // namespace

std::string FleetPage(Installations installations) {
    const std::string title = fmt::format("{}, {} UTC", Count(installations.size(), "installation"),
                                          TimeHtml(PeriodOf(installations).start));
    return PageHead(title) +
           fmt::format(
               "<header>\n<h1>twupdate: {}</h1>\n<p class=\"quiet\">Times are UTC. A report of the "
               "events of one installation shows its databases and steps.</p>\n</header>\n",
               title) +
           Summary(installations) + Failures(installations) + Timeline(installations) +
           Unfinished(installations) + std::string(kPageEnd);
}

}  // namespace twupdate::cli
