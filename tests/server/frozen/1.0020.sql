-- An installation at 1.0020: the tables that differ from the version before it. Never changed.
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
  PRIMARY KEY (`navigationid`),
  KEY `featureid_idx` (`featureid`),
  KEY `parentid_idx` (`parentid`),
  KEY `level_idx` (`level`),
  KEY `sequence_idx` (`sequence`)
) ENGINE=InnoDB AUTO_INCREMENT=10 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.navigation VALUES
(1,1,0,1,1,'Home','',''),
(2,2,1,2,2,'About us','',''),
(3,3,1,2,3,'News','',''),
(4,4,1,2,4,'Terms of delivery','',''),
(5,5,1,2,1,'Log in','',''),
(6,6,2,3,1,'Shop','',''),
(7,7,2,3,2,'Contact','',''),
(8,8,3,3,1,'Catalogue','',''),
(9,2,3,3,2,'Who we are','','');
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
) ENGINE=InnoDB AUTO_INCREMENT=27 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.setting VALUES
(1,1,'ExplicitLayoutElements','text','','1,3,99',0,0),
(2,2,'ExplicitLayoutElements','text','','2',0,0),
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
(26,7,'TargetInstanceIds','text','','1',0,0);
