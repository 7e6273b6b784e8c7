-- An installation at 1.0243: the tables that differ from the version before it. Never changed.
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
  `recurse` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0,0,'',-1,0,-1,-1,0,-1,0,0,0,0),
(2,19,2,2,0,0,'',-1,0,-1,-1,0,-1,0,0,0,0);
-- table tw_1.text
CREATE TABLE tw_1.`text` (
  `textid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `texttype` int(11) NOT NULL DEFAULT 0,
  `text` longtext DEFAULT NULL,
  `previoustext` longtext DEFAULT NULL,
  `publishfuturepermission` varchar(50) NOT NULL DEFAULT '',
  PRIMARY KEY (`textid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=19 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.text VALUES
(1,1,0,0,'<h1>Welcome to Abbey Print Shop</h1><p>Books by the sea since 1974.</p>','<h1>Welcome</h1>',''),
(2,2,0,0,'&nbsp;',NULL,''),
(3,3,0,0,NULL,NULL,''),
(4,4,0,0,'<p>We deliver within three days.\r\nIt\'s free above £50.</p>',NULL,''),
(5,5,2,0,'<p>Forgotten your password? Ask for a new one.</p><div class="error">That name or password isn\'t right.</div>','<p>Older log-in text</p>',''),
(6,7,0,0,'<p>Write to us.</p>',NULL,''),
(7,7,1,0,'<p>Thank you.</p>',NULL,''),
(8,7,2,0,'<p>Please fill in every field.</p>',NULL,''),
(9,21,2,20,'<p>No book found.</p>',NULL,''),
(10,21,2,7,'<p>A text of another type.</p>',NULL,''),
(11,10,0,22,'<p>You searched for: books found</p>',NULL,''),
(12,10,1,22,'<p>You searched for: books found</p>',NULL,''),
(13,18,0,0,'<p><#Embed.18.1:Title#> <#TextEmbed.1:Related books#> <#TextEmbed.2:Series#></p>','<p><#TextEmbed.1:Related#></p>',''),
(14,18,1,0,'<table><tr><td><#TextEmbed.3:Related books#></td></tr></table>',NULL,''),
(15,18,2,20,'',NULL,''),
(16,19,0,0,'<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>',NULL,''),
(17,19,2,5,'<p>Chosen view</p>',NULL,''),
(18,5,3,0,'<p>New here? Register now.</p>',NULL,'');
-- table tw_1.textembed
CREATE TABLE tw_1.`textembed` (
  `embedid` int(11) NOT NULL AUTO_INCREMENT,
  `textid` int(11) NOT NULL DEFAULT 0,
  `major` int(11) NOT NULL DEFAULT -1,
  `minor` int(11) NOT NULL DEFAULT -1,
  PRIMARY KEY (`embedid`),
  KEY `textid_idx` (`textid`),
  KEY `major_idx` (`major`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.textembed VALUES
(1,13,18,2),
(2,13,18,3),
(3,14,18,2);
-- table tw_1.textembedproperty
CREATE TABLE tw_1.`textembedproperty` (
  `embedid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `string_value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`embedid`,`propertytype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.textembedproperty VALUES
(1,1,0,8,''),
(1,2,0,12,''),
(1,3,0,8,''),
(2,1,0,8,''),
(2,2,0,13,''),
(2,3,0,8,''),
(3,1,0,8,''),
(3,2,0,12,''),
(3,3,0,8,'');
