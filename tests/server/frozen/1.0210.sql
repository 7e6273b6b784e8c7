-- An installation at 1.0210: the tables that differ from the version before it. Never changed.
-- table tw_1.datafeedfield
CREATE TABLE tw_1.`datafeedfield` (
  `fieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `prompt` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `pointer` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`fieldid`),
  KEY `pointer_idx` (`pointer`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.datafeedfield VALUES
(1,16,'Billing Address',1,0),
(2,16,'Shipping Address',2,0),
(3,16,'Address',3,0),
(4,16,'Address 10',4,0),
(5,16,'Name',5,0);
-- table tw_1.featurenamevalue
CREATE TABLE tw_1.`featurenamevalue` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `name` varchar(255) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  KEY `featureid_idx` (`featureid`),
  KEY `type_idx` (`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.featuresetting
CREATE TABLE tw_1.`featuresetting` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `string_value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`featureid`,`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
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
  `saveincookie` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instancefieldid`),
  KEY `instanceid_idx` (`instanceid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstancefield VALUES
(1,1,1,'=','title',1,0,0,0),
(2,1,2,'=','Now',0,0,0,0),
(3,1,3,'>','Now Plus 3 Days',0,0,0,0),
(4,2,4,'=','Then',0,0,0,0),
(5,2,4,'LIKE','Whitby%',0,0,0,0);
