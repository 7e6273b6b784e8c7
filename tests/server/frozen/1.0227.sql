-- An installation at 1.0227: the tables that differ from the version before it. Never changed.
-- table tw_1.externallookupfeedfield
CREATE TABLE tw_1.`externallookupfeedfield` (
  `fieldid` int(11) NOT NULL DEFAULT 0,
  `requestparamname` varchar(255) NOT NULL DEFAULT '',
  `responsexpath` varchar(255) NOT NULL DEFAULT '',
  `minrequestlength` int(11) NOT NULL DEFAULT -1,
  `maxrequestlength` int(11) NOT NULL DEFAULT -1,
  `createlinkedrecords` tinyint(1) NOT NULL DEFAULT 0,
  `responsevalueprefix` varchar(100) NOT NULL DEFAULT '',
  `responsevaluesuffix` varchar(100) NOT NULL DEFAULT '',
  UNIQUE KEY `fieldid_idx` (`fieldid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.externallookupfeedfield VALUES
(1,'street','/address/line[1]',-1,-1,0,'',''),
(4,'','/address/line[10]',-1,-1,0,'',''),
(5,'name','/address/name',-1,-1,0,'','');
