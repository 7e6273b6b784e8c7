#include "cli/run/events.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/run/failures.h"
#include "cli/run/trace.h"
#include "cli/terminal/json_lines.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
std::string TimeNow() {
    return TimeText(std::chrono::system_clock::now());
}

std::string TimeText(std::chrono::system_clock::time_point time) {
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch()).count() %
        1000;
    return fmt::format("{:%Y-%m-%dT%H:%M:%S}.{:03}Z",
                       fmt::gmtime(std::chrono::system_clock::to_time_t(time)), milliseconds);
}

Events::Events(const std::filesystem::path& file, Console& console)
    : write_([lines = std::make_shared<JsonLines>(file, JsonLines::Readers::kUsual,
                                                  JsonLines::Existing::kKept, console)](
                 const nlohmann::ordered_json& event) { lines->Write(event); }) {}

nlohmann::ordered_json Events::Line(std::string_view event) const {
    return {{"v", kFormatVersion}, {"time", TimeNow()}, {"event", event}};
}

nlohmann::ordered_json Events::Line(std::string_view event, const Position& where) const {
    auto line = Line(event);
    if (where.job > 0) {
        line["job"] = where.job;
    }
    line["database"] = where.database;
    if (where.siteId) {
        line["site"] = *where.siteId;
    }
    if (where.ladder) {
        line["ladder"] = LadderName(*where.ladder);
    }
    if (where.step) {
        line["step"] = where.step->name;
        line["threshold"] = where.step->threshold;
    }
    return line;
}

void Events::AddCounts(nlohmann::ordered_json& line, const Counts& counts) const {
    line["counts"] = {{"databases", counts.databases},   {"sites", counts.sites},
                      {"sites_to_do", sites_},           {"steps", counts.steps},
                      {"statements", counts.statements}, {"services", counts.services}};
}

void Events::RunStarting(const RunStart& start) {
    command_ = start.command;
    sites_ = start.sites.size();
    auto line = Line("run-started");
    line["command"] = start.command;
    line["from"] = start.version;
    line["to"] = kCurrentVersion;
    line["sites_to_do"] = sites_;
    auto& sites = line["sites"] = nlohmann::ordered_json::array();
    for (const SiteRow& site : start.sites) {
        sites.push_back({{"site", site.siteId}, {"from", site.version.value_or(0)}});
    }
    line["left_out"] = JsonOf(start.leftOut);
    line["server"] = start.server;
    line["account"] = start.account;
    if (!start.installation.empty()) {
        line["installation"] = start.installation;
    }
    write_(line);
}

void Events::LadderStarting(const Position& where, double version) {
    auto line = Line("ladder-started", where);
    line["from"] = version;
    write_(line);
}

void Events::LadderEnded(const Position& where) {
    write_(Line("ladder-finished", where));
}

void Events::StepStarting(const Position& where) {
    inStep_[where.job] = {};
    write_(Line("step-started", where));
}

void Events::StepEnded(const Position& where, std::chrono::nanoseconds duration,
                       std::uint64_t statements) {
    auto line = Line("step-finished", where);
    line["ms"] = Milliseconds(duration);
    line["statements"] = statements;
    const Statements& done = inStep_[where.job];
    for (std::size_t i = 0; i < kStatementKinds; ++i) {
        if (const KindTotal& total = done.kinds.at(i); total.statements > 0) {
            line["kinds"][KindName(static_cast<StatementKind>(i))] = {
                {"statements", total.statements}, {"ms", Milliseconds(total.time)}};
        }
    }
    if (!done.slowest.empty()) {
        line["slowest"] = {{"sql", ShortStatement(WithoutPasswords(done.slowest))},
                           {"ms", Milliseconds(done.slowestTime)}};
    }
    write_(line);
}

void Events::SiteStarting(const Position& where, double version) {
    auto line = Line("site-started", where);
    line["from"] = version;
    write_(line);
}

void Events::DatabaseEnded(const DatabaseDone& done, const Counts& counts) {
    auto line = Line(done.siteId ? "site-finished" : "central-finished");
    if (done.job > 0) {
        line["job"] = done.job;
    }
    line["database"] = done.database;
    if (done.siteId) {
        line["site"] = *done.siteId;
    }
    line["from"] = done.from;
    line["ms"] = Milliseconds(done.duration);
    line["steps"] = done.steps;
    line["statements"] = done.statements;
    AddCounts(line, counts);
    write_(line);
}

void Events::CallEnded(const Position& where, const Call& call) {
    if (!call.sql.empty()) {
        Statements& statements = inStep_[where.job];
        KindTotal& total = statements.kinds.at(static_cast<std::size_t>(KindOf(call.sql)));
        ++total.statements;
        total.time += call.duration;
        if (call.duration >= statements.slowestTime) {
            statements.slowest = call.sql;
            statements.slowestTime = call.duration;
        }
    }
    if (call.service.empty() && call.operation != host::Operation::kRefresh) {
        return;
    }
    auto line = Line("service", where);
    line["service"] = call.service.empty() ? "RefreshApplication" : call.service;
    if (call.componentId) {
        line["component"] = *call.componentId;
    }
    line["ms"] = Milliseconds(call.duration);
    line["failed"] = call.failed;
    write_(line);
}

nlohmann::ordered_json Events::FailureOf(std::string_view event, const RunFailure& failure) const {
    auto line = Line(event, failure.where);
    if (!failure.statement.empty()) {
        line["statement"] = ShortStatement(failure.statement);
    }
    if (failure.code != 0) {
        line["code"] = failure.code;
        line["sqlstate"] = failure.sqlState;
    }
    line["error"] = failure.text;
    return line;
}

void Events::WriteFailure(std::string_view event, const RunFailure& failure, const Counts& counts) {
    auto line = FailureOf(event, failure);
    AddCounts(line, counts);
    write_(line);
}

void Events::Retrying(const RunRetry& retry) {
    auto line = FailureOf("retry", retry.failure);
    line["attempt"] = retry.attempt;
    line["pause"] = retry.pause.count();
    write_(line);
}

void Events::Waiting(const RunWait& wait) {
    auto line = Line("waiting");
    line["reason"] = wait.reason;
    line["since"] = TimeText(wait.since);
    write_(line);
}

void Events::WaitEnded(const RunWait& wait, std::chrono::nanoseconds duration) {
    auto line = Line("waited");
    line["reason"] = wait.reason;
    line["ms"] = Milliseconds(duration);
    write_(line);
}

void Events::SiteFailed(const RunFailure& failure, const Counts& counts) {
    WriteFailure("site-failed", failure, counts);
}

void Events::SitesFailed(const std::vector<RunFailure>& failures) {
    auto line = Line("sites-failed");
    line["groups"] = JsonOf(GroupFailures(failures));
    write_(line);
}

void Events::RunFailed(const RunFailure& failure, const Counts& counts) {
    WriteFailure(failure.stopped       ? "run-stopped"
                 : failure.isOfOneSite ? "run-incomplete"
                                       : "run-failed",
                 failure, counts);
}

void Events::RunEnded(const Counts& counts, std::chrono::nanoseconds duration) {
    auto line = Line("run-finished");
    line["command"] = command_;
    line["ms"] = Milliseconds(duration);
    AddCounts(line, counts);
    write_(line);
}

}  // namespace twupdate::cli
