#include "cli/run/run_log.h"

#include <fmt/format.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

#include <cerrno>
#include <cstring>

#include "cli/run/failures.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr std::size_t kLogBytes = 10U << 20U;
constexpr std::size_t kLogFiles = 5;

class RunLog final : public RunSink {
  public:
    RunLog(const std::filesystem::path& file, Console& console)
        : log_("twupdate", std::make_shared<spdlog::sinks::rotating_file_sink_st>(
                               file.string(), kLogBytes, kLogFiles)) {
        log_.set_pattern("%Y-%m-%d %H:%M:%S.%e %L %v");
        log_.set_level(spdlog::level::debug);
        log_.flush_on(spdlog::level::info);
        log_.set_error_handler([this, &console, file](const std::string& /*text*/) {
            const int error = errno;
            log_.set_level(spdlog::level::off);
            console.Warn(
                fmt::format("cannot continue to write {}: {}; the run continues without it",
                            file.string(), std::strerror(error)));
        });
    }

    void RunStarting(const RunStart& start) override {
        log_.info("{} from {} to {}, {}", start.command, VersionText(start.version),
                  VersionText(kCurrentVersion), Count(start.sites.size(), "site"));
    }
    void LadderStarting(const Position& where, double version) override {
        log_.info("{}: {} ladder from {}", where.database, LadderName(*where.ladder),
                  VersionText(version));
    }
    void StepEnded(const Position& where, std::chrono::nanoseconds duration,
                   std::uint64_t statements) override {
        log_.info("{}: {}: {}, {}", where.database, where.step->name,
                  Count(statements, "statement"), DurationText(duration));
    }
    void DatabaseEnded(const DatabaseDone& done, const Counts& /*counts*/) override {
        log_.info("{}: done, {}, {}, {}", done.database, Count(done.steps, "step"),
                  Count(done.statements, "statement"), DurationText(done.duration));
    }
    void CallEnded(const Position& where, const Call& call) override {
        if (!call.service.empty()) {
            log_.info("{}: {} {} {}{}", where.database, call.service, call.siteId.value_or(0),
                      call.componentId.value_or(0), call.failed ? " failed" : "");
        }
    }
    void SiteFailed(const RunFailure& failure, const Counts& /*counts*/) override {
        if (failure.where.job > 0) {
            log_.error("failed: {}", FailureLine(failure));
        }
    }
    void Retrying(const RunRetry& retry) override { log_.warn("{}", RetryLine(retry)); }
    void Waiting(const RunWait& wait) override { log_.warn("waits: {}", wait.reason); }
    void WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) override {
        log_.info("goes on after {}: {}", DurationText(duration), wait.reason);
    }
    void SitesFailed(const std::vector<RunFailure>& failures) override {
        for (const FailedSites& group : GroupFailures(failures)) {
            log_.error("{}", GroupText(group));
        }
    }
    void RunFailed(const RunFailure& failure, const Counts& /*counts*/) override {
        if (failure.isOfOneSite) {
            log_.warn("incomplete: all other sites of the run are done");
        } else if (failure.stopped) {
            log_.warn("stopped as requested: {}", FailureLine(failure));
        } else {
            log_.error("failed: {}", FailureLine(failure));
        }
    }
    void RunEnded(const Counts& counts, std::chrono::nanoseconds duration) override {
        log_.info("done: {}, {}, {}, {}", Count(counts.databases, "database"),
                  Count(counts.steps, "step"), Count(counts.statements, "statement"),
                  DurationText(duration));
    }

  private:
    spdlog::logger log_;
};

}  // namespace

std::shared_ptr<RunSink> MakeRunLog(const std::filesystem::path& file, Console& console) {
    try {
        return std::make_shared<RunLog>(file, console);
    } catch (const spdlog::spdlog_ex& error) {
        throw CommandError("cannot write the log: " + std::string(error.what()));
    }
}

}  // namespace twupdate::cli
