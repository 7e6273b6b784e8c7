#include "cli/run/trace.h"

#include <cmath>
#include <nlohmann/json.hpp>
#include <variant>

#include "cli/terminal/text.h"

namespace twupdate::cli {
double Milliseconds(std::chrono::nanoseconds duration) {
    return std::round(std::chrono::duration<double, std::milli>(duration).count() * 1000) / 1000;
}

nlohmann::ordered_json JsonOf(const Value& value) {
    struct Convert {
        nlohmann::ordered_json operator()(std::monostate) const { return nullptr; }
        nlohmann::ordered_json operator()(std::int64_t number) const { return number; }
        nlohmann::ordered_json operator()(double number) const { return number; }
        nlohmann::ordered_json operator()(const std::string& text) const { return text; }
    };
    return std::visit(Convert{}, value.Get());
}

void Trace::CallEnded(const Position& where, const Call& call) {
    if (!batches_ || !call.operation) {
        lines_.Write(LineOf(where, call));
    }
}

void Trace::BatchedCallEnded(const Position& where, const Call& call,
                             const std::vector<SentStatement>& sent) {
    nlohmann::ordered_json line = LineOf(where, call);
    auto& list = line["sent"] = nlohmann::ordered_json::array();
    for (const SentStatement& statement : sent) {
        list.push_back(
            {{"sql", WithoutPasswords(statement.sql)}, {"ms", Milliseconds(statement.duration)}});
    }
    lines_.Write(line);
}

nlohmann::ordered_json Trace::LineOf(const Position& where, const Call& call) {
    nlohmann::ordered_json line;
    line["seq"] = ++seq_;
    line["op"] = call.operation ? host::OperationText(*call.operation) : "copy";
    if (where.job > 0) {
        line["job"] = where.job;
    }
    line["database"] = where.database;
    if (where.step) {
        line["step"] = where.step->name;
    }
    if (!call.sql.empty()) {
        line["sql"] = WithoutPasswords(call.sql);
    }
    if (!call.params.empty()) {
        auto& params = line["params"] = nlohmann::ordered_json::array();
        for (const Value& value : call.params) {
            params.push_back(JsonOf(value));
        }
    }
    if (!call.service.empty()) {
        line["service"] = call.service;
    }
    if (call.siteId) {
        line["site"] = *call.siteId;
    }
    if (call.componentId) {
        line["component"] = *call.componentId;
    }
    if (!call.source.empty()) {
        line["source"] = call.source;
        line["destination"] = call.destination;
    }
    line["ms"] = Milliseconds(call.duration);
    return line;
}

}  // namespace twupdate::cli
