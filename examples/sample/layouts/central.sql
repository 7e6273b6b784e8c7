-- The central database as it stood at version 1.0000.

CREATE DATABASE tw_tarnwick;

CREATE TABLE tw_tarnwick.installation(
  version DOUBLE DEFAULT 0 NOT NULL,
  webmasterusername VARCHAR(50) DEFAULT '' NOT NULL,
  webmasterpassword VARCHAR(50) DEFAULT '' NOT NULL,
  mailserver VARCHAR(50) DEFAULT '' NOT NULL,
  mailserverport INT DEFAULT 25 NOT NULL,
  infotamelock VARCHAR(20) DEFAULT '' NOT NULL,
  reporterrors BOOL DEFAULT 0 NOT NULL,
  webips VARCHAR(255) DEFAULT '' NOT NULL,
  webports VARCHAR(100) DEFAULT '' NOT NULL
);

INSERT INTO tw_tarnwick.installation(version) VALUES(1.0000);

CREATE TABLE tw_tarnwick.mailbcc(
  siteid VARCHAR(50) DEFAULT '' NOT NULL,
  emailaddress VARCHAR(50) DEFAULT '' NOT NULL,
  PRIMARY KEY(siteid, emailaddress)
);

CREATE TABLE tw_tarnwick.account(
  accountid INT AUTO_INCREMENT NOT NULL,
  siteid INT DEFAULT NULL,
  userid INT DEFAULT NULL,
  creditlimit DOUBLE DEFAULT 0 NOT NULL,
  currencyid MEDIUMINT DEFAULT 0 NOT NULL,
  dayscredit MEDIUMINT DEFAULT 0 NOT NULL,
  overdayscredit BOOL DEFAULT 0 NOT NULL,
  firstwarningsent DATETIME DEFAULT '1001-01-01 00:00:00',
  finalwarningsent DATETIME DEFAULT '1001-01-01 00:00:00',
  suggestedpayment DOUBLE DEFAULT 0 NOT NULL,
  currentbalance DOUBLE DEFAULT 0 NOT NULL,
  futurebalance DOUBLE DEFAULT 0 NOT NULL,
  pendingbalance DOUBLE DEFAULT 0 NOT NULL,
  suspended BOOL DEFAULT 0 NOT NULL,
  associatepercentage FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(accountid),
  INDEX siteanduser(siteid, userid)
);

CREATE TABLE tw_tarnwick.accountinvoice(
  accountinvoiceid BIGINT AUTO_INCREMENT NOT NULL,
  accountid INT DEFAULT NULL,
  comment VARCHAR(255) DEFAULT NULL,
  invoicedate DATETIME DEFAULT NULL,
  invoicetype MEDIUMINT DEFAULT 0 NOT NULL,
  invoicesiteid INT DEFAULT 0 NOT NULL,
  chargingplanid INT DEFAULT 0 NOT NULL,
  amount DOUBLE DEFAULT 0 NOT NULL,
  tax DOUBLE DEFAULT 0 NOT NULL,
  rawusage FLOAT DEFAULT 0 NOT NULL,
  cumulativedate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL,
  pending BOOL DEFAULT 0 NOT NULL,
  admincomment VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(accountinvoiceid),
  INDEX account(accountid)
);

CREATE TABLE tw_tarnwick.accountpayment(
  accountpaymentid BIGINT AUTO_INCREMENT NOT NULL,
  accountid INT DEFAULT NULL,
  comment VARCHAR(255) DEFAULT NULL,
  paymentdate DATETIME DEFAULT NULL,
  amount DOUBLE DEFAULT 0 NOT NULL,
  paymenttype MEDIUMINT DEFAULT 0 NOT NULL,
  pending BOOL DEFAULT 0 NOT NULL,
  admincomment VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(accountpaymentid),
  INDEX account(accountid)
);

CREATE TABLE tw_tarnwick.chargingplan(
  id INT AUTO_INCREMENT NOT NULL,
  siteid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  startupcharge FLOAT DEFAULT 0 NOT NULL,
  monthlyusageunit MEDIUMINT DEFAULT 0 NOT NULL,
  creditlimit FLOAT DEFAULT 0 NOT NULL,
  monthlyfixedcharge FLOAT DEFAULT 0 NOT NULL,
  replacementplanid INT DEFAULT 0 NOT NULL,
  currencyid INT DEFAULT 0 NOT NULL,
  locked BOOL DEFAULT 0 NOT NULL,
  removed BOOL DEFAULT 0 NOT NULL,
  replacementdate DATETIME DEFAULT '3000-01-01 00:00:00' NOT NULL,
  sitereplacementplanid INT DEFAULT 0 NOT NULL,
  sitereplacementplandays INT DEFAULT 0 NOT NULL,
  hidden BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(id)
);

CREATE TABLE tw_tarnwick.chargingplanusageband(
  chargingplanid INT DEFAULT 0 NOT NULL,
  bandstart INT DEFAULT 0 NOT NULL,
  unitprice FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(chargingplanid, bandstart)
);

CREATE TABLE tw_tarnwick.component(
  componentid INT DEFAULT 0 NOT NULL,
  componentname VARCHAR(255) DEFAULT NULL,
  foldername VARCHAR(50) DEFAULT NULL,
  componentfile VARCHAR(50) DEFAULT NULL,
  available BOOL DEFAULT 0 NOT NULL,
  published BOOL DEFAULT 0 NOT NULL,
  mandatory BOOL DEFAULT 0 NOT NULL,
  layoutcomponent BOOL DEFAULT 0 NOT NULL,
  standalone BOOL DEFAULT 0 NOT NULL,
  section BOOL DEFAULT 0 NOT NULL,
  allowcopy BOOL DEFAULT 0 NOT NULL,
  allowcopywithoutdata BOOL DEFAULT 0 NOT NULL,
  widget BOOL DEFAULT 0 NOT NULL,
  dev BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(componentid)
);

CREATE TABLE tw_tarnwick.componenttype(
  componenttype MEDIUMINT DEFAULT 0 NOT NULL,
  componentid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(componenttype, componentid)
);

CREATE TABLE tw_tarnwick.country(
  countryid INT AUTO_INCREMENT NOT NULL,
  country VARCHAR(100) DEFAULT NULL,
  eumember BOOL DEFAULT 0 NOT NULL,
  acronym VARCHAR(10) DEFAULT '' NOT NULL,
  PRIMARY KEY(countryid)
);

CREATE TABLE tw_tarnwick.currency(
  currencyid INT AUTO_INCREMENT NOT NULL,
  currencycode VARCHAR(10) DEFAULT NULL,
  currencysymbol VARCHAR(5) DEFAULT NULL,
  PRIMARY KEY(currencyid),
  UNIQUE KEY currencycode(currencycode)
);

CREATE TABLE tw_tarnwick.currentinvoicestartdate(
  startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL
);

CREATE TABLE tw_tarnwick.defaultdocument(
  siteid INT DEFAULT 0 NOT NULL,
  document VARCHAR(255) DEFAULT '' NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  INDEX siteidindex(siteid)
);

CREATE TABLE tw_tarnwick.domain(
  siteid INT DEFAULT 0 NOT NULL,
  domainname VARCHAR(100) DEFAULT '' NOT NULL,
  ipaddress VARCHAR(15) DEFAULT '' NOT NULL,
  tcpport INT DEFAULT 0 NOT NULL,
  INDEX siteidindex(siteid)
);

CREATE TABLE tw_tarnwick.englishword(
  word VARCHAR(50) DEFAULT NULL
);

CREATE TABLE tw_tarnwick.iisupdateerror(
  iisupdateerrorid INT AUTO_INCREMENT NOT NULL,
  siteid INT DEFAULT 0 NOT NULL,
  created DATETIME DEFAULT '1001-01-01 00:00:00' NOT NULL,
  description VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(iisupdateerrorid),
  INDEX siteidindex(siteid)
);

CREATE TABLE tw_tarnwick.outstandingiisupdate(
  siteid INT DEFAULT 0 NOT NULL,
  filename VARCHAR(50) DEFAULT '' NOT NULL,
  INDEX siteidindex(siteid)
);

CREATE TABLE tw_tarnwick.pagehitslastcrunched(
  siteid INT DEFAULT NULL,
  crunchtime DATETIME DEFAULT NULL,
  INDEX siteidindex(siteid)
);

CREATE TABLE tw_tarnwick.site(
  rootsiteid BIGINT AUTO_INCREMENT NOT NULL,
  siteid BIGINT DEFAULT 0 NOT NULL,
  version DOUBLE DEFAULT 0 NOT NULL,
  sitename VARCHAR(255) DEFAULT NULL,
  userid INT DEFAULT 0 NOT NULL,
  suspended BOOL DEFAULT 0 NOT NULL,
  template BOOL DEFAULT 0 NOT NULL,
  description LONGTEXT,
  previewimage VARCHAR(100) DEFAULT '' NOT NULL,
  parentsiteid INT DEFAULT 0 NOT NULL,
  parentsiteuserid INT DEFAULT 0 NOT NULL,
  ancestors VARCHAR(255) DEFAULT '' NOT NULL,
  deleted BOOL DEFAULT 0 NOT NULL,
  layoutfeatureid INT DEFAULT 0 NOT NULL,
  creationdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL,
  expirydate DATETIME DEFAULT '3000-01-01 00:00:00' NOT NULL,
  createdbyfeatureid INT DEFAULT 0 NOT NULL,
  chargingplanid INT DEFAULT 0 NOT NULL,
  autosuspended BOOL DEFAULT 0 NOT NULL,
  upstreamautosuspended BOOL DEFAULT 0 NOT NULL,
  sitemanagerfeatureid INT DEFAULT 0 NOT NULL,
  harddeleted BOOL DEFAULT 0 NOT NULL,
  logonfeatureid INT DEFAULT 0 NOT NULL,
  sitefeatureid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(rootsiteid),
  UNIQUE KEY SiteIdIndex(siteid)
);

CREATE TABLE tw_tarnwick.sitebillingdetails(
  siteid INT DEFAULT 0 NOT NULL,
  chargingplanid INT DEFAULT 0 NOT NULL,
  startdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL,
  finishdate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL,
  parentsiteid INT DEFAULT 0 NOT NULL,
  parentsiteuserid INT DEFAULT 0 NOT NULL,
  ancestors VARCHAR(255) DEFAULT NULL,
  PRIMARY KEY(siteid, startdate)
);

CREATE TABLE tw_tarnwick.sitegrant(
  siteid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  granttype MEDIUMINT DEFAULT 0 NOT NULL,
  grantlinkint INT DEFAULT 0 NOT NULL,
  grantuse BOOL DEFAULT 0 NOT NULL,
  grantrecursiveuse BOOL DEFAULT 0 NOT NULL,
  barredbyparent BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(siteid, userid, granttype, grantlinkint)
);

CREATE TABLE tw_tarnwick.sitestats(
  siteid INT DEFAULT NULL,
  parentsiteid INT DEFAULT NULL,
  parentsiteuserid INT DEFAULT NULL,
  ancestors VARCHAR(255) DEFAULT NULL,
  megabytes DOUBLE DEFAULT 0 NOT NULL,
  pagehits INT DEFAULT 0 NOT NULL,
  periodstart DATETIME DEFAULT NULL,
  periodfinish DATETIME DEFAULT NULL,
  mbsent DOUBLE DEFAULT 0 NOT NULL,
  mbrecvd DOUBLE DEFAULT 0 NOT NULL,
  INDEX siteidindex(siteid)
);
