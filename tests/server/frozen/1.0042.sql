-- An installation at 1.0042: the tables that differ from the version before it. Never changed.
-- table tw_1.formtemplatefield
CREATE TABLE tw_1.`formtemplatefield` (
  `formtemplatefieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `linkformtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `linktype` int(11) NOT NULL DEFAULT 0,
  `hovertype` int(11) NOT NULL DEFAULT 0,
  `hovertarget` varchar(100) NOT NULL DEFAULT '',
  `hoverqueryfieldid` int(11) NOT NULL DEFAULT 0,
  `hovernewwin` tinyint(1) NOT NULL DEFAULT 0,
  `hoverallparams` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`formtemplatefieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplatefield VALUES
(1,18,1,0,1,0,0,'',0,0,-1),
(2,18,2,1,2,1,0,'',0,0,-1),
(3,18,3,0,3,0,0,'',0,0,-1),
(4,19,4,0,1,0,0,'',0,0,-1);
-- table tw_1.formtemplateinstance
CREATE TABLE tw_1.`formtemplateinstance` (
  `instanceid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `logsearchdetails` tinyint(1) NOT NULL DEFAULT 0,
  `enableajax` tinyint(1) NOT NULL DEFAULT 0,
  `ajaxchannels` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,''),
(2,19,2,2,0,0,'');
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
  `transaction` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`),
  KEY `deleted_idx` (`deleted`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1,2,0);
