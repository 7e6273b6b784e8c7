-- An installation at 1.0034: the tables that differ from the version before it. Never changed.
-- table tw_1.orderitem
CREATE TABLE tw_1.`orderitem` (
  `itemid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `basketid` int(11) NOT NULL DEFAULT 0,
  `description` varchar(255) NOT NULL DEFAULT '',
  `quantity` int(11) NOT NULL DEFAULT 0,
  `price` float NOT NULL DEFAULT 0,
  `usergroupid` int(11) NOT NULL DEFAULT 0,
  `availabilitydelay` varchar(35) NOT NULL DEFAULT '',
  `availablefrom` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`itemid`),
  KEY `basketid_idx` (`basketid`),
  KEY `irderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderitem VALUES
(1,1,1,'The Lighthouse',1,19.99,0,'','1000-01-01 00:00:00'),
(2,2,2,'Tides & Time',1,0.1,0,'','1000-01-01 00:00:00'),
(3,3,3,'Nets (box of 50)',3,407.35,0,'','1000-01-01 00:00:00');
