-- An installation at 1.0028: the tables that differ from the version before it. Never changed.
-- table tw_1.layoutelement
CREATE TABLE tw_1.`layoutelement` (
  `elementid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `showtoall` tinyint(1) NOT NULL DEFAULT -1,
  `showtype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`elementid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutelement VALUES
(1,11,'Header',1,-1,0),
(2,11,'Layout Element 2',2,0,1),
(3,11,'Footer',3,-1,0),
(4,12,'Picture',1,-1,0),
(5,12,'Layout Element 2',2,-1,0);
-- table tw_1.layoutzone
CREATE TABLE tw_1.`layoutzone` (
  `zoneid` int(11) NOT NULL AUTO_INCREMENT,
  `elementid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `navfrom` int(11) NOT NULL DEFAULT 0,
  `navuntil` int(11) NOT NULL DEFAULT 0,
  `flyoutjs` longtext DEFAULT NULL,
  `navroot` int(11) NOT NULL DEFAULT 0,
  `navoffset` int(11) NOT NULL DEFAULT 0,
  `navdepth` int(11) NOT NULL DEFAULT 1,
  `startshowdelay` float NOT NULL DEFAULT 0,
  `startfadein` float NOT NULL DEFAULT 0,
  `starthidedelay` float NOT NULL DEFAULT 0,
  `startfadeout` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`zoneid`),
  KEY `elementid_idx` (`elementid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutzone VALUES
(1,1,1,1,1,3,'',0,1,3,0,0,0,0),
(2,2,1,1,2,2,'',0,2,1,0,0,0,0),
(3,3,1,2,4,1,'',0,4,1,0,0,0,0),
(4,5,1,2,0,1,'',0,0,2,0,0,0,0);
-- table tw_1.navigation
CREATE TABLE tw_1.`navigation` (
  `navigationid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `parentid` int(11) NOT NULL DEFAULT 0,
  `level` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `linktext` varchar(50) NOT NULL DEFAULT '',
  `linkquerystring` varchar(255) NOT NULL DEFAULT '',
  `canonical` varchar(255) NOT NULL DEFAULT '',
  `xmlmappriority` float NOT NULL DEFAULT 0.5,
  `xmlmaplastmod` int(11) NOT NULL DEFAULT 0,
  `xmlmapchangefreq` varchar(10) NOT NULL DEFAULT 'weekly',
  `xmlmaplastmodspec` varchar(100) NOT NULL DEFAULT '',
  `xmlmapignore` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`navigationid`),
  KEY `featureid_idx` (`featureid`),
  KEY `parentid_idx` (`parentid`),
  KEY `level_idx` (`level`),
  KEY `sequence_idx` (`sequence`)
) ENGINE=InnoDB AUTO_INCREMENT=10 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.navigation VALUES
(1,1,0,1,1,'Home','','',0.5,0,'weekly','',0),
(2,2,1,2,2,'About us','','',0.5,0,'weekly','',0),
(3,3,1,2,3,'News','','',0.5,0,'weekly','',0),
(4,4,1,2,4,'Terms of delivery','','',0.5,0,'weekly','',0),
(5,5,1,2,1,'Log in','','',0.5,0,'weekly','',0),
(6,6,2,3,1,'Shop','','',0.5,0,'weekly','',0),
(7,7,2,3,2,'Contact','','',0.5,0,'weekly','',0),
(8,8,3,3,1,'Catalogue','','',0.5,0,'weekly','',0),
(9,2,3,3,2,'Who we are','','',0.5,0,'weekly','',0);
-- table tw_1.plaintext
CREATE TABLE tw_1.`plaintext` (
  `featureid` int(11) NOT NULL,
  `subfeatureid` int(11) NOT NULL,
  `text` longtext DEFAULT NULL,
  PRIMARY KEY (`featureid`,`subfeatureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.setting
CREATE TABLE tw_1.`setting` (
  `settingid` int(11) NOT NULL AUTO_INCREMENT,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `string_value` varchar(255) NOT NULL DEFAULT '',
  `text` longtext DEFAULT NULL,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `float_value` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`settingid`),
  KEY `overrideid_idx` (`overrideid`),
  KEY `name_idx` (`name`(15))
) ENGINE=InnoDB AUTO_INCREMENT=31 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.setting VALUES
(3,3,'ShowBillingName','boolean','',NULL,-1,0),
(4,3,'ShowBillingOrganization','boolean','',NULL,0,0),
(5,3,'ShowBillingAddress','boolean','',NULL,-1,0),
(6,3,'ShowBillingCountry','boolean','',NULL,-1,0),
(7,3,'ShowBillingPostCode','boolean','',NULL,-1,0),
(8,3,'ShowBillingEmail','boolean','',NULL,-1,0),
(9,3,'ShowBillingTelephone','boolean','',NULL,0,0),
(10,3,'ShowShippingName','boolean','',NULL,-1,0),
(11,3,'ShowShippingAddress','boolean','',NULL,-1,0),
(12,3,'DefaultCountryId','integer','',NULL,77,0),
(13,4,'ForgottenPasswordText','text','','Forgotten your password? Ask for a new one.',0,0),
(14,4,'InvalidLogInText','text','','That name or password isn\'t right.',0,0),
(15,4,'RegistrationText','text','','New here? Register now.',0,0),
(16,5,'FindResultsPhrase','text','','You searched for: ',0,0),
(17,5,'IgnoreWordFragments','boolean','',NULL,-1,0),
(18,6,'canonical','string','about-us',NULL,0,0),
(19,7,'TargetInstanceId','integer','',NULL,1,0),
(20,8,'DirectURLReplacementChar','string','_',NULL,0,0),
(21,8,'canonical','string','contact',NULL,0,0),
(22,9,'HideNavIfOverrides','boolean','',NULL,-1,0),
(23,9,'canonical','string','',NULL,0,0),
(24,10,'TargetInstanceId','integer','',NULL,0,0),
(25,10,'IgnoreWordFragments','boolean','',NULL,0,0),
(26,7,'TargetInstanceIds','text','','1',0,0),
(27,1,'LayoutElementType','integer','',NULL,1,0),
(28,1,'LayoutElementIds','text','','1,3',0,0),
(29,2,'LayoutElementType','integer','',NULL,1,0),
(30,2,'LayoutElementIds','text','','5',0,0);
-- table tw_1.taskstatus
CREATE TABLE tw_1.`taskstatus` (
  `featureid` int(11) NOT NULL,
  `type` int(11) NOT NULL,
  `status` int(11) NOT NULL,
  `statustime` datetime NOT NULL,
  PRIMARY KEY (`featureid`,`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1,2);
