-- An installation at 1.0252: the tables that differ from the version before it. Never changed.
-- table tw_1.domain
CREATE TABLE tw_1.`domain` (
  `domainid` int(11) NOT NULL AUTO_INCREMENT,
  `domainname` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`domainid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.domain VALUES
(1,'www.site1.example'),
(2,'localhost');
-- table tw_1.domaingroup
CREATE TABLE tw_1.`domaingroup` (
  `groupid` int(11) NOT NULL DEFAULT 0,
  `domainid` int(11) NOT NULL DEFAULT 0,
  `domaingrouptype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`groupid`,`domainid`,`domaingrouptype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.domaingroup VALUES
(2,1,0),
(2,2,0);
-- table tw_1.textcache
CREATE TABLE tw_1.`textcache` (
  `type` int(11) NOT NULL DEFAULT 0,
  `ref1` int(11) NOT NULL DEFAULT 0,
  `ref2` int(11) NOT NULL DEFAULT 0,
  `checksum` varchar(15) NOT NULL DEFAULT '',
  `text` longtext NOT NULL DEFAULT '',
  `ref3` int(11) NOT NULL DEFAULT 0,
  KEY `type_idx` (`type`),
  KEY `ref1_idx` (`ref1`),
  KEY `ref2_idx` (`ref2`),
  KEY `ref3_idx` (`ref3`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.domain
CREATE TABLE tw_tarnwick.`domain` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `domainname` varchar(100) NOT NULL DEFAULT '',
  `ipaddress` varchar(15) NOT NULL DEFAULT '',
  `tcpport` int(11) NOT NULL DEFAULT 0,
  `defaultdomain` tinyint(1) NOT NULL DEFAULT 0,
  `redirecttodefault` tinyint(1) NOT NULL DEFAULT 0,
  `placeholder` tinyint(1) NOT NULL DEFAULT 0,
  KEY `siteidindex` (`siteid`),
  KEY `domainname_idx` (`domainname`(15))
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.domain VALUES
(1,'www.site1.example','192.0.2.10',80,0,0,0),
(1,'site1.example','192.0.2.11',80,0,0,0),
(1,'localhost','127.0.0.1',80,0,0,0);
