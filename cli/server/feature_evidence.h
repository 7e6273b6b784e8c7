#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>

#include "twupdate_host/catalogue.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// For each optional feature of a layout ("forum") what tells that a site has it, in words that
/// follow "the site has": "1 page of component 1450 (Forum)".
using FeatureEvidence = std::map<std::string, std::string>;

/// Looks for it outside of the feature's own tables: in the tables of features that need it, in the
/// pages of its components, in the data tables of forms, and in the payments to affiliates.
/// @param withTables  the features of which the site has tables
FeatureEvidence FindFeatureEvidence(host::Connection& connection, std::int64_t siteId,
                                    const host::Catalogue::Database& actual,
                                    const std::set<std::string>& withTables);

}  // namespace twupdate::cli
