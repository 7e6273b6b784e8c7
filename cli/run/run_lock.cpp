#include "cli/run/run_lock.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <climits>
#include <stdexcept>
#include <utility>

#include "cli/run/session_note.h"
#include "cli/server/cluster.h"
#include "cli/server/queries.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "cli/terminal/ticker.h"

namespace twupdate::cli {
namespace {

/// Who holds the lock, as far as the user may see it.
std::string Holder(host::Connection& connection) {
    const std::string id =
        FirstCell(connection, fmt::format("SELECT IS_USED_LOCK('{}');", RunLock::kName))
            .value_or("");
    if (id.empty()) {
        return "another run";  // it has just ended
    }
    const std::string note = ReadNote(connection, std::stoull(id));
    const std::string run = note.empty() ? "" : note + ", ";
    const auto process = connection.Query(
        fmt::format("SELECT user, host, CAST(NOW() - INTERVAL time SECOND AS CHAR) "
                    "FROM information_schema.processlist WHERE id = {};",
                    id));
    if (!process->Next()) {
        return run +
               fmt::format("connection {} (its account is shown only with the privilege PROCESS)",
                           id);
    }
    return run + fmt::format("{}@{} since {} (connection {})", process->Get(0).ToText(),
                             process->Get(1).ToText(), process->Get(2).ToText(), id);
}

CommandError Refused() {
    return CommandError(
        "the server refuses the run lock\nhint: if no other run can be in progress, use "
        "--no-lock",
        kLocked);
}

/// "upgrade, process 4711 on web1".
std::string NoteOf(const std::string& command) {
    std::array<char, HOST_NAME_MAX + 1> machine{};
    gethostname(machine.data(), machine.size() - 1);
    return fmt::format("{}, process {} on {}", command, getpid(), machine.data());
}

}  // namespace

RunLock::RunLock(const Session& session, const GlobalOptions& options, const std::string& command,
                 Console& console)
    : session_(session), note_(NoteOf(command)) {
    if (options.noLock) {
        return;
    }
    if (IsLease(*session.GetConnection(), options)) {
        lease_ = Lease::Take(
            session,
            {std::chrono::seconds(options.leaseSeconds.value_or(LeaseTerms::kDefaultSeconds))},
            note_, std::chrono::seconds(options.lockWaitSeconds), console);
        session.Watch(lease_);
    }
    if (!IsClusterNode(*session.GetConnection())) {  // where it would hold on one node only
        TakeOfServer(options, console);
    }
}

bool RunLock::IsLease(host::Connection& connection, const GlobalOptions& options) {
    return !options.noLock && (options.leaseSeconds || IsClusterNode(connection));
}

RunLock::~RunLock() {
    session_.Watch(nullptr);
}

void RunLock::TakeOfServer(const GlobalOptions& options, Console& console) {
    // The server hears of a closed connection a moment later; the next command may come sooner.
    const auto connection = session_.Connect();
    connection_ =
        std::shared_ptr<host::Connection>(connection.get(), [connection](host::Connection* held) {
            try {
                held->Query(fmt::format("SELECT RELEASE_LOCK('{}');", kName));
            } catch (const HostError&) {
                // The connection is gone, and the lock with it.
            }
        });
    Value got = Take(0);
    if (!got.IsNull() && !got.ToBool() && options.lockWaitSeconds > 0) {
        const std::string holder = Holder(*connection_);
        console.Say(fmt::format("Waiting for the end of another run: {}", holder));
        const auto began = Clock::now();
        const Ticker ticker([&] {
            console.DrawProgress(
                {{fmt::format("waits {} of {} for another run", DurationText(Clock::now() - began),
                              DurationText(std::chrono::seconds(options.lockWaitSeconds))),
                  holder}});
        });
        got = Take(options.lockWaitSeconds);
    }
    console.ClearProgress();
    if (got.IsNull()) {
        throw Refused();
    }
    if (!got.ToBool()) {
        throw CommandError(fmt::format("another run is in progress on this server: {}\nhint: wait "
                                       "for it to finish (--lock-wait SECONDS)",
                                       Holder(*connection_)),
                           kLocked);
    }
    // The time of the last statement on this connection tells since when the lock is held.
    ShowNote(*connection_, note_);
}

Value RunLock::Take(unsigned waitSeconds) const {
    try {
        const auto rows =
            connection_->Query(fmt::format("SELECT GET_LOCK('{}', {});", kName, waitSeconds));
        return rows->Next() ? rows->Get(0) : Value();
    } catch (const HostError& error) {
        throw CommandError("the server refuses the run lock: " + DescribeError(error) +
                               "\nhint: if no other run can be in progress, use --no-lock",
                           kLocked);
    }
}

bool RunLock::IsHeld(host::Connection& connection) const {
    const auto rows = connection.Query(
        fmt::format("SELECT IS_USED_LOCK('{}') <=> {};", kName, connection_->ThreadId()));
    return rows->Next() && rows->Get(0).ToBool();
}

void RunLock::RequireLease() const {
    if (lease_) {
        lease_->Require();
    }
}

void RunLock::HoldAgain(host::Connection& connection) const {
    RequireLease();
    if (!connection_) {
        return;
    }
    const std::lock_guard lock(mutex_);
    // A server that was restarted may have given its number to the connection of another run.
    const bool isLost = connection_->IsLost();
    if (!isLost && IsHeld(connection)) {
        return;
    }
    if (isLost) {
        session_.Reopen(*connection_);
        const Value got = Take(0);
        if (got.IsNull()) {
            throw Refused();
        }
        if (got.ToBool()) {
            ShowNote(*connection_, note_);
            return;
        }
    }
    throw LockLost(fmt::format("the run has lost its lock, and another run is in progress: {}",
                               Holder(connection)));
}

void RunLock::RequireHeld(host::Connection& connection) const {
    RequireLease();
    if (!connection_) {
        return;
    }
    const std::lock_guard lock(mutex_);
    if (!IsHeld(connection)) {
        throw LockLost(
            fmt::format("the run has lost its lock, because the server ended connection {}; "
                        "another run may have begun",
                        connection_->ThreadId()));
    }
}

LockWatch::LockWatch(const RunLock& lock, std::shared_ptr<host::Connection> connection)
    : lock_(lock), connection_(std::move(connection)) {}

void LockWatch::SiteStarting(const Position& /*where*/, double /*version*/) {
    lock_.RequireHeld(*connection_);
}

void LockWatch::CallStarting(const Position& /*where*/) {
    lock_.RequireLease();
}

}  // namespace twupdate::cli
