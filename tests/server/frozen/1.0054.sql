-- An installation at 1.0054: the tables that differ from the version before it. Never changed.
-- table tw_1.customerorder
CREATE TABLE tw_1.`customerorder` (
  `orderid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `currencyid` int(11) NOT NULL DEFAULT 0,
  `grossamount` decimal(17,2) NOT NULL DEFAULT 0.00,
  `chargetotal` decimal(17,2) NOT NULL DEFAULT 0.00,
  `completed` tinyint(1) NOT NULL DEFAULT 0,
  `locked` tinyint(1) NOT NULL DEFAULT 0,
  `billingname` varchar(100) NOT NULL DEFAULT '',
  `billingorganization` varchar(100) NOT NULL DEFAULT '',
  `billingaddress` varchar(255) NOT NULL DEFAULT '',
  `billingcountry` varchar(100) NOT NULL DEFAULT '',
  `billingpostcode` varchar(20) NOT NULL DEFAULT '',
  `billingtelephone` varchar(50) NOT NULL DEFAULT '',
  `billingemail` varchar(100) NOT NULL DEFAULT '',
  `shippingname` varchar(100) NOT NULL DEFAULT '',
  `shippingorganization` varchar(100) NOT NULL DEFAULT '',
  `shippingaddress` varchar(255) NOT NULL DEFAULT '',
  `shippingcountry` varchar(100) NOT NULL DEFAULT '',
  `shippingpostcode` varchar(20) NOT NULL DEFAULT '',
  `shippingemail` varchar(100) NOT NULL DEFAULT '',
  `billingaddress1` varchar(100) NOT NULL DEFAULT '',
  `billingaddress2` varchar(100) NOT NULL DEFAULT '',
  `billingtown` varchar(100) NOT NULL DEFAULT '',
  `billingcounty` varchar(100) NOT NULL DEFAULT '',
  `customerpurchasenumber` varchar(100) NOT NULL DEFAULT '',
  `shippingaddress1` varchar(100) NOT NULL DEFAULT '',
  `shippingaddress2` varchar(100) NOT NULL DEFAULT '',
  `shippingtown` varchar(100) NOT NULL DEFAULT '',
  `shippingcounty` varchar(100) NOT NULL DEFAULT '',
  `shippingtelephone` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`orderid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.customerorder VALUES
(1,6,3,'2007-12-01 12:00:00',1,24.98,4.99,-1,-1,'Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','Germany','20457','+49 40 555 123','joerg@mueller.example','Jörg Müller','','Hafenstraße 12, Hamburg','Germany','20457','','','','','','','','','','',''),
(2,6,0,'2007-12-11 09:41:00',1,0.10,0.00,-1,0,'Test','','Test','United Kingdom','','','ann@www.site1.example','','','','','','','','','','','','','','','',''),
(3,14,2,'2008-01-02 14:20:00',2,1234.57,12.50,0,0,'Piet O\'Brien','','','','','','','','','','','','','','','','','','','','','','');
-- table tw_1.datafeedfield
CREATE TABLE tw_1.`datafeedfield` (
  `fieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `prompt` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`fieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.datafeedfield VALUES
(1,16,'Billing Address',1),
(2,16,'Shipping Address',2),
(3,16,'Address',3),
(4,16,'Address 10',4),
(5,16,'Name',5);
-- table tw_1.override
CREATE TABLE tw_1.`override` (
  `overrideid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`overrideid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=12 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.override VALUES
(9,1),
(6,2),
(10,3),
(4,5),
(3,6),
(8,7),
(5,10),
(1,11),
(2,12),
(11,14),
(7,16);
-- table tw_1.security
CREATE TABLE tw_1.`security` (
  `userid` int(11) NOT NULL AUTO_INCREMENT,
  `username` varchar(50) NOT NULL DEFAULT '',
  `password` varchar(50) NOT NULL DEFAULT '',
  `name` varchar(100) NOT NULL DEFAULT '',
  `organization` varchar(100) NOT NULL DEFAULT '',
  `address` varchar(255) NOT NULL DEFAULT '',
  `postcode` varchar(20) NOT NULL DEFAULT '',
  `countryid` int(11) NOT NULL DEFAULT 0,
  `telephone` varchar(50) NOT NULL DEFAULT '',
  `email` varchar(100) NOT NULL DEFAULT '',
  `validationstate` int(11) NOT NULL DEFAULT 0,
  `validated` tinyint(1) NOT NULL DEFAULT 0,
  `address1` varchar(100) NOT NULL DEFAULT '',
  `address2` varchar(100) NOT NULL DEFAULT '',
  `town` varchar(100) NOT NULL DEFAULT '',
  `county` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.security VALUES
(1,'admin','5f4dcc3b','Ann Fielding','Abbey Print Shop','1 Quay Street, Whitby','YO21 3PU',77,'01947 555010','ann@www.site1.example',0,0,'','','',''),
(2,'editor','7c6a180b','Piet O\'Brien','','','',77,'','piet@www.site1.example',0,0,'','','',''),
(3,'j.mueller','6cb75f65','Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','20457',54,'+49 40 555 123','joerg@mueller.example',0,0,'','','','');
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
) ENGINE=InnoDB AUTO_INCREMENT=35 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
(34,11,'ShippingDisplaySequence','string','0,1,2,3,4,5,6,7,8,9,10',NULL,0,0);
