-- A site database as it stood at version 1.0000: the tables that every site has.
-- Run once per site; {siteid} is the decimal site id.

CREATE DATABASE IF NOT EXISTS tw_{siteid};

-- Pages and navigation

CREATE TABLE tw_{siteid}.feature(
  featureid INT AUTO_INCREMENT NOT NULL,
  componentid INT DEFAULT 0 NOT NULL,
  featurename VARCHAR(255) DEFAULT '' NOT NULL,
  navigationstyle VARCHAR(50) DEFAULT '' NOT NULL,
  deadlink BOOL DEFAULT 0 NOT NULL,
  redirecturl VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(featureid),
  INDEX componentid_idx(componentid)
);

CREATE TABLE tw_{siteid}.navigation(
  navigationid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  parentid INT DEFAULT 0 NOT NULL,
  level INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  linktext VARCHAR(50) DEFAULT '' NOT NULL,
  linkquerystring VARCHAR(255) DEFAULT '' NOT NULL,
  canonical VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(navigationid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.removedfeature(
  featureid INT DEFAULT 0 NOT NULL,
  navigationid INT DEFAULT 0 NOT NULL,
  parentid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  removed DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(featureid)
);

CREATE TABLE tw_{siteid}.directurl(
  directurlid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  navigationid INT DEFAULT 0 NOT NULL,
  url VARCHAR(255) DEFAULT '' NOT NULL,
  canonical BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(directurlid),
  INDEX featureid_idx(featureid),
  INDEX url_idx(url(20))
);

CREATE TABLE tw_{siteid}.contentupdate(
  updateid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  updatetime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(updateid)
);

CREATE TABLE tw_{siteid}.pagehit(
  hitid INT AUTO_INCREMENT NOT NULL,
  hittime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  pageroute VARCHAR(255) DEFAULT '' NOT NULL,
  navigationid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  eventid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(hitid),
  INDEX hittime_idx(hittime)
);

-- Texts and images

CREATE TABLE tw_{siteid}.text(
  textid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  subfeatureid INT DEFAULT 0 NOT NULL,
  texttype INT DEFAULT 0 NOT NULL,
  text LONGTEXT,
  previoustext LONGTEXT,
  PRIMARY KEY(textid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.image(
  imageid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  filename VARCHAR(255) DEFAULT '' NOT NULL,
  width INT DEFAULT 0 NOT NULL,
  height INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(imageid),
  INDEX featureid_idx(featureid)
);

-- Settings

CREATE TABLE tw_{siteid}.override(
  overrideid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(overrideid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.setting(
  settingid INT AUTO_INCREMENT NOT NULL,
  overrideid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  type VARCHAR(20) DEFAULT '' NOT NULL,
  string_value VARCHAR(255) DEFAULT '' NOT NULL,
  text LONGTEXT,
  integer_value INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(settingid),
  INDEX overrideid_idx(overrideid),
  INDEX name_idx(name(15))
);

-- Layouts

CREATE TABLE tw_{siteid}.layoutelement(
  elementid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  showtoall BOOL DEFAULT -1 NOT NULL,
  PRIMARY KEY(elementid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.layoutzone(
  zoneid INT AUTO_INCREMENT NOT NULL,
  elementid INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  type INT DEFAULT 0 NOT NULL,
  navfrom INT DEFAULT 0 NOT NULL,
  navuntil INT DEFAULT 0 NOT NULL,
  flyoutjs LONGTEXT,
  PRIMARY KEY(zoneid),
  INDEX elementid_idx(elementid)
);

-- Styles

CREATE TABLE tw_{siteid}.css(
  cssid INT AUTO_INCREMENT NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  cachebuilt BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(cssid)
);

CREATE TABLE tw_{siteid}.tag(
  tagid INT AUTO_INCREMENT NOT NULL,
  name VARCHAR(255) DEFAULT '' NOT NULL,
  templateid INT DEFAULT 0 NOT NULL,
  overrideid INT DEFAULT 0 NOT NULL,
  cssid INT DEFAULT 0 NOT NULL,
  cachebuilt BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(tagid)
);

CREATE TABLE tw_{siteid}.attribute(
  attributeid INT AUTO_INCREMENT NOT NULL,
  tagid INT DEFAULT 0 NOT NULL,
  name VARCHAR(50) DEFAULT '' NOT NULL,
  value VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(attributeid)
);

CREATE TABLE tw_{siteid}.tagdependancy(
  tagname VARCHAR(100) DEFAULT '' NOT NULL,
  inherittagname VARCHAR(100) DEFAULT '' NOT NULL,
  inheritsequence INT DEFAULT 0 NOT NULL,
  INDEX tagname_idx(tagname(20))
);

-- Caches

CREATE TABLE tw_{siteid}.cache(
  cacheid INT AUTO_INCREMENT NOT NULL,
  type INT DEFAULT 0 NOT NULL,
  templateid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(cacheid)
);

CREATE TABLE tw_{siteid}.featurecache(
  featureid INT DEFAULT 0 NOT NULL,
  cacheid INT DEFAULT 0 NOT NULL
);

CREATE TABLE tw_{siteid}.cachesetting(
  cacheid INT DEFAULT 0 NOT NULL,
  settingid INT DEFAULT 0 NOT NULL
);

CREATE TABLE tw_{siteid}.cachegrantpermission(
  cacheid INT DEFAULT 0 NOT NULL,
  groupid INT DEFAULT 0 NOT NULL,
  permissiontype INT DEFAULT 0 NOT NULL
);

-- Users, groups and domains

CREATE TABLE tw_{siteid}.security(
  userid INT AUTO_INCREMENT NOT NULL,
  username VARCHAR(50) DEFAULT '' NOT NULL,
  password VARCHAR(50) DEFAULT '' NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  organization VARCHAR(100) DEFAULT '' NOT NULL,
  address VARCHAR(255) DEFAULT '' NOT NULL,
  postcode VARCHAR(20) DEFAULT '' NOT NULL,
  countryid INT DEFAULT 0 NOT NULL,
  telephone VARCHAR(50) DEFAULT '' NOT NULL,
  email VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(userid)
);

CREATE TABLE tw_{siteid}.group_table(
  groupid INT AUTO_INCREMENT NOT NULL,
  displayname VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(groupid)
);

CREATE TABLE tw_{siteid}.usergroup(
  userid INT DEFAULT 0 NOT NULL,
  groupid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(userid, groupid)
);

CREATE TABLE tw_{siteid}.userlock(
  lockid INT AUTO_INCREMENT NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  locktime DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(lockid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.domain(
  domainid INT AUTO_INCREMENT NOT NULL,
  domainname VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(domainid)
);

CREATE TABLE tw_{siteid}.domaingroup(
  groupid INT DEFAULT 0 NOT NULL,
  domainid INT DEFAULT 0 NOT NULL,
  domaingrouptype INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(groupid, domainid, domaingrouptype)
);

-- Events and e-mails

CREATE TABLE tw_{siteid}.event(
  eventid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(eventid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.eventpart(
  eventpartid INT AUTO_INCREMENT NOT NULL,
  eventid INT DEFAULT 0 NOT NULL,
  type INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(eventpartid),
  INDEX eventid_idx(eventid)
);

CREATE TABLE tw_{siteid}.email(
  emailid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  type VARCHAR(50) DEFAULT '' NOT NULL,
  fromlist VARCHAR(255),
  tolist LONGTEXT,
  cclist LONGTEXT,
  bcclist LONGTEXT,
  subject VARCHAR(255),
  message LONGTEXT,
  PRIMARY KEY(emailid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.emailevent(
  eventpartid INT DEFAULT 0 NOT NULL,
  emailid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(eventpartid, emailid),
  INDEX emailid_idx(emailid)
);
