#include "migrations/interruptions.h"

#include "dbutil/inspection.h"
#include "dbutil/interrupted_conversion.h"
#include "dbutil/sql.h"

namespace twupdate {

std::vector<Leftover> LeftByServerStep_1_0035(Utility& host, const SteppedDatabase& database,
                                              StepHistory /*history*/) {
    const std::string account = database.tablePrefix + "account";
    auto leftovers =
        FindInterruptedConversions(host, database.name, {{account, {"associatepercentage"}}});
    if (database.tablePrefix
            .empty()) {  // for a site's database, the step of its own ladder reports it
        for (Leftover& strange : FindStrangeConversions(host, database.name, {account})) {
            leftovers.push_back(std::move(strange));
        }
    }
    return leftovers;
}

// Without a history the marks count as incomplete only if the next step has not begun: later, a
// site may have been stopped on purpose.
std::vector<Leftover> LeftByServerStep_1_0074(Utility& host, const SteppedDatabase& database,
                                              StepHistory history) {
    const std::string& db = database.name;
    const std::string site = database.tablePrefix + "site";
    const Inspection inspection(host, db);
    const bool isRunning =
        history == StepHistory::kInterrupted ||
        (history == StepHistory::kUnknown && IsBelow(database.version, 1.0074) &&
         !inspection.HasColumn(database.tablePrefix + "account", "associatechargepassword"));
    if (!isRunning || !inspection.HasColumn(site, "serverstarted")) {
        return {};
    }
    const std::string unmarked =
        Sql(" WHERE serverstarted = 0 AND harddeleted = 0 AND siteid IN "
            "(SELECT siteid FROM ",
            db, ".", database.tablePrefix, "domain)");
    const std::int64_t sites = inspection.Count(Sql(db, ".", site, unmarked));
    if (sites == 0) {
        return {};
    }
    return {
        {.table = site,
         .seen = Concat(std::to_string(sites), sites == 1 ? " site" : " sites",
                        " with a domain without the start mark"),
         .consequence = "a repeat marks none",
         .statements = {Sql("UPDATE ", db, ".", site, " SET serverstarted = -1", unmarked, ";")}}};
}

// Another domain may be without a link on purpose, so only a known interruption counts.
std::vector<Leftover> LeftByServerDataStep_1_0252(Utility& host, const SteppedDatabase& database,
                                                  StepHistory history) {
    if (history != StepHistory::kInterrupted || !database.tablePrefix.empty()) {
        return {};
    }
    const auto roots =
        Inspection(host, database.name)
            .Texts(Sql("SELECT siteid FROM ", database.name, ".site WHERE parentsiteid = 0;"),
                   "siteid");
    if (roots.empty()) {
        return {};
    }
    const std::string db = "tw_" + roots.front();
    const std::string domain = Sql("domainname = '", EscapeSql(host.LocalHostName()), "'");
    const Inspection inspection(host, db);
    const std::string unlinked = Sql(db, ".domain d INNER JOIN ", db,
                                     ".group_table g ON g.displayname = 'local Visitor' "
                                     "WHERE d.",
                                     domain, " AND NOT EXISTS (SELECT 1 FROM ", db,
                                     ".domaingroup l WHERE l.domainid = d.domainid)");
    const bool isReadable = inspection.HasColumn("domain", "domainid") &&
                            inspection.HasColumn("domain", "domainname") &&
                            inspection.HasColumn("group_table", "displayname") &&
                            inspection.HasColumn("domaingroup", "domainid");
    if (!isReadable || inspection.Count(unlinked) == 0) {
        return {};
    }
    return {{.table = "site",
             .seen = Concat("the domain '", host.LocalHostName(), "' of the root site, in ", db,
                            ", is in no group"),
             .consequence = "a repeat leaves it without one",
             .statements = {Sql("INSERT INTO ", db,
                                ".domaingroup(groupid, domainid, domaingrouptype) SELECT "
                                "g.groupid, d.domainid, 0 FROM ",
                                unlinked, " ORDER BY g.groupid LIMIT 1;")}}};
}

}  // namespace twupdate
