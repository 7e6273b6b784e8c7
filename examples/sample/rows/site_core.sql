-- Rows of a site at version 1.0000, in the tables that every site has. They are few, their ids are
-- fixed, and each stands for a case that a step of the ladders treats in its own way. The sample
-- maker adds rows in bulk with ids from 1001. {siteid}, {name} and {domain} are filled in.

-- Pages. Components: 100 log-in, 300 search, 400 and 500 texts, 700 redirection, 800 form, 900 and
-- 3700 lists of records, 1000 shop, 1200 layout, 1450 forum, 2600 data feed.
INSERT INTO tw_{siteid}.feature(featureid, componentid, featurename, navigationstyle, deadlink, redirecturl) VALUES
  (1, 400, 'Home', 'LONavTop', 0, ''),
  (2, 400, 'About us', 'LONavSide', 0, ''),
  (3, 500, 'News', 'LONavSide', 0, ''),
  (4, 500, 'Terms of delivery', 'LONavHidden', 0, ''),
  (5, 100, 'Log in', 'LONavTop', 0, ''),
  (6, 1000, 'Shop', 'LONavTop', 0, ''),
  (7, 800, 'Contact form', 'LONavSide', 0, ''),
  (8, 800, 'Book catalogue', 'LONavSide', 0, ''),
  (9, 800, 'Publishers', 'LONavHidden', 0, ''),
  (10, 300, 'Search', 'LONavTop', 0, ''),
  (11, 1200, 'Standard layout', '', 0, ''),
  (12, 1200, 'Landing page layout', '', 0, ''),
  (13, 1450, 'Readers'' forum', 'LONavTop', 0, ''),
  (14, 1000, 'Trade counter', 'LONavHidden', 0, ''),
  (15, 100, 'Members'' area', 'LONavHidden', 0, ''),
  (16, 2600, 'Price feed', 'LONavHidden', 0, ''),
  (17, 700, 'Spring sale', 'LONavSide', -1, 'http://{domain}/shop'),
  (18, 900, 'New books', 'LONavSide', 0, ''),
  (19, 3700, 'Publishers by town', 'LONavSide', 0, ''),
  (20, 1200, 'House style', '', 0, ''),
  (21, 900, 'All books', 'LONavSide', 0, '');

-- Links to them. Pages 2 and 3 share a sequence; 5 stands before them; 6 and 7 need no renumbering.
INSERT INTO tw_{siteid}.navigation(navigationid, featureid, parentid, level, sequence, linktext) VALUES
  (1, 1, 0, 1, 1, 'Home'),
  (2, 2, 1, 2, 5, 'About us'),
  (3, 3, 1, 2, 5, 'News'),
  (4, 4, 1, 2, 20, 'Terms of delivery'),
  (5, 5, 1, 2, 0, 'Log in'),
  (6, 6, 2, 3, 1, 'Shop'),
  (7, 7, 2, 3, 2, 'Contact'),
  (8, 8, 3, 3, 3, 'Catalogue'),
  (9, 2, 3, 3, 7, 'Who we are');

INSERT INTO tw_{siteid}.removedfeature(featureid, navigationid, parentid, userid, removed) VALUES
  (901, 91, 1, 1, '2006-03-14 10:12:00'),
  (902, 92, 2, 1, '2007-11-02 16:40:30');

-- Page 2 answers to its canonical address already, page 7 to another one.
INSERT INTO tw_{siteid}.directurl(directurlid, featureid, navigationid, url) VALUES
  (1, 2, 2, 'about-us'),
  (2, 7, 7, 'write-to-us');

INSERT INTO tw_{siteid}.contentupdate(updateid, featureid, userid, updatetime) VALUES
  (1, 1, 1, '2008-01-07 09:00:00'),
  (2, 3, 2, '2008-01-09 17:45:10');

INSERT INTO tw_{siteid}.pagehit(hitid, hittime, pageroute, navigationid, userid, eventid) VALUES
  (1, '2008-01-10 08:00:01', '1', 1, 0, 0),
  (2, '2008-01-10 08:00:09', '1/2', 2, 0, 0),
  (3, '2008-01-10 08:01:30', '1/2/6', 6, 3, 2);

-- Main texts (subfeature 0): page 2 is blank, page 3 has none yet. Pages 18, 19 and 21 have a
-- third text. Page 10 has phrases of search results (type 22), the second of them as
-- the ladder leaves them. Pages 18 and 19 show records: field codes in both kinds of brackets.
INSERT INTO tw_{siteid}.text(textid, featureid, subfeatureid, texttype, text, previoustext) VALUES
  (1, 1, 0, 0, '<h1>Welcome to {name}</h1><p>Books by the sea since 1974.</p>', '<h1>Welcome</h1>'),
  (2, 2, 0, 0, '&nbsp;', NULL),
  (3, 3, 0, 0, NULL, NULL),
  (4, 4, 0, 0, '<p>We deliver within three days.\r\nIt''s free above £50.</p>', NULL),
  (5, 5, 2, 0, '<p>Old log-in text</p>', '<p>Older log-in text</p>'),
  (6, 7, 0, 0, '<p>Write to us.</p>', NULL),
  (7, 7, 1, 0, '<p>Thank you.</p>', NULL),
  (8, 7, 2, 0, '<p>Please fill in every field.</p>', NULL),
  (9, 21, 2, 0, '<p>No book found.</p>', NULL),
  (10, 21, 2, 7, '<p>A text of another type.</p>', NULL),
  (11, 10, 0, 22, 'books found', NULL),
  (12, 10, 1, 22, '<p>You searched for: books found</p>', NULL),
  (13, 18, 0, 0, '<p><#Embed.18.1:Title#> &lt;#Embed.18.2:Related books#&gt; <#Embed.18.3:Series#></p>', '<p><#Embed.18.2:Related#></p>'),
  (14, 18, 1, 0, '<table><tr><td><#Embed.18.2:Related books#></td></tr></table>', NULL),
  (15, 18, 2, 0, '', NULL),
  (16, 19, 0, 0, '<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>', NULL),
  (17, 19, 2, 5, '<p>Chosen view</p>', NULL);

INSERT INTO tw_{siteid}.image(imageid, featureid, filename, width, height) VALUES
  (1, 1, 'harbour.jpg', 640, 360),
  (2, 2, 'staff.png', 320, 240);

-- Settings, by page. Page 14, a shop, and page 15, a log-in, have no override.
INSERT INTO tw_{siteid}.override(overrideid, featureid) VALUES
  (1, 11), (2, 12), (3, 6), (4, 5), (5, 10), (6, 2), (7, 16), (8, 7), (9, 1), (10, 3);

INSERT INTO tw_{siteid}.setting(settingid, overrideid, name, type, string_value, text, integer_value) VALUES
  (1, 1, 'ExplicitLayoutElements', 'text', '', '1,3,99', 0),
  (2, 2, 'ExplicitLayoutElements', 'text', '', '2', 0),
  (3, 3, 'ShowBillingName', 'boolean', '', NULL, -1),
  (4, 3, 'ShowBillingOrganization', 'boolean', '', NULL, 0),
  (5, 3, 'ShowBillingAddress', 'boolean', '', NULL, -1),
  (6, 3, 'ShowBillingCountry', 'boolean', '', NULL, -1),
  (7, 3, 'ShowBillingPostCode', 'boolean', '', NULL, -1),
  (8, 3, 'ShowBillingEmail', 'boolean', '', NULL, -1),
  (9, 3, 'ShowBillingTelephone', 'boolean', '', NULL, 0),
  (10, 3, 'ShowShippingName', 'boolean', '', NULL, -1),
  (11, 3, 'ShowShippingAddress', 'boolean', '', NULL, -1),
  (12, 3, 'DefaultCountryId', 'integer', '', NULL, 77),
  (13, 4, 'ForgottenPasswordText', 'text', '', 'Forgotten your password? Ask for a new one.', 0),
  (14, 4, 'InvalidLogInText', 'text', '', 'That name or password isn''t right.', 0),
  (15, 4, 'RegistrationText', 'text', '', 'New here? Register now.', 0),
  (16, 5, 'FindResultsPhrase', 'text', '', 'You searched for: ', 0),
  (17, 5, 'IgnoreWordFragments', 'boolean', '', NULL, -1),
  (18, 6, 'canonical', 'string', 'about-us', NULL, 0),
  (19, 7, 'TargetInstanceId', 'integer', '', NULL, 1),
  (20, 8, 'DirectURLReplacementChar', 'string', '_', NULL, 0),
  (21, 8, 'canonical', 'string', 'contact', NULL, 0),
  (22, 9, 'HideNavIfOverrides', 'boolean', '', NULL, -1),
  (23, 9, 'canonical', 'string', '', NULL, 0),
  (24, 10, 'TargetInstanceId', 'integer', '', NULL, 0),
  (25, 10, 'IgnoreWordFragments', 'boolean', '', NULL, 0);

-- Layouts. The second element of the standard layout has no name and is not for everybody; the
-- zone of the footer runs backwards.
INSERT INTO tw_{siteid}.layoutelement(elementid, featureid, name, sequence, showtoall) VALUES
  (1, 11, 'Header', 1, -1),
  (2, 11, '', 2, 0),
  (3, 11, 'Footer', 3, -1),
  (4, 12, 'Picture', 1, -1),
  (5, 12, '', 2, -1);

INSERT INTO tw_{siteid}.layoutzone(zoneid, elementid, sequence, type, navfrom, navuntil, flyoutjs) VALUES
  (1, 1, 1, 1, 1, 3, 'function over1(){return true;}'),
  (2, 2, 1, 1, 2, 2, ''),
  (3, 3, 1, 2, 4, 1, NULL),
  (4, 5, 1, 2, 0, 1, 'function over4(){return "x";}');

-- Styles. 68 more stylesheets come in bulk.
INSERT INTO tw_{siteid}.css(cssid, name, cachebuilt) VALUES
  (1, 'screen', -1), (2, 'print', -1);

INSERT INTO tw_{siteid}.tag(tagid, name, templateid, overrideid, cssid, cachebuilt) VALUES
  (1, 'span.TreeLink', 20, 0, 1, -1),
  (2, 'span.TreeLink:Hover', 20, 0, 1, -1),
  (3, 'div.twTreeNode span.SiteTreeLink[suffix]:Hover', 20, 0, 1, -1),
  (4, 'SPAN.TREELINK', 20, 0, 1, -1),
  (5, '.heading', 20, 1, 1, -1),
  (6, '.subheading', 20, 1, 1, -1),
  (7, 'h2', 0, 1, 1, -1),
  (8, '.heading', 20, 0, 1, -1),
  (9, '.LOnavlink1 A', 20, 1, 1, -1),
  (10, '.LOheading12', 20, 1, 1, -1),
  (11, '.LOheading1', 20, 1, 1, -1),
  (12, '.LOzone3', 20, 1, 1, -1),
  (13, '.LOzone3', 20, 1, 1, -1),
  (14, '.LOnavlink99', 20, 1, 1, -1),
  (15, '.LOnavdivider2', 20, 1, 2, -1),
  (16, '.LOpage', 20, 0, 1, -1),
  (17, 'BODY.basefont', 20, 0, 1, -1),
  (18, '.emptybasketlink', 20, 0, 1, -1),
  (19, '.returntobasketlink A', 20, 0, 1, -1),
  (20, 'TABLE.pricelist', 20, 0, 2, -1);

INSERT INTO tw_{siteid}.attribute(attributeid, tagid, name, value) VALUES
  (1, 1, 'color', 'blue'),
  (2, 1, 'height', '20px'),
  (3, 1, 'padding-left', '3px'),
  (4, 1, 'font-size', '11px'),
  (5, 2, 'color', 'DarkRed'),
  (6, 2, 'text-decoration', 'underline'),
  (7, 3, 'color', '#123456'),
  (8, 5, 'font-weight', 'bold'),
  (9, 5, 'color', 'dimgray'),
  (10, 6, 'font-weight', 'normal'),
  (11, 6, 'color', 'silver'),
  (12, 7, 'color', 'Black'),
  (13, 8, 'font-weight', 'bold'),
  (14, 9, 'background-color', 'white whitesmoke'),
  (15, 10, 'border-bottom', '1px solid RED'),
  (16, 12, 'background-color', 'whitesmoke'),
  (17, 13, 'background-color', 'lightyellow'),
  (18, 13, 'width', '180px'),
  (19, 16, 'color', '#fff'),
  (20, 17, 'font-family', 'Verdana, white, sans-serif'),
  (21, 20, 'border-top', '2px dotted LightSteelBlue'),
  (22, 20, 'background', 'url(images/orange.gif)'),
  (23, 20, 'border-color', 'offwhite');

INSERT INTO tw_{siteid}.tagdependancy(tagname, inherittagname, inheritsequence) VALUES
  ('.LOnavlink1', '.LOnavlink', 1),
  ('.LOnavlink1 A:Hover', '.LOnavlink1 A', 1),
  ('.LOnavlink2', '.LOnavlink', 2),
  ('.LOnavlink', 'BODY', 1),
  ('h2', 'h1', 1);

-- Caches. Of types 0 and 2 only those of a template go.
INSERT INTO tw_{siteid}.cache(cacheid, type, templateid) VALUES
  (1, 0, 20), (2, 0, 0), (3, 2, 20), (4, 2, 20), (5, 2, 0), (6, 1, 20);

INSERT INTO tw_{siteid}.featurecache(featureid, cacheid) VALUES
  (1, 1), (2, 1), (1, 3), (2, 4), (3, 5), (3, 6);

INSERT INTO tw_{siteid}.cachesetting(cacheid, settingid) VALUES (1, 12), (3, 3);

INSERT INTO tw_{siteid}.cachegrantpermission(cacheid, groupid, permissiontype) VALUES
  (3, 1, 1), (4, 2, 1), (5, 3, 4);

-- Users, groups and domains
INSERT INTO tw_{siteid}.security(userid, username, password, name, organization, address, postcode, countryid, telephone, email) VALUES
  (1, 'admin', '5f4dcc3b', 'Ann Fielding', '{name}', '1 Quay Street, Whitby', 'YO21 3PU', 77, '01947 555010', 'ann@{domain}'),
  (2, 'editor', '7c6a180b', 'Piet O''Brien', '', '', '', 77, '', 'piet@{domain}'),
  (3, 'j.mueller', '6cb75f65', 'Jörg Müller', 'Müller & Söhne', 'Hafenstraße 12, Hamburg', '20457', 54, '+49 40 555 123', 'joerg@mueller.example');

INSERT INTO tw_{siteid}.group_table(groupid, displayname) VALUES
  (1, 'Administrators'), (2, 'local Visitor'), (3, 'Trade customers');

INSERT INTO tw_{siteid}.usergroup(userid, groupid) VALUES (1, 1), (2, 1), (3, 3);

INSERT INTO tw_{siteid}.userlock(lockid, userid, featureid, locktime) VALUES
  (1, 2, 3, '2008-01-09 17:40:00');

INSERT INTO tw_{siteid}.domain(domainid, domainname) VALUES (1, '{domain}');

INSERT INTO tw_{siteid}.domaingroup(groupid, domainid, domaingrouptype) VALUES (2, 1, 0);

-- Events. Page 15 has a reset event, page 14 an order payment; page 6 has neither.
INSERT INTO tw_{siteid}.event(eventid, featureid, name) VALUES
  (1, 15, 'Reset Password'),
  (2, 6, 'Order Placed'),
  (3, 7, 'Form Record Change'),
  (4, 14, 'Order Payment');

INSERT INTO tw_{siteid}.eventpart(eventpartid, eventid, type, name, sequence) VALUES
  (1, 1, 1, 'Reset password email', 1),
  (2, 2, 1, 'Order email', 1),
  (3, 3, 1, 'Notification', 1),
  (4, 4, 1, 'Order payment email', 1);

-- E-mails: markup, order tags in both kinds of brackets, a tag that no order has, codes, and an
-- e-mail whose texts are all NULL.
INSERT INTO tw_{siteid}.email(emailid, featureid, type, fromlist, tolist, cclist, bcclist, subject, message) VALUES
  (1, 15, 'resetpassword', 'admin@{domain}', '<#User.email#>', NULL, NULL, 'Your new password', 'Dear <#User.name#>,\r\nit''s "<#Password#>".'),
  (2, 6, 'orderconfirmation', '{name} <shop@{domain}>', '<#OrderDetails:Name=E-mail,Id=billingemail#>', '', NULL, 'Order <#OrderDetails:Name=Order number,Id=orderid#>', '<b>Thank you</b>, <#OrderDetails:Name=Customer,Id=billingname#>!\r\nTotal: &lt;#OrderDetails:Name=Total,Id=total#&gt;\r\nNote: <#OrderDetails:Name=Gift note,Id=giftnote#>'),
  (3, 6, 'postorderpayment', 'shop@{domain}', '<#Embed.17.12:E-mail#>', NULL, 'accounts@{domain}', 'Payment received', 'We received <#OrderDetails:Name=Amount,Id=paymentamount#>.'),
  (4, 6, 'postorderpayment', 'shop@{domain}', 'accounts@{domain}', NULL, NULL, 'A payment came in', 'C:\\orders\\<#Embed.17.0:Order number#>.txt'),
  (5, 7, 'formnotification', NULL, NULL, NULL, NULL, NULL, NULL),
  (6, 14, 'postorderpayment', 'trade@{domain}', 'trade@{domain}', '', '', 'Trade payment', 'Paid.');

INSERT INTO tw_{siteid}.emailevent(eventpartid, emailid) VALUES (1, 1), (2, 2), (3, 5), (4, 6);
