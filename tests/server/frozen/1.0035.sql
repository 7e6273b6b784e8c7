-- An installation at 1.0035: the tables that differ from the version before it. Never changed.
-- table tw_1.accesscodeaccount
CREATE TABLE tw_1.`accesscodeaccount` (
  `accesscodeid` int(11) NOT NULL AUTO_INCREMENT,
  `accesscode` varchar(50) NOT NULL DEFAULT '',
  `userid` int(11) NOT NULL DEFAULT 0,
  `associatepercentage` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`accesscodeid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.accesscodeaccount VALUES
(1,'SEAGULL',3,7.5),
(2,'ANCHOR',2,0.1);
-- table tw_1.commission
CREATE TABLE tw_1.`commission` (
  `commissionid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `commission` float NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `percentage` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`commissionid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.commission VALUES
(1,1,3,1.87,'2007-12-01 12:03:10',7.5),
(2,2,3,0.03,'2007-12-11 09:42:00',33.3333),
(3,0,3,2.5,'2008-01-01 00:00:00',5);
-- table tw_1.form_8
CREATE TABLE tw_1.`form_8` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_1` varchar(255) NOT NULL DEFAULT '',
  `field_2` text NOT NULL DEFAULT '',
  `field_3` text NOT NULL DEFAULT '',
  `field_4` int(11) NOT NULL DEFAULT 0,
  `field_6` float NOT NULL DEFAULT 0,
  `field_7` tinyint(1) NOT NULL DEFAULT 0,
  `field_8` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_9` varchar(255) NOT NULL DEFAULT '',
  `field_10` varchar(255) NOT NULL DEFAULT '',
  `field_11` int(11) NOT NULL DEFAULT 0,
  `field_12` int(11) NOT NULL DEFAULT 0,
  `field_13` int(11) NOT NULL DEFAULT 0,
  `field_5` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_8 VALUES
(1,1,'2007-05-01 10:00:00','The Lighthouse','A keeper\'s diary.','<p>A <b>keeper\'s</b> diary.</p>',312,19.99,-1,'2006-09-01 00:00:00','../files/lighthouse.pdf','../images/lighthouse.JPG',1,2,1,0.45),
(2,1,'2007-05-02 11:30:00','Tides & Time','','',0,0.1,0,'2007-02-14 00:00:00','../files/lost.pdf','../images/tides.jpeg',2,0,0,1.1),
(3,2,'2007-06-20 15:05:00','Über das Meer','Gedichte','<p>Gedichte</p>',96,1234.5,-1,'1998-10-05 00:00:00','../files/../../secret.txt','',1,1,0,0.123456),
(4,2,'2007-07-09 08:15:00','Nets','','',150,7,0,'2001-01-01 00:00:00','http://elsewhere.example/nets.pdf','../images/no-extension',0,0,1,0);
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
  `startshowdelay` double NOT NULL DEFAULT 0,
  `startfadein` double NOT NULL DEFAULT 0,
  `starthidedelay` double NOT NULL DEFAULT 0,
  `startfadeout` double NOT NULL DEFAULT 0,
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
  `xmlmaplastmod` int(11) NOT NULL DEFAULT 0,
  `xmlmapchangefreq` varchar(10) NOT NULL DEFAULT 'weekly',
  `xmlmaplastmodspec` varchar(100) NOT NULL DEFAULT '',
  `xmlmapignore` tinyint(1) NOT NULL DEFAULT 0,
  `xmlmappriority` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`navigationid`),
  KEY `featureid_idx` (`featureid`),
  KEY `parentid_idx` (`parentid`),
  KEY `level_idx` (`level`),
  KEY `sequence_idx` (`sequence`)
) ENGINE=InnoDB AUTO_INCREMENT=10 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.navigation VALUES
(1,1,0,1,1,'Home','','',0,'weekly','',0,0.5),
(2,2,1,2,2,'About us','','',0,'weekly','',0,0.5),
(3,3,1,2,3,'News','','',0,'weekly','',0,0.5),
(4,4,1,2,4,'Terms of delivery','','',0,'weekly','',0,0.5),
(5,5,1,2,1,'Log in','','',0,'weekly','',0,0.5),
(6,6,2,3,1,'Shop','','',0,'weekly','',0,0.5),
(7,7,2,3,2,'Contact','','',0,'weekly','',0,0.5),
(8,8,3,3,1,'Catalogue','','',0,'weekly','',0,0.5),
(9,2,3,3,2,'Who we are','','',0,'weekly','',0,0.5);
-- table tw_1.setting
CREATE TABLE tw_1.`setting` (
  `settingid` int(11) NOT NULL AUTO_INCREMENT,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `string_value` varchar(255) NOT NULL DEFAULT '',
  `text` longtext DEFAULT NULL,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `float_value` double NOT NULL DEFAULT 0,
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
-- table tw_tarnwick.account
CREATE TABLE tw_tarnwick.`account` (
  `accountid` int(11) NOT NULL AUTO_INCREMENT,
  `siteid` int(11) DEFAULT NULL,
  `userid` int(11) DEFAULT NULL,
  `creditlimit` double NOT NULL DEFAULT 0,
  `currencyid` mediumint(9) NOT NULL DEFAULT 0,
  `dayscredit` mediumint(9) NOT NULL DEFAULT 0,
  `overdayscredit` tinyint(1) NOT NULL DEFAULT 0,
  `firstwarningsent` datetime DEFAULT '1001-01-01 00:00:00',
  `finalwarningsent` datetime DEFAULT '1001-01-01 00:00:00',
  `suggestedpayment` double NOT NULL DEFAULT 0,
  `currentbalance` double NOT NULL DEFAULT 0,
  `futurebalance` double NOT NULL DEFAULT 0,
  `pendingbalance` double NOT NULL DEFAULT 0,
  `suspended` tinyint(1) NOT NULL DEFAULT 0,
  `associatepercentage` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`accountid`),
  KEY `siteanduser` (`siteid`,`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=10004 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.account VALUES
(10001,1,1,1234567.89,1,30,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.1,19.99,-0.005,0,0,0.1),
(10003,1,3,0,1,0,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0,-1.9,0,0,0,7.5);
