-- An installation at 1.0233: the tables that differ from the version before it. Never changed.
-- table tw_1.externallookupfeedparam
CREATE TABLE tw_1.`externallookupfeedparam` (
  `paramid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(255) NOT NULL DEFAULT '',
  `type` int(11) NOT NULL DEFAULT 0,
  `textvalue` varchar(255) NOT NULL DEFAULT '',
  `longvalue` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `minlength` int(11) NOT NULL DEFAULT -1,
  `maxlength` int(11) NOT NULL DEFAULT -1,
  PRIMARY KEY (`paramid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.externallookupfeedparam VALUES
(1,0,'street',1,'',0,999,-1,-1),
(2,0,'name',1,'',0,999,-1,-1);
-- table tw_1.formfield
CREATE TABLE tw_1.`formfield` (
  `formfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `type` varchar(20) NOT NULL DEFAULT '',
  `options` int(11) NOT NULL DEFAULT 0,
  `defaultvalue` longtext NOT NULL DEFAULT '',
  `targetformfeatureid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `blankoptiontext` varchar(255) NOT NULL DEFAULT '',
  `indexed` tinyint(1) NOT NULL DEFAULT 0,
  `targetqueryfeatureid` int(11) NOT NULL DEFAULT 0,
  `targetqueryvaluefieldid` int(11) NOT NULL DEFAULT 0,
  `targetquerytextfieldid` int(11) NOT NULL DEFAULT 0,
  `pageparamcompletion` int(11) NOT NULL DEFAULT 0,
  `pageparamtype` int(11) NOT NULL DEFAULT 0,
  `targetformtextfieldid` int(11) NOT NULL DEFAULT 0,
  `targetformorderbyfieldid` int(11) NOT NULL DEFAULT 0,
  `targetformorderbytype` varchar(10) NOT NULL DEFAULT '',
  `integer_value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`formfieldid`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formfield VALUES
(1,8,'Title','text',1,'',0,1,'',0,0,0,0,0,0,0,0,'',0),
(2,8,'Summary','memo',0,'0',0,2,'',0,0,0,0,0,0,0,0,'',0),
(3,8,'Description','dhtml',0,'',0,3,'',0,0,0,0,0,0,0,0,'',0),
(4,8,'Pages','integer',8,'0',0,4,'',0,0,0,0,1,1,0,0,'',0),
(5,8,'Weight','float',15,'0.5',0,5,'0.5',0,0,0,0,1,0,0,0,'',0),
(6,8,'Price','currency',16,'9.99',0,6,'9.99',0,0,0,0,0,0,0,0,'',0),
(7,8,'In stock','boolean',7,'0',0,7,'',0,0,0,0,0,0,0,0,'',0),
(8,8,'Published','date',24,'',0,8,'',0,0,0,0,1,0,0,0,'',0),
(9,8,'Sample chapter','file',0,'',0,9,'',0,0,0,0,0,0,0,0,'',0),
(10,8,'Cover','image',0,'',0,10,'',0,0,0,0,0,0,0,0,'',0),
(11,8,'Publisher','formlink',0,'0',9,11,'',0,0,0,0,0,0,0,0,'',0),
(12,8,'Related books','multiformlink',31,'0',8,12,'',0,0,0,0,1,0,0,0,'',0),
(13,8,'Series','productfamily',37,'0',8,13,'',0,0,0,0,0,0,0,0,'',0),
(14,7,'Name','text',1,'Visitor\'s name',0,1,'Visitor\'s name',0,0,0,0,0,0,0,0,'',0),
(15,7,'E-mail','text',1,'',0,2,'',0,0,0,0,0,0,0,0,'',0),
(16,7,'Message','memo',1,'',0,3,'',0,0,0,0,0,0,0,0,'',0),
(17,7,'Attachment','file',0,'',0,4,'',0,0,0,0,0,0,0,0,'',0),
(18,9,'Name','text',1,'',0,1,'',0,0,0,0,0,0,0,0,'',0),
(19,9,'Town','text',0,'London',0,2,'London',0,0,0,0,0,0,0,0,'',0),
(20,9,'Founded','integer',0,'1900',0,3,'1900',0,0,0,0,0,1,0,0,'',0),
(21,9,'Imprints','productfamily',37,'0',9,4,'',0,0,0,0,0,0,0,0,'',0);
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
  `ajaxhideonmouseout` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0,-1,-1,0,-1,0,0,0),
(2,19,2,2,0,0,'',-1,0,-1,-1,0,-1,0,0,0);
