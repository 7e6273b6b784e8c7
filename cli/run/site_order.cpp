#include "cli/run/site_order.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "twupdate/error.h"
#include "twupdate/ladder.h"

namespace twupdate::cli {
namespace {

constexpr double kSecondsAStep = 0.05;
constexpr double kBytesASecond = 20e6;  // a table is copied several times

/// The bytes of each database, as the statistics of InnoDB have them: the server need not open a
/// table for it. Empty where it tells the account nothing.
std::map<std::string, double> Sizes(host::Connection& connection) {
    std::map<std::string, double> sizes;
    try {
        const auto rows = connection.Query(
            "SELECT database_name, SUM(clustered_index_size + sum_of_other_index_sizes) * "
            "@@innodb_page_size + 0e0 FROM mysql.innodb_table_stats WHERE database_name LIKE "
            "'tw\\_%' GROUP BY database_name;");
        while (rows->Next()) {
            sizes[rows->Get(0).ToText()] = rows->Get(1).ToDouble();
        }
    } catch (const HostError& error) {
        if (error.Code() == 0 || error.Code() >= 2000) {
            throw;
        }
    }
    return sizes;
}

double PendingStepsOf(double version) {
    return static_cast<double>(PendingSteps(Ladder::kSiteSchema, version).size() +
                               PendingSteps(Ladder::kSiteContent, version).size());
}

}  // namespace

void SortLongestFirst(std::vector<SiteRow>& sites, host::Connection& connection) {
    const auto sizes = Sizes(connection);
    std::map<std::int64_t, double> seconds;
    for (const SiteRow& site : sites) {
        const auto size = sizes.find(fmt::format("tw_{}", site.siteId));
        seconds[site.siteId] = PendingStepsOf(site.version.value_or(0)) * kSecondsAStep +
                               (size == sizes.end() ? 0 : size->second / kBytesASecond);
    }
    std::stable_sort(sites.begin(), sites.end(), [&](const SiteRow& a, const SiteRow& b) {
        return seconds.at(a.siteId) > seconds.at(b.siteId);
    });
}

}  // namespace twupdate::cli
