#include "cli/run/session_note.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>
#include <vector>

#include "cli/server/queries.h"
#include "cli/server/server_version.h"
#include "twupdate/error.h"

namespace twupdate::cli {
namespace {

constexpr std::size_t kLongest = 64;
constexpr unsigned kBits = 8;

std::string LockOfBit(std::size_t byte, unsigned bit) {
    return fmt::format("'twupdate.note.{}.{}'", byte, bit);
}

}  // namespace

void ShowNote(host::Connection& connection, const std::string& text) {
    if (!ServerVersion::Of(connection).HasSeveralLocksInASession()) {
        return;
    }
    std::vector<std::string> locks;
    for (std::size_t byte = 0; byte < std::min(text.size(), kLongest); ++byte) {
        for (unsigned bit = 0; bit < kBits; ++bit) {
            if ((static_cast<unsigned char>(text[byte]) >> bit & 1U) != 0) {
                // A session that ends may let go of its lock a moment later.
                locks.push_back(fmt::format("GET_LOCK({}, 1)", LockOfBit(byte, bit)));
            }
        }
    }
    if (locks.empty()) {
        return;
    }
    try {
        connection.Query(fmt::format("SELECT {};", fmt::join(locks, " + ")));
    } catch (const HostError& error) {
        if (error.Code() >= 2000) {
            throw;
        }  // what is not shown is only missed
    }
}

std::string ReadNote(host::Connection& connection, std::uint64_t session) {
    std::vector<std::string> bytes;
    for (std::size_t byte = 0; byte < kLongest; ++byte) {
        std::vector<std::string> bits;
        for (unsigned bit = 0; bit < kBits; ++bit) {
            bits.push_back(fmt::format("(IS_USED_LOCK({}) <=> {}) * {}", LockOfBit(byte, bit),
                                       session, 1U << bit));
        }
        bytes.push_back(fmt::format("{}", fmt::join(bits, " + ")));
    }
    const std::string hex =
        FirstCell(connection, fmt::format("SELECT HEX(CHAR({}));", fmt::join(bytes, ", ")))
            .value_or("");
    std::string text;
    for (std::size_t i = 0; i + 1 < hex.size() && hex.substr(i, 2) != "00"; i += 2) {
        text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
    }
    return text;
}

}  // namespace twupdate::cli
