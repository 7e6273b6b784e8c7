#include "cli/report/run_events.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <set>
#include <stdexcept>
#include <utility>

#include "cli/run/events.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

using nlohmann::json;
using std::chrono::milliseconds;

/// What is wrong with a line; the reader adds its number.
class BadLine : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// One event, whose fields must have the types that the format gives them.
class Event {
  public:
    explicit Event(const json& object) : object_(object) {}

    std::string Text(const char* key) const {
        const json* value = Find(key, &json::is_string);
        return value == nullptr ? std::string() : value->get<std::string>();
    }
    std::uint64_t Number(const char* key) const {
        const json* value = Find(key, &json::is_number_unsigned);
        return value == nullptr ? 0 : value->get<std::uint64_t>();
    }
    std::optional<std::int64_t> Id(const char* key) const {
        const json* value = Find(key, &json::is_number_integer);
        return value == nullptr ? std::nullopt : std::optional(value->get<std::int64_t>());
    }
    double Version(const char* key) const {
        const json* value = Find(key, &json::is_number);
        return value == nullptr ? 0 : value->get<double>();
    }
    bool Flag(const char* key) const {
        const json* value = Find(key, &json::is_boolean);
        return value != nullptr && value->get<bool>();
    }
    Event Object(const char* key) const {
        static const json kEmpty = json::object();
        const json* value = Find(key, &json::is_object);
        return Event(value == nullptr ? kEmpty : *value);
    }
    std::vector<PlannedSite> Sites(const char* key) const {
        std::vector<PlannedSite> sites;
        const json* list = Find(key, &json::is_array);
        for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
            const Event site((*list)[i]);
            const auto id = site.IsObject() ? site.Id("site") : std::nullopt;
            if (!id) {
                FailAt(key);
            }
            sites.push_back({*id, site.Version("from")});
        }
        return sites;
    }
    /// A list of ids for each of some texts.
    std::map<std::string, std::vector<std::int64_t>> IdLists(const char* key) const {
        std::map<std::string, std::vector<std::int64_t>> lists;
        const json* object = Find(key, &json::is_object);
        if (object == nullptr) {
            return lists;
        }
        for (const auto& [text, ids] : object->items()) {
            const bool areIds = ids.is_array() &&
                                std::all_of(ids.begin(), ids.end(),
                                            [](const json& id) { return id.is_number_integer(); });
            if (!areIds) {
                FailAt(key);
            }
            lists[text] = ids.get<std::vector<std::int64_t>>();
        }
        return lists;
    }
    /// The field `ms`.
    EventDuration Duration() const {
        constexpr double kLongest = 1e11;  // three years
        const json* value = Find("ms", &json::is_number);
        const double ms = value == nullptr ? 0 : value->get<double>();
        return EventDuration(std::llround(std::clamp(ms, 0.0, kLongest) * 1e6));
    }
    /// The field `time`.
    EventTime Time() const {
        int year = 0;
        unsigned month = 0;
        unsigned day = 0;
        int hour = 0;
        int minute = 0;
        double second = 0;
        char zone = 0;
        const std::string text = Text("time");
        const int fields = std::sscanf(text.c_str(), "%4d-%2u-%2uT%2d:%2d:%6lf%c", &year, &month,
                                       &day, &hour, &minute, &second, &zone);
        const std::chrono::year_month_day date{std::chrono::year{year}, std::chrono::month{month},
                                               std::chrono::day{day}};
        // Differences of times are counted in nanoseconds, of which 292 years fit.
        constexpr int kFirstYear = 1970;
        constexpr int kLastYear = 2200;
        if (fields != 7 || zone != 'Z' || !date.ok() || year < kFirstYear || year > kLastYear ||
            hour > 23 || minute > 59 || !(second < 61) || hour < 0 || minute < 0 || second < 0) {
            throw BadLine("'time' is not a time such as 2026-11-21T09:05:03.120Z");
        }
        return std::chrono::sys_days(date) + std::chrono::hours{hour} +
               std::chrono::minutes{minute} + milliseconds{std::llround(second * 1000)};
    }

  private:
    using IsOfType = bool (json::*)() const noexcept;

    const json* Find(const char* key, IsOfType isOfType) const {
        const auto found = object_.find(key);
        if (found == object_.end()) {
            return nullptr;
        }
        if (!((*found).*isOfType)()) {
            FailAt(key);
        }
        return &*found;
    }

    bool IsObject() const { return object_.is_object(); }

    [[noreturn]] static void FailAt(const char* key) {
        throw BadLine(fmt::format("'{}' has a value of the wrong type", key));
    }

    const json& object_;
};

EventDuration Between(EventTime start, EventTime end) {
    return std::max(end - start, milliseconds{0});  // a clock may be set back
}

}  // namespace

class RunReader::Builder {
  public:
    void Take(const std::string& name, const Event& event) {
        const EventTime time = event.Time();
        if (name == "run-started") {
            EndOfEvents();
            RunStarted(event, time);
            return;
        }
        if (!inRun_) {
            throw BadLine(
                fmt::format("'{}' is outside of a run; a run begins with run-started", name));
        }
        runs_.back().lastEvent = std::max(runs_.back().lastEvent, time);
        const auto handler = kHandlers.find(name);
        if (handler != kHandlers.end()) {  // later releases may tell more
            (this->*handler->second)(event, time);
        }
    }

    /// The current run, if any, has no more events.
    void EndOfEvents() {
        if (!inRun_) {
            return;
        }
        RunRecord& run = runs_.back();
        if (run.end != RunEnd::kFinished) {
            run.duration = Between(run.start, run.lastEvent);
        }
        for (const auto& [name, index] : open_) {
            Leave(run.databases[index]);
        }
        open_.clear();
        retried_.clear();
        inRun_ = false;
    }

    bool IsInRun() const { return inRun_; }

    /// The end of the last line is missing.
    void Truncated() { runs_.back().truncatedLine = true; }

    const std::vector<RunRecord>& Runs() const { return runs_; }

  private:
    using Handler = void (Builder::*)(const Event&, EventTime);
    static const std::map<std::string, Handler, std::less<>> kHandlers;

    /// The database of the event, which has begun and not ended; nullptr when there is none. With
    /// several jobs there are several.
    DatabaseRecord* InHand(const Event& event) {
        const auto open = open_.find(NameOf(event));
        return open == open_.end() ? nullptr : &runs_.back().databases[open->second];
    }

    /// The record of a site's version is a statement on another database.
    static std::string NameOf(const Event& event) {
        const auto site = event.Id("site");
        return site ? fmt::format("tw_{}", *site) : event.Text("database");
    }

    void RunStarted(const Event& event, EventTime time) {
        RunRecord run;
        run.command = event.Text("command");
        run.from = event.Version("from");
        run.to = event.Version("to");
        run.sitesToDo = event.Number("sites_to_do");
        run.sites = event.Sites("sites");
        run.leftOut = event.IdLists("left_out");
        run.server = event.Text("server");
        run.account = event.Text("account");
        run.installation = event.Text("installation");
        if (run.installation.empty()) {  // the server, whatever its version
            constexpr std::string_view kOn = " on ";
            const auto at = run.server.find(kOn);
            run.installation =
                at == std::string::npos ? run.server : run.server.substr(at + kOn.size());
        }
        run.start = run.lastEvent = time;
        runs_.push_back(std::move(run));
        inRun_ = true;
    }

    /// The database begins again; its record goes on.
    void Retried(const Event& event, EventTime /*time*/) {
        DatabaseRecord* database = InHand(event);
        if (database == nullptr) {
            return;
        }
        retried_.insert(database->name);
        if (!database->steps.empty() && !database->steps.back().ended) {
            database->steps.pop_back();
        }
    }

    void DatabaseStarted(const Event& event, EventTime time) {
        if (InHand(event) != nullptr && retried_.erase(NameOf(event)) > 0) {
            return;
        }
        if (InHand(event) != nullptr) {
            throw BadLine("a database begins again before it has ended");
        }
        DatabaseRecord database;
        database.name = NameOf(event);
        database.siteId = event.Id("site");
        database.job = event.Number("job");
        database.from = event.Version("from");
        database.start = time;
        open_[database.name] = runs_.back().databases.size();
        runs_.back().databases.push_back(std::move(database));
    }

    void LadderStarted(const Event& event, EventTime time) {
        if (InHand(event) == nullptr) {  // the central database is not announced
            DatabaseStarted(event, time);
        }
        InHand(event)->ladders.push_back({event.Text("ladder"), time, time});
    }

    void LadderFinished(const Event& event, EventTime time) {
        DatabaseRecord* database = InHand(event);
        if (database != nullptr && !database->ladders.empty()) {
            database->ladders.back().end = time;
        }
    }

    void StepStarted(const Event& event, EventTime time) {
        DatabaseRecord* database = InHand(event);
        if (database == nullptr || database->ladders.empty()) {
            throw BadLine("a step outside of a ladder");
        }
        StepRecord step;
        step.name = event.Text("step");
        step.ladder = event.Text("ladder");
        step.start = time;
        database->steps.push_back(std::move(step));
    }

    void StepFinished(const Event& event, EventTime time) {
        DatabaseRecord* database = InHand(event);
        if (database == nullptr || database->steps.empty() ||
            database->steps.back().name != event.Text("step")) {
            throw BadLine("the end of a step that was not begun");
        }
        StepRecord& step = database->steps.back();
        step.ended = true;
        step.duration = event.Duration();
        step.statements = event.Number("statements");
        const Event slowest = event.Object("slowest");
        step.slowest = slowest.Text("sql");
        step.slowestTime = slowest.Duration();
        for (std::size_t i = 0; i < kStatementKinds; ++i) {
            const Event kind =
                event.Object("kinds").Object(KindName(static_cast<StatementKind>(i)));
            step.kinds.at(i) = {kind.Number("statements"), kind.Duration()};
        }
        database->ladders.back().end = time;
        runs_.back().statements += step.statements;
    }

    void DatabaseFinished(const Event& event, EventTime /*time*/) {
        DatabaseRecord* database = InHand(event);
        if (database == nullptr) {
            throw BadLine("the end of a database that was not begun");
        }
        database->ended = true;
        database->duration = event.Duration();
        database->statements = event.Number("statements");
        open_.erase(database->name);
        TakeCounts(event);
    }

    void Service(const Event& event, EventTime time) {
        runs_.back().services.push_back({event.Text("service"), event.Text("database"),
                                         event.Id("component"), time, event.Duration(),
                                         event.Flag("failed")});
    }

    FailureRecord Failure(const Event& event, EventTime time) {
        FailureRecord failure;
        failure.database = NameOf(event);
        failure.ladder = event.Text("ladder");
        failure.step = event.Text("step");
        failure.statement = event.Text("statement");
        failure.code = event.Number("code");
        failure.sqlState = event.Text("sqlstate");
        failure.error = event.Text("error");
        failure.time = time;
        TakeCounts(event);
        return failure;
    }

    void SiteFailed(const Event& event, EventTime time) {
        runs_.back().failures.push_back(Failure(event, time));
    }

    void RunFailed(const Event& event, EventTime time) {
        RunRecord& run = runs_.back();
        run.failure = Failure(event, time);
        const bool isOfSite = std::any_of(
            run.failures.begin(), run.failures.end(),
            [&](const FailureRecord& site) { return site.database == run.failure->database; });
        if (!isOfSite) {
            run.failures.push_back(*run.failure);
        }
        run.end = RunEnd::kFailed;
        EndOfEvents();
    }

    void RunStopped(const Event& event, EventTime time) {
        runs_.back().failure = Failure(event, time);
        runs_.back().end = RunEnd::kStopped;
        EndOfEvents();
    }

    void RunFinished(const Event& event, EventTime /*time*/) {
        TakeCounts(event);
        runs_.back().end = RunEnd::kFinished;
        runs_.back().duration = event.Duration();
        EndOfEvents();
    }

    /// The counts include statements outside of steps, and those that other jobs have sent in steps
    /// that have not ended, which would be added a second time at their end.
    void TakeCounts(const Event& event) {
        const std::uint64_t statements = event.Object("counts").Number("statements");
        if (statements > 0) {
            runs_.back().statements = statements;
        }
    }

    /// The database has no more events.
    void Leave(DatabaseRecord& database) {
        const EventTime end = runs_.back().lastEvent;
        database.duration = Between(database.start, end);
        for (const StepRecord& step : database.steps) {
            database.statements += step.statements;
        }
        if (!database.steps.empty() && !database.steps.back().ended) {
            database.steps.back().duration = Between(database.steps.back().start, end);
            database.ladders.back().end = end;
        }
    }

    std::vector<RunRecord> runs_;
    bool inRun_ = false;
    std::set<std::string, std::less<>> retried_;  ///< databases that will begin again
    std::map<std::string, std::size_t>
        open_;  ///< databases that have not ended; places in the list
};

const std::map<std::string, RunReader::Builder::Handler, std::less<>> RunReader::Builder::kHandlers{
    {"ladder-started", &Builder::LadderStarted},
    {"ladder-finished", &Builder::LadderFinished},
    {"step-started", &Builder::StepStarted},
    {"step-finished", &Builder::StepFinished},
    {"site-started", &Builder::DatabaseStarted},
    {"site-finished", &Builder::DatabaseFinished},
    {"central-finished", &Builder::DatabaseFinished},
    {"service", &Builder::Service},
    {"retry", &Builder::Retried},
    {"site-failed", &Builder::SiteFailed},
    {"run-failed", &Builder::RunFailed},
    {"run-incomplete", &Builder::RunFailed},
    {"run-stopped", &Builder::RunStopped},
    {"run-finished", &Builder::RunFinished}};

namespace {

/// The line as JSON; a discarded value if it is invalid. Invalid UTF-8 is accepted.
json Parse(const std::string& line) {
    json value = json::parse(line, nullptr, false);
    return value.is_discarded() ? json::parse(Printable(line), nullptr, false) : value;
}

constexpr const char* kNoObject = "not a JSON object";

bool BeginsRun(const json& line) {
    return line.is_object() && line.contains("event") && line["event"] == "run-started";
}

}  // namespace

RunReader::RunReader() : builder_(std::make_unique<Builder>()) {}
RunReader::~RunReader() = default;

void RunReader::Take(const nlohmann::json& line) {
    if (!line.is_object()) {
        throw BadLine(kNoObject);
    }
    const Event event(line);
    if (!line.contains("v") || !line.contains("event")) {
        throw BadLine("not an event of a run");
    }
    if (line["v"] != Events::kFormatVersion) {
        throw BadLine(fmt::format("the events have version {}, but this program reads version {}",
                                  line["v"].dump(-1, ' ', true, json::error_handler_t::replace),
                                  Events::kFormatVersion));
    }
    builder_->Take(event.Text("event"), event);
}

void RunReader::Truncated() {
    builder_->Truncated();
}

bool RunReader::HasRuns() const {
    return !builder_->Runs().empty();
}

bool RunReader::IsInRun() const {
    return builder_->IsInRun();
}

std::vector<RunRecord> RunReader::Runs() const {
    Builder ended = *builder_;
    ended.EndOfEvents();
    return ended.Runs();
}

std::uint64_t DatabaseRecord::StepsEnded() const {
    return static_cast<std::uint64_t>(std::count_if(
        steps.begin(), steps.end(), [](const StepRecord& step) { return step.ended; }));
}

std::uint64_t RunRecord::DatabasesEnded() const {
    return static_cast<std::uint64_t>(
        std::count_if(databases.begin(), databases.end(),
                      [](const DatabaseRecord& database) { return database.ended; }));
}

std::uint64_t RunRecord::SitesEnded() const {
    return static_cast<std::uint64_t>(std::count_if(
        databases.begin(), databases.end(),
        [](const DatabaseRecord& database) { return database.ended && database.siteId; }));
}

std::uint64_t RunRecord::StepsEnded() const {
    return std::accumulate(databases.begin(), databases.end(), std::uint64_t{0},
                           [](std::uint64_t sum, const DatabaseRecord& database) {
                               return sum + database.StepsEnded();
                           });
}

const DatabaseRecord* RunRecord::InHand() const {
    const auto open = std::find_if(databases.rbegin(), databases.rend(),
                                   [](const DatabaseRecord& database) { return !database.ended; });
    return open == databases.rend() ? nullptr : &*open;
}

std::vector<RunRecord> ReadRuns(const std::filesystem::path& file) {
    const auto cannotRead = [&] {
        return CommandError(fmt::format("cannot read {}: {}", file.string(), std::strerror(errno)),
                            kUsageError);
    };
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw cannotRead();
    }
    RunReader reader;
    std::uint64_t number = 0;
    std::uint64_t truncatedLine =
        0;  // the number of one that is no JSON, while it may be a truncated one
    const auto refuse = [&file](std::uint64_t line, const char* why) {
        throw CommandError(fmt::format("{}, line {}: {}", file.string(), line, why));
    };
    for (std::string line; std::getline(stream, line);) {
        ++number;
        const json value = Parse(line);
        if (truncatedLine != 0 && !BeginsRun(value)) {
            refuse(truncatedLine, kNoObject);
        }
        truncatedLine = 0;
        // What a killed run leaves, or one that still writes; the next run begins a new line.
        const bool mayBeTruncated = stream.eof() || line.starts_with('{');
        if (value.is_discarded() && mayBeTruncated && reader.HasRuns()) {
            reader.Truncated();
            truncatedLine = stream.eof() ? 0 : number;
            continue;
        }
        try {
            reader.Take(value);
        } catch (const BadLine& error) {
            refuse(number, error.what());
        }
    }
    if (stream.bad()) {
        throw cannotRead();
    }
    if (truncatedLine != 0) {
        refuse(truncatedLine, kNoObject);
    }
    if (!reader.HasRuns()) {
        throw CommandError(fmt::format("{} holds no events of a run", file.string()));
    }
    return reader.Runs();
}

}  // namespace twupdate::cli
