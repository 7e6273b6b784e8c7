#include "cli/run/metrics.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace twupdate::cli {
namespace {

constexpr std::string_view kRunning = "running";
constexpr std::array<std::string_view, 5> kStates{kRunning, "done", "failed", "incomplete",
                                                  "stopped"};

/// The head of a metric, which its values follow.
std::string Head(std::string_view name, std::string_view type, std::string_view help) {
    return fmt::format("# HELP {0} {2}\n# TYPE {0} {1}\n", name, type, help);
}

std::string Metric(std::string_view name, std::string_view type, std::string_view help,
                   double value) {
    return Head(name, type, help) + fmt::format("{} {}\n", name, value);
}

double Seconds(std::chrono::nanoseconds duration) {
    return std::chrono::duration<double>(duration).count();
}

}  // namespace

Metrics::Metrics(std::filesystem::path file, std::shared_ptr<const Progress> progress,
                 Console& console)
    : path_(std::move(file)), progress_(std::move(progress)), console_(console) {}

void Metrics::RunStarting(const RunStart& start) {
    command_ = start.command;
    began_ = std::chrono::system_clock::now();
    file_.emplace(path_, Exposition(kRunning), console_);
    ticker_.emplace([this] { file_->Write(Exposition(kRunning)); });
}

void Metrics::RunFailed(const RunFailure& failure, const Counts& /*counts*/) {
    End(failure.stopped ? "stopped" : failure.isOfOneSite ? "incomplete" : "failed");
}

void Metrics::RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {
    End("done");
}

void Metrics::End(std::string_view state) {
    ticker_.reset();
    if (file_) {
        file_->Write(Exposition(state));
    }
}

std::string Metrics::Exposition(std::string_view state) const {
    const ProgressFigures figures = progress_->Figures();
    std::string text = Head("twupdate_run_state", "gauge", "How the run stands: 1 for its state.");
    for (const std::string_view one : kStates) {
        text += fmt::format("twupdate_run_state{{command=\"{}\",state=\"{}\"}} {}\n", command_, one,
                            one == state ? 1 : 0);
    }
    text +=
        Metric("twupdate_run_start_time_seconds", "gauge",
               "When the run began, in seconds since 1970.", Seconds(began_.time_since_epoch()));
    text += Metric("twupdate_run_duration_seconds", "gauge", "How long the run has taken so far.",
                   Seconds(std::chrono::system_clock::now() - began_));
    text += Head("twupdate_sites", "gauge", "Sites of the run by state.");
    const std::uint64_t begun = figures.sitesDone + figures.sitesFailed + figures.sitesInProgress;
    const std::uint64_t toDo = figures.sites > begun ? figures.sites - begun : 0;
    for (const auto& [name, number] :
         {std::pair{"done", figures.sitesDone}, std::pair{"failed", figures.sitesFailed},
          std::pair{"in_progress", figures.sitesInProgress}, std::pair{"to_do", toDo}}) {
        text += fmt::format("twupdate_sites{{state=\"{}\"}} {}\n", name, number);
    }
    text += Head("twupdate_statements_total", "counter", "Statements sent to the server.") +
            fmt::format("twupdate_statements_total {}\n", figures.statements);
    text += Head("twupdate_jobs", "gauge", "Jobs at work.") +
            fmt::format("twupdate_jobs {}\n", figures.jobs);
    text += Head("twupdate_waiting", "gauge", "Jobs that wait, by what they wait for.") +
            fmt::format("twupdate_waiting{{reason=\"lock\"}} {}\n", figures.waiting) +
            fmt::format("twupdate_waiting{{reason=\"load\"}} {}\n",
                        figures.isPaused ? std::max<std::uint64_t>(figures.jobs, 1) : 0);
    if (figures.left && state == kRunning) {
        text +=
            Metric("twupdate_time_left_seconds", "gauge",
                   "Estimate of the time that the rest of the run takes.", Seconds(*figures.left));
    }
    return text;
}

}  // namespace twupdate::cli
