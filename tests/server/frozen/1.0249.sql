-- An installation at 1.0249: the tables that differ from the version before it. Never changed.
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
  `replacedotandq` tinyint(1) NOT NULL DEFAULT 0,
  `regexid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formtemplatefieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplatefield VALUES
(1,18,1,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,'',0,0),
(2,18,2,1,2,1,0,'',0,0,-1,'','','',0,0,'',0,'',0,0),
(3,18,3,0,3,0,0,'',0,0,-1,'','','',0,0,'',0,'',0,0),
(4,19,4,0,1,0,0,'',0,0,-1,'','','',0,0,'',0,'',0,0);
-- table tw_1.regularexpression
CREATE TABLE tw_1.`regularexpression` (
  `regexid` int(11) NOT NULL AUTO_INCREMENT,
  `title` varchar(255) NOT NULL DEFAULT '',
  `description` longtext NOT NULL DEFAULT '',
  `pattern` longtext NOT NULL DEFAULT '',
  `ignorecase` tinyint(1) NOT NULL DEFAULT 0,
  `global` tinyint(1) NOT NULL DEFAULT 0,
  `multiline` tinyint(1) NOT NULL DEFAULT 0,
  `returntype` int(11) NOT NULL DEFAULT 0,
  `matchcount` int(11) NOT NULL DEFAULT 1,
  `replacestr` varchar(255) NOT NULL DEFAULT '',
  `testinput` longtext NOT NULL DEFAULT '',
  `patternlen` int(11) NOT NULL DEFAULT 0,
  `replacestrlen` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`regexid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
