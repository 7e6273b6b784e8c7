#include "site_content_scenarios.h"

#include <algorithm>
#include <iterator>

namespace twupdate::test {
namespace {

using Lines = std::vector<std::string>;

const std::string kResetMessage =
    "Somebody has asked for a new password for your account on this site.\\r\\n\\r\\n"
    "If it was not you, please ignore this e-mail: your password stays as it is.\\r\\n";

/// 70 stylesheets, more than a page of them, all built.
std::string SeventyStylesheets() {
    std::string rows = "INSERT INTO tw_7.css(cssid, name, cachebuilt) VALUES";
    for (int id = 1; id <= 70; ++id) {
        rows += (id > 1 ? ", (" : "(") + std::to_string(id) + ", 'sheet', -1)";
    }
    return rows + ";";
}

Lines WithSeventyStylesheets(Lines changes) {
    for (int id = 1; id <= 70; ++id) {
        changes.push_back("css " + std::to_string(id) + ": cachebuilt -1 -> 0");
    }
    return changes;
}

std::vector<Scenario> Scenarios_1_0001_to_1_0012() {
    return {
        {"PageParametersOfSearchesBecomeValues",
         "SiteContentStep_1_0001",
         R"(INSERT INTO tw_7.formtemplateinstancefield(instancefieldid, operator, value)
            VALUES(1, 'PAGE', 'x'), (2, 'LIKE', 'PAGE'), (3, '=', 'y');)",
         {"formtemplateinstancefield 1: operator 'PAGE' -> '=', valuetype 0 -> 1"}},
        {"DefaultValuesBecomeTheTextOfBlankOptions",
         "SiteContentStep_1_0003",
         R"(INSERT INTO tw_7.formfield(formfieldid, defaultvalue, blankoptiontext)
            VALUES(1, 'it''s red', ''), (2, '0', ''), (3, '', 'old'), (4, '00', '');)",
         {"formfield 1: blankoptiontext '' -> 'it\\'s red'",
          "formfield 3: blankoptiontext 'old' -> ''", "formfield 4: blankoptiontext '' -> '00'"}},
        {"NavigationZonesGetDepthAndOffset",
         "SiteContentStep_1_0005",
         R"(INSERT INTO tw_7.layoutzone(zoneid, navfrom, navuntil)
            VALUES(1, 2, 4), (2, 5, 3), (3, 1, 1), (4, 0, 0);)",
         {"layoutzone 1: navoffset 0 -> 2, navdepth 1 -> 3", "layoutzone 2: navoffset 0 -> 5",
          "layoutzone 3: navoffset 0 -> 1"}},
        {"ContentUpdatesAreIndexedByTime",
         "SiteContentStep_1_0006",
         "INSERT INTO tw_7.contentupdate(updateid) VALUES(1);",
         {},
         {},
         {"contentupdate + KEY updatetime_idx(updatetime)"},
         "ALTER TABLE tw_7.contentupdate DROP INDEX IF EXISTS updatetime_idx;"},
        {"LogInPagesGetTheResetPasswordEvent",
         "SiteContentStep_1_0008",
         R"(INSERT INTO tw_7.feature(featureid, componentid)
            VALUES(10, 100), (11, 100), (12, 100), (13, 400);
            INSERT INTO tw_7.event(eventid, featureid, name)
            VALUES(1, 11, 'Reset Password'), (2, 12, 'reset password');
            INSERT INTO tw_7.email(emailid, featureid, type) VALUES(1, 10, 'welcome');)",
         {"+ event 3: featureid 10, name 'Reset Password'",
          "+ eventpart 1: eventid 3, name 'Reset password email', sequence 1",
          "+ email 2: featureid 10, type 'resetpassword', subject 'Reset your password', message "
          "'" +
              kResetMessage + "'",
          "+ emailevent 1, 2"}},
        {"TreeLinkStylesAreCopiedToTheNewSelectors",
         "SiteContentStep_1_0009",
         R"(INSERT INTO tw_7.tag(tagid, name, templateid, overrideid)
            VALUES(1, 'span.TreeLink', 5, 0),
                  (2, 'span.TreeLink:Hover span.TreeLinkOn', 5, 6),
                  (3, 'div.twTreeNode span.SiteTreeLink[suffix]:Hover div.twTreeNode span.SiteTreeLink[suffix]On', 5, 6),
                  (4, 'SPAN.TREELINK', 5, 0),
                  (5, 'div.twTreeNode span.SiteTreeLink[suffix]', 9, 0),
                  (6, 'div span.TreeLink', 5, 0);
            INSERT INTO tw_7.attribute(attributeid, tagid, name, value)
            VALUES(1, 1, 'color', 'red'), (2, 1, 'height', '3px'), (3, 1, 'padding-left', '1px'),
                  (4, 1, 'font-size', '9pt'), (5, 2, 'color', 'green'), (6, 3, 'color', 'blue'),
                  (7, 2, 'margin', '0'), (8, 4, 'color', 'black'), (9, 5, 'color', 'grey'),
                  (10, 2, 'Color', 'white');)",
         {"+ tag 7: name 'div.twTreeNode span.SiteTreeLink[suffix]', templateid 5",
          "+ attribute: tagid 7, name 'color', value 'red'",
          "+ attribute: tagid 7, name 'font-size', value '9pt'",
          "+ attribute: tagid 3, name 'margin', value '0'"}},
        {"PageHitsAreIndexedByEvent",
         "SiteContentStep_1_0010",
         "INSERT INTO tw_7.pagehit(hitid) VALUES(1);",
         {},
         {},
         {"pagehit + KEY eventid_idx(eventid)"},
         "ALTER TABLE tw_7.pagehit DROP INDEX IF EXISTS eventid_idx;"},
        // The backslash of the pattern is lost in the server's literal: its first sign is any
        // sign, so that xLOnavlink9 is found as well.
        {"NavigationLinkStylesInheritInSecondPlace",
         "SiteContentStep_1_0012",
         R"(INSERT INTO tw_7.tagdependancy(tagname, inheritsequence)
            VALUES('.LOnavlink3', 1), ('.LOnavlink12 A:Hover', 1), ('.LOnavlink3 B', 1),
                  ('.LOnavlink4', 5), ('xLOnavlink9', 1), ('.LOheading1', 1);)",
         {"- tagdependancy: tagname '.LOnavlink3', inheritsequence 1",
          "+ tagdependancy: tagname '.LOnavlink3', inheritsequence 2",
          "- tagdependancy: tagname '.LOnavlink12 A:Hover', inheritsequence 1",
          "+ tagdependancy: tagname '.LOnavlink12 A:Hover', inheritsequence 2",
          "- tagdependancy: tagname 'xLOnavlink9', inheritsequence 1",
          "+ tagdependancy: tagname 'xLOnavlink9', inheritsequence 2"}},
    };
}

std::vector<Scenario> Scenarios_1_0015_to_1_0032() {
    return {
        {"HeadingClassesGiveTheHeadingsTheirStyles",
         "SiteContentStep_1_0017",
         R"(INSERT INTO tw_7.layoutelement(elementid, showtoall) VALUES(1, 0), (2, -1);
            INSERT INTO tw_7.tag(tagid, name, templateid, overrideid)
            VALUES(1, '.heading', 5, 3), (2, '.subheading', 5, 3), (3, 'h2', 8, 3),
                  (4, '.heading', 5, 0), (5, '.heading', 5, 4), (6, 'h1', 5, 4),
                  (7, '.Heading', 5, 9);
            INSERT INTO tw_7.attribute(attributeid, tagid, name, value)
            VALUES(1, 1, 'color', 'red'), (2, 1, 'font-size', '12pt'), (3, 3, 'color', 'blue'),
                  (4, 2, 'color', 'green'), (5, 2, 'margin', '0'), (6, 4, 'color', 'black'),
                  (7, 7, 'color', 'white');)",
         {"layoutelement 1: showtype 0 -> 1", "+ tag 8: name 'h1', templateid 5, overrideid 3",
          "+ attribute: tagid 8, name 'color', value 'red'",
          "+ attribute: tagid 8, name 'font-size', value '12pt'",
          "+ attribute: tagid 3, name 'margin', value '0'"}},
        {"SearchResultsTextsStandInAParagraph",
         "SiteContentStep_1_0019",
         R"(INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 20), (2, 22);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, text)
            VALUES(1, 1, 'FindResultsPhrase', 'text', 'We''ve found: '),
                  (2, 2, 'findresultsphrase', 'text', 'Found: '),
                  (3, 2, 'Other', 'text', 'no');
            INSERT INTO tw_7.text(textid, featureid, texttype, text, previoustext)
            VALUES(1, 20, 22, 'old', 'before'), (2, 20, 22, '<p>We''ve found: old</p>', NULL),
                  (3, 21, 22, 'x', NULL), (4, 21, 22, '<p>x</p>', NULL), (5, 20, 0, 'old', NULL),
                  (6, 21, 22, NULL, NULL), (7, 22, 22, 'y', NULL), (8, 20, 22, '<p>x</p>', NULL);)",
         {"text 1: text 'old' -> '<p>We\\'ve found: old</p>'", "text 3: text 'x' -> '<p>x</p>'",
          "text 6: text NULL -> '<p></p>'", "text 7: text 'y' -> '<p>Found: y</p>'",
          "text 8: text '<p>x</p>' -> '<p>We\\'ve found: <p>x</p></p>'"}},
        {"TargetInstancesAreListedAndNavigationIsNumbered",
         "SiteContentStep_1_0020",
         R"(INSERT INTO tw_7.override(overrideid, featureid)
            VALUES(1, 30), (2, 31), (3, 32), (4, 33), (5, 34), (6, 35);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, string_value, text, integer_value)
            VALUES(1, 1, 'TargetInstanceId', 'integer', '', NULL, 45),
                  (2, 2, 'TargetInstanceId', 'integer', '', NULL, 46),
                  (3, 2, 'TargetInstanceIds', 'text', '', '9,10', 0),
                  (4, 3, 'TargetInstanceId', 'integer', '', NULL, 0),
                  (5, 4, 'TargetInstanceId', 'string', '5', NULL, 0),
                  (6, 5, 'targetinstanceid', 'integer', '', NULL, 47),
                  (7, 6, 'TargetInstanceId', 'integer', '', NULL, 48),
                  (8, 6, 'targetinstanceids', 'text', '', '11', 0);
            INSERT INTO tw_7.navigation(navigationid, parentid, sequence)
            VALUES(1, 0, 3), (2, 0, 3), (3, 0, 1), (4, 1, 0), (5, 1, 2), (6, 2, 1), (7, 3, -4),
                  (8, 3, 9), (9, 3, 7);)",
         {"+ setting: overrideid 1, name 'TargetInstanceIds', type 'text', text '45'",
          "+ setting: overrideid 5, name 'TargetInstanceIds', type 'text', text '47'",
          "navigation 1: sequence 3 -> 2", "navigation 4: sequence 0 -> 1",
          "navigation 7: sequence -4 -> 1", "navigation 8: sequence 9 -> 3",
          "navigation 9: sequence 7 -> 2"},
         {},
         {"navigation + KEY level_idx(level)", "navigation + KEY parentid_idx(parentid)",
          "navigation + KEY sequence_idx(sequence)"},
         R"(ALTER TABLE tw_7.navigation DROP INDEX IF EXISTS parentid_idx;
            ALTER TABLE tw_7.navigation DROP INDEX IF EXISTS level_idx;
            ALTER TABLE tw_7.navigation DROP INDEX IF EXISTS sequence_idx;)"},
        {"HiddenPagesAreMarked",
         "SiteContentStep_1_0021",
         R"(INSERT INTO tw_7.feature(featureid, navigationstyle)
            VALUES(1, 'LONavHidden'), (2, 'LONav'), (3, '');)",
         {"feature 1: hidden 0 -> -1"},
         {},
         {"feature + KEY deadlink_idx(deadlink)"},
         "ALTER TABLE tw_7.feature DROP INDEX IF EXISTS deadlink_idx;"},
        {"RemovedPagesAreIndexed",
         "SiteContentStep_1_0023",
         "INSERT INTO tw_7.removedfeature(featureid) VALUES(1);",
         {},
         {},
         {"removedfeature + KEY navigationid_idx(navigationid)"},
         "ALTER TABLE tw_7.removedfeature DROP INDEX IF EXISTS navigationid_idx;"},
        {"TheForumIsIndexed",
         "SiteContentStep_1_0025",
         "INSERT INTO tw_7.forum(elementid, threadid) VALUES(1, 1);",
         {},
         {},
         {"forum + KEY featureid_idx(featureid)", "forum + KEY threadid_idx(threadid)"},
         R"(ALTER TABLE tw_7.forum DROP INDEX IF EXISTS featureid_idx;
            ALTER TABLE tw_7.forum DROP INDEX IF EXISTS threadid_idx;)"},
        {"LayoutsListTheirElementsById",
         "SiteContentStep_1_0026",
         R"(INSERT INTO tw_7.layoutelement(elementid, featureid, name, sequence)
            VALUES(11, 50, '', 1), (12, 50, 'Top', 2), (13, 50, '', 3), (14, 52, 'A', 1);
            INSERT INTO tw_7.layoutzone(zoneid, flyoutjs) VALUES(1, 'alert(1)'), (2, NULL), (3, '');
            INSERT INTO tw_7.override(overrideid, featureid) VALUES(5, 50), (6, 51), (7, 52);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, text, integer_value)
            VALUES(1, 5, 'ExplicitLayoutElements', 'text', '3, 1,9,x,,2147483648', 0),
                  (2, 6, 'ExplicitLayoutElements', 'text', '1', 0),
                  (3, 7, 'explicitlayoutelements', 'text', '1', 0),
                  (4, 7, 'layoutelementtype', 'integer', NULL, 2),
                  (5, 5, 'HideNavIfOverrides', 'boolean', NULL, -1);)",
         {"layoutelement 11: name '' -> 'Layout Element 1'",
          "layoutelement 13: name '' -> 'Layout Element 3'",
          "layoutzone 1: flyoutjs 'alert(1)' -> ''", "layoutzone 2: flyoutjs NULL -> ''",
          "- setting 1: overrideid 5, name 'ExplicitLayoutElements', type 'text', text '3, "
          "1,9,x,,2147483648'",
          "+ setting: overrideid 5, name 'LayoutElementType', type 'integer', integer_value 1",
          "+ setting: overrideid 5, name 'LayoutElementIds', type 'text', text '13,11'",
          "- setting 3: overrideid 7, name 'explicitlayoutelements', type 'text', text '1'",
          "+ setting: overrideid 7, name 'LayoutElementIds', type 'text', text '14'"}},
        {"ATemplateSiteShowsItsNavigation",
         "SiteContentStep_1_0026",
         R"(UPDATE tw_tarnwick.site SET template = -1 WHERE siteid = 7;
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, integer_value)
            VALUES(1, 5, 'HideNavIfOverrides', 'boolean', -1), (2, 5, 'HideNav', 'boolean', -1);)",
         {"- setting 1: overrideid 5, name 'HideNavIfOverrides', type 'boolean', integer_value "
          "-1"},
         {},
         {},
         "UPDATE tw_tarnwick.site SET template = 0 WHERE siteid = 7;"},
        {"PagesWithContentAreNotBlank",
         "SiteContentStep_1_0031",
         R"(INSERT INTO tw_7.feature(featureid, componentid)
            VALUES(1, 400), (2, 500), (3, 400), (4, 600), (5, 500), (6, 400), (7, 400), (8, 500);
            INSERT INTO tw_7.text(featureid, subfeatureid, text)
            VALUES(1, 0, 'Hello'), (2, 0, '&nbsp;'), (3, 0, NULL), (4, 0, 'Hello'), (5, 0, 'a'),
                  (5, 0, 'b'), (6, 1, 'Hello'), (7, 0, '&NBSP;'), (8, 0, '');)",
         {"feature 1: blankcontent -1 -> 0", "feature 5: blankcontent -1 -> 0",
          "feature 8: blankcontent -1 -> 0"}},
        // Root 1 is removed, but lies below a live root; root 7 is removed and lies above the last
        // one. Posting 6 is removed and counts. No posting of thread 4 is published.
    };
}

std::vector<Scenario> Scenarios_1_0037_to_1_0062() {
    return {
        {"ForumThreadsGetTheirStatistics",
         "SiteContentStep_1_0037",
         R"(INSERT INTO tw_7.forum(elementid, threadid, removed, published)
            VALUES(1, 1, -1, -1), (2, 1, 0, -1), (3, 3, 0, -1), (4, 4, 0, 0), (5, 3, 0, -1),
                  (6, 3, -1, 0), (7, 7, -1, -1), (8, 4, 0, 0);)",
         {"forum 1: latestelementid NULL -> 2, latestpublishedelementid NULL -> 2, postings NULL "
          "-> 2, publishedpostings NULL -> 2",
          "forum 3: latestelementid NULL -> 6, latestpublishedelementid NULL -> 5, postings NULL "
          "-> 3, publishedpostings NULL -> 2",
          "forum 4: latestelementid NULL -> 8, postings NULL -> 2"}},
        {"FirstPostingsAreMarked",
         "SiteContentStep_1_0039",
         "INSERT INTO tw_7.forum(elementid, threadid) VALUES(1, 1), (2, 1), (3, 3);",
         {"forum 1: threadroot 0 -> -1", "forum 3: threadroot 0 -> -1"}},
        {"LinkedTemplateFieldsSaySo",
         "SiteContentStep_1_0042",
         R"(INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, linkformtemplatefieldid)
            VALUES(1, 3), (2, 0), (3, -1);)",
         {"formtemplatefield 1: linktype 0 -> 1"}},
        {"EmailsBecomeHtml",
         "SiteContentStep_1_0043",
         R"(INSERT INTO tw_7.email(emailid, fromlist, tolist, subject, message)
            VALUES(1, 'A <a@b.example>', NULL, 'a > b', 'it''s \\ <b>&amp;</b>'),
                  (2, '', '', '', '');)",
         {"email 1: fromlist 'A <a@b.example>' -> 'A &lt;a@b.example&gt;', tolist NULL -> '', "
          "cclist NULL -> '', bcclist NULL -> '', subject 'a > b' -> 'a &gt; b', message 'it\\'s "
          "\\\\ <b>&amp;</b>' -> 'it\\'s \\\\ &lt;b&gt;&amp;&lt;/b&gt;'",
          "email 2: cclist NULL -> '', bcclist NULL -> ''"},
         {},
         {"email + ishtml BOOL DEFAULT 0 NOT NULL"},
         "ALTER TABLE tw_7.email DROP COLUMN IF EXISTS ishtml;",
         false},
        {"ThirdTextsGetTheirType",
         "SiteContentStep_1_0044",
         R"(INSERT INTO tw_7.feature(featureid, componentid) VALUES(1, 900), (2, 3700), (3, 400);
            INSERT INTO tw_7.text(textid, featureid, subfeatureid, texttype, text)
            VALUES(1, 1, 2, 0, 'a'), (2, 2, 2, 0, 'b'), (3, 3, 2, 0, 'c'), (4, 1, 1, 0, 'd'),
                  (5, 1, 2, 5, 'e'), (6, 1, 2, 0, NULL);)",
         {"text 1: texttype 0 -> 20", "text 2: texttype 0 -> 20", "text 6: texttype 0 -> 20"}},
        // An unknown identifier keeps the prefix of the one before, and has none in first place.
        {"OrderDetailsOfEmailsBecomeEmbedCodes",
         "SiteContentStep_1_0049",
         R"(INSERT INTO tw_7.email(emailid, subject, message)
            VALUES(1, 'plain', '&lt;#OrderDetails:Name=Customer,Id=billingname#&gt; it''s <#OrderDetails:Name=Sum,Id=total#>'),
                  (2, '<#OrderDetails:Name=X,Id=oddity#>', NULL),
                  (3, NULL, '<#OrderDetails:Name=A,Id=paymentdate#> <#OrderDetails:Name=B,Id=Total#>'),
                  (4, 'no tag <#Embed.1:x#>', 'nor here');)",
         {"email 1: message '&lt;#OrderDetails:Name=Customer,Id=billingname#&gt; it\\'s "
          "<#OrderDetails:Name=Sum,Id=total#>' -> '<#Embed.17.6:Customer#> it\\'s "
          "<#Embed.17.3:Sum#>'",
          "email 2: subject '<#OrderDetails:Name=X,Id=oddity#>' -> '<#Embed.:X#>'",
          "email 3: message '<#OrderDetails:Name=A,Id=paymentdate#> "
          "<#OrderDetails:Name=B,Id=Total#>' -> '<#Embed.18.2:A#> <#Embed.18.2:B#>'"}},
        {"EmbedCodesOfEmailsAreRenamed",
         "SiteContentStep_1_0050",
         R"(INSERT INTO tw_7.email(emailid, fromlist, tolist, cclist, bcclist, subject, message)
            VALUES(1, '<#Embed.1:a#>', '<#Embed.1:b#>', '<#Embed.1:c#>', '<#Embed.1:d#>', '<#Embed.1:e#>', '<#Embed.1:f#> &lt;#Embed.2:g#&gt;'),
                  (2, '<#E-Embed.1:a#>', NULL, '', NULL, '<#embed.1:a#>', 'Embed.');)",
         {"email 1: fromlist '<#Embed.1:a#>' -> '<#E-Embed.1:a#>', tolist '<#Embed.1:b#>' -> "
          "'<#E-Embed.1:b#>', cclist '<#Embed.1:c#>' -> '<#E-Embed.1:c#>', bcclist "
          "'<#Embed.1:d#>' -> '<#E-Embed.1:d#>', subject '<#Embed.1:e#>' -> '<#E-Embed.1:e#>', "
          "message '<#Embed.1:f#> &lt;#Embed.2:g#&gt;' -> '<#E-Embed.1:f#> "
          "&lt;#E-Embed.2:g#&gt;'"}},
        {"ShopsStoreWhichAddressFieldsTheyShow",
         "SiteContentStep_1_0054",
         R"(INSERT INTO tw_7.feature(featureid, componentid) VALUES(60, 1000), (61, 1000), (62, 1000), (63, 400), (64, 1000);
            INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 61), (2, 62), (3, 63), (4, 64);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, string_value, integer_value)
            VALUES(1, 1, 'ShowBillingName', 'boolean', '', -1),
                  (2, 1, 'ShowBillingAddress', 'boolean', '', -1),
                  (3, 1, 'ShowBillingEmail', 'boolean', '', 0),
                  (4, 1, 'ShowShippingCountry', 'boolean', '', -1),
                  (5, 2, 'BillingDisplaySequence', 'string', '6', 0),
                  (6, 2, 'ShowBillingTelephone', 'boolean', '', -1),
                  (7, 3, 'ShowBillingName', 'boolean', '', -1),
                  (8, 1, 'showbillingpostcode', 'boolean', '', -1),
                  (9, 1, 'ShowBilling', 'boolean', '', -1),
                  (10, 4, 'billingdisplaysequence', 'string', '6', 0);)",
         {"+ override 5: featureid 60",
          "+ setting: overrideid 5, name 'BillingDisplaySequence', type 'string', string_value "
          "'0,1,2,3,4,5,6,7,8,9,10'",
          "+ setting: overrideid 5, name 'ShippingDisplaySequence', type 'string', string_value "
          "'0,1,2,3,4,5,6,7,8,9,10'",
          "+ setting: overrideid 4, name 'ShippingDisplaySequence', type 'string', string_value "
          "'0,1,2,3,4,5,6,7,8,9,10'",
          "+ setting: overrideid 1, name 'BillingDisplaySequence', type 'string', string_value "
          "'0,1,2,3,4,5,6,7'",
          "+ setting: overrideid 1, name 'ShippingDisplaySequence', type 'string', string_value "
          "'6,8'",
          "+ setting: overrideid 2, name 'ShippingDisplaySequence', type 'string', string_value "
          "'6,10'"}},
        {"AddressLinesMergeIntoOneColumn",
         "SiteContentStep_1_0054",
         R"(INSERT INTO tw_7.customerorder(orderid, billingaddress, billingaddress1, billingaddress2, shippingaddress, shippingaddress1, shippingaddress2)
            VALUES(1, '', '1 O''Neill St', 'Leeds', 'filled', 'x', 'y'),
                  (2, '', '', 'second only', '', '', ''),
                  (3, 'filled', '', '', '', 'first only', ''),
                  (4, '', '', '', '', '', '');
            INSERT INTO tw_7.security(userid, address, address1, address2)
            VALUES(1, '', 'a\\b', 'c'), (2, 'kept', 'a', 'b'), (3, '', '', '');
            INSERT INTO tw_7.datafeedfield(fieldid, prompt)
            VALUES(1, 'Billing Address 1'), (2, 'Shipping Address 1'), (3, 'Address 1'),
                  (4, 'Address 11'), (5, 'billing address 1'), (6, 'Billing Address 1 '),
                  (7, 'Address 2');)",
         {"customerorder 1: billingaddress '' -> '1 O\\'Neill St, Leeds'",
          "customerorder 2: billingaddress '' -> 'second only'",
          "customerorder 3: shippingaddress '' -> 'first only'",
          "security 1: address '' -> 'a\\\\b, c'",
          "datafeedfield 1: prompt 'Billing Address 1' -> 'Billing Address'",
          "datafeedfield 2: prompt 'Shipping Address 1' -> 'Shipping Address'",
          "datafeedfield 3: prompt 'Address 1' -> 'Address'",
          "datafeedfield 5: prompt 'billing address 1' -> 'Billing Address'",
          "datafeedfield 6: prompt 'Billing Address 1 ' -> 'Billing Address'"}},
        {"ShopsGetTheOrderPaymentEvent",
         "SiteContentStep_1_0055",
         R"(INSERT INTO tw_7.feature(featureid, componentid)
            VALUES(70, 1000), (71, 1000), (72, 1000), (73, 400), (74, 1000), (75, 1000);
            INSERT INTO tw_7.event(eventid, featureid, name)
            VALUES(1, 71, 'Order Payment'), (2, 72, 'Order Completion'), (3, 70, 'Other'),
                  (4, 75, 'order payment');
            INSERT INTO tw_7.email(emailid, featureid, type)
            VALUES(1, 70, 'postorderpayment'), (2, 70, 'order'), (3, 70, 'PostOrderPayment'),
                  (4, 71, 'postorderpayment'), (5, 73, 'postorderpayment');)",
         {"+ event 5: featureid 70, name 'Order Payment'",
          "+ event 6: featureid 74, name 'Order Payment'",
          "+ eventpart 1: eventid 5, name 'Order payment email', sequence 1",
          "+ eventpart 2: eventid 5, name 'Order payment email', sequence 2", "+ emailevent 1, 1",
          "+ emailevent 2, 3"}},
        {"LayoutStylesBelongToTheElementOfTheirZone",
         "SiteContentStep_1_0061",
         R"(INSERT INTO tw_7.layoutzone(zoneid, elementid) VALUES(5, 50), (6, 60);
            INSERT INTO tw_7.tag(tagid, name, templateid, overrideid, cssid, media, subownerid)
            VALUES(1, '.LOnavlink5 A', 1, 0, 3, 0, 0), (2, '.LOnavlink5 A', 1, 0, 3, 0, 0),
                  (3, '.LOnavlink5 A', 2, 0, 3, 0, 0), (4, '.LOheading1', 1, 0, 3, 0, 0),
                  (5, '.LOheading16', 1, 0, 3, 0, 0), (6, '.LOheading26:Hover', 1, 0, 3, 0, 0),
                  (7, '.LOzone99', 1, 0, 3, 0, 0), (8, '.LOzone99', 1, 0, 3, 0, 0),
                  (9, '.LOnavdivider5', 1, 0, 3, 0, 0), (10, '.lonavlink5 A', 1, 0, 3, 0, 0),
                  (11, '.LOnavlink5 a', 1, 0, 3, 0, 0), (12, '.LOnavlink5 A', 1, 0, 3, 1, 0),
                  (13, '.LOnavlink5 A', 1, 0, 3, 0, 50), (14, '.LOother5', 1, 0, 3, 0, 0),
                  (15, '.LOzone6', 1, 0, 3, 0, 60), (16, 'x .LOzone6', 1, 0, 3, 0, 0);
            INSERT INTO tw_7.attribute(attributeid, tagid, name, value)
            VALUES(1, 2, 'color', 'red'), (2, 2, 'margin', '0'), (3, 1, 'color', 'blue'),
                  (4, 13, 'color', 'green'), (5, 8, 'color', 'black');)",
         {"tag 1: subownerid 0 -> 50", "tag 3: subownerid 0 -> 50", "tag 5: subownerid 0 -> 60",
          "tag 6: subownerid 0 -> 60", "tag 9: subownerid 0 -> 50", "tag 11: subownerid 0 -> 50",
          "tag 12: subownerid 0 -> 50", "- tag 2: name '.LOnavlink5 A', templateid 1, cssid 3",
          "- tag 13: name '.LOnavlink5 A', templateid 1, cssid 3, subownerid 50",
          "- attribute 1: tagid 2, name 'color', value 'red'",
          "- attribute 2: tagid 2, name 'margin', value '0'",
          "- attribute 4: tagid 13, name 'color', value 'green'"}},
    };
}

std::vector<Scenario> Scenarios_1_0063_to_1_0100() {
    return {
        {"PermissionCachesAreDropped",
         "SiteContentStep_1_0066",
         R"(INSERT INTO tw_7.cache(cacheid, type, templateid) VALUES(1, 2, 4), (2, 2, 0), (3, 0, 4), (4, 2, 5);
            INSERT INTO tw_7.featurecache(featureid, cacheid) VALUES(10, 1), (10, 3), (11, 4), (12, 2);
            INSERT INTO tw_7.feature(featureid, permissioncacheid, stylecacheid) VALUES(10, 1, 3), (11, 4, 0), (12, 0, 0);)",
         {"- cache 1: type 2, templateid 4", "- cache 4: type 2, templateid 5",
          "- featurecache: featureid 10, cacheid 1", "- featurecache: featureid 11, cacheid 4",
          "feature 10: permissioncacheid 1 -> 0", "feature 11: permissioncacheid 4 -> 0"},
         {},
         {},
         "",
         false},
        {"ViewFieldsWithOptionsHideItemsWithoutOne",
         "SiteContentStep_1_0068",
         R"(INSERT INTO tw_7.formtemplateviewfield(viewfieldid, formtemplateviewfieldtype)
            VALUES(1, 6), (2, 7), (3, 8), (4, 67);)",
         {"formtemplateviewfield 1: hideitemifnooptions 0 -> -1",
          "formtemplateviewfield 2: hideitemifnooptions 0 -> -1"}},
        {"OrdersWithTestPaymentsAreNotLive",
         "SiteContentStep_1_0069",
         R"(INSERT INTO tw_7.event(eventid, name)
            VALUES(1, 'Order Payment'), (2, 'Payment'), (3, 'order payment');
            INSERT INTO tw_7.customerorder(orderid) VALUES(1), (2), (3), (4);
            INSERT INTO tw_7.orderpayment(paymentid, orderid, live)
            VALUES(1, 1, 0), (2, 2, -1), (3, 4, -1), (4, 4, 0);)",
         {"event 1: name 'Order Payment' -> 'Order Completion'",
          "event 3: name 'order payment' -> 'Order Completion'", "customerorder 1: live -1 -> 0",
          "customerorder 4: live -1 -> 0"}},
        {"BaseFontStylesGetTheirPlace",
         "SiteContentStep_1_0072",
         R"(INSERT INTO tw_7.tag(tagid, name) VALUES(1, '.basefont'), (2, '.base font'),
                  (3, 'div.LObasefont A');)",
         {"tag 1: cssorder 0 -> 500", "tag 3: cssorder 0 -> 500"}},
        {"StylesAreIndexed",
         "SiteContentStep_1_0074",
         "INSERT INTO tw_7.tag(tagid) VALUES(1);",
         {},
         {},
         {"tag + KEY cssid_idx(cssid)", "tag + KEY overrideid_idx(overrideid)",
          "tag + KEY templateid_idx(templateid)", "attribute + KEY tagid_idx(tagid)"},
         R"(ALTER TABLE tw_7.tag DROP INDEX IF EXISTS cssid_idx;
            ALTER TABLE tw_7.tag DROP INDEX IF EXISTS overrideid_idx;
            ALTER TABLE tw_7.tag DROP INDEX IF EXISTS templateid_idx;
            ALTER TABLE tw_7.attribute DROP INDEX IF EXISTS tagid_idx;)"},
        {"ShopsGetTwoDefaultCountries",
         "SiteContentStep_1_0081",
         R"(INSERT INTO tw_7.feature(featureid, componentid) VALUES(1, 1000), (2, 1000), (3, 400), (4, 1000);
            INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 1), (2, 2), (3, 3), (4, 4);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, string_value, text, integer_value, float_value, textlen)
            VALUES(1, 1, 'DefaultCountryId', 'integer', 's''v', 't\\v', 44, 2.5, 3),
                  (2, 2, 'DefaultCountryId', 'integer', '', NULL, 33, 0, 0),
                  (3, 2, 'DefaultBillingCountryId', 'integer', '', NULL, 7, 0, 0),
                  (4, 3, 'DefaultCountryId', 'integer', '', NULL, 22, 0, 0),
                  (5, 4, 'defaultcountryid', 'integer', '', NULL, 11, 0, 0),
                  (6, 4, 'defaultshippingcountryid', 'integer', '', NULL, 8, 0, 0);)",
         {"+ setting: overrideid 1, name 'DefaultBillingCountryId', type 'integer', string_value "
          "'s\\'v', text 't\\\\v', integer_value 44, float_value 2.5, textlen 3",
          "+ setting: overrideid 1, name 'DefaultShippingCountryId', type 'integer', string_value "
          "'s\\'v', text 't\\\\v', integer_value 44, float_value 2.5, textlen 3",
          "+ setting: overrideid 2, name 'DefaultShippingCountryId', type 'integer', "
          "integer_value 33",
          "+ setting: overrideid 4, name 'DefaultBillingCountryId', type 'integer', "
          "integer_value 11"}},
        {"StyleCachesAreDropped",
         "SiteContentStep_1_0082",
         R"(INSERT INTO tw_7.cache(cacheid, type, templateid) VALUES(1, 0, 4), (2, 0, 0), (3, 2, 4);
            INSERT INTO tw_7.featurecache(featureid, cacheid) VALUES(10, 1), (10, 3);
            INSERT INTO tw_7.feature(featureid, permissioncacheid, stylecacheid) VALUES(10, 3, 1), (11, 0, 2);
            INSERT INTO tw_7.tag(tagid, name) VALUES(1, '.LOpage'), (2, '.LOpage A');)",
         {"- cache 1: templateid 4", "- featurecache: featureid 10, cacheid 1",
          "feature 10: stylecacheid 1 -> 0", "feature 11: stylecacheid 2 -> 0",
          "tag 1: cssorder 0 -> 50"},
         {},
         {},
         "",
         false},
        {"TheRecordChangeEventIsRenamed",
         "SiteContentStep_1_0089",
         "INSERT INTO tw_7.event(eventid, name) VALUES(1, 'Form Record Change'), (2, 'Change');",
         {"event 1: name 'Form Record Change' -> 'Record Change'"}},
        {"FormPagesStoreTheirOwnId",
         "SiteContentStep_1_0091",
         R"(INSERT INTO tw_7.form(formfeatureid) VALUES(80), (81), (82), (83), (84);
            INSERT INTO tw_7.feature(featureid, componentid) VALUES(80, 1300), (81, 1300), (82, 1600), (83, 1300);
            INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 81), (2, 82), (3, 83), (4, 84);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, integer_value)
            VALUES(1, 1, 'FormFeatureId', 'integer', 5), (2, 2, 'FormFeatureId', 'integer', 82),
                  (3, 1, 'Other', 'integer', 5), (4, 3, 'formfeatureid', 'Integer', 9),
                  (5, 4, 'FORMFEATUREID', 'Integer', 84);)",
         {"+ override 5: featureid 80",
          "+ setting: overrideid 5, name 'FormFeatureId', type 'integer', integer_value 80",
          "setting 1: integer_value 5 -> 81",
          "setting 4: type 'Integer' -> 'integer', integer_value 9 -> 83"}},
        // As in step 1.0012, the pattern's first sign is any sign.
        {"BasketLinkStylesGetTheirPlace",
         "SiteContentStep_1_0099",
         R"(INSERT INTO tw_7.tag(tagid, name)
            VALUES(1, '.emptybasketlink'), (2, '.continueshoppinglink A:Hover'),
                  (3, '.continuetocheckoutlink'), (4, '.returntobasketlink'), (5, '.basketlink'),
                  (6, 'A .emptybasketlink'), (7, '#emptybasketlink');)",
         {"tag 1: cssorder 0 -> 550", "tag 2: cssorder 0 -> 550", "tag 3: cssorder 0 -> 550",
          "tag 4: cssorder 0 -> 550", "tag 7: cssorder 0 -> 550"}},
    };
}

std::vector<Scenario> Scenarios_1_0222_to_1_0238() {
    return {
        {"LogInTextsComeFromTheSettings",
         "SiteContentStep_1_0222",
         R"(INSERT INTO tw_7.feature(featureid, componentid) VALUES(90, 100), (91, 100), (92, 100), (93, 400), (94, 100);
            INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 90), (2, 91), (3, 93), (4, 94);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, text)
            VALUES(1, 1, 'ForgottenPasswordText', 'text', 'For''gotten'),
                  (2, 1, 'InvalidLogInText', 'text', 'Invalid'),
                  (3, 1, 'RegistrationText', 'text', 'Register \\ here'),
                  (4, 2, 'InvalidLogInText', 'text', 'bad'),
                  (5, 2, 'RegistrationText', 'text', ''),
                  (6, 3, 'RegistrationText', 'text', 'other component'),
                  (7, 4, 'forgottenpasswordtext', 'text', 'again'),
                  (8, 4, 'RegistrationText', 'text', NULL);
            INSERT INTO tw_7.text(textid, featureid, subfeatureid, texttype, text, previoustext)
            VALUES(1, 91, 2, 4, 'old', 'prev'), (2, 91, 2, 0, 'second', NULL), (3, 91, 3, 0, 'reg', NULL),
                  (4, 92, 2, 0, 'stays', NULL), (5, 93, 3, 0, 'stays', NULL),
                  (6, 94, 2, 0, '<p>again</p>', NULL), (7, 94, 3, 0, 'stays', NULL);)",
         {"+ text 8: featureid 90, subfeatureid 2, text '<p>For\\'gotten</p><div "
          "class=\"error\">Invalid</div>'",
          "+ text 9: featureid 90, subfeatureid 3, text '<p>Register \\\\ here</p>'",
          "text 1: text 'old' -> '<div class=\"error\">bad</div>'"}},
        // Payment 1 is nearer to the first commission than 2, which is left for the second. 8 and 9
        // are equally near to the sixth: the lower id. 6 carries the order of the fifth already.
        {"PaymentsOfCommissionsCarryTheirOrders",
         "SiteContentStep_1_0223",
         R"(INSERT INTO tw_tarnwick.account(accountid, siteid, userid) VALUES(1, 7, 40), (2, 7, 41), (3, 8, 40);
            INSERT INTO tw_tarnwick.accountpayment(accountpaymentid, accountid, amount, paymentdate, cartorderid)
            VALUES(1, 1, 12.50, '2020-01-01', 0), (2, 1, 12.50, '2020-03-01', 0),
                  (3, 3, 12.50, '2020-01-10', 0), (4, 1, 13.00, '2020-01-10', 0),
                  (5, 2, 9.99, NULL, 0), (6, 2, 20.00, '2020-04-01', 77),
                  (7, 2, 20.00, '2020-04-01', 0), (8, 1, 30.00, '2020-05-01', 0),
                  (9, 1, 30.00, '2020-05-03', 0), (10, 2, 5.00, NULL, 0),
                  (11, 2, 5.00, '2020-06-01', 0);
            INSERT INTO tw_7.commission(commissionid, orderid, userid, commission, created)
            VALUES(1, 101, 40, 12.50, '2020-01-10'), (2, 102, 40, 12.50, '2020-01-05'),
                  (3, 0, 41, 9.99, '2020-01-10'), (4, 104, 41, 9.99, '2020-01-10'),
                  (5, 77, 41, 20.00, '2020-04-01'), (6, 106, 40, 30.00, '2020-05-02'),
                  (7, 107, 40, 99.00, '2020-05-02'), (8, 108, 41, 5.00, '2020-01-01');)",
         {},
         {"accountpayment 1: cartorderid 0 -> 101", "accountpayment 2: cartorderid 0 -> 102",
          "accountpayment 5: cartorderid 0 -> 104", "accountpayment 8: cartorderid 0 -> 106",
          "accountpayment 11: cartorderid 0 -> 108"}},
        // All of one amount: each commission takes what those before it have left. 3 and 4 are of
        // one order, whose payment the first of them finds; 6 finds none left.
        {"CommissionsOfOneAmountTakeTheirPaymentsInTurn",
         "SiteContentStep_1_0223",
         R"(INSERT INTO tw_tarnwick.account(accountid, siteid, userid) VALUES(1, 7, 40);
            INSERT INTO tw_tarnwick.accountpayment(accountpaymentid, accountid, amount, paymentdate)
            VALUES(1, 1, 5, '2020-01-01'), (2, 1, 5, '2020-01-02'), (3, 1, 5, '2020-01-03'),
                  (4, 1, 5, NULL);
            INSERT INTO tw_7.commission(commissionid, orderid, userid, commission, created)
            VALUES(1, 101, 40, 5, '2020-01-03'), (2, 102, 40, 5, '2020-01-03'),
                  (3, 103, 40, 5, '2020-01-03'), (4, 103, 40, 5, '2020-01-03'),
                  (5, 105, 40, 5, '2020-01-03'), (6, 106, 40, 5, '2020-01-03');)",
         {},
         {"accountpayment 1: cartorderid 0 -> 103", "accountpayment 2: cartorderid 0 -> 102",
          "accountpayment 3: cartorderid 0 -> 101", "accountpayment 4: cartorderid 0 -> 105"}},
        {"ProductFamiliesGetTheirOption",
         "SiteContentStep_1_0225",
         R"(INSERT INTO tw_7.formfield(formfieldid, type, options)
            VALUES(1, 'productfamily', 0), (2, 'productfamily', 33), (3, 'productfamily', 69),
                  (4, 'text', 0), (5, 'productfamily', 96);)",
         {"formfield 1: options 0 -> 32", "formfield 3: options 69 -> 101"}},
        {"LookupFieldsStoreTheirPageAndFormField",
         "SiteContentStep_1_0229",
         R"(INSERT INTO tw_7.datafeedfield(fieldid, featureid, pointer) VALUES(5, 9, 12), (6, 10, 13);
            INSERT INTO tw_7.externallookupfeedfield(lookupfieldid, fieldid) VALUES(1, 5), (2, 5), (3, 7);)",
         {"externallookupfeedfield 1: featureid 0 -> 9, formfieldid 0 -> 12",
          "externallookupfeedfield 2: featureid 0 -> 9, formfieldid 0 -> 12"}},
        {"FormTemplatesTellWhichViewsHaveAText",
         "SiteContentStep_1_0234",
         R"(INSERT INTO tw_7.formtemplate(featureid, customviewconfigured, qbxviewconfigured)
            VALUES(1, 0, 0), (2, 0, 0), (3, -1, -1), (4, 0, -1);
            INSERT INTO tw_7.text(featureid, subfeatureid, texttype, text)
            VALUES(1, 1, 0, 'x'), (1, 2, 0, NULL), (1, 2, 0, ''), (2, 2, 9, ' '), (2, 0, 0, 'x'),
                  (4, 1, 0, 'a'), (4, 1, 3, ''), (4, 2, 0, 'b');)",
         {"formtemplate 1: customviewconfigured 0 -> -1",
          "formtemplate 2: qbxviewconfigured 0 -> -1",
          "formtemplate 3: customviewconfigured -1 -> 0, qbxviewconfigured -1 -> 0",
          "formtemplate 4: customviewconfigured 0 -> -1"}},
        // The pattern's optional rest never decides: whatever begins with "Now" is found.
        {"SearchesForNowCompareWithTheTime",
         "SiteContentStep_1_0236",
         R"(INSERT INTO tw_7.formtemplateinstancefield(instancefieldid, value, valuetype)
            VALUES(1, 'Now Plus 3 Days', 0), (2, 'Now', 0), (3, 'Yesterday', 0), (4, 'Nowhere', 0),
                  (5, 'Now', 1), (6, 'Not Now', 0);)",
         {"formtemplateinstancefield 1: valuetype 0 -> 7",
          "formtemplateinstancefield 2: valuetype 0 -> 7",
          "formtemplateinstancefield 4: valuetype 0 -> 7"}},
        {"CanonicalUrlsMoveToDirectUrls",
         "SiteContentStep_1_0237",
         R"(INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 1), (2, 2), (3, 3), (4, 4), (5, 5), (6, 6);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, string_value)
            VALUES(1, 1, 'canonical', 'string', '/it''s'), (2, 2, 'canonical', 'string', '/b\\c'),
                  (3, 3, 'canonical', 'string', ''), (4, 4, 'DirectURLReplacementChar', 'string', '_x'),
                  (5, 5, 'DirectURLReplacementChar', 'string', ''), (6, 5, 'Canonical', 'string', '/five'),
                  (7, 6, 'directurlreplacementchar', 'string', '~');
            INSERT INTO tw_7.navigation(navigationid, featureid, canonical) VALUES(11, 1, ''), (12, 1, '/old'), (13, 9, '/stays');
            INSERT INTO tw_7.directurl(directurlid, featureid, navigationid, url)
            VALUES(1, 1, 11, '/it''s'), (2, 1, 11, '/IT''S'), (3, 9, 13, '/it''s'), (4, 1, 12, '/other');
            INSERT INTO tw_7.formfield(formfieldid, featureid) VALUES(21, 4), (22, 4), (23, 5), (24, 6);)",
         {"directurl 1: canonical 0 -> -1",
          "+ directurl 5: featureid 1, navigationid 12, url '/it\\'s', canonical -1",
          "+ directurl 6: featureid 2, url '/b\\\\c', canonical -1",
          "+ directurl 7: featureid 5, url '/five', canonical -1",
          "navigation 11: canonical '' -> '/it\\'s'",
          "navigation 12: canonical '/old' -> '/it\\'s'",
          "- setting 1: overrideid 1, name 'canonical', type 'string', string_value '/it\\'s'",
          "- setting 2: overrideid 2, name 'canonical', type 'string', string_value '/b\\\\c'",
          "- setting 3: overrideid 3, name 'canonical', type 'string'",
          "- setting 6: overrideid 5, name 'Canonical', type 'string', string_value '/five'",
          "formfield 21: directurlreplacementchar '-' -> '_'",
          "formfield 22: directurlreplacementchar '-' -> '_'",
          "formfield 24: directurlreplacementchar '-' -> '~'"}},
    };
}

std::vector<Scenario> Scenarios_1_0239_to_1_0261() {
    return {
        {"EmbeddedLinkFieldsBecomeTextEmbeds",
         "SiteContentStep_1_0242",
         R"(INSERT INTO tw_7.formtemplate(featureid) VALUES(300), (302);
            INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, featureid, queryfieldid)
            VALUES(31, 300, 41), (32, 300, 42), (33, 301, 41), (34, 300, 43);
            INSERT INTO tw_7.queryfieldsrc(queryfieldid, queryid, tableid, srcfieldid)
            VALUES(41, 1, 51, 61), (42, 1, 51, 62), (43, 1, 51, 63);
            INSERT INTO tw_7.querytable(tableid, queryid, srctableid) VALUES(51, 1, 70);
            INSERT INTO tw_7.formfield(formfieldid, featureid, type, targetformfeatureid)
            VALUES(61, 70, 'multiformlink', 71), (62, 70, 'text', 0), (63, 70, 'productfamily', 72);
            INSERT INTO tw_7.text(textid, featureid, text, previoustext)
            VALUES(1, 300, 'A <#Embed.9.31:It''s#> B <#Embed.9.32:T#> <#E-Embed.9.31:x#> &lt;#Embed.9.31:Again#&gt; <#Embed.9.99:u#>', '<#Embed.8.34:Old#>'),
                  (2, 301, '<#Embed.9.33:x#>', NULL), (3, 300, NULL, 'none'),
                  (4, 302, '<#Embed.9.31:other page#>', NULL);)",
         {"+ textembed 1: textid 1, major 9, minor 31",
          "+ textembed 2: textid 1, major 8, minor 34",
          "+ textembedproperty 1, 1: integer_value 70",
          "+ textembedproperty 1, 2: integer_value 61",
          "+ textembedproperty 1, 3: integer_value 71",
          "+ textembedproperty 2, 1: integer_value 70",
          "+ textembedproperty 2, 2: integer_value 63",
          "+ textembedproperty 2, 3: integer_value 72",
          "text 1: text 'A <#Embed.9.31:It\\'s#> B <#Embed.9.32:T#> <#E-Embed.9.31:x#> "
          "&lt;#Embed.9.31:Again#&gt; <#Embed.9.99:u#>' -> 'A <#TextEmbed.1:It\\'s#> B "
          "<#Embed.9.32:T#> <#E-Embed.9.31:x#> <#TextEmbed.1:Again#> <#Embed.9.99:u#>', "
          "previoustext '<#Embed.8.34:Old#>' -> '<#TextEmbed.2:Old#>'"}},
        {"ColourNamesBecomeCodes", "SiteContentStep_1_0254",
         R"(INSERT INTO tw_7.attribute(attributeid, name, value)
            VALUES(1, 'color', 'white whitesmoke'), (2, 'border-top', '1px solid RED'),
                  (3, 'font', 'red'), (4, 'background-color', 'Darkred'), (5, 'color', 'blueish'),
                  (6, 'border', 'red'), (7, 'color', 'whitesmoke'), (8, 'color', 'dark blue'),
                  (9, 'border-left', 'gainsboro Silver DIMGRAY');
            INSERT INTO tw_7.tag(tagid, cssid, cachebuilt) VALUES(1, 70, -1), (2, 71, -1), (3, 1, -1);)" +
             SeventyStylesheets(),
         WithSeventyStylesheets({"attribute 1: value 'white whitesmoke' -> '#fff #fffsmoke'",
                                 "attribute 2: value '1px solid RED' -> '1px solid #f00'",
                                 "attribute 4: value 'Darkred' -> '#8b0000'",
                                 "attribute 7: value 'whitesmoke' -> '#f5f5f5'",
                                 "attribute 8: value 'dark blue' -> 'dark #00f'",
                                 "attribute 9: value 'gainsboro Silver DIMGRAY' -> '#dcdcdc "
                                 "#c0c0c0 #696969'",
                                 "tag 1: cachebuilt -1 -> 0", "tag 3: cachebuilt -1 -> 0"})},
        {"LongTextFieldsTakeAnyLength",
         "SiteContentStep_1_0255",
         R"(INSERT INTO tw_7.formfield(formfieldid, featureid, type)
            VALUES(1, 12, 'dhtml'), (2, 12, 'text'), (3, 12, 'memo'), (4, 13, 'memo'), (5, 12, 'dhtml');
            CREATE TABLE tw_7.form_12(replyid INT AUTO_INCREMENT NOT NULL,
                field_1 TEXT DEFAULT '' NOT NULL, field_2 VARCHAR(255) DEFAULT '' NOT NULL,
                field_3 TEXT DEFAULT '' NOT NULL, PRIMARY KEY(replyid));
            INSERT INTO tw_7.form_12(field_1, field_2, field_3) VALUES('a''b', 'c', 'd');)",
         {},
         {},
         {"form_12 - field_1 TEXT DEFAULT '' NOT NULL",
          "form_12 + field_1 LONGTEXT DEFAULT '' NOT NULL",
          "form_12 - field_3 TEXT DEFAULT '' NOT NULL",
          "form_12 + field_3 LONGTEXT DEFAULT '' NOT NULL"},
         "DROP TABLE IF EXISTS tw_7.form_12;"},
        {"ZonesGetTheirNavigationLevels",
         "SiteContentStep_1_0256",
         "INSERT INTO tw_7.layoutzone(zoneid, flyoutjs) VALUES(1, 'x'), (2, NULL), (3, '');",
         {"layoutzone 1: flyoutjs 'x' -> ''", "layoutzone 2: flyoutjs NULL -> ''"},
         {},
         {"layoutzonenavlevel + zoneid INT DEFAULT 0 NOT NULL",
          "layoutzonenavlevel + level INT DEFAULT 0 NOT NULL",
          "layoutzonenavlevel + direction INT DEFAULT 0 NOT NULL",
          "layoutzonenavlevel + PRIMARY KEY(zoneid, level)"},
         "DROP TABLE IF EXISTS tw_7.layoutzonenavlevel;"},
        {"SearchesStoreHowWordsMatch",
         "SiteContentStep_1_0257",
         R"(INSERT INTO tw_7.formtemplateviewfield(viewfieldid, formtemplateviewfieldtype) VALUES(1, 22), (2, 21);
            INSERT INTO tw_7.setting(settingid, overrideid, name, type, integer_value)
            VALUES(1, 1, 'IgnoreWordFragments', 'boolean', -1),
                  (2, 2, 'IgnoreWordFragments', 'boolean', 0),
                  (3, 3, 'IgnoreWordFragments', 'boolean', -1), (4, 3, 'WordMatchType', 'integer', 5),
                  (5, 4, 'ignorewordfragments', 'boolean', -1),
                  (6, 5, 'IgnoreWordFragments', 'boolean', -1), (7, 5, 'wordmatchtype', 'integer', 5);)",
         {"formtemplateviewfield 1: float_value 0 -> 1",
          "- setting 1: overrideid 1, name 'IgnoreWordFragments', type 'boolean', integer_value -1",
          "- setting 2: overrideid 2, name 'IgnoreWordFragments', type 'boolean'",
          "- setting 3: overrideid 3, name 'IgnoreWordFragments', type 'boolean', integer_value -1",
          "- setting 5: overrideid 4, name 'ignorewordfragments', type 'boolean', integer_value -1",
          "- setting 6: overrideid 5, name 'IgnoreWordFragments', type 'boolean', integer_value -1",
          "+ setting: overrideid 1, name 'WordMatchType', type 'integer', integer_value 1",
          "+ setting: overrideid 2, name 'WordMatchType', type 'integer'",
          "+ setting: overrideid 4, name 'WordMatchType', type 'integer', integer_value 1"}},
        {"RepairingFormTablesChangesNoRow",
         "SiteContentStep_1_0259",
         R"(INSERT INTO tw_7.form(formfeatureid) VALUES(12), (13);
            CREATE TABLE tw_7.form_12(replyid INT AUTO_INCREMENT NOT NULL, field_1 INT, PRIMARY KEY(replyid));
            INSERT INTO tw_7.form_12(field_1) VALUES(5);)",
         {},
         {},
         {},
         "DROP TABLE IF EXISTS tw_7.form_12;"},
    };
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> kScenarios = [] {
        std::vector<Scenario> all;
        for (auto* scenarios :
             {Scenarios_1_0001_to_1_0012, Scenarios_1_0015_to_1_0032, Scenarios_1_0037_to_1_0062,
              Scenarios_1_0063_to_1_0100, Scenarios_1_0222_to_1_0238, Scenarios_1_0239_to_1_0261}) {
            std::ranges::move(scenarios(), std::back_inserter(all));
        }
        return all;
    }();
    return kScenarios;
}

}  // namespace twupdate::test
