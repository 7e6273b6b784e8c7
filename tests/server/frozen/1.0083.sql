-- An installation at 1.0083: the tables that differ from the version before it. Never changed.
-- table tw_1.formtemplateinstance
CREATE TABLE tw_1.`formtemplateinstance` (
  `instanceid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `logsearchdetails` tinyint(1) NOT NULL DEFAULT 0,
  `enableajax` tinyint(1) NOT NULL DEFAULT 0,
  `ajaxchannels` varchar(100) NOT NULL DEFAULT '',
  `ajaxinitialrecords` tinyint(1) NOT NULL DEFAULT -1,
  `ajaxhoverblockms` int(11) NOT NULL DEFAULT 0,
  `maxrecords` int(11) NOT NULL DEFAULT -1,
  `minrecords` int(11) NOT NULL DEFAULT -1,
  `applyinitialparameterstring` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0,-1,-1,0),
(2,19,2,2,0,0,'',-1,0,-1,-1,0);
-- table tw_1.formtemplateinstancefield
CREATE TABLE tw_1.`formtemplateinstancefield` (
  `instancefieldid` int(11) NOT NULL AUTO_INCREMENT,
  `instanceid` int(11) NOT NULL DEFAULT 0,
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `operator` varchar(20) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `requirevalue` tinyint(1) NOT NULL DEFAULT 0,
  `criteriatype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instancefieldid`),
  KEY `instanceid_idx` (`instanceid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstancefield VALUES
(1,1,1,'=','title',1,0,0),
(2,1,2,'=','Now',0,0,0),
(3,1,3,'>','Now Plus 3 Days',0,0,0),
(4,2,4,'=','Then',0,0,0),
(5,2,4,'LIKE','Whitby%',0,0,0);
