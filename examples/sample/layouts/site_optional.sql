-- A site database as it stood at version 1.0000: the tables of the optional features.
-- Run after site_core.sql; {siteid} is the decimal site id. A site has a group whole or not at
-- all. Each group begins with a line "-- group: <name>".

-- group: forms

CREATE TABLE tw_{siteid}.form(
  formfeatureid INT DEFAULT 0 NOT NULL,
  securefiles BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(formfeatureid)
);

CREATE TABLE tw_{siteid}.formfield(
  formfieldid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  type VARCHAR(20) DEFAULT '' NOT NULL,
  options INT DEFAULT 0 NOT NULL,
  defaultvalue VARCHAR(255) DEFAULT '' NOT NULL,
  targetformfeatureid INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(formfieldid)
);

CREATE TABLE tw_{siteid}.formlink(
  linkid INT AUTO_INCREMENT NOT NULL,
  formfieldid INT DEFAULT 0 NOT NULL,
  subjreplyid INT DEFAULT 0 NOT NULL,
  objreplyid INT DEFAULT 0 NOT NULL,
  productlinkprice FLOAT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(linkid),
  INDEX formfieldid_idx(formfieldid)
);

CREATE TABLE tw_{siteid}.formfieldexpressionfield(
  expressionfieldid INT AUTO_INCREMENT NOT NULL,
  formfieldid INT DEFAULT 0 NOT NULL,
  prefix VARCHAR(255) DEFAULT '' NOT NULL,
  suffix VARCHAR(255) DEFAULT '' NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(expressionfieldid),
  INDEX formfieldid_idx(formfieldid)
);

CREATE TABLE tw_{siteid}.formloadingproperty(
  featureid INT DEFAULT 0 NOT NULL,
  propertytype INT DEFAULT 0 NOT NULL,
  type INT DEFAULT 0 NOT NULL,
  value INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(featureid, propertytype, type)
);

-- group: templates
-- Queries over the records of forms, their views and their instances. Needs the forms.

CREATE TABLE tw_{siteid}.formtemplate(
  featureid INT DEFAULT 0 NOT NULL,
  formfeatureid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(featureid)
);

CREATE TABLE tw_{siteid}.formtemplatefield(
  formtemplatefieldid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  queryfieldid INT DEFAULT 0 NOT NULL,
  linkformtemplatefieldid INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(formtemplatefieldid)
);

CREATE TABLE tw_{siteid}.formtemplateviewfield(
  viewfieldid INT AUTO_INCREMENT NOT NULL,
  viewid INT DEFAULT 0 NOT NULL,
  formtemplatefieldid INT DEFAULT 0 NOT NULL,
  formtemplateviewfieldtype INT DEFAULT 0 NOT NULL,
  integer_value INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(viewfieldid),
  INDEX viewid_idx(viewid)
);

CREATE TABLE tw_{siteid}.formtemplateinstance(
  instanceid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  queryid INT DEFAULT 0 NOT NULL,
  viewid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(instanceid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.formtemplateinstancefield(
  instancefieldid INT AUTO_INCREMENT NOT NULL,
  instanceid INT DEFAULT 0 NOT NULL,
  queryfieldid INT DEFAULT 0 NOT NULL,
  operator VARCHAR(20) DEFAULT '' NOT NULL,
  value VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(instancefieldid),
  INDEX instanceid_idx(instanceid)
);

CREATE TABLE tw_{siteid}.querytable(
  tableid INT AUTO_INCREMENT NOT NULL,
  queryid INT DEFAULT 0 NOT NULL,
  tabletype INT DEFAULT 0 NOT NULL,
  srctableid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(tableid),
  INDEX queryid_idx(queryid)
);

CREATE TABLE tw_{siteid}.queryfieldsrc(
  queryfieldid INT DEFAULT 0 NOT NULL,
  queryid INT DEFAULT 0 NOT NULL,
  tableid INT DEFAULT 0 NOT NULL,
  srcfieldid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(queryfieldid, tableid, srcfieldid),
  INDEX queryid_idx(queryid)
);

CREATE TABLE tw_{siteid}.queryjoin(
  joinid INT AUTO_INCREMENT NOT NULL,
  queryid INT DEFAULT 0 NOT NULL,
  jointype INT DEFAULT 0 NOT NULL,
  srctableid INT DEFAULT 0 NOT NULL,
  srcfieldid INT DEFAULT 0 NOT NULL,
  objtableid INT DEFAULT 0 NOT NULL,
  objfieldid INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(joinid),
  INDEX queryid_idx(queryid)
);

-- group: feeds

CREATE TABLE tw_{siteid}.datafeedfield(
  fieldid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  prompt VARCHAR(100) DEFAULT '' NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(fieldid)
);

CREATE TABLE tw_{siteid}.externallookupfeedfield(
  fieldid INT DEFAULT 0 NOT NULL,
  requestparamname VARCHAR(255) DEFAULT '' NOT NULL,
  responsexpath VARCHAR(255) DEFAULT '' NOT NULL,
  UNIQUE INDEX fieldid_idx(fieldid)
);

-- group: shop

CREATE TABLE tw_{siteid}.customerorder(
  orderid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  created DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  currencyid INT DEFAULT 0 NOT NULL,
  grossamount FLOAT DEFAULT 0 NOT NULL,
  chargetotal FLOAT DEFAULT 0 NOT NULL,
  completed BOOL DEFAULT 0 NOT NULL,
  locked BOOL DEFAULT 0 NOT NULL,
  billingname VARCHAR(100) DEFAULT '' NOT NULL,
  billingorganization VARCHAR(100) DEFAULT '' NOT NULL,
  billingaddress VARCHAR(255) DEFAULT '' NOT NULL,
  billingcountry VARCHAR(100) DEFAULT '' NOT NULL,
  billingpostcode VARCHAR(20) DEFAULT '' NOT NULL,
  billingtelephone VARCHAR(50) DEFAULT '' NOT NULL,
  billingemail VARCHAR(100) DEFAULT '' NOT NULL,
  shippingname VARCHAR(100) DEFAULT '' NOT NULL,
  shippingorganization VARCHAR(100) DEFAULT '' NOT NULL,
  shippingaddress VARCHAR(255) DEFAULT '' NOT NULL,
  shippingcountry VARCHAR(100) DEFAULT '' NOT NULL,
  shippingpostcode VARCHAR(20) DEFAULT '' NOT NULL,
  shippingemail VARCHAR(100) DEFAULT '' NOT NULL,
  PRIMARY KEY(orderid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.orderitem(
  itemid INT AUTO_INCREMENT NOT NULL,
  orderid INT DEFAULT 0 NOT NULL,
  basketid INT DEFAULT 0 NOT NULL,
  description VARCHAR(255) DEFAULT '' NOT NULL,
  quantity INT DEFAULT 0 NOT NULL,
  price FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(itemid)
);

CREATE TABLE tw_{siteid}.orderpayment(
  paymentid INT AUTO_INCREMENT NOT NULL,
  orderid INT DEFAULT 0 NOT NULL,
  amount FLOAT DEFAULT 0 NOT NULL,
  transactionid VARCHAR(100) DEFAULT '' NOT NULL,
  paymentdate DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  live BOOL DEFAULT -1 NOT NULL,
  PRIMARY KEY(paymentid),
  INDEX orderid_idx(orderid)
);

CREATE TABLE tw_{siteid}.basket(
  basketid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  orderid INT DEFAULT 0 NOT NULL,
  created DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(basketid)
);

-- group: charges
-- Needs the shop.

CREATE TABLE tw_{siteid}.charge(
  chargeid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  chargetype INT DEFAULT 0 NOT NULL,
  chargecat INT DEFAULT 0 NOT NULL,
  sequence INT DEFAULT 0 NOT NULL,
  PRIMARY KEY(chargeid),
  INDEX featureid_idx(featureid)
);

CREATE TABLE tw_{siteid}.chargetocharge(
  chargeid INT NOT NULL,
  applytochargeid INT NOT NULL,
  PRIMARY KEY(chargeid, applytochargeid)
);

CREATE TABLE tw_{siteid}.chargetoitemtype(
  chargeid INT NOT NULL,
  applytoitemtypeid INT NOT NULL,
  PRIMARY KEY(chargeid, applytoitemtypeid)
);

CREATE TABLE tw_{siteid}.chargeregion(
  regionid INT AUTO_INCREMENT NOT NULL,
  chargeid INT DEFAULT 0 NOT NULL,
  countryid INT DEFAULT 0 NOT NULL,
  price FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(regionid),
  INDEX chargeid_idx(chargeid)
);

CREATE TABLE tw_{siteid}.chargeregionvalueband(
  bandid INT AUTO_INCREMENT NOT NULL,
  regionid INT DEFAULT 0 NOT NULL,
  bandstart FLOAT DEFAULT 0 NOT NULL,
  price FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(bandid),
  INDEX regionid_idx(regionid)
);

-- group: affiliates
-- Needs the shop.

CREATE TABLE tw_{siteid}.commission(
  commissionid INT AUTO_INCREMENT NOT NULL,
  orderid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  percentage FLOAT DEFAULT 0 NOT NULL,
  commission FLOAT DEFAULT 0 NOT NULL,
  created DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(commissionid),
  INDEX orderid_idx(orderid)
);

CREATE TABLE tw_{siteid}.accesscodeaccount(
  accesscodeid INT AUTO_INCREMENT NOT NULL,
  accesscode VARCHAR(50) DEFAULT '' NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  associatepercentage FLOAT DEFAULT 0 NOT NULL,
  PRIMARY KEY(accesscodeid)
);

-- group: forum

CREATE TABLE tw_{siteid}.forum(
  elementid INT AUTO_INCREMENT NOT NULL,
  featureid INT DEFAULT 0 NOT NULL,
  threadid INT DEFAULT 0 NOT NULL,
  parentid INT DEFAULT 0 NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  subject VARCHAR(255) DEFAULT '' NOT NULL,
  message LONGTEXT,
  created DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  published BOOL DEFAULT 0 NOT NULL,
  removed BOOL DEFAULT 0 NOT NULL,
  PRIMARY KEY(elementid)
);

-- group: oauth
-- Log-in through other sites.

CREATE TABLE tw_{siteid}.oauthconsumer(
  consumerid INT AUTO_INCREMENT NOT NULL,
  name VARCHAR(100) DEFAULT '' NOT NULL,
  consumerkey VARCHAR(255) DEFAULT '' NOT NULL,
  consumersecret VARCHAR(255) DEFAULT '' NOT NULL,
  callbackurl VARCHAR(255) DEFAULT '' NOT NULL,
  PRIMARY KEY(consumerid)
);
