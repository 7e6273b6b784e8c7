-- An installation at 1.0077: the tables that differ from the version before it. Never changed.
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
  `blankoptiontext` varchar(255) NOT NULL DEFAULT '',
  `indexed` tinyint(1) NOT NULL DEFAULT 0,
  `targetqueryfeatureid` int(11) NOT NULL DEFAULT 0,
  `targetqueryvaluefieldid` int(11) NOT NULL DEFAULT 0,
  `targetquerytextfieldid` int(11) NOT NULL DEFAULT 0,
  `pageparamcompletion` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfield VALUES
(1,8,'Title','text',1,'',0,1,'',0,0,0,0,0),
(2,8,'Summary','memo',0,'0',0,2,'',0,0,0,0,0),
(3,8,'Description','dhtml',0,'',0,3,'',0,0,0,0,0),
(4,8,'Pages','integer',8,'0',0,4,'',0,0,0,0,1),
(5,8,'Weight','float',15,'0.5',0,5,'0.5',0,0,0,0,1),
(6,8,'Price','currency',16,'9.99',0,6,'9.99',0,0,0,0,0),
(7,8,'In stock','boolean',7,'0',0,7,'',0,0,0,0,0),
(8,8,'Published','date',24,'',0,8,'',0,0,0,0,1),
(9,8,'Sample chapter','file',0,'',0,9,'',0,0,0,0,0),
(10,8,'Cover','image',0,'',0,10,'',0,0,0,0,0),
(11,8,'Publisher','formlink',0,'0',9,11,'',0,0,0,0,0),
(12,8,'Related books','multiformlink',31,'0',8,12,'',0,0,0,0,1),
(13,8,'Series','productfamily',5,'0',8,13,'',0,0,0,0,0),
(14,7,'Name','text',1,'Visitor\'s name',0,1,'Visitor\'s name',0,0,0,0,0),
(15,7,'E-mail','text',1,'',0,2,'',0,0,0,0,0),
(16,7,'Message','memo',1,'',0,3,'',0,0,0,0,0),
(17,7,'Attachment','file',0,'',0,4,'',0,0,0,0,0),
(18,9,'Name','text',1,'',0,1,'',0,0,0,0,0),
(19,9,'Town','text',0,'London',0,2,'London',0,0,0,0,0),
(20,9,'Founded','integer',0,'1900',0,3,'1900',0,0,0,0,0),
(21,9,'Imprints','productfamily',37,'0',9,4,'',0,0,0,0,0);
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
  `descriptionstylesheetids` varchar(50) NOT NULL DEFAULT '',
  PRIMARY KEY (`itemid`),
  KEY `basketid_idx` (`basketid`),
  KEY `irderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderitem VALUES
(1,1,1,'The Lighthouse',1,19.99,0,'','1000-01-01 00:00:00',''),
(2,2,2,'Tides & Time',1,0.10,0,'','1000-01-01 00:00:00',''),
(3,3,3,'Nets (box of 50)',3,407.35,0,'','1000-01-01 00:00:00','');
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
  `associatechargepassword` varchar(20) NOT NULL DEFAULT '',
  `associatecookielife` varchar(35) NOT NULL DEFAULT '0-0-30 0:0:0',
  PRIMARY KEY (`accountid`),
  KEY `siteanduser` (`siteid`,`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=10004 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.account VALUES
(10001,1,1,1234567.89,1,30,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.10,19.99,-0.01,0.00,0,0.1,'','0-0-30 0:0:0'),
(10003,1,3,0.00,1,0,0,'1001-01-01 00:00:00','1001-01-01 00:00:00',0.00,-1.90,0.00,0.00,0,7.5,'','0-0-30 0:0:0');
