-- An installation at 1.0091: the tables that differ from the version before it. Never changed.
-- table tw_1.featuresetting
CREATE TABLE tw_1.`featuresetting` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`,`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.formfieldexpressionfield
CREATE TABLE tw_1.`formfieldexpressionfield` (
  `expressionfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `formfieldid` int(11) NOT NULL DEFAULT 0,
  `prefix` varchar(255) NOT NULL DEFAULT '',
  `suffix` varchar(255) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `prefixlen` int(11) NOT NULL DEFAULT 0,
  `suffixlen` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`expressionfieldid`),
  KEY `formfieldid_idx` (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfieldexpressionfield VALUES
(1,1,'Title: ','  .',1,7,3),
(2,4,'','',2,0,0),
(3,6,'Größe ',' €',3,8,4);
-- table tw_1.override
CREATE TABLE tw_1.`override` (
  `overrideid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`overrideid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=14 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.override VALUES
(9,1),
(6,2),
(10,3),
(4,5),
(3,6),
(8,7),
(12,8),
(13,9),
(5,10),
(1,11),
(2,12),
(11,14),
(7,16);
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
(30,2,'LayoutElementIds','text','','5',0,0),
(31,3,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9',NULL,0,0),
(32,3,'ShippingDisplaySequence','string','0,1,2,3,4,5,6',NULL,0,0),
(33,11,'BillingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0),
(34,11,'ShippingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0),
(35,8,'FormFeatureId','integer','',NULL,7,0),
(36,12,'FormFeatureId','integer','',NULL,8,0),
(37,13,'FormFeatureId','integer','',NULL,9,0);
