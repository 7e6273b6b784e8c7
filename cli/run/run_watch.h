#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "twupdate/host.h"
#include "twupdate_host/listener.h"

namespace twupdate::cli {

/// Watches one operation of the component: keeps where it stands and what it has done, and tells
/// the sinks.
class RunWatch final : public Observer, public host::StatementListener {
  public:
    void AddSink(std::shared_ptr<RunSink> sink);

    /// What is done when the central ladders have ended, before the component looks for sites.
    void SetBeforeSites(std::function<void()> beforeSites);

    const Position& Where() const { return where_; }
    const Counts& Done() const { return counts_; }
    const std::vector<DatabaseDone>& Databases() const { return databases_; }
    std::chrono::nanoseconds Elapsed() const { return Clock::now() - started_; }

    /// The run begins; time counts from here.
    void Start(const RunStart& start);
    /// The operation has ended well.
    void End();
    /// The operation has ended with this error.
    RunFailure Fail(const std::exception& error);

    void Before(const host::StatementEvent& event) override;
    void After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
               const HostError* error) override;

    void LadderStarting(Ladder ladder, const std::string& database, double version) override;
    void LadderEnded(Ladder ladder, const std::string& database) override;
    void StepStarting(const LadderStep& step, const std::string& database) override;
    void StepEnded(const LadderStep& step, const std::string& database) override;
    void SiteWalkStarting() override;
    void SiteStarting(std::int32_t siteId, double version) override;
    void SiteEnded(std::int32_t siteId) override;
    void FileCopied(const std::filesystem::path& source,
                    const std::filesystem::path& destination) override;

  private:
    void CallEnded(const Call& call);
    void DatabaseStarting(const std::string& database, double version);
    void DatabaseEnded();

    template <typename Tell>
    void TellSinks(const Tell& tell) {
        for (const auto& sink : sinks_) {
            tell(*sink);
        }
    }

    std::vector<std::shared_ptr<RunSink>> sinks_;
    std::function<void()> beforeSites_;
    Position where_;
    Counts counts_;
    std::vector<DatabaseDone> databases_;
    DatabaseDone current_;
    Clock::time_point started_ = Clock::now();
    Clock::time_point databaseStarted_;
    Clock::time_point stepStarted_;
    std::uint64_t stepStatements_ = 0;
};

}  // namespace twupdate::cli
