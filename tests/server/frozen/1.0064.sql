-- An installation at 1.0064: the tables that differ from the version before it. Never changed.
-- table tw_1.email
CREATE TABLE tw_1.`email` (
  `emailid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` varchar(50) NOT NULL DEFAULT '',
  `fromlist` varchar(255) DEFAULT NULL,
  `tolist` longtext DEFAULT NULL,
  `cclist` longtext DEFAULT NULL,
  `bcclist` longtext DEFAULT NULL,
  `subject` varchar(255) DEFAULT NULL,
  `message` longtext DEFAULT NULL,
  `personalized` tinyint(1) NOT NULL DEFAULT 0,
  `ishtml` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`emailid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=8 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.email VALUES
(1,15,'resetpassword','admin@www.site1.example','&lt;#User.email#&gt;','','','Your new password','Dear &lt;#User.name#&gt;,\r\nit\'s "&lt;#Password#&gt;".',0,0),
(2,6,'orderconfirmation','Abbey Print Shop &lt;shop@www.site1.example&gt;','<#E-Embed.17.12:E-mail#>','','','Order <#E-Embed.17.0:Order number#>','&lt;b&gt;Thank you&lt;/b&gt;, <#E-Embed.17.6:Customer#>!\r\nTotal: <#E-Embed.17.3:Total#>\r\nNote: <#E-Embed.17.3:Gift note#>',0,0),
(3,6,'postorderpayment','shop@www.site1.example','&lt;#E-Embed.17.12:E-mail#&gt;','','accounts@www.site1.example','Payment received','We received <#E-Embed.18.0:Amount#>.',0,0),
(4,6,'postorderpayment','shop@www.site1.example','accounts@www.site1.example','','','A payment came in','C:\\orders\\&lt;#E-Embed.17.0:Order number#&gt;.txt',0,0),
(5,7,'formnotification','','','','','','',0,0),
(6,14,'postorderpayment','trade@www.site1.example','trade@www.site1.example','','','Trade payment','Paid.',0,0),
(7,5,'resetpassword','','','','','Reset your password','Somebody has asked for a new password for your account on this site.\r\n\r\nIf it was not you, please ignore this e-mail: your password stays as it is.\r\n',0,0);
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
  `demo` tinyint(1) NOT NULL DEFAULT 0,
  `selfexport` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`rootsiteid`),
  UNIQUE KEY `SiteIdIndex` (`siteid`),
  KEY `deleted_idx` (`deleted`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.site VALUES
(1,1,1,'Abbey Print Shop',1,0,0,'Letters our and small. Hand bread harbour children garden made.','',0,0,'',0,11,'2005-01-02 00:00:00','3000-01-01 00:00:00',0,2,0,0,0,0,5,1,2,0,0,-1);
