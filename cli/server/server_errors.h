#pragma once

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
inline constexpr std::uint32_t kNeedsGlobalPrivilege = 1227;
inline constexpr std::uint32_t kRunsWithoutGrants = 1290;

}  // namespace twupdate::cli
