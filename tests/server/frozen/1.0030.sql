-- An installation at 1.0030: the tables that differ from the version before it. Never changed.
-- table tw_1.plaintext
CREATE TABLE tw_1.`plaintext` (
  `featureid` int(11) NOT NULL,
  `subfeatureid` int(11) NOT NULL,
  `text` longtext DEFAULT NULL,
  PRIMARY KEY (`featureid`,`subfeatureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.plaintext VALUES
(2,0,'User-agent: *\r\nDisallow: /search\r\nDisallow: /login\r\n');
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
  `parameters` varchar(255) DEFAULT NULL,
  KEY `LogTime_idx` (`LogTime`),
  KEY `target_idx` (`target`(7))
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_tarnwick.schedule
CREATE TABLE tw_tarnwick.`schedule` (
  `siteid` int(11) NOT NULL,
  `featureid` int(11) NOT NULL,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `tasktype` int(11) NOT NULL,
  `schedule` varchar(20) NOT NULL,
  `lastruntime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `nextruntime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  PRIMARY KEY (`siteid`,`featureid`,`subfeatureid`,`tasktype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
  `defaultfeatureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`),
  KEY `deleted_idx` (`deleted`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1,2);
