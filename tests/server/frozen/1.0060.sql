-- An installation at 1.0060: the tables that differ from the version before it. Never changed.
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
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0),
(2,19,2,2,0,0,'',-1,0);
