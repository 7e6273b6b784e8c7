#include "cli/check/step_needs.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <set>
#include <span>

#include "cli/server/layout.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

using Kind = PendingDatabase::Kind;

/// What a step reads or changes, where the tables are there.
struct Use {
    std::string_view step;
    std::string_view need;    ///< a right or another of the needs
    std::string_view tables;  ///< apart by blanks
    enum class When : std::uint8_t {
        kAlways,
        kDependsOnRows,  ///< that are there, or in tw_tarnwick
        kWritesNoRows,   ///< though it takes the right to
    } when = When::kAlways;
    std::string_view fields = {};  ///< then the data tables of forms with fields of these types
    std::string_view where = {};   ///< another table, without which it does not
};

constexpr std::string_view kAnyForm = "*";
constexpr auto kAlways = Use::When::kAlways;
constexpr auto kNoRows = Use::When::kWritesNoRows;
constexpr auto kRows = Use::When::kDependsOnRows;

constexpr std::array kSiteUses{
    Use{"SiteSchemaStep_1_0007", "SELECT", "ordercharge"},
    Use{"SiteSchemaStep_1_0018", "ALTER", "layoutzone setting"},  // changed again by 1.0035
    Use{"SiteSchemaStep_1_0032", "DROP", "formloadingproperty"},  // it is renamed
    Use{"SiteSchemaStep_1_0032", "ALTER", "formloadingproperty"},
    Use{"SiteSchemaStep_1_0032",
        "INSERT",
        "formmappingproperty",
        kNoRows,
        {},
        "formloadingproperty"},
    Use{"SiteSchemaStep_1_0035", "SELECT", "formfield"},
    Use{"SiteSchemaStep_1_0035", "UPDATE",
        "setting navigation layoutzone commission accesscodeaccount", kAlways, "'float'"},
    Use{"SiteSchemaStep_1_0035", "ALTER", "", kAlways, "'float'"},
    Use{"SiteSchemaStep_1_0047", "SELECT", "formfield"},
    Use{"SiteSchemaStep_1_0047", "ALTER", "ordercharge", kAlways, "'currency'"},
    Use{"SiteSchemaStep_1_0075", "SELECT", "formfield"},
    Use{"SiteSchemaStep_1_0075", "ALTER", "", kAlways, "'formlink'"},
    Use{"SiteSchemaStep_1_0075", "UPDATE", "", kAlways, "'formlink'"},
    Use{"SiteSchemaStep_1_0075", "UPDATE", "formlink", kRows},
    Use{"SiteSchemaStep_1_0077", "ALTER", "", kAlways, "'formlink'"},
    Use{"SiteSchemaStep_1_0077", "UPDATE", "formfield", kAlways, "'formlink'"},
    Use{"SiteSchemaStep_1_0077", "UPDATE", "formlink", kRows},
    Use{"SiteSchemaStep_1_0091", "UPDATE", "formfieldexpressionfield"},
    Use{"SiteSchemaStep_1_0092", "UPDATE", "formtemplatefield"},
    Use{"SiteSchemaStep_1_0095", "UPDATE", "formfield"},
    Use{"SiteSchemaStep_1_0225", "SELECT", "featurenamevalue"},
    Use{"SiteSchemaStep_1_0225", "INSERT", "externallookupfeedurl"},
    Use{"SiteSchemaStep_1_0233", "SELECT", "externallookupfeedfield featurenamevalue"},
    Use{"SiteSchemaStep_1_0233", "INSERT", "externallookupfeedparam"},
    Use{"SiteSchemaStep_1_0233", "DELETE", "externallookupfeedparam"},
    Use{"SiteSchemaStep_1_0235", "ALTER", "rssfilelookup"},
    Use{"SiteSchemaStep_1_0235", "UPDATE", "rssfilelookup"},
    Use{"SiteSchemaStep_1_0251", "SELECT", "formfield"},
    Use{"SiteSchemaStep_1_0251", "SELECT", "form", kRows},
    Use{"SiteSchemaStep_1_0251", "UPDATE", "", kAlways, "'file', 'image'"},
    Use{"SiteSchemaStep_1_0251", "ALTER", "", kAlways, "'file', 'image'"},
    Use{"SiteContentStep_1_0001", "UPDATE", "formtemplateinstancefield"},
    Use{"SiteContentStep_1_0003", "UPDATE", "formfield"},
    Use{"SiteContentStep_1_0005", "UPDATE", "layoutzone"},
    Use{"SiteContentStep_1_0007", "SELECT", "chargeoption chargetocharge chargetoitemtype", kRows},
    Use{"SiteContentStep_1_0007", "INSERT",
        "chargegroup chargegrouptochargegroup chargegrouptoitemtype chargeoption", kRows},
    Use{"SiteContentStep_1_0007", "UPDATE", "charge", kRows},
    Use{"SiteContentStep_1_0008", "SELECT", "email event eventpart feature"},
    Use{"SiteContentStep_1_0008", "SELECT", "emailevent", kRows},
    Use{"SiteContentStep_1_0008", "INSERT", "email emailevent event eventpart", kRows},
    Use{"SiteContentStep_1_0008", "UPDATE", "event", kRows},
    Use{"SiteContentStep_1_0009", "SELECT", "tag"},
    Use{"SiteContentStep_1_0009", "SELECT", "attribute", kRows},
    Use{"SiteContentStep_1_0009", "INSERT", "attribute tag", kRows},
    Use{"SiteContentStep_1_0012", "UPDATE", "tagdependancy"},
    Use{"SiteContentStep_1_0017", "SELECT", "tag"},
    Use{"SiteContentStep_1_0017", "SELECT", "attribute", kRows},
    Use{"SiteContentStep_1_0017", "INSERT", "attribute tag", kRows},
    Use{"SiteContentStep_1_0017", "UPDATE", "layoutelement"},
    Use{"SiteContentStep_1_0019", "SELECT", "setting"},
    Use{"SiteContentStep_1_0019", "SELECT", "override", kRows},
    Use{"SiteContentStep_1_0019", "UPDATE", "text", kRows},
    Use{"SiteContentStep_1_0020", "SELECT", "setting"},
    Use{"SiteContentStep_1_0020", "INSERT", "setting"},
    Use{"SiteContentStep_1_0020", "UPDATE", "navigation"},
    Use{"SiteContentStep_1_0021", "UPDATE", "feature"},
    Use{"SiteContentStep_1_0026", "SELECT", "override"},
    Use{"SiteContentStep_1_0026", "INSERT", "setting"},
    Use{"SiteContentStep_1_0026", "UPDATE", "layoutelement layoutzone"},
    Use{"SiteContentStep_1_0026", "DELETE", "setting", kRows},
    Use{"SiteContentStep_1_0030", "INSERT", "plaintext", kRows},
    Use{"SiteContentStep_1_0031", "SELECT", "text"},
    Use{"SiteContentStep_1_0031", "UPDATE", "feature"},
    Use{"SiteContentStep_1_0037", "UPDATE", "forum", kRows},
    Use{"SiteContentStep_1_0039", "UPDATE", "forum"},
    Use{"SiteContentStep_1_0042", "UPDATE", "formtemplatefield"},
    Use{"SiteContentStep_1_0043", "UPDATE", "email", kRows},
    Use{"SiteContentStep_1_0044", "SELECT", "feature"},
    Use{"SiteContentStep_1_0044", "UPDATE", "text", kRows},
    Use{"SiteContentStep_1_0049", "UPDATE", "email", kRows},
    Use{"SiteContentStep_1_0050", "UPDATE", "email"},
    Use{"SiteContentStep_1_0054", "SELECT", "feature override setting"},
    Use{"SiteContentStep_1_0054", "INSERT", "setting"},
    Use{"SiteContentStep_1_0054", "INSERT", "override", kRows},
    Use{"SiteContentStep_1_0054", "UPDATE", "datafeedfield"},
    Use{"SiteContentStep_1_0054", "UPDATE", "customerorder security", kRows},
    Use{"SiteContentStep_1_0055", "SELECT", "email event eventpart feature"},
    Use{"SiteContentStep_1_0055", "SELECT", "emailevent", kRows},
    Use{"SiteContentStep_1_0055", "INSERT", "emailevent event eventpart", kRows},
    Use{"SiteContentStep_1_0055", "UPDATE", "event", kRows},
    Use{"SiteContentStep_1_0061", "SELECT", "layoutzone"},
    Use{"SiteContentStep_1_0061", "UPDATE", "tag", kRows},
    Use{"SiteContentStep_1_0061", "DELETE", "attribute tag", kRows},
    Use{"SiteContentStep_1_0066", "SELECT", "cache"},
    Use{"SiteContentStep_1_0066", "UPDATE", "feature"},
    Use{"SiteContentStep_1_0066", "DELETE", "cache featurecache", kRows},
    Use{"SiteContentStep_1_0068", "UPDATE", "formtemplateviewfield"},
    Use{"SiteContentStep_1_0069", "SELECT", "orderpayment"},
    Use{"SiteContentStep_1_0069", "UPDATE", "event customerorder"},
    Use{"SiteContentStep_1_0072", "UPDATE", "tag"},
    Use{"SiteContentStep_1_0081", "SELECT", "feature override setting"},
    Use{"SiteContentStep_1_0081", "INSERT", "setting"},
    Use{"SiteContentStep_1_0082", "UPDATE", "feature tag"},
    Use{"SiteContentStep_1_0082", "DELETE", "cache featurecache", kRows},
    Use{"SiteContentStep_1_0089", "UPDATE", "event"},
    Use{"SiteContentStep_1_0091", "SELECT", "feature form override"},
    Use{"SiteContentStep_1_0091", "INSERT", "setting"},
    Use{"SiteContentStep_1_0091", "INSERT", "override", kRows},
    Use{"SiteContentStep_1_0091", "UPDATE", "setting"},
    Use{"SiteContentStep_1_0099", "UPDATE", "tag"},
    Use{"SiteContentStep_1_0222", "SELECT", "feature override setting"},
    Use{"SiteContentStep_1_0222", "INSERT", "text", kRows},
    Use{"SiteContentStep_1_0222", "UPDATE", "text", kRows},
    Use{"SiteContentStep_1_0223", "SELECT", "commission"},
    Use{"SiteContentStep_1_0225", "UPDATE", "formfield"},
    Use{"SiteContentStep_1_0229", "SELECT", "datafeedfield"},
    Use{"SiteContentStep_1_0229", "UPDATE", "externallookupfeedfield"},
    Use{"SiteContentStep_1_0234", "SELECT", "text"},
    Use{"SiteContentStep_1_0234", "UPDATE", "formtemplate"},
    Use{"SiteContentStep_1_0236", "UPDATE", "formtemplateinstancefield"},
    Use{"SiteContentStep_1_0237", "SELECT", "override"},
    Use{"SiteContentStep_1_0237", "INSERT", "directurl", kRows},
    Use{"SiteContentStep_1_0237", "UPDATE", "navigation formfield"},
    Use{"SiteContentStep_1_0237", "UPDATE", "directurl", kRows},
    Use{"SiteContentStep_1_0237", "DELETE", "setting", kRows},
    Use{"SiteContentStep_1_0242", "SELECT",
        "formfield formtemplate formtemplatefield queryfieldsrc textembed"},
    Use{"SiteContentStep_1_0242", "SELECT", "querytable", kRows},
    Use{"SiteContentStep_1_0242", "INSERT", "textembed textembedproperty", kRows},
    Use{"SiteContentStep_1_0242", "UPDATE", "textembedproperty text", kRows},
    Use{"SiteContentStep_1_0254", "SELECT", "css"},
    Use{"SiteContentStep_1_0254", "UPDATE", "attribute tag"},
    Use{"SiteContentStep_1_0254", "UPDATE", "css", kRows},
    Use{"SiteContentStep_1_0255", "SELECT", "formfield"},
    Use{"SiteContentStep_1_0255", "ALTER", "", kAlways, "'dhtml', 'memo'"},
    Use{"SiteContentStep_1_0256", "UPDATE", "layoutzone"},
    Use{"SiteContentStep_1_0257", "INSERT", "setting", kAlways, {}, "formtemplateviewfield"},
    Use{"SiteContentStep_1_0257", "UPDATE", "formtemplateviewfield"},
    Use{"SiteContentStep_1_0257", "DELETE", "setting", kAlways, {}, "formtemplateviewfield"},
    Use{"SiteContentStep_1_0259", "SELECT", "form"},
    Use{"SiteContentStep_1_0259", "INSERT", "", kNoRows, kAnyForm},  // they are repaired

    Use{"SiteSchemaStep_1_0019", kAddsIndex, "orderitem"},
    Use{"SiteSchemaStep_1_0020", "SELECT", "searchlog"},
    Use{"SiteSchemaStep_1_0021", kRebuildsTable, "feature"},
    Use{"SiteSchemaStep_1_0038", kCopiesTable, "taskstatus"},
    Use{"SiteSchemaStep_1_0039", kAddsIndex, "forum"},
    Use{"SiteSchemaStep_1_0047", kCopiesTable,
        "formlink customerorder orderitem orderpayment chargeregion chargeregionvalueband "
        "commission",
        kAlways, "'currency'"},
    Use{"SiteSchemaStep_1_0066", kAddsIndex, "feature cachegrantpermission"},
    Use{"SiteSchemaStep_1_0069", kAddsIndex, "cachesetting featurecache"},
    Use{"SiteSchemaStep_1_0075", kAddsIndex, "formlink", kAlways, "'formlink'"},
    Use{"SiteSchemaStep_1_0092", kAddsIndex, "customerorder"},
    Use{"SiteSchemaStep_1_0210", kAddsIndex, "datafeedfield"},
    Use{"SiteSchemaStep_1_0229", kRebuildsTable, "externallookupfeedfield"},
    Use{"SiteSchemaStep_1_0233", kCopiesTable, "formfield"},
    Use{"SiteSchemaStep_1_0238", kAddsIndex, "formfield"},
    Use{"SiteSchemaStep_1_0241", kAddsIndex, "textembed"},
    Use{"SiteSchemaStep_1_0252", kAddsIndex, "textcache"},
    Use{"SiteSchemaStep_1_0259", kAddsIndex, "formtemplatefield"},
    Use{"SiteSchemaStep_1_0260", kAddsIndex, "basket"},
    Use{"SiteContentStep_1_0006", kAddsIndex, "contentupdate"},
    Use{"SiteContentStep_1_0007", kAddsIndex, "charge"},
    Use{"SiteContentStep_1_0010", kAddsIndex, "pagehit"},
    Use{"SiteContentStep_1_0020", kAddsIndex, "navigation"},
    Use{"SiteContentStep_1_0021", kAddsIndex, "feature"},
    Use{"SiteContentStep_1_0023", kAddsIndex, "removedfeature"},
    Use{"SiteContentStep_1_0025", kAddsIndex, "forum"},
    Use{"SiteContentStep_1_0074", kAddsIndex, "tag attribute"},
    Use{"SiteContentStep_1_0255", kCopiesTable, "", kAlways, "'dhtml', 'memo'"},

    Use{"SiteSchemaStep_1_0013", kHasNoPrimaryKey, "textcache"},
    Use{"SiteSchemaStep_1_0023", kHasNoPrimaryKey, "featureperformanceday userperformanceday"},
    Use{"SiteSchemaStep_1_0038", kHasNoPrimaryKey, "taskstatus"},
    Use{"SiteSchemaStep_1_0066", kHasNoPrimaryKey, "cachegrantpermission"},
    Use{"SiteSchemaStep_1_0069", kHasNoPrimaryKey, "cachesetting featurecache"},
    Use{"SiteSchemaStep_1_0084", kHasNoPrimaryKey, "eventwakeup"},
    Use{"SiteSchemaStep_1_0210", kHasNoPrimaryKey, "featurenamevalue"},
    Use{"SiteSchemaStep_1_0225", kHasNoPrimaryKey, "externallookupfeedurl"},
    Use{"SiteSchemaStep_1_0235", kHasNoPrimaryKey, "rssfilelookup"},
    Use{"SiteSchemaStep_1_0238", kHasNoPrimaryKey, "formrecorddelete"},
    Use{"SiteSchemaStep_1_0252", kHasNoPrimaryKey, "textcache"},
    Use{"SiteSchemaStep_1_0257", kHasNoPrimaryKey, "queryindex"},

    Use{"SiteSchemaStep_1_0003", kHasEmptyDefault, "formfield"},
    Use{"SiteSchemaStep_1_0007", kHasEmptyDefault,
        "chargegroup chargeoption orderchargeoption orderpasswordchargeoption ordercharge charge"},
    Use{"SiteSchemaStep_1_0013", kHasEmptyDefault, "textcache"},
    Use{"SiteSchemaStep_1_0014", kHasEmptyDefault, "attribute"},
    Use{"SiteSchemaStep_1_0019", kHasEmptyDefault, "searchlog"},
    Use{"SiteSchemaStep_1_0028", kHasEmptyDefault, "navigation"},
    Use{"SiteSchemaStep_1_0034", kHasEmptyDefault, "orderitem"},
    Use{"SiteSchemaStep_1_0042", kHasEmptyDefault, "formtemplatefield formtemplateinstance"},
    Use{"SiteSchemaStep_1_0052", kHasEmptyDefault, "formtemplatefield"},
    Use{"SiteSchemaStep_1_0054", kHasEmptyDefault, "customerorder security"},
    Use{"SiteSchemaStep_1_0055", kHasEmptyDefault, "customerorder"},
    Use{"SiteSchemaStep_1_0059", kHasEmptyDefault, "formtemplatefield"},
    Use{"SiteSchemaStep_1_0077", kHasEmptyDefault, "orderitem"},
    Use{"SiteSchemaStep_1_0080", kHasEmptyDefault, "customerorder"},
    Use{"SiteSchemaStep_1_0084", kHasEmptyDefault, "eventdelay eventwakeup"},
    Use{"SiteSchemaStep_1_0085", kHasEmptyDefault, "eventpartpropertyvalue"},
    Use{"SiteSchemaStep_1_0093", kHasEmptyDefault, "formtemplatefield"},
    Use{"SiteSchemaStep_1_0096", kHasEmptyDefault, "text"},
    Use{"SiteSchemaStep_1_0210", kHasEmptyDefault, "featuresetting featurenamevalue"},
    Use{"SiteSchemaStep_1_0224", kHasEmptyDefault, "textembedproperty"},
    Use{"SiteSchemaStep_1_0225", kHasEmptyDefault, "formfield externallookupfeedurl"},
    Use{"SiteSchemaStep_1_0227", kHasEmptyDefault, "externallookupfeedfield"},
    Use{"SiteSchemaStep_1_0229", kHasEmptyDefault, "externallookupfeedfield"},
    Use{"SiteSchemaStep_1_0233", kHasEmptyDefault, "formfield externallookupfeedparam"},
    Use{"SiteSchemaStep_1_0236", kHasEmptyDefault,
        "formtemplatefield formtemplateinstancefield image"},
    Use{"SiteSchemaStep_1_0246", kHasEmptyDefault, "formtemplateinstance"},
    Use{"SiteSchemaStep_1_0248", kHasEmptyDefault, "regularexpression"},
    Use{"SiteSchemaStep_1_0251", kHasEmptyDefault, "oauthconsumer", kAlways, "'file', 'image'"},
    Use{"SiteSchemaStep_1_0264", kHasEmptyDefault, "htmlcache"},
    Use{"SiteContentStep_1_0255", kHasEmptyDefault, "", kAlways, "'dhtml', 'memo'"},
};

constexpr std::array kCentralUses{
    Use{"ServerStep_1_0035", "UPDATE", "account"},
    Use{"ServerStep_1_0074", "SELECT", "domain"},
    Use{"ServerStep_1_0074", "UPDATE", "site", kRows},
    Use{"ServerDataStep_1_0026", "SELECT", "defaultdocument"},
    Use{"ServerDataStep_1_0026", "UPDATE", "site", kRows},
    Use{"ServerDataStep_1_0036", "UPDATE", "site"},
    Use{"ServerDataStep_1_0063", "UPDATE", "site"},
    Use{"ServerDataStep_1_0252", "SELECT", "domain site"},
    Use{"ServerDataStep_1_0252", "INSERT", "domain"},
    Use{"ReimportReferenceData", "INSERT", "component componenttype"},
    Use{"ReimportReferenceData", "DELETE", "component componenttype"},

    Use{"ServerStep_1_0039", kAddsIndex, "domain"},
    Use{"ServerStep_1_0040", kCopiesTable, "schedule"},
    Use{"ServerStep_1_0047", kCopiesTable,
        "account accountinvoice accountpayment chargingplan chargingplanusageband"},
    Use{"ServerStep_1_0223", kAddsIndex, "accountpayment"},
    Use{"ServerDataStep_1_0030", kAddsIndex, "site"},
    Use{"ServerStep_1_0002", kHasNoPrimaryKey, "installation"},
    Use{"ServerStep_1_0013", kHasNoPrimaryKey, "installation"},
    Use{"ServerStep_1_0024", kHasNoPrimaryKey, "domain"},
    Use{"ServerStep_1_0039", kHasNoPrimaryKey, "domain"},
    Use{"ServerStep_1_0040", kHasNoPrimaryKey, "schedule"},
    Use{"ServerStep_1_0056", kHasNoPrimaryKey, "schedule"},
    Use{"ServerStep_1_0253", kHasNoPrimaryKey, "installation"},
    Use{"ServerStep_1_0002", kHasEmptyDefault, "installation"},
    Use{"ServerStep_1_0013", kHasEmptyDefault, "installation"},
    Use{"ServerStep_1_0056", kHasEmptyDefault, "schedule"},
    Use{"ServerStep_1_0076", kHasEmptyDefault, "account"},
    Use{"ServerStep_1_0253", kHasEmptyDefault, "emailerror"},
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

std::set<std::string> TablesIn(host::Connection& connection, const std::string& database) {
    std::set<std::string> tables;
    const auto rows = connection.Query(fmt::format(
        "SELECT table_name FROM information_schema.tables WHERE table_schema = '{}';", database));
    while (rows->Next()) {
        tables.insert(rows->Get(0).ToText());
    }
    return tables;
}

FirstNeed::Phase PhaseOf(Kind kind) {
    return kind == Kind::kSite ? FirstNeed::Phase::kSite : FirstNeed::Phase::kCentral;
}

/// Keeps the first of several needs.
void AddNeed(Needs& needs, std::string_view right, const std::string& table, FirstNeed need) {
    const auto [known, isNew] = needs[right].emplace(table, need);
    if (!isNew && need.IsBefore(known->second)) {
        known->second = std::move(need);
    }
}

/// What the ladders of a database need, by its layout and its writes.
class LadderNeeds {
  public:
    LadderNeeds(host::Connection& connection, const PendingDatabase& database, const Layout& layout,
                Needs& needs)
        : connection_(connection),
          database_(database.name),
          tables_(TablesIn(connection, database.name)),
          phase_(PhaseOf(database.kind)),
          pending_(database.Run()),
          needs_(needs) {
        for (const auto& [name, table] : layout.tables) {
            AddTable(name, table);
        }
    }

    void Add(std::span<const Use> uses) {
        for (const Use& use : uses) {
            const bool isThere = use.where.empty() || tables_.contains(std::string(use.where));
            if (!isThere || !pending_.Has(use.step)) {
                continue;
            }
            for (const std::string& table : SplitAtBlanks(use.tables)) {
                if (tables_.contains(table)) {
                    AddUse(use, table);
                }
            }
            if (!use.fields.empty()) {
                AddForms(use);
            }
        }
    }

  private:
    void Need(std::string_view right, const std::string& table, std::string_view step,
              bool dependsOnRows = false) {
        AddNeed(needs_, right, table,
                {phase_, pending_.Place(step), std::string(step), order_++, dependsOnRows});
    }

    /// The step reads the rows that it changes.
    void AddUse(const Use& use, const std::string& table) {
        const bool dependsOnRows = use.when == Use::When::kDependsOnRows;
        if (use.need == "ALTER") {
            AddChange(table, use.step);
            return;
        }
        Need(use.need, table, use.step, dependsOnRows);
        const bool changesRows = use.need == "UPDATE" || use.need == "DELETE";
        if (changesRows) {
            Need("SELECT", table, use.step, dependsOnRows);
        }
        if (use.when != Use::When::kWritesNoRows && (changesRows || use.need == "INSERT")) {
            Need(kWritesRows, table, use.step, dependsOnRows);
        }
    }

    /// The columns or keys of a table are looked at before they are changed, but for two tables:
    /// attribute and formloadingproperty.
    void AddChange(const std::string& table, std::string_view step) {
        if (step != "SiteSchemaStep_1_0014" && step != "SiteSchemaStep_1_0032") {
            Need("SELECT", table, step);
        }
        Need("ALTER", table, step);
    }

    void AddTable(const std::string& name, const Layout::Table& table) {
        const bool isMade = pending_.Has(table.step) && IsFollowed(name);
        if (!tables_.contains(name) && !isMade && table.optional) {
            return;
        }
        tables_.insert(name);  // a table may be hidden from a user without rights
        AddNeed(needs_, "SELECT", name, {});
        if (isMade) {
            Need("CREATE", name, table.step);
        }
        for (const auto& [key, item] : table.items) {
            if (pending_.Has(item.step) && item.step != table.step) {
                AddChange(name, item.step);
            }
        }
    }

    /// False for a table whose leader is not there.
    bool IsFollowed(std::string_view table) const {
        const auto follower = std::find_if(kFollowers.begin(), kFollowers.end(),
                                           [&](const Follower& one) { return one.table == table; });
        return follower == kFollowers.end() || tables_.contains(std::string(follower->leader));
    }

    void AddForms(const Use& use) {
        const std::string forms =
            use.fields == kAnyForm
                ? fmt::format("SELECT formfeatureid FROM {}.form;", database_)
                : fmt::format("SELECT DISTINCT featureid FROM {}.formfield WHERE type IN({});",
                              database_, use.fields);
        try {
            const auto rows = connection_.Query(forms);
            while (rows->Next()) {
                const Value id = rows->Get(0);
                const std::string table = "form_" + (id.IsNull() ? "" : id.ToText());
                if (tables_.contains(table)) {
                    AddUse(use, table);
                    Need("SELECT", table, use.step);
                }
            }
        } catch (const HostError&) {
            // There are no forms, or they may not be read, which is a finding of its own.
        }
    }

    host::Connection& connection_;
    const std::string& database_;
    std::set<std::string> tables_;  ///< that are there, or will be
    FirstNeed::Phase phase_;
    PendingRun pending_;
    int order_ = 0;
    Needs& needs_;
};

FirstNeed NeedOf(Kind kind, const PendingRun& pending, std::string_view step) {
    return pending.Has(step) ? FirstNeed{PhaseOf(kind), pending.Place(step), std::string(step)}
                             : FirstNeed{PhaseOf(kind)};
}

/// The logs get indexes, where they do not have them.
void AddLogs(host::Connection& connection, const PendingRun& pending, Needs& needs) {
    const FirstNeed need = NeedOf(Kind::kLogs, pending, "ServerDataStep_1_0030");
    if (need.step.empty()) {
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
        AddNeed(needs, "SELECT", log, need);
        if (logs->Get(1).ToText() != "2") {
            for (const std::string_view one :
                 {std::string_view("ALTER"), kAddsIndex, kHasNoPrimaryKey}) {
                AddNeed(needs, one, log, need);
            }
        }
    }
    const auto shown = connection.Query(
        "SELECT 1 FROM information_schema.schemata WHERE schema_name = 'tw_logs';");
    if (!shown->Next()) {  // there may be any
        AddNeed(needs, "SELECT", "tw_%", need);
        AddNeed(needs, "ALTER", "tw_%", need);
    }
}

/// Of the central ladders outside the central database.
void AddRootSite(const PendingRun& pending, Needs& needs) {
    const FirstNeed need = NeedOf(Kind::kRootSite, pending, "ServerDataStep_1_0252");
    FirstNeed ofGroups = need;
    ofGroups.dependsOnRows = true;
    AddNeed(needs, "SELECT", "domain", need);
    AddNeed(needs, "INSERT", "domain", need);
    AddNeed(needs, "SELECT", "group_table", need);
    AddNeed(needs, "SELECT", "domaingroup", ofGroups);
    AddNeed(needs, "INSERT", "domaingroup", ofGroups);
}

/// What the sites below that step need of the central database.
void AddCommissions(const std::vector<PendingDatabase>& pending, Needs& needs) {
    constexpr std::string_view kPaysCommissions = "SiteContentStep_1_0223";
    for (const PendingDatabase& site : pending) {
        if (site.kind != Kind::kSite) {
            continue;
        }
        const PendingRun run = site.Run();
        if (!run.Has(kPaysCommissions)) {
            continue;
        }
        FirstNeed need = NeedOf(Kind::kSite, run, kPaysCommissions);
        need.dependsOnRows = true;
        AddNeed(needs, "SELECT", "account", need);
        AddNeed(needs, "SELECT", "accountpayment", need);
        AddNeed(needs, "UPDATE", "accountpayment", need);
    }
}

}  // namespace

Needs NeedsOf(host::Connection& connection, const std::string& database,
              const std::vector<PendingDatabase>& pending) {
    Needs needs;
    for (const PendingDatabase& one : pending) {
        if (one.name != database) {
            continue;
        }
        switch (one.kind) {
            case Kind::kCentral:
                LadderNeeds(connection, one, CentralLayout(), needs).Add(kCentralUses);
                AddNeed(needs, "UPDATE", "installation", {FirstNeed::Phase::kCentral});
                AddNeed(needs, "UPDATE", "site", {FirstNeed::Phase::kSite});
                AddCommissions(pending, needs);
                break;
            case Kind::kRecord:
                for (const char* table : {"installation", "site", "component"}) {
                    AddNeed(needs, "SELECT", table, {FirstNeed::Phase::kSite});
                }
                AddNeed(needs, "UPDATE", "site", {FirstNeed::Phase::kSite});
                AddCommissions(pending, needs);
                break;
            case Kind::kLogs:
                AddLogs(connection, one.Run(), needs);
                break;
            case Kind::kRootSite:
                AddRootSite(one.Run(), needs);
                break;
            case Kind::kSite:
                LadderNeeds(connection, one, SiteLayout(), needs).Add(kSiteUses);
                break;
        }
    }
    return needs;
}

std::optional<NeedAt> FirstNeedOf(host::Connection& connection,
                                  const std::vector<PendingDatabase>& pending,
                                  const std::vector<std::string_view>& needs) {
    std::optional<NeedAt> first;
    for (const PendingDatabase& database : pending) {
        const bool isSite = database.kind == Kind::kSite;
        // The sites come one after the other, after the central ladders.
        if (first && isSite &&
            (first->need.phase == FirstNeed::Phase::kCentral || !first->need.step.empty())) {
            break;
        }
        const Needs ofDatabase = NeedsOf(connection, database.name, pending);
        for (const std::string_view one : needs) {
            const auto tables = ofDatabase.find(one);
            if (tables == ofDatabase.end()) {
                continue;
            }
            for (const auto& [table, need] : tables->second) {
                if (!first || need.IsBefore(first->need)) {
                    first = NeedAt{database.name, table, need};
                }
            }
        }
    }
    return first;
}

}  // namespace twupdate::cli
