#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <set>

#include "cli/check/check_finding.h"
#include "cli/terminal/text.h"

// What steps write of their own accord: rows that they add without naming every column, and fixed
// texts and numbers, which a column can be too narrow for. In queries "{0}" stands for the
// database.
namespace twupdate::cli {
namespace {

/// An INSERT. The server looks at the columns before it looks for rows, so that an INSERT ...
/// SELECT without rows fails as well.
struct Insert {
    std::string_view step;
    std::string_view guard;  ///< an optional table without which the step does nothing; or empty
    std::string_view table;
    std::string_view columns;    ///< that it names, apart by blanks
    std::string_view when;       ///< a query; without rows the INSERT is not sent. Empty: it is.
    bool asksId = false;         ///< and reads the new row's id, as a 32-bit number
    std::string_view rows = {};  ///< of an INSERT ... SELECT: a query; without rows it adds none
};

/// A text or number that a step writes into a column.
struct Constant {
    std::string_view step;
    std::string_view guard;
    std::string_view table;
    std::string_view column;
    std::string_view value;
    std::string_view when;  ///< a query; without rows it is not written
};

constexpr std::string_view kAnyCharge = "SELECT 1 FROM {0}.charge";
constexpr std::string_view kNewResetEvent =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name IN('Reset Password', 'Reset Password "
    "(being added)'))";
constexpr std::string_view kNewResetEmail =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name = 'Reset Password') AND NOT EXISTS("
    "SELECT 1 FROM {0}.email m WHERE m.featureid = f.featureid AND BINARY m.type = "
    "'resetpassword')";
constexpr std::string_view kNewResetPart =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name = 'Reset Password') AND NOT EXISTS("
    "SELECT 1 FROM {0}.event i INNER JOIN {0}.eventpart p ON p.eventid = i.eventid WHERE "
    "i.featureid = f.featureid AND BINARY i.name = 'Reset Password (being added)' AND p.sequence = "
    "1)";
constexpr std::string_view kNewResetLink =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name = 'Reset Password') AND NOT EXISTS("
    "SELECT 1 FROM {0}.event i INNER JOIN {0}.eventpart p ON p.eventid = i.eventid INNER JOIN "
    "{0}.emailevent l ON l.eventpartid = p.eventpartid INNER JOIN {0}.email m ON m.emailid = "
    "l.emailid WHERE i.featureid = f.featureid AND m.featureid = f.featureid AND BINARY i.name = "
    "'Reset Password (being added)' AND p.sequence = 1 AND BINARY m.type = 'resetpassword')";
constexpr std::string_view kTreeLinkTag =
    "SELECT 1 FROM {0}.tag WHERE BINARY name LIKE 'span.TreeLink%'";
constexpr std::string_view kNewTreeTag =
    "SELECT 1 FROM {0}.tag t WHERE BINARY t.name LIKE 'span.TreeLink%' AND NOT EXISTS(SELECT 1 "
    "FROM {0}.tag n WHERE n.templateid = t.templateid AND n.overrideid = t.overrideid AND BINARY "
    "n.name = REPLACE(t.name, 'span.TreeLink', 'div.twTreeNode span.SiteTreeLink[suffix]'))";
constexpr std::string_view kTreeAttribute =
    "SELECT 1 FROM {0}.tag t INNER JOIN {0}.attribute a ON a.tagid = t.tagid WHERE BINARY t.name "
    "LIKE 'span.TreeLink%' AND a.name <> 'height' AND a.name NOT LIKE 'padding%' AND NOT EXISTS("
    "SELECT 1 FROM {0}.tag n INNER JOIN {0}.attribute w ON w.tagid = n.tagid WHERE n.templateid = "
    "t.templateid AND n.overrideid = t.overrideid AND BINARY n.name = REPLACE(t.name, "
    "'span.TreeLink', 'div.twTreeNode span.SiteTreeLink[suffix]') AND BINARY w.name = BINARY "
    "a.name)";
constexpr std::string_view kHeadingTag =
    "SELECT 1 FROM {0}.tag WHERE BINARY name IN('.heading', '.subheading') AND overrideid <> 0";
constexpr std::string_view kNewHeadingTag =
    "SELECT 1 FROM {0}.tag t WHERE BINARY t.name IN('.heading', '.subheading') AND t.overrideid <> "
    "0 AND NOT EXISTS(SELECT 1 FROM {0}.tag n WHERE n.overrideid = t.overrideid AND BINARY n.name "
    "= IF(BINARY t.name = '.heading', 'h1', 'h2'))";
constexpr std::string_view kHeadingAttribute =
    "SELECT 1 FROM {0}.tag t INNER JOIN {0}.attribute a ON a.tagid = t.tagid WHERE BINARY t.name "
    "IN('.heading', '.subheading') AND t.overrideid <> 0 AND NOT EXISTS(SELECT 1 FROM {0}.tag n "
    "INNER JOIN {0}.attribute w ON w.tagid = n.tagid WHERE n.overrideid = t.overrideid AND BINARY "
    "n.name = IF(BINARY t.name = '.heading', 'h1', 'h2') AND BINARY w.name = BINARY a.name)";
constexpr std::string_view kTargetInstance =
    "SELECT 1 FROM {0}.setting s WHERE BINARY s.name = 'TargetInstanceId' AND s.type = 'integer' "
    "AND s.integer_value > 0 AND NOT EXISTS(SELECT 1 FROM {0}.setting i WHERE i.overrideid = "
    "s.overrideid AND BINARY i.name = 'TargetInstanceIds')";
constexpr std::string_view kNewElementType =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid INNER "
    "JOIN {0}.layoutelement e ON e.featureid = o.featureid WHERE BINARY s.name = "
    "'ExplicitLayoutElements' AND s.type = 'text' AND NOT EXISTS(SELECT 1 FROM {0}.setting t WHERE "
    "t.overrideid = s.overrideid AND BINARY t.name = 'LayoutElementType')";
constexpr std::string_view kNewElementIds =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid INNER "
    "JOIN {0}.layoutelement e ON e.featureid = o.featureid WHERE BINARY s.name = "
    "'ExplicitLayoutElements' AND s.type = 'text' AND NOT EXISTS(SELECT 1 FROM {0}.setting t WHERE "
    "t.overrideid = s.overrideid AND BINARY t.name = 'LayoutElementIds')";
constexpr std::string_view kShopOfNoOverride =
    "SELECT 1 FROM {0}.feature f LEFT JOIN {0}.override o ON o.featureid = f.featureid WHERE "
    "f.componentid = 1000 AND o.overrideid IS NULL";
constexpr std::string_view kNewBillingSequence =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.setting s WHERE s.overrideid = (SELECT MIN(overrideid) FROM {0}.override o WHERE "
    "o.featureid = f.featureid) AND BINARY s.name = 'BillingDisplaySequence')";
constexpr std::string_view kNewShippingSequence =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.setting s WHERE s.overrideid = (SELECT MIN(overrideid) FROM {0}.override o WHERE "
    "o.featureid = f.featureid) AND BINARY s.name = 'ShippingDisplaySequence')";
constexpr std::string_view kShopOfNoFlags =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.override o INNER JOIN {0}.setting s ON s.overrideid = o.overrideid WHERE o.featureid = "
    "f.featureid AND (BINARY s.name = 'BillingDisplaySequence' OR s.type = 'boolean' AND BINARY "
    "s.name REGEXP '^Show(Billing|Shipping)(Name|Organization|Address|Country|PostCode|Email)$' OR "
    "s.type = 'boolean' AND BINARY s.name = 'ShowBillingTelephone'))";
constexpr std::string_view kNewPaymentEvent =
    "SELECT 1 FROM {0}.feature f WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name IN('Order Payment', 'Order Completion', "
    "'Order Payment (being added)'))";
constexpr std::string_view kNewPaymentPart =
    "SELECT 1 FROM {0}.feature f INNER JOIN {0}.email m ON m.featureid = f.featureid AND BINARY "
    "m.type = 'postorderpayment' WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.event e WHERE e.featureid = f.featureid AND BINARY e.name IN('Order Payment', 'Order "
    "Completion')) AND (SELECT COUNT(*) FROM {0}.email a WHERE a.featureid = f.featureid AND "
    "BINARY a.type = 'postorderpayment') > (SELECT COUNT(*) FROM {0}.event i INNER JOIN "
    "{0}.eventpart p ON p.eventid = i.eventid WHERE i.featureid = f.featureid AND BINARY i.name = "
    "'Order Payment (being added)')";
constexpr std::string_view kNewPaymentLink =
    "SELECT 1 FROM {0}.feature f INNER JOIN {0}.email m ON m.featureid = f.featureid AND BINARY "
    "m.type = 'postorderpayment' WHERE f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.event e WHERE e.featureid = f.featureid AND BINARY e.name IN('Order Payment', 'Order "
    "Completion')) AND NOT EXISTS(SELECT 1 FROM {0}.event i INNER JOIN {0}.eventpart p ON "
    "p.eventid = i.eventid INNER JOIN {0}.emailevent l ON l.eventpartid = p.eventpartid AND "
    "l.emailid = m.emailid WHERE i.featureid = f.featureid AND BINARY i.name = 'Order Payment "
    "(being added)')";
constexpr std::string_view kPaymentEvent = "SELECT 1 FROM {0}.event WHERE name = 'Order Payment'";
constexpr std::string_view kNewBillingCountry =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid INNER "
    "JOIN {0}.feature f ON f.featureid = o.featureid WHERE f.componentid = 1000 AND BINARY s.name "
    "= 'DefaultCountryId' AND NOT EXISTS(SELECT 1 FROM {0}.setting c WHERE c.overrideid = "
    "s.overrideid AND BINARY c.name = 'DefaultBillingCountryId')";
constexpr std::string_view kNewShippingCountry =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid INNER "
    "JOIN {0}.feature f ON f.featureid = o.featureid WHERE f.componentid = 1000 AND BINARY s.name "
    "= 'DefaultCountryId' AND NOT EXISTS(SELECT 1 FROM {0}.setting c WHERE c.overrideid = "
    "s.overrideid AND BINARY c.name = 'DefaultShippingCountryId')";
constexpr std::string_view kFormOfNoOverride =
    "SELECT 1 FROM {0}.form m LEFT JOIN {0}.override o ON o.featureid = m.formfeatureid WHERE "
    "m.formfeatureid > 0 AND o.overrideid IS NULL";
constexpr std::string_view kNewFormSetting =
    "SELECT 1 FROM {0}.form m WHERE m.formfeatureid > 0 AND NOT EXISTS(SELECT 1 FROM {0}.setting s "
    "WHERE s.overrideid = (SELECT MIN(overrideid) FROM {0}.override o WHERE o.featureid = "
    "m.formfeatureid) AND BINARY s.name = 'FormFeatureId')";
constexpr std::string_view kOtherFormSetting =
    "SELECT 1 FROM {0}.form m INNER JOIN {0}.setting s ON s.overrideid = (SELECT MIN(overrideid) "
    "FROM {0}.override o WHERE o.featureid = m.formfeatureid) AND BINARY s.name = 'FormFeatureId' "
    "WHERE m.formfeatureid > 0 AND BINARY s.type <> 'integer'";
constexpr std::string_view kNewLogInText =
    "SELECT 1 FROM {0}.feature f INNER JOIN {0}.override o ON o.featureid = f.featureid INNER JOIN "
    "{0}.setting s ON s.overrideid = o.overrideid WHERE f.componentid = 100 AND BINARY s.name "
    "IN('ForgottenPasswordText', 'InvalidLogInText', 'RegistrationText') AND IF(s.type = 'string', "
    "s.string_value, s.text) <> '' AND NOT EXISTS(SELECT 1 FROM {0}.text t WHERE t.featureid = "
    "f.featureid AND t.subfeatureid = IF(BINARY s.name = 'RegistrationText', 3, 2))";
constexpr std::string_view kNewDirectUrl =
    "SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = s.overrideid LEFT "
    "JOIN {0}.navigation n ON n.featureid = o.featureid WHERE BINARY s.name = 'canonical' AND "
    "s.string_value <> '' AND NOT EXISTS(SELECT 1 FROM {0}.directurl d WHERE d.featureid = "
    "o.featureid AND d.navigationid = COALESCE(n.navigationid, 0) AND BINARY d.url = BINARY "
    "s.string_value)";
// A code is named like a field of the view, and its name goes on to the closing mark.
constexpr std::string_view kEmbeddedLinkField =
    "SELECT 1 FROM {0}.formtemplate v INNER JOIN {0}.formtemplatefield t ON t.featureid = "
    "v.featureid INNER JOIN {0}.queryfieldsrc s ON s.queryfieldid = t.queryfieldid INNER JOIN "
    "{0}.querytable q ON q.tableid = s.tableid INNER JOIN {0}.formfield f ON f.formfieldid = "
    "s.srcfieldid AND f.featureid = q.srctableid INNER JOIN {0}.text x ON x.featureid = "
    "v.featureid WHERE f.type IN('multiformlink', 'productfamily') AND CONCAT_WS(' ', x.text, "
    "x.previoustext) REGEXP CONCAT('(<|&lt;)#Embed[.][0-9]+[.]0*', t.formtemplatefieldid, "
    "':[^#]*#(>|&gt;)')";
constexpr std::string_view kWordFragments =
    "SELECT 1 FROM {0}.setting s WHERE BINARY s.name = 'IgnoreWordFragments' AND NOT EXISTS(SELECT "
    "1 FROM {0}.setting w WHERE w.overrideid = s.overrideid AND BINARY w.name = 'WordMatchType')";

constexpr std::string_view kIntegerSetting = "overrideid name type integer_value";
constexpr std::string_view kTextSetting = "overrideid name type text";

// In the order of the run.
constexpr std::array kInserts{
    Insert{"SiteSchemaStep_1_0233", "externallookupfeedfield", "externallookupfeedparam",
           "featureid name textvalue sequence type", "", false,
           "SELECT 1 FROM {0}.featurenamevalue WHERE type = 0"},
    Insert{"SiteSchemaStep_1_0233", "externallookupfeedfield", "externallookupfeedparam",
           "featureid name longvalue minlength maxlength sequence type", "", false,
           "SELECT 1 FROM {0}.externallookupfeedfield WHERE requestparamname <> ''"},
    Insert{"SiteContentStep_1_0007", "charge", "chargegroup", "featureid name sequence", kAnyCharge,
           true},
    Insert{"SiteContentStep_1_0007", "charge", "chargeoption",
           "groupid featureid name password sequence", kAnyCharge, true},
    Insert{"SiteContentStep_1_0007", "charge", "chargegrouptochargegroup", "groupid applytogroupid",
           kAnyCharge},
    Insert{"SiteContentStep_1_0007", "charge", "chargegrouptoitemtype", "groupid applytoitemtypeid",
           kAnyCharge},
    Insert{"SiteContentStep_1_0008", "", "event", "featureid name", kNewResetEvent, true},
    Insert{"SiteContentStep_1_0008", "", "email", "featureid type subject message", kNewResetEmail,
           true},
    Insert{"SiteContentStep_1_0008", "", "eventpart", "eventid name sequence", kNewResetPart, true},
    Insert{"SiteContentStep_1_0008", "", "emailevent", "eventpartid emailid", kNewResetLink},
    Insert{"SiteContentStep_1_0009", "", "tag", "templateid overrideid name", kNewTreeTag, true},
    Insert{"SiteContentStep_1_0009", "", "attribute", "tagid name value", kTreeLinkTag, false,
           kTreeAttribute},
    Insert{"SiteContentStep_1_0017", "", "tag", "templateid overrideid name", kNewHeadingTag, true},
    Insert{"SiteContentStep_1_0017", "", "attribute", "tagid name value", kHeadingTag, false,
           kHeadingAttribute},
    Insert{"SiteContentStep_1_0020", "", "setting", kTextSetting, "", false, kTargetInstance},
    Insert{"SiteContentStep_1_0026", "", "setting", kIntegerSetting, kNewElementType},
    Insert{"SiteContentStep_1_0026", "", "setting", kTextSetting, kNewElementIds},
    Insert{"SiteContentStep_1_0054", "", "override", "featureid", kShopOfNoOverride, true},
    Insert{"SiteContentStep_1_0054", "", "setting", "overrideid name type string_value",
           kNewBillingSequence},
    Insert{"SiteContentStep_1_0054", "", "setting", "overrideid name type string_value",
           kNewShippingSequence},
    Insert{"SiteContentStep_1_0055", "", "event", "featureid name", kNewPaymentEvent, true},
    Insert{"SiteContentStep_1_0055", "", "eventpart", "eventid name sequence", kNewPaymentPart,
           true},
    Insert{"SiteContentStep_1_0055", "", "emailevent", "eventpartid emailid", kNewPaymentLink},
    Insert{"SiteContentStep_1_0081", "", "setting",
           "overrideid name type string_value text textlen integer_value float_value", "", false,
           kNewBillingCountry},
    Insert{"SiteContentStep_1_0081", "", "setting",
           "overrideid name type string_value text textlen integer_value float_value", "", false,
           kNewShippingCountry},
    Insert{"SiteContentStep_1_0091", "form", "override", "featureid", kFormOfNoOverride, true},
    Insert{"SiteContentStep_1_0091", "form", "setting", kIntegerSetting, kNewFormSetting},
    Insert{"SiteContentStep_1_0222", "", "text", "featureid subfeatureid text", kNewLogInText},
    Insert{"SiteContentStep_1_0237", "", "directurl", "featureid navigationid url canonical",
           kNewDirectUrl},
    Insert{"SiteContentStep_1_0242", "formtemplate", "textembed", "textid major minor",
           kEmbeddedLinkField, true},
    Insert{"SiteContentStep_1_0242", "formtemplate", "textembedproperty",
           "embedid propertytype integer_value", kEmbeddedLinkField},
    Insert{"SiteContentStep_1_0257", "", "setting", kIntegerSetting, "", false, kWordFragments},
};

constexpr std::string_view kResetMessage =
    "Somebody has asked for a new password for your account on this site.\r\n\r\n"
    "If it was not you, please ignore this e-mail: your password stays as it is.\r\n";

// What is no longer than the text that is in the column already is not here.
constexpr std::array kConstants{
    Constant{"SiteSchemaStep_1_0235", "formtemplate", "rssfilelookup", "dir", "rss",
             "SELECT 1 FROM {0}.rssfilelookup"},
    Constant{"SiteContentStep_1_0008", "", "event", "name", "Reset Password (being added)",
             kNewResetEvent},
    Constant{"SiteContentStep_1_0008", "", "email", "type", "resetpassword", kNewResetEmail},
    Constant{"SiteContentStep_1_0008", "", "email", "subject", "Reset your password",
             kNewResetEmail},
    Constant{"SiteContentStep_1_0008", "", "email", "message", kResetMessage, kNewResetEmail},
    Constant{"SiteContentStep_1_0008", "", "eventpart", "name", "Reset password email",
             kNewResetPart},
    Constant{"SiteContentStep_1_0020", "", "setting", "name", "TargetInstanceIds", kTargetInstance},
    Constant{"SiteContentStep_1_0026", "", "setting", "type", "integer", kNewElementType},
    Constant{"SiteContentStep_1_0054", "", "setting", "name", "BillingDisplaySequence",
             kNewBillingSequence},
    Constant{"SiteContentStep_1_0054", "", "setting", "name", "ShippingDisplaySequence",
             kNewShippingSequence},
    Constant{"SiteContentStep_1_0054", "", "setting", "type", "string", kNewBillingSequence},
    Constant{"SiteContentStep_1_0054", "", "setting", "type", "string", kNewShippingSequence},
    Constant{"SiteContentStep_1_0054", "", "setting", "string_value", "0,1,2,3,4,5,6,7,8,9,10",
             kShopOfNoFlags},
    Constant{"SiteContentStep_1_0055", "", "event", "name", "Order Payment (being added)",
             kNewPaymentEvent},
    Constant{"SiteContentStep_1_0055", "", "eventpart", "name", "Order payment email",
             kNewPaymentPart},
    Constant{"SiteContentStep_1_0069", "", "event", "name", "Order Completion", kPaymentEvent},
    Constant{"SiteContentStep_1_0072", "", "tag", "cssorder", "500",
             "SELECT 1 FROM {0}.tag WHERE name LIKE '%basefont%'"},
    Constant{"SiteContentStep_1_0081", "", "setting", "name", "DefaultBillingCountryId",
             kNewBillingCountry},
    Constant{"SiteContentStep_1_0081", "", "setting", "name", "DefaultShippingCountryId",
             kNewShippingCountry},
    Constant{"SiteContentStep_1_0091", "form", "setting", "name", "FormFeatureId", kNewFormSetting},
    Constant{"SiteContentStep_1_0091", "form", "setting", "type", "integer", kNewFormSetting},
    Constant{"SiteContentStep_1_0091", "form", "setting", "type", "integer", kOtherFormSetting},
    Constant{"SiteContentStep_1_0099", "", "tag", "cssorder", "550",
             "SELECT 1 FROM {0}.tag WHERE name REGEXP '^.(emptybasketlink|continueshoppinglink|"
             "continuetocheckoutlink|returntobasketlink)'"},
    Constant{"SiteContentStep_1_0257", "", "setting", "type", "integer", kWordFragments},
};

/// Fails with 1364 on a server in a strict mode, unless a trigger gives the column its value.
bool HasValueFromTrigger(host::Connection& connection, const std::string& database,
                         const std::string& table, const std::string& column) {
    return connection
        .Query(fmt::format("SELECT 1 FROM information_schema.triggers WHERE event_object_schema = "
                           "'{}' AND event_object_table = '{}' AND action_timing = 'BEFORE' AND "
                           "event_manipulation = 'INSERT' AND action_statement LIKE '%NEW%{}%';",
                           database, table, column))
        ->Next();
}

// Every row that a step changes counts here; a table that steps only alter has no say for triggers.
constexpr std::string_view kChangedInSites =
    "accesscodeaccount attribute cache charge chargegroup chargegrouptochargegroup "
    "chargegrouptoitemtype chargeoption commission css customerorder datafeedfield directurl "
    "domain "
    "domaingroup email emailevent event eventpart externallookupfeedfield externallookupfeedparam "
    "feature featurecache formfield formfieldexpressionfield formlink formtemplate "
    "formtemplatefield formtemplateinstancefield formtemplateviewfield forum layoutelement "
    "layoutzone navigation override plaintext rssfilelookup security setting tag tagdependancy "
    "text "
    "textembed textembedproperty";
constexpr std::string_view kChangedInCentral =
    "account accountpayment component componenttype domain installation site";
/// Of the central database, when one site alone is upgraded.
constexpr std::string_view kChangedForASite = "accountpayment site";

std::string_view ChangedTables(PendingDatabase::Kind kind) {
    using Kind = PendingDatabase::Kind;
    switch (kind) {
        case Kind::kCentral:
            return kChangedInCentral;
        case Kind::kRecord:
            return kChangedForASite;
        case Kind::kRootSite:
            return "domain domaingroup";
        case Kind::kSite:
            return kChangedInSites;
        case Kind::kLogs:
            break;
    }
    return {};
}

class Writes {
  public:
    Writes(const Session& session, std::string database, const PendingRun& pending,
           const StoredTables& stored)
        : connection_(*session.GetConnection()),
          database_(std::move(database)),
          pending_(pending),
          stored_(stored) {}

    void Check(const Insert& insert, std::vector<CheckFinding>& findings) const {
        if (IsDue(insert.step, insert.guard, insert.table) && Happens(insert.when)) {
            CheckInsert(connection_, database_, stored_, insert.table, insert.columns, insert.step,
                        findings, insert.rows.empty());
        }
    }

    /// The numbers of new rows: what the server or the step has no number for fails in any mode.
    void CheckNextId(const Insert& insert, std::vector<CheckFinding>& findings) const {
        if (!IsDue(insert.step, insert.guard, insert.table)) {
            return;
        }
        const StoredTable& table = stored_.tables.at(std::string(insert.table));
        if (table.idColumn.empty() ||
            (HoldsNumber(table.columns.at(table.idColumn), table.nextId) &&
             (!insert.asksId || table.nextId <= std::numeric_limits<std::int32_t>::max())) ||
            !Happens(insert.rows.empty() ? insert.when : insert.rows)) {
            return;
        }
        AddOnce({database_, std::string(insert.table), std::string(insert.step),
                 fmt::format("the {} of a new row would be {:.0f}, which is out of range",
                             table.idColumn, table.nextId),
                 fmt::format("give the last rows smaller numbers, then ALTER TABLE {}.{} "
                             "AUTO_INCREMENT = 1",
                             database_, insert.table)},
                findings);
    }

    void Check(const Constant& constant, std::vector<CheckFinding>& findings) const {
        if (!IsDue(constant.step, constant.guard, constant.table)) {
            return;
        }
        const std::string name(constant.column);
        const StoredColumn* column = stored_.Find(std::string(constant.table), name);
        if (column != nullptr && !Fits(constant.value, *column) && Happens(constant.when)) {
            AddOnce({database_, std::string(constant.table), std::string(constant.step),
                     fmt::format("the step writes {} into {}, which is {}", Quoted(constant.value),
                                 name, column->fullType),
                     fmt::format("make {} as wide as the layout has it", name)},
                    findings);
        }
    }

  private:
    bool IsDue(std::string_view step, std::string_view guard, std::string_view table) const {
        return pending_.Has(step) && stored_.tables.contains(std::string(table)) &&
               (guard.empty() || stored_.tables.contains(std::string(guard)));
    }

    bool Happens(std::string_view when) const {
        return when.empty() || HasRows(connection_, database_, when);
    }

    /// White space at the end of a text is cut off without an error.
    static bool Fits(std::string_view value, const StoredColumn& column) {
        return column.charset.empty()
                   ? HoldsNumber(column, std::strtod(value.data(), nullptr))
                   : !column.length || value.find_last_not_of(kWhiteSpace) < *column.length;
    }

    /// The beginning of a long text is enough to know it.
    static std::string Quoted(std::string_view value) {
        constexpr std::size_t kEnough = 40;
        return value.size() <= kEnough
                   ? fmt::format("\"{}\"", value)
                   : fmt::format("\"{}…\" ({} characters)", value.substr(0, kEnough), value.size());
    }

    host::Connection& connection_;
    std::string database_;
    const PendingRun& pending_;
    const StoredTables& stored_;
};

}  // namespace

void CheckInsert(host::Connection& connection, const std::string& database,
                 const StoredTables& stored, std::string_view table, std::string_view columns,
                 std::string_view step, std::vector<CheckFinding>& findings, bool triggersHelp) {
    const auto found = stored.tables.find(std::string(table));
    if (found == stored.tables.end()) {
        return;
    }
    const auto named = SplitAtBlanks(columns);
    for (const auto& [name, column] : found->second.columns) {
        if (column.needsValue && std::find(named.begin(), named.end(), name) == named.end() &&
            !(triggersHelp && HasValueFromTrigger(connection, database, found->first, name))) {
            AddOnce({database, found->first, std::string(step),
                     fmt::format("{} has no default, and the step adds rows without it", name),
                     "give it a default"},
                    findings);
        }
    }
}

void CheckSiteWrites(const Session& session, const std::string& database, const PendingRun& pending,
                     const StoredTables& stored, std::vector<CheckFinding>& findings) {
    const Writes writes(session, database, pending, stored);
    for (const Insert& insert : kInserts) {
        writes.CheckNextId(insert, findings);
    }
    if (!IsStrict(SqlMode(*session.GetConnection()))) {
        return;
    }
    for (const Insert& insert : kInserts) {
        writes.Check(insert, findings);
    }
    for (const Constant& constant : kConstants) {
        writes.Check(constant, findings);
    }
}

void NoteTriggers(host::Connection& connection, const std::vector<PendingDatabase>& pending,
                  std::vector<std::string>& notes) {
    std::set<std::string> changed;
    for (const PendingDatabase& database : pending) {
        for (const std::string& table : SplitAtBlanks(ChangedTables(database.kind))) {
            changed.insert(database.name + "." + table);
        }
        if (database.kind == PendingDatabase::Kind::kSite) {
            changed.insert(database.name + ".form_");
        }
    }
    const auto rows = connection.Query(
        "SELECT event_object_schema, event_object_table, trigger_name FROM "
        "information_schema.triggers WHERE event_object_schema LIKE 'tw\\_%' ORDER BY "
        "event_object_schema, event_object_table, trigger_name;");
    std::vector<std::string> triggers;
    while (rows->Next()) {
        const std::string database = rows->Get(0).ToText();
        const std::string table = rows->Get(1).ToText();
        if (changed.contains(database + "." + (table.starts_with("form_") ? "form_" : table))) {
            triggers.push_back(fmt::format("{} on {}.{}", rows->Get(2).ToText(), database, table));
        }
    }
    if (!triggers.empty()) {
        notes.push_back(
            fmt::format("triggers run when the upgrade changes rows, and check cannot tell whether "
                        "they fail: {}; rehearse runs them",
                        FirstFew(std::move(triggers))));
    }
}

}  // namespace twupdate::cli
