-- An installation at 1.0229: the tables that differ from the version before it. Never changed.
-- table tw_1.externallookupfeedfield
CREATE TABLE tw_1.`externallookupfeedfield` (
  `lookupfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `fieldid` int(11) NOT NULL DEFAULT 0,
  `requestparamname` varchar(255) NOT NULL DEFAULT '',
  `responsexpath` varchar(255) NOT NULL DEFAULT '',
  `minrequestlength` int(11) NOT NULL DEFAULT -1,
  `maxrequestlength` int(11) NOT NULL DEFAULT -1,
  `createlinkedrecords` tinyint(1) NOT NULL DEFAULT 0,
  `responsevalueprefix` varchar(100) NOT NULL DEFAULT '',
  `responsevaluesuffix` varchar(100) NOT NULL DEFAULT '',
  `linkonextended` tinyint(1) NOT NULL DEFAULT 0,
  `parentlookupfieldid` int(11) NOT NULL DEFAULT 0,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `formfieldid` int(11) NOT NULL DEFAULT 0,
  `extendedcachecontrol` tinyint(1) NOT NULL DEFAULT 0,
  `alwaysupdate` tinyint(1) NOT NULL DEFAULT 0,
  `responsesequencexpath` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`lookupfieldid`),
  KEY `fieldid_idx` (`fieldid`),
  KEY `parentlookupfieldid_idx` (`parentlookupfieldid`),
  KEY `featureid_idx` (`featureid`),
  KEY `formfieldid_idx` (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.externallookupfeedfield VALUES
(1,1,'street','/address/line[1]',-1,-1,0,'','',0,0,16,0,0,0,''),
(2,4,'','/address/line[10]',-1,-1,0,'','',0,0,16,0,0,0,''),
(3,5,'name','/address/name',-1,-1,0,'','',0,0,16,0,0,0,'');
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
  `surroundtype` int(11) NOT NULL DEFAULT 0,
  `surround` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0,-1,-1,0,-1,0,0),
(2,19,2,2,0,0,'',-1,0,-1,-1,0,-1,0,0);
