#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "twupdate/error.h"
#include "twupdate/value.h"

namespace twupdate::host {

/// What a call is.
enum class Operation : std::uint8_t {
    kQuery,    ///< a statement that gives a recordset
    kReader,   ///< a statement that gives a reader
    kExecute,  ///< a statement that gives no rows
    kCommand,  ///< a parameterised statement, run either way
    kService,  ///< a component service
    kRefresh,  ///< the application's refresh
    kBatch,    ///< what had waited; see BatchingUtility
};

/// "query", "reader", "execute", "command", "service", "refresh" or "batch".
std::string_view OperationText(Operation operation);

/// One call that goes out: a statement to the server or a service of the platform. Everything in
/// it is borrowed and ends with the call.
struct StatementEvent {
    Operation operation = Operation::kQuery;
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
