#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "cli/run/run_sink.h"
#include "twupdate/interruption.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// Which of the steps that do not simply run again have begun and which have ended in databases
/// whose new version is not recorded yet. They stand in a table of the database itself, so that a
/// backup and a restore take them along. The table is created before the first of these steps and
/// dropped when the version is recorded.
///
/// As a sink of a run it keeps the marks up to date.
class ProgressMarks final : public RunSink {
  public:
    static constexpr const char* kTable = "twupdate_progress";

    /// Reads the marks in every database of the installation.
    /// @param connection  the run's own, so that no step runs whose mark cannot be written
    /// @throws HostError
    explicit ProgressMarks(std::shared_ptr<host::Connection> connection);

    /// What these marks tell now, for a job of the run, on its own connection. Each database is of
    /// one job alone.
    ProgressMarks(std::shared_ptr<host::Connection> connection, const ProgressMarks& run);

    /// Reads the marks of a database again, as another connection has left them.
    /// @throws HostError
    void ReadAgain(const std::string& database);

    /// Reads all marks again.
    /// @throws HostError
    void ReadAgain();

    /// What the marks tell of a step; nothing in a database that has none.
    StepHistory History(const std::string& database, const LadderStep& step) const;

    /// The steps that have begun and not ended.
    std::vector<LadderStep> Interrupted(const std::string& database) const;

    /// The version from which the upgrade of a site's database goes on: above the last of these
    /// content steps that has ended, since the whole schema ladder has ended before it.
    double ResumeVersion(const std::string& database, double version) const;

    /// The databases that have marks; tw_2 comes before tw_10.
    std::vector<std::string> Databases() const;

    /// Tests whether the table can be created, where one of these steps is pending. Creates
    /// nothing.
    /// @throws CommandError
    void RequireWritable(const std::string& database, Ladder first, Ladder second, double version);

    /// The step has been repaired, and begins again.
    void Forget(const std::string& database, const LadderStep& step);

    /// The version that these two ladders lead to is recorded.
    void Recorded(const std::string& database, Ladder first, Ladder second);

    void SiteWalkStarting() override { walking_ = true; }
    void StepStarting(const Position& where) override;
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override;
    void DatabaseEnded(const DatabaseDone& done, const Counts& counts) override;

  private:
    using Ended = bool;

    void Read(const std::string& database);
    bool HasEnded(const std::string& database, const LadderStep& step) const;

    std::shared_ptr<host::Connection> connection_;
    std::map<std::string, std::map<std::string, Ended, std::less<>>, std::less<>> marks_;
    bool walking_ = false;  ///< the component records the version of each site that ends
};

}  // namespace twupdate::cli
