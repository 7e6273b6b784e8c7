-- Rows of site 7 at 1.0000 for the whole road: little of everything that a step converts, with
-- links between what several steps touch. What becomes of them stands in expected/whole_road.txt.

INSERT INTO tw_7.feature(featureid, componentid, navigationstyle) VALUES
  (1, 100, ''), (2, 1000, ''), (3, 400, 'LONavHidden'), (4, 900, ''), (5, 500, ''), (6, 600, ''),
  (7, 1300, ''), (8, 1600, '');
INSERT INTO tw_7.override(overrideid, featureid) VALUES (1, 1), (2, 2), (3, 6);
INSERT INTO tw_7.setting(settingid, overrideid, name, type, string_value, text, integer_value) VALUES
  (1, 1, 'ForgottenPasswordText', 'text', '', 'Forgot?', 0),
  (2, 1, 'InvalidLogInText', 'text', '', 'Wrong <b>name</b>', 0),
  (3, 2, 'ShowBillingName', 'boolean', '', NULL, -1),
  (4, 2, 'DefaultCountryId', 'integer', '', NULL, 44),
  (5, 3, 'ExplicitLayoutElements', 'text', '', '2,1', 0),
  (6, 2, 'canonical', 'string', '/shop', NULL, 0),
  (7, 2, 'IgnoreWordFragments', 'boolean', '', NULL, -1),
  (8, 3, 'TargetInstanceId', 'integer', '', NULL, 9);
INSERT INTO tw_7.navigation(navigationid, featureid, sequence) VALUES (1, 2, 4), (2, 3, 4);

INSERT INTO tw_7.text(textid, featureid, subfeatureid, texttype, text) VALUES
  (1, 3, 0, 0, 'Hello'), (2, 4, 2, 0, 'third'), (3, 8, 1, 0, '<#Embed.9.1:Links#>'),
  (4, 4, 5, 22, 'Results');
INSERT INTO tw_7.email(emailid, featureid, type, subject, message) VALUES
  (1, 2, 'postorderpayment', 'Order <#OrderDetails:Name=No,Id=orderid#>', 'x');
INSERT INTO tw_7.event(eventid, featureid, name) VALUES (1, 7, 'Form Record Change');

INSERT INTO tw_7.layoutelement(elementid, featureid, name, sequence, showtoall) VALUES
  (1, 6, '', 1, -1), (2, 6, 'Top', 2, 0);
INSERT INTO tw_7.layoutzone(zoneid, elementid, navfrom, navuntil, flyoutjs) VALUES (1, 2, 1, 3, 'js');
INSERT INTO tw_7.css(cssid, cachebuilt) VALUES (1, -1);
INSERT INTO tw_7.tag(tagid, name, templateid, cssid, cachebuilt) VALUES
  (1, 'span.TreeLink', 5, 0, -1), (2, '.LOnavlink1 A', 5, 1, -1), (3, '.LOnavlink1 A', 5, 1, -1),
  (4, '.LOpage', 5, 0, 0), (5, '.basefont', 5, 0, 0);
INSERT INTO tw_7.attribute(attributeid, tagid, name, value) VALUES
  (1, 1, 'color', 'White'), (2, 1, 'height', '3px'), (3, 3, 'color', 'red');
INSERT INTO tw_7.tagdependancy(tagname, inheritsequence) VALUES ('.LOnavlink1', 1);
INSERT INTO tw_7.cache(cacheid, type, templateid) VALUES (1, 2, 5);
INSERT INTO tw_7.featurecache(featureid, cacheid) VALUES (3, 1);

INSERT INTO tw_7.security(userid, username, address) VALUES (40, 'affiliate', 'Whitby');
INSERT INTO tw_7.charge(chargeid, featureid, name, sequence) VALUES (1, 2, 'Post', 1);
INSERT INTO tw_7.customerorder(orderid, grossamount) VALUES (1, 12.5);
INSERT INTO tw_7.orderpayment(paymentid, orderid, amount, live) VALUES (1, 1, 12.5, 0);
INSERT INTO tw_7.commission(commissionid, orderid, userid, percentage, commission, created)
  VALUES (1, 1, 40, 10, 12.5, '2020-01-02');
INSERT INTO tw_tarnwick.account(accountid, siteid, userid) VALUES (1, 7, 40);
INSERT INTO tw_tarnwick.accountpayment(accountpaymentid, accountid, amount, paymentdate)
  VALUES (1, 1, 12.5, '2020-01-01');

INSERT INTO tw_7.forum(elementid, threadid, published) VALUES (1, 1, -1), (2, 1, 0);

UPDATE tw_7.formfield SET defaultvalue = 'dv' WHERE formfieldid = 2;
INSERT INTO tw_7.form_7(field_1, field_2) VALUES (2, 'memo');
INSERT INTO tw_7.formlink(linkid, formfieldid) VALUES (1, 1);
INSERT INTO tw_7.formtemplate(featureid) VALUES (8);
INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, featureid, queryfieldid, linkformtemplatefieldid)
  VALUES (1, 8, 1, 2);
INSERT INTO tw_7.queryfieldsrc(queryfieldid, queryid, tableid, srcfieldid) VALUES (1, 1, 1, 1);
INSERT INTO tw_7.querytable(tableid, queryid, srctableid) VALUES (1, 1, 7);
INSERT INTO tw_7.formtemplateviewfield(viewfieldid, formtemplateviewfieldtype) VALUES (1, 22), (2, 6);
INSERT INTO tw_7.formtemplateinstancefield(instancefieldid, operator, value) VALUES
  (1, 'PAGE', 'Now'), (2, '=', 'Now');
INSERT INTO tw_7.datafeedfield(fieldid, featureid, prompt) VALUES (1, 4, 'Address 1');
INSERT INTO tw_7.externallookupfeedfield(fieldid, requestparamname) VALUES (1, 'q');
