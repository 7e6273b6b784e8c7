#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <span>
#include <tuple>

#include "cli/check_finding.h"
#include "cli/layout.h"
#include "cli/text.h"

namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;

// --- what the steps need -------------------------------------------------------------------------

/// What a step writes into, where the tables are there.
struct Write {
    std::string_view step;
    std::string_view right;
    std::string_view tables;       ///< apart by blanks
    std::string_view fields = {};  ///< then the data tables of forms with fields of these types
};

constexpr std::string_view kAnyForm = "*";

constexpr std::array kSiteWrites{
    Write{"SiteSchemaStep_1_0032", "DROP", "formloadingproperty"},  // it is renamed
    Write{"SiteSchemaStep_1_0032", "ALTER", "formloadingproperty"},
    Write{"SiteSchemaStep_1_0032", "INSERT", "formmappingproperty"},
    Write{"SiteSchemaStep_1_0035", "UPDATE",
          "setting navigation layoutzone commission accesscodeaccount", "'float'"},
    Write{"SiteSchemaStep_1_0035", "ALTER", "", "'float'"},
    Write{"SiteSchemaStep_1_0047", "ALTER", "ordercharge", "'currency'"},
    Write{"SiteSchemaStep_1_0075", "ALTER", "", "'formlink'"},
    Write{"SiteSchemaStep_1_0075", "UPDATE", "formlink", "'formlink'"},
    Write{"SiteSchemaStep_1_0077", "ALTER", "", "'formlink'"},
    Write{"SiteSchemaStep_1_0077", "UPDATE", "formfield formlink", "'formlink'"},
    Write{"SiteSchemaStep_1_0091", "UPDATE", "formfieldexpressionfield"},
    Write{"SiteSchemaStep_1_0092", "UPDATE", "formtemplatefield"},
    Write{"SiteSchemaStep_1_0095", "UPDATE", "formfield"},
    Write{"SiteSchemaStep_1_0225", "INSERT", "externallookupfeedurl"},
    Write{"SiteSchemaStep_1_0233", "INSERT", "externallookupfeedparam"},
    Write{"SiteSchemaStep_1_0233", "DELETE", "externallookupfeedparam"},
    Write{"SiteSchemaStep_1_0235", "ALTER", "rssfilelookup"},
    Write{"SiteSchemaStep_1_0235", "UPDATE", "rssfilelookup"},
    Write{"SiteSchemaStep_1_0251", "UPDATE", "", "'file', 'image'"},
    Write{"SiteSchemaStep_1_0251", "ALTER", "", "'file', 'image'"},
    Write{"SiteContentStep_1_0001", "UPDATE", "formtemplateinstancefield"},
    Write{"SiteContentStep_1_0003", "UPDATE", "formfield"},
    Write{"SiteContentStep_1_0005", "UPDATE", "layoutzone"},
    Write{"SiteContentStep_1_0007", "INSERT",
          "chargegroup chargeoption chargegrouptochargegroup chargegrouptoitemtype"},
    Write{"SiteContentStep_1_0007", "UPDATE", "charge"},
    Write{"SiteContentStep_1_0008", "INSERT", "event email eventpart emailevent"},
    Write{"SiteContentStep_1_0008", "UPDATE", "event"},
    Write{"SiteContentStep_1_0009", "INSERT", "tag attribute"},
    Write{"SiteContentStep_1_0012", "UPDATE", "tagdependancy"},
    Write{"SiteContentStep_1_0017", "INSERT", "tag attribute"},
    Write{"SiteContentStep_1_0017", "UPDATE", "layoutelement"},
    Write{"SiteContentStep_1_0019", "UPDATE", "text"},
    Write{"SiteContentStep_1_0020", "INSERT", "setting"},
    Write{"SiteContentStep_1_0020", "UPDATE", "navigation"},
    Write{"SiteContentStep_1_0021", "UPDATE", "feature"},
    Write{"SiteContentStep_1_0026", "INSERT", "setting"},
    Write{"SiteContentStep_1_0026", "UPDATE", "layoutelement layoutzone"},
    Write{"SiteContentStep_1_0026", "DELETE", "setting"},
    Write{"SiteContentStep_1_0030", "INSERT", "plaintext"},
    Write{"SiteContentStep_1_0031", "UPDATE", "feature"},
    Write{"SiteContentStep_1_0037", "UPDATE", "forum"},
    Write{"SiteContentStep_1_0039", "UPDATE", "forum"},
    Write{"SiteContentStep_1_0042", "UPDATE", "formtemplatefield"},
    Write{"SiteContentStep_1_0043", "UPDATE", "email"},
    Write{"SiteContentStep_1_0044", "UPDATE", "text"},
    Write{"SiteContentStep_1_0049", "UPDATE", "email"},
    Write{"SiteContentStep_1_0050", "UPDATE", "email"},
    Write{"SiteContentStep_1_0054", "INSERT", "setting override"},
    Write{"SiteContentStep_1_0054", "UPDATE", "datafeedfield customerorder security"},
    Write{"SiteContentStep_1_0055", "INSERT", "event eventpart emailevent"},
    Write{"SiteContentStep_1_0055", "UPDATE", "event"},
    Write{"SiteContentStep_1_0061", "UPDATE", "tag"},
    Write{"SiteContentStep_1_0061", "DELETE", "attribute tag"},
    Write{"SiteContentStep_1_0066", "UPDATE", "feature"},
    Write{"SiteContentStep_1_0066", "DELETE", "featurecache cache"},
    Write{"SiteContentStep_1_0068", "UPDATE", "formtemplateviewfield"},
    Write{"SiteContentStep_1_0069", "UPDATE", "event customerorder"},
    Write{"SiteContentStep_1_0072", "UPDATE", "tag"},
    Write{"SiteContentStep_1_0081", "INSERT", "setting"},
    Write{"SiteContentStep_1_0082", "UPDATE", "feature tag"},
    Write{"SiteContentStep_1_0082", "DELETE", "featurecache cache"},
    Write{"SiteContentStep_1_0089", "UPDATE", "event"},
    Write{"SiteContentStep_1_0091", "INSERT", "setting override"},
    Write{"SiteContentStep_1_0091", "UPDATE", "setting"},
    Write{"SiteContentStep_1_0099", "UPDATE", "tag"},
    Write{"SiteContentStep_1_0222", "INSERT", "text"},
    Write{"SiteContentStep_1_0222", "UPDATE", "text"},
    Write{"SiteContentStep_1_0225", "UPDATE", "formfield"},
    Write{"SiteContentStep_1_0229", "UPDATE", "externallookupfeedfield"},
    Write{"SiteContentStep_1_0234", "UPDATE", "formtemplate"},
    Write{"SiteContentStep_1_0236", "UPDATE", "formtemplateinstancefield"},
    Write{"SiteContentStep_1_0237", "INSERT", "directurl"},
    Write{"SiteContentStep_1_0237", "UPDATE", "directurl navigation formfield"},
    Write{"SiteContentStep_1_0237", "DELETE", "setting"},
    Write{"SiteContentStep_1_0242", "INSERT", "textembed textembedproperty"},
    Write{"SiteContentStep_1_0242", "UPDATE", "text textembedproperty"},
    Write{"SiteContentStep_1_0254", "UPDATE", "attribute css tag"},
    Write{"SiteContentStep_1_0255", "ALTER", "", "'dhtml', 'memo'"},
    Write{"SiteContentStep_1_0256", "UPDATE", "layoutzone"},
    Write{"SiteContentStep_1_0257", "INSERT", "setting"},
    Write{"SiteContentStep_1_0257", "UPDATE", "formtemplateviewfield"},
    Write{"SiteContentStep_1_0257", "DELETE", "setting"},
    Write{"SiteContentStep_1_0259", "INSERT", "", kAnyForm},  // they are repaired
};

constexpr std::array kCentralWrites{
    Write{"ServerStep_1_0035", "UPDATE", "account"},
    Write{"ServerStep_1_0074", "UPDATE", "site"},
    Write{"ServerDataStep_1_0026", "UPDATE", "site"},
    Write{"ServerDataStep_1_0036", "UPDATE", "site"},
    Write{"ServerDataStep_1_0063", "UPDATE", "site"},
    Write{"ServerDataStep_1_0252", "INSERT", "domain"},
    Write{"ReimportReferenceData", "INSERT", "component componenttype"},
    Write{"ReimportReferenceData", "DELETE", "component componenttype"},
};

/// A table that a step makes only where another one is.
struct Follower {
    std::string_view table;
    std::string_view leader;
};

constexpr std::array kFollowers{
    Follower{"chargegroup", "charge"},
    Follower{"chargegrouptochargegroup", "charge"},
    Follower{"chargegrouptoitemtype", "charge"},
    Follower{"chargeoption", "charge"},
    Follower{"externallookupfeedparam", "externallookupfeedfield"},
    Follower{"externallookupfeedurl", "externallookupfeedfield"},
    Follower{"formmappingproperty", "formfield"},
    Follower{"formrecorddelete", "formfield"},
    Follower{"ordercharge", "charge"},
    Follower{"orderchargeoption", "charge"},
    Follower{"orderpasswordchargeoption", "charge"},
    Follower{"ordertermsagreed", "customerorder"},
    Follower{"queryindex", "formtemplateviewfield"},
    Follower{"rssfilelookup", "formtemplate"},
};

/// The rights that are spoken of, in the order in which they are listed.
constexpr std::array<std::string_view, 7> kRights{"SELECT", "INSERT", "UPDATE", "DELETE",
                                                  "CREATE", "DROP",   "ALTER"};

/// The tables for which each right is needed.
using Needs = std::map<std::string_view, std::set<std::string>>;

std::set<std::string> TablesIn(host::Connection& connection, const std::string& database) {
    std::set<std::string> tables;
    const auto rows = connection.Query(fmt::format(
        "SELECT table_name FROM information_schema.tables WHERE table_schema = '{}';", database));
    while (rows->Next()) {
        tables.insert(rows->Get(0).ToText());
    }
    return tables;
}

/// What the ladders of a database need, by its layout and its writes.
class LadderNeeds {
  public:
    LadderNeeds(host::Connection& connection, const std::string& database, const Layout& layout,
                const PendingRun& pending, Needs& needs)
        : connection_(connection),
          database_(database),
          tables_(TablesIn(connection, database)),
          pending_(pending),
          needs_(needs) {
        for (const auto& [name, table] : layout.tables) {
            AddTable(name, table);
        }
    }

    void Add(std::span<const Write> writes) {
        for (const Write& write : writes) {
            if (!pending_.Has(write.step)) {
                continue;
            }
            for (const std::string& table : SplitAtBlanks(write.tables)) {
                if (tables_.contains(table)) {
                    needs_[write.right].insert(table);
                }
            }
            if (!write.fields.empty()) {
                AddForms(write);
            }
        }
    }

  private:
    void AddTable(const std::string& name, const Layout::Table& table) {
        const bool isMade = pending_.Has(table.step) && IsFollowed(name);
        if (!tables_.contains(name) && !isMade && table.optional) {
            return;
        }
        tables_.insert(name);  // a table may be hidden from a user without rights
        needs_["SELECT"].insert(name);
        if (isMade) {
            needs_["CREATE"].insert(name);
        }
        for (const auto& [key, item] : table.items) {
            if (pending_.Has(item.step) && item.step != table.step) {
                needs_["ALTER"].insert(name);
            }
        }
    }

    /// False for a table whose leader is not there.
    bool IsFollowed(std::string_view table) const {
        const auto follower = std::find_if(kFollowers.begin(), kFollowers.end(),
                                           [&](const Follower& one) { return one.table == table; });
        return follower == kFollowers.end() || tables_.contains(std::string(follower->leader));
    }

    void AddForms(const Write& write) {
        const std::string forms =
            write.fields == kAnyForm
                ? fmt::format("SELECT formfeatureid FROM {}.form;", database_)
                : fmt::format("SELECT DISTINCT featureid FROM {}.formfield WHERE type IN({});",
                              database_, write.fields);
        try {
            const auto rows = connection_.Query(forms);
            while (rows->Next()) {
                const Value id = rows->Get(0);
                const std::string table = "form_" + (id.IsNull() ? "" : id.ToText());
                if (tables_.contains(table)) {
                    needs_[write.right].insert(table);
                    needs_["SELECT"].insert(table);
                }
            }
        } catch (const HostError&) {
            // There are no forms, or they may not be read, which is a finding of its own.
        }
    }

    host::Connection& connection_;
    const std::string& database_;
    std::set<std::string> tables_;  ///< that are there, or will be
    const PendingRun& pending_;
    Needs& needs_;
};

/// The logs get indexes, where they do not have them.
void AddLogs(host::Connection& connection, const PendingRun& pending, Needs& needs) {
    if (!pending.Has("ServerDataStep_1_0030")) {
        return;
    }
    const auto logs = connection.Query(
        "SELECT t.table_name, (SELECT COUNT(DISTINCT s.index_name) FROM "
        "information_schema.statistics s WHERE s.table_schema = 'tw_logs' AND s.table_name = "
        "t.table_name AND BINARY s.index_name IN('LogTime_idx', 'target_idx')) FROM "
        "information_schema.tables t WHERE t.table_schema = 'tw_logs' AND t.table_name LIKE "
        "'tw_%';");
    while (logs->Next()) {
        const std::string log = logs->Get(0).ToText();
        needs["SELECT"].insert(log);
        if (logs->Get(1).ToText() != "2") {
            needs["ALTER"].insert(log);
        }
    }
    const auto shown = connection.Query(
        "SELECT 1 FROM information_schema.schemata WHERE schema_name = 'tw_logs';");
    if (!shown->Next()) {  // there may be any
        needs["SELECT"].insert("tw_%");
        needs["ALTER"].insert("tw_%");
    }
}

/// What is needed in one database, which may be the root site and a site to be upgraded as well.
Needs NeedsOf(host::Connection& connection, const std::string& database,
              const std::vector<PendingDatabase>& pending) {
    Needs needs;
    const bool paysCommissions =
        std::any_of(pending.begin(), pending.end(), [](const PendingDatabase& one) {
            return one.kind == Kind::kSite && IsBelow(one.version, 1.0223);
        });
    for (const PendingDatabase& one : pending) {
        if (one.name != database) {
            continue;
        }
        const PendingRun central(Ladder::kServer, Ladder::kServerData, one.version);
        switch (one.kind) {
            case Kind::kCentral:
                LadderNeeds(connection, database, CentralLayout(), central, needs)
                    .Add(kCentralWrites);
                needs["UPDATE"].insert({"installation", "site"});
                break;
            case Kind::kRecord:
                needs["SELECT"].insert({"installation", "site", "component"});
                needs["UPDATE"].insert("site");
                break;
            case Kind::kLogs:
                AddLogs(connection, central, needs);
                break;
            case Kind::kRootSite:
                needs["SELECT"].insert({"domain", "group_table", "domaingroup"});
                needs["INSERT"].insert({"domain", "domaingroup"});
                break;
            case Kind::kSite: {
                const PendingRun run(Ladder::kSiteSchema, Ladder::kSiteContent, one.version);
                LadderNeeds(connection, database, SiteLayout(), run, needs).Add(kSiteWrites);
                break;
            }
        }
        if (paysCommissions && (one.kind == Kind::kCentral || one.kind == Kind::kRecord)) {
            needs["SELECT"].insert({"account", "accountpayment"});
            needs["UPDATE"].insert("accountpayment");
        }
    }
    return needs;
}

// --- what the user has ---------------------------------------------------------------------------

/// LIKE as the server uses it for the databases of a grant.
bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern.front() == '%') {
        return Matches(pattern.substr(1), name) ||
               (!name.empty() && Matches(pattern, name.substr(1)));
    }
    const bool escaped = pattern.front() == '\\' && pattern.size() > 1;
    const char wanted = escaped ? pattern[1] : pattern.front();
    const bool any = !escaped && wanted == '_';
    return !name.empty() && (any || wanted == name.front()) &&
           Matches(pattern.substr(escaped ? 2 : 1), name.substr(1));
}

/// Orders patterns as the server does: those without "%" come first, then those that need more
/// characters, then those with fewer of any value.
std::tuple<bool, std::size_t, std::size_t> Generality(std::string_view pattern) {
    constexpr std::size_t kLongest = 1000;
    bool isOpen = false;
    std::size_t length = 0;
    std::size_t any = 0;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == '%') {
            isOpen = true;
            continue;
        }
        ++length;
        if (pattern[i] == '_') {
            ++any;
        } else if (pattern[i] == '\\') {
            ++i;
        }
    }
    return {isOpen, isOpen ? kLongest - length : 0, any};
}

std::set<std::string> Words(const std::string& list) {
    const std::regex comma(", ");
    return {std::sregex_token_iterator(list.begin(), list.end(), comma, -1),
            std::sregex_token_iterator()};
}

struct Grant {
    std::set<std::string> rights;
    std::string pattern;  ///< of database names, with the wildcards of LIKE; "*" for all
    std::string table;    ///< "*" for all; then the pattern is a name
    /// The user, PUBLIC, or the role that is switched on, with those that were granted to it.
    enum class Grantee : std::uint8_t { kUser, kPublic, kRole } grantee = Grantee::kUser;

    bool Gives(std::string_view right) const {
        return rights.contains("ALL PRIVILEGES") || rights.contains(std::string(right));
    }
    bool IsGlobal() const { return pattern == "*"; }
};

/// The grants of a user, as the server adds them up.
class Grants {
  public:
    explicit Grants(std::vector<Grant> grants) : grants_(std::move(grants)) {
        std::stable_sort(grants_.begin(), grants_.end(), [](const Grant& a, const Grant& b) {
            return Generality(a.pattern) < Generality(b.pattern);
        });
    }

    bool Globally(std::string_view right) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.IsGlobal() && grant.Gives(right);
        });
    }

    /// Of several patterns of one grantee that fit a database the server takes the most special
    /// one alone.
    bool OnDatabase(const std::string& database, std::string_view right) const {
        std::map<Grant::Grantee, std::string> taken;
        return Globally(right) ||
               std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
                   if (grant.IsGlobal() || grant.table != "*" ||
                       !Matches(grant.pattern, database)) {
                       return false;
                   }
                   const auto& pattern = taken.emplace(grant.grantee, grant.pattern).first->second;
                   return pattern == grant.pattern && grant.Gives(right);
               });
    }

    bool OnTable(const std::string& database, const std::string& table,
                 std::string_view right) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.pattern == database && grant.table == table && grant.Gives(right);
        });
    }

    /// Whether anything is granted on a single table of the database.
    bool NamesTables(const std::string& database) const {
        return std::any_of(grants_.begin(), grants_.end(), [&](const Grant& grant) {
            return grant.pattern == database && grant.table != "*";
        });
    }

  private:
    std::vector<Grant> grants_;
};

Grant::Grantee GranteeOf(const std::string& name) {
    if (name == "PUBLIC" || name == "`PUBLIC`") {
        return Grant::Grantee::kPublic;
    }
    return name.find("`@`") == std::string::npos ? Grant::Grantee::kRole : Grant::Grantee::kUser;
}

/// Nothing when the server runs without grants.
std::optional<Grants> ReadGrants(host::Connection& connection) {
    constexpr std::uint32_t kRunsWithoutGrants = 1290;
    const std::regex form(
        R"(^GRANT (.*) ON (?:`([^`]*)`|(\*))\.(?:`([^`]*)`|\*) TO (`[^`]*`@`[^`]*`|\S*)(?: .*)?$)");
    std::vector<Grant> grants;
    std::unique_ptr<host::Rows> rows;
    try {
        rows = connection.Query("SHOW GRANTS;");
    } catch (const HostError& error) {
        if (error.Code() == kRunsWithoutGrants) {
            return std::nullopt;
        }
        throw;
    }
    while (rows->Next()) {
        const std::string text = rows->Get(0).ToText();
        std::smatch parts;
        if (std::regex_search(text, parts, form)) {
            // A right on columns, "UPDATE (`a`, `b`)", is none: a step adds columns to most tables.
            grants.push_back({Words(parts[1]), parts[3].matched ? "*" : parts[2].str(),
                              parts[4].matched ? parts[4].str() : "*", GranteeOf(parts[5])});
        }
    }
    return Grants(std::move(grants));
}

/// The rights in a database as the server itself tells of three of them. What is granted to
/// another account, to everybody or to the same name at another host, counts as well, or hides
/// what is granted to the user; SHOW GRANTS does not list it.
class TrueRights {
  public:
    TrueRights(host::Connection& connection, const Grants& grants, const std::string& database)
        : grants_(grants), database_(database) {
        if (grants.NamesTables(database)) {
            return;
        }
        const auto rows = connection.Query(
            fmt::format("SELECT privileges FROM information_schema.columns WHERE table_schema = "
                        "'{}' LIMIT 1;",
                        database));
        if (rows->Next()) {
            shown_ = "," + rows->Get(0).ToText() + ",";
        }
    }

    bool Has(std::string_view right, const std::set<std::string>& tables) const {
        if (shown_.empty() || AreGranted()) {
            return grants_.OnDatabase(database_, right) ||
                   std::all_of(tables.begin(), tables.end(), [&](const std::string& table) {
                       return grants_.OnTable(database_, table, right);
                   });
        }
        // The rest cannot be seen.
        return std::find(kShown.begin(), kShown.end(), right) == kShown.end() || Shows(right);
    }

  private:
    static constexpr std::array<std::string_view, 3> kShown{"SELECT", "INSERT", "UPDATE"};

    bool Shows(std::string_view right) const {
        std::string word(right);
        std::transform(word.begin(), word.end(), word.begin(),
                       [](unsigned char c) { return std::tolower(c); });
        return shown_.find("," + word + ",") != std::string::npos;
    }
    bool AreGranted() const {
        return std::all_of(kShown.begin(), kShown.end(), [&](std::string_view right) {
            return Shows(right) == grants_.OnDatabase(database_, right);
        });
    }

    const Grants& grants_;
    const std::string& database_;
    std::string shown_;  ///< ",select,insert,"; empty when nothing tells
};

std::vector<std::string_view> MissingRights(host::Connection& connection, const Grants& grants,
                                            const std::string& database,
                                            const std::vector<PendingDatabase>& pending) {
    const Needs needs = NeedsOf(connection, database, pending);
    const TrueRights rights(connection, grants, database);
    std::vector<std::string_view> missing;
    for (const std::string_view right : kRights) {
        const auto need = needs.find(right);
        if (need != needs.end() && !need->second.empty() && !rights.Has(right, need->second)) {
            missing.push_back(right);
        }
    }
    return missing;
}

}  // namespace

std::set<std::string> CheckRights(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  std::vector<CheckFinding>& findings) {
    std::set<std::string> unreadable;
    const auto grants = ReadGrants(connection);
    if (!grants) {
        return unreadable;
    }
    const auto user = connection.Query(
        "SELECT CONCAT(QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', 1)), '@', "
        "QUOTE(SUBSTRING_INDEX(CURRENT_USER(), '@', -1)));");
    const std::string account = user->Next() ? user->Get(0).ToText() : "CURRENT_USER()";
    std::set<std::string> seen;  // the root site may be one of the sites as well
    for (const PendingDatabase& database : pending) {
        if (!seen.insert(database.name).second) {
            continue;
        }
        const auto missing = MissingRights(connection, *grants, database.name, pending);
        if (missing.empty()) {
            continue;
        }
        const std::string list = fmt::format("{}", fmt::join(missing, ", "));
        findings.push_back({database.name, "", "", "the user lacks the right " + list,
                            fmt::format("GRANT {} ON `{}`.* TO {}", list, database.name, account)});
        if (missing.front() == "SELECT") {  // the first of every list
            unreadable.insert(database.name);
        }
    }
    return unreadable;
}

bool HasRight(host::Connection& connection, const std::string& database, std::string_view right) {
    const auto grants = ReadGrants(connection);
    return !grants || grants->OnDatabase(database, right);
}

bool MayReadRoutines(host::Connection& connection) {
    try {
        connection.Query("SELECT 1 FROM mysql.proc LIMIT 1;");
        return true;
    } catch (const HostError&) {
        return false;
    }
}

bool MayWriteReadOnly(host::Connection& connection, bool superSuffices) {
    const auto grants = ReadGrants(connection);
    return !grants || grants->Globally("READ_ONLY ADMIN") || grants->Globally("CONNECTION_ADMIN") ||
           (superSuffices && grants->Globally("SUPER"));
}

}  // namespace twupdate::cli
