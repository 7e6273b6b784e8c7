-- An installation at 1.0260: the tables that differ from the version before it. Never changed.
-- table tw_1.basket
CREATE TABLE tw_1.`basket` (
  `basketid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `lastreferer` varchar(255) DEFAULT NULL,
  PRIMARY KEY (`basketid`),
  KEY `orderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.basket VALUES
(1,6,3,1,'2007-12-01 11:50:00',NULL),
(2,6,0,2,'2007-12-11 09:40:00',NULL),
(3,14,2,3,'2008-01-02 14:00:00',NULL),
(4,6,0,0,'2008-01-03 20:11:00',NULL);
