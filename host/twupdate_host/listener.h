#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "twupdate/error.h"
#include "twupdate/value.h"

namespace twupdate::host {

/// One call that goes out: a statement to the server or a service of the platform. Everything in
/// it is borrowed and ends with the call.
struct StatementEvent {
    /// "query" (OpenRecordset), "reader" (OpenReader), "execute" (Execute), "command" (a
    /// parameterised statement, run either way), "service" (a component service) or "refresh"
    /// (the application's refresh).
    std::string_view op = {};
    std::string_view sql = {};           ///< empty for services and refresh
    std::span<const Value> params = {};  ///< of a command
    std::string_view service = {};       ///< e.g. "UpgradeSiteComponent"
    std::optional<std::int32_t> siteId = {};
    std::optional<std::int32_t> componentId = {};
};

/// Hears of every call just before it goes out and just after it came back. Tools hang their
/// traces, their progress and their clean stop between two statements here.
class StatementListener {
  public:
    virtual ~StatementListener() = default;
    /// May throw: the call is then not made, and the exception ends the run.
    virtual void Before(const StatementEvent&) {}
    /// Gets what the call failed with; null for success.
    virtual void After(const StatementEvent&, std::chrono::nanoseconds /*elapsed*/,
                       const HostError* /*error*/) {}
};

}  // namespace twupdate::host
