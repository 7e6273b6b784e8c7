-- An installation at 1.0047: the tables that differ from the version before it. Never changed.
-- table tw_1.chargeregion
CREATE TABLE tw_1.`chargeregion` (
  `regionid` int(11) NOT NULL AUTO_INCREMENT,
  `chargeid` int(11) NOT NULL DEFAULT 0,
  `countryid` int(11) NOT NULL DEFAULT 0,
  `price` decimal(17,2) NOT NULL DEFAULT 0.00,
  PRIMARY KEY (`regionid`),
  KEY `chargeid_idx` (`chargeid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargeregion VALUES
(1,2,77,4.99),
(2,2,54,9.95),
(3,1,0,0.10);
-- table tw_1.chargeregionvalueband
CREATE TABLE tw_1.`chargeregionvalueband` (
  `bandid` int(11) NOT NULL AUTO_INCREMENT,
  `regionid` int(11) NOT NULL DEFAULT 0,
  `bandstart` decimal(17,2) NOT NULL DEFAULT 0.00,
  `price` decimal(17,2) NOT NULL DEFAULT 0.00,
  PRIMARY KEY (`bandid`),
  KEY `regionid_idx` (`regionid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargeregionvalueband VALUES
(1,1,0.00,4.99),
(2,1,19.99,2.50),
(3,1,50.00,0.00);
-- table tw_1.commission
CREATE TABLE tw_1.`commission` (
  `commissionid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `commission` decimal(17,2) NOT NULL DEFAULT 0.00,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `percentage` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`commissionid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.commission VALUES
(1,1,3,1.87,'2007-12-01 12:03:10',7.5),
(2,2,3,0.03,'2007-12-11 09:42:00',33.3333),
(3,0,3,2.50,'2008-01-01 00:00:00',5);
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
  PRIMARY KEY (`orderid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.customerorder VALUES
(1,6,3,'2007-12-01 12:00:00',1,24.98,4.99,-1,-1,'Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','Germany','20457','+49 40 555 123','joerg@mueller.example','Jörg Müller','','Hafenstraße 12, Hamburg','Germany','20457',''),
(2,6,0,'2007-12-11 09:41:00',1,0.10,0.00,-1,0,'Test','','Test','United Kingdom','','','ann@www.site1.example','','','','','',''),
(3,14,2,'2008-01-02 14:20:00',2,1234.57,12.50,0,0,'Piet O\'Brien','','','','','','','','','','','','');
-- table tw_1.form_8
CREATE TABLE tw_1.`form_8` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_1` varchar(255) NOT NULL DEFAULT '',
  `field_2` text NOT NULL DEFAULT '',
  `field_3` text NOT NULL DEFAULT '',
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
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_8 VALUES
(1,1,'2007-05-01 10:00:00','The Lighthouse','A keeper\'s diary.','<p>A <b>keeper\'s</b> diary.</p>',312,19.99,-1,'2006-09-01 00:00:00','../files/lighthouse.pdf','../images/lighthouse.JPG',1,2,1,0.45),
(2,1,'2007-05-02 11:30:00','Tides & Time','','',0,0.10,0,'2007-02-14 00:00:00','../files/lost.pdf','../images/tides.jpeg',2,0,0,1.1),
(3,2,'2007-06-20 15:05:00','Über das Meer','Gedichte','<p>Gedichte</p>',96,1234.50,-1,'1998-10-05 00:00:00','../files/../../secret.txt','',1,1,0,0.123456),
(4,2,'2007-07-09 08:15:00','Nets','','',150,7.00,0,'2001-01-01 00:00:00','http://elsewhere.example/nets.pdf','../images/no-extension',0,0,1,0);
-- table tw_1.formlink
CREATE TABLE tw_1.`formlink` (
  `linkid` int(11) NOT NULL AUTO_INCREMENT,
  `formfieldid` int(11) NOT NULL DEFAULT 0,
  `subjreplyid` int(11) NOT NULL DEFAULT 0,
  `objreplyid` int(11) NOT NULL DEFAULT 0,
  `productlinkprice` decimal(17,2) NOT NULL DEFAULT 0.00,
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`linkid`),
  KEY `formfieldid_idx` (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formlink VALUES
(1,12,1,2,0.00,1),
(2,12,1,3,0.00,2),
(3,12,3,1,0.00,1),
(4,13,1,3,12.50,1),
(5,13,4,1,0.10,1),
(6,21,2,1,3.33,1);
-- table tw_1.orderitem
CREATE TABLE tw_1.`orderitem` (
  `itemid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `basketid` int(11) NOT NULL DEFAULT 0,
  `description` varchar(255) NOT NULL DEFAULT '',
  `quantity` int(11) NOT NULL DEFAULT 0,
  `price` decimal(17,2) NOT NULL DEFAULT 0.00,
  `usergroupid` int(11) NOT NULL DEFAULT 0,
  `availabilitydelay` varchar(35) NOT NULL DEFAULT '',
  `availablefrom` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`itemid`),
  KEY `basketid_idx` (`basketid`),
  KEY `irderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderitem VALUES
(1,1,1,'The Lighthouse',1,19.99,0,'','1000-01-01 00:00:00'),
(2,2,2,'Tides & Time',1,0.10,0,'','1000-01-01 00:00:00'),
(3,3,3,'Nets (box of 50)',3,407.35,0,'','1000-01-01 00:00:00');
-- table tw_1.orderpayment
CREATE TABLE tw_1.`orderpayment` (
  `paymentid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `amount` decimal(17,2) NOT NULL DEFAULT 0.00,
  `transactionid` varchar(100) NOT NULL DEFAULT '',
  `paymentdate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `live` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`paymentid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderpayment VALUES
(1,1,24.98,'T-100-1','2007-12-01 12:03:10',-1),
(2,2,0.10,'TEST','2007-12-11 09:42:00',0),
(3,2,0.10,'TEST-2','2007-12-11 09:43:00',-1);
-- table tw_tarnwick.account
CREATE TABLE tw_tarnwick.`account` (
  `accountid` int(11) NOT NULL AUTO_INCREMENT,
  `siteid` int(11) DEFAULT NULL,
  `userid` int(11) DEFAULT NULL,
  `creditlimit` decimal(17,2) NOT NULL DEFAULT 0.00,
  `currencyid` mediumint(9) NOT NULL DEFAULT 0,
  `dayscredit` mediumint(9) NOT NULL DEFAULT 0,
  `overdayscredit` tinyint(1) NOT NULL DEFAULT 0,
  `firstwarningsent` datetime DEFAULT '1001-01-01 00:00:00',
  `finalwarningsent` datetime DEFAULT '1001-01-01 00:00:00',
  `suggestedpayment` decimal(17,2) NOT NULL DEFAULT 0.00,
  `currentbalance` decimal(17,2) NOT NULL DEFAULT 0.00,
  `futurebalance` decimal(17,2) NOT NULL DEFAULT 0.00,
  `pendingbalance` decimal(17,2) NOT NULL DEFAULT 0.00,
  `suspended` tinyint(1) NOT NULL DEFAULT 0,
  `associatepercentage` double NOT NULL DEFAULT 0,
  PRIMARY KEY (`accountid`),
  KEY `siteanduser` (`siteid`,`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=10004 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.account VALUES
(10001,1,1,1234567.89,1,30,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.10,19.99,-0.01,0.00,0,0.1),
(10003,1,3,0.00,1,0,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.00,-1.90,0.00,0.00,0,7.5);
-- table tw_tarnwick.accountinvoice
CREATE TABLE tw_tarnwick.`accountinvoice` (
  `accountinvoiceid` bigint(20) NOT NULL AUTO_INCREMENT,
  `accountid` int(11) DEFAULT NULL,
  `comment` varchar(255) DEFAULT NULL,
  `invoicedate` datetime DEFAULT NULL,
  `invoicetype` mediumint(9) NOT NULL DEFAULT 0,
  `invoicesiteid` int(11) NOT NULL DEFAULT 0,
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `amount` decimal(17,2) NOT NULL DEFAULT 0.00,
  `tax` decimal(17,2) NOT NULL DEFAULT 0.00,
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
  `amount` decimal(17,2) NOT NULL DEFAULT 0.00,
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
(4,10003,'Commission','2008-01-01 00:00:00',2.50,2,0,'without an order');
-- table tw_tarnwick.chargingplan
CREATE TABLE tw_tarnwick.`chargingplan` (
  `id` int(11) NOT NULL AUTO_INCREMENT,
  `siteid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `startupcharge` decimal(17,2) NOT NULL DEFAULT 0.00,
  `monthlyusageunit` mediumint(9) NOT NULL DEFAULT 0,
  `creditlimit` decimal(17,2) NOT NULL DEFAULT 0.00,
  `monthlyfixedcharge` decimal(17,2) NOT NULL DEFAULT 0.00,
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
(1,1,'Starter',0.10,1,50.00,4.99,0,1,0,0,'3000-01-01 00:00:00',0,0,0),
(2,1,'Business',19.99,1,250.00,19.95,0,1,-1,0,'3000-01-01 00:00:00',0,0,0),
(3,1,'Old business',0.00,1,1234.50,0.35,2,1,-1,0,'3000-01-01 00:00:00',0,0,-1);
-- table tw_tarnwick.chargingplanusageband
CREATE TABLE tw_tarnwick.`chargingplanusageband` (
  `chargingplanid` int(11) NOT NULL DEFAULT 0,
  `bandstart` int(11) NOT NULL DEFAULT 0,
  `unitprice` decimal(17,2) NOT NULL DEFAULT 0.00,
  PRIMARY KEY (`chargingplanid`,`bandstart`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.chargingplanusageband VALUES
(1,0,0.10),
(1,100,0.07),
(2,0,0.05),
(2,1000,0.01),
(3,0,1.15);
