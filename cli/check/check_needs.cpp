#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <span>
#include <sstream>

#include "cli/check/check_finding.h"
#include "cli/check/data_files.h"
#include "cli/server/layout.h"
#include "cli/terminal/text.h"

// Tables and columns that a step names without asking whether they are there.
namespace twupdate::cli {
namespace {

struct Need {
    std::string_view step;
    std::string_view guard;  ///< an optional table without which the step does nothing; or empty
    std::string_view table;
    std::string_view columns;    ///< apart by blanks; none: the table alone
    std::string_view when = {};  ///< a query; without rows the step does not come so far. "{0}"
                                 ///< stands for the database.
};

constexpr std::string_view kAnyCharge = "SELECT 1 FROM {0}.charge";
constexpr std::string_view kLoginPageWithoutEvent =
    "SELECT 1 FROM {0}.feature f LEFT JOIN {0}.event e ON e.featureid = f.featureid AND BINARY "
    "e.name = 'Reset Password' WHERE f.componentid = 100 AND e.eventid IS NULL";
constexpr std::string_view kTreeLinkTag =
    "SELECT 1 FROM {0}.tag WHERE BINARY name LIKE 'span.TreeLink%'";
constexpr std::string_view kHeadingTag =
    "SELECT 1 FROM {0}.tag WHERE BINARY name IN('.heading', '.subheading') AND overrideid <> 0";
constexpr std::string_view kSearchText = "SELECT 1 FROM {0}.text WHERE texttype = 22";
constexpr std::string_view kAnyEmail = "SELECT 1 FROM {0}.email";
constexpr std::string_view kShop = "SELECT 1 FROM {0}.feature WHERE componentid = 1000";
constexpr std::string_view kLoginPage = "SELECT 1 FROM {0}.feature WHERE componentid = 100";
constexpr std::string_view kAnyForm = "SELECT 1 FROM {0}.form";
constexpr std::string_view kManyLinks =
    "SELECT 1 FROM {0}.formfield WHERE type IN('multiformlink', 'productfamily')";
constexpr std::string_view kCanonicalSetting =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid WHERE "
    "BINARY s.name = 'canonical' AND s.string_value <> ''";
constexpr std::string_view kExplicitElements =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid WHERE "
    "BINARY s.name = 'ExplicitLayoutElements' AND s.type = 'text'";
constexpr std::string_view kElementsOfALayout =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid INNER "
    "JOIN {0}.layoutelement e ON e.featureid = o.featureid WHERE BINARY s.name = "
    "'ExplicitLayoutElements' AND s.type = 'text'";
constexpr std::string_view kViewedLinkFields =
    "SELECT 1 FROM {0}.formtemplate v INNER JOIN {0}.formtemplatefield t ON t.featureid = "
    "v.featureid INNER JOIN {0}.queryfieldsrc s ON s.queryfieldid = t.queryfieldid INNER JOIN "
    "{0}.querytable q ON q.tableid = s.tableid INNER JOIN {0}.formfield f ON f.formfieldid = "
    "s.srcfieldid AND f.featureid = q.srctableid WHERE f.type IN('multiformlink', "
    "'productfamily')";
constexpr std::string_view kAnyView = "SELECT 1 FROM {0}.formtemplate";
constexpr std::string_view kAnyStylesheet = "SELECT 1 FROM {0}.css";
constexpr std::string_view kUploads =
    "SELECT 1 FROM {0}.formfield f INNER JOIN information_schema.columns c ON c.table_schema = "
    "'{0}' AND c.table_name = CONCAT('form_', f.featureid) AND c.column_name = CONCAT('field_', "
    "f.formfieldid) WHERE f.type IN('file', 'image')";
constexpr std::string_view kOrderCommission = "SELECT 1 FROM {0}.commission WHERE orderid > 0";

// Columns of the indexes that steps add are not here: the layout knows them.
constexpr std::array kSiteNeeds{
    Need{"SiteSchemaStep_1_0014", "", "attribute", "value"},
    Need{"SiteSchemaStep_1_0018", "", "layoutzone", ""},
    Need{"SiteSchemaStep_1_0018", "", "setting", ""},
    Need{"SiteSchemaStep_1_0035", "formfield", "formfield", "featureid formfieldid type"},
    Need{"SiteSchemaStep_1_0042", "formtemplatefield", "formtemplateinstance", ""},
    Need{"SiteSchemaStep_1_0047", "formfield", "formfield", "featureid formfieldid type"},
    Need{"SiteSchemaStep_1_0075", "formfield", "formfield",
         "formfieldid featureid type targetformfeatureid"},
    Need{"SiteSchemaStep_1_0075", "formfield", "formlink", ""},
    Need{"SiteSchemaStep_1_0075", "formfield", "formlink", "formfieldid", kManyLinks},
    Need{"SiteSchemaStep_1_0077", "formfield", "formfield",
         "formfieldid featureid type targetformfeatureid options"},
    Need{"SiteSchemaStep_1_0077", "formfield", "formlink", ""},
    Need{"SiteSchemaStep_1_0077", "formfield", "formlink", "formfieldid", kManyLinks},
    Need{"SiteSchemaStep_1_0083", "formtemplateinstance", "formtemplateinstancefield", ""},
    Need{"SiteSchemaStep_1_0091", "formfieldexpressionfield", "formfieldexpressionfield",
         "prefix suffix"},
    Need{"SiteSchemaStep_1_0092", "formtemplatefield", "formtemplatefield", "prefix suffix"},
    Need{"SiteSchemaStep_1_0095", "formfield", "formfield", "type"},
    Need{"SiteSchemaStep_1_0225", "externallookupfeedfield", "featurenamevalue",
         "featureid value sequence type"},
    Need{"SiteSchemaStep_1_0233", "formfield", "formfield", "defaultvalue"},
    Need{"SiteSchemaStep_1_0233", "externallookupfeedfield", "featurenamevalue",
         "featureid name value sequence type"},
    Need{"SiteSchemaStep_1_0233", "externallookupfeedfield", "externallookupfeedfield",
         "featureid formfieldid minrequestlength maxrequestlength requestparamname"},
    Need{"SiteSchemaStep_1_0236", "formtemplatefield", "formtemplateinstancefield", ""},
    Need{"SiteSchemaStep_1_0251", "formfield", "formfield", "featureid formfieldid type"},
    Need{"SiteSchemaStep_1_0251", "formfield", "form", "formfeatureid securefiles", kUploads},
    Need{"SiteContentStep_1_0001", "formtemplateinstancefield", "formtemplateinstancefield",
         "operator valuetype"},
    Need{"SiteContentStep_1_0003", "formfield", "formfield", "blankoptiontext defaultvalue"},
    Need{"SiteContentStep_1_0005", "", "layoutzone", "navdepth navoffset navuntil navfrom"},
    Need{"SiteContentStep_1_0007", "charge", "charge", "chargeid featureid name password sequence"},
    Need{"SiteContentStep_1_0007", "charge", "chargetocharge", "chargeid applytochargeid",
         kAnyCharge},
    Need{"SiteContentStep_1_0007", "charge", "chargetoitemtype", "chargeid applytoitemtypeid",
         kAnyCharge},
    Need{"SiteContentStep_1_0008", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0008", "", "event", "eventid featureid name"},
    Need{"SiteContentStep_1_0008", "", "email", "emailid featureid type subject message",
         kLoginPageWithoutEvent},
    Need{"SiteContentStep_1_0008", "", "eventpart", "eventpartid eventid name sequence",
         kLoginPageWithoutEvent},
    Need{"SiteContentStep_1_0008", "", "emailevent", "eventpartid emailid", kLoginPageWithoutEvent},
    Need{"SiteContentStep_1_0009", "", "tag", "tagid name templateid overrideid"},
    Need{"SiteContentStep_1_0009", "", "attribute", "attributeid tagid name value", kTreeLinkTag},
    Need{"SiteContentStep_1_0012", "", "tagdependancy", "tagname inheritsequence"},
    Need{"SiteContentStep_1_0017", "", "layoutelement", "showtype showtoall"},
    Need{"SiteContentStep_1_0017", "", "tag", "tagid name templateid overrideid"},
    Need{"SiteContentStep_1_0017", "", "attribute", "attributeid tagid name value", kHeadingTag},
    Need{"SiteContentStep_1_0019", "", "text", "textid featureid texttype"},
    Need{"SiteContentStep_1_0019", "", "text", "text", kSearchText},
    Need{"SiteContentStep_1_0019", "", "override", "overrideid featureid", kSearchText},
    Need{"SiteContentStep_1_0019", "", "setting",
         "settingid overrideid name type string_value text", kSearchText},
    Need{"SiteContentStep_1_0020", "", "setting",
         "settingid overrideid name type text integer_value"},
    Need{"SiteContentStep_1_0020", "", "navigation", "navigationid parentid sequence"},
    Need{"SiteContentStep_1_0021", "", "feature", "hidden navigationstyle"},
    Need{"SiteContentStep_1_0026", "", "layoutelement", "name sequence"},
    Need{"SiteContentStep_1_0026", "", "layoutzone", "flyoutjs"},
    Need{"SiteContentStep_1_0026", "", "setting", "settingid overrideid name type"},
    Need{"SiteContentStep_1_0026", "", "override", "overrideid featureid"},
    Need{"SiteContentStep_1_0026", "", "layoutelement", "elementid featureid", kExplicitElements},
    Need{"SiteContentStep_1_0026", "", "setting", "text integer_value", kElementsOfALayout},
    Need{"SiteContentStep_1_0031", "", "feature", "featureid componentid blankcontent"},
    Need{"SiteContentStep_1_0031", "", "text", "featureid subfeatureid text"},
    Need{"SiteContentStep_1_0037", "forum", "forum", "elementid threadid removed"},
    Need{"SiteContentStep_1_0037", "forum", "forum", "published",
         "SELECT 1 FROM {0}.forum WHERE elementid = threadid AND removed = 0"},
    Need{"SiteContentStep_1_0039", "forum", "forum", "threadroot elementid threadid"},
    Need{"SiteContentStep_1_0042", "formtemplatefield", "formtemplatefield",
         "linktype linkformtemplatefieldid"},
    Need{"SiteContentStep_1_0043", "", "email", "emailid"},
    Need{"SiteContentStep_1_0043", "", "email", "fromlist tolist cclist bcclist subject message",
         kAnyEmail},
    Need{"SiteContentStep_1_0044", "", "text", "textid featureid subfeatureid texttype text"},
    Need{"SiteContentStep_1_0044", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0049", "", "email",
         "emailid fromlist tolist cclist bcclist subject message"},
    Need{"SiteContentStep_1_0050", "", "email", "fromlist tolist cclist bcclist subject message"},
    Need{"SiteContentStep_1_0054", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0054", "", "override", "overrideid featureid", kShop},
    Need{"SiteContentStep_1_0054", "", "setting",
         "settingid overrideid name type string_value integer_value", kShop},
    Need{"SiteContentStep_1_0054", "customerorder", "customerorder",
         "orderid billingaddress billingaddress1 billingaddress2 shippingaddress "
         "shippingaddress1 shippingaddress2"},
    Need{"SiteContentStep_1_0054", "", "security", "userid address address1 address2"},
    Need{"SiteContentStep_1_0054", "datafeedfield", "datafeedfield", "prompt"},
    Need{"SiteContentStep_1_0055", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0055", "", "event", "eventid featureid name"},
    Need{"SiteContentStep_1_0061", "", "layoutzone", "zoneid elementid"},
    Need{"SiteContentStep_1_0061", "", "tag",
         "tagid name templateid overrideid cssid media subownerid"},
    Need{"SiteContentStep_1_0066", "", "cache", "cacheid type templateid"},
    Need{"SiteContentStep_1_0066", "", "feature", "permissioncacheid"},
    Need{"SiteContentStep_1_0068", "formtemplateviewfield", "formtemplateviewfield",
         "hideitemifnooptions formtemplateviewfieldtype"},
    Need{"SiteContentStep_1_0069", "", "event", "name"},
    Need{"SiteContentStep_1_0069", "customerorder", "customerorder", "orderid live"},
    Need{"SiteContentStep_1_0069", "customerorder", "orderpayment", "orderid live"},
    Need{"SiteContentStep_1_0072", "", "tag", "cssorder name"},
    Need{"SiteContentStep_1_0081", "", "setting",
         "settingid overrideid name type string_value text textlen integer_value float_value"},
    Need{"SiteContentStep_1_0081", "", "override", "overrideid featureid"},
    Need{"SiteContentStep_1_0081", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0082", "", "cache", "cacheid type templateid"},
    Need{"SiteContentStep_1_0082", "", "feature", "stylecacheid"},
    Need{"SiteContentStep_1_0082", "", "tag", "cssorder name"},
    Need{"SiteContentStep_1_0089", "", "event", "name"},
    Need{"SiteContentStep_1_0091", "form", "form", "formfeatureid"},
    Need{"SiteContentStep_1_0091", "form", "override", "overrideid featureid", kAnyForm},
    Need{"SiteContentStep_1_0091", "form", "setting",
         "settingid overrideid name type integer_value", kAnyForm},
    Need{"SiteContentStep_1_0091", "form", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0099", "", "tag", "cssorder name"},
    Need{"SiteContentStep_1_0222", "", "feature", "featureid componentid"},
    Need{"SiteContentStep_1_0222", "", "override", "overrideid featureid", kLoginPage},
    Need{"SiteContentStep_1_0222", "", "setting",
         "settingid overrideid name type string_value text", kLoginPage},
    Need{"SiteContentStep_1_0223", "commission", "commission", "commissionid orderid"},
    Need{"SiteContentStep_1_0223", "commission", "commission", "userid commission created",
         kOrderCommission},
    Need{"SiteContentStep_1_0225", "formfield", "formfield", "options type"},
    Need{"SiteContentStep_1_0229", "externallookupfeedfield", "externallookupfeedfield",
         "fieldid featureid formfieldid"},
    Need{"SiteContentStep_1_0229", "externallookupfeedfield", "datafeedfield",
         "fieldid featureid pointer"},
    Need{"SiteContentStep_1_0234", "formtemplate", "formtemplate",
         "featureid customviewconfigured qbxviewconfigured"},
    Need{"SiteContentStep_1_0234", "formtemplate", "text", "featureid subfeatureid text"},
    Need{"SiteContentStep_1_0236", "formtemplateinstancefield", "formtemplateinstancefield",
         "valuetype value"},
    Need{"SiteContentStep_1_0237", "", "setting", "settingid overrideid name string_value"},
    Need{"SiteContentStep_1_0237", "", "override", "overrideid featureid"},
    Need{"SiteContentStep_1_0237", "", "navigation", "navigationid featureid canonical",
         kCanonicalSetting},
    Need{"SiteContentStep_1_0237", "", "directurl",
         "directurlid featureid navigationid url canonical", kCanonicalSetting},
    Need{"SiteContentStep_1_0237", "formfield", "formfield", "featureid directurlreplacementchar"},
    Need{"SiteContentStep_1_0242", "formtemplate", "formtemplate", "featureid"},
    Need{"SiteContentStep_1_0242", "formtemplate", "formtemplatefield",
         "formtemplatefieldid queryfieldid featureid", kAnyView},
    Need{"SiteContentStep_1_0242", "formtemplate", "queryfieldsrc",
         "queryfieldid tableid srcfieldid", kAnyView},
    Need{"SiteContentStep_1_0242", "formtemplate", "querytable", "tableid srctableid", kAnyView},
    Need{"SiteContentStep_1_0242", "formtemplate", "formfield",
         "formfieldid featureid targetformfeatureid type", kAnyView},
    Need{"SiteContentStep_1_0242", "formtemplate", "text", "textid featureid text previoustext",
         kViewedLinkFields},
    Need{"SiteContentStep_1_0254", "", "attribute", "name value"},
    Need{"SiteContentStep_1_0254", "", "css", "cssid"},
    Need{"SiteContentStep_1_0254", "", "css", "cachebuilt", kAnyStylesheet},
    Need{"SiteContentStep_1_0254", "", "tag", "cachebuilt cssid", kAnyStylesheet},
    Need{"SiteContentStep_1_0255", "formfield", "formfield", "formfieldid featureid type"},
    Need{"SiteContentStep_1_0256", "", "layoutzone", "flyoutjs"},
    Need{"SiteContentStep_1_0257", "formtemplateviewfield", "formtemplateviewfield",
         "float_value formtemplateviewfieldtype"},
    Need{"SiteContentStep_1_0257", "", "setting", "settingid overrideid name type integer_value"},
    Need{"SiteContentStep_1_0259", "form", "form", "formfeatureid"},
};

constexpr std::string_view kRoot = "SELECT 1 FROM {0}.site WHERE parentsiteid = 0 AND siteid > 0";

constexpr std::array kCentralNeeds{
    Need{"ServerStep_1_0056", "schedule", "schedule", "schedule"},
    Need{"ServerStep_1_0074", "", "site", "siteid harddeleted"},
    Need{"ServerStep_1_0074", "", "domain", "siteid"},
    Need{"ServerDataStep_1_0026", "", "defaultdocument", "siteid document"},
    Need{"ServerDataStep_1_0036", "", "site", "siteid parentsiteid"},
    Need{"ServerDataStep_1_0036", "", "site", "parentsiteuserid template deleted harddeleted",
         kRoot},
    Need{"ServerDataStep_1_0063", "", "site", "parentsiteid"},
    Need{"ServerDataStep_1_0252", "", "site", "siteid parentsiteid"},
    Need{"ServerDataStep_1_0252", "", "domain", "siteid domainname ipaddress tcpport", kRoot},
};

/// The one step that asks whether a table is there that every installation has.
constexpr std::string_view kTestsItsTable = "ServerStep_1_0056";

/// True for a step that alters the column and does not add it.
bool IsAlteration(std::string_view step, std::string_view column) {
    constexpr std::array<std::string_view, 6> kAlterations{
        "SiteSchemaStep_1_0014", "SiteSchemaStep_1_0035", "SiteSchemaStep_1_0047",
        "ServerStep_1_0035",     "ServerStep_1_0047",     "ServerStep_1_0056"};
    return column == "defaultvalue" ||
           std::find(kAlterations.begin(), kAlterations.end(), step) != kAlterations.end();
}

/// The step that adds the column or makes it with its table; empty for one that is there from the
/// start.
std::string_view Maker(const Layout& expected, std::string_view table, std::string_view column) {
    const auto found = expected.tables.find(std::string(table));
    if (found == expected.tables.end()) {
        return {};
    }
    const auto item = found->second.items.find(std::string(column));
    if (item == found->second.items.end()) {
        return {};
    }
    const std::string_view step = item->second.step;
    if (IsAlteration(step, column)) {
        return column == "float_value" ? "SiteSchemaStep_1_0018" : std::string_view();
    }
    return step;
}

/// What is missing, and the first step that misses it.
class Missing {
  public:
    explicit Missing(const PendingRun& pending) : pending_(pending) {}

    /// @param column  empty: the table
    void Add(std::string_view table, std::string_view column, std::string_view step) {
        auto& first = steps_.emplace(std::pair(table, column), step).first->second;
        if (pending_.Place(step) < pending_.Place(first)) {
            first = step;
        }
    }

    void Add(const Missing& others) {
        for (const auto& [what, step] : others.steps_) {
            Add(what.first, what.second, step);
        }
    }

    bool IsEmpty() const { return steps_.empty(); }

    void Report(const std::string& database, std::vector<CheckFinding>& findings) const {
        for (const auto& [what, step] : steps_) {
            const auto& [table, column] = what;
            findings.push_back({database, table, step,
                                column.empty() ? "the table is missing"
                                               : fmt::format("the column {} is missing", column),
                                "bring it back from a backup"});
        }
    }

  private:
    const PendingRun& pending_;
    std::map<std::pair<std::string, std::string>, std::string> steps_;
};

/// The names of a list "a b" or "a, b(15)".
std::vector<std::string> Names(std::string_view list) {
    std::string text(list);
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    std::vector<std::string> names;
    for (std::string word; words >> word;) {
        names.push_back(word.substr(0, word.find('(')));
    }
    return names;
}

struct Databases {
    std::string name;
    const Layout& actual;
    const Layout& expected;
    const PendingRun& pending;
};

bool TableIn(const Layout& layout, std::string_view table) {
    return layout.tables.contains(std::string(table));
}

void AddMissingColumns(const Databases& in, std::string_view step, std::string_view table,
                       std::string_view columns, Missing& missing) {
    const Layout::Table& actual = in.actual.tables.at(std::string(table));
    for (const std::string& column : Names(columns)) {
        const std::string_view maker = Maker(in.expected, table, column);
        // A step that adds an index has added the column just before.
        const bool made =
            in.pending.Has(maker) && in.pending.Place(maker) <= in.pending.Place(step);
        if (!actual.items.contains(column) && !made) {
            missing.Add(table, column, step);
        }
    }
}

/// The steps add what the layout says, and alter a table that does not exist.
void AddNeedsOfTheLayout(const Databases& in, Missing& missing) {
    for (const auto& [name, table] : in.expected.tables) {
        const bool due = table.step.empty() || !in.pending.Has(table.step);
        const bool exists = TableIn(in.actual, name);
        for (const auto& [itemName, item] : table.items) {
            if (!in.pending.Has(item.step) || item.step == table.step) {
                continue;
            }
            if (!exists && due && !table.optional && item.step != kTestsItsTable) {
                missing.Add(name, "", item.step);
            } else if (exists && itemName.starts_with("KEY ") &&
                       !in.actual.tables.at(name).items.contains(itemName)) {
                const std::string& definition = item.definitions.front();
                const auto open = definition.find('(');
                AddMissingColumns(in, item.step, name,
                                  definition.substr(open + 1, definition.size() - open - 2),
                                  missing);
            }
        }
    }
}

void AddNeedsOfTheSteps(const Session& session, const Databases& in, std::span<const Need> needs,
                        Missing& missing) {
    for (const Need& need : needs) {
        if (!in.pending.Has(need.step) ||
            (!need.guard.empty() && !TableIn(in.actual, need.guard))) {
            continue;
        }
        Missing these(in.pending);
        if (TableIn(in.actual, need.table)) {
            AddMissingColumns(in, need.step, need.table, need.columns, these);
        } else if (const auto table = in.expected.tables.find(std::string(need.table));
                   table == in.expected.tables.end() || !in.pending.Has(table->second.step)) {
            these.Add(need.table, "", need.step);
        }
        if (!these.IsEmpty() &&
            (need.when.empty() || HasRows(*session.GetConnection(), in.name, need.when))) {
            missing.Add(these);
        }
    }
}

/// Columns of which an index takes more characters than somebody has left them. The sites get such
/// indexes with new tables alone.
void CheckPrefixes(const Databases& in, std::vector<CheckFinding>& findings) {
    static const std::regex prefix(R"(KEY (\w+)\((\w+)\((\d+)\)\))");
    for (const auto& [name, actual] : in.actual.tables) {
        const auto expected = in.expected.tables.find(name);
        if (expected == in.expected.tables.end()) {
            continue;
        }
        for (const auto& [key, item] : expected->second.items) {
            std::smatch parts;
            if (!in.pending.Has(item.step) || actual.items.contains(key) ||
                !std::regex_match(item.definitions.front(), parts, prefix)) {
                continue;
            }
            const auto column = actual.items.find(parts[2]);
            if (column == actual.items.end()) {
                continue;  // a finding of its own
            }
            const auto words = SplitAtBlanks(column->second.definitions.front());
            if (auto finding = PrefixFinding(in.name, name, item.step,
                                             {parts[1], parts[2], parts[3]}, words.at(1))) {
                findings.push_back(std::move(*finding));
            }
        }
    }
}

/// Tables that get a column as their primary key and have another key already.
void CheckPrimaryKeys(const std::string& database, const Layout& layout, const PendingRun& pending,
                      std::vector<CheckFinding>& findings) {
    struct NewKey {
        std::string_view step;
        std::string_view table;
        std::string_view column;
    };
    constexpr std::array kNewKeys{
        NewKey{"SiteSchemaStep_1_0020", "searchlog", "searchlogid"},
        NewKey{"SiteSchemaStep_1_0021", "searchlog", "searchlogid"},
        NewKey{"SiteSchemaStep_1_0229", "externallookupfeedfield", "lookupfieldid"}};
    std::set<std::string_view> found;
    for (const NewKey& key : kNewKeys) {
        const auto table = layout.tables.find(std::string(key.table));
        if (!pending.Has(key.step) || table == layout.tables.end() ||
            table->second.items.contains(std::string(key.column)) ||
            !table->second.items.contains("PRIMARY KEY") || !found.insert(key.table).second) {
            continue;
        }
        findings.push_back(
            {database, std::string(key.table), std::string(key.step),
             fmt::format("{} is to be the primary key, and the table has another one, {}",
                         key.column, table->second.items.at("PRIMARY KEY").definitions.front()),
             fmt::format("ALTER TABLE {}.{} DROP PRIMARY KEY", database, key.table)});
    }
}

}  // namespace

std::optional<CheckFinding> PrefixFinding(const std::string& database, const std::string& table,
                                          const std::string& step, const PrefixIndex& index,
                                          const std::string& type) {
    static const std::regex unlimited(".*(text|blob)", std::regex::icase);
    static const std::regex limited(R"(.*(?:char|binary)\((\d+)\))", std::regex::icase);
    std::smatch width;
    if (std::regex_match(type, unlimited) ||
        (std::regex_match(type, width, limited) &&
         std::stoull(width[1]) >= std::stoull(index.characters))) {
        return std::nullopt;
    }
    CheckFinding finding{database, table, step,
                         fmt::format("{} takes the first {} characters of {}, which is {}",
                                     index.name, index.characters, index.column, type),
                         fmt::format("make {} as wide as the layout has it", index.column)};
    return finding;
}

void CheckSiteNeeds(const Session& session, const std::string& database, const Layout& layout,
                    const PendingRun& pending, std::vector<CheckFinding>& findings) {
    const Databases in{database, layout, SiteLayout(), pending};
    Missing missing(pending);
    AddNeedsOfTheLayout(in, missing);
    AddNeedsOfTheSteps(session, in, kSiteNeeds, missing);
    missing.Report(database, findings);
    CheckPrimaryKeys(database, layout, pending, findings);
}

void CheckCentralNeeds(const Session& session, const CheckScope& scope, const Layout& layout,
                       const PendingRun& pending, std::vector<CheckFinding>& findings) {
    const Databases in{"tw_tarnwick", layout, CentralLayout(), pending};
    Missing missing(pending);
    AddNeedsOfTheLayout(in, missing);
    AddNeedsOfTheSteps(session, in, kCentralNeeds, missing);
    for (const DataFile& file : kDataFiles) {
        const std::string name = fmt::format("{}Data.txt", file.table);
        std::error_code ignored;
        if (std::filesystem::is_regular_file(scope.installFolder / "resources" / name, ignored)) {
            const Need need{"ReimportReferenceData", "", file.table, file.columns};
            AddNeedsOfTheSteps(session, in, std::span(&need, 1), missing);
        }
    }
    missing.Report(in.name, findings);
    CheckPrefixes(in, findings);
}

}  // namespace twupdate::cli
