-- An installation at 1.0090: the tables that differ from the version before it. Never changed.
-- table tw_1.event
CREATE TABLE tw_1.`event` (
  `eventid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`eventid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.event VALUES
(1,15,'Reset Password'),
(2,6,'Order Placed'),
(3,7,'Record Change'),
(4,14,'Order Completion'),
(5,5,'Reset Password'),
(6,6,'Order Completion');
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
  `shownocriteriatext` tinyint(1) NOT NULL DEFAULT -1,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0,-1,-1,0,-1),
(2,19,2,2,0,0,'',-1,0,-1,-1,0,-1);
