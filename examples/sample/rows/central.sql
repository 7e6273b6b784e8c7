-- Rows of the central database at version 1.0000 that do not depend on the number of sites. Rows of
-- sites, domains, accounts and traffic come in bulk.

UPDATE tw_tarnwick.installation SET webmasterusername = 'webmaster', webmasterpassword = 'changeit', mailserver = 'mail.tarnwick.example', mailserverport = 25, reporterrors = -1, webips = '192.0.2.10,192.0.2.11', webports = '80';

INSERT INTO tw_tarnwick.mailbcc(siteid, emailaddress) VALUES
  ('1', 'archive@tarnwick.example'), ('', 'postmaster@tarnwick.example');

-- Plans: prices that a float does not hold exactly.
INSERT INTO tw_tarnwick.chargingplan(id, siteid, name, startupcharge, monthlyusageunit, creditlimit, monthlyfixedcharge, replacementplanid, currencyid, locked, hidden) VALUES
  (1, 1, 'Starter', 0.1, 1, 50, 4.99, 0, 1, 0, 0),
  (2, 1, 'Business', 19.99, 1, 250, 19.95, 0, 1, -1, 0),
  (3, 1, 'Old business', 0, 1, 1234.5, 0.35, 2, 1, -1, -1);

INSERT INTO tw_tarnwick.chargingplanusageband(chargingplanid, bandstart, unitprice) VALUES
  (1, 0, 0.1), (1, 100, 0.07), (2, 0, 0.05), (2, 1000, 0.01), (3, 0, 1.15);

INSERT INTO tw_tarnwick.currentinvoicestartdate(startdate) VALUES ('2008-01-01 00:00:00');

INSERT INTO tw_tarnwick.country(countryid, country, eumember, acronym) VALUES
  (33, 'France', -1, 'FR'), (54, 'Germany', -1, 'DE'), (77, 'United Kingdom', -1, 'GB'), (200, 'Norway', 0, 'NO');

INSERT INTO tw_tarnwick.currency(currencyid, currencycode, currencysymbol) VALUES
  (1, 'GBP', '£'), (2, 'EUR', '€'), (3, 'USD', '$');

INSERT INTO tw_tarnwick.englishword(word) VALUES ('anchor'), ('harbour'), ('sea');

-- The components as they were known then; later lists come with the upgrade.
INSERT INTO tw_tarnwick.component(componentid, componentname, foldername, componentfile, available, published, mandatory, layoutcomponent, standalone, section, allowcopy, allowcopywithoutdata, widget) VALUES
  (100, 'Log In', 'login', 'login.dll', -1, -1, -1, 0, 0, -1, 0, 0, 0),
  (300, 'Site Search', 'search', 'search.dll', -1, -1, 0, 0, 0, -1, 0, 0, 0),
  (400, 'Text Page', 'textpage', 'textpage.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (500, 'Text and Pictures', 'textpictures', 'textpictures.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (700, 'Redirection', 'redirect', 'redirect.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (800, 'Form', 'form', 'form.dll', -1, -1, 0, 0, 0, -1, -1, -1, 0),
  (900, 'Record List', 'recordlist', 'recordlist.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (1000, 'Shop', 'shop', 'shop.dll', -1, -1, 0, 0, 0, -1, 0, 0, 0),
  (1200, 'Layout', 'layout', 'layout.dll', -1, -1, -1, -1, 0, 0, -1, 0, 0),
  (1450, 'Forum', 'forum', 'forum.dll', -1, -1, 0, 0, 0, -1, 0, 0, 0),
  (1500, 'Site Manager', 'sitemanager', 'sitemanager.dll', -1, -1, -1, 0, -1, 0, 0, 0, 0),
  (1600, 'Record Page', 'recordpage', 'recordpage.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (2300, 'Search Box', 'searchbox', 'searchbox.dll', -1, -1, 0, -1, 0, 0, 0, 0, 0),
  (2400, 'Delivery and Charges', 'charges', 'charges.dll', -1, -1, 0, 0, 0, 0, 0, 0, 0),
  (2600, 'Data Feed', 'datafeed', 'datafeed.dll', -1, -1, 0, 0, 0, -1, 0, 0, 0),
  (3000, 'Form Editor', 'formeditor', 'formeditor.dll', -1, -1, 0, 0, -1, 0, 0, 0, 0),
  (3100, 'Style Editor', 'styleeditor', 'styleeditor.dll', -1, -1, 0, 0, -1, 0, 0, 0, 0),
  (3600, 'Query Editor', 'queryeditor', 'queryeditor.dll', -1, -1, 0, 0, -1, 0, 0, 0, 0),
  (3700, 'Record Table', 'recordtable', 'recordtable.dll', -1, -1, 0, 0, 0, -1, -1, 0, 0),
  (3900, 'Statistics', 'statistics', 'statistics.dll', -1, -1, 0, 0, -1, 0, 0, 0, 0),
  (4100, 'Plain Text', 'plaintext', 'plaintext.dll', -1, -1, 0, 0, 0, 0, 0, 0, 0),
  (4300, 'Basket', 'basket', 'basket.dll', -1, -1, 0, -1, 0, 0, 0, 0, 0),
  (5600, 'Server Manager', 'servermanager', 'servermanager.dll', -1, -1, 0, 0, -1, 0, 0, 0, 0);

INSERT INTO tw_tarnwick.componenttype(componenttype, componentid) VALUES
  (1, 400), (1, 500), (2, 900), (2, 3700), (3, 1000);
