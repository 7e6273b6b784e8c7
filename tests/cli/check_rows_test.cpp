#include <fmt/format.h>
#include <gmock/gmock.h>

#include <map>

#include "cli/installation_fixture.h"
#include "support/lines.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

/// A situation in the database of site 8 that makes a step fail, and how it is mended.
struct Situation {
    const char* name;
    std::vector<std::string> make;  ///< statements without the closing semicolon
    std::string finding;            ///< as check prints it, from the table on
    std::string failure;            ///< of the upgrade, a regular expression
    std::vector<std::string> cure;
};

/// Every second situation, from the first or the second one on.
class CheckRows : public InstallationTest, public testing::WithParamInterface<std::size_t> {};

/// The form 50 of site 8 with a field 7 of the type.
std::string Field(const std::string& type) {
    return "INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(7, 50, '" + type + "')";
}
const std::string kFormTable = "CREATE TABLE tw_8.form_50(replyid INT AUTO_INCREMENT PRIMARY KEY)";

const std::vector<Situation> kSituations{
    {"AStyleValueThatIsNull",
     {"ALTER TABLE tw_8.attribute MODIFY value VARCHAR(100)",
      "INSERT INTO tw_8.attribute(attributeid, name, value) VALUES(5, 'color', NULL)"},
     "attribute: value is NULL where the step needs a value in 1 row (attributeid 5), so "
     "SiteSchemaStep_1_0014 fails; give it a value",
     "step SiteSchemaStep_1_0014: .*server error 1265",
     {"UPDATE tw_8.attribute SET value = ''"}},
    {"AStyleValueThatIsTooLong",
     {"ALTER TABLE tw_8.attribute MODIFY value LONGTEXT DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.attribute(attributeid, value) VALUES(5, REPEAT('x', 256)), "
      "(6, REPEAT('x', 257)), (7, RPAD('x', 300, ' '))"},
     "attribute: value is longer than the 255 characters of attribute.value in 2 rows (first: "
     "attributeid 5), so SiteSchemaStep_1_0014 fails; shorten it",
     "step SiteSchemaStep_1_0014: .*server error (1406|1265)",
     {"UPDATE tw_8.attribute SET value = LEFT(value, 255)"}},
    {"AStyleValueOfAnotherCharacterSet",
     {"ALTER TABLE tw_8.attribute DEFAULT CHARACTER SET latin1",
      "ALTER TABLE tw_8.attribute MODIFY value VARCHAR(100) CHARACTER SET utf8mb4 DEFAULT '' NOT "
      "NULL",
      "INSERT INTO tw_8.attribute(attributeid, value) VALUES(5, 'caf\xC3\xA9'), (6, "
      "'\xE2\x86\x92')"},
     "attribute: value has characters that latin1, the character set of attribute.value, lacks in "
     "1 row (attributeid 6), so SiteSchemaStep_1_0014 fails; replace them",
     "step SiteSchemaStep_1_0014: .*server error 1366",
     {"UPDATE tw_8.attribute SET value = '->' WHERE attributeid = 6"}},
    {"ASettingThatIsNull",
     {"ALTER TABLE tw_8.setting ADD COLUMN float_value FLOAT",
      "INSERT INTO tw_8.setting(settingid, name) VALUES(5, 'a')"},
     "setting: float_value is NULL where a number must be in 1 row (settingid 5), so "
     "SiteSchemaStep_1_0035 fails; give it a number",
     "step SiteSchemaStep_1_0035: .*server error 1048",
     {"UPDATE tw_8.setting SET float_value = 0",
      "ALTER TABLE tw_8.setting DROP COLUMN double_temp"}},
    {"AFormNumberThatIsNull",
     {kFormTable, Field("float"), "ALTER TABLE tw_8.form_50 ADD COLUMN field_7 FLOAT",
      "INSERT INTO tw_8.form_50(field_7) VALUES(1), (NULL)"},
     "form_50: field_7 is NULL where a number must be in 1 row (replyid 2), so "
     "SiteSchemaStep_1_0035 fails; ",
     "step SiteSchemaStep_1_0035: .*server error 1048",
     {"UPDATE tw_8.form_50 SET field_7 = 0 WHERE field_7 IS NULL",
      "ALTER TABLE tw_8.form_50 DROP COLUMN double_temp"}},
    {"APriceThatIsNull",
     {"ALTER TABLE tw_8.orderitem MODIFY price FLOAT",
      "INSERT INTO tw_8.orderitem(itemid, price) VALUES(5, NULL), (6, 1.5)"},
     "orderitem: price is NULL where an amount must be in 1 row (itemid 5), so "
     "SiteSchemaStep_1_0047 fails; give it a number",
     "step SiteSchemaStep_1_0047: .*server error 1265",
     {"UPDATE tw_8.orderitem SET price = 0 WHERE price IS NULL"}},
    {"AnAmountThatIsTooLarge",
     {"INSERT INTO tw_8.orderpayment(paymentid, amount) VALUES(5, 9e14), (6, 2e15)"},
     "orderpayment: amount is no amount of at most 15 digits in 1 row (paymentid 6), so "
     "SiteSchemaStep_1_0047 fails; ",
     "step SiteSchemaStep_1_0047: .*server error 1264",
     {"UPDATE tw_8.orderpayment SET amount = 2 WHERE paymentid = 6"}},
    {"AnAmountThatIsText",
     {kFormTable, Field("currency"),
      "ALTER TABLE tw_8.form_50 ADD COLUMN field_7 VARCHAR(20) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.form_50(field_7) VALUES('1.50'), (' 2'), ('-3e2'), ('12 pounds')"},
     "form_50: field_7 is no amount of at most 15 digits in 1 row (replyid 4), so "
     "SiteSchemaStep_1_0047 fails; ",
     "step SiteSchemaStep_1_0047: .*server error 1292",
     {"UPDATE tw_8.form_50 SET field_7 = '12' WHERE replyid = 4"}},
    {"AFormLinkWithoutItsFormTable",
     {Field("formlink")},
     "form_50: the table is missing, but formfield has formlink fields of it, so "
     "SiteSchemaStep_1_0075 fails; ",
     "step SiteSchemaStep_1_0075: .*form_50.*server error 1146",
     {"DELETE FROM tw_8.formfield"}},
    {"ALinkTargetThatIsNull",
     {"ALTER TABLE tw_8.formfield MODIFY targetformfeatureid INT", Field("multiformlink"),
      "UPDATE tw_8.formfield SET targetformfeatureid = NULL"},
     "formfield: targetformfeatureid is NULL where a number must be in 1 row (formfieldid 7), so "
     "SiteSchemaStep_1_0075 fails; ",
     "step SiteSchemaStep_1_0075: .*column targetformfeatureid: NULL where a number must be",
     {"UPDATE tw_8.formfield SET targetformfeatureid = 0"}},
    {"ALinkTargetBeyond32Bits",
     {"ALTER TABLE tw_8.formfield MODIFY targetformfeatureid BIGINT DEFAULT 0 NOT NULL",
      Field("multiformlink"), "UPDATE tw_8.formfield SET targetformfeatureid = 2147483648"},
     "formfield: targetformfeatureid does not fit a 32-bit integer in 1 row (formfieldid 7), so "
     "SiteSchemaStep_1_0075 fails; mend it",
     "step SiteSchemaStep_1_0075: .*column targetformfeatureid: 2147483648 does not fit",
     {"UPDATE tw_8.formfield SET targetformfeatureid = 2147483647"}},
    {"AnExpressionPrefixThatIsNull",
     {"ALTER TABLE tw_8.formfieldexpressionfield MODIFY prefix VARCHAR(255)",
      "INSERT INTO tw_8.formfieldexpressionfield(expressionfieldid, prefix) VALUES(5, NULL)"},
     "formfieldexpressionfield: prefix is NULL where the step needs a value in 1 row "
     "(expressionfieldid 5), so SiteSchemaStep_1_0091 fails; ",
     "step SiteSchemaStep_1_0091: .*server error 1048",
     {"UPDATE tw_8.formfieldexpressionfield SET prefix = ''"}},
    {"AViewPrefixThatIsNull",
     {"ALTER TABLE tw_8.formtemplatefield ADD COLUMN prefix VARCHAR(100)",
      "INSERT INTO tw_8.formtemplatefield(formtemplatefieldid) VALUES(5)"},
     "formtemplatefield: prefix is NULL where the step needs a value in 1 row "
     "(formtemplatefieldid 5), so SiteSchemaStep_1_0092 fails; ",
     "step SiteSchemaStep_1_0092: .*server error 1048",
     {"UPDATE tw_8.formtemplatefield SET prefix = ''"}},
    {"AFeedAddressThatIsTooLong",
     {"CREATE TABLE tw_8.featurenamevalue(featureid INT, type INT, name VARCHAR(255), value "
      "LONGTEXT, sequence INT)",
      "INSERT INTO tw_8.featurenamevalue VALUES(1, 2, 'a', REPEAT('x', 300), 1), (1, 3, 'a', "
      "REPEAT('x', 300), 1)"},
     "featurenamevalue: value is longer than the 255 characters of externallookupfeedurl.url in "
     "1 row, so SiteSchemaStep_1_0225 fails; ",
     "step SiteSchemaStep_1_0225: .*server error 1406",
     {"UPDATE tw_8.featurenamevalue SET value = 'x' WHERE type = 2"}},
    {"AFeedAddressThatIsNull",
     {"CREATE TABLE tw_8.featurenamevalue(featureid INT, type INT, name VARCHAR(255), value "
      "VARCHAR(255), sequence INT)",
      "INSERT INTO tw_8.featurenamevalue VALUES(1, 2, 'a', NULL, 1)"},
     "featurenamevalue: value is NULL where the step needs a value in 1 row, so "
     "SiteSchemaStep_1_0225 fails; ",
     "step SiteSchemaStep_1_0225: .*server error 1048",
     {"UPDATE tw_8.featurenamevalue SET value = 'x' WHERE type = 2"}},
    {"AFeedParameterThatIsTooLong",
     {"CREATE TABLE tw_8.featurenamevalue(featureid INT, type INT, name LONGTEXT, value "
      "VARCHAR(255), sequence INT)",
      "INSERT INTO tw_8.featurenamevalue VALUES(1, 0, REPEAT('x', 256), 'a', 1)"},
     "featurenamevalue: name is longer than the 255 characters of externallookupfeedparam.name in "
     "1 row, so SiteSchemaStep_1_0233 fails; ",
     "step SiteSchemaStep_1_0233: .*server error 1406",
     {"UPDATE tw_8.featurenamevalue SET name = 'x'"}},
    {"AFeedParameterThatIsNull",
     {"CREATE TABLE tw_8.featurenamevalue(featureid INT, type INT, name VARCHAR(255), value "
      "VARCHAR(255), sequence INT)",
      "INSERT INTO tw_8.featurenamevalue VALUES(1, 0, 'a', 'b', NULL)"},
     "featurenamevalue: sequence is NULL where the step needs a value in 1 row, so "
     "SiteSchemaStep_1_0233 fails; ",
     "step SiteSchemaStep_1_0233: .*server error 1048",
     {"UPDATE tw_8.featurenamevalue SET sequence = 1"}},
    {"AFeedFieldNameThatIsTooLong",
     {"ALTER TABLE tw_8.externallookupfeedfield MODIFY requestparamname LONGTEXT",
      "INSERT INTO tw_8.externallookupfeedfield(fieldid, requestparamname) VALUES(5, REPEAT('x', "
      "256))"},
     "externallookupfeedfield: requestparamname is longer than the 255 characters of "
     "externallookupfeedparam.name in 1 row (fieldid 5), so SiteSchemaStep_1_0233 fails; ",
     "step SiteSchemaStep_1_0233: .*server error 1406",
     {"UPDATE tw_8.externallookupfeedfield SET requestparamname = 'x'"}},
    {"ADefaultValueThatIsNull",
     {"ALTER TABLE tw_8.formfield MODIFY defaultvalue VARCHAR(255)", Field("text")},
     "formfield: defaultvalue is NULL where the step needs a value in 1 row (formfieldid 7), so "
     "SiteSchemaStep_1_0233 fails; ",
     "step SiteSchemaStep_1_0233: .*server error 1265",
     {"UPDATE tw_8.formfield SET defaultvalue = ''"}},
    {"ADefaultValueThatIsTooLong",
     {"ALTER TABLE tw_8.formfield MODIFY defaultvalue TEXT DEFAULT '' NOT NULL", Field("text"),
      "UPDATE tw_8.formfield SET defaultvalue = REPEAT('x', 256)"},
     "formfield: defaultvalue is longer than the 255 characters of formfield.blankoptiontext in 1 "
     "row (formfieldid 7), so SiteContentStep_1_0003 fails; ",
     "step SiteContentStep_1_0003: .*server error 1406",
     {"UPDATE tw_8.formfield SET defaultvalue = 'x'"}},
    {"AnUploadFormWithoutRecordNumbers",
     {"CREATE TABLE tw_8.form_50(field_7 VARCHAR(255) DEFAULT '' NOT NULL)", Field("file")},
     "form_50: the column replyid is missing, so SiteSchemaStep_1_0251 fails; ",
     "step SiteSchemaStep_1_0251: .*replyid.*server error 1054",
     {"ALTER TABLE tw_8.form_50 ADD COLUMN replyid INT AUTO_INCREMENT PRIMARY KEY"}},
    {"AnUploadFormWhoseMarkIsNull",
     {kFormTable, "ALTER TABLE tw_8.form_50 ADD COLUMN field_7 VARCHAR(255) DEFAULT '' NOT NULL",
      Field("file"), "ALTER TABLE tw_8.form MODIFY securefiles BOOL",
      "INSERT INTO tw_8.form(formfeatureid, securefiles) VALUES(50, NULL), (51, NULL)"},
     "form: securefiles is NULL where a number must be in 1 row (formfeatureid 50), so "
     "SiteSchemaStep_1_0251 fails; ",
     "step SiteSchemaStep_1_0251: .*column securefiles: NULL where a number must be",
     {"UPDATE tw_8.form SET securefiles = 0"}},
    {"AnUploadFieldWithoutTheFormsTable",
     {kFormTable, "ALTER TABLE tw_8.form_50 ADD COLUMN field_7 VARCHAR(255) DEFAULT '' NOT NULL",
      Field("image"), "RENAME TABLE tw_8.form TO tw_8.oldform"},
     "form: the table is missing, so SiteSchemaStep_1_0251 fails; ",
     "step SiteSchemaStep_1_0251: .*tw_8.form WHERE .*server error 1146",
     {"RENAME TABLE tw_8.oldform TO tw_8.form"}},
    {"ALevelOfNavigationThatIsNull",
     {"ALTER TABLE tw_8.layoutzone MODIFY navuntil INT",
      "INSERT INTO tw_8.layoutzone(zoneid, navuntil) VALUES(5, NULL)"},
     "layoutzone: navuntil is NULL where the step needs a value in 1 row (zoneid 5), so "
     "SiteContentStep_1_0005 fails; ",
     "step SiteContentStep_1_0005: .*server error 1048",
     {"UPDATE tw_8.layoutzone SET navuntil = 0"}},
    {"LevelsOfNavigationTooFarApart",
     {"INSERT INTO tw_8.layoutzone(zoneid, navfrom, navuntil) VALUES(5, -1, 2147483646)"},
     "layoutzone: navuntil leads to a number out of range in 1 row (zoneid 5), so "
     "SiteContentStep_1_0005 fails; ",
     "step SiteContentStep_1_0005: .*server error 1264",
     {"UPDATE tw_8.layoutzone SET navuntil = 0"}},
    {"AChargeNameThatIsNull",
     {"ALTER TABLE tw_8.charge MODIFY name VARCHAR(100)",
      "INSERT INTO tw_8.charge(chargeid, name) VALUES(5, NULL)"},
     "charge: name is NULL where a text must be in 1 row (chargeid 5), so SiteContentStep_1_0007 "
     "fails; give it a text",
     "step SiteContentStep_1_0007: .*column name: NULL where a text must be",
     {"UPDATE tw_8.charge SET name = ''"}},
    {"AChargeNameThatIsTooLong",
     {"ALTER TABLE tw_8.charge MODIFY name VARCHAR(200) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.charge(chargeid, name) VALUES(5, REPEAT('\xC3\xA9', 100)), (6, "
      "REPEAT('\xC3\xA9', 101))"},
     "charge: name is longer than the 100 characters of chargegroup.name in 1 row (chargeid 6), "
     "so SiteContentStep_1_0007 fails; ",
     "step SiteContentStep_1_0007: .*server error 1406",
     {"UPDATE tw_8.charge SET name = 'x'"}},
    {"AChargeLinkThatIsDouble",
     {"ALTER TABLE tw_8.chargetocharge DROP PRIMARY KEY",
      "INSERT INTO tw_8.charge(chargeid, sequence) VALUES(5, 1), (6, 2)",
      // The links of charge 5 lead forward and are dropped.
      "INSERT INTO tw_8.chargetocharge VALUES(5, 6), (5, 6), (6, 5), (6, 5)"},
     "chargetocharge: 2 rows have chargeid 6 and applytochargeid 5, which will be a key, so "
     "SiteContentStep_1_0007 fails; delete all but one of them",
     "step SiteContentStep_1_0007: .*server error 1062",
     // After the cut the charges are as they were before, but for what repair clears away.
     {"DELETE FROM tw_8.chargetocharge WHERE chargeid = 6 LIMIT 1",
      "UPDATE tw_8.charge SET chargeoptionid = 0"}},
    {"AnItemTypeOfAChargeThatIsDouble",
     {"ALTER TABLE tw_8.chargetoitemtype DROP PRIMARY KEY",
      "INSERT INTO tw_8.charge(chargeid, sequence) VALUES(5, 1)",
      // Charge 4 is gone.
      "INSERT INTO tw_8.chargetoitemtype VALUES(4, 1), (4, 1), (5, 1), (5, 2), (5, 2)"},
     "chargetoitemtype: 2 rows have chargeid 5 and applytoitemtypeid 2, which will be a key, so "
     "SiteContentStep_1_0007 fails; ",
     "step SiteContentStep_1_0007: .*server error 1062",
     {"DELETE FROM tw_8.chargetoitemtype WHERE chargeid = 5 AND applytoitemtypeid = 2 LIMIT 1"}},
    {"AnItemTypeOfAChargeThatIsNull",
     {"ALTER TABLE tw_8.chargetoitemtype DROP PRIMARY KEY, MODIFY applytoitemtypeid INT",
      "INSERT INTO tw_8.charge(chargeid) VALUES(5)",
      "INSERT INTO tw_8.chargetoitemtype VALUES(5, NULL)"},
     "chargetoitemtype: applytoitemtypeid is NULL where the step needs a value in 1 row, so "
     "SiteContentStep_1_0007 fails; ",
     "step SiteContentStep_1_0007: .*server error 1048",
     {"UPDATE tw_8.chargetoitemtype SET applytoitemtypeid = 1"}},
    {"ATreeLinkThatBecomesTooLong",
     {"INSERT INTO tw_8.tag(tagid, name) VALUES(5, CONCAT('span.TreeLink', REPEAT('x', 215))), "
      "(6, CONCAT('span.TreeLink', REPEAT('x', 216)))"},
     "tag: name becomes longer than the 255 characters of tag.name in 1 row (tagid 6), so "
     "SiteContentStep_1_0009 fails; ",
     "step SiteContentStep_1_0009: .*server error 1406",
     {"UPDATE tw_8.tag SET name = 'span.TreeLink' WHERE tagid = 6"}},
    {"ATagOfNoOverride",
     {"ALTER TABLE tw_8.tag MODIFY overrideid INT",
      "INSERT INTO tw_8.tag(tagid, name, overrideid) VALUES(5, 'span.TreeLink', NULL)"},
     "tag: overrideid is NULL where a number must be in 1 row (tagid 5), so "
     "SiteContentStep_1_0009 fails; ",
     "step SiteContentStep_1_0009: .*column overrideid: NULL where a number must be",
     {"UPDATE tw_8.tag SET overrideid = 0"}},
    {"AHeadingOfNoTemplate",
     {"ALTER TABLE tw_8.tag MODIFY templateid INT",
      "INSERT INTO tw_8.tag(tagid, name, templateid, overrideid) VALUES(5, '.heading', NULL, 3)"},
     "tag: templateid is NULL where a number must be in 1 row (tagid 5), so "
     "SiteContentStep_1_0017 fails; ",
     "step SiteContentStep_1_0017: .*column templateid: NULL where a number must be",
     {"UPDATE tw_8.tag SET templateid = 0"}},
    {"ASearchTextOfNoPage",
     {"ALTER TABLE tw_8.text MODIFY featureid INT",
      "INSERT INTO tw_8.text(textid, featureid, texttype) VALUES(5, NULL, 22), (6, NULL, 0)"},
     "text: featureid is NULL where a number must be in 1 row (textid 5), so "
     "SiteContentStep_1_0019 fails; ",
     "step SiteContentStep_1_0019: .*column featureid: NULL where a number must be",
     {"UPDATE tw_8.text SET featureid = 0"}},
    {"AnElementWhoseNameBecomesTooLong",
     {"ALTER TABLE tw_8.layoutelement MODIFY name VARCHAR(16) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.layoutelement(elementid, sequence) VALUES(5, 9), (6, 10)"},
     "layoutelement: name becomes longer than the 16 characters of layoutelement.name in 1 row "
     "(elementid 6), so SiteContentStep_1_0026 fails; ",
     "step SiteContentStep_1_0026: .*server error 1406",
     {"UPDATE tw_8.layoutelement SET sequence = 1"}},
    {"AnEmailThatBecomesTooLong",
     {"INSERT INTO tw_8.email(emailid, fromlist) VALUES(5, CONCAT('<', REPEAT('x', 252))), (6, "
      "CONCAT('<', REPEAT('x', 251)))"},
     "email: fromlist becomes longer than the 255 characters of email.fromlist in 1 row (emailid "
     "5), so SiteContentStep_1_0043 fails; shorten it",
     "step SiteContentStep_1_0043: .*server error 1406",
     // What repair.md says of a cut conversion holds here, too.
     {"UPDATE tw_8.email SET fromlist = 'x' WHERE emailid = 5",
      "ALTER TABLE tw_8.email DROP COLUMN ishtml"}},
    {"AnEmailWhoseCodesBecomeTooLong",
     {"INSERT INTO tw_8.email(emailid, subject) VALUES(5, CONCAT('#Embed.', REPEAT('x', 248)))"},
     "email: subject becomes longer than the 255 characters of email.subject in 1 row (emailid "
     "5), so SiteContentStep_1_0050 fails; shorten it",
     "step SiteContentStep_1_0050: .*server error 1406",
     {"UPDATE tw_8.email SET subject = 'x'"}},
    {"AShopFlagThatIsNull",
     {"ALTER TABLE tw_8.setting MODIFY integer_value INT",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 1000)",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 5)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, integer_value) VALUES(3, 9, "
      "'ShowBillingName', 'boolean', NULL), (4, 8, 'ShowBillingName', 'boolean', NULL)"},
     "setting: integer_value is NULL where a number must be in 1 row (settingid 3), so "
     "SiteContentStep_1_0054 fails; ",
     "step SiteContentStep_1_0054: .*column integer_value: NULL where a number must be",
     {"UPDATE tw_8.setting SET integer_value = 0"}},
    {"AnAddressThatBecomesTooLong",
     {"ALTER TABLE tw_8.security ADD COLUMN address1 VARCHAR(200) DEFAULT '' NOT NULL, ADD COLUMN "
      "address2 VARCHAR(200) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.security(userid, address1, address2) VALUES(5, REPEAT('x', 127), "
      "REPEAT('y', 127)), (6, REPEAT('x', 126), REPEAT('y', 127))"},
     "security: address1 becomes longer than the 255 characters of security.address in 1 row "
     "(userid 5), so SiteContentStep_1_0054 fails; ",
     "step SiteContentStep_1_0054: .*server error 1406",
     {"UPDATE tw_8.security SET address1 = 'x'"}},
    {"AnAddressLineThatIsNull",
     {"ALTER TABLE tw_8.customerorder ADD COLUMN billingaddress1 VARCHAR(100) DEFAULT '' NOT NULL, "
      "ADD COLUMN billingaddress2 VARCHAR(100) DEFAULT '' NOT NULL, ADD COLUMN shippingaddress1 "
      "VARCHAR(100), ADD COLUMN shippingaddress2 VARCHAR(100) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.customerorder(orderid, billingaddress1) VALUES(5, 'a'), (6, '')"},
     "customerorder: shippingaddress1 is NULL where a text must be in 1 row (orderid 5), so "
     "SiteContentStep_1_0054 fails; ",
     "step SiteContentStep_1_0054: .*column shippingaddress1: NULL where a text must be",
     {"UPDATE tw_8.customerorder SET shippingaddress1 = ''"}},
    {"AZoneOfNoElement",
     {"ALTER TABLE tw_8.layoutzone MODIFY elementid INT",
      "INSERT INTO tw_8.layoutzone(zoneid, elementid) VALUES(5, NULL)"},
     "layoutzone: elementid is NULL where a number must be in 1 row (zoneid 5), so "
     "SiteContentStep_1_0061 fails; ",
     "step SiteContentStep_1_0061: .*column elementid: NULL where a number must be",
     {"UPDATE tw_8.layoutzone SET elementid = 0"}},
    {"AZoneTagOfNoStylesheet",
     {"ALTER TABLE tw_8.tag MODIFY cssid INT", "INSERT INTO tw_8.layoutzone(zoneid) VALUES(12)",
      "INSERT INTO tw_8.tag(tagid, name, cssid) VALUES(5, '.LOnavlink12 A', NULL), (6, "
      "'.LOnavlink123', NULL), (7, '.LOother12', NULL)"},
     "tag: cssid is NULL where a number must be in 1 row (tagid 5), so SiteContentStep_1_0061 "
     "fails; ",
     "step SiteContentStep_1_0061: .*column cssid: NULL where a number must be",
     {"UPDATE tw_8.tag SET cssid = 0"}},
    {"AFormPageOfNoComponent",
     {"ALTER TABLE tw_8.feature MODIFY componentid INT",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, NULL), (6, NULL)",
      "INSERT INTO tw_8.form(formfeatureid) VALUES(5)"},
     "feature: componentid is NULL where a number must be in 1 row (featureid 5), so "
     "SiteContentStep_1_0091 fails; ",
     "step SiteContentStep_1_0091: .*column componentid: NULL where a number must be",
     {"UPDATE tw_8.feature SET componentid = 0 WHERE featureid = 6",
      "UPDATE tw_8.feature SET componentid = 100 WHERE featureid = 5"}},
    {"AFormPageOfAnUnknownComponent",
     {"INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 4711)",
      "INSERT INTO tw_8.form(formfeatureid) VALUES(5)"},
     "feature: neither tw_tarnwick.component nor the data file has component 4711, so "
     "SiteContentStep_1_0091 fails; ",
     "step SiteContentStep_1_0091: .*has component 4711",
     {"UPDATE tw_8.feature SET componentid = 100"}},
    {"ACommissionBeyond32Bits",
     {"ALTER TABLE tw_8.commission MODIFY commissionid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.commission(commissionid, orderid) VALUES(2147483648, 1)"},
     "commission: commissionid does not fit a 32-bit integer in 1 row (commissionid 2147483648), "
     "so SiteContentStep_1_0223 fails; ",
     "step SiteContentStep_1_0223: .*column commissionid: 2147483648 does not fit",
     {"UPDATE tw_8.commission SET commissionid = 1"}},
    {"AFeedFieldOfNoPage",
     {"ALTER TABLE tw_8.datafeedfield MODIFY featureid INT",
      "INSERT INTO tw_8.datafeedfield(fieldid, featureid) VALUES(5, NULL), (6, NULL)",
      "INSERT INTO tw_8.externallookupfeedfield(fieldid) VALUES(5)"},
     "datafeedfield: featureid is NULL where the step needs a value in 1 row (fieldid 5), so "
     "SiteContentStep_1_0229 fails; ",
     "step SiteContentStep_1_0229: .*server error 1048",
     {"UPDATE tw_8.datafeedfield SET featureid = 0"}},
    {"ACanonicalAddressThatIsTooLong",
     {"ALTER TABLE tw_8.setting MODIFY string_value LONGTEXT",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 5)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(3, 9, "
      "'canonical', 'string', REPEAT('x', 256)), (4, 8, 'canonical', 'string', REPEAT('x', 256))"},
     "setting: string_value is longer than the 255 characters of directurl.url in 1 row "
     "(settingid 3), so SiteContentStep_1_0237 fails; ",
     "step SiteContentStep_1_0237: .*server error 1406",
     {"UPDATE tw_8.setting SET string_value = 'x'"}},
    {"ACanonicalAddressForNavigationThatIsTooLong",
     {"ALTER TABLE tw_8.navigation MODIFY canonical VARCHAR(50) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.navigation(navigationid, featureid) VALUES(1, 5)",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 5), (10, 6)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(3, 9, "
      "'canonical', 'string', REPEAT('x', 51)), (4, 10, 'canonical', 'string', REPEAT('x', 51))"},
     "setting: string_value is longer than the 50 characters of navigation.canonical in 1 row "
     "(settingid 3), so SiteContentStep_1_0237 fails; ",
     "step SiteContentStep_1_0237: .*server error 1406",
     {"UPDATE tw_8.setting SET string_value = 'x'"}},
    {"ACanonicalAddressThatIsNull",
     {"ALTER TABLE tw_8.setting MODIFY string_value VARCHAR(255)",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 5)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(3, 9, "
      "'canonical', 'string', NULL)"},
     "setting: string_value is NULL where a text must be in 1 row (settingid 3), so "
     "SiteContentStep_1_0237 fails; ",
     "step SiteContentStep_1_0237: .*column string_value: NULL where a text must be",
     {"UPDATE tw_8.setting SET string_value = 'x'"}},
    {"AnOverrideOfNoPage",
     {"ALTER TABLE tw_8.override MODIFY featureid INT",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, NULL), (10, NULL)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(3, 9, "
      "'canonical', 'string', 'a')"},
     "override: featureid is NULL where a number must be in 1 row (overrideid 9), so "
     "SiteContentStep_1_0237 fails; ",
     "step SiteContentStep_1_0237: .*column featureid: NULL where a number must be",
     {"UPDATE tw_8.override SET featureid = 5"}},
    {"AReplacementCharacterOfAnotherCharacterSet",
     {"ALTER TABLE tw_8.formfield CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.setting CONVERT TO CHARACTER SET utf8mb4", Field("text"),
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 50)",
      "INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(3, 9, "
      "'DirectURLReplacementChar', 'string', '\xE2\x86\x92')"},
     "setting: string_value has characters that latin1, the character set of "
     "formfield.directurlreplacementchar, lacks in 1 row (settingid 3), so SiteContentStep_1_0237 "
     "fails; ",
     "step SiteContentStep_1_0237: .*server error 1366",
     {"UPDATE tw_8.setting SET string_value = '_'"}},
    {"AStyleWhoseColoursBecomeTooLong",
     {"ALTER TABLE tw_8.attribute MODIFY value VARCHAR(255) DEFAULT '' NOT NULL",
      // 255 characters that grow by one; 255 that shrink before they grow; 255 of another name;
      // 254; 255 with a tab at the end, which is cut off.
      "INSERT INTO tw_8.attribute(attributeid, name, value) VALUES(5, 'border-left', CONCAT('red "
      "', REPEAT('x', 251))), (6, 'border-left', CONCAT('white red ', REPEAT('x', 245))), (7, "
      "'width', CONCAT('red ', REPEAT('x', 251))), (8, 'color', CONCAT('red ', REPEAT('x', "
      "250))), (9, 'color', CONCAT('red ', REPEAT('x', 250), CHAR(9)))"},
     "attribute: value becomes longer than the 255 characters of attribute.value in 1 row "
     "(attributeid 5), so SiteContentStep_1_0254 fails; shorten it",
     "step SiteContentStep_1_0254: .*server error 1406",
     {"UPDATE tw_8.attribute SET value = 'red' WHERE attributeid = 5"}},
    {"ALongFormTextThatIsNull",
     {kFormTable, Field("memo"), "ALTER TABLE tw_8.form_50 ADD COLUMN field_7 TEXT",
      "INSERT INTO tw_8.form_50(field_7) VALUES(NULL)"},
     "form_50: field_7 is NULL where the step needs a value in 1 row (replyid 1), so "
     "SiteContentStep_1_0255 fails; ",
     "step SiteContentStep_1_0255: .*server error 1265",
     {"UPDATE tw_8.form_50 SET field_7 = ''"}},
    {"AFormWhoseKeyHasTheNameOfAKeyword",
     {"CREATE TABLE tw_8.form_50(`order` INT PRIMARY KEY, field_7 TEXT)", Field("memo"),
      "INSERT INTO tw_8.form_50(`order`) VALUES(3)"},
     "form_50: field_7 is NULL where the step needs a value in 1 row (order 3), so "
     "SiteContentStep_1_0255 fails; ",
     "step SiteContentStep_1_0255: .*server error 1265",
     {"UPDATE tw_8.form_50 SET field_7 = ''"}},
    {"AChargePasswordThatIsTooLong",
     {"ALTER TABLE tw_8.charge ADD COLUMN password VARCHAR(200) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.charge(chargeid, password) VALUES(5, REPEAT('x', 20)), (6, REPEAT('x', "
      "21))"},
     "charge: password is longer than the 20 characters of chargeoption.password in 1 row "
     "(chargeid 6), so SiteContentStep_1_0007 fails; ",
     "step SiteContentStep_1_0007: .*server error 1406",
     {"UPDATE tw_8.charge SET password = 'x'"}},
    {"AStylesheetBeyond32Bits",
     {"ALTER TABLE tw_8.css MODIFY cssid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.css(cssid) VALUES(2147483648)"},
     "css: cssid does not fit a 32-bit integer in 1 row (cssid 2147483648), so "
     "SiteContentStep_1_0254 fails; ",
     "step SiteContentStep_1_0254: .*column cssid: 2147483648 does not fit",
     {"UPDATE tw_8.css SET cssid = 1"}},
    {"ALoginPageBeyond32Bits",
     {"ALTER TABLE tw_8.feature MODIFY featureid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(2147483648, 100)"},
     "feature: featureid does not fit a 32-bit integer in 1 row (featureid 2147483648), so "
     "SiteContentStep_1_0008 fails; ",
     "step SiteContentStep_1_0008: .*column featureid: 2147483648 does not fit",
     {"UPDATE tw_8.feature SET featureid = 900000 WHERE featureid = 2147483648"}},
    {"AShopPageBeyond32Bits",
     {"ALTER TABLE tw_8.feature MODIFY featureid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(2147483648, 1000)"},
     "feature: featureid does not fit a 32-bit integer in 1 row (featureid 2147483648), so "
     "SiteContentStep_1_0054 fails; ",
     "step SiteContentStep_1_0054: .*column featureid: 2147483648 does not fit",
     {"UPDATE tw_8.feature SET featureid = 900000 WHERE featureid = 2147483648"}},
    {"APermissionCacheBeyond32Bits",
     {"ALTER TABLE tw_8.cache MODIFY cacheid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.cache(cacheid, type, templateid) VALUES(2147483648, 2, 1)"},
     "cache: cacheid does not fit a 32-bit integer in 1 row (cacheid 2147483648), so "
     "SiteContentStep_1_0066 fails; ",
     "step SiteContentStep_1_0066: .*column cacheid: 2147483648 does not fit",
     {"UPDATE tw_8.cache SET cacheid = 900000 WHERE cacheid = 2147483648"}},
    {"AStyleCacheBeyond32Bits",
     {"ALTER TABLE tw_8.cache MODIFY cacheid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.cache(cacheid, type, templateid) VALUES(2147483648, 0, 1)"},
     "cache: cacheid does not fit a 32-bit integer in 1 row (cacheid 2147483648), so "
     "SiteContentStep_1_0082 fails; ",
     "step SiteContentStep_1_0082: .*column cacheid: 2147483648 does not fit",
     {"UPDATE tw_8.cache SET cacheid = 900000 WHERE cacheid = 2147483648"}},
    {"ALongTextFieldBeyond32Bits",
     {"ALTER TABLE tw_8.formfield MODIFY formfieldid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(2147483648, 50, 'memo')"},
     "formfield: formfieldid does not fit a 32-bit integer in 1 row (formfieldid 2147483648), so "
     "SiteContentStep_1_0255 fails; ",
     "step SiteContentStep_1_0255: .*column formfieldid: 2147483648 does not fit",
     {"UPDATE tw_8.formfield SET formfieldid = 900000 WHERE formfieldid = 2147483648"}},
    {"ASearchLogWithAnotherKey",
     {"CREATE TABLE tw_8.searchlog(logid INT PRIMARY KEY)"},
     "searchlog: searchlogid is to be the primary key, and the table has another one, PRIMARY "
     "KEY(logid), so "
     "SiteSchemaStep_1_0020 fails; ALTER TABLE tw_8.searchlog DROP PRIMARY KEY",
     "step SiteSchemaStep_1_0020: .*server error 1068",
     {"ALTER TABLE tw_8.searchlog DROP PRIMARY KEY"}},
    {"AFeedFieldWithAnotherKey",
     {"ALTER TABLE tw_8.externallookupfeedfield ADD PRIMARY KEY(fieldid)"},
     "externallookupfeedfield: lookupfieldid is to be the primary key, and the table has another "
     "one, PRIMARY KEY(fieldid), so SiteSchemaStep_1_0229 fails; ",
     "step SiteSchemaStep_1_0229: .*server error 1068",
     {"ALTER TABLE tw_8.externallookupfeedfield DROP PRIMARY KEY"}},
};

/// The text for another site than 8.
std::string ForSite(std::int32_t siteId, std::string text) {
    const std::string other = "tw_" + std::to_string(siteId);
    for (auto at = text.find("tw_8."); at != std::string::npos; at = text.find("tw_8.", at + 1)) {
        text.replace(at, 4, other);
    }
    return text;
}

void ExecuteFor(std::int32_t siteId, const std::vector<std::string>& statements) {
    for (const std::string& statement : statements) {
        CliServer::Get().Root().Execute(ForSite(siteId, statement) + ";");
    }
}

// All situations in one installation, each in a site of its own.
TEST_P(CheckRows, EverySituationIsFoundComesTrueAndIsMended) {
    std::map<std::int32_t, Situation> situations;  // by the site that has it
    for (std::size_t i = GetParam(); i < kSituations.size(); i += 2) {
        situations.emplace(static_cast<std::int32_t>(101 + i), kSituations[i]);
    }
    MakeCentralDatabase();
    for (const auto& [siteId, situation] : situations) {
        MakeSite(siteId, "1.0000", sample::AllGroups());
        ExecuteFor(siteId, situation.make);
    }
    const Outcome found = Run({"check"});
    EXPECT_EQ(found.status, 3) << found.err;
    EXPECT_THAT(found.out, HasSubstr(fmt::format("\n{} findings.\n", situations.size())));
    for (const auto& [siteId, situation] : situations) {
        SCOPED_TRACE(situation.name);
        const std::string database = fmt::format("tw_{}.", siteId);
        EXPECT_THAT(LinesOf(found.out, database),
                    ElementsAre(StartsWith(database + ForSite(siteId, situation.finding))));

        const Outcome failed = Run({"upgrade-site", std::to_string(siteId)});
        EXPECT_EQ(failed.status, 1) << failed.out;
        EXPECT_THAT(failed.err, ContainsRegex(ForSite(siteId, situation.failure)));
        ExecuteFor(siteId, situation.cure);
        if (situation.failure.find("SiteContentStep_1_0007") != std::string::npos) {
            // The charges have changed since, so that the manual leaves this to a person.
            ExecuteFor(siteId, {"DELETE FROM tw_8.chargegroup", "DELETE FROM tw_8.chargeoption",
                                "DELETE FROM tw_8.chargegrouptochargegroup",
                                "DELETE FROM tw_8.chargegrouptoitemtype",
                                "UPDATE tw_8.charge SET chargeoptionid = 0"});
        }
    }
    const Outcome clean = Run({"check"});
    EXPECT_EQ(clean.status, 0) << clean.out << clean.err;
    const Outcome done = Run({"upgrade", "--repair"});
    EXPECT_EQ(done.status, 0) << done.err;
}

INSTANTIATE_TEST_SUITE_P(Halves, CheckRows, testing::Values(0U, 1U));

}  // namespace
}  // namespace twupdate::test
