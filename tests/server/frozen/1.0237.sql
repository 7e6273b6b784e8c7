-- An installation at 1.0237: the tables that differ from the version before it. Never changed.
-- table tw_1.chargegroup
CREATE TABLE tw_1.`chargegroup` (
  `groupid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `validfrom` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `validuntil` datetime NOT NULL DEFAULT '3000-01-01 00:00:00',
  PRIMARY KEY (`groupid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargegroup VALUES
(1,6,'O\'Neill\'s surcharge',0,'1000-01-01 00:00:00','3000-01-01 00:00:00'),
(2,6,'Packing',1,'1000-01-01 00:00:00','3000-01-01 00:00:00'),
(3,6,'Delivery "next day"',2,'1000-01-01 00:00:00','3000-01-01 00:00:00'),
(4,14,'Delivery',2,'1000-01-01 00:00:00','3000-01-01 00:00:00');
-- table tw_1.directurl
CREATE TABLE tw_1.`directurl` (
  `directurlid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `navigationid` int(11) NOT NULL DEFAULT 0,
  `url` varchar(255) NOT NULL DEFAULT '',
  `canonical` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`directurlid`),
  KEY `featureid_idx` (`featureid`),
  KEY `url_idx` (`url`(20))
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.directurl VALUES
(1,2,2,'about-us',-1),
(2,7,7,'write-to-us',0),
(3,2,9,'about-us',-1),
(4,7,7,'contact',-1);
-- table tw_1.formfield
CREATE TABLE tw_1.`formfield` (
  `formfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `options` int(11) NOT NULL DEFAULT 0,
  `defaultvalue` longtext NOT NULL DEFAULT '',
  `targetformfeatureid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `blankoptiontext` varchar(255) NOT NULL DEFAULT '',
  `indexed` tinyint(1) NOT NULL DEFAULT 0,
  `targetqueryfeatureid` int(11) NOT NULL DEFAULT 0,
  `targetqueryvaluefieldid` int(11) NOT NULL DEFAULT 0,
  `targetquerytextfieldid` int(11) NOT NULL DEFAULT 0,
  `pageparamcompletion` int(11) NOT NULL DEFAULT 0,
  `pageparamtype` int(11) NOT NULL DEFAULT 0,
  `targetformtextfieldid` int(11) NOT NULL DEFAULT 0,
  `targetformorderbyfieldid` int(11) NOT NULL DEFAULT 0,
  `targetformorderbytype` varchar(10) NOT NULL DEFAULT '',
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `directurlreplacementchar` char(1) NOT NULL DEFAULT '-',
  `directurlreplacedotandq` tinyint(1) NOT NULL DEFAULT 0,
  `maxlength` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfield VALUES
(1,8,'Title','text',1,'',0,1,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(2,8,'Summary','memo',0,'0',0,2,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(3,8,'Description','dhtml',0,'',0,3,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(4,8,'Pages','integer',8,'0',0,4,'',0,0,0,0,1,1,0,0,'',0,'-',0,0),
(5,8,'Weight','float',15,'0.5',0,5,'0.5',0,0,0,0,1,0,0,0,'',0,'-',0,0),
(6,8,'Price','currency',16,'9.99',0,6,'9.99',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(7,8,'In stock','boolean',7,'0',0,7,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(8,8,'Published','date',24,'',0,8,'',0,0,0,0,1,0,0,0,'',0,'-',0,0),
(9,8,'Sample chapter','file',0,'',0,9,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(10,8,'Cover','image',0,'',0,10,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(11,8,'Publisher','formlink',0,'0',9,11,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(12,8,'Related books','multiformlink',31,'0',8,12,'',0,0,0,0,1,0,0,0,'',0,'-',0,0),
(13,8,'Series','productfamily',37,'0',8,13,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(14,7,'Name','text',1,'Visitor\'s name',0,1,'Visitor\'s name',0,0,0,0,0,0,0,0,'',0,'_',0,0),
(15,7,'E-mail','text',1,'',0,2,'',0,0,0,0,0,0,0,0,'',0,'_',0,0),
(16,7,'Message','memo',1,'',0,3,'',0,0,0,0,0,0,0,0,'',0,'_',0,0),
(17,7,'Attachment','file',0,'',0,4,'',0,0,0,0,0,0,0,0,'',0,'_',0,0),
(18,9,'Name','text',1,'',0,1,'',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(19,9,'Town','text',0,'London',0,2,'London',0,0,0,0,0,0,0,0,'',0,'-',0,0),
(20,9,'Founded','integer',0,'1900',0,3,'1900',0,0,0,0,0,1,0,0,'',0,'-',0,0),
(21,9,'Imprints','productfamily',37,'0',9,4,'',0,0,0,0,0,0,0,0,'',0,'-',0,0);
-- table tw_1.formtemplatefield
CREATE TABLE tw_1.`formtemplatefield` (
  `formtemplatefieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `linkformtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `linktype` int(11) NOT NULL DEFAULT 0,
  `hovertype` int(11) NOT NULL DEFAULT 0,
  `hovertarget` varchar(100) NOT NULL DEFAULT '',
  `hoverqueryfieldid` int(11) NOT NULL DEFAULT 0,
  `hovernewwin` tinyint(1) NOT NULL DEFAULT 0,
  `hoverallparams` tinyint(1) NOT NULL DEFAULT -1,
  `prefix` varchar(100) NOT NULL DEFAULT '',
  `suffix` varchar(100) NOT NULL DEFAULT '',
  `charreplacement` varchar(10) NOT NULL DEFAULT '',
  `prefixlen` int(11) NOT NULL DEFAULT 0,
  `suffixlen` int(11) NOT NULL DEFAULT 0,
  `linkrel` varchar(50) NOT NULL DEFAULT '',
  `linktitlequeryfieldid` int(11) NOT NULL DEFAULT 0,
  `groupby` varchar(20) NOT NULL DEFAULT '',
  `replacedotandq` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formtemplatefieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplatefield VALUES
(1,18,1,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,'',0),
(2,18,2,1,2,1,0,'',0,0,-1,'','','',0,0,'',0,'',0),
(3,18,3,0,3,0,0,'',0,0,-1,'','','',0,0,'',0,'',0),
(4,19,4,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,'',0);
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
(2,2,1,2,2,'About us','','about-us',0,'weekly','',0,0.5),
(3,3,1,2,3,'News','','',0,'weekly','',0,0.5),
(4,4,1,2,4,'Terms of delivery','','',0,'weekly','',0,0.5),
(5,5,1,2,1,'Log in','','',0,'weekly','',0,0.5),
(6,6,2,3,1,'Shop','','',0,'weekly','',0,0.5),
(7,7,2,3,2,'Contact','','contact',0,'weekly','',0,0.5),
(8,8,3,3,1,'Catalogue','','',0,'weekly','',0,0.5),
(9,2,3,3,2,'Who we are','','about-us',0,'weekly','',0,0.5);
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
) ENGINE=InnoDB AUTO_INCREMENT=38 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
(19,7,'TargetInstanceId','integer','',NULL,1,0),
(20,8,'DirectURLReplacementChar','string','_',NULL,0,0),
(22,9,'HideNavIfOverrides','boolean','',NULL,-1,0),
(24,10,'TargetInstanceId','integer','',NULL,0,0),
(25,10,'IgnoreWordFragments','boolean','',NULL,0,0),
(26,7,'TargetInstanceIds','text','','1',0,0),
(27,1,'LayoutElementType','integer','',NULL,1,0),
(28,1,'LayoutElementIds','text','','1,3',0,0),
(29,2,'LayoutElementType','integer','',NULL,1,0),
(30,2,'LayoutElementIds','text','','5',0,0),
(31,3,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9',NULL,0,0),
(32,3,'ShippingDisplaySequence','string','0,1,2,3,4,5,6',NULL,0,0),
(33,11,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0),
(34,11,'ShippingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0),
(35,8,'FormFeatureId','integer','',NULL,7,0),
(36,12,'FormFeatureId','integer','',NULL,8,0),
(37,13,'FormFeatureId','integer','',NULL,9,0);
