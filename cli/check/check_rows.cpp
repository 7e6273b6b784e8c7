#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>

#include "cli/check/check_finding.h"
#include "cli/server/root_site.h"
#include "cli/server/stored_columns.h"
#include "cli/terminal/text.h"

// Stored rows against what the steps read, convert and write. A row of kSiteRows or kCentralRows is
// one such place; all places of a table are looked at in one pass, and a place that the table's own
// columns rule out (as NOT NULL does for NULL) costs nothing.
namespace twupdate::cli {
namespace {

enum class Kind {
    kNumber,     ///< read as a 32-bit number: NULL and larger numbers fail in any sql_mode
    kFlag,       ///< read as a number that is 0 or not: NULL fails in any sql_mode
    kText,       ///< read as a text: NULL fails in any sql_mode
    kNotNull,    ///< written to the target, or made NOT NULL
    kFloat,      ///< converted to DOUBLE where it is FLOAT: takes no NULL
    kMoney,      ///< converted to DECIMAL(17,2) NOT NULL
    kFits,       ///< written to the target, which has a width and a character set
    kCompared,   ///< a text that is compared with the target, in any sql_mode
    kHolds,      ///< a number that is written to the target, which has a type
    kCondition,  ///< `value` is the condition of a row that fails
};

struct Place {
    std::string_view step;
    std::string_view table;
    std::string_view columns;  ///< apart by blanks
    Kind kind;
    std::string_view rows = {};    ///< condition of the rows that the step takes; empty: all
    std::string_view target = {};  ///< "table.column"; the column itself when empty
    std::string_view value = {};   ///< what is written, where it is not the column itself
    std::string_view guard = {};   ///< a table without which the step does not do it
};

constexpr std::string_view kCopiesFeeds = "SiteSchemaStep_1_0225";
constexpr std::string_view kEncodesEmails = "SiteContentStep_1_0043";

// In conditions "{0}" stands for the database. Braces stand nowhere else.
constexpr std::string_view kTreeLinks = "BINARY name LIKE 'span.TreeLink%'";
constexpr std::string_view kHeadings =
    "BINARY name IN('.heading', '.subheading') AND overrideid <> 0";
constexpr std::string_view kNewHeadings =
    "BINARY name IN('.heading', '.subheading') AND overrideid <> 0 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.tag n WHERE n.overrideid = tag.overrideid AND BINARY n.name = IF(BINARY tag.name = "
    "'.heading', 'h1', 'h2'))";
constexpr std::string_view kOfAZone =
    "name LIKE '.LO%' AND EXISTS(SELECT 1 FROM {0}.layoutzone z WHERE BINARY name REGEXP "
    "CONCAT('^[.]LO(navlink|heading1|heading2|navdivider|zone)0*', z.zoneid, '([^0-9]|$)'))";
constexpr std::string_view kLinkFields = "type IN('formlink', 'multiformlink', 'productfamily')";
constexpr std::string_view kFileFields = "type IN('file', 'image')";
constexpr std::string_view kLongTextFields = "type IN('dhtml', 'memo')";
constexpr std::string_view kViewedLinkFields =
    "type IN('multiformlink', 'productfamily') AND EXISTS(SELECT 1 FROM {0}.formtemplate v "
    "INNER JOIN {0}.formtemplatefield t ON t.featureid = v.featureid INNER JOIN "
    "{0}.queryfieldsrc s ON s.queryfieldid = t.queryfieldid INNER JOIN {0}.querytable q ON "
    "q.tableid = s.tableid WHERE s.srcfieldid = formfield.formfieldid AND q.srctableid = "
    "formfield.featureid)";
constexpr std::string_view kCanonical =
    "BINARY name = 'canonical' AND string_value <> '' AND EXISTS(SELECT 1 FROM {0}.override o "
    "WHERE o.overrideid = setting.overrideid)";
constexpr std::string_view kCanonicalInNavigation =
    "BINARY name = 'canonical' AND string_value <> '' AND EXISTS(SELECT 1 FROM {0}.override o "
    "INNER JOIN {0}.navigation n ON n.featureid = o.featureid WHERE o.overrideid = "
    "setting.overrideid)";
constexpr std::string_view kReplacementChar =
    "BINARY name = 'DirectURLReplacementChar' AND string_value <> '' AND EXISTS(SELECT 1 FROM "
    "{0}.override o INNER JOIN {0}.formfield f ON f.featureid = o.featureid WHERE o.overrideid = "
    "setting.overrideid)";
constexpr std::string_view kShopFlags =
    "type = 'boolean' AND EXISTS(SELECT 1 FROM {0}.override o INNER JOIN {0}.feature f ON "
    "f.featureid = o.featureid WHERE o.overrideid = setting.overrideid AND f.componentid = 1000)";
constexpr std::string_view kUnmergedOrders =
    "(LENGTH(billingaddress) = 0 AND LENGTH(billingaddress1) + LENGTH(billingaddress2) > 0) OR "
    "(LENGTH(shippingaddress) = 0 AND LENGTH(shippingaddress1) + LENGTH(shippingaddress2) > 0)";
constexpr std::string_view kUnmergedUsers =
    "LENGTH(address) = 0 AND LENGTH(address1) + LENGTH(address2) > 0";
constexpr std::string_view kEncodedFrom = "REPLACE(REPLACE(fromlist, '<', '&lt;'), '>', '&gt;')";
constexpr std::string_view kEncodedSubject = "REPLACE(REPLACE(subject, '<', '&lt;'), '>', '&gt;')";

constexpr std::string_view kWithoutResetEvent =
    "componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event e WHERE e.featureid = "
    "feature.featureid AND BINARY e.name = 'Reset Password')";
constexpr std::string_view kWithoutPaymentEvent =
    "componentid = 1000 AND NOT EXISTS(SELECT 1 FROM {0}.event e WHERE e.featureid = "
    "feature.featureid AND BINARY e.name IN('Order Payment', 'Order Completion'))";
// What a cut run has left of an event that it was adding.
constexpr std::string_view kHalfMadeResetEvent =
    "BINARY name = 'Reset Password (being added)' AND EXISTS(SELECT 1 FROM {0}.feature f WHERE "
    "f.featureid = event.featureid AND f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event "
    "e WHERE e.featureid = f.featureid AND BINARY e.name = 'Reset Password'))";
constexpr std::string_view kHalfMadeResetPart =
    "sequence = 1 AND EXISTS(SELECT 1 FROM {0}.event i INNER JOIN {0}.feature f ON f.featureid = "
    "i.featureid WHERE i.eventid = eventpart.eventid AND BINARY i.name = 'Reset Password (being "
    "added)' AND f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event e WHERE e.featureid = "
    "f.featureid AND BINARY e.name = 'Reset Password'))";
constexpr std::string_view kHalfMadePaymentEvent =
    "BINARY name = 'Order Payment (being added)' AND EXISTS(SELECT 1 FROM {0}.feature f WHERE "
    "f.featureid = event.featureid AND f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
    "{0}.event e WHERE e.featureid = f.featureid AND BINARY e.name IN('Order Payment', 'Order "
    "Completion')))";
constexpr std::string_view kHalfMadePaymentPart =
    "sequence > 0 AND EXISTS(SELECT 1 FROM {0}.event i INNER JOIN {0}.feature f ON f.featureid = "
    "i.featureid WHERE i.eventid = eventpart.eventid AND BINARY i.name = 'Order Payment (being "
    "added)' AND f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM {0}.event e WHERE e.featureid = "
    "f.featureid AND BINARY e.name IN('Order Payment', 'Order Completion')) AND eventpart.sequence "
    "<= (SELECT COUNT(*) FROM {0}.email m WHERE m.featureid = f.featureid AND BINARY m.type = "
    "'postorderpayment'))";
constexpr std::string_view kTreeLinkThere =
    "EXISTS(SELECT 1 FROM {0}.tag t WHERE BINARY t.name LIKE 'span.TreeLink%' AND t.templateid = "
    "tag.templateid AND t.overrideid = tag.overrideid AND BINARY tag.name = REPLACE(t.name, "
    "'span.TreeLink', 'div.twTreeNode span.SiteTreeLink[suffix]'))";
constexpr std::string_view kHeadingThere =
    "BINARY name IN('h1', 'h2') AND EXISTS(SELECT 1 FROM {0}.tag t WHERE t.overrideid = "
    "tag.overrideid AND t.overrideid <> 0 AND BINARY t.name = IF(BINARY tag.name = 'h1', "
    "'.heading', '.subheading'))";
constexpr std::string_view kExplicit =
    "BINARY name = 'ExplicitLayoutElements' AND type = 'text' AND EXISTS(SELECT 1 FROM "
    "{0}.override o WHERE o.overrideid = setting.overrideid)";
constexpr std::string_view kOfExplicit =
    "EXISTS(SELECT 1 FROM {0}.setting s WHERE s.overrideid = override.overrideid AND BINARY s.name "
    "= 'ExplicitLayoutElements' AND s.type = 'text')";
// The postings of the threads up to the last that is not removed.
constexpr std::string_view kOfAThread =
    "threadid IN(SELECT r.elementid FROM {0}.forum r WHERE r.elementid = r.threadid AND "
    "r.elementid <= (SELECT MAX(l.elementid) FROM {0}.forum l WHERE l.elementid = l.threadid AND "
    "l.removed = 0))";
constexpr std::string_view kLogInTexts =
    "EXISTS(SELECT 1 FROM {0}.feature f INNER JOIN {0}.override o ON o.featureid = f.featureid "
    "INNER JOIN {0}.setting s ON s.overrideid = o.overrideid WHERE f.featureid = text.featureid "
    "AND f.componentid = 100 AND BINARY s.name IN('ForgottenPasswordText', 'InvalidLogInText', "
    "'RegistrationText') AND IF(s.type = 'string', s.string_value, s.text) <> '' AND "
    "text.subfeatureid = IF(BINARY s.name = 'RegistrationText', 3, 2))";
constexpr std::string_view kOfALookupField =
    "EXISTS(SELECT 1 FROM {0}.externallookupfeedfield e WHERE e.fieldid = datafeedfield.fieldid)";
constexpr std::string_view kOnALinkField =
    "EXISTS(SELECT 1 FROM {0}.formtemplate v INNER JOIN {0}.queryfieldsrc s INNER JOIN "
    "{0}.querytable q ON q.tableid = s.tableid INNER JOIN {0}.formfield f ON f.formfieldid = "
    "s.srcfieldid AND f.featureid = q.srctableid WHERE v.featureid = formtemplatefield.featureid "
    "AND s.queryfieldid = formtemplatefield.queryfieldid AND f.type IN('multiformlink', "
    "'productfamily'))";
constexpr std::string_view kTextsOfAView =
    "(text LIKE '%#Embed.%' OR previoustext LIKE '%#Embed.%') AND EXISTS(SELECT 1 FROM "
    "{0}.formtemplate v INNER JOIN {0}.formtemplatefield t ON t.featureid = v.featureid INNER JOIN "
    "{0}.queryfieldsrc s ON s.queryfieldid = t.queryfieldid INNER JOIN {0}.querytable q ON "
    "q.tableid = s.tableid INNER JOIN {0}.formfield f ON f.formfieldid = s.srcfieldid AND "
    "f.featureid = q.srctableid WHERE v.featureid = text.featureid AND f.type IN('multiformlink', "
    "'productfamily'))";
constexpr std::string_view kEmbedsOfAView =
    "EXISTS(SELECT 1 FROM {0}.text x INNER JOIN {0}.formtemplate v ON v.featureid = x.featureid "
    "INNER JOIN {0}.formtemplatefield t ON t.featureid = v.featureid INNER JOIN {0}.queryfieldsrc "
    "s ON s.queryfieldid = t.queryfieldid INNER JOIN {0}.querytable q ON q.tableid = s.tableid "
    "INNER JOIN {0}.formfield f ON f.formfieldid = s.srcfieldid AND f.featureid = q.srctableid "
    "WHERE x.textid = textembed.textid AND (x.text LIKE '%#Embed.%' OR x.previoustext LIKE "
    "'%#Embed.%') AND f.type IN('multiformlink', 'productfamily'))";

constexpr std::array kSiteRows{
    // The schema ladder
    Place{"SiteSchemaStep_1_0014", "attribute", "value", Kind::kNotNull},
    Place{"SiteSchemaStep_1_0014", "attribute", "value", Kind::kFits},
    Place{"SiteSchemaStep_1_0035", "setting", "float_value", Kind::kFloat},
    Place{"SiteSchemaStep_1_0035", "navigation", "xmlmappriority", Kind::kFloat},
    Place{"SiteSchemaStep_1_0035", "layoutzone",
          "startshowdelay startfadein starthidedelay startfadeout", Kind::kFloat},
    Place{"SiteSchemaStep_1_0035", "commission", "percentage", Kind::kFloat},
    Place{"SiteSchemaStep_1_0035", "accesscodeaccount", "associatepercentage", Kind::kFloat},
    Place{"SiteSchemaStep_1_0035", "formfield", "featureid formfieldid", Kind::kNumber,
          "type = 'float'"},
    Place{"SiteSchemaStep_1_0047", "formlink", "productlinkprice", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "customerorder", "grossamount chargetotal", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "orderitem", "price", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "orderpayment", "amount", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "ordercharge", "chargeamount", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "chargeregion", "price", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "chargeregionvalueband", "bandstart price", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "commission", "commission", Kind::kMoney},
    Place{"SiteSchemaStep_1_0047", "formfield", "featureid formfieldid", Kind::kNumber,
          "type = 'currency'"},
    Place{"SiteSchemaStep_1_0075", "formfield", "featureid formfieldid targetformfeatureid",
          Kind::kNumber, kLinkFields},
    Place{"SiteSchemaStep_1_0077", "formfield", "featureid formfieldid targetformfeatureid",
          Kind::kNumber, kLinkFields},
    Place{"SiteSchemaStep_1_0091", "formfieldexpressionfield", "prefix suffix", Kind::kNotNull},
    Place{"SiteSchemaStep_1_0092", "formtemplatefield", "prefix suffix", Kind::kNotNull},
    Place{kCopiesFeeds, "featurenamevalue", "featureid value sequence", Kind::kNotNull, "type = 2",
          "", "", "externallookupfeedfield"},
    Place{kCopiesFeeds, "featurenamevalue", "featureid", Kind::kHolds, "type = 2",
          "externallookupfeedurl.featureid", "", "externallookupfeedfield"},
    Place{kCopiesFeeds, "featurenamevalue", "sequence", Kind::kHolds, "type = 2",
          "externallookupfeedurl.sequence", "", "externallookupfeedfield"},
    Place{kCopiesFeeds, "featurenamevalue", "value", Kind::kFits, "type = 2",
          "externallookupfeedurl.url", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "formfield", "defaultvalue", Kind::kNotNull},
    Place{"SiteSchemaStep_1_0233", "formfield", "defaultvalue", Kind::kFits},
    Place{"SiteSchemaStep_1_0233", "featurenamevalue", "featureid name value sequence",
          Kind::kNotNull, "type = 0", "", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "featurenamevalue", "featureid", Kind::kHolds, "type = 0",
          "externallookupfeedparam.featureid", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "featurenamevalue", "sequence", Kind::kHolds, "type = 0",
          "externallookupfeedparam.sequence", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "featurenamevalue", "name", Kind::kFits, "type = 0",
          "externallookupfeedparam.name", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "featurenamevalue", "value", Kind::kFits, "type = 0",
          "externallookupfeedparam.textvalue", "", "externallookupfeedfield"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield",
          "featureid formfieldid minrequestlength maxrequestlength", Kind::kNotNull,
          "requestparamname <> ''"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield", "featureid", Kind::kHolds,
          "requestparamname <> ''", "externallookupfeedparam.featureid"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield", "formfieldid", Kind::kHolds,
          "requestparamname <> ''", "externallookupfeedparam.longvalue"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield", "minrequestlength", Kind::kHolds,
          "requestparamname <> ''", "externallookupfeedparam.minlength"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield", "maxrequestlength", Kind::kHolds,
          "requestparamname <> ''", "externallookupfeedparam.maxlength"},
    Place{"SiteSchemaStep_1_0233", "externallookupfeedfield", "requestparamname", Kind::kFits, "",
          "externallookupfeedparam.name"},
    Place{"SiteSchemaStep_1_0251", "formfield", "featureid formfieldid", Kind::kNumber,
          kFileFields},
    // The content ladder
    Place{"SiteContentStep_1_0003", "formfield", "defaultvalue", Kind::kFits, "",
          "formfield.blankoptiontext"},
    Place{"SiteContentStep_1_0005", "layoutzone", "navuntil navfrom", Kind::kNotNull},
    Place{"SiteContentStep_1_0005", "layoutzone", "navuntil", Kind::kCondition, "", "",
          "navuntil - navfrom + 1 > 2147483647 OR navuntil - navfrom + 1 < -2147483648"},
    Place{"SiteContentStep_1_0007", "charge", "chargeid featureid sequence", Kind::kNumber},
    Place{"SiteContentStep_1_0007", "charge", "name password", Kind::kText},
    Place{"SiteContentStep_1_0007", "charge", "name", Kind::kFits, "", "chargegroup.name"},
    Place{"SiteContentStep_1_0007", "charge", "password", Kind::kFits, "", "chargeoption.password"},
    Place{"SiteContentStep_1_0007", "chargetoitemtype", "applytoitemtypeid", Kind::kNotNull,
          "chargeid IN(SELECT chargeid FROM {0}.charge)", "", "", "charge"},
    Place{"SiteContentStep_1_0007", "chargetoitemtype", "applytoitemtypeid", Kind::kHolds,
          "chargeid IN(SELECT chargeid FROM {0}.charge)", "chargegrouptoitemtype.applytoitemtypeid",
          "", "charge"},
    Place{"SiteContentStep_1_0008", "feature", "featureid", Kind::kNumber, kWithoutResetEvent},
    Place{"SiteContentStep_1_0008", "event", "eventid", Kind::kNumber, kHalfMadeResetEvent},
    Place{"SiteContentStep_1_0008", "eventpart", "eventpartid", Kind::kNumber, kHalfMadeResetPart},
    Place{"SiteContentStep_1_0008", "email", "emailid", Kind::kNumber,
          "BINARY type = 'resetpassword' AND EXISTS(SELECT 1 FROM {0}.feature f WHERE f.featureid "
          "= email.featureid AND f.componentid = 100 AND NOT EXISTS(SELECT 1 FROM {0}.event e "
          "WHERE e.featureid = f.featureid AND BINARY e.name = 'Reset Password'))"},
    Place{"SiteContentStep_1_0009", "tag", "tagid templateid overrideid", Kind::kNumber,
          kTreeLinks},
    Place{"SiteContentStep_1_0009", "tag", "name", Kind::kFits, kTreeLinks, "tag.name",
          "REPLACE(name, 'span.TreeLink', 'div.twTreeNode span.SiteTreeLink[suffix]')"},
    Place{"SiteContentStep_1_0009", "tag", "tagid", Kind::kNumber, kTreeLinkThere},
    Place{"SiteContentStep_1_0017", "tag", "tagid overrideid", Kind::kNumber, kHeadings},
    Place{"SiteContentStep_1_0017", "tag", "templateid", Kind::kNumber, kNewHeadings},
    Place{"SiteContentStep_1_0017", "tag", "tagid", Kind::kNumber, kHeadingThere},
    Place{"SiteContentStep_1_0019", "text", "textid featureid", Kind::kNumber, "texttype = 22"},
    Place{"SiteContentStep_1_0026", "layoutelement", "name", Kind::kFits, "name = ''",
          "layoutelement.name", "CONCAT('Layout Element ', sequence)"},
    Place{"SiteContentStep_1_0026", "layoutelement", "sequence", Kind::kNotNull, "name = ''",
          "layoutelement.name"},
    Place{"SiteContentStep_1_0026", "setting", "settingid overrideid", Kind::kNumber, kExplicit},
    Place{"SiteContentStep_1_0026", "override", "featureid", Kind::kNumber, kOfExplicit},
    Place{"SiteContentStep_1_0026", "layoutelement", "elementid sequence", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = "
          "s.overrideid WHERE BINARY s.name = 'ExplicitLayoutElements' AND s.type = 'text' AND "
          "o.featureid = layoutelement.featureid)"},
    Place{"SiteContentStep_1_0031", "feature", "featureid", Kind::kNumber,
          "componentid IN(400, 500) AND EXISTS(SELECT 1 FROM {0}.text t WHERE t.featureid = "
          "feature.featureid AND t.subfeatureid = 0 AND BINARY t.text <> '&nbsp;')"},
    Place{"SiteContentStep_1_0037", "forum", "elementid", Kind::kNumber, kOfAThread},
    Place{kEncodesEmails, "email", "emailid", Kind::kNumber},
    Place{kEncodesEmails, "email", "fromlist", Kind::kFits, "", "email.fromlist", kEncodedFrom},
    Place{kEncodesEmails, "email", "subject", Kind::kFits, "", "email.subject", kEncodedSubject},
    Place{"SiteContentStep_1_0044", "text", "textid", Kind::kNumber,
          "subfeatureid = 2 AND texttype = 0 AND text IS NOT NULL AND EXISTS(SELECT 1 FROM "
          "{0}.feature f WHERE f.featureid = text.featureid AND f.componentid IN(900, 3700))"},
    Place{"SiteContentStep_1_0049", "email", "emailid", Kind::kNumber},
    Place{"SiteContentStep_1_0054", "setting", "integer_value", Kind::kNumber, kShopFlags},
    Place{"SiteContentStep_1_0054", "setting", "name", Kind::kText, kShopFlags},
    Place{"SiteContentStep_1_0054", "override", "overrideid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.feature f WHERE f.featureid = override.featureid AND "
          "f.componentid = 1000) AND NOT EXISTS(SELECT 1 FROM {0}.override p WHERE p.featureid = "
          "override.featureid AND p.overrideid < override.overrideid)"},
    Place{"SiteContentStep_1_0054", "customerorder", "orderid", Kind::kNumber, kUnmergedOrders},
    Place{"SiteContentStep_1_0054", "customerorder",
          "billingaddress billingaddress1 billingaddress2 shippingaddress shippingaddress1 "
          "shippingaddress2",
          Kind::kText, kUnmergedOrders},
    Place{"SiteContentStep_1_0054", "customerorder", "billingaddress1", Kind::kFits,
          "LENGTH(billingaddress) = 0", "customerorder.billingaddress",
          "CONCAT(billingaddress1, IF(billingaddress1 = '' OR billingaddress2 = '', '', ', '), "
          "billingaddress2)"},
    Place{"SiteContentStep_1_0054", "customerorder", "shippingaddress1", Kind::kFits,
          "LENGTH(shippingaddress) = 0", "customerorder.shippingaddress",
          "CONCAT(shippingaddress1, IF(shippingaddress1 = '' OR shippingaddress2 = '', '', ', '), "
          "shippingaddress2)"},
    Place{"SiteContentStep_1_0054", "security", "userid", Kind::kNumber, kUnmergedUsers},
    Place{"SiteContentStep_1_0054", "security", "address1", Kind::kFits, "LENGTH(address) = 0",
          "security.address",
          "CONCAT(address1, IF(address1 = '' OR address2 = '', '', ', '), address2)"},
    Place{"SiteContentStep_1_0054", "feature", "featureid", Kind::kNumber, "componentid = 1000"},
    Place{"SiteContentStep_1_0055", "feature", "featureid", Kind::kNumber, kWithoutPaymentEvent},
    Place{"SiteContentStep_1_0055", "event", "eventid", Kind::kNumber, kHalfMadePaymentEvent},
    Place{"SiteContentStep_1_0055", "eventpart", "eventpartid", Kind::kNumber,
          kHalfMadePaymentPart},
    Place{
        "SiteContentStep_1_0055", "email", "emailid", Kind::kNumber,
        "BINARY type = 'postorderpayment' AND EXISTS(SELECT 1 FROM {0}.feature f WHERE "
        "f.featureid = email.featureid AND f.componentid = 1000 AND NOT EXISTS(SELECT 1 FROM "
        "{0}.event e WHERE e.featureid = f.featureid AND BINARY e.name IN('Order Payment', 'Order "
        "Completion')))"},
    Place{"SiteContentStep_1_0061", "layoutzone", "zoneid elementid", Kind::kNumber},
    Place{"SiteContentStep_1_0061", "tag", "tagid", Kind::kNumber, "name LIKE '.LO%'"},
    Place{"SiteContentStep_1_0061", "tag", "templateid overrideid cssid media subownerid",
          Kind::kNumber, kOfAZone},
    Place{"SiteContentStep_1_0066", "cache", "cacheid", Kind::kNumber,
          "type = 2 AND templateid > 0"},
    Place{"SiteContentStep_1_0082", "cache", "cacheid", Kind::kNumber,
          "type = 0 AND templateid > 0"},
    Place{"SiteContentStep_1_0091", "form", "formfeatureid", Kind::kNumber, "formfeatureid > 0"},
    Place{"SiteContentStep_1_0091", "feature", "componentid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.form m WHERE m.formfeatureid = feature.featureid)", "", "",
          "form"},
    Place{"SiteContentStep_1_0091", "override", "overrideid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.form m WHERE m.formfeatureid = override.featureid) AND NOT "
          "EXISTS(SELECT 1 FROM {0}.override p WHERE p.featureid = override.featureid AND "
          "p.overrideid < override.overrideid)",
          "", "", "form"},
    Place{"SiteContentStep_1_0222", "feature", "featureid", Kind::kNumber, "componentid = 100"},
    Place{"SiteContentStep_1_0222", "text", "textid", Kind::kNumber, kLogInTexts},
    Place{"SiteContentStep_1_0223", "commission", "commissionid", Kind::kNumber, "orderid > 0"},
    Place{"SiteContentStep_1_0223", "commission", "orderid userid", Kind::kNumber,
          "orderid > 0 AND EXISTS(SELECT 1 FROM tw_tarnwick.account a INNER JOIN "
          "tw_tarnwick.accountpayment p ON p.accountid = a.accountid WHERE CONCAT('tw_', a.siteid) "
          "= '{0}' AND a.userid = commission.userid AND p.amount = commission.commission)"},
    Place{"SiteContentStep_1_0229", "datafeedfield", "featureid", Kind::kNotNull, kOfALookupField,
          "", "", "externallookupfeedfield"},
    Place{"SiteContentStep_1_0229", "datafeedfield", "pointer", Kind::kNotNull, kOfALookupField, "",
          "", "externallookupfeedfield"},
    Place{"SiteContentStep_1_0229", "datafeedfield", "featureid", Kind::kHolds, kOfALookupField,
          "externallookupfeedfield.featureid", "", "externallookupfeedfield"},
    Place{"SiteContentStep_1_0229", "datafeedfield", "pointer", Kind::kHolds, kOfALookupField,
          "externallookupfeedfield.formfieldid", "", "externallookupfeedfield"},
    Place{"SiteContentStep_1_0237", "setting", "settingid", Kind::kNumber,
          "BINARY name = 'canonical' AND EXISTS(SELECT 1 FROM {0}.override o WHERE o.overrideid = "
          "setting.overrideid)"},
    Place{"SiteContentStep_1_0237", "setting", "string_value", Kind::kText,
          "BINARY name = 'canonical' AND EXISTS(SELECT 1 FROM {0}.override o WHERE o.overrideid = "
          "setting.overrideid)"},
    Place{"SiteContentStep_1_0237", "setting", "string_value", Kind::kFits, kCanonical,
          "directurl.url"},
    Place{"SiteContentStep_1_0237", "setting", "string_value", Kind::kCompared, kCanonical,
          "directurl.url"},
    Place{"SiteContentStep_1_0237", "setting", "string_value", Kind::kFits, kCanonicalInNavigation,
          "navigation.canonical"},
    Place{"SiteContentStep_1_0237", "override", "featureid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.setting s WHERE s.overrideid = override.overrideid AND BINARY "
          "s.name = 'canonical' AND s.string_value <> '')"},
    Place{"SiteContentStep_1_0237", "navigation", "navigationid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = "
          "s.overrideid WHERE BINARY s.name = 'canonical' AND s.string_value <> '' AND o.featureid "
          "= navigation.featureid)"},
    Place{"SiteContentStep_1_0237", "directurl", "directurlid", Kind::kNumber,
          "EXISTS(SELECT 1 FROM {0}.setting s INNER JOIN {0}.override o ON o.overrideid = "
          "s.overrideid LEFT JOIN {0}.navigation n ON n.featureid = o.featureid WHERE BINARY "
          "s.name = 'canonical' AND BINARY s.string_value = BINARY directurl.url AND o.featureid = "
          "directurl.featureid AND COALESCE(n.navigationid, 0) = directurl.navigationid)"},
    Place{"SiteContentStep_1_0237", "setting", "string_value", Kind::kFits, kReplacementChar,
          "formfield.directurlreplacementchar", "LEFT(string_value, 1)", "formfield"},
    Place{"SiteContentStep_1_0242", "formtemplate", "featureid", Kind::kNumber, "featureid > 0"},
    Place{"SiteContentStep_1_0242", "formfield", "featureid formfieldid targetformfeatureid",
          Kind::kNumber, kViewedLinkFields, "", "", "formtemplate"},
    Place{"SiteContentStep_1_0242", "formtemplatefield", "formtemplatefieldid", Kind::kNumber,
          kOnALinkField, "", "", "formtemplate"},
    Place{"SiteContentStep_1_0242", "text", "textid", Kind::kNumber, kTextsOfAView, "", "",
          "formtemplate"},
    Place{"SiteContentStep_1_0242", "textembed", "embedid major minor", Kind::kNumber,
          kEmbedsOfAView, "", "", "formtemplate"},
    Place{"SiteContentStep_1_0254", "css", "cssid", Kind::kNumber},
    Place{"SiteContentStep_1_0255", "formfield", "featureid formfieldid", Kind::kNumber,
          kLongTextFields},
    Place{"SiteContentStep_1_0259", "form", "formfeatureid", Kind::kNumber, "formfeatureid > 0"},
};

constexpr std::array kCentralRows{
    Place{"ServerStep_1_0035", "account", "associatepercentage", Kind::kFloat},
    Place{"ServerStep_1_0047", "account",
          "creditlimit suggestedpayment currentbalance futurebalance pendingbalance", Kind::kMoney},
    Place{"ServerStep_1_0047", "accountinvoice", "amount tax", Kind::kMoney},
    Place{"ServerStep_1_0047", "accountpayment", "amount", Kind::kMoney},
    Place{"ServerStep_1_0047", "chargingplan", "startupcharge creditlimit monthlyfixedcharge",
          Kind::kMoney},
    Place{"ServerStep_1_0047", "chargingplanusageband", "unitprice", Kind::kMoney},
    Place{"ServerStep_1_0056", "schedule", "schedule", Kind::kNotNull},
    Place{"ServerStep_1_0056", "schedule", "schedule", Kind::kFits},
    Place{"ServerDataStep_1_0026", "defaultdocument", "siteid", Kind::kNumber,
          "document REGEXP '^[0-9]+/.*' AND CAST(SUBSTRING_INDEX(document, '/', 1) AS DECIMAL(65)) "
          "<= 2147483647"},
};

/// "[^ \\t\\n\\v\\f\\r]", whatever the sql_mode makes of backslashes.
constexpr std::string_view kNoWhiteSpace = "CONVERT(X'5B5E20090A0B0C0D5D' USING utf8mb4)";

/// Why a row makes a step fail, and what to do.
struct Condition {
    std::string step;
    std::string bad;      ///< the condition of such a row
    std::string problem;  ///< without the number of rows
    std::string cure;
};

std::string Filled(std::string_view condition, const std::string& database) {
    return fmt::format(fmt::runtime(condition), database);
}

/// The width of a text column of a definition such as "url VARCHAR(255) …"; nothing for a LONGTEXT.
std::optional<std::uint64_t> WidthOf(const std::string& definition) {
    const auto open = definition.find("CHAR(");
    return open == std::string::npos ? std::nullopt
                                     : std::optional(std::stoull(definition.substr(open + 5)));
}

/// The conditions of one database, and the passes over its tables.
class RowChecks {
  public:
    RowChecks(const Session& session, std::string database, const Layout& expected,
              const PendingRun& pending, StoredTables stored)
        : connection_(*session.GetConnection()),
          database_(std::move(database)),
          expected_(expected),
          pending_(pending),
          stored_(std::move(stored)),
          strict_(cli::IsStrict(SqlMode(connection_))) {}

    const StoredTables& Stored() const { return stored_; }
    /// True when the session's sql_mode refuses values that a column cannot hold.
    bool IsStrict() const { return strict_; }

    void Add(const Place& place) {
        const auto table = stored_.tables.find(std::string(place.table));
        if (!pending_.Has(place.step) || table == stored_.tables.end() ||
            (!place.guard.empty() && !stored_.tables.contains(std::string(place.guard)))) {
            return;
        }
        // These two work only while something is not there yet.
        if ((place.step == kCopiesFeeds && stored_.tables.contains("externallookupfeedurl")) ||
            (place.step == kEncodesEmails && stored_.Find("email", "ishtml") != nullptr)) {
            return;
        }
        for (const std::string& name : SplitAtBlanks(place.columns)) {
            if (const StoredColumn* column = stored_.Find(table->first, name)) {
                Add(place, name, *column);
            }
        }
    }

    /// A row that makes several steps fail alike is told of with the first of them.
    void Add(const std::string& table, Condition condition) {
        auto& conditions = conditions_[table];
        if (std::none_of(conditions.begin(), conditions.end(), [&](const Condition& other) {
                return other.bad == condition.bad && other.problem == condition.problem;
            })) {
            conditions.push_back(std::move(condition));
        }
    }

    /// Looks at every table that has a condition, in one pass each.
    void Run(std::vector<CheckFinding>& findings) const {
        for (const auto& [table, conditions] : conditions_) {
            if (!Pass(table, conditions, findings)) {
                // A column is missing, which is a finding of its own; the others are looked at.
                for (const Condition& condition : conditions) {
                    Pass(table, {condition}, findings);
                }
            }
        }
    }

  private:
    void Add(const Place& place, const std::string& name, const StoredColumn& column) {
        const auto tell = [&](const std::string& bad, const std::string& problem,
                              const std::string& cure) {
            const std::string rows = Filled(place.rows, database_);
            Add(std::string(place.table),
                {std::string(place.step),
                 rows.empty() ? bad : fmt::format("({}) AND ({})", rows, bad), problem, cure});
        };
        const auto addNull = [&](std::string_view what, std::string_view kind) {
            if (column.nullable) {
                tell(name + " IS NULL", fmt::format("{} is NULL {}", name, what),
                     fmt::format("give it a {}", kind));
            }
        };
        switch (place.kind) {
            case Kind::kNumber: {
                static const std::set<std::string> small{"tinyint", "smallint", "mediumint"};
                addNull("where a number must be", "number");
                if (!small.contains(column.type) &&
                    (column.type != "int" || column.fullType.ends_with("unsigned"))) {
                    const std::string bad =
                        fmt::format("{0} < -2147483648 OR {0} > 2147483647", name);
                    tell(bad, name + " does not fit a 32-bit integer", "mend it");
                }
                break;
            }
            case Kind::kFlag:
                addNull("where a number must be", "number");
                break;
            case Kind::kText:
                addNull("where a text must be", "text");
                break;
            case Kind::kNotNull:
                if (strict_ && !TargetTakesNull(place)) {
                    addNull("where the step needs a value", "value");
                }
                break;
            case Kind::kFloat:
                if (strict_ && column.type == "float") {
                    addNull("where a number must be", "number");
                }
                break;
            case Kind::kMoney:
                if (strict_) {
                    addNull("where an amount must be", "number");
                    AddAmount(name, column, tell);
                }
                break;
            case Kind::kFits:
                if (strict_ && !column.charset.empty()) {
                    AddWidth(place, name, column, tell);
                    AddCharset(place, name, column, tell);
                }
                break;
            case Kind::kCompared:
                if (!column.charset.empty()) {
                    AddCharset(place, name, column, tell);
                }
                break;
            case Kind::kHolds:
                if (strict_) {
                    AddRange(place, name, column, tell);
                }
                break;
            case Kind::kCondition:
                if (strict_) {
                    tell(Filled(place.value, database_), name + " leads to a number out of range",
                         "mend it");
                }
                break;
        }
    }

    template <typename TellOf>
    static void AddAmount(const std::string& name, const StoredColumn& column, const TellOf& tell) {
        // DECIMAL(17,2) takes 15 digits before the point, after rounding.
        std::string bad = fmt::format("ABS({}) >= 999999999999999.995", name);
        if (!column.charset.empty()) {
            bad += fmt::format(
                " OR TRIM({}) NOT REGEXP '^[-+]?([0-9]+[.]?[0-9]*|[.][0-9]+)([eE][-+]?[0-9]+)?$'",
                name);
        }
        if (column.fullType != "decimal(17,2)") {
            tell(bad, name + " is no amount of at most 15 digits", "give it such an amount");
        }
    }

    template <typename TellOf>
    void AddRange(const Place& place, const std::string& name, const StoredColumn& column,
                  const TellOf& tell) {
        const StoredColumn* target = FindTarget(place.target);
        StoredColumn number;  // of a table that a step makes
        number.type = "int";
        const auto range = RangeOf(target != nullptr ? *target : number);
        const auto own = RangeOf(column);
        if (range && (!own || own->first < range->first || own->second > range->second)) {
            tell(fmt::format("{0} < {1:.0f} OR {0} > {2:.0f}", name, range->first, range->second),
                 fmt::format("{} is out of the range of {}", name, place.target), "mend it");
        }
    }

    /// @param target  "table.column"
    const StoredColumn* FindTarget(std::string_view target) const {
        const auto point = target.find('.');
        return point == std::string_view::npos
                   ? nullptr
                   : stored_.Find(std::string(target.substr(0, point)),
                                  std::string(target.substr(point + 1)));
    }

    bool TargetTakesNull(const Place& place) const {
        const StoredColumn* target = FindTarget(place.target);
        return target != nullptr && target->nullable;
    }

    template <typename TellOf>
    void AddWidth(const Place& place, const std::string& name, const StoredColumn& column,
                  const TellOf& tell) const {
        const Target target = TargetOf(place, name);
        const std::string value = ValueOf(place, name);
        if (target.width && (!place.value.empty() || column.length.value_or(0) > *target.width)) {
            const std::string_view measure = target.inBytes ? "LENGTH" : "CHAR_LENGTH";
            std::string bad = fmt::format("{}({}) > {}", measure, value, *target.width);
            // White space at the end is cut off without an error, unless an ALTER TABLE makes a
            // VARCHAR narrower.
            if (!place.target.empty() || column.type != "varchar") {
                bad += fmt::format(
                    " AND SUBSTRING({} FROM {}) REGEXP {}",
                    target.inBytes ? fmt::format("CAST({} AS BINARY)", value) : std::string(value),
                    *target.width + 1, kNoWhiteSpace);
            }
            tell(bad,
                 fmt::format("{} {} longer than the {} {} of {}", name,
                             place.value.empty() ? "is" : "becomes", *target.width,
                             target.inBytes ? "bytes" : "characters", target.name),
                 "shorten it");
        }
    }

    template <typename TellOf>
    void AddCharset(const Place& place, const std::string& name, const StoredColumn& column,
                    const TellOf& tell) const {
        const Target target = TargetOf(place, name);
        if (target.charset != column.charset && target.charset != "utf8mb4") {
            const std::string bad = fmt::format(
                "CONVERT(CONVERT({0} USING {1}) USING utf8mb4) <> BINARY "
                "CONVERT({0} USING utf8mb4)",
                ValueOf(place, name), target.charset);
            tell(bad,
                 fmt::format("{} has characters that {}, the character set of {}, lacks", name,
                             target.charset, target.name),
                 "replace them");
        }
    }

    /// What is written, as an expression.
    std::string ValueOf(const Place& place, const std::string& name) const {
        return place.value.empty() ? name : Filled(place.value, database_);
    }

    struct Target {
        std::string name;
        std::optional<std::uint64_t> width;
        bool inBytes = false;
        std::string charset;
    };

    /// The column that the step writes: as it is, as the step alters it, or as a step makes it.
    Target TargetOf(const Place& place, const std::string& name) const {
        Target target;
        const bool altered = place.target.empty();
        target.name = altered ? fmt::format("{}.{}", place.table, name) : std::string(place.target);
        const auto point = target.name.find('.');
        const std::string table = target.name.substr(0, point);
        const std::string column = target.name.substr(point + 1);
        if (const StoredColumn* stored = stored_.Find(table, column); stored && !altered) {
            target.width = stored->length;
            target.inBytes = stored->type.ends_with("text");
            target.charset = stored->charset;
            return target;
        }
        if (const auto expected = expected_.tables.find(table);
            expected != expected_.tables.end() && expected->second.items.contains(column)) {
            target.width = WidthOf(expected->second.items.at(column).definitions.front());
        }
        const auto existing = stored_.tables.find(table);
        target.charset =
            existing == stored_.tables.end() ? stored_.charset : existing->second.charset;
        return target;
    }

    /// False when a table or column that a condition names is missing.
    bool Pass(const std::string& table, const std::vector<Condition>& conditions,
              std::vector<CheckFinding>& findings) const {
        const auto& key = stored_.tables.at(table).key;
        std::string columns;
        for (const Condition& condition : conditions) {
            columns += fmt::format(
                "{}COUNT(CASE WHEN {} THEN 1 END), {}", columns.empty() ? "" : ", ", condition.bad,
                key.empty()
                    ? "NULL"
                    : fmt::format("MIN(CASE WHEN {} THEN `{}` END)", condition.bad, key.front()));
        }
        std::unique_ptr<host::Rows> rows;
        try {
            rows =
                connection_.Query(fmt::format("SELECT {} FROM {}.{};", columns, database_, table));
        } catch (const HostError& error) {
            if (!IsMissing(error)) {
                throw;
            }
            return false;
        }
        rows->Next();
        for (std::size_t i = 0; i < conditions.size(); ++i) {
            const auto count = std::stoull(rows->Get(2 * i).ToText());
            if (count > 0) {
                const std::string first =
                    key.empty() ? ""
                                : fmt::format(" ({}{} {})", count > 1 ? "first: " : "", key.front(),
                                              rows->Get(2 * i + 1).ToText());
                AddOnce(
                    {database_, table, conditions[i].step,
                     fmt::format("{} in {}{}", conditions[i].problem, Count(count, "row"), first),
                     conditions[i].cure},
                    findings);
            }
        }
        return true;
    }

    host::Connection& connection_;
    std::string database_;
    const Layout& expected_;
    const PendingRun& pending_;
    StoredTables stored_;
    bool strict_;
    std::map<std::string, std::vector<Condition>> conditions_;
};

/// What a step does with the fields of a type.
struct FormUse {
    std::string_view step;
    std::string_view type;
    std::string_view condition;  ///< of these rows of formfield
    std::optional<Kind> kind;    ///< how it uses the column
    bool needsTable;
};

constexpr std::array kFormUses{
    FormUse{"SiteSchemaStep_1_0035", "float", "type = 'float'", Kind::kFloat, true},
    FormUse{"SiteSchemaStep_1_0047", "currency", "type = 'currency'", Kind::kMoney, true},
    FormUse{"SiteSchemaStep_1_0075", "formlink", "BINARY type = 'formlink'", std::nullopt, true},
    FormUse{"SiteSchemaStep_1_0077", "formlink", "BINARY type = 'formlink'", std::nullopt, true},
    FormUse{"SiteContentStep_1_0255", "dhtml and memo", kLongTextFields, Kind::kNotNull, false},
    FormUse{"SiteContentStep_1_0255", "dhtml and memo", kLongTextFields, Kind::kFits, false},
};

struct FormColumn {
    std::string table;
    std::string column;
};

/// What a step cannot read as a number of a form is a finding of its own.
bool IsFormNumber(const std::string& text) {
    constexpr std::string_view kLargest = "2147483647";
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos &&
           (text.size() < kLargest.size() || (text.size() == kLargest.size() && text <= kLargest));
}

/// The form columns of the fields that a condition selects; none when formfield cannot tell.
std::vector<FormColumn> FormColumns(host::Connection& connection, const std::string& database,
                                    std::string_view condition) {
    std::vector<FormColumn> columns;
    try {
        const auto rows = connection.Query(
            fmt::format("SELECT featureid, formfieldid FROM {}.formfield WHERE {} AND featureid "
                        "IS NOT NULL AND formfieldid IS NOT NULL ORDER BY formfieldid;",
                        database, condition));
        while (rows->Next()) {
            const std::string form = rows->Get(0).ToText();
            const std::string field = rows->Get(1).ToText();
            if (IsFormNumber(form) && IsFormNumber(field)) {  // names go into statements
                columns.push_back({"form_" + form, "field_" + field});
            }
        }
    } catch (const HostError& error) {
        if (!IsMissing(error)) {
            throw;
        }
    }
    return columns;
}

/// The data tables of forms: missing ones, and their columns.
void AddForms(host::Connection& connection, const std::string& database, const PendingRun& pending,
              RowChecks& checks, std::vector<CheckFinding>& findings) {
    std::set<std::pair<std::string, std::string_view>> missing;
    for (const FormUse& use : kFormUses) {
        if (!pending.Has(use.step)) {
            continue;
        }
        for (const auto& [table, column] : FormColumns(connection, database, use.condition)) {
            if (!checks.Stored().tables.contains(table)) {
                if (use.needsTable && missing.emplace(table, use.type).second) {
                    findings.push_back(
                        {database, table, std::string(use.step),
                         fmt::format("the table is missing, but formfield has {} fields of it",
                                     use.type),
                         "delete these rows of formfield, or bring the table back"});
                }
            } else if (use.kind) {
                checks.Add(Place{use.step, table, column, *use.kind});
            }
        }
    }
}

/// The forms whose uploaded files SiteSchemaStep_1_0251 measures.
void AddUploads(host::Connection& connection, const std::string& database,
                const PendingRun& pending, RowChecks& checks, std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "SiteSchemaStep_1_0251";
    if (!pending.Has(kStep)) {
        return;
    }
    std::set<std::string> forms;
    for (const auto& [table, column] : FormColumns(connection, database, kFileFields)) {
        if (checks.Stored().Find(table, column) == nullptr ||
            !forms.insert(table.substr(table.find('_') + 1)).second) {
            continue;
        }
        if (checks.Stored().Find(table, "replyid") == nullptr) {
            findings.push_back({database, table, std::string(kStep),
                                fmt::format("the column {} is missing", "replyid"),
                                "bring it back from a backup"});
        }
    }
    if (!forms.empty()) {
        const std::string rows = fmt::format("formfeatureid IN({})", fmt::join(forms, ", "));
        checks.Add(Place{kStep, "form", "securefiles", Kind::kFlag, rows});
    }
}

/// Records whose number does not fit, where SiteSchemaStep_1_0251 finds the file.
void CheckUploadIds(host::Connection& connection, const CheckScope& scope, std::int32_t siteId,
                    const PendingRun& pending, const StoredTables& stored,
                    std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "SiteSchemaStep_1_0251";
    if (!pending.Has(kStep)) {
        return;
    }
    const std::string database = fmt::format("tw_{}", siteId);
    const auto root = InstallationRoot(scope.installFolder);
    for (const auto& [table, column] : FormColumns(connection, database, kFileFields)) {
        const StoredColumn* key = stored.Find(table, "replyid");
        if (key == nullptr || stored.Find(table, column) == nullptr ||
            (key->type == "int" && !key->fullType.ends_with("unsigned"))) {
            continue;
        }
        const auto rows = connection.Query(fmt::format(
            "SELECT r.replyid, SUBSTRING(r.{0}, 4), COALESCE(m.securefiles, 0) FROM {1}.{2} r LEFT "
            "JOIN {1}.form m ON m.formfeatureid = {3} WHERE r.{0} LIKE '../%' AND (r.replyid < "
            "-2147483648 OR r.replyid > 2147483647) ORDER BY r.replyid;",
            column, database, table, table.substr(table.find('_') + 1)));
        while (rows->Next()) {
            std::string file = rows->Get(1).ToText();
            std::replace(file.begin(), file.end(), '\\', '/');
            const auto folder =
                rows->Get(2).ToText() == "0" ? root / "wwwroot" / "sites" : root / "sites_secure";
            std::error_code ignored;
            if (std::filesystem::is_regular_file(folder / std::to_string(siteId) / file, ignored)) {
                findings.push_back({database, table, std::string(kStep),
                                    fmt::format("replyid does not fit a 32-bit integer in a record "
                                                "with a file (replyid {})",
                                                rows->Get(0).ToText()),
                                    "mend it"});
                break;
            }
        }
    }
}

/// 1.0050 lengthens what 1.0043 leaves.
void AddEmbedMarks(const PendingRun& pending, RowChecks& checks) {
    struct Text {
        std::string_view column;
        std::string_view encoded;
    };
    for (const auto& [column, encoded] :
         {Text{"fromlist", kEncodedFrom}, Text{"subject", kEncodedSubject}}) {
        const StoredColumn* stored = checks.Stored().Find("email", std::string(column));
        if (stored == nullptr || !stored->length) {
            continue;
        }
        const bool encodes = pending.Has("SiteContentStep_1_0043") &&
                             checks.Stored().Find("email", "ishtml") == nullptr;
        const std::string before(encodes ? encoded : column);
        // What is too long before is a finding of 1.0043; order details become shorter in 1.0049.
        const std::string rows =
            fmt::format("CHAR_LENGTH({}) <= {} AND {} NOT LIKE '%#OrderDetails:Name=%'", before,
                        *stored->length, column);
        const std::string target = fmt::format("email.{}", column);
        const std::string value = fmt::format("REPLACE({}, '#Embed.', '#E-Embed.')", before);
        checks.Add(
            Place{"SiteContentStep_1_0050", "email", column, Kind::kFits, rows, target, value});
    }
}

/// Rows that would be double in the keyed tables which the conversion of charges fills.
void CheckDoubleLinks(host::Connection& connection, const std::string& database,
                      const PendingRun& pending, const StoredTables& stored,
                      std::vector<CheckFinding>& findings) {
    struct Link {
        std::string_view table;
        std::string_view column;
        std::string_view taken;  ///< further tables and conditions of a link that is carried over
    };
    // A link to a charge counts when that charge is converted before, or is the same.
    constexpr std::array kLinks{
        Link{"chargetocharge", "applytochargeid",
             "INNER JOIN {0}.charge a ON a.chargeid = l.applytochargeid AND (a.sequence < "
             "c.sequence OR (a.sequence = c.sequence AND a.chargeid <= c.chargeid))"},
        Link{"chargetoitemtype", "applytoitemtypeid", ""}};
    constexpr std::string_view kStep = "SiteContentStep_1_0007";
    for (const Link& link : kLinks) {
        const auto table = stored.tables.find(std::string(link.table));
        if (!pending.Has(kStep) || table == stored.tables.end() || !table->second.key.empty()) {
            continue;  // the layout's own key keeps them apart
        }
        try {
            const auto rows = connection.Query(fmt::format(
                "SELECT l.chargeid, l.{1}, COUNT(*) FROM {0}.{2} l INNER JOIN {0}.charge c ON "
                "c.chargeid = l.chargeid {3} GROUP BY l.chargeid, l.{1} HAVING COUNT(*) > 1 ORDER "
                "BY l.chargeid, l.{1} LIMIT 1;",
                database, link.column, link.table, Filled(link.taken, database)));
            if (rows->Next()) {
                findings.push_back(
                    {database, std::string(link.table), std::string(kStep),
                     fmt::format("{} rows have chargeid {} and {} {}, which will be a key",
                                 rows->Get(2).ToText(), rows->Get(0).ToText(), link.column,
                                 rows->Get(1).ToText()),
                     "delete all but one of them"});
            }
        } catch (const HostError& error) {
            if (!IsMissing(error)) {
                throw;
            }
        }
    }
}

/// The colour names of 1.0254 in its order, each with its code. A value is lengthened by red,
/// silver and orange; the others are here because they may shorten it before.
constexpr std::string_view kColours =
    "gainsboro #dcdcdc silver #c0c0c0 dimgray #696969 white #fff darkblue #00008b lightyellow "
    "#ffffe0 lemonchiffon #fffacd blue #00f whitesmoke #f5f5f5 lightgrey #d3d3d3 darkgray #a9a9a9 "
    "lightsteelblue #b0c4de black #000 dodgerblue #1e90ff darkkhaki #bdb76b darkred #8b0000 red "
    "#f00 yellow #ff0 orange #ffa500";

/// Style values that become too long when colour names turn into codes.
void CheckColours(host::Connection& connection, const std::string& database,
                  const PendingRun& pending, const StoredTables& stored,
                  std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "SiteContentStep_1_0254";
    const StoredColumn* column = stored.Find("attribute", "value");
    if (!pending.Has(kStep) || column == nullptr ||
        stored.Find("attribute", "attributeid") == nullptr ||
        stored.Find("attribute", "name") == nullptr) {
        return;
    }
    const auto width =
        pending.Has("SiteSchemaStep_1_0014")
            ? WidthOf(SiteLayout().tables.at("attribute").items.at("value").definitions.front())
            : column->length;
    if (!width || column->type.ends_with("text")) {
        return;  // wide enough for whatever a style holds
    }
    // No name grows by more than a third, so that shorter values need no look.
    std::string values = fmt::format(
        "SELECT attributeid AS id, value, 0 AS is_long FROM {}.attribute WHERE CHAR_LENGTH(value) "
        "> {} AND CHAR_LENGTH(value) <= {} AND (name LIKE '%color' OR name LIKE 'border-%')",
        database, *width * 3 / 4, *width);
    // White space at the end is cut off without an error.
    const std::string isLong =
        fmt::format("SUBSTRING(value FROM {}) REGEXP {}", *width + 1, kNoWhiteSpace);
    const auto words = SplitAtBlanks(kColours);
    for (std::size_t i = 0; i < words.size(); i += 2) {
        // One colour after the other, as the step does it. The limit takes all rows and keeps the
        // server from merging the queries into one expression that grows with every colour.
        values = fmt::format(
            "SELECT id, IF(value REGEXP '(^| ){0}( |$)', REPLACE(LCASE(value), '{0}', '{1}'), "
            "value) AS value, is_long OR {4} AS is_long FROM ({2}) before{3} LIMIT 4294967295",
            words[i], words[i + 1], values, i / 2, isLong);
    }
    const auto rows = connection.Query(fmt::format(
        "SELECT COUNT(*), MIN(id) FROM ({}) changed WHERE is_long OR {};", values, isLong));
    if (rows->Next() && rows->Get(0).ToText() != "0") {
        const auto count = std::stoull(rows->Get(0).ToText());
        findings.push_back({database, "attribute", std::string(kStep),
                            fmt::format("value becomes longer than the {} characters of "
                                        "attribute.value in {} ({}attributeid {})",
                                        *width, Count(count, "row"), count > 1 ? "first: " : "",
                                        rows->Get(1).ToText()),
                            "shorten it"});
    }
}

/// The indexes that a log has already, by "table.index".
std::set<std::string> IndexesOfLogs(host::Connection& connection) {
    std::set<std::string> indexes;
    for (const std::string& index :
         FirstColumn(connection,
                     "SELECT CONCAT(table_name, '.', index_name) FROM "
                     "information_schema.statistics WHERE table_schema = 'tw_logs';")) {
        indexes.insert(index);
    }
    return indexes;
}

/// The columns that ServerDataStep_1_0030 indexes in every log.
void CheckLogs(host::Connection& connection, const PendingRun& pending,
               std::vector<CheckFinding>& findings) {
    constexpr std::string_view kStep = "ServerDataStep_1_0030";
    if (!pending.Has(kStep)) {
        return;
    }
    const std::set<std::string> indexes = IndexesOfLogs(connection);
    for (const auto& [name, table] : ReadStoredTables(connection, "tw_logs").tables) {
        // The step finds them with LIKE 'tw_%', to which an underscore is any character.
        // Without the right to read the table its columns are not seen.
        if (name.size() < 3 || LowerCase(name.substr(0, 2)) != "tw" || table.columns.empty()) {
            continue;
        }
        std::map<std::string, std::string> types;
        for (const auto& [column, what] : table.columns) {
            types[LowerCase(column)] = what.fullType;
        }
        for (const std::string column : {"LogTime", "target"}) {
            const std::string index = column + "_idx";
            const auto type = types.find(LowerCase(column));
            if (indexes.contains(fmt::format("{}.{}", name, index))) {
                continue;
            }
            if (type == types.end()) {
                findings.push_back({"tw_logs", name, std::string(kStep),
                                    fmt::format("the column {} is missing", column),
                                    "bring it back from a backup, or move the table to another "
                                    "database"});
            } else if (auto finding = column == "target"
                                          ? PrefixFinding("tw_logs", name, std::string(kStep),
                                                          {index, column, "7"}, type->second)
                                          : std::nullopt) {
                findings.push_back(std::move(*finding));
            }
        }
    }
}

/// The rows that ServerDataStep_1_0252 adds for the root site.
void CheckRootInserts(const Session& session, const CheckScope& scope, const std::string& site,
                      const RowChecks& central, const StoredTables& stored,
                      std::vector<CheckFinding>& findings) {
    if (!central.IsStrict()) {
        return;
    }
    host::Connection& connection = *session.GetConnection();
    const std::string step = "ServerDataStep_1_0252";
    const std::string host = TextLiteral(scope.localHostName);
    if (!HasRows(connection, "tw_tarnwick",
                 "SELECT 1 FROM {0}.domain WHERE domainname = " + host +
                     " AND ipaddress = '127.0.0.1' AND tcpport = 80")) {
        CheckInsert(connection, "tw_tarnwick", central.Stored(), "domain",
                    "siteid domainname ipaddress tcpport", step, findings);
    }
    if (!HasRows(connection, site, "SELECT 1 FROM {0}.domain WHERE domainname = " + host)) {
        CheckInsert(connection, site, stored, "domain", "domainname", step, findings);
        if (HasRows(connection, site,
                    "SELECT 1 FROM {0}.group_table WHERE displayname = 'local Visitor'")) {
            CheckInsert(connection, site, stored, "domaingroup", "groupid domainid domaingrouptype",
                        step, findings);
        }
    }
}

/// The local host name, which ServerDataStep_1_0252 makes a domain of the root site.
void CheckRootDomain(const Session& session, const CheckScope& scope, const PendingRun& pending,
                     const RowChecks& central, std::vector<CheckFinding>& findings) {
    const std::string step = "ServerDataStep_1_0252";
    const auto root = pending.Has(step) ? RootSite(*session.Own()) : std::nullopt;
    if (root.value_or(0) <= 0) {
        return;
    }
    const std::string site = fmt::format("tw_{}", *root);
    const StoredTables stored = ReadStoredTables(*session.GetConnection(), site);
    for (const auto& [database, tables] :
         {std::pair<std::string, const StoredTables&>("tw_tarnwick", central.Stored()),
          std::pair<std::string, const StoredTables&>(site, stored)}) {
        const StoredColumn* column = tables.Find("domain", "domainname");
        if (central.IsStrict() && column != nullptr && column->length &&
            scope.localHostName.size() > *column->length) {
            findings.push_back(
                {database, "domain", step,
                 fmt::format("the local host name has {} characters, and domainname takes {}",
                             scope.localHostName.size(), *column->length),
                 "give the machine a shorter name, or name one with --local-host-name"});
        }
    }
    CheckRootInserts(session, scope, site, central, stored, findings);
}

}  // namespace

void CheckCentralRows(const Session& session, const CheckScope& scope, const PendingRun& pending,
                      std::vector<CheckFinding>& findings) {
    RowChecks checks(session, "tw_tarnwick", CentralLayout(), pending, scope.central);
    for (const Place& place : kCentralRows) {
        checks.Add(place);
    }
    checks.Run(findings);
    CheckLogs(*session.GetConnection(), pending, findings);
    CheckRootDomain(session, scope, pending, checks, findings);
}

void CheckSiteRows(const Session& session, const CheckScope& scope, std::int32_t siteId,
                   const PendingRun& pending, std::vector<CheckFinding>& findings) {
    const std::string database = fmt::format("tw_{}", siteId);
    host::Connection& connection = *session.GetConnection();
    RowChecks checks(session, database, SiteLayout(), pending,
                     ReadStoredTables(connection, database));
    for (const Place& place : kSiteRows) {
        checks.Add(place);
    }
    AddEmbedMarks(pending, checks);
    AddForms(connection, database, pending, checks, findings);
    AddUploads(connection, database, pending, checks, findings);
    checks.Run(findings);
    CheckUploadIds(connection, scope, siteId, pending, checks.Stored(), findings);
    CheckDoubleLinks(connection, database, pending, checks.Stored(), findings);
    CheckSiteWrites(session, database, pending, checks.Stored(), findings);
    if (checks.IsStrict()) {
        CheckColours(connection, database, pending, checks.Stored(), findings);
    }
}

}  // namespace twupdate::cli
