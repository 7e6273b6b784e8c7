-- Rows that a site at a later version than 1.0000 holds in tables and columns that came with its
-- steps. A section runs on a site whose schema has come to the version, if it has the groups.

-- since: 1.0038
INSERT INTO tw_{siteid}.taskstatus(featureid, type, status, statustime, token, returncode) VALUES
  (8, 1, 2, '2008-03-01 02:00:00', 'a1b2c3', 0),
  (8, 1, 3, '2008-03-02 02:00:00', 'd4e5f6', 5);

-- since: 1.0052 templates
-- Prefixes with the marker that does not count.
UPDATE tw_{siteid}.formtemplatefield SET prefix = 'ab|~|c', suffix = '|~|' WHERE formtemplatefieldid = 1;
UPDATE tw_{siteid}.formtemplatefield SET prefix = 'Größe: ' WHERE formtemplatefieldid = 2;

-- since: 1.0054
-- Addresses in lines: a new one, a filled one, one of a single line.
UPDATE tw_{siteid}.security SET address1 = '2 Pier Road', address2 = 'Flat 3' WHERE userid = 2;
UPDATE tw_{siteid}.security SET address1 = 'Elbchaussee 1' WHERE userid = 3;

-- since: 1.0054 shop
UPDATE tw_{siteid}.customerorder SET billingaddress1 = '2 Pier Road', billingaddress2 = 'O''Brien''s', shippingaddress2 = 'Back door' WHERE orderid = 3;
UPDATE tw_{siteid}.customerorder SET billingaddress1 = 'Kept out', shippingaddress1 = '1 Test Lane' WHERE orderid = 2;

-- since: 1.0081
INSERT INTO tw_{siteid}.settingcountry(settingid, countryid) VALUES (12, 77), (12, 54);

-- since: 1.0210
INSERT INTO tw_{siteid}.featuresetting(featureid, type, integer_value, valuetype, string_value) VALUES
  (16, 1, 30, 0, ''), (16, 2, 0, 1, 'application/xml');

-- since: 1.0210 feeds
-- What a lookup feed sends (type 0) and where to (type 2), until tables of their own take them.
INSERT INTO tw_{siteid}.featurenamevalue(featureid, type, name, value, sequence) VALUES
  (16, 0, 'country', 'GB', 1),
  (16, 0, 'key', 'it''s "secret"', 2),
  (16, 2, '', 'http://lookup.example/find?a=1&b=2', 1),
  (16, 2, '', 'http://lookup2.example/find', 2),
  (16, 7, 'colour', 'blue', 1);
UPDATE tw_{siteid}.datafeedfield SET pointer = 1 WHERE fieldid = 1;
UPDATE tw_{siteid}.datafeedfield SET pointer = 14 WHERE fieldid = 5;

-- since: 1.0225 feeds
-- Where the feeds send to now; the rows of type 2 stay where they were.
INSERT INTO tw_{siteid}.externallookupfeedurl(featureid, url, sequence) VALUES
  (16, 'http://lookup.example/find?a=1&b=2', 1),
  (16, 'http://lookup2.example/find', 2);

-- since: 1.0233 feeds
INSERT INTO tw_{siteid}.externallookupfeedparam(featureid, name, textvalue, sequence, type) VALUES
  (16, 'country', 'GB', 1, 0),
  (16, 'key', 'it''s "secret"', 2, 0);

-- since: 1.0235 templates
-- Feed files that the site has written.
INSERT INTO tw_{siteid}.rssfilelookup(queryid, viewid, instanceid, pageurl, params, pass, hash, dir) VALUES
  (1, 1, 1, 'http://{domain}/new-books', 'a=1', NULL, '0cc175b9c0f1b6a831c399e269772661', 'rss'),
  (2, 2, 2, 'http://{domain}/publishers', '', NULL, '92eb5ffee6ae2fec3ad71c777531578f', 'rss');

-- since: 1.0241
INSERT INTO tw_{siteid}.textembed(embedid, textid, major, minor) VALUES (501, 1, 2, 5);
INSERT INTO tw_{siteid}.textembedproperty(embedid, propertytype, valuetype, integer_value, string_value) VALUES
  (501, 1, 0, 8, ''), (501, 2, 1, 0, 'Title');

-- since: 1.0249
INSERT INTO tw_{siteid}.regularexpression(regexid, title, description, pattern, ignorecase, replacestr, testinput, patternlen, replacestrlen) VALUES
  (1, 'Post code', 'A British post code', '^[A-Z]{1,2}\\d[A-Z\\d]? ?\\d[A-Z]{2}$', -1, '', 'YO21 3PU', 34, 0);
