-- An installation at 1.0007: the tables that differ from the version before it. Never changed.
-- table tw_1.charge
CREATE TABLE tw_1.`charge` (
  `chargeid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `chargetype` int(11) NOT NULL DEFAULT 0,
  `chargecat` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `chargeoptionid` int(11) NOT NULL DEFAULT 0,
  `password` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`chargeid`),
  KEY `featureid_idx` (`featureid`),
  KEY `chargeoptionid_idx` (`chargeoptionid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.charge VALUES
(1,6,'Packing',1,1,1,2,''),
(2,6,'Delivery "next day"',1,1,2,3,''),
(3,6,'O\'Neill\'s surcharge',2,1,0,1,''),
(4,14,'Delivery',1,2,2,4,'');
-- table tw_1.chargegroup
CREATE TABLE tw_1.`chargegroup` (
  `groupid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`groupid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargegroup VALUES
(1,6,'O\'Neill\'s surcharge',0),
(2,6,'Packing',1),
(3,6,'Delivery "next day"',2),
(4,14,'Delivery',2);
-- table tw_1.chargegrouptochargegroup
CREATE TABLE tw_1.`chargegrouptochargegroup` (
  `groupid` int(11) NOT NULL,
  `applytogroupid` int(11) NOT NULL,
  PRIMARY KEY (`groupid`,`applytogroupid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargegrouptochargegroup VALUES
(3,2),
(4,1);
-- table tw_1.chargegrouptoitemtype
CREATE TABLE tw_1.`chargegrouptoitemtype` (
  `groupid` int(11) NOT NULL,
  `applytoitemtypeid` int(11) NOT NULL,
  PRIMARY KEY (`groupid`,`applytoitemtypeid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargegrouptoitemtype VALUES
(2,5),
(3,5),
(3,6);
-- table tw_1.chargeoption
CREATE TABLE tw_1.`chargeoption` (
  `optionid` int(11) NOT NULL AUTO_INCREMENT,
  `groupid` int(11) NOT NULL,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `password` varchar(20) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`optionid`),
  KEY `groupid_idx` (`groupid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.chargeoption VALUES
(1,1,6,'O\'Neill\'s surcharge','',1),
(2,2,6,'Packing','',1),
(3,3,6,'Delivery "next day"','',1),
(4,4,14,'Delivery','',1);
-- table tw_1.contentupdate
CREATE TABLE tw_1.`contentupdate` (
  `updateid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `updatetime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`updateid`),
  KEY `updatetime_idx` (`updatetime`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.contentupdate VALUES
(1,1,1,'2008-01-07 09:00:00'),
(2,3,2,'2008-01-09 17:45:10');
-- table tw_1.ordercharge
CREATE TABLE tw_1.`ordercharge` (
  `orderid` int(11) NOT NULL DEFAULT 0,
  `chargeid` int(11) NOT NULL DEFAULT 0,
  `chargeoptionid` int(11) NOT NULL DEFAULT 0,
  `chargeamount` decimal(17,2) NOT NULL DEFAULT 0.00,
  `chargetype` int(11) NOT NULL DEFAULT 0,
  `chargecat` int(11) NOT NULL DEFAULT 0,
  `name` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`orderid`,`chargeid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.orderchargeoption
CREATE TABLE tw_1.`orderchargeoption` (
  `orderid` int(11) NOT NULL,
  `chargeoptionid` int(11) NOT NULL,
  `name` varchar(255) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`orderid`,`chargeoptionid`),
  KEY `chargeoptionid_idx` (`chargeoptionid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.orderpasswordchargeoption
CREATE TABLE tw_1.`orderpasswordchargeoption` (
  `orderid` int(11) NOT NULL DEFAULT 0,
  `optionid` int(11) NOT NULL DEFAULT 0,
  `password` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`orderid`,`optionid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
