-- An installation at 1.0055: the tables that differ from the version before it. Never changed.
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
  `customervatnumber` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`orderid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.customerorder VALUES
(1,6,3,'2007-12-01 12:00:00',1,24.98,4.99,-1,-1,'Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','Germany','20457','+49 40 555 123','joerg@mueller.example','Jörg Müller','','Hafenstraße 12, Hamburg','Germany','20457','','','','','','','','','','','',''),
(2,6,0,'2007-12-11 09:41:00',1,0.10,0.00,-1,0,'Test','','Test','United Kingdom','','','ann@www.site1.example','','','','','','','','','','','','','','','','',''),
(3,14,2,'2008-01-02 14:20:00',2,1234.57,12.50,0,0,'Piet O\'Brien','','','','','','','','','','','','','','','','','','','','','','','');
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
(4,6),
(5,7),
(6,3),
(7,4);
-- table tw_1.event
CREATE TABLE tw_1.`event` (
  `eventid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`eventid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.event VALUES
(1,15,'Reset Password'),
(2,6,'Order Placed'),
(3,7,'Form Record Change'),
(4,14,'Order Payment'),
(5,5,'Reset Password'),
(6,6,'Order Payment');
-- table tw_1.eventpart
CREATE TABLE tw_1.`eventpart` (
  `eventpartid` int(11) NOT NULL AUTO_INCREMENT,
  `eventid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`),
  KEY `eventid_idx` (`eventid`)
) ENGINE=InnoDB AUTO_INCREMENT=8 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.eventpart VALUES
(1,1,1,'Reset password email',1),
(2,2,1,'Order email',1),
(3,3,1,'Notification',1),
(4,4,1,'Order payment email',1),
(5,5,0,'Reset password email',1),
(6,6,0,'Order payment email',1),
(7,6,0,'Order payment email',2);
