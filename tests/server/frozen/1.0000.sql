-- An installation at 1.0000: the tables that differ from the version before it. Never changed.
-- table tw_1.accesscodeaccount
CREATE TABLE tw_1.`accesscodeaccount` (
  `accesscodeid` int(11) NOT NULL AUTO_INCREMENT,
  `accesscode` varchar(50) NOT NULL DEFAULT '',
  `userid` int(11) NOT NULL DEFAULT 0,
  `associatepercentage` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`accesscodeid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.accesscodeaccount VALUES
(1,'SEAGULL',3,7.5),
(2,'ANCHOR',2,0.1);
-- table tw_1.attribute
CREATE TABLE tw_1.`attribute` (
  `attributeid` int(11) NOT NULL AUTO_INCREMENT,
  `tagid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(50) NOT NULL DEFAULT '',
  `value` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`attributeid`)
) ENGINE=InnoDB AUTO_INCREMENT=24 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.attribute VALUES
(1,1,'color','blue'),
(2,1,'height','20px'),
(3,1,'padding-left','3px'),
(4,1,'font-size','11px'),
(5,2,'color','DarkRed'),
(6,2,'text-decoration','underline'),
(7,3,'color','#123456'),
(8,5,'font-weight','bold'),
(9,5,'color','dimgray'),
(10,6,'font-weight','normal'),
(11,6,'color','silver'),
(12,7,'color','Black'),
(13,8,'font-weight','bold'),
(14,9,'background-color','white whitesmoke'),
(15,10,'border-bottom','1px solid RED'),
(16,12,'background-color','whitesmoke'),
(17,13,'background-color','lightyellow'),
(18,13,'width','180px'),
(19,16,'color','#fff'),
(20,17,'font-family','Verdana, white, sans-serif'),
(21,20,'border-top','2px dotted LightSteelBlue'),
(22,20,'background','url(images/orange.gif)'),
(23,20,'border-color','offwhite');
-- table tw_1.basket
CREATE TABLE tw_1.`basket` (
  `basketid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`basketid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.basket VALUES
(1,6,3,1,'2007-12-01 11:50:00'),
(2,6,0,2,'2007-12-11 09:40:00'),
(3,14,2,3,'2008-01-02 14:00:00'),
(4,6,0,0,'2008-01-03 20:11:00');
-- table tw_1.cache
CREATE TABLE tw_1.`cache` (
  `cacheid` int(11) NOT NULL AUTO_INCREMENT,
  `type` int(11) NOT NULL DEFAULT 0,
  `templateid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`cacheid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.cache VALUES
(1,0,20),
(2,0,0),
(3,2,20),
(4,2,20),
(5,2,0),
(6,1,20);
-- table tw_1.cachegrantpermission
CREATE TABLE tw_1.`cachegrantpermission` (
  `cacheid` int(11) NOT NULL DEFAULT 0,
  `groupid` int(11) NOT NULL DEFAULT 0,
  `permissiontype` int(11) NOT NULL DEFAULT 0
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.cachegrantpermission VALUES
(3,1,1),
(4,2,1),
(5,3,4);
-- table tw_1.cachesetting
CREATE TABLE tw_1.`cachesetting` (
  `cacheid` int(11) NOT NULL DEFAULT 0,
  `settingid` int(11) NOT NULL DEFAULT 0
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.cachesetting VALUES
(1,12),
(3,3);
-- table tw_1.charge
CREATE TABLE tw_1.`charge` (
  `chargeid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `chargetype` int(11) NOT NULL DEFAULT 0,
  `chargecat` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`chargeid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.charge VALUES
(1,6,'Packing',1,1,1),
(2,6,'Delivery "next day"',1,1,2),
(3,6,'O\'Neill\'s surcharge',2,1,0),
(4,14,'Delivery',1,2,2);
-- table tw_1.chargeregion
CREATE TABLE tw_1.`chargeregion` (
  `regionid` int(11) NOT NULL AUTO_INCREMENT,
  `chargeid` int(11) NOT NULL DEFAULT 0,
  `countryid` int(11) NOT NULL DEFAULT 0,
  `price` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`regionid`),
  KEY `chargeid_idx` (`chargeid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargeregion VALUES
(1,2,77,4.99),
(2,2,54,9.95),
(3,1,0,0.1);
-- table tw_1.chargeregionvalueband
CREATE TABLE tw_1.`chargeregionvalueband` (
  `bandid` int(11) NOT NULL AUTO_INCREMENT,
  `regionid` int(11) NOT NULL DEFAULT 0,
  `bandstart` float NOT NULL DEFAULT 0,
  `price` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`bandid`),
  KEY `regionid_idx` (`regionid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargeregionvalueband VALUES
(1,1,0,4.99),
(2,1,19.99,2.5),
(3,1,50,0);
-- table tw_1.chargetocharge
CREATE TABLE tw_1.`chargetocharge` (
  `chargeid` int(11) NOT NULL,
  `applytochargeid` int(11) NOT NULL,
  PRIMARY KEY (`chargeid`,`applytochargeid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargetocharge VALUES
(1,2),
(2,1),
(3,2),
(4,3);
-- table tw_1.chargetoitemtype
CREATE TABLE tw_1.`chargetoitemtype` (
  `chargeid` int(11) NOT NULL,
  `applytoitemtypeid` int(11) NOT NULL,
  PRIMARY KEY (`chargeid`,`applytoitemtypeid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargetoitemtype VALUES
(1,5),
(2,5),
(2,6);
-- table tw_1.commission
CREATE TABLE tw_1.`commission` (
  `commissionid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `percentage` float NOT NULL DEFAULT 0,
  `commission` float NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`commissionid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.commission VALUES
(1,1,3,7.5,1.87,'2007-12-01 12:03:10'),
(2,2,3,33.3333,0.03,'2007-12-11 09:42:00'),
(3,0,3,5,2.5,'2008-01-01 00:00:00');
-- table tw_1.contentupdate
CREATE TABLE tw_1.`contentupdate` (
  `updateid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `updatetime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`updateid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.contentupdate VALUES
(1,1,1,'2008-01-07 09:00:00'),
(2,3,2,'2008-01-09 17:45:10');
-- table tw_1.css
CREATE TABLE tw_1.`css` (
  `cssid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(100) NOT NULL DEFAULT '',
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`cssid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.css VALUES
(1,'screen',-1),
(2,'print',-1);
-- table tw_1.customerorder
CREATE TABLE tw_1.`customerorder` (
  `orderid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `currencyid` int(11) NOT NULL DEFAULT 0,
  `grossamount` float NOT NULL DEFAULT 0,
  `chargetotal` float NOT NULL DEFAULT 0,
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
  PRIMARY KEY (`orderid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.customerorder VALUES
(1,6,3,'2007-12-01 12:00:00',1,24.98,4.99,-1,-1,'Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','Germany','20457','+49 40 555 123','joerg@mueller.example','Jörg Müller','','Hafenstraße 12, Hamburg','Germany','20457',''),
(2,6,0,'2007-12-11 09:41:00',1,0.1,0,-1,0,'Test','','Test','United Kingdom','','','ann@www.site1.example','','','','','',''),
(3,14,2,'2008-01-02 14:20:00',2,1234.57,12.5,0,0,'Piet O\'Brien','','','','','','','','','','','','');
-- table tw_1.datafeedfield
CREATE TABLE tw_1.`datafeedfield` (
  `fieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `prompt` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`fieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.datafeedfield VALUES
(1,16,'Billing Address 1',1),
(2,16,'Shipping Address 1',2),
(3,16,'Address 1',3),
(4,16,'Address 10',4),
(5,16,'Name',5);
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
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.directurl VALUES
(1,2,2,'about-us',0),
(2,7,7,'write-to-us',0);
-- table tw_1.domain
CREATE TABLE tw_1.`domain` (
  `domainid` int(11) NOT NULL AUTO_INCREMENT,
  `domainname` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`domainid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.domain VALUES
(1,'www.site1.example');
-- table tw_1.domaingroup
CREATE TABLE tw_1.`domaingroup` (
  `groupid` int(11) NOT NULL DEFAULT 0,
  `domainid` int(11) NOT NULL DEFAULT 0,
  `domaingrouptype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`groupid`,`domainid`,`domaingrouptype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.domaingroup VALUES
(2,1,0);
-- table tw_1.email
CREATE TABLE tw_1.`email` (
  `emailid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` varchar(50) NOT NULL DEFAULT '',
  `fromlist` varchar(255) DEFAULT NULL,
  `tolist` longtext DEFAULT NULL,
  `cclist` longtext DEFAULT NULL,
  `bcclist` longtext DEFAULT NULL,
  `subject` varchar(255) DEFAULT NULL,
  `message` longtext DEFAULT NULL,
  PRIMARY KEY (`emailid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.email VALUES
(1,15,'resetpassword','admin@www.site1.example','<#User.email#>',NULL,NULL,'Your new password','Dear <#User.name#>,\r\nit\'s "<#Password#>".'),
(2,6,'orderconfirmation','Abbey Print Shop <shop@www.site1.example>','<#OrderDetails:Name=E-mail,Id=billingemail#>','',NULL,'Order <#OrderDetails:Name=Order number,Id=orderid#>','<b>Thank you</b>, <#OrderDetails:Name=Customer,Id=billingname#>!\r\nTotal: &lt;#OrderDetails:Name=Total,Id=total#&gt;\r\nNote: <#OrderDetails:Name=Gift note,Id=giftnote#>'),
(3,6,'postorderpayment','shop@www.site1.example','<#Embed.17.12:E-mail#>',NULL,'accounts@www.site1.example','Payment received','We received <#OrderDetails:Name=Amount,Id=paymentamount#>.'),
(4,6,'postorderpayment','shop@www.site1.example','accounts@www.site1.example',NULL,NULL,'A payment came in','C:\\orders\\<#Embed.17.0:Order number#>.txt'),
(5,7,'formnotification',NULL,NULL,NULL,NULL,NULL,NULL),
(6,14,'postorderpayment','trade@www.site1.example','trade@www.site1.example','','','Trade payment','Paid.');
-- table tw_1.emailevent
CREATE TABLE tw_1.`emailevent` (
  `eventpartid` int(11) NOT NULL DEFAULT 0,
  `emailid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`,`emailid`),
  KEY `emailid_idx` (`emailid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.emailevent VALUES
(1,1),
(2,2),
(3,5),
(4,6);
-- table tw_1.event
CREATE TABLE tw_1.`event` (
  `eventid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`eventid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.event VALUES
(1,15,'Reset Password'),
(2,6,'Order Placed'),
(3,7,'Form Record Change'),
(4,14,'Order Payment');
-- table tw_1.eventpart
CREATE TABLE tw_1.`eventpart` (
  `eventpartid` int(11) NOT NULL AUTO_INCREMENT,
  `eventid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`),
  KEY `eventid_idx` (`eventid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.eventpart VALUES
(1,1,1,'Reset password email',1),
(2,2,1,'Order email',1),
(3,3,1,'Notification',1),
(4,4,1,'Order payment email',1);
-- table tw_1.externallookupfeedfield
CREATE TABLE tw_1.`externallookupfeedfield` (
  `fieldid` int(11) NOT NULL DEFAULT 0,
  `requestparamname` varchar(255) NOT NULL DEFAULT '',
  `responsexpath` varchar(255) NOT NULL DEFAULT '',
  UNIQUE KEY `fieldid_idx` (`fieldid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.externallookupfeedfield VALUES
(1,'street','/address/line[1]'),
(4,'','/address/line[10]'),
(5,'name','/address/name');
-- table tw_1.feature
CREATE TABLE tw_1.`feature` (
  `featureid` int(11) NOT NULL AUTO_INCREMENT,
  `componentid` int(11) NOT NULL DEFAULT 0,
  `featurename` varchar(255) NOT NULL DEFAULT '',
  `navigationstyle` varchar(50) NOT NULL DEFAULT '',
  `deadlink` tinyint(1) NOT NULL DEFAULT 0,
  `redirecturl` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`featureid`),
  KEY `componentid_idx` (`componentid`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.feature VALUES
(1,400,'Home','LONavTop',0,''),
(2,400,'About us','LONavSide',0,''),
(3,500,'News','LONavSide',0,''),
(4,500,'Terms of delivery','LONavHidden',0,''),
(5,100,'Log in','LONavTop',0,''),
(6,1000,'Shop','LONavTop',0,''),
(7,800,'Contact form','LONavSide',0,''),
(8,800,'Book catalogue','LONavSide',0,''),
(9,800,'Publishers','LONavHidden',0,''),
(10,300,'Search','LONavTop',0,''),
(11,1200,'Standard layout','',0,''),
(12,1200,'Landing page layout','',0,''),
(13,1450,'Readers\' forum','LONavTop',0,''),
(14,1000,'Trade counter','LONavHidden',0,''),
(15,100,'Members\' area','LONavHidden',0,''),
(16,2600,'Price feed','LONavHidden',0,''),
(17,700,'Spring sale','LONavSide',-1,'http://www.site1.example/shop'),
(18,900,'New books','LONavSide',0,''),
(19,3700,'Publishers by town','LONavSide',0,''),
(20,1200,'House style','',0,''),
(21,900,'All books','LONavSide',0,'');
-- table tw_1.featurecache
CREATE TABLE tw_1.`featurecache` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `cacheid` int(11) NOT NULL DEFAULT 0
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.featurecache VALUES
(1,1),
(2,1),
(1,3),
(2,4),
(3,5),
(3,6);
-- table tw_1.form
CREATE TABLE tw_1.`form` (
  `formfeatureid` int(11) NOT NULL DEFAULT 0,
  `securefiles` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formfeatureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form VALUES
(7,-1),
(8,0),
(9,0);
-- table tw_1.form_7
CREATE TABLE tw_1.`form_7` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_14` varchar(255) NOT NULL DEFAULT '',
  `field_15` varchar(255) NOT NULL DEFAULT '',
  `field_16` text NOT NULL DEFAULT '',
  `field_17` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_7 VALUES
(1,0,'2007-12-24 18:00:00','Siân Jones','sian@jones.example','Are you open tomorrow?','../files/letter.doc'),
(2,3,'2007-12-27 09:30:00','Jörg Müller','joerg@mueller.example','My order; where is it?','');
-- table tw_1.form_8
CREATE TABLE tw_1.`form_8` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_1` varchar(255) NOT NULL DEFAULT '',
  `field_2` text NOT NULL DEFAULT '',
  `field_3` text NOT NULL DEFAULT '',
  `field_4` int(11) NOT NULL DEFAULT 0,
  `field_5` float NOT NULL DEFAULT 0,
  `field_6` float NOT NULL DEFAULT 0,
  `field_7` tinyint(1) NOT NULL DEFAULT 0,
  `field_8` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_9` varchar(255) NOT NULL DEFAULT '',
  `field_10` varchar(255) NOT NULL DEFAULT '',
  `field_11` int(11) NOT NULL DEFAULT 0,
  `field_12` int(11) NOT NULL DEFAULT 0,
  `field_13` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_8 VALUES
(1,1,'2007-05-01 10:00:00','The Lighthouse','A keeper\'s diary.','<p>A <b>keeper\'s</b> diary.</p>',312,0.45,19.99,-1,'2006-09-01 00:00:00','../files/lighthouse.pdf','../images/lighthouse.JPG',1,2,1),
(2,1,'2007-05-02 11:30:00','Tides & Time','','',0,1.1,0.1,0,'2007-02-14 00:00:00','../files/lost.pdf','../images/tides.jpeg',2,0,0),
(3,2,'2007-06-20 15:05:00','Über das Meer','Gedichte','<p>Gedichte</p>',96,0.123456,1234.5,-1,'1998-10-05 00:00:00','../files/../../secret.txt','',1,1,0),
(4,2,'2007-07-09 08:15:00','Nets','','',150,0,7,0,'2001-01-01 00:00:00','http://elsewhere.example/nets.pdf','../images/no-extension',0,0,1);
-- table tw_1.form_9
CREATE TABLE tw_1.`form_9` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_18` varchar(255) NOT NULL DEFAULT '',
  `field_19` varchar(255) NOT NULL DEFAULT '',
  `field_20` int(11) NOT NULL DEFAULT 0,
  `field_21` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_9 VALUES
(1,1,'2007-04-01 09:00:00','Anchor & Sons','Whitby',1921,0),
(2,1,'2007-04-01 09:05:00','Nordlicht','Hamburg',1968,1);
-- table tw_1.formfield
CREATE TABLE tw_1.`formfield` (
  `formfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `options` int(11) NOT NULL DEFAULT 0,
  `defaultvalue` varchar(255) NOT NULL DEFAULT '',
  `targetformfeatureid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfield VALUES
(1,8,'Title','text',1,'',0,1),
(2,8,'Summary','memo',0,'0',0,2),
(3,8,'Description','dhtml',0,'',0,3),
(4,8,'Pages','integer',8,'0',0,4),
(5,8,'Weight','float',15,'0.5',0,5),
(6,8,'Price','currency',16,'9.99',0,6),
(7,8,'In stock','boolean',7,'0',0,7),
(8,8,'Published','date',24,'',0,8),
(9,8,'Sample chapter','file',0,'',0,9),
(10,8,'Cover','image',0,'',0,10),
(11,8,'Publisher','formlink',0,'0',9,11),
(12,8,'Related books','multiformlink',31,'0',8,12),
(13,8,'Series','productfamily',5,'0',8,13),
(14,7,'Name','text',1,'Visitor\'s name',0,1),
(15,7,'E-mail','text',1,'',0,2),
(16,7,'Message','memo',1,'',0,3),
(17,7,'Attachment','file',0,'',0,4),
(18,9,'Name','text',1,'',0,1),
(19,9,'Town','text',0,'London',0,2),
(20,9,'Founded','integer',0,'1900',0,3),
(21,9,'Imprints','productfamily',37,'0',9,4);
-- table tw_1.formfieldexpressionfield
CREATE TABLE tw_1.`formfieldexpressionfield` (
  `expressionfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `formfieldid` int(11) NOT NULL DEFAULT 0,
  `prefix` varchar(255) NOT NULL DEFAULT '',
  `suffix` varchar(255) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`expressionfieldid`),
  KEY `formfieldid_idx` (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfieldexpressionfield VALUES
(1,1,'Title:&nbsp;','&nbsp;&nbsp;.',1),
(2,4,'','',2),
(3,6,'Größe&nbsp;',' €',3);
-- table tw_1.formlink
CREATE TABLE tw_1.`formlink` (
  `linkid` int(11) NOT NULL AUTO_INCREMENT,
  `formfieldid` int(11) NOT NULL DEFAULT 0,
  `subjreplyid` int(11) NOT NULL DEFAULT 0,
  `objreplyid` int(11) NOT NULL DEFAULT 0,
  `productlinkprice` float NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`linkid`),
  KEY `formfieldid_idx` (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formlink VALUES
(1,12,1,2,0,1),
(2,12,1,3,0,2),
(3,12,3,1,0,1),
(4,13,1,3,12.5,1),
(5,13,4,1,0.1,1),
(6,21,2,1,3.33,1);
-- table tw_1.formloadingproperty
CREATE TABLE tw_1.`formloadingproperty` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`,`propertytype`,`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formloadingproperty VALUES
(8,1,1,5),
(8,1,2,0),
(9,2,1,18);
-- table tw_1.formtemplate
CREATE TABLE tw_1.`formtemplate` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `formfeatureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplate VALUES
(18,8),
(19,9);
-- table tw_1.formtemplatefield
CREATE TABLE tw_1.`formtemplatefield` (
  `formtemplatefieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `linkformtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formtemplatefieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplatefield VALUES
(1,18,1,0,1),
(2,18,2,1,2),
(3,18,3,0,3),
(4,19,4,0,1);
-- table tw_1.formtemplateinstance
CREATE TABLE tw_1.`formtemplateinstance` (
  `instanceid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `viewid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1),
(2,19,2,2);
-- table tw_1.formtemplateinstancefield
CREATE TABLE tw_1.`formtemplateinstancefield` (
  `instancefieldid` int(11) NOT NULL AUTO_INCREMENT,
  `instanceid` int(11) NOT NULL DEFAULT 0,
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `operator` varchar(20) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`instancefieldid`),
  KEY `instanceid_idx` (`instanceid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstancefield VALUES
(1,1,1,'PAGE','title'),
(2,1,2,'=','Now'),
(3,1,3,'>','Now Plus 3 Days'),
(4,2,4,'=','Then'),
(5,2,4,'LIKE','Whitby%');
-- table tw_1.formtemplateviewfield
CREATE TABLE tw_1.`formtemplateviewfield` (
  `viewfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `formtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `formtemplateviewfieldtype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`viewfieldid`),
  KEY `viewid_idx` (`viewid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateviewfield VALUES
(1,1,1,6,0,1),
(2,1,2,7,0,2),
(3,1,3,22,0,3),
(4,2,4,1,1,1);
-- table tw_1.forum
CREATE TABLE tw_1.`forum` (
  `elementid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `threadid` int(11) NOT NULL DEFAULT 0,
  `parentid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `subject` varchar(255) NOT NULL DEFAULT '',
  `message` longtext DEFAULT NULL,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `published` tinyint(1) NOT NULL DEFAULT 0,
  `removed` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`elementid`)
) ENGINE=InnoDB AUTO_INCREMENT=13 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.forum VALUES
(1,13,1,0,3,'Favourite sea stories?','Tell us.','2007-08-01 10:00:00',-1,0),
(2,13,1,1,2,'Re: Favourite sea stories?','The Lighthouse, of course.','2007-08-01 11:00:00',-1,0),
(3,13,1,1,0,'Re: Favourite sea stories?','buy cheap watches','2007-08-02 03:00:00',0,-1),
(4,13,4,0,0,'CHEAP WATCHES','cheap!!!','2007-08-02 03:01:00',-1,-1),
(5,13,4,4,2,'Re: CHEAP WATCHES','Please don\'t.','2007-08-02 09:00:00',-1,0),
(6,13,1,2,3,'Re: Favourite sea stories?','Agreed.','2007-08-03 12:00:00',-1,0),
(8,13,8,0,3,'Waiting for approval','Nobody has read this yet.','2007-09-10 10:00:00',0,0),
(9,13,8,8,3,'Re: Waiting for approval','Hello?','2007-09-11 10:00:00',0,0),
(10,13,10,0,2,'Opening hours','At Christmas: 10 to 4.','2007-12-20 10:00:00',-1,0),
(12,13,12,0,0,'Watches again','cheap','2007-12-21 02:00:00',-1,-1);
-- table tw_1.group_table
CREATE TABLE tw_1.`group_table` (
  `groupid` int(11) NOT NULL AUTO_INCREMENT,
  `displayname` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`groupid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.group_table VALUES
(1,'Administrators'),
(2,'local Visitor'),
(3,'Trade customers');
-- table tw_1.image
CREATE TABLE tw_1.`image` (
  `imageid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `filename` varchar(255) NOT NULL DEFAULT '',
  `width` int(11) NOT NULL DEFAULT 0,
  `height` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`imageid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.image VALUES
(1,1,'harbour.jpg',640,360),
(2,2,'staff.png',320,240);
-- table tw_1.layoutelement
CREATE TABLE tw_1.`layoutelement` (
  `elementid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `showtoall` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`elementid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutelement VALUES
(1,11,'Header',1,-1),
(2,11,'',2,0),
(3,11,'Footer',3,-1),
(4,12,'Picture',1,-1),
(5,12,'',2,-1);
-- table tw_1.layoutzone
CREATE TABLE tw_1.`layoutzone` (
  `zoneid` int(11) NOT NULL AUTO_INCREMENT,
  `elementid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `navfrom` int(11) NOT NULL DEFAULT 0,
  `navuntil` int(11) NOT NULL DEFAULT 0,
  `flyoutjs` longtext DEFAULT NULL,
  PRIMARY KEY (`zoneid`),
  KEY `elementid_idx` (`elementid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutzone VALUES
(1,1,1,1,1,3,'function over1(){return true;}'),
(2,2,1,1,2,2,''),
(3,3,1,2,4,1,NULL),
(4,5,1,2,0,1,'function over4(){return "x";}');
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
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=10 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.navigation VALUES
(1,1,0,1,1,'Home','',''),
(2,2,1,2,5,'About us','',''),
(3,3,1,2,5,'News','',''),
(4,4,1,2,20,'Terms of delivery','',''),
(5,5,1,2,0,'Log in','',''),
(6,6,2,3,1,'Shop','',''),
(7,7,2,3,2,'Contact','',''),
(8,8,3,3,3,'Catalogue','',''),
(9,2,3,3,7,'Who we are','','');
-- table tw_1.oauthconsumer
CREATE TABLE tw_1.`oauthconsumer` (
  `consumerid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(100) NOT NULL DEFAULT '',
  `consumerkey` varchar(255) NOT NULL DEFAULT '',
  `consumersecret` varchar(255) NOT NULL DEFAULT '',
  `callbackurl` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`consumerid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.oauthconsumer VALUES
(1,'Chatter','k-483920','s-9f8e7d','http://www.site1.example/login/chatter');
-- table tw_1.orderitem
CREATE TABLE tw_1.`orderitem` (
  `itemid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `basketid` int(11) NOT NULL DEFAULT 0,
  `description` varchar(255) NOT NULL DEFAULT '',
  `quantity` int(11) NOT NULL DEFAULT 0,
  `price` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`itemid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderitem VALUES
(1,1,1,'The Lighthouse',1,19.99),
(2,2,2,'Tides & Time',1,0.1),
(3,3,3,'Nets (box of 50)',3,407.35);
-- table tw_1.orderpayment
CREATE TABLE tw_1.`orderpayment` (
  `paymentid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `amount` float NOT NULL DEFAULT 0,
  `transactionid` varchar(100) NOT NULL DEFAULT '',
  `paymentdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `live` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`paymentid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderpayment VALUES
(1,1,24.98,'T-100-1','2007-12-01 12:03:10',-1),
(2,2,0.1,'TEST','2007-12-11 09:42:00',0),
(3,2,0.1,'TEST-2','2007-12-11 09:43:00',-1);
-- table tw_1.override
CREATE TABLE tw_1.`override` (
  `overrideid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`overrideid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=11 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
(7,16);
-- table tw_1.pagehit
CREATE TABLE tw_1.`pagehit` (
  `hitid` int(11) NOT NULL AUTO_INCREMENT,
  `hittime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `pageroute` varchar(255) NOT NULL DEFAULT '',
  `navigationid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `eventid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`hitid`),
  KEY `hittime_idx` (`hittime`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.pagehit VALUES
(1,'2008-01-10 08:00:01','1',1,0,0),
(2,'2008-01-10 08:00:09','1/2',2,0,0),
(3,'2008-01-10 08:01:30','1/2/6',6,3,2);
-- table tw_1.queryfieldsrc
CREATE TABLE tw_1.`queryfieldsrc` (
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `tableid` int(11) NOT NULL DEFAULT 0,
  `srcfieldid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`queryfieldid`,`tableid`,`srcfieldid`),
  KEY `queryid_idx` (`queryid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.queryfieldsrc VALUES
(1,1,1,1),
(2,1,1,12),
(3,1,1,13),
(4,2,2,18);
-- table tw_1.queryjoin
CREATE TABLE tw_1.`queryjoin` (
  `joinid` int(11) NOT NULL AUTO_INCREMENT,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `jointype` int(11) NOT NULL DEFAULT 0,
  `srctableid` int(11) NOT NULL DEFAULT 0,
  `srcfieldid` int(11) NOT NULL DEFAULT 0,
  `objtableid` int(11) NOT NULL DEFAULT 0,
  `objfieldid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`joinid`),
  KEY `queryid_idx` (`queryid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.queryjoin VALUES
(1,1,1,8,11,9,18);
-- table tw_1.querytable
CREATE TABLE tw_1.`querytable` (
  `tableid` int(11) NOT NULL AUTO_INCREMENT,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `tabletype` int(11) NOT NULL DEFAULT 0,
  `srctableid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`tableid`),
  KEY `queryid_idx` (`queryid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.querytable VALUES
(1,1,0,8),
(2,2,0,9);
-- table tw_1.removedfeature
CREATE TABLE tw_1.`removedfeature` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `navigationid` int(11) NOT NULL DEFAULT 0,
  `parentid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `removed` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`featureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.removedfeature VALUES
(901,91,1,1,'2006-03-14 10:12:00'),
(902,92,2,1,'2007-11-02 16:40:30');
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
  PRIMARY KEY (`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.security VALUES
(1,'admin','5f4dcc3b','Ann Fielding','Abbey Print Shop','1 Quay Street, Whitby','YO21 3PU',77,'01947 555010','ann@www.site1.example'),
(2,'editor','7c6a180b','Piet O\'Brien','','','',77,'','piet@www.site1.example'),
(3,'j.mueller','6cb75f65','Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','20457',54,'+49 40 555 123','joerg@mueller.example');
-- table tw_1.setting
CREATE TABLE tw_1.`setting` (
  `settingid` int(11) NOT NULL AUTO_INCREMENT,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `string_value` varchar(255) NOT NULL DEFAULT '',
  `text` longtext DEFAULT NULL,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`settingid`),
  KEY `overrideid_idx` (`overrideid`),
  KEY `name_idx` (`name`(15))
) ENGINE=InnoDB AUTO_INCREMENT=26 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.setting VALUES
(1,1,'ExplicitLayoutElements','text','','1,3,99',0),
(2,2,'ExplicitLayoutElements','text','','2',0),
(3,3,'ShowBillingName','boolean','',NULL,-1),
(4,3,'ShowBillingOrganization','boolean','',NULL,0),
(5,3,'ShowBillingAddress','boolean','',NULL,-1),
(6,3,'ShowBillingCountry','boolean','',NULL,-1),
(7,3,'ShowBillingPostCode','boolean','',NULL,-1),
(8,3,'ShowBillingEmail','boolean','',NULL,-1),
(9,3,'ShowBillingTelephone','boolean','',NULL,0),
(10,3,'ShowShippingName','boolean','',NULL,-1),
(11,3,'ShowShippingAddress','boolean','',NULL,-1),
(12,3,'DefaultCountryId','integer','',NULL,77),
(13,4,'ForgottenPasswordText','text','','Forgotten your password? Ask for a new one.',0),
(14,4,'InvalidLogInText','text','','That name or password isn\'t right.',0),
(15,4,'RegistrationText','text','','New here? Register now.',0),
(16,5,'FindResultsPhrase','text','','You searched for: ',0),
(17,5,'IgnoreWordFragments','boolean','',NULL,-1),
(18,6,'canonical','string','about-us',NULL,0),
(19,7,'TargetInstanceId','integer','',NULL,1),
(20,8,'DirectURLReplacementChar','string','_',NULL,0),
(21,8,'canonical','string','contact',NULL,0),
(22,9,'HideNavIfOverrides','boolean','',NULL,-1),
(23,9,'canonical','string','',NULL,0),
(24,10,'TargetInstanceId','integer','',NULL,0),
(25,10,'IgnoreWordFragments','boolean','',NULL,0);
-- table tw_1.tag
CREATE TABLE tw_1.`tag` (
  `tagid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(255) NOT NULL DEFAULT '',
  `templateid` int(11) NOT NULL DEFAULT 0,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `cssid` int(11) NOT NULL DEFAULT 0,
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`tagid`)
) ENGINE=InnoDB AUTO_INCREMENT=21 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.tag VALUES
(1,'span.TreeLink',20,0,1,-1),
(2,'span.TreeLink:Hover',20,0,1,-1),
(3,'div.twTreeNode span.SiteTreeLink[suffix]:Hover',20,0,1,-1),
(4,'SPAN.TREELINK',20,0,1,-1),
(5,'.heading',20,1,1,-1),
(6,'.subheading',20,1,1,-1),
(7,'h2',0,1,1,-1),
(8,'.heading',20,0,1,-1),
(9,'.LOnavlink1 A',20,1,1,-1),
(10,'.LOheading12',20,1,1,-1),
(11,'.LOheading1',20,1,1,-1),
(12,'.LOzone3',20,1,1,-1),
(13,'.LOzone3',20,1,1,-1),
(14,'.LOnavlink99',20,1,1,-1),
(15,'.LOnavdivider2',20,1,2,-1),
(16,'.LOpage',20,0,1,-1),
(17,'BODY.basefont',20,0,1,-1),
(18,'.emptybasketlink',20,0,1,-1),
(19,'.returntobasketlink A',20,0,1,-1),
(20,'TABLE.pricelist',20,0,2,-1);
-- table tw_1.tagdependancy
CREATE TABLE tw_1.`tagdependancy` (
  `tagname` varchar(100) NOT NULL DEFAULT '',
  `inherittagname` varchar(100) NOT NULL DEFAULT '',
  `inheritsequence` int(11) NOT NULL DEFAULT 0,
  KEY `tagname_idx` (`tagname`(20))
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.tagdependancy VALUES
('.LOnavlink1','.LOnavlink',1),
('.LOnavlink1 A:Hover','.LOnavlink1 A',1),
('.LOnavlink2','.LOnavlink',2),
('.LOnavlink','BODY',1),
('h2','h1',1);
-- table tw_1.text
CREATE TABLE tw_1.`text` (
  `textid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `texttype` int(11) NOT NULL DEFAULT 0,
  `text` longtext DEFAULT NULL,
  `previoustext` longtext DEFAULT NULL,
  PRIMARY KEY (`textid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=18 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.text VALUES
(1,1,0,0,'<h1>Welcome to Abbey Print Shop</h1><p>Books by the sea since 1974.</p>','<h1>Welcome</h1>'),
(2,2,0,0,'&nbsp;',NULL),
(3,3,0,0,NULL,NULL),
(4,4,0,0,'<p>We deliver within three days.\r\nIt\'s free above £50.</p>',NULL),
(5,5,2,0,'<p>Old log-in text</p>','<p>Older log-in text</p>'),
(6,7,0,0,'<p>Write to us.</p>',NULL),
(7,7,1,0,'<p>Thank you.</p>',NULL),
(8,7,2,0,'<p>Please fill in every field.</p>',NULL),
(9,21,2,0,'<p>No book found.</p>',NULL),
(10,21,2,7,'<p>A text of another type.</p>',NULL),
(11,10,0,22,'books found',NULL),
(12,10,1,22,'<p>You searched for: books found</p>',NULL),
(13,18,0,0,'<p><#Embed.18.1:Title#> &lt;#Embed.18.2:Related books#&gt; <#Embed.18.3:Series#></p>','<p><#Embed.18.2:Related#></p>'),
(14,18,1,0,'<table><tr><td><#Embed.18.2:Related books#></td></tr></table>',NULL),
(15,18,2,0,'',NULL),
(16,19,0,0,'<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>',NULL),
(17,19,2,5,'<p>Chosen view</p>',NULL);
-- table tw_1.usergroup
CREATE TABLE tw_1.`usergroup` (
  `userid` int(11) NOT NULL DEFAULT 0,
  `groupid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`userid`,`groupid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.usergroup VALUES
(1,1),
(2,1),
(3,3);
-- table tw_1.userlock
CREATE TABLE tw_1.`userlock` (
  `lockid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `locktime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`lockid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.userlock VALUES
(1,2,3,'2008-01-09 17:40:00');
-- table tw_logs.tw_1
CREATE TABLE tw_logs.`tw_1` (
  `ClientHost` varchar(255) DEFAULT NULL,
  `username` varchar(255) DEFAULT NULL,
  `LogTime` datetime DEFAULT NULL,
  `service` varchar(255) DEFAULT NULL,
  `machine` varchar(255) DEFAULT NULL,
  `serverip` varchar(50) DEFAULT NULL,
  `processingtime` int(11) DEFAULT NULL,
  `bytesrecvd` int(11) DEFAULT NULL,
  `bytessent` int(11) DEFAULT NULL,
  `servicestatus` int(11) DEFAULT NULL,
  `win32status` int(11) DEFAULT NULL,
  `operation` varchar(255) DEFAULT NULL,
  `target` varchar(255) DEFAULT NULL,
  `parameters` varchar(255) DEFAULT NULL
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
  `associatepercentage` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`accountid`),
  KEY `siteanduser` (`siteid`,`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=10004 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.account VALUES
(10001,1,1,1234567.89,1,30,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.1,19.99,-0.005,0,0,0.1),
(10003,1,3,0,1,0,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0,-1.9,0,0,0,7.5);
-- table tw_tarnwick.accountinvoice
CREATE TABLE tw_tarnwick.`accountinvoice` (
  `accountinvoiceid` bigint(20) NOT NULL AUTO_INCREMENT,
  `accountid` int(11) DEFAULT NULL,
  `comment` varchar(255) DEFAULT NULL,
  `invoicedate` datetime DEFAULT NULL,
  `invoicetype` mediumint(9) NOT NULL DEFAULT 0,
  `invoicesiteid` int(11) NOT NULL DEFAULT 0,
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `amount` double NOT NULL DEFAULT 0,
  `tax` double NOT NULL DEFAULT 0,
  `rawusage` float NOT NULL DEFAULT 0,
  `cumulativedate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `pending` tinyint(1) NOT NULL DEFAULT 0,
  `admincomment` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`accountinvoiceid`),
  KEY `account` (`accountid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.accountpayment
CREATE TABLE tw_tarnwick.`accountpayment` (
  `accountpaymentid` bigint(20) NOT NULL AUTO_INCREMENT,
  `accountid` int(11) DEFAULT NULL,
  `comment` varchar(255) DEFAULT NULL,
  `paymentdate` datetime DEFAULT NULL,
  `amount` double NOT NULL DEFAULT 0,
  `paymenttype` mediumint(9) NOT NULL DEFAULT 0,
  `pending` tinyint(1) NOT NULL DEFAULT 0,
  `admincomment` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`accountpaymentid`),
  KEY `account` (`accountid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.accountpayment VALUES
(1,10003,'Commission','2007-06-01 00:00:00',1.87,2,0,'too early'),
(2,10003,'Commission','2007-12-02 00:00:00',1.87,2,0,''),
(3,10003,'Commission','2007-12-12 00:00:00',0.03,2,0,''),
(4,10003,'Commission','2008-01-01 00:00:00',2.5,2,0,'without an order');
-- table tw_tarnwick.chargingplan
CREATE TABLE tw_tarnwick.`chargingplan` (
  `id` int(11) NOT NULL AUTO_INCREMENT,
  `siteid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `startupcharge` float NOT NULL DEFAULT 0,
  `monthlyusageunit` mediumint(9) NOT NULL DEFAULT 0,
  `creditlimit` float NOT NULL DEFAULT 0,
  `monthlyfixedcharge` float NOT NULL DEFAULT 0,
  `replacementplanid` int(11) NOT NULL DEFAULT 0,
  `currencyid` int(11) NOT NULL DEFAULT 0,
  `locked` tinyint(1) NOT NULL DEFAULT 0,
  `removed` tinyint(1) NOT NULL DEFAULT 0,
  `replacementdate` datetime NOT NULL DEFAULT '3000-01-01 00:00:00',
  `sitereplacementplanid` int(11) NOT NULL DEFAULT 0,
  `sitereplacementplandays` int(11) NOT NULL DEFAULT 0,
  `hidden` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`id`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.chargingplan VALUES
(1,1,'Starter',0.1,1,50,4.99,0,1,0,0,'3000-01-01 00:00:00',0,0,0),
(2,1,'Business',19.99,1,250,19.95,0,1,-1,0,'3000-01-01 00:00:00',0,0,0),
(3,1,'Old business',0,1,1234.5,0.35,2,1,-1,0,'3000-01-01 00:00:00',0,0,-1);
-- table tw_tarnwick.chargingplanusageband
CREATE TABLE tw_tarnwick.`chargingplanusageband` (
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `bandstart` int(11) NOT NULL DEFAULT 0,
  `unitprice` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`chargingplanid`,`bandstart`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.chargingplanusageband VALUES
(1,0,0.1),
(1,100,0.07),
(2,0,0.05),
(2,1000,0.01),
(3,0,1.15);
-- table tw_tarnwick.component
CREATE TABLE tw_tarnwick.`component` (
  `componentid` int(11) NOT NULL DEFAULT 0,
  `componentname` varchar(255) DEFAULT NULL,
  `foldername` varchar(50) DEFAULT NULL,
  `componentfile` varchar(50) DEFAULT NULL,
  `available` tinyint(1) NOT NULL DEFAULT 0,
  `published` tinyint(1) NOT NULL DEFAULT 0,
  `mandatory` tinyint(1) NOT NULL DEFAULT 0,
  `layoutcomponent` tinyint(1) NOT NULL DEFAULT 0,
  `standalone` tinyint(1) NOT NULL DEFAULT 0,
  `section` tinyint(1) NOT NULL DEFAULT 0,
  `allowcopy` tinyint(1) NOT NULL DEFAULT 0,
  `allowcopywithoutdata` tinyint(1) NOT NULL DEFAULT 0,
  `widget` tinyint(1) NOT NULL DEFAULT 0,
  `dev` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`componentid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.component VALUES
(100,'Log In','login','login.dll',-1,-1,-1,0,0,-1,0,0,0,0),
(300,'Site Search','search','search.dll',-1,-1,0,0,0,-1,0,0,0,0),
(400,'Text Page','textpage','textpage.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(500,'Text and Pictures','textpictures','textpictures.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(700,'Redirection','redirect','redirect.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(800,'Form','form','form.dll',-1,-1,0,0,0,-1,-1,-1,0,0),
(900,'Record List','recordlist','recordlist.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(1000,'Shop','shop','shop.dll',-1,-1,0,0,0,-1,0,0,0,0),
(1200,'Layout','layout','layout.dll',-1,-1,-1,-1,0,0,-1,0,0,0),
(1450,'Forum','forum','forum.dll',-1,-1,0,0,0,-1,0,0,0,0),
(1500,'Site Manager','sitemanager','sitemanager.dll',-1,-1,-1,0,-1,0,0,0,0,0),
(1600,'Record Page','recordpage','recordpage.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(2300,'Search Box','searchbox','searchbox.dll',-1,-1,0,-1,0,0,0,0,0,0),
(2400,'Delivery and Charges','charges','charges.dll',-1,-1,0,0,0,0,0,0,0,0),
(2600,'Data Feed','datafeed','datafeed.dll',-1,-1,0,0,0,-1,0,0,0,0),
(3000,'Form Editor','formeditor','formeditor.dll',-1,-1,0,0,-1,0,0,0,0,0),
(3100,'Style Editor','styleeditor','styleeditor.dll',-1,-1,0,0,-1,0,0,0,0,0),
(3600,'Query Editor','queryeditor','queryeditor.dll',-1,-1,0,0,-1,0,0,0,0,0),
(3700,'Record Table','recordtable','recordtable.dll',-1,-1,0,0,0,-1,-1,0,0,0),
(3900,'Statistics','statistics','statistics.dll',-1,-1,0,0,-1,0,0,0,0,0),
(4100,'Plain Text','plaintext','plaintext.dll',-1,-1,0,0,0,0,0,0,0,0),
(4300,'Basket','basket','basket.dll',-1,-1,0,-1,0,0,0,0,0,0),
(5600,'Server Manager','servermanager','servermanager.dll',-1,-1,0,0,-1,0,0,0,0,0);
-- table tw_tarnwick.componenttype
CREATE TABLE tw_tarnwick.`componenttype` (
  `componenttype` mediumint(9) NOT NULL DEFAULT 0,
  `componentid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`componenttype`,`componentid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.componenttype VALUES
(1,400),
(1,500),
(2,900),
(2,3700),
(3,1000);
-- table tw_tarnwick.country
CREATE TABLE tw_tarnwick.`country` (
  `countryid` int(11) NOT NULL AUTO_INCREMENT,
  `country` varchar(100) DEFAULT NULL,
  `eumember` tinyint(1) NOT NULL DEFAULT 0,
  `acronym` varchar(10) NOT NULL DEFAULT '',
  PRIMARY KEY (`countryid`)
) ENGINE=InnoDB AUTO_INCREMENT=201 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.country VALUES
(33,'France',-1,'FR'),
(54,'Germany',-1,'DE'),
(77,'United Kingdom',-1,'GB'),
(200,'Norway',0,'NO');
-- table tw_tarnwick.currency
CREATE TABLE tw_tarnwick.`currency` (
  `currencyid` int(11) NOT NULL AUTO_INCREMENT,
  `currencycode` varchar(10) DEFAULT NULL,
  `currencysymbol` varchar(5) DEFAULT NULL,
  PRIMARY KEY (`currencyid`),
  UNIQUE KEY `currencycode` (`currencycode`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.currency VALUES
(1,'GBP','£'),
(2,'EUR','€'),
(3,'USD','$');
-- table tw_tarnwick.currentinvoicestartdate
CREATE TABLE tw_tarnwick.`currentinvoicestartdate` (
  `startdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00'
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.currentinvoicestartdate VALUES
('2008-01-01 00:00:00');
-- table tw_tarnwick.defaultdocument
CREATE TABLE tw_tarnwick.`defaultdocument` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `document` varchar(255) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.defaultdocument VALUES
(1,'default.htm',1),
(1,'4/default.htm',2),
(1,'2/',3),
(1,'20080131120000/index.htm',4);
-- table tw_tarnwick.domain
CREATE TABLE tw_tarnwick.`domain` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `domainname` varchar(100) NOT NULL DEFAULT '',
  `ipaddress` varchar(15) NOT NULL DEFAULT '',
  `tcpport` int(11) NOT NULL DEFAULT 0,
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.domain VALUES
(1,'www.site1.example','192.0.2.10',80),
(1,'site1.example','192.0.2.11',80);
-- table tw_tarnwick.englishword
CREATE TABLE tw_tarnwick.`englishword` (
  `word` varchar(50) DEFAULT NULL
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.englishword VALUES
('anchor'),
('harbour'),
('sea');
-- table tw_tarnwick.iisupdateerror
CREATE TABLE tw_tarnwick.`iisupdateerror` (
  `iisupdateerrorid` int(11) NOT NULL AUTO_INCREMENT,
  `siteid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1001-01-01 00:00:00',
  `description` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`iisupdateerrorid`),
  KEY `siteidindex` (`siteid`)
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
  `webports` varchar(100) NOT NULL DEFAULT ''
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.installation VALUES
(1,'webmaster','changeit','mail.tarnwick.example',25,'',-1,'192.0.2.10,192.0.2.11','80');
-- table tw_tarnwick.mailbcc
CREATE TABLE tw_tarnwick.`mailbcc` (
  `siteid` varchar(50) NOT NULL DEFAULT '',
  `emailaddress` varchar(50) NOT NULL DEFAULT '',
  PRIMARY KEY (`siteid`,`emailaddress`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.mailbcc VALUES
('','postmaster@tarnwick.example'),
('1','archive@tarnwick.example');
-- table tw_tarnwick.outstandingiisupdate
CREATE TABLE tw_tarnwick.`outstandingiisupdate` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `filename` varchar(50) NOT NULL DEFAULT '',
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.pagehitslastcrunched
CREATE TABLE tw_tarnwick.`pagehitslastcrunched` (
  `siteid` int(11) DEFAULT NULL,
  `crunchtime` datetime DEFAULT NULL,
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.pagehitslastcrunched VALUES
(1,'2006-02-17 22:16:06');
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
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1);
-- table tw_tarnwick.sitebillingdetails
CREATE TABLE tw_tarnwick.`sitebillingdetails` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `startdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `finishdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `parentsiteid` int(11) NOT NULL DEFAULT 0,
  `parentsiteuserid` int(11) NOT NULL DEFAULT 0,
  `ancestors` varchar(255) DEFAULT NULL,
  PRIMARY KEY (`siteid`,`startdate`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.sitebillingdetails VALUES
(1,1,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,0,NULL);
-- table tw_tarnwick.sitegrant
CREATE TABLE tw_tarnwick.`sitegrant` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `granttype` mediumint(9) NOT NULL DEFAULT 0,
  `grantlinkint` int(11) NOT NULL DEFAULT 0,
  `grantuse` tinyint(1) NOT NULL DEFAULT 0,
  `grantrecursiveuse` tinyint(1) NOT NULL DEFAULT 0,
  `barredbyparent` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`siteid`,`userid`,`granttype`,`grantlinkint`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.sitegrant VALUES
(1,1,1,0,-1,0,0),
(1,2,2,4,-1,0,0);
-- table tw_tarnwick.sitestats
CREATE TABLE tw_tarnwick.`sitestats` (
  `siteid` int(11) DEFAULT NULL,
  `parentsiteid` int(11) DEFAULT NULL,
  `parentsiteuserid` int(11) DEFAULT NULL,
  `ancestors` varchar(255) DEFAULT NULL,
  `megabytes` double NOT NULL DEFAULT 0,
  `pagehits` int(11) NOT NULL DEFAULT 0,
  `periodstart` datetime DEFAULT NULL,
  `periodfinish` datetime DEFAULT NULL,
  `mbsent` double NOT NULL DEFAULT 0,
  `mbrecvd` double NOT NULL DEFAULT 0,
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.sitestats VALUES
(1,0,NULL,NULL,539.6875,86246,'2005-01-01 00:00:00','2005-01-31 00:00:00',153.25,32.34375),
(1,0,NULL,NULL,25.9375,37346,'2005-01-31 00:00:00','2005-03-02 00:00:00',401.5,29.484375),
(1,0,NULL,NULL,1175.875,53123,'2005-03-02 00:00:00','2005-04-01 00:00:00',1104.25,7),
(1,0,NULL,NULL,216.25,78360,'2005-04-01 00:00:00','2005-05-01 00:00:00',341,42.984375),
(1,0,NULL,NULL,1904.3125,12710,'2005-05-01 00:00:00','2005-05-31 00:00:00',677.625,12.28125),
(1,0,NULL,NULL,1304,43438,'2005-05-31 00:00:00','2005-06-30 00:00:00',500.625,28.5625),
(1,0,NULL,NULL,603.625,1102,'2005-06-30 00:00:00','2005-07-30 00:00:00',1037.625,24.46875),
(1,0,NULL,NULL,2332.875,44154,'2005-07-30 00:00:00','2005-08-29 00:00:00',524,38.421875),
(1,0,NULL,NULL,1387,13196,'2005-08-29 00:00:00','2005-09-28 00:00:00',369.5,0.671875),
(1,0,NULL,NULL,1543.125,1344,'2005-09-28 00:00:00','2005-10-28 00:00:00',843.25,42.90625),
(1,0,NULL,NULL,1686.3125,73144,'2005-10-28 00:00:00','2005-11-27 00:00:00',1037.75,110.8125),
(1,0,NULL,NULL,2364.5,45418,'2005-11-27 00:00:00','2005-12-27 00:00:00',534.75,112.734375);
