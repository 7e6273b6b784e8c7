-- An installation at 1.0224: the tables that differ from the version before it. Never changed.
-- table tw_1.externallookupfeedfield
CREATE TABLE tw_1.`externallookupfeedfield` (
  `fieldid` int(11) NOT NULL DEFAULT 0,
  `requestparamname` varchar(255) NOT NULL DEFAULT '',
  `responsexpath` varchar(255) NOT NULL DEFAULT '',
  `minrequestlength` int(11) NOT NULL DEFAULT -1,
  `maxrequestlength` int(11) NOT NULL DEFAULT -1,
  UNIQUE KEY `fieldid_idx` (`fieldid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.externallookupfeedfield VALUES
(1,'street','/address/line[1]',-1,-1),
(4,'','/address/line[10]',-1,-1),
(5,'name','/address/name',-1,-1);
-- table tw_1.text
CREATE TABLE tw_1.`text` (
  `textid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `texttype` int(11) NOT NULL DEFAULT 0,
  `text` longtext DEFAULT NULL,
  `previoustext` longtext DEFAULT NULL,
  `publishfuturepermission` varchar(50) NOT NULL DEFAULT '',
  PRIMARY KEY (`textid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=19 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.text VALUES
(1,1,0,0,'<h1>Welcome to Abbey Print Shop</h1><p>Books by the sea since 1974.</p>','<h1>Welcome</h1>',''),
(2,2,0,0,'&nbsp;',NULL,''),
(3,3,0,0,NULL,NULL,''),
(4,4,0,0,'<p>We deliver within three days.\r\nIt\'s free above £50.</p>',NULL,''),
(5,5,2,0,'<p>Forgotten your password? Ask for a new one.</p><div class="error">That name or password isn\'t right.</div>','<p>Older log-in text</p>',''),
(6,7,0,0,'<p>Write to us.</p>',NULL,''),
(7,7,1,0,'<p>Thank you.</p>',NULL,''),
(8,7,2,0,'<p>Please fill in every field.</p>',NULL,''),
(9,21,2,20,'<p>No book found.</p>',NULL,''),
(10,21,2,7,'<p>A text of another type.</p>',NULL,''),
(11,10,0,22,'<p>You searched for: books found</p>',NULL,''),
(12,10,1,22,'<p>You searched for: books found</p>',NULL,''),
(13,18,0,0,'<p><#Embed.18.1:Title#> &lt;#Embed.18.2:Related books#&gt; <#Embed.18.3:Series#></p>','<p><#Embed.18.2:Related#></p>',''),
(14,18,1,0,'<table><tr><td><#Embed.18.2:Related books#></td></tr></table>',NULL,''),
(15,18,2,20,'',NULL,''),
(16,19,0,0,'<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>',NULL,''),
(17,19,2,5,'<p>Chosen view</p>',NULL,''),
(18,5,3,0,'<p>New here? Register now.</p>',NULL,'');
-- table tw_1.textembed
CREATE TABLE tw_1.`textembed` (
  `embedid` int(11) NOT NULL AUTO_INCREMENT,
  `textid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`embedid`),
  KEY `textid_idx` (`textid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.textembedproperty
CREATE TABLE tw_1.`textembedproperty` (
  `embedid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `string_value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`embedid`,`propertytype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.accountpayment
CREATE TABLE tw_tarnwick.`accountpayment` (
  `accountpaymentid` bigint(20) NOT NULL AUTO_INCREMENT,
  `accountid` int(11) DEFAULT NULL,
  `comment` varchar(255) DEFAULT NULL,
  `paymentdate` datetime DEFAULT NULL,
  `amount` decimal(17,2) NOT NULL DEFAULT 0.00,
  `paymenttype` mediumint(9) NOT NULL DEFAULT 0,
  `pending` tinyint(1) NOT NULL DEFAULT 0,
  `admincomment` varchar(255) NOT NULL DEFAULT '',
  `cartorderid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`accountpaymentid`),
  KEY `account` (`accountid`),
  KEY `cartorderid_idx` (`cartorderid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.accountpayment VALUES
(1,10003,'Commission','2007-06-01 00:00:00',1.87,2,0,'too early',0),
(2,10003,'Commission','2007-12-02 00:00:00',1.87,2,0,'',0),
(3,10003,'Commission','2007-12-12 00:00:00',0.03,2,0,'',0),
(4,10003,'Commission','2008-01-01 00:00:00',2.50,2,0,'without an order',0);
-- table tw_tarnwick.site
CREATE TABLE tw_tarnwick.`site` (
  `rootsiteid` bigint(20) NOT NULL AUTO_INCREMENT,
  `siteid` bigint(20) NOT NULL DEFAULT 0,
  `version` double NOT NULL DEFAULT 0,
  `sitename` varchar(255) DEFAULT NULL,
  `userid` int(11) NOT NULL DEFAULT 0,
  `suspended` tinyint(1) NOT NULL DEFAULT 0,
  `template` tinyint(1) NOT NULL DEFAULT 0,
  `description` longtext DEFAULT NULL,
  `previewimage` varchar(100) NOT NULL DEFAULT '',
  `parentsiteid` int(11) NOT NULL DEFAULT 0,
  `parentsiteuserid` int(11) NOT NULL DEFAULT 0,
  `ancestors` varchar(255) NOT NULL DEFAULT '',
  `deleted` tinyint(1) NOT NULL DEFAULT 0,
  `layoutfeatureid` int(11) NOT NULL DEFAULT 0,
  `creationdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `expirydate` datetime NOT NULL DEFAULT '3000-01-01 00:00:00',
  `createdbyfeatureid` int(11) NOT NULL DEFAULT 0,
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `autosuspended` tinyint(1) NOT NULL DEFAULT 0,
  `upstreamautosuspended` tinyint(1) NOT NULL DEFAULT 0,
  `sitemanagerfeatureid` int(11) NOT NULL DEFAULT 0,
  `harddeleted` tinyint(1) NOT NULL DEFAULT 0,
  `logonfeatureid` int(11) NOT NULL DEFAULT 0,
  `sitefeatureid` int(11) NOT NULL DEFAULT 0,
  `defaultfeatureid` int(11) NOT NULL DEFAULT 0,
  `transaction` tinyint(1) NOT NULL DEFAULT 0,
  `demo` tinyint(1) NOT NULL DEFAULT 0,
  `selfexport` tinyint(1) NOT NULL DEFAULT 0,
  `serverstarted` tinyint(1) NOT NULL DEFAULT 0,
  `sitestarted` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`),
  KEY `deleted_idx` (`deleted`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1,2,0,0,-1,-1,-1);
