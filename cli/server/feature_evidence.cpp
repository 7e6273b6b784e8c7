#include "cli/server/feature_evidence.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "cli/server/queries.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

struct ComponentOfFeature {
    int component;
    std::string_view feature;
};

/// The components whose pages keep what visitors enter in the tables of a feature. The log-in
/// through other sites (oauth) and the affiliates have no pages.
constexpr std::array<ComponentOfFeature, 8> kComponents{{
    {800, "forms"},
    {900, "templates"},
    {1600, "templates"},
    {3700, "templates"},
    {1000, "shop"},
    {2400, "charges"},
    {1450, "forum"},
    {2600, "feeds"},
}};

struct Need {
    std::string_view feature;
    std::string_view needed;
};

constexpr std::array<Need, 3> kNeeds{
    {{"templates", "forms"}, {"charges", "shop"}, {"affiliates", "shop"}}};

void AddNeeded(const std::set<std::string>& withTables, FeatureEvidence& evidence) {
    for (const auto& [feature, needed] : kNeeds) {
        if (withTables.contains(std::string(feature))) {
            evidence.emplace(
                needed, fmt::format("the tables of {}, which need those of {}", feature, needed));
        }
    }
}

/// Of the features without tables: the others need no evidence.
void AddPages(host::Connection& connection, std::int64_t siteId,
              const std::set<std::string>& withTables, FeatureEvidence& evidence) {
    for (const auto& [component, feature] : kComponents) {
        if (withTables.contains(std::string(feature))) {
            continue;
        }
        const std::string pages =
            FirstCell(connection,
                      fmt::format("SELECT COUNT(*) FROM tw_{}.feature WHERE componentid = {};",
                                  siteId, component))
                .value_or("0");
        if (pages == "0") {
            continue;
        }
        const std::string name =
            FirstCell(connection, fmt::format("SELECT componentname FROM tw_tarnwick.component "
                                              "WHERE componentid = {};",
                                              component))
                .value_or("");
        evidence.emplace(feature,
                         fmt::format("{} of component {}{}", Count(std::stoull(pages), "page"),
                                     component, name.empty() ? "" : " (" + name + ")"));
    }
}

bool IsFormTable(const std::string& table) {
    constexpr std::string_view kPrefix = "form_";
    return table.starts_with(kPrefix) && table.size() > kPrefix.size() &&
           table.find_first_not_of("0123456789", kPrefix.size()) == std::string::npos;
}

void AddFormTables(const host::Catalogue::Database& actual, FeatureEvidence& evidence) {
    std::vector<std::string> tables;
    for (const auto& [name, table] : actual.tables) {
        if (IsFormTable(name)) {
            tables.push_back(name);
        }
    }
    if (!tables.empty()) {
        std::sort(tables.begin(), tables.end(), ComesBefore);
        evidence.emplace("forms", "the records of forms in " + FirstFew(std::move(tables)));
    }
}

/// A payment that names an order of the site's shop is a commission of it.
void AddPayments(host::Connection& connection, std::int64_t siteId, FeatureEvidence& evidence) {
    const std::string payments =
        FirstCell(connection,
                  fmt::format("SELECT COUNT(*) FROM tw_tarnwick.accountpayment p INNER JOIN "
                              "tw_tarnwick.account a ON a.accountid = p.accountid "
                              "WHERE a.siteid = {} AND p.cartorderid > 0;",
                              siteId))
            .value_or("0");
    if (payments != "0") {
        const std::string text =
            Count(std::stoull(payments), "payment") + " to affiliates for orders of its shop";
        evidence.emplace("affiliates", text);
        evidence.emplace("shop", text);
    }
}

}  // namespace

FeatureEvidence FindFeatureEvidence(host::Connection& connection, std::int64_t siteId,
                                    const host::Catalogue::Database& actual,
                                    const std::set<std::string>& withTables) {
    FeatureEvidence evidence;  // the first of several is told
    AddNeeded(withTables, evidence);
    AddFormTables(actual, evidence);
    AddPages(connection, siteId, withTables, evidence);
    AddPayments(connection, siteId, evidence);
    return evidence;
}

}  // namespace twupdate::cli
