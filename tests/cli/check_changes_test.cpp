#include <fmt/format.h>
#include <gmock/gmock.h>

#include "cli/check/own_changes.h"
#include "cli/installation_fixture.h"
#include "cli/sample_fixture.h"
#include "support/lines.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

/// One of several changes to a site, in the order in which the upgrade comes to them.
struct Change {
    std::string make;     ///< a statement without the closing semicolon
    std::string finding;  ///< as check prints it, from the table on
    std::string failure;  ///< of the upgrade, a regular expression
    std::string cure;     ///< like `make`
};

/// A site with changes that make the upgrade fail one after the other.
struct ChangedSite {
    const char* name;
    std::string version;            ///< recorded; the layout is the current one when above 1.0000
    std::vector<std::string> rows;  ///< statements without the closing semicolon
    std::vector<Change> changes;
};

/// A column without a default in a table into which the step inserts.
Change NoDefault(const std::string& table, const std::string& step) {
    return {"ALTER TABLE tw_8." + table + " ADD COLUMN added INT NOT NULL",
            table + ": added has no default, and the step adds rows without it, so " + step +
                " fails; give it a default",
            "step " + step + ": INSERT INTO tw_8." + table +
                "\\(.*server error 1364 .*Field 'added' doesn't have a default value",
            "ALTER TABLE tw_8." + table + " ALTER COLUMN added SET DEFAULT 0"};
}

/// A column that is narrower than what the step writes into it.
Change Narrow(const std::string& table, const std::string& column, const std::string& type,
              const std::string& written, const std::string& step,
              const std::string& cured = "VARCHAR(255)") {
    const bool isText = type.starts_with("varchar");
    return {"ALTER TABLE tw_8." + table + " MODIFY " + column + " " + type + " DEFAULT " +
                (isText ? "''" : "0") + " NOT NULL",
            fmt::format("{}: the step writes {} into {}, which is {}, so {} fails; make {} as wide "
                        "as the layout has it",
                        table, written, column, type + (isText ? "" : "(4)"), step, column),
            fmt::format("step {}: .*tw_8.{}.*server error {} .*'{}'", step, table,
                        isText ? 1406 : 1264, column),
            "ALTER TABLE tw_8." + table + " MODIFY " + column +
                (isText ? " " + cured + " DEFAULT '' NOT NULL" : " INT DEFAULT 0 NOT NULL")};
}

/// A number of the rows to come that is out of range.
Change NoIdLeft(const std::string& table, const std::string& key, const std::string& next,
                const std::string& step) {
    return {fmt::format("ALTER TABLE tw_8.{} MODIFY {} BIGINT AUTO_INCREMENT NOT NULL, "
                        "AUTO_INCREMENT = {}",
                        table, key, next),
            fmt::format("{}: the {} of a new row would be {}, which is out of range, so {} fails; "
                        "give the last rows smaller numbers, then ALTER TABLE tw_8.{} "
                        "AUTO_INCREMENT = 1",
                        table, key, next, step, table),
            "step " + step + ": the id " + next + " of the last INSERT does not fit",
            fmt::format("DELETE FROM tw_8.{0} WHERE {1} >= {2}; ALTER TABLE tw_8.{0} "
                        "AUTO_INCREMENT = 1",
                        table, key, next)};
}

/// A number beyond 32 bits in a row of its own.
/// @param values  of a row, as "column = value" with the number among them
Change Beyond(const std::string& table, const std::string& column, const std::string& values,
              const std::string& key, const std::string& step, bool isCounted = true) {
    const std::string number = "4294967296";
    return {fmt::format("ALTER TABLE tw_8.{0} MODIFY {1} BIGINT {2} NOT NULL; INSERT INTO tw_8.{0} "
                        "SET {3}",
                        table, column, isCounted ? "AUTO_INCREMENT" : "DEFAULT 0", values),
            fmt::format("{}: {} does not fit a 32-bit integer in 1 row ({}), so {} fails; mend it",
                        table, column, key.empty() ? column + " " + number : key, step),
            "step " + step + ": .*column " + column + ": " + number + " does not fit",
            fmt::format("DELETE FROM tw_8.{0} WHERE {1} = {2}; ALTER TABLE tw_8.{0} AUTO_INCREMENT "
                        "= 1",
                        table, column, number)};
}

/// A number below 32 bits, where one above them would use up the numbers of the rows to come.
/// @param values  the others of the row, as "column = value"
Change Below(const std::string& table, const std::string& column, const std::string& number,
             const std::string& values, const std::string& step) {
    return {fmt::format("ALTER TABLE tw_8.{0} MODIFY {1} BIGINT AUTO_INCREMENT NOT NULL; INSERT "
                        "INTO tw_8.{0} SET {1} = {2}, {3}",
                        table, column, number, values),
            fmt::format("{0}: {1} does not fit a 32-bit integer in 1 row ({1} {2}), so {3} fails; "
                        "mend it",
                        table, column, number, step),
            "step " + step + ": .*column " + column + ": " + number + " does not fit",
            fmt::format("DELETE FROM tw_8.{0} WHERE {1} = {2}", table, column, number)};
}

/// A row in which one value stops a step.
/// @param key      names the row, such as "tagid 5"
/// @param set      the values of the row besides the key, as "column = value"
/// @param problem  as check tells it of the column
/// @param failure  of the step, a regular expression
Change BadRow(const std::string& table, const std::string& key, const std::string& set,
              const std::string& column, const std::string& problem, const std::string& step,
              const std::string& failure) {
    const auto blank = key.find(' ');
    const std::string name = key.substr(0, blank) + " = " + key.substr(blank + 1);
    return {
        fmt::format("INSERT INTO tw_8.{} SET {}, {}", table, name, set),
        fmt::format("{}: {} {} in 1 row ({}), so {} fails; ", table, column, problem, key, step),
        fmt::format("step {}: .*{}", step, failure),
        fmt::format("DELETE FROM tw_8.{} WHERE {}", table, name)};
}

/// The change with another cure.
Change Cured(Change change, const std::string& cure) {
    change.cure = cure;
    return change;
}

/// A row with a number that is NULL, or beyond 32 bits.
/// @param rest  of its values, as ", column = value"
Change BadNumber(const std::string& table, const std::string& key, const std::string& column,
                 const std::string& number, const std::string& rest, const std::string& step) {
    const bool isNull = number == "NULL";
    return BadRow(table, key, column + " = " + number + rest, column,
                  isNull ? "is NULL where a number must be" : "does not fit a 32-bit integer", step,
                  "column " + column + ": " + number +
                      (isNull ? " where a number must be" : " does not fit"));
}

/// A row with a text that is NULL.
Change NoText(const std::string& table, const std::string& key, const std::string& column,
              const std::string& rest, const std::string& step) {
    return BadRow(table, key, column + " = NULL" + rest, column, "is NULL where a text must be",
                  step, "column " + column + ": NULL where a text must be");
}

/// A row with a number of single precision that is NULL. The conversion is cut in the middle.
Change NoFloat(const std::string& table, const std::string& key, const std::string& column) {
    Change change =
        BadRow(table, key, column + " = NULL", column, "is NULL where a number must be",
               "SiteSchemaStep_1_0035", "CAST\\(" + column + " AS BINARY\\).*server error 1048");
    change.cure += "; ALTER TABLE tw_8." + table + " DROP COLUMN double_temp";
    return change;
}

/// Rows with an amount that is NULL, and with one that is too large.
Change NoAmount(const std::string& table, const std::string& key, const std::string& column) {
    return BadRow(table, key, column + " = NULL", column, "is NULL where an amount must be",
                  "SiteSchemaStep_1_0047", "server error 1265 .*'" + column + "'");
}
Change LargeAmount(const std::string& table, const std::string& key, const std::string& column) {
    return BadRow(table, key, column + " = 2e15", column, "is no amount of at most 15 digits",
                  "SiteSchemaStep_1_0047", "server error 1264 .*'" + column + "'");
}

/// A row with a character that the character set of the column which it comes to lacks.
Change BadCharacter(const std::string& table, const std::string& key, const std::string& set,
                    const std::string& column, const std::string& target, const std::string& step,
                    int error = 1366) {
    return BadRow(table, key, set, column,
                  "has characters that latin1, the character set of " + target + ", lacks", step,
                  "server error " + std::to_string(error));
}

/// A column that a step names.
Change MissingColumn(const std::string& table, const std::string& column, const std::string& step) {
    return {"ALTER TABLE tw_8." + table + " RENAME COLUMN " + column + " TO kept_" + column,
            table + ": the column " + column + " is missing, so " + step +
                " fails; bring it back from a backup",
            "step " + step + ": .*server error 1054 .*'" + column + "'",
            "ALTER TABLE tw_8." + table + " RENAME COLUMN kept_" + column + " TO " + column};
}

/// A value of a row that is copied into a column that does not take it.
/// @param problem  "is NULL where the step needs a value", and the like
/// @param target   the column into which it is copied
Change Copied(const std::string& table, const std::string& row, const std::string& column,
              const std::string& problem, const std::string& key, const std::string& step,
              const std::string& target, int error, const std::string& cure) {
    return {row,
            fmt::format("{}: {} {} in 1 row{}, so {} fails; ", table, column, problem, key, step),
            fmt::format("step {}: .*server error {} .*'{}'", step, error, target), cure};
}

/// A posting whose number is read as that of its thread's latest.
Change LatestBeyond(const std::string& step) {
    Change change = Beyond("forum", "elementid",
                           "elementid = 4294967296, threadid = 1, published = 0", "", step);
    change.failure = "step " + step + ": .*column latestelementid: 4294967296 does not fit";
    return change;
}

/// A table of the current layout before its time, with a column without a default.
Change EarlyTable(const std::string& table, const std::string& step) {
    Change change = NoDefault(table, step);
    change.make = "CREATE TABLE tw_8." + table + " LIKE tw_7." + table + "; " + change.make;
    return change;
}

const std::string kLogIn = "INSERT INTO tw_8.feature(featureid, componentid) VALUES(5, 100)";
const std::string kShop = "INSERT INTO tw_8.feature(featureid, componentid) VALUES(6, 1000)";
const std::string kForm = "INSERT INTO tw_8.form(formfeatureid) VALUES(7)";
const std::string kFormPage = "INSERT INTO tw_8.feature(featureid, componentid) VALUES(7, 100)";
const std::string kShopEmail =
    "INSERT INTO tw_8.email(emailid, featureid, type) VALUES(3, 6, 'postorderpayment')";
const std::string kShopOverride = "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 6)";
const std::string kExplicitElements =
    "INSERT INTO tw_8.override(overrideid, featureid) VALUES(4, 12); INSERT INTO "
    "tw_8.layoutelement(elementid, featureid, sequence) VALUES(1, 12, 1); INSERT INTO "
    "tw_8.setting(overrideid, name, type, text) VALUES(4, 'ExplicitLayoutElements', 'text', '1')";
const std::string kEmbeddedLinks =
    "INSERT INTO tw_8.formtemplate(featureid) VALUES(20); INSERT INTO "
    "tw_8.formtemplatefield(formtemplatefieldid, featureid, queryfieldid) VALUES(4, 20, 3); INSERT "
    "INTO tw_8.queryfieldsrc(queryfieldid, tableid, srcfieldid) VALUES(3, 2, 7); INSERT INTO "
    "tw_8.querytable(tableid, srctableid) VALUES(2, 50); INSERT INTO tw_8.formfield(formfieldid, "
    "featureid, type, targetformfeatureid) VALUES(7, 50, 'multiformlink', 51); INSERT INTO "
    "tw_8.text(textid, featureid, text) VALUES(9, 20, '<p><#Embed.17.4:Books#></p>')";

std::string Setting(int overrideId, const std::string& name, const std::string& type,
                    const std::string& value) {
    return fmt::format(
        "INSERT INTO tw_8.setting(overrideid, name, type, {}) VALUES({}, '{}', "
        "'{}', {})",
        type == "string" ? "string_value" : "integer_value", overrideId, name, type, value);
}

const std::string kNoValue = "is NULL where the step needs a value";
const std::string kRange = "is out of the range of ";

const std::vector<ChangedSite> kChangedSites{
    {"EveryTableWithAColumnWithoutADefault",
     "1.0000",
     {"INSERT INTO tw_8.charge(chargeid, featureid) VALUES(5, 6)", kLogIn, kEmbeddedLinks,
      "INSERT INTO tw_8.tag(tagid, name) VALUES(5, 'span.TreeLink')",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 5)",
      Setting(9, "RegistrationText", "string", "'Join us'"),
      Setting(9, "canonical", "string", "'log-in'"), kForm, kFormPage},
     {EarlyTable("externallookupfeedparam", "SiteSchemaStep_1_0233"),
      EarlyTable("chargegroup", "SiteContentStep_1_0007"),
      EarlyTable("chargeoption", "SiteContentStep_1_0007"),
      EarlyTable("chargegrouptochargegroup", "SiteContentStep_1_0007"),
      EarlyTable("chargegrouptoitemtype", "SiteContentStep_1_0007"),
      NoDefault("event", "SiteContentStep_1_0008"), NoDefault("email", "SiteContentStep_1_0008"),
      NoDefault("eventpart", "SiteContentStep_1_0008"),
      NoDefault("emailevent", "SiteContentStep_1_0008"), NoDefault("tag", "SiteContentStep_1_0009"),
      NoDefault("attribute", "SiteContentStep_1_0009"),
      NoDefault("setting", "SiteContentStep_1_0020"),
      NoDefault("override", "SiteContentStep_1_0091"), NoDefault("text", "SiteContentStep_1_0222"),
      NoDefault("directurl", "SiteContentStep_1_0237"),
      EarlyTable("textembed", "SiteContentStep_1_0242"),
      EarlyTable("textembedproperty", "SiteContentStep_1_0242")}},
    {"TablesThatALaterStepComesTo",
     "1.0000",
     {kShop, kShopEmail, "INSERT INTO tw_8.tag(tagid, name, overrideid) VALUES(5, '.heading', 3)"},
     {NoDefault("tag", "SiteContentStep_1_0017"), NoDefault("attribute", "SiteContentStep_1_0017"),
      NoDefault("override", "SiteContentStep_1_0054"), NoDefault("event", "SiteContentStep_1_0055"),
      NoDefault("eventpart", "SiteContentStep_1_0055"),
      NoDefault("emailevent", "SiteContentStep_1_0055")}},
    {"SettingsOfLayouts",
     "1.0020",
     {kExplicitElements},
     {NoDefault("setting", "SiteContentStep_1_0026")}},
    {"SettingsOfShops", "1.0026", {kShop}, {NoDefault("setting", "SiteContentStep_1_0054")}},
    {"CopiedSettings", "1.0054", {}, {NoDefault("setting", "SiteContentStep_1_0081")}},
    {"SettingsOfForms",
     "1.0081",
     {kForm, kFormPage},
     {NoDefault("setting", "SiteContentStep_1_0091")}},
    {"SettingsOfSearches", "1.0091", {}, {NoDefault("setting", "SiteContentStep_1_0257")}},
    // Nothing is inserted into the first two; the others have values of their own.
    {"TablesThatTakeWhatComes",
     "1.0000",
     {kShop, "ALTER TABLE tw_8.email ADD COLUMN added INT NOT NULL",
      "ALTER TABLE tw_8.tag ADD COLUMN added INT NOT NULL",
      "ALTER TABLE tw_8.setting ADD COLUMN kind ENUM('a', 'b') NOT NULL, ADD COLUMN twice INT AS "
      "(2 * integer_value) STORED, ADD COLUMN maybe INT",
      "ALTER TABLE tw_8.override ADD COLUMN given INT NOT NULL",
      "CREATE TRIGGER tw_8.gives BEFORE INSERT ON tw_8.override FOR EACH ROW SET NEW.given = 4"},
     {}},
    // An INSERT ... SELECT is refused before a trigger runs.
    {"ATriggerThatComesTooLate",
     "1.0000",
     {},
     {{"ALTER TABLE tw_8.setting ADD COLUMN given INT NOT NULL; CREATE TRIGGER tw_8.gives BEFORE "
       "INSERT ON tw_8.setting FOR EACH ROW SET NEW.given = 4",
       "setting: given has no default, and the step adds rows without it, so "
       "SiteContentStep_1_0020 fails; ",
       "step SiteContentStep_1_0020: .*server error 1364 .*Field 'given'",
       "ALTER TABLE tw_8.setting ALTER COLUMN given SET DEFAULT 0"}}},
    {"NarrowColumnsOfALogInPage",
     "1.0000",
     {kLogIn},
     {Narrow("event", "name", "varchar(27)", "\"Reset Password (being added)\"",
             "SiteContentStep_1_0008"),
      Narrow("email", "type", "varchar(12)", "\"resetpassword\"", "SiteContentStep_1_0008"),
      Narrow("email", "subject", "varchar(18)", "\"Reset your password\"",
             "SiteContentStep_1_0008"),
      Narrow("email", "message", "varchar(144)",
             "\"Somebody has asked for a new password fo…\" (149 characters)",
             "SiteContentStep_1_0008"),
      Narrow("eventpart", "name", "varchar(19)", "\"Reset password email\"",
             "SiteContentStep_1_0008")}},
    {"NarrowColumnsOfAShop",
     "1.0000",
     {kShop, kShopEmail, kExplicitElements,
      "CREATE TABLE tw_8.rssfilelookup LIKE tw_7.rssfilelookup",
      "INSERT INTO tw_8.rssfilelookup(queryid, viewid, instanceid, dir) VALUES(1, 2, 3, '')",
      "ALTER TABLE tw_8.tag ADD COLUMN cssorder INT DEFAULT 0 NOT NULL",
      "INSERT INTO tw_8.tag(tagid, name) VALUES(5, 'p.basefont')"},
     {Narrow("rssfilelookup", "dir", "varchar(2)", "\"rss\"", "SiteSchemaStep_1_0235"),
      Narrow("setting", "type", "varchar(6)", "\"integer\"", "SiteContentStep_1_0026"),
      Narrow("setting", "string_value", "varchar(21)", "\"0,1,2,3,4,5,6,7,8,9,10\"",
             "SiteContentStep_1_0054"),
      Narrow("setting", "name", "varchar(22)", "\"ShippingDisplaySequence\"",
             "SiteContentStep_1_0054"),
      Narrow("event", "name", "varchar(26)", "\"Order Payment (being added)\"",
             "SiteContentStep_1_0055"),
      Narrow("eventpart", "name", "varchar(18)", "\"Order payment email\"",
             "SiteContentStep_1_0055"),
      Narrow("tag", "cssorder", "tinyint", "\"500\"", "SiteContentStep_1_0072")}},
    {"NarrowColumnsOfAShopWithItsEvent",
     "1.0000",
     {kShop, "INSERT INTO tw_8.event(featureid, name) VALUES(6, 'Order Payment')",
      "ALTER TABLE tw_8.tag ADD COLUMN cssorder INT DEFAULT 0 NOT NULL",
      "INSERT INTO tw_8.tag(tagid, name) VALUES(5, '.emptybasketlink')"},
     {Narrow("setting", "type", "varchar(5)", "\"string\"", "SiteContentStep_1_0054"),
      Narrow("event", "name", "varchar(15)", "\"Order Completion\"", "SiteContentStep_1_0069"),
      Narrow("tag", "cssorder", "tinyint", "\"550\"", "SiteContentStep_1_0099")}},
    {"ANarrowNameOfATargetInstance",
     "1.0000",
     {Setting(9, "TargetInstanceId", "integer", "4")},
     {Narrow("setting", "name", "varchar(16)", "\"TargetInstanceIds\"", "SiteContentStep_1_0020")}},
    {"ANarrowNameOfDisplaySequences",
     "1.0026",
     {kShop},
     {Narrow("setting", "name", "varchar(21)", "\"BillingDisplaySequence\"",
             "SiteContentStep_1_0054", "VARCHAR(22)"),
      Narrow("setting", "name", "varchar(21)", "\"ShippingDisplaySequence\"",
             "SiteContentStep_1_0054")}},
    {"ANarrowNameOfCountries",
     "1.0080",
     {kShop, kShopOverride, Setting(9, "DefaultCountryId", "integer", "44")},
     {Narrow("setting", "name", "varchar(22)", "\"DefaultBillingCountryId\"",
             "SiteContentStep_1_0081", "VARCHAR(23)"),
      Narrow("setting", "name", "varchar(22)", "\"DefaultShippingCountryId\"",
             "SiteContentStep_1_0081")}},
    {"NarrowColumnsOfAForm",
     "1.0000",
     {kForm, kFormPage},
     {Narrow("setting", "name", "varchar(12)", "\"FormFeatureId\"", "SiteContentStep_1_0091"),
      Narrow("setting", "type", "varchar(6)", "\"integer\"", "SiteContentStep_1_0091")}},
    {"ANarrowTypeOfAFormsSetting",
     "1.0000",
     {kForm, kFormPage, "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 7)",
      Setting(9, "FormFeatureId", "text", "7")},
     {Narrow("setting", "type", "varchar(4)", "\"integer\"", "SiteContentStep_1_0091")}},
    {"ANarrowTypeOfASearchSetting",
     "1.0000",
     {Setting(9, "IgnoreWordFragments", "text", "-1")},
     {Narrow("setting", "type", "varchar(4)", "\"integer\"", "SiteContentStep_1_0257")}},
    {"NumbersOfNewRows",
     "1.0000",
     {"INSERT INTO tw_8.charge(chargeid, featureid) VALUES(5, 6)", kLogIn, kEmbeddedLinks,
      "INSERT INTO tw_8.tag(tagid, name) VALUES(5, 'span.TreeLink')", kForm, kFormPage,
      "CREATE TABLE tw_8.chargegroup LIKE tw_7.chargegroup",
      "CREATE TABLE tw_8.chargeoption LIKE tw_7.chargeoption",
      "CREATE TABLE tw_8.textembed LIKE tw_7.textembed"},
     {NoIdLeft("chargegroup", "groupid", "2147483648", "SiteContentStep_1_0007"),
      NoIdLeft("chargeoption", "optionid", "2147483648", "SiteContentStep_1_0007"),
      NoIdLeft("event", "eventid", "4294967296", "SiteContentStep_1_0008"),
      NoIdLeft("email", "emailid", "2147483648", "SiteContentStep_1_0008"),
      NoIdLeft("eventpart", "eventpartid", "2147483648", "SiteContentStep_1_0008"),
      NoIdLeft("tag", "tagid", "2147483648", "SiteContentStep_1_0009"),
      NoIdLeft("override", "overrideid", "2147483648", "SiteContentStep_1_0091"),
      NoIdLeft("textembed", "embedid", "2147483648", "SiteContentStep_1_0242")}},
    {"NumbersThatStepsRead",
     "1.0000",
     {kLogIn, kExplicitElements, "INSERT INTO tw_8.tag(tagid, name) VALUES(5, 'span.TreeLink')",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(12, 900)",
      "INSERT INTO tw_8.forum(elementid, threadid) VALUES(1, 1)",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40)",
      Setting(9, "canonical", "string", "'books'"),
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(10, 41)",
      Setting(10, "canonical", "string", "'books'")},
     {Beyond("charge", "chargeid", "chargeid = 4294967296, name = 'a'", "",
             "SiteContentStep_1_0007"),
      Beyond("email", "emailid",
             "emailid = 4294967296, featureid = 5, type = 'resetpassword', fromlist = ''", "",
             "SiteContentStep_1_0008"),
      Beyond("tag", "tagid",
             "tagid = 4294967296, name = 'div.twTreeNode span.SiteTreeLink[suffix]'", "",
             "SiteContentStep_1_0009"),
      Beyond("layoutelement", "elementid", "elementid = 4294967296, featureid = 12, sequence = 2",
             "", "SiteContentStep_1_0026"),
      LatestBeyond("SiteContentStep_1_0037"),
      Beyond("text", "textid",
             "textid = 4294967296, featureid = 12, subfeatureid = 2, text = 'Books'", "",
             "SiteContentStep_1_0044"),
      Beyond("navigation", "navigationid", "navigationid = 4294967296, featureid = 40", "",
             "SiteContentStep_1_0237"),
      Beyond("directurl", "directurlid", "directurlid = 4294967296, featureid = 41, url = 'books'",
             "", "SiteContentStep_1_0237"),
      Beyond("formtemplate", "featureid", "featureid = 4294967296", "", "SiteContentStep_1_0242",
             false)}},
    {"NumbersOfFormFields",
     "1.0000",
     {"CREATE TABLE tw_8.form_50(replyid INT PRIMARY KEY)"},
     {Beyond("formfield", "featureid", "formfieldid = 6, featureid = 4294967296, type = 'image'",
             "formfieldid 6", "SiteSchemaStep_1_0251", false),
      Beyond("form", "formfeatureid", "formfeatureid = 4294967296", "", "SiteContentStep_1_0091",
             false)}},
    // What an earlier step would stop at is looked at by later steps, too.
    {"NumbersOfLinkFieldsAfterTheTwoStepsThatReadThem",
     "1.0241",
     {kEmbeddedLinks},
     {Beyond("formfield", "targetformfeatureid",
             "formfieldid = 8, featureid = 50, type = 'productfamily', targetformfeatureid = "
             "4294967296; INSERT INTO tw_8.queryfieldsrc(queryfieldid, tableid, srcfieldid) "
             "VALUES(3, 2, 8)",
             "formfieldid 8", "SiteContentStep_1_0242", false)}},
    {"NumbersOfFormsAtTheLastStepThatReadsThem",
     "1.0258",
     {},
     {Beyond("form", "formfeatureid", "formfeatureid = 4294967296", "", "SiteContentStep_1_0259",
             false)}},
    {"NumbersOfLinkFieldsAtTheSecondStep",
     "1.0075",
     {},
     {Beyond("formfield", "targetformfeatureid",
             "formfieldid = 8, featureid = 50, type = 'multiformlink', targetformfeatureid = "
             "4294967296",
             "formfieldid 8", "SiteSchemaStep_1_0077", false)}},
    {"NumbersOfEmailsAfterTheyAreHtml",
     "1.0043",
     {},
     {Beyond("email", "emailid", "emailid = 4294967296", "", "SiteContentStep_1_0049")}},
    {"NumbersOfPaymentEmails",
     "1.0054",
     {kShop},
     {Beyond("email", "emailid", "emailid = 4294967296, featureid = 6, type = 'postorderpayment'",
             "", "SiteContentStep_1_0055")}},
    {"NumbersOfShopsAfterTheirSettings",
     "1.0054",
     {},
     {Beyond("feature", "featureid", "featureid = 4294967296, componentid = 1000", "",
             "SiteContentStep_1_0055")}},
    {"NumbersOfLogInPagesWithTheirEvent",
     "1.0008",
     {},
     {Beyond("feature", "featureid", "featureid = 4294967296, componentid = 100", "",
             "SiteContentStep_1_0222")}},
    {"NumbersOfPagesWithContent",
     "1.0000",
     {"ALTER TABLE tw_8.text MODIFY featureid BIGINT",
      "INSERT INTO tw_8.text(textid, featureid, text) VALUES(1, 4294967296, 'Books')"},
     {Beyond("feature", "featureid", "featureid = 4294967296, componentid = 400", "",
             "SiteContentStep_1_0031")}},
    {"NumbersThatAreCopied",
     "1.0000",
     {"INSERT INTO tw_8.charge(chargeid) VALUES(5)"},
     {{"ALTER TABLE tw_8.chargetoitemtype MODIFY applytoitemtypeid BIGINT NOT NULL; INSERT INTO "
       "tw_8.chargetoitemtype VALUES(5, 2147483648), (4, 2147483649)",
       "chargetoitemtype: applytoitemtypeid is out of the range of "
       "chargegrouptoitemtype.applytoitemtypeid in 1 row (chargeid 5), so SiteContentStep_1_0007 "
       "fails; mend it",
       "step SiteContentStep_1_0007: .*server error 1264 .*'applytoitemtypeid'",
       "DELETE FROM tw_8.chargetoitemtype"}}},
    // An ALTER TABLE cuts no blanks off a VARCHAR.
    {"AStyleValueThatEndsInBlanks",
     "1.0000",
     {},
     {{"ALTER TABLE tw_8.attribute MODIFY value VARCHAR(300) DEFAULT '' NOT NULL; INSERT INTO "
       "tw_8.attribute(attributeid, value) VALUES(5, RPAD('x', 300, ' '))",
       "attribute: value is longer than the 255 characters of attribute.value in 1 row "
       "(attributeid 5), so SiteSchemaStep_1_0014 fails; shorten it",
       "step SiteSchemaStep_1_0014: .*server error 1265",
       "UPDATE tw_8.attribute SET value = 'x'"}}},
    // A text with a new line at its end is cut there.
    {"AFormFieldThatEndsInANewLine",
     "1.0000",
     {"ALTER TABLE tw_8.formfield MODIFY defaultvalue TEXT DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.formfield(formfieldid, type, defaultvalue) VALUES(7, 'text', "
      "CONCAT(REPEAT('x', 255), X'0D0A'))"},
     {}},
    {"AnElementWithoutANumber",
     "1.0000",
     {},
     {{"ALTER TABLE tw_8.layoutelement MODIFY sequence INT; INSERT INTO "
       "tw_8.layoutelement(elementid, sequence) VALUES(5, NULL)",
       "layoutelement: sequence is NULL where the step needs a value in 1 row (elementid 5), so "
       "SiteContentStep_1_0026 fails; give it a value",
       "step SiteContentStep_1_0026: .*server error 1048 .*'name'",
       "DELETE FROM tw_8.layoutelement"}}},
    {"NumbersThatAreUsedUp",
     "1.0000",
     {Setting(9, "TargetInstanceId", "integer", "4")},
     {{"UPDATE tw_8.setting SET settingid = 2147483647; ALTER TABLE tw_8.setting AUTO_INCREMENT = "
       "2147483648",
       "setting: the settingid of a new row would be 2147483648, which is out of range, so "
       "SiteContentStep_1_0020 fails; ",
       "step SiteContentStep_1_0020: .*server error 167 .*'settingid'",
       "UPDATE tw_8.setting SET settingid = 1; ALTER TABLE tw_8.setting AUTO_INCREMENT = 1"}}},
    {"FloatsThatAreNull",
     "1.0000",
     {"ALTER TABLE tw_8.navigation ADD COLUMN xmlmappriority FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.layoutzone ADD COLUMN startshowdelay FLOAT DEFAULT 0, ADD COLUMN "
      "startfadein FLOAT DEFAULT 0, ADD COLUMN starthidedelay FLOAT DEFAULT 0, ADD COLUMN "
      "startfadeout FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.commission MODIFY percentage FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.accesscodeaccount MODIFY associatepercentage FLOAT DEFAULT 0"},
     {NoFloat("navigation", "navigationid 1", "xmlmappriority"),
      NoFloat("layoutzone", "zoneid 1", "startshowdelay"),
      NoFloat("layoutzone", "zoneid 2", "startfadein"),
      NoFloat("layoutzone", "zoneid 3", "starthidedelay"),
      NoFloat("layoutzone", "zoneid 4", "startfadeout"),
      NoFloat("commission", "commissionid 1", "percentage"),
      NoFloat("accesscodeaccount", "accesscodeid 1", "associatepercentage")}},
    {"AmountsOfOrders",
     "1.0000",
     {"ALTER TABLE tw_8.formlink MODIFY productlinkprice FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.customerorder MODIFY grossamount FLOAT DEFAULT 0, MODIFY chargetotal "
      "DOUBLE DEFAULT 0",
      "ALTER TABLE tw_8.orderitem MODIFY price FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.orderpayment MODIFY amount FLOAT DEFAULT 0",
      "CREATE TABLE tw_8.ordercharge LIKE tw_7.ordercharge",
      "ALTER TABLE tw_8.ordercharge MODIFY chargeamount FLOAT DEFAULT 0"},
     {NoAmount("formlink", "linkid 1", "productlinkprice"),
      LargeAmount("formlink", "linkid 2", "productlinkprice"),
      NoAmount("customerorder", "orderid 1", "grossamount"),
      LargeAmount("customerorder", "orderid 2", "grossamount"),
      NoAmount("customerorder", "orderid 3", "chargetotal"),
      LargeAmount("customerorder", "orderid 4", "chargetotal"),
      LargeAmount("orderitem", "itemid 1", "price"),
      NoAmount("orderpayment", "paymentid 1", "amount"),
      NoAmount("ordercharge", "orderid 1", "chargeamount"),
      LargeAmount("ordercharge", "orderid 2", "chargeamount")}},
    {"AmountsOfCharges",
     "1.0000",
     {"ALTER TABLE tw_8.chargeregion MODIFY price FLOAT DEFAULT 0",
      "ALTER TABLE tw_8.chargeregionvalueband MODIFY bandstart FLOAT DEFAULT 0, MODIFY price FLOAT "
      "DEFAULT 0",
      "ALTER TABLE tw_8.commission MODIFY commission FLOAT DEFAULT 0"},
     {NoAmount("chargeregion", "regionid 1", "price"),
      LargeAmount("chargeregion", "regionid 2", "price"),
      NoAmount("chargeregionvalueband", "bandid 1", "bandstart"),
      LargeAmount("chargeregionvalueband", "bandid 2", "bandstart"),
      NoAmount("chargeregionvalueband", "bandid 3", "price"),
      LargeAmount("chargeregionvalueband", "bandid 4", "price"),
      NoAmount("commission", "commissionid 1", "commission"),
      LargeAmount("commission", "commissionid 2", "commission")}},
    {"NumbersOfFormFieldsOfEveryType",
     "1.0000",
     {"ALTER TABLE tw_8.formfield MODIFY formfieldid BIGINT AUTO_INCREMENT NOT NULL, MODIFY "
      "featureid BIGINT DEFAULT 0"},
     {BadNumber("formfield", "formfieldid 1", "featureid", "NULL", ", type = 'float'",
                "SiteSchemaStep_1_0035"),
      BadNumber("formfield", "formfieldid 2", "featureid", "4294967296", ", type = 'float'",
                "SiteSchemaStep_1_0035"),
      BadNumber("formfield", "formfieldid 3", "featureid", "NULL", ", type = 'currency'",
                "SiteSchemaStep_1_0047"),
      BadNumber("formfield", "formfieldid 4", "featureid", "4294967296", ", type = 'currency'",
                "SiteSchemaStep_1_0047"),
      BadNumber("formfield", "formfieldid 5", "featureid", "NULL", ", type = 'multiformlink'",
                "SiteSchemaStep_1_0075"),
      BadNumber("formfield", "formfieldid 6", "featureid", "4294967296", ", type = 'formlink'",
                "SiteSchemaStep_1_0075"),
      BadNumber("formfield", "formfieldid 7", "featureid", "NULL", ", type = 'file'",
                "SiteSchemaStep_1_0251"),
      BadNumber("formfield", "formfieldid 8", "featureid", "NULL", ", type = 'memo'",
                "SiteContentStep_1_0255"),
      BadNumber("formfield", "formfieldid 9", "featureid", "4294967296", ", type = 'dhtml'",
                "SiteContentStep_1_0255")}},
    {"FormFieldsBeyond32Bits",
     "1.0000",
     {"ALTER TABLE tw_8.formfield MODIFY formfieldid BIGINT AUTO_INCREMENT NOT NULL"},
     {BadRow("formfield", "formfieldid 4294967296", "type = 'float'", "formfieldid",
             "does not fit a 32-bit integer", "SiteSchemaStep_1_0035",
             "column formfieldid: 4294967296 does not fit"),
      BadRow("formfield", "formfieldid 4294967297", "type = 'currency'", "formfieldid",
             "does not fit a 32-bit integer", "SiteSchemaStep_1_0047",
             "column formfieldid: 4294967297 does not fit"),
      BadRow("formfield", "formfieldid 4294967298", "type = 'formlink'", "formfieldid",
             "does not fit a 32-bit integer", "SiteSchemaStep_1_0075",
             "column formfieldid: 4294967298 does not fit"),
      BadRow("formfield", "formfieldid 4294967299", "type = 'image'", "formfieldid",
             "does not fit a 32-bit integer", "SiteSchemaStep_1_0251",
             "column formfieldid: 4294967299 does not fit")}},
    {"ValuesOfFormsAndZones",
     "1.0000",
     {"ALTER TABLE tw_8.formfieldexpressionfield MODIFY suffix VARCHAR(255)",
      "ALTER TABLE tw_8.formtemplatefield ADD COLUMN suffix VARCHAR(100)",
      "ALTER TABLE tw_8.layoutzone MODIFY navfrom INT"},
     {BadRow("formfieldexpressionfield", "expressionfieldid 1", "suffix = NULL", "suffix", kNoValue,
             "SiteSchemaStep_1_0091", "server error 1048 .*'suffixlen'"),
      BadRow("formtemplatefield", "formtemplatefieldid 1", "suffix = NULL", "suffix", kNoValue,
             "SiteSchemaStep_1_0092", "server error 1048 .*'suffixlen'"),
      BadRow("layoutzone", "zoneid 1", "navfrom = NULL", "navfrom", kNoValue,
             "SiteContentStep_1_0005", "server error 1048 .*'navdepth'")}},
    // The charges are taken by their sequence.
    {"NumbersOfCharges",
     "1.0000",
     {"ALTER TABLE tw_8.charge MODIFY featureid BIGINT DEFAULT 0, MODIFY sequence BIGINT DEFAULT "
      "0, ADD COLUMN password VARCHAR(20) DEFAULT ''"},
     {BadNumber("charge", "chargeid 1", "sequence", "NULL", "", "SiteContentStep_1_0007"),
      BadNumber("charge", "chargeid 2", "featureid", "NULL", ", sequence = 1",
                "SiteContentStep_1_0007"),
      BadNumber("charge", "chargeid 3", "featureid", "4294967296", ", sequence = 2",
                "SiteContentStep_1_0007"),
      NoText("charge", "chargeid 4", "password", ", sequence = 3", "SiteContentStep_1_0007"),
      BadNumber("charge", "chargeid 5", "sequence", "4294967296", "", "SiteContentStep_1_0007")}},
    {"NumbersOfTags",
     "1.0000",
     {"ALTER TABLE tw_8.tag MODIFY templateid BIGINT DEFAULT 0, MODIFY overrideid BIGINT DEFAULT "
      "0, MODIFY cssid BIGINT DEFAULT 0, ADD COLUMN media BIGINT DEFAULT 0, ADD COLUMN subownerid "
      "BIGINT DEFAULT 0",
      "ALTER TABLE tw_8.layoutzone MODIFY zoneid BIGINT AUTO_INCREMENT NOT NULL, MODIFY elementid "
      "BIGINT DEFAULT 0",
      "INSERT INTO tw_8.layoutzone(zoneid) VALUES(12)",
      // Its template is not asked for: the page has the heading.
      "INSERT INTO tw_8.tag(tagid, name, overrideid, templateid) VALUES(1, 'h1', 7, 0), (2, "
      "'.heading', 7, NULL)"},
     {BadNumber("tag", "tagid 3", "templateid", "NULL", ", name = 'span.TreeLink'",
                "SiteContentStep_1_0009"),
      BadNumber("tag", "tagid 4", "templateid", "4294967296", ", name = 'span.TreeLink'",
                "SiteContentStep_1_0009"),
      BadNumber("tag", "tagid 5", "overrideid", "4294967296", ", name = 'span.TreeLink'",
                "SiteContentStep_1_0009"),
      BadNumber("tag", "tagid 6", "templateid", "4294967296", ", name = '.heading', overrideid = 3",
                "SiteContentStep_1_0017"),
      BadNumber("tag", "tagid 7", "overrideid", "4294967296", ", name = '.subheading'",
                "SiteContentStep_1_0017"),
      BadRow("layoutzone", "zoneid 4294967296", "elementid = 1", "zoneid",
             "does not fit a 32-bit integer", "SiteContentStep_1_0061",
             "column zoneid: 4294967296 does not fit"),
      BadNumber("layoutzone", "zoneid 13", "elementid", "4294967296", "", "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 21", "templateid", "NULL", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 22", "templateid", "4294967296", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 23", "overrideid", "NULL", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 24", "overrideid", "4294967296", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 25", "cssid", "4294967296", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 26", "media", "NULL", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 27", "media", "4294967296", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 28", "subownerid", "NULL", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061"),
      BadNumber("tag", "tagid 29", "subownerid", "4294967296", ", name = '.LOzone12 A'",
                "SiteContentStep_1_0061")}},
    {"ATagBeyond32Bits",
     "1.0000",
     {"ALTER TABLE tw_8.tag MODIFY tagid BIGINT AUTO_INCREMENT NOT NULL"},
     {BadRow("tag", "tagid 4294967296", "name = '.LOother'", "tagid",
             "does not fit a 32-bit integer", "SiteContentStep_1_0061",
             "column tagid: 4294967296 does not fit")}},
    {"NumbersOfLayouts",
     "1.0000",
     {kExplicitElements, "UPDATE tw_8.layoutelement SET name = 'a'",
      "ALTER TABLE tw_8.setting MODIFY settingid BIGINT AUTO_INCREMENT NOT NULL, MODIFY overrideid "
      "BIGINT DEFAULT 0",
      "ALTER TABLE tw_8.override MODIFY overrideid BIGINT AUTO_INCREMENT NOT NULL, MODIFY "
      "featureid BIGINT DEFAULT 0",
      "ALTER TABLE tw_8.layoutelement MODIFY sequence BIGINT",
      "ALTER TABLE tw_8.text MODIFY featureid BIGINT",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(5, 4294967296), (4294967296, 12)"},
     {BadNumber("text", "textid 1", "featureid", "4294967296", ", texttype = 22",
                "SiteContentStep_1_0019"),
      BadNumber("layoutelement", "elementid 2", "sequence", "4294967296",
                ", featureid = 12, name = 'b'", "SiteContentStep_1_0026"),
      BadNumber("layoutelement", "elementid 3", "sequence", "NULL", ", featureid = 12, name = 'c'",
                "SiteContentStep_1_0026"),
      {"INSERT INTO tw_8.setting(settingid, overrideid, name, type) VALUES(20, 5, "
       "'ExplicitLayoutElements', 'text')",
       "override: featureid does not fit a 32-bit integer in 1 row (overrideid 5), so "
       "SiteContentStep_1_0026 fails; ",
       "step SiteContentStep_1_0026: .*column featureid: 4294967296 does not fit",
       "DELETE FROM tw_8.setting WHERE settingid = 20"},
      BadNumber("setting", "settingid 21", "overrideid", "4294967296",
                ", name = 'ExplicitLayoutElements', type = 'text'", "SiteContentStep_1_0026"),
      BadRow("setting", "settingid 4294967296",
             "overrideid = 4, name = 'ExplicitLayoutElements', type = 'text'", "settingid",
             "does not fit a 32-bit integer", "SiteContentStep_1_0026",
             "column settingid: 4294967296 does not fit")}},
    {"ValuesOfShopsAndOrders",
     "1.0000",
     {kShop, kShopOverride,
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(16, 1000), (17, 1000)",
      "ALTER TABLE tw_8.setting MODIFY integer_value BIGINT DEFAULT 0, MODIFY name VARCHAR(100)",
      "ALTER TABLE tw_8.override MODIFY overrideid BIGINT AUTO_INCREMENT NOT NULL",
      // Of several the first is taken.
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(17, 17), (4294967297, 17)",
      "ALTER TABLE tw_8.customerorder MODIFY orderid BIGINT AUTO_INCREMENT NOT NULL, MODIFY "
      "billingaddress VARCHAR(255) DEFAULT '', ADD COLUMN billingaddress1 VARCHAR(200) DEFAULT '', "
      "ADD COLUMN billingaddress2 VARCHAR(100) DEFAULT '', MODIFY shippingaddress VARCHAR(255) "
      "DEFAULT '', ADD COLUMN shippingaddress1 VARCHAR(200) DEFAULT '', ADD COLUMN "
      "shippingaddress2 VARCHAR(100) DEFAULT ''",
      "ALTER TABLE tw_8.security MODIFY userid BIGINT AUTO_INCREMENT NOT NULL, ADD COLUMN address1 "
      "VARCHAR(200) DEFAULT '' NOT NULL, ADD COLUMN address2 VARCHAR(100) DEFAULT '' NOT NULL"},
     {BadNumber("setting", "settingid 1", "integer_value", "4294967296",
                ", overrideid = 9, name = 'ShowBillingName', type = 'boolean'",
                "SiteContentStep_1_0054"),
      NoText("setting", "settingid 2", "name", ", overrideid = 9, type = 'boolean'",
             "SiteContentStep_1_0054"),
      Cured(BadRow("override", "overrideid 4294967296", "featureid = 16", "overrideid",
                   "does not fit a 32-bit integer", "SiteContentStep_1_0054",
                   "column overrideid: 4294967296 does not fit"),
            "UPDATE tw_8.override SET overrideid = 16 WHERE featureid = 16"),
      NoText("customerorder", "orderid 1", "billingaddress", ", shippingaddress1 = 'a'",
             "SiteContentStep_1_0054"),
      NoText("customerorder", "orderid 2", "billingaddress1", ", shippingaddress1 = 'a'",
             "SiteContentStep_1_0054"),
      NoText("customerorder", "orderid 3", "billingaddress2", ", shippingaddress1 = 'a'",
             "SiteContentStep_1_0054"),
      NoText("customerorder", "orderid 4", "shippingaddress", ", billingaddress1 = 'a'",
             "SiteContentStep_1_0054"),
      NoText("customerorder", "orderid 5", "shippingaddress2", ", billingaddress1 = 'a'",
             "SiteContentStep_1_0054"),
      BadRow("customerorder", "orderid 6",
             "billingaddress1 = REPEAT('x', 200), billingaddress2 = REPEAT('y', 54)",
             "billingaddress1",
             "becomes longer than the 255 characters of customerorder.billingaddress",
             "SiteContentStep_1_0054", "server error 1406 .*'billingaddress'"),
      BadRow("customerorder", "orderid 7",
             "shippingaddress1 = REPEAT('x', 200), shippingaddress2 = REPEAT('y', 54)",
             "shippingaddress1",
             "becomes longer than the 255 characters of customerorder.shippingaddress",
             "SiteContentStep_1_0054", "server error 1406 .*'shippingaddress'"),
      BadRow("customerorder", "orderid 4294967296", "billingaddress1 = 'a'", "orderid",
             "does not fit a 32-bit integer", "SiteContentStep_1_0054",
             "column orderid: 4294967296 does not fit"),
      BadRow("security", "userid 4294967296", "address1 = 'a'", "userid",
             "does not fit a 32-bit integer", "SiteContentStep_1_0054",
             "column userid: 4294967296 does not fit")}},
    {"NumbersOfFormPages",
     "1.0000",
     {"INSERT INTO tw_8.form(formfeatureid) VALUES(7), (8)",
      "ALTER TABLE tw_8.feature MODIFY componentid BIGINT DEFAULT 0",
      "ALTER TABLE tw_8.override MODIFY overrideid BIGINT AUTO_INCREMENT NOT NULL, MODIFY "
      "featureid BIGINT DEFAULT 0",
      "ALTER TABLE tw_8.setting MODIFY settingid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(1, 7), (5, 4294967296)"},
     {Cured(BadRow("override", "overrideid 4294967296", "featureid = 8", "overrideid",
                   "does not fit a 32-bit integer", "SiteContentStep_1_0091",
                   "column overrideid: 4294967296 does not fit"),
            "UPDATE tw_8.override SET overrideid = 8 WHERE featureid = 8"),
      BadNumber("feature", "featureid 7", "componentid", "4294967296", "",
                "SiteContentStep_1_0091"),
      {"INSERT INTO tw_8.setting(settingid, overrideid, name, type, string_value) VALUES(20, 5, "
       "'canonical', 'string', 'books')",
       "override: featureid does not fit a 32-bit integer in 1 row (overrideid 5), so "
       "SiteContentStep_1_0237 fails; ",
       "step SiteContentStep_1_0237: .*column featureid: 4294967296 does not fit",
       "DELETE FROM tw_8.setting WHERE settingid = 20"},
      BadRow("setting", "settingid 4294967296",
             "overrideid = 1, name = 'canonical', type = 'string', string_value = 'books'",
             "settingid", "does not fit a 32-bit integer", "SiteContentStep_1_0237",
             "column settingid: 4294967296 does not fit")}},
    {"CharactersThatTheNextColumnLacks",
     "1.0000",
     {"CREATE TABLE tw_8.externallookupfeedparam LIKE tw_7.externallookupfeedparam",
      "CREATE TABLE tw_8.chargegroup LIKE tw_7.chargegroup",
      "CREATE TABLE tw_8.chargeoption LIKE tw_7.chargeoption",
      "CREATE TABLE tw_8.featurenamevalue(id INT PRIMARY KEY, featureid INT DEFAULT 0, name "
      "VARCHAR(255) DEFAULT '', value VARCHAR(255) DEFAULT '', sequence INT DEFAULT 0, type INT "
      "DEFAULT 0) CHARACTER SET utf8mb4",
      "ALTER TABLE tw_8.externallookupfeedparam CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.chargegroup CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.chargeoption CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.charge CONVERT TO CHARACTER SET utf8mb4, ADD COLUMN password VARCHAR(20) "
      "DEFAULT '' NOT NULL",
      "ALTER TABLE tw_8.formfield ADD COLUMN blankoptiontext VARCHAR(255) CHARACTER SET latin1 "
      "DEFAULT '' NOT NULL",
      "ALTER TABLE tw_8.directurl CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.navigation CONVERT TO CHARACTER SET latin1",
      "ALTER TABLE tw_8.customerorder MODIFY billingaddress VARCHAR(255) CHARACTER SET latin1 "
      "DEFAULT '' NOT NULL, MODIFY shippingaddress VARCHAR(255) CHARACTER SET latin1 DEFAULT '' "
      "NOT "
      "NULL, ADD COLUMN billingaddress1 VARCHAR(200) DEFAULT '' NOT NULL, ADD COLUMN "
      "billingaddress2 VARCHAR(200) DEFAULT '' NOT NULL, ADD COLUMN shippingaddress1 VARCHAR(200) "
      "DEFAULT '' NOT NULL, ADD COLUMN shippingaddress2 VARCHAR(200) DEFAULT '' NOT NULL",
      "ALTER TABLE tw_8.security MODIFY address VARCHAR(255) CHARACTER SET latin1 DEFAULT '' NOT "
      "NULL, ADD COLUMN address1 VARCHAR(200) DEFAULT '' NOT NULL, ADD COLUMN address2 "
      "VARCHAR(200) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40), (10, 41)",
      "INSERT INTO tw_8.navigation(navigationid, featureid) VALUES(1, 41)"},
     {BadCharacter("featurenamevalue", "id 1", "name = '\xE2\x86\x92'", "name",
                   "externallookupfeedparam.name", "SiteSchemaStep_1_0233"),
      BadCharacter("featurenamevalue", "id 2", "value = '\xE2\x86\x92'", "value",
                   "externallookupfeedparam.textvalue", "SiteSchemaStep_1_0233"),
      BadCharacter("externallookupfeedfield", "fieldid 1", "requestparamname = '\xE2\x86\x92'",
                   "requestparamname", "externallookupfeedparam.name", "SiteSchemaStep_1_0233"),
      BadCharacter("formfield", "formfieldid 1", "defaultvalue = '\xE2\x86\x92'", "defaultvalue",
                   "formfield.blankoptiontext", "SiteContentStep_1_0003"),
      BadCharacter("charge", "chargeid 1", "name = '\xE2\x86\x92'", "name", "chargegroup.name",
                   "SiteContentStep_1_0007"),
      BadCharacter("charge", "chargeid 2", "password = '\xE2\x86\x92'", "password",
                   "chargeoption.password", "SiteContentStep_1_0007"),
      BadCharacter("customerorder", "orderid 1", "billingaddress1 = '\xE2\x86\x92'",
                   "billingaddress1", "customerorder.billingaddress", "SiteContentStep_1_0054"),
      BadCharacter("customerorder", "orderid 2", "shippingaddress1 = '\xE2\x86\x92'",
                   "shippingaddress1", "customerorder.shippingaddress", "SiteContentStep_1_0054"),
      BadCharacter("security", "userid 1", "address1 = '\xE2\x86\x92'", "address1",
                   "security.address", "SiteContentStep_1_0054")}},
    {"ADirectUrlWhoseCharactersTheColumnLacks",
     "1.0000",
     {"ALTER TABLE tw_8.directurl CONVERT TO CHARACTER SET latin1",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40)"},
     {BadCharacter(
         "setting", "settingid 1",
         "overrideid = 9, name = 'canonical', type = 'string', string_value = '\xE2\x86\x92'",
         "string_value", "directurl.url", "SiteContentStep_1_0237", 1267)}},
    {"ANavigationWhoseCharactersTheColumnLacks",
     "1.0000",
     {"ALTER TABLE tw_8.navigation CONVERT TO CHARACTER SET latin1",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40)",
      "INSERT INTO tw_8.navigation(navigationid, featureid) VALUES(1, 40)"},
     {BadCharacter(
         "setting", "settingid 1",
         "overrideid = 9, name = 'canonical', type = 'string', string_value = '\xE2\x86\x92'",
         "string_value", "navigation.canonical", "SiteContentStep_1_0237")}},
    {"ADefaultValueWhoseCharactersTheTableLacks",
     "1.0000",
     {"ALTER TABLE tw_8.formfield DEFAULT CHARACTER SET latin1",
      "ALTER TABLE tw_8.formfield MODIFY defaultvalue VARCHAR(255) CHARACTER SET utf8mb4 DEFAULT "
      "'' NOT NULL, ADD COLUMN blankoptiontext VARCHAR(255) CHARACTER SET utf8mb4 DEFAULT '' NOT "
      "NULL"},
     {BadCharacter("formfield", "formfieldid 1", "defaultvalue = '\xE2\x86\x92'", "defaultvalue",
                   "formfield.defaultvalue", "SiteSchemaStep_1_0233")}},
    {"ADirectUrlCharacterThatTheColumnHasNoRoomFor",
     "1.0000",
     {"ALTER TABLE tw_8.formfield ADD COLUMN directurlreplacementchar CHAR(0) DEFAULT '' NOT NULL",
      "INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40)",
      "INSERT INTO tw_8.formfield(formfieldid, featureid) VALUES(1, 40)"},
     {BadRow("setting", "settingid 1",
             "overrideid = 9, name = 'DirectURLReplacementChar', type = 'string', string_value = "
             "'_'",
             "string_value",
             "becomes longer than the 0 characters of "
             "formfield.directurlreplacementchar",
             "SiteContentStep_1_0237", "server error 1406")}},
    {"NumbersOfNewRowsInLaterSteps",
     "1.0000",
     {kShop, kShopEmail, "INSERT INTO tw_8.tag(tagid, name, overrideid) VALUES(5, '.heading', 3)"},
     {NoIdLeft("tag", "tagid", "2147483648", "SiteContentStep_1_0017"),
      NoIdLeft("override", "overrideid", "2147483648", "SiteContentStep_1_0054"),
      NoIdLeft("event", "eventid", "2147483648", "SiteContentStep_1_0055"),
      NoIdLeft("eventpart", "eventpartid", "2147483648", "SiteContentStep_1_0055")}},
    {"ColumnsThatUploadsNeed",
     "1.0000",
     {"INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(7, 50, 'file')",
      "CREATE TABLE tw_8.form_50(replyid INT PRIMARY KEY, field_7 VARCHAR(255))"},
     {MissingColumn("form", "securefiles", "SiteSchemaStep_1_0251"),
      MissingColumn("form", "formfeatureid", "SiteSchemaStep_1_0251")}},
    {"ALinkFieldWithoutItsFormTableAtTheSecondStep",
     "1.0075",
     {},
     {{"INSERT INTO tw_8.formfield(formfieldid, featureid, type) VALUES(7, 50, 'formlink')",
       "form_50: the table is missing, but formfield has formlink fields of it, so "
       "SiteSchemaStep_1_0077 fails; delete these rows of formfield, or bring the table back",
       "step SiteSchemaStep_1_0077: .*form_50.*server error 1146", "DELETE FROM tw_8.formfield"}}},
    {"ASearchLogWithAnotherKeyAtTheSecondStep",
     "1.0020",
     {"DROP TABLE tw_8.searchlog"},
     {{"CREATE TABLE tw_8.searchlog(logid INT PRIMARY KEY, searchedwhen DATETIME)",
       "searchlog: searchlogid is to be the primary key, and the table has another one, PRIMARY "
       "KEY(logid), so SiteSchemaStep_1_0021 fails; ALTER TABLE tw_8.searchlog DROP PRIMARY KEY",
       "step SiteSchemaStep_1_0021: .*server error 1068",
       "ALTER TABLE tw_8.searchlog DROP PRIMARY KEY"}}},
};

/// A row of featurenamevalue, as featureid, name, value and sequence, that the copy of its type
/// refuses.
Change NameValue(const std::string& row, int type, const std::string& column,
                 const std::string& problem, const std::string& target, int error) {
    const std::string insert =
        "INSERT INTO tw_8.featurenamevalue(featureid, name, value, sequence, type) VALUES(" + row +
        ", " + std::to_string(type) + ")";
    // The addresses are copied by the run alone that makes their table.
    return Copied("featurenamevalue", insert, column, problem, "",
                  type == 2 ? "SiteSchemaStep_1_0225" : "SiteSchemaStep_1_0233", target, error,
                  "DELETE FROM tw_8.featurenamevalue LIMIT 1; DROP TABLE IF EXISTS "
                  "tw_8.externallookupfeedurl");
}

/// A lookup field with one value that the copy into the parameters refuses.
Change LookupField(int id, const std::string& column, const std::string& value,
                   const std::string& problem, const std::string& target, int error) {
    return Copied("externallookupfeedfield",
                  fmt::format("INSERT INTO tw_8.externallookupfeedfield(fieldid, requestparamname, "
                              "{}) VALUES({}, 'a', {})",
                              column, id, value),
                  column, problem, fmt::format(" (fieldid {})", id), "SiteSchemaStep_1_0233",
                  target, error,
                  fmt::format("DELETE FROM tw_8.externallookupfeedfield WHERE fieldid = {}", id));
}

/// A feed's field with one value that the copy into its lookup field refuses.
Change FeedField(int id, const std::string& column, const std::string& value,
                 const std::string& problem, const std::string& target, int error) {
    return Copied(
        "datafeedfield",
        fmt::format("INSERT INTO tw_8.externallookupfeedfield(fieldid) VALUES({0}); INSERT INTO "
                    "tw_8.datafeedfield(fieldid, {1}) VALUES({0}, {2})",
                    id, column, value),
        column, problem, fmt::format(" (fieldid {})", id), "SiteContentStep_1_0229", target, error,
        fmt::format("DELETE FROM tw_8.datafeedfield WHERE fieldid = {}", id));
}

/// A half-made embed of the embedded links, with a number that cannot be read.
Change EmbedNumber(int id, const std::string& column, const std::string& number) {
    const bool isNull = number == "NULL";
    const std::string step = "SiteContentStep_1_0242";
    return {fmt::format("INSERT INTO tw_8.textembed(embedid, textid, {}) VALUES({}, 9, {})", column,
                        id, number),
            fmt::format("textembed: {} {} in 1 row (embedid {}), so {} fails; ", column,
                        isNull ? "is NULL where a number must be" : "does not fit a 32-bit integer",
                        id, step),
            fmt::format("step {}: .*column {}: {}", step, column,
                        isNull ? "NULL where a number must be" : number + " does not fit"),
            fmt::format("DELETE FROM tw_8.textembed WHERE embedid = {}", id)};
}

// Of these an ordinary run takes all.
const std::vector<ChangedSite> kCutAndCopiedSites{
    {"EventsThatACutRunLeft",
     "1.0000",
     {kLogIn, kShop, kShopEmail,
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(8, 100), (16, 1000)",
      "INSERT INTO tw_8.event(eventid, featureid, name) VALUES(1, 8, 'Reset Password (being "
      "added)'), (2, 16, 'Order Payment (being added)')",
      "INSERT INTO tw_8.email(emailid, featureid, type) VALUES(4, 16, 'postorderpayment')",
      // Nobody reads these: their pages are gone, or have the event; the part is none of an
      // e-mail.
      "ALTER TABLE tw_8.event MODIFY eventid BIGINT AUTO_INCREMENT NOT NULL",
      "ALTER TABLE tw_8.eventpart MODIFY eventpartid BIGINT AUTO_INCREMENT NOT NULL",
      "INSERT INTO tw_8.feature(featureid, componentid) VALUES(9, 100)",
      "INSERT INTO tw_8.event(eventid, featureid, name) VALUES(-4294967290, 40, 'Reset Password "
      "(being added)'), (-4294967291, 41, 'Order Payment (being added)'), (3, 9, 'Reset "
      "Password'), (-4294967292, 9, 'Reset Password (being added)')",
      "INSERT INTO tw_8.eventpart(eventpartid, eventid, sequence) VALUES(-4294967290, 1, 2), "
      "(-4294967291, 2, 2)"},
     {Below("event", "eventid", "-4294967296",
            "featureid = 5, name = 'Reset Password (being added)'", "SiteContentStep_1_0008"),
      Below("eventpart", "eventpartid", "-4294967296", "eventid = 1, sequence = 1",
            "SiteContentStep_1_0008"),
      Below("event", "eventid", "-4294967297",
            "featureid = 6, name = 'Order Payment (being added)'", "SiteContentStep_1_0055"),
      Below("eventpart", "eventpartid", "-4294967297", "eventid = 2, sequence = 1",
            "SiteContentStep_1_0055")}},
    {"EmbedsThatACutRunLeft",
     "1.0241",
     {kEmbeddedLinks,
      "ALTER TABLE tw_8.textembed MODIFY major BIGINT DEFAULT -1, MODIFY minor "
      "BIGINT DEFAULT -1",
      // Nobody reads this one: its text is that of a page without link fields.
      "INSERT INTO tw_8.formtemplate(featureid) VALUES(21)",
      "INSERT INTO tw_8.text(textid, featureid, text) VALUES(10, 21, "
      "'<p><#Embed.17.4:Books#></p>')",
      "INSERT INTO tw_8.textembed(embedid, textid, major, minor) VALUES(1, 10, NULL, 4294967296)"},
     {Below("textembed", "embedid", "-4294967296", "textid = 9, major = 17, minor = 4",
            "SiteContentStep_1_0242"),
      EmbedNumber(2, "major", "4294967296"), EmbedNumber(3, "minor", "4294967296"),
      EmbedNumber(4, "major", "NULL"), EmbedNumber(5, "minor", "NULL")}},
    {"NumbersAndTextsOfFeedsThatAreCopied",
     "1.0000",
     {"CREATE TABLE tw_8.featurenamevalue(featureid BIGINT, name VARCHAR(255), value LONGTEXT, "
      "sequence BIGINT, type INT)",
      "ALTER TABLE tw_8.externallookupfeedfield ADD COLUMN featureid BIGINT, ADD COLUMN "
      "formfieldid "
      "BIGINT, ADD COLUMN minrequestlength BIGINT, ADD COLUMN maxrequestlength BIGINT",
      "ALTER TABLE tw_8.externallookupfeedfield ALTER featureid SET DEFAULT 0, ALTER formfieldid "
      "SET DEFAULT 0, ALTER minrequestlength SET DEFAULT -1, ALTER maxrequestlength SET DEFAULT "
      "-1"},
     {NameValue("2147483648, 'a', 'b', 1", 2, "featureid",
                kRange + "externallookupfeedurl.featureid", "featureid", 1264),
      NameValue("1, 'a', 'b', 2147483648", 2, "sequence", kRange + "externallookupfeedurl.sequence",
                "sequence", 1264),
      NameValue("NULL, 'a', 'b', 1", 2, "featureid", kNoValue, "featureid", 1048),
      NameValue("1, 'a', 'b', NULL", 2, "sequence", kNoValue, "sequence", 1048),
      NameValue("2147483648, 'a', 'b', 1", 0, "featureid",
                kRange + "externallookupfeedparam.featureid", "featureid", 1264),
      NameValue("1, 'a', 'b', -2147483649", 0, "sequence",
                kRange + "externallookupfeedparam.sequence", "sequence", 1264),
      NameValue("1, 'a', REPEAT('x', 256), 1", 0, "value",
                "is longer than the 255 characters of externallookupfeedparam.textvalue",
                "textvalue", 1406),
      NameValue("1, NULL, 'b', 1", 0, "name", kNoValue, "name", 1048),
      NameValue("1, 'a', NULL, 1", 0, "value", kNoValue, "textvalue", 1048),
      LookupField(1, "featureid", "2147483648", kRange + "externallookupfeedparam.featureid",
                  "featureid", 1264),
      LookupField(2, "formfieldid", "2147483648", kRange + "externallookupfeedparam.longvalue",
                  "longvalue", 1264),
      LookupField(3, "minrequestlength", "2147483648", kRange + "externallookupfeedparam.minlength",
                  "minlength", 1264),
      LookupField(4, "maxrequestlength", "2147483648", kRange + "externallookupfeedparam.maxlength",
                  "maxlength", 1264),
      LookupField(5, "featureid", "NULL", kNoValue, "featureid", 1048),
      LookupField(6, "formfieldid", "NULL", kNoValue, "longvalue", 1048),
      LookupField(7, "minrequestlength", "NULL", kNoValue, "minlength", 1048),
      LookupField(8, "maxrequestlength", "NULL", kNoValue, "maxlength", 1048)}},
    {"NumbersOfFeedFieldsThatAreCopied",
     "1.0000",
     {"ALTER TABLE tw_8.externallookupfeedfield ADD COLUMN formfieldid SMALLINT DEFAULT 0 NOT NULL",
      "ALTER TABLE tw_8.datafeedfield MODIFY featureid BIGINT DEFAULT 0, ADD COLUMN pointer INT "
      "DEFAULT 0",
      // No lookup field has it.
      "INSERT INTO tw_8.datafeedfield(fieldid, featureid) VALUES(9, 2147483648)"},
     {FeedField(1, "featureid", "2147483648", kRange + "externallookupfeedfield.featureid",
                "featureid", 1264),
      FeedField(2, "pointer", "32768", kRange + "externallookupfeedfield.formfieldid",
                "formfieldid", 1264),
      FeedField(3, "pointer", "NULL", kNoValue, "formfieldid", 1048)}},
};

class CheckChanges : public InstallationTest {
  protected:
    /// All of them with TWUPDATE_SOAK=1, in an ordinary run every third.
    static std::vector<ChangedSite> ChosenSites() {
        constexpr std::size_t kStride = 3;
        if (SampleTest::IsSoak()) {
            return kChangedSites;
        }
        std::vector<ChangedSite> chosen;
        for (std::size_t i = 0; i < kChangedSites.size(); i += kStride) {
            chosen.push_back(kChangedSites[i]);
        }
        return chosen;
    }
    /// The text for another site than 8.
    static std::string ForSite(std::int32_t siteId, std::string text) {
        const std::string other = "tw_" + std::to_string(siteId) + ".";
        for (auto at = text.find("tw_8."); at != std::string::npos; at = text.find("tw_8.", at)) {
            text.replace(at, 5, other);
            at += other.size();
        }
        return text;
    }

    /// Statements apart by "; ".
    static void ExecuteFor(std::int32_t siteId, const std::string& statements) {
        const std::string all = ForSite(siteId, statements);
        for (std::size_t begin = 0; begin < all.size();) {
            const auto end = std::min(all.find("; ", begin), all.size());
            Execute(all.substr(begin, end - begin) + ";");
            begin = end + 2;
        }
    }

    void MakeChangedSite(std::int32_t siteId, const ChangedSite& site) {
        if (site.version == "1.0000") {
            MakeSite(siteId, site.version, sample::AllGroups());
        } else {
            MakeUpgradedSite(siteId, site.version, sample::AllGroups());
        }
        for (const std::string& statement : site.rows) {
            ExecuteFor(siteId, statement);
        }
        for (const Change& change : site.changes) {
            ExecuteFor(siteId, change.make);
        }
    }

    /// Sees a finding for every change, and none besides; then, one change after the other, the
    /// upgrade fail for it and go on when it is cured.
    void ExpectInTurn(const std::vector<ChangedSite>& sites) {
        MakeCentralDatabase();
        MakeUpgradedSite(7, kCurrentStored, sample::AllGroups());
        std::int32_t siteId = 100;
        std::size_t count = 0;
        for (const ChangedSite& site : sites) {
            SCOPED_TRACE(site.name);
            MakeChangedSite(++siteId, site);
            count += site.changes.size();
        }
        const Outcome found = Run({"check"});
        EXPECT_EQ(found.status, 3) << found.err;
        EXPECT_THAT(found.out, HasSubstr(fmt::format("\n{} findings.\n", count)));
        siteId = 100;
        for (const ChangedSite& site : sites) {
            SCOPED_TRACE(site.name);
            const std::string database = fmt::format("tw_{}.", ++siteId);
            auto lines = LinesOf(found.out, database);
            for (const Change& change : site.changes) {
                SCOPED_TRACE(change.finding);
                const std::string finding = database + ForSite(siteId, change.finding);
                EXPECT_EQ(
                    std::erase_if(
                        lines, [&](const std::string& line) { return line.starts_with(finding); }),
                    1U);
                const Outcome failed = Run({"upgrade-site", std::to_string(siteId), "--repair"});
                EXPECT_EQ(failed.status, 1) << failed.out;
                EXPECT_THAT(failed.err, ContainsRegex(ForSite(siteId, change.failure)));
                ExecuteFor(siteId, change.cure);
            }
            EXPECT_THAT(lines, IsEmpty());
        }
        const Outcome clean = Run({"check"});
        EXPECT_EQ(clean.status, 0) << clean.out << clean.err;
        const Outcome done = Run({"upgrade", "--repair"});
        EXPECT_EQ(done.status, 0) << done.err;
    }
};

TEST_F(CheckChanges, EveryChangeIsFoundAndComesTrueInItsTurn) {
    ExpectInTurn(ChosenSites());
}

TEST_F(CheckChanges, WhatACutRunLeftAndWhatIsCopiedIsFoundAndComesTrueInItsTurn) {
    ExpectInTurn(kCutAndCopiedSites);
}

TEST_F(CheckChanges, AModeThatIsNotStrictTakesThem) {
    MakeCentralDatabase();
    MakeSite(8, "1.0000", sample::AllGroups());
    ExecuteFor(8, kLogIn);
    ExecuteFor(8, NoDefault("event", "").make);
    ExecuteFor(8, Narrow("email", "type", "varchar(12)", "", "").make);
    EXPECT_EQ(Run({"check"}).status, 3);
    const Outcome clean = Run({"--sql-mode", "", "check"});
    EXPECT_EQ(clean.status, 0) << clean.out;
    const Outcome done = Run({"--sql-mode", "", "upgrade"});
    EXPECT_EQ(done.status, 0) << done.err;
}

// The address is compared with the column before it is written.
TEST_F(CheckChanges, NoModeTakesADirectUrlWhoseCharactersTheColumnLacks) {
    MakeCentralDatabase();
    MakeSite(8);
    Execute("ALTER TABLE tw_8.directurl CONVERT TO CHARACTER SET latin1;");
    Execute("INSERT INTO tw_8.override(overrideid, featureid) VALUES(9, 40);");
    const Change change = BadCharacter(
        "setting", "settingid 1",
        "overrideid = 9, name = 'canonical', type = 'string', string_value = '\xE2\x86\x92'",
        "string_value", "directurl.url", "SiteContentStep_1_0237", 1267);
    ExecuteFor(8, change.make);
    EXPECT_THAT(Run({"--sql-mode", "", "check"}).out, StartsWith("tw_8." + change.finding));
    EXPECT_THAT(Run({"--sql-mode", "", "upgrade"}).err, ContainsRegex(change.failure));
    ExecuteFor(8, change.cure);
    EXPECT_EQ(Run({"--sql-mode", "", "check"}).status, 0);
    EXPECT_EQ(Run({"--sql-mode", "", "upgrade"}).status, 0);
}

TEST_F(CheckChanges, TheDomainsOfTheRootSite) {
    MakeCentralDatabase();
    MakeSite(8);
    Execute("INSERT INTO tw_8.group_table(groupid, displayname) VALUES(3, 'local Visitor');");
    struct Table {
        std::string name;
        const char* failure;
    };
    const std::vector<Table> tables{{"tw_tarnwick.domain", "tw_tarnwick.domain"},
                                    {"tw_8.domain", "tw_8.domain"},
                                    {"tw_8.domaingroup", "tw_8.domaingroup"}};
    for (const Table& table : tables) {
        Execute("ALTER TABLE " + table.name + " ADD COLUMN added INT NOT NULL;");
    }
    const Outcome found = Run({"check"});
    EXPECT_THAT(found.out, HasSubstr("\n3 findings.\n"));
    for (const Table& table : tables) {
        EXPECT_THAT(found.out, HasSubstr(table.name +
                                         ": added has no default, and the step adds rows without "
                                         "it, so ServerDataStep_1_0252 fails; give it a default"));
        const Outcome failed = Run({"upgrade"});
        EXPECT_EQ(failed.status, 1) << failed.out;
        EXPECT_THAT(failed.err, ContainsRegex("step ServerDataStep_1_0252: INSERT INTO " +
                                              table.name + "\\(.*server error 1364"));
        Execute("ALTER TABLE " + table.name + " ALTER COLUMN added SET DEFAULT 0;");
        // The step adds a domain once: what it has added before it failed is taken away.
        Execute("DELETE FROM tw_8.domain;");
    }
    EXPECT_EQ(Run({"check"}).status, 0);
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST_F(CheckChanges, NamesTheTriggersThatAnUpgradeSetsOff) {
    MakeCentralDatabase();
    MakeSite(8);
    Execute(
        "CREATE TRIGGER tw_8.stops BEFORE UPDATE ON tw_8.layoutzone FOR EACH ROW SIGNAL SQLSTATE "
        "'45000' SET MESSAGE_TEXT = 'no change here';");
    // No step changes a row of these.
    Execute(
        "CREATE TRIGGER tw_8.quiet BEFORE UPDATE ON tw_8.pagehit FOR EACH ROW SET NEW.userid = 0;");
    Execute("INSERT INTO tw_8.layoutzone(zoneid) VALUES(1);");
    const Outcome found = Run({"check"});
    EXPECT_EQ(found.status, 0) << found.out;
    EXPECT_THAT(
        found.out,
        StartsWith("note: triggers run when the upgrade changes rows, and check cannot "
                   "tell whether they fail: stops on tw_8.layoutzone; rehearse runs them\n"));
    const Outcome failed = Run({"upgrade"});
    EXPECT_EQ(failed.status, 1);
    EXPECT_THAT(failed.err, ContainsRegex("step SiteSchemaStep_1_0035: .*server error 1644"));
    for (int i = 1; i <= 5; ++i) {
        Execute(
            fmt::format("CREATE TRIGGER tw_8.more{} AFTER INSERT ON tw_8.setting FOR EACH ROW "
                        "SET @more = 1;",
                        i));
    }
    EXPECT_THAT(Run({"check"}).out, HasSubstr("more4 on tw_8.setting and 1 more; rehearse"));
}

/// Something that somebody has changed, of which `check` cannot tell what comes.
struct OwnChange {
    std::vector<std::string> make;  ///< statements without the closing semicolon
    std::string note;
    std::string failure;  ///< of the upgrade, a regular expression
    std::vector<std::string> cure;
};

TEST_F(CheckChanges, NamesWhatSomebodyHasChangedAndCannotBeJudged) {
    const std::vector<OwnChange> changes{
        {{"CREATE TABLE tw_tarnwick.own(componentid INT, CONSTRAINT own_key FOREIGN "
          "KEY(componentid) "
          "REFERENCES component(componentid))",
          "INSERT INTO tw_tarnwick.own SELECT MIN(componentid) FROM tw_tarnwick.component"},
         "tw_tarnwick.own has a foreign key own_key",
         "step ReimportReferenceData: .*server error 1451",
         {"DROP TABLE tw_tarnwick.own"}},
        // 1.0020 adds a setting to the override that has one already.
        {{"ALTER TABLE tw_8.setting ADD UNIQUE KEY own_idx(overrideid)",
          "INSERT INTO tw_8.setting(overrideid, name, type, integer_value) VALUES(7, "
          "'TargetInstanceId', 'integer', 3)"},
         "tw_8.setting has a unique key own_idx",
         "step SiteContentStep_1_0020: .*server error 1062",
         {"ALTER TABLE tw_8.setting DROP KEY own_idx"}},
        {{"ALTER TABLE tw_8.layoutzone ADD CONSTRAINT has_js CHECK(flyoutjs <> '')",
          "INSERT INTO tw_8.layoutzone(zoneid, flyoutjs) VALUES(1, 'x')"},
         "tw_8.layoutzone has a constraint has_js",
         "step SiteContentStep_1_0026: .*server error 4025",
         {"ALTER TABLE tw_8.layoutzone DROP CONSTRAINT has_js"}},
    };
    MakeCentralDatabase();
    MakeSite(8);
    for (const OwnChange& change : changes) {
        for (const std::string& statement : change.make) {
            Execute(statement + ";");
        }
        const Outcome found = Run({"check"});
        EXPECT_EQ(found.status, 0) << found.out;
        EXPECT_THAT(found.out,
                    HasSubstr("note: somebody has changed tables of the platform, and check cannot "
                              "tell all that comes of it: " +
                              change.note + "; rehearse does\n"));
        EXPECT_THAT(Run({"upgrade"}).err, ContainsRegex(change.failure)) << change.note;
        for (const std::string& statement : change.cure) {
            Execute(statement + ";");
        }
    }
    EXPECT_THAT(Run({"check"}).out, Not(HasSubstr("note: somebody")));
    EXPECT_EQ(Run({"upgrade"}).status, 0);
}

TEST(OwnChanges, AreColumnsThatHoldLessAndUniqueKeys) {
    const cli::Layout expected = cli::Layout::Parse(R"(
table tag
    a VARCHAR(50) DEFAULT '' NOT NULL
    b LONGTEXT NOT NULL
    c INT DEFAULT '0' NOT NULL
    d DECIMAL(17,2) DEFAULT '0.00' NOT NULL
    e DOUBLE DEFAULT '0' NOT NULL
    f DATETIME NULL
    g VARCHAR(255) DEFAULT '' NOT NULL <- SiteContentStep_1_0254
    KEY a_idx(a)
table css
)");
    const auto changesOf = [&](const std::string& stored, double version) {
        return cli::OwnChanges(CliServer::Get().Root(), "tw_none", cli::Layout::Parse(stored),
                               expected,
                               cli::PendingRun(Ladder::kSiteSchema, Ladder::kSiteContent, version));
    };
    EXPECT_THAT(changesOf(R"(
table tag
    a VARCHAR(40) DEFAULT '' NOT NULL
    b TEXT NOT NULL
    c INT UNSIGNED DEFAULT '0' NOT NULL
    d DECIMAL(17,1) DEFAULT '0.0' NOT NULL
    e FLOAT DEFAULT '0' NOT NULL
    f DATE NULL
    g VARCHAR(50) DEFAULT '' NOT NULL
    KEY a_idx(a)
    UNIQUE KEY own_idx(c)
table own
    UNIQUE KEY own_idx(c)
)",
                          1.0),
                ElementsAre("tw_none.tag has a unique key own_idx",
                            "tw_none.tag.a is VARCHAR(40) and not VARCHAR(50)",
                            "tw_none.tag.b is TEXT and not LONGTEXT",
                            "tw_none.tag.c is INT UNSIGNED and not INT",
                            "tw_none.tag.d is DECIMAL(17,1) and not DECIMAL(17,2)",
                            "tw_none.tag.e is FLOAT and not DOUBLE",
                            "tw_none.tag.f is DATE and not DATETIME"));
    // Wider ones do no harm, nor does a column that is not there.
    const std::string wider = R"(
table tag
    a LONGTEXT NOT NULL
    b LONGTEXT NULL
    c BIGINT NOT NULL
    d DECIMAL(20,4) DEFAULT '0.0000' NOT NULL
    g VARCHAR(50) DEFAULT '' NOT NULL
)";
    EXPECT_THAT(changesOf(wider, 1.0), IsEmpty());
    // After the step that makes the last one so.
    EXPECT_THAT(changesOf(wider, 1.0254),
                ElementsAre("tw_none.tag.g is VARCHAR(50) and not VARCHAR(255)"));
}

}  // namespace
}  // namespace twupdate::test
