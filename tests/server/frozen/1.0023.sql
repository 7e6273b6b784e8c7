-- An installation at 1.0023: the tables that differ from the version before it. Never changed.
-- table tw_1.featureperformanceday
CREATE TABLE tw_1.`featureperformanceday` (
  `hitday` datetime NOT NULL,
  `pageroute` varchar(255) NOT NULL,
  `navigationid` int(11) NOT NULL,
  `linktext` varchar(50) DEFAULT NULL,
  `linkquerystring` varchar(255) DEFAULT NULL,
  `hitcount` int(11) NOT NULL,
  KEY `hitday_idx` (`hitday`),
  KEY `pageroute_idx` (`pageroute`(20)),
  KEY `navigationid_idx` (`navigationid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.performanceblock
CREATE TABLE tw_1.`performanceblock` (
  `blockid` int(11) NOT NULL AUTO_INCREMENT,
  `datefrom` datetime NOT NULL,
  `dateto` datetime NOT NULL,
  `pageroute` varchar(255) NOT NULL,
  `type` int(11) NOT NULL,
  `locked` tinyint(1) NOT NULL,
  PRIMARY KEY (`blockid`),
  KEY `datefrom_idx` (`datefrom`),
  KEY `dateto_idx` (`dateto`),
  KEY `pageroute_idx` (`pageroute`(20))
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.removedfeature
CREATE TABLE tw_1.`removedfeature` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `navigationid` int(11) NOT NULL DEFAULT 0,
  `parentid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `removed` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`featureid`),
  KEY `navigationid_idx` (`navigationid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.removedfeature VALUES
(901,91,1,1,'2006-03-14 10:12:00'),
(902,92,2,1,'2007-11-02 16:40:30');
-- table tw_1.userperformanceday
CREATE TABLE tw_1.`userperformanceday` (
  `hitday` datetime NOT NULL,
  `pageroute` varchar(255) NOT NULL,
  `navigationid` int(11) NOT NULL,
  `linktext` varchar(50) DEFAULT NULL,
  `linkquerystring` varchar(255) DEFAULT NULL,
  `hitcount` int(11) NOT NULL,
  `userid` int(11) NOT NULL,
  KEY `hitday_idx` (`hitday`),
  KEY `pageroute_idx` (`pageroute`(20)),
  KEY `navigationid_idx` (`navigationid`),
  KEY `userid_idx` (`userid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
