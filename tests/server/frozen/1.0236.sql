-- An installation at 1.0236: the tables that differ from the version before it. Never changed.
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
  `prefix` varchar(100) NOT NULL DEFAULT '',
  `suffix` varchar(100) NOT NULL DEFAULT '',
  `charreplacement` varchar(10) NOT NULL DEFAULT '',
  `prefixlen` int(11) NOT NULL DEFAULT 0,
  `suffixlen` int(11) NOT NULL DEFAULT 0,
  `linkrel` varchar(50) NOT NULL DEFAULT '',
  `linktitlequeryfieldid` int(11) NOT NULL DEFAULT 0,
  `groupby` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`formtemplatefieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplatefield VALUES
(1,18,1,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,''),
(2,18,2,1,2,1,0,'',0,0,-1,'','','',0,0,'',0,''),
(3,18,3,0,3,0,0,'',0,0,-1,'','','',0,0,'',0,''),
(4,19,4,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,'');
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
  `applyto` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`instancefieldid`),
  KEY `instanceid_idx` (`instanceid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstancefield VALUES
(1,1,1,'=','title',1,0,0,0,''),
(2,1,2,'=','Now',7,0,0,0,''),
(3,1,3,'>','Now Plus 3 Days',7,0,0,0,''),
(4,2,4,'=','Then',0,0,0,0,''),
(5,2,4,'LIKE','Whitby%',0,0,0,0,'');
-- table tw_1.image
CREATE TABLE tw_1.`image` (
  `imageid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `filename` varchar(255) NOT NULL DEFAULT '',
  `width` int(11) NOT NULL DEFAULT 0,
  `height` int(11) NOT NULL DEFAULT 0,
  `title` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`imageid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.image VALUES
(1,1,'harbour.jpg',640,360,''),
(2,2,'staff.png',320,240,'');
