#include "cli/server/replica.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <utility>

#include "cli/server/queries.h"
#include "cli/server/server_version.h"
#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

constexpr unsigned kHighestPort = 65535;
// A replica that hangs is one of which nothing is known; the question takes no time otherwise.
constexpr std::chrono::seconds kLongestAnswer{5};

struct Address {
    std::string host;
    std::optional<unsigned> port;
};

/// Nothing for a text that is none. An IPv6 address with a port stands in brackets.
std::optional<Address> AddressOf(const std::string& text) {
    const auto colon = text.rfind(':');
    const bool hasPort =
        colon != std::string::npos &&
        (text.find(':') == colon || (text.front() == '[' && text[colon - 1] == ']'));
    Address address{text.substr(0, hasPort ? colon : text.size()), std::nullopt};
    if (hasPort) {
        unsigned port = 0;
        const char* end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, port);
        if (error != std::errc() || rest != end || port == 0 || port > kHighestPort) {
            return std::nullopt;
        }
        address.port = port;
    }
    if (address.host.starts_with('[') && address.host.ends_with(']')) {
        address.host = address.host.substr(1, address.host.size() - 2);
    }
    const bool isHost =
        !address.host.empty() && address.host.find_first_of(" \t,[]") == std::string::npos;
    return isHost ? std::optional(address) : std::nullopt;
}

/// The column by its old or its new name.
Value Get(const host::Rows& rows, const char* old, const char* now) {
    const auto column = rows.Find(old);
    const auto other = column ? column : rows.Find(now);
    return other ? rows.Get(*other) : Value();
}

const char* StatusQuery(const ServerVersion& version) {
    constexpr int kWithReplicaStatus = 80022;
    return version.IsMariaDb()                      ? "SHOW ALL SLAVES STATUS;"
           : version.Number() >= kWithReplicaStatus ? "SHOW REPLICA STATUS;"
                                                    : "SHOW SLAVE STATUS;";
}

}  // namespace

std::string FaultOfReplica(const std::string& text) {
    return AddressOf(text) ? "" : fmt::format("'{}' is not HOST or HOST:PORT", text);
}

Replica::Replica(std::string name, host::ConnectionOptions primary)
    : name_(std::move(name)), options_(std::move(primary)) {
    const auto address = AddressOf(name_);
    options_.host = address->host;
    if (address->port) {
        options_.port = address->port;
    }
    options_.socket.reset();
    options_.connectTimeout = kLongestAnswer;
    options_.answerTimeout = kLongestAnswer;
}

std::optional<std::int64_t> Replica::Lag() {
    if (!connection_) {
        connection_ = host::Connection::Open(options_);
    } else if (connection_->IsLost()) {
        connection_->Reopen();
    }
    const auto rows = connection_->Query(StatusQuery(ServerVersion::Of(*connection_)));
    std::optional<std::int64_t> most;
    bool isReplica = false;
    while (rows->Next()) {  // one for each server from which it replicates
        isReplica = true;
        const Value lag = Get(*rows, "Seconds_Behind_Master", "Seconds_Behind_Source");
        if (lag.IsNull() ||
            TextOrEmpty(Get(*rows, "Slave_IO_Running", "Replica_IO_Running")) != "Yes" ||
            TextOrEmpty(Get(*rows, "Slave_SQL_Running", "Replica_SQL_Running")) != "Yes") {
            return std::nullopt;
        }
        most = std::max<std::int64_t>(most.value_or(0), std::stoll(lag.ToText()));
    }
    if (!isReplica) {
        throw CommandError(fmt::format("{} is not a replica", name_));
    }
    return most;
}

}  // namespace twupdate::cli
