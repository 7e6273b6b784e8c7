#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "cli/run/run_sink.h"

namespace twupdate::cli {

/// Sites that have failed in one step with one error of the server, in statements that differ in
/// names and literals alone.
struct FailedSites {
    RunFailure first;
    std::string statement;  ///< masked; empty when no statement failed
    std::vector<std::int64_t> sites;
};

/// A statement with "?" in the place of each literal and of each number in a name; lists of them
/// are shortened to one.
std::string MaskedStatement(std::string_view sql);

/// The failures of sites in groups, the largest first; each has its sites in ascending order.
std::vector<FailedSites> GroupFailures(const std::vector<RunFailure>& failures);

/// "17 sites: SiteContentStep_1_0043, 1406 Data too long for column 'subject': 12, 40, 77".
std::string GroupText(const FailedSites& group);

nlohmann::ordered_json JsonOf(const std::vector<FailedSites>& groups);

}  // namespace twupdate::cli
