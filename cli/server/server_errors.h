#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

// The server's error numbers.
namespace twupdate::cli {

inline constexpr std::uint32_t kDatabaseDenied = 1044;
inline constexpr std::uint32_t kUnknownDatabase = 1049;
inline constexpr std::uint32_t kTableExists = 1050;
inline constexpr std::uint32_t kUnknownColumn = 1054;
inline constexpr std::uint32_t kNotGrouped = 1055;
inline constexpr std::uint32_t kColumnExists = 1060;
inline constexpr std::uint32_t kKeyExists = 1061;
inline constexpr std::uint32_t kSecondPrimaryKey = 1068;
inline constexpr std::uint32_t kNoKeyColumn = 1072;
inline constexpr std::uint32_t kTableDenied = 1142;
inline constexpr std::uint32_t kColumnDenied = 1143;
inline constexpr std::uint32_t kUnknownTable = 1146;
inline constexpr std::uint32_t kLockWaitTimeout = 1205;
inline constexpr std::uint32_t kDeadlock = 1213;
inline constexpr std::uint32_t kNeedsGlobalPrivilege = 1227;
inline constexpr std::uint32_t kRunsWithoutGrants = 1290;
inline constexpr std::uint32_t kServerLost = 2013;

/// The server, or the way to it, is not there at the moment: it stops or starts, has no more
/// connections, has ended this one, or is a node that has left its cluster.
inline constexpr auto kLostConnection =
    std::to_array<std::uint32_t>({1040, 1047, 1053, 1077, 1079, 1152, 1158, 1159, 1160, 1161, 1184,
                                  1927, 2002, 2003, 2006, 2013, 2055, 4031});

constexpr bool IsLostConnection(std::uint32_t code) {
    return std::find(kLostConnection.begin(), kLostConnection.end(), code) != kLostConnection.end();
}

/// Whether what has failed with this error may well succeed later, with nothing changed.
constexpr bool MayPass(std::uint32_t code) {
    return IsLostConnection(code) || code == kDeadlock || code == kLockWaitTimeout;
}

}  // namespace twupdate::cli
