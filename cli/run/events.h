#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <utility>

#include "cli/run/run_sink.h"
#include "cli/run/statement_kind.h"
#include "cli/terminal/console.h"

namespace twupdate::cli {

/// The time now, UTC, as "2026-11-21T09:05:03.120Z".
std::string TimeNow();
/// The same of another time.
std::string TimeText(std::chrono::system_clock::time_point time);

/// How a run goes on, for tools: a JSON object for each event. The format is described in
/// docs/operating/during.md and carries its version.
class Events final : public RunSink {
  public:
    static constexpr int kFormatVersion = 1;

    /// What takes the objects, one after the other.
    using Write = std::function<void(const nlohmann::ordered_json& event)>;

    explicit Events(Write write) : write_(std::move(write)) {}
    /// --events: one object per line, behind those of earlier runs.
    /// @throws CommandError when the file cannot be made
    Events(const std::filesystem::path& file, Console& console);

    void RunStarting(const RunStart& start) override;
    void LadderStarting(const Position& where, double version) override;
    void LadderEnded(const Position& where) override;
    void StepStarting(const Position& where) override;
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override;
    void SiteStarting(const Position& where, double version) override;
    void DatabaseEnded(const DatabaseDone& done, const Counts& counts) override;
    void CallEnded(const Position& where, const Call& call) override;
    void SiteFailed(const RunFailure& failure, const Counts& counts) override;
    void Retrying(const RunRetry& retry) override;
    void Waiting(const RunWait& wait) override;
    void WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) override;
    void SitesFailed(const std::vector<RunFailure>& failures) override;
    void RunFailed(const RunFailure& failure, const Counts& counts) override;
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override;

  private:
    nlohmann::ordered_json Line(std::string_view event) const;
    nlohmann::ordered_json Line(std::string_view event, const Position& where) const;
    nlohmann::ordered_json FailureOf(std::string_view event, const RunFailure& failure) const;
    void WriteFailure(std::string_view event, const RunFailure& failure, const Counts& counts);
    void AddCounts(nlohmann::ordered_json& line, const Counts& counts) const;

    const Write write_;
    std::string command_;
    /// The statements of a step.
    struct Statements {
        std::string slowest;
        std::chrono::nanoseconds slowestTime{0};
        KindTotals kinds{};
    };
    std::map<unsigned, Statements> inStep_;  ///< of the current step, by job
    std::uint64_t sites_ = 0;
};

}  // namespace twupdate::cli
