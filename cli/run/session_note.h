#pragma once

#include <cstdint>
#include <string>

#include "twupdate_host/connection.h"

// A short text that a session shows to others for as long as it lives, without a change to any
// database. A server shows nobody the variables of another session, but it shows everybody who
// holds a lock (GET_LOCK); so each set bit of the text is a lock.
namespace twupdate::cli {

/// Shows the text, of which 64 bytes count. A server on which a session has one lock at a time, or
/// none, shows nothing.
/// @throws HostError when the connection is lost
void ShowNote(host::Connection& connection, const std::string& text);

/// What the session with that number shows; empty when it shows nothing.
/// @throws HostError
std::string ReadNote(host::Connection& connection, std::uint64_t session);

}  // namespace twupdate::cli
