#include "cli/run/progress_marks.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "cli/server/queries.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

bool IsMarked(const LadderStep& step) {
    return !EffectOfRepeat(step).empty();
}

/// The marked steps of these ladders, in order.
std::vector<LadderStep> MarkedSteps(std::initializer_list<Ladder> ladders) {
    std::vector<LadderStep> marked;
    for (const Ladder ladder : ladders) {
        const auto steps = LadderSteps(ladder);
        std::copy_if(steps.begin(), steps.end(), std::back_inserter(marked), IsMarked);
    }
    return marked;
}

std::string CreateStatement(const std::string& database) {
    // Marks must outlive a crash of the server, whatever engine tables have by default.
    return fmt::format(
        "CREATE TABLE IF NOT EXISTS {}.{}(step VARCHAR(100) NOT NULL PRIMARY KEY, began DATETIME "
        "NOT NULL, ended DATETIME NULL) ENGINE = InnoDB;",
        database, ProgressMarks::kTable);
}

}  // namespace

ProgressMarks::ProgressMarks(std::shared_ptr<host::Connection> connection)
    : connection_(std::move(connection)) {
    ReadAgain();
}

void ProgressMarks::ReadAgain() {
    marks_.clear();
    const auto rows = connection_->Query(
        fmt::format("SELECT table_schema FROM information_schema.tables WHERE table_name = '{}' "
                    "AND table_schema LIKE 'tw\\_%';",
                    kTable));
    while (rows->Next()) {
        Read(rows->Get(0).ToText());
    }
}

ProgressMarks::ProgressMarks(std::shared_ptr<host::Connection> connection, const ProgressMarks& run)
    : connection_(std::move(connection)), marks_(run.marks_) {}

void ProgressMarks::ReadAgain(const std::string& database) {
    marks_.erase(database);
    try {
        Read(database);
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
        marks_.erase(database);
    }
}

void ProgressMarks::Read(const std::string& database) {
    auto& marks = marks_[database];
    const auto rows = connection_->Query(
        fmt::format("SELECT step, ended IS NOT NULL FROM `{}`.{};", database, kTable));
    while (rows->Next()) {
        marks[rows->Get(0).ToText()] = rows->Get(1).ToBool();
    }
}

bool ProgressMarks::HasEnded(const std::string& database, const LadderStep& step) const {
    const auto marks = marks_.find(database);
    if (marks == marks_.end()) {
        return false;
    }
    const auto mark = marks->second.find(step.name);
    return mark != marks->second.end() && mark->second;
}

StepHistory ProgressMarks::History(const std::string& database, const LadderStep& step) const {
    const auto marks = marks_.find(database);
    if (marks == marks_.end()) {
        return StepHistory::kUnknown;
    }
    if (marks->second.contains(step.name)) {
        return HasEnded(database, step) ? StepHistory::kNotRunning : StepHistory::kInterrupted;
    }
    // In the database of an imported site the marks may be those of the other two ladders.
    const bool central = step.ladder == Ladder::kServer || step.ladder == Ladder::kServerData;
    const auto steps = central ? MarkedSteps({Ladder::kServer, Ladder::kServerData})
                               : MarkedSteps({Ladder::kSiteSchema, Ladder::kSiteContent});
    return std::any_of(steps.begin(), steps.end(),
                       [&](const LadderStep& other) { return marks->second.contains(other.name); })
               ? StepHistory::kNotRunning
               : StepHistory::kUnknown;
}

std::vector<LadderStep> ProgressMarks::Interrupted(const std::string& database) const {
    auto steps = MarkedSteps(
        {Ladder::kServer, Ladder::kServerData, Ladder::kSiteSchema, Ladder::kSiteContent});
    std::erase_if(steps, [&](const LadderStep& step) {
        return History(database, step) != StepHistory::kInterrupted;
    });
    return steps;
}

double ProgressMarks::ResumeVersion(const std::string& database, double version) const {
    for (const LadderStep& step : MarkedSteps({Ladder::kSiteContent})) {
        if (IsBelow(version, step.threshold) && HasEnded(database, step)) {
            version = step.threshold;
        }
    }
    return version;
}

std::vector<std::string> ProgressMarks::Databases() const {
    std::vector<std::string> names;
    for (const auto& [database, marks] : marks_) {
        names.push_back(database);
    }
    std::sort(names.begin(), names.end(), ComesBefore);
    return names;
}

void ProgressMarks::RequireWritable(const std::string& database, Ladder first, Ladder second,
                                    double version) {
    const auto steps = MarkedSteps({first, second});
    if (std::none_of(steps.begin(), steps.end(), [version](const LadderStep& step) {
            return IsBelow(version, step.threshold);
        })) {
        return;
    }
    try {
        // To prepare the statement takes the same privileges as to run it.
        connection_->Execute(
            fmt::format("PREPARE {} FROM '{}';", kTable, CreateStatement(database)));
    } catch (const HostError& error) {
        if (IsDenied(error)) {
            throw CommandError(
                fmt::format("cannot create the table {}.{}, which is needed to resume an "
                            "interrupted run: {}; nothing was done\nhint: grant CREATE on {}",
                            database, kTable, error.what(), database));
        }
        if (error.Code() != 0 && error.Code() < 2000) {
            return;  // the step that needs the database tells what is wrong with it
        }
        throw;
    }
}

void ProgressMarks::Forget(const std::string& database, const LadderStep& step) {
    const auto marks = marks_.find(database);
    if (marks != marks_.end() && marks->second.erase(std::string(step.name)) > 0) {
        connection_->Execute(
            fmt::format("DELETE FROM {}.{} WHERE step = '{}';", database, kTable, step.name));
    }
}

void ProgressMarks::Recorded(const std::string& database, Ladder first, Ladder second) {
    const auto marks = marks_.find(database);
    if (marks == marks_.end()) {
        return;
    }
    // A site's database may have marks of its own ladders and of the copies of the central tables.
    std::vector<std::string> done;
    for (const LadderStep& step : MarkedSteps({first, second})) {
        if (marks->second.erase(std::string(step.name)) > 0) {
            done.push_back(fmt::format("'{}'", step.name));
        }
    }
    try {
        if (marks->second.empty()) {
            connection_->Execute(fmt::format("DROP TABLE IF EXISTS {}.{};", database, kTable));
        } else if (!done.empty()) {
            connection_->Execute(fmt::format("DELETE FROM {}.{} WHERE step IN ({});", database,
                                             kTable, fmt::join(done, ", ")));
        }
    } catch (const HostError& error) {
        if (!IsDenied(error)) {
            throw;
        }  // The version is recorded, so what stays does no harm; repair names it.
    }
    if (marks->second.empty()) {
        marks_.erase(marks);
    }
}

void ProgressMarks::StepStarting(const Position& where) {
    if (!IsMarked(*where.step)) {
        return;
    }
    if (!marks_.contains(where.database)) {
        connection_->Execute(CreateStatement(where.database));
    }
    connection_->Execute(
        fmt::format("INSERT INTO {}.{}(step, began) VALUES('{}', NOW()) ON DUPLICATE KEY UPDATE "
                    "began = NOW(), ended = NULL;",
                    where.database, kTable, where.step->name));
    marks_[where.database][std::string(where.step->name)] = false;
}

void ProgressMarks::StepEnded(const Position& where, std::chrono::nanoseconds /*duration*/,
                              std::uint64_t /*statements*/) {
    if (IsMarked(*where.step)) {
        connection_->Execute(fmt::format("UPDATE {}.{} SET ended = NOW() WHERE step = '{}';",
                                         where.database, kTable, where.step->name));
        marks_[where.database][std::string(where.step->name)] = true;
    }
}

void ProgressMarks::DatabaseEnded(const DatabaseDone& done, const Counts& /*counts*/) {
    if (walking_ && done.siteId) {
        Recorded(done.database, Ladder::kSiteSchema, Ladder::kSiteContent);
    }
}

}  // namespace twupdate::cli
