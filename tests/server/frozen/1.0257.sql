-- An installation at 1.0257: the tables that differ from the version before it. Never changed.
-- table tw_1.attribute
CREATE TABLE tw_1.`attribute` (
  `attributeid` int(11) NOT NULL AUTO_INCREMENT,
  `tagid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(50) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`attributeid`),
  KEY `tagid_idx` (`tagid`)
) ENGINE=InnoDB AUTO_INCREMENT=32 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.attribute VALUES
(1,1,'color','#00f'),
(2,1,'height','20px'),
(3,1,'padding-left','3px'),
(4,1,'font-size','11px'),
(5,2,'color','#8b0000'),
(6,2,'text-decoration','underline'),
(7,3,'color','#123456'),
(8,5,'font-weight','bold'),
(9,5,'color','#696969'),
(10,6,'font-weight','normal'),
(11,6,'color','#c0c0c0'),
(12,7,'color','#000'),
(13,8,'font-weight','bold'),
(14,9,'background-color','#fff #fffsmoke'),
(15,10,'border-bottom','1px solid #f00'),
(16,12,'background-color','#f5f5f5'),
(19,16,'color','#fff'),
(20,17,'font-family','Verdana, white, sans-serif'),
(21,20,'border-top','2px dotted #b0c4de'),
(22,20,'background','url(images/orange.gif)'),
(23,20,'border-color','offwhite'),
(24,21,'color','#00f'),
(25,21,'font-size','11px'),
(27,3,'text-decoration','underline'),
(28,22,'font-weight','bold'),
(29,22,'color','#696969'),
(31,7,'font-weight','normal');
-- table tw_1.css
CREATE TABLE tw_1.`css` (
  `cssid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(100) NOT NULL DEFAULT '',
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`cssid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.css VALUES
(1,'screen',0),
(2,'print',0);
-- table tw_1.form_7
CREATE TABLE tw_1.`form_7` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_14` varchar(255) NOT NULL DEFAULT '',
  `field_15` varchar(255) NOT NULL DEFAULT '',
  `field_16` longtext NOT NULL DEFAULT '',
  `field_17` varchar(255) NOT NULL DEFAULT '',
  `field_17_filesize` double NOT NULL DEFAULT -1,
  `field_17_filetype` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_7 VALUES
(1,0,'2007-12-24 18:00:00','Siân Jones','sian@jones.example','Are you open tomorrow?','../files/letter.doc',77,'doc'),
(2,3,'2007-12-27 09:30:00','Jörg Müller','joerg@mueller.example','My order; where is it?','',-1,'');
-- table tw_1.form_8
CREATE TABLE tw_1.`form_8` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_1` varchar(255) NOT NULL DEFAULT '',
  `field_2` longtext NOT NULL DEFAULT '',
  `field_3` longtext NOT NULL DEFAULT '',
  `field_4` int(11) NOT NULL DEFAULT 0,
  `field_6` decimal(17,2) NOT NULL DEFAULT 0.00,
  `field_7` tinyint(1) NOT NULL DEFAULT 0,
  `field_8` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_9` varchar(255) NOT NULL DEFAULT '',
  `field_10` varchar(255) NOT NULL DEFAULT '',
  `field_11` int(11) NOT NULL DEFAULT 0,
  `field_12` int(11) NOT NULL DEFAULT 0,
  `field_13` int(11) NOT NULL DEFAULT 0,
  `field_5` double NOT NULL DEFAULT 0,
  `field_11_targetformid` int(11) NOT NULL DEFAULT 0,
  `field_9_filesize` double NOT NULL DEFAULT -1,
  `field_9_filetype` varchar(20) NOT NULL DEFAULT '',
  `field_10_filesize` double NOT NULL DEFAULT -1,
  `field_10_filetype` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`replyid`),
  KEY `field_11_targetformid_idx` (`field_11_targetformid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_8 VALUES
(1,1,'2007-05-01 10:00:00','The Lighthouse','A keeper\'s diary.','<p>A <b>keeper\'s</b> diary.</p>',312,19.99,-1,'2006-09-01 00:00:00','../files/lighthouse.pdf','../images/lighthouse.JPG',1,2,1,0.45,9,1234,'pdf',4321,'jpg'),
(2,1,'2007-05-02 11:30:00','Tides & Time','','',0,0.10,0,'2007-02-14 00:00:00','../files/lost.pdf','../images/tides.jpeg',2,0,0,1.1,9,-1,'',10,'jpeg'),
(3,2,'2007-06-20 15:05:00','Über das Meer','Gedichte','<p>Gedichte</p>',96,1234.50,-1,'1998-10-05 00:00:00','../files/../../secret.txt','',1,1,0,0.123456,9,-1,'',-1,''),
(4,2,'2007-07-09 08:15:00','Nets','','',150,7.00,0,'2001-01-01 00:00:00','http://elsewhere.example/nets.pdf','../images/no-extension',0,0,1,0,9,-1,'',0,'');
-- table tw_1.formtemplateviewfield
CREATE TABLE tw_1.`formtemplateviewfield` (
  `viewfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `formtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `formtemplateviewfieldtype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `hideitemifnooptions` tinyint(1) NOT NULL DEFAULT 0,
  `text` varchar(100) DEFAULT NULL,
  `displaytype` int(11) NOT NULL DEFAULT 0,
  `datamodtype` int(11) NOT NULL DEFAULT 0,
  `float_value` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`viewfieldid`),
  KEY `viewid_idx` (`viewid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateviewfield VALUES
(1,1,1,6,0,1,-1,NULL,0,0,0),
(2,1,2,7,0,2,-1,NULL,0,0,0),
(3,1,3,22,0,3,0,NULL,0,0,1),
(4,2,4,1,1,1,0,NULL,0,0,0);
-- table tw_1.layoutzonenavlevel
CREATE TABLE tw_1.`layoutzonenavlevel` (
  `zoneid` int(11) NOT NULL DEFAULT 0,
  `level` int(11) NOT NULL DEFAULT 0,
  `direction` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`zoneid`,`level`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.queryindex
CREATE TABLE tw_1.`queryindex` (
  `queryid` int(11) NOT NULL DEFAULT 0,
  `tabletype` int(11) NOT NULL DEFAULT 0,
  `srctableid` int(11) NOT NULL DEFAULT 0,
  `srcfieldid` int(11) NOT NULL DEFAULT 0,
  `indextype` int(11) NOT NULL DEFAULT 0,
  KEY `queryid_idx` (`queryid`),
  KEY `srctableid_idx` (`srctableid`),
  KEY `srcfieldid_idx` (`srcfieldid`)
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
  `float_value` double NOT NULL DEFAULT 0,
  `textlen` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`settingid`),
  KEY `overrideid_idx` (`overrideid`),
  KEY `name_idx` (`name`(15))
) ENGINE=InnoDB AUTO_INCREMENT=41 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.setting VALUES
(3,3,'ShowBillingName','boolean','',NULL,-1,0,0),
(4,3,'ShowBillingOrganization','boolean','',NULL,0,0,0),
(5,3,'ShowBillingAddress','boolean','',NULL,-1,0,0),
(6,3,'ShowBillingCountry','boolean','',NULL,-1,0,0),
(7,3,'ShowBillingPostCode','boolean','',NULL,-1,0,0),
(8,3,'ShowBillingEmail','boolean','',NULL,-1,0,0),
(9,3,'ShowBillingTelephone','boolean','',NULL,0,0,0),
(10,3,'ShowShippingName','boolean','',NULL,-1,0,0),
(11,3,'ShowShippingAddress','boolean','',NULL,-1,0,0),
(12,3,'DefaultCountryId','integer','',NULL,77,0,0),
(13,4,'ForgottenPasswordText','text','','Forgotten your password? Ask for a new one.',0,0,0),
(14,4,'InvalidLogInText','text','','That name or password isn\'t right.',0,0,0),
(15,4,'RegistrationText','text','','New here? Register now.',0,0,0),
(16,5,'FindResultsPhrase','text','','You searched for: ',0,0,0),
(19,7,'TargetInstanceId','integer','',NULL,1,0,0),
(20,8,'DirectURLReplacementChar','string','_',NULL,0,0,0),
(22,9,'HideNavIfOverrides','boolean','',NULL,-1,0,0),
(24,10,'TargetInstanceId','integer','',NULL,0,0,0),
(26,7,'TargetInstanceIds','text','','1',0,0,0),
(27,1,'LayoutElementType','integer','',NULL,1,0,0),
(28,1,'LayoutElementIds','text','','1,3',0,0,0),
(29,2,'LayoutElementType','integer','',NULL,1,0,0),
(30,2,'LayoutElementIds','text','','5',0,0,0),
(31,3,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9',NULL,0,0,0),
(32,3,'ShippingDisplaySequence','string','0,1,2,3,4,5,6',NULL,0,0,0),
(33,11,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0,0),
(34,11,'ShippingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0,0),
(35,8,'FormFeatureId','integer','',NULL,7,0,0),
(36,12,'FormFeatureId','integer','',NULL,8,0,0),
(37,13,'FormFeatureId','integer','',NULL,9,0,0),
(38,5,'WordMatchType','integer','',NULL,1,0,0),
(39,10,'WordMatchType','integer','',NULL,0,0,0);
-- table tw_1.tag
CREATE TABLE tw_1.`tag` (
  `tagid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(255) NOT NULL DEFAULT '',
  `templateid` int(11) NOT NULL DEFAULT 0,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `cssid` int(11) NOT NULL DEFAULT 0,
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  `media` int(11) NOT NULL DEFAULT 0,
  `subownerid` int(11) NOT NULL DEFAULT 0,
  `cssorder` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`tagid`),
  KEY `cssid_idx` (`cssid`),
  KEY `templateid_idx` (`templateid`),
  KEY `overrideid_idx` (`overrideid`)
) ENGINE=InnoDB AUTO_INCREMENT=23 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.tag VALUES
(1,'span.TreeLink',20,0,1,0,0,0,0),
(2,'span.TreeLink:Hover',20,0,1,0,0,0,0),
(3,'div.twTreeNode span.SiteTreeLink[suffix]:Hover',20,0,1,0,0,0,0),
(4,'SPAN.TREELINK',20,0,1,0,0,0,0),
(5,'.heading',20,1,1,0,0,0,0),
(6,'.subheading',20,1,1,0,0,0,0),
(7,'h2',0,1,1,0,0,0,0),
(8,'.heading',20,0,1,0,0,0,0),
(9,'.LOnavlink1 A',20,1,1,0,0,1,0),
(10,'.LOheading12',20,1,1,0,0,2,0),
(11,'.LOheading1',20,1,1,0,0,0,0),
(12,'.LOzone3',20,1,1,0,0,3,0),
(14,'.LOnavlink99',20,1,1,0,0,0,0),
(15,'.LOnavdivider2',20,1,2,0,0,2,0),
(16,'.LOpage',20,0,1,0,0,0,50),
(17,'BODY.basefont',20,0,1,0,0,0,500),
(18,'.emptybasketlink',20,0,1,0,0,0,550),
(19,'.returntobasketlink A',20,0,1,0,0,0,550),
(20,'TABLE.pricelist',20,0,2,0,0,0,0),
(21,'div.twTreeNode span.SiteTreeLink[suffix]',20,0,0,0,0,0,0),
(22,'h1',20,1,0,0,0,0,0);
-- table tw_tarnwick.emailerror
CREATE TABLE tw_tarnwick.`emailerror` (
  `errorid` int(11) NOT NULL AUTO_INCREMENT,
  `errortime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `error` varchar(255) NOT NULL DEFAULT '',
  `subject` varchar(255) NOT NULL DEFAULT '',
  `tolist` longtext NOT NULL DEFAULT '',
  `cclist` longtext NOT NULL DEFAULT '',
  `bcclist` longtext NOT NULL DEFAULT '',
  `fromlist` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`errorid`),
  KEY `errortime_idx` (`errortime`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.installation
CREATE TABLE tw_tarnwick.`installation` (
  `version` double NOT NULL DEFAULT 0,
  `webmasterusername` varchar(50) NOT NULL DEFAULT '',
  `webmasterpassword` varchar(50) NOT NULL DEFAULT '',
  `mailserver` varchar(50) NOT NULL DEFAULT '',
  `mailserverport` int(11) NOT NULL DEFAULT 25,
  `infotamelock` varchar(20) NOT NULL DEFAULT '',
  `reporterrors` tinyint(1) NOT NULL DEFAULT 0,
  `webips` varchar(255) NOT NULL DEFAULT '',
  `webports` varchar(100) NOT NULL DEFAULT '',
  `mailserverusername` varchar(50) NOT NULL DEFAULT '',
  `mailserverpassword` varchar(255) NOT NULL DEFAULT '',
  `base` varchar(20) NOT NULL DEFAULT '',
  `mailserverencryption` tinyint(1) NOT NULL DEFAULT 0
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.installation VALUES
(1,'webmaster','changeit','mail.tarnwick.example',25,'',-1,'192.0.2.10,192.0.2.11','80','','','',0);
