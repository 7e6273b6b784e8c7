-- An installation at 1.0082: the tables that differ from the version before it. Never changed.
-- table tw_1.cache
CREATE TABLE tw_1.`cache` (
  `cacheid` int(11) NOT NULL AUTO_INCREMENT,
  `type` int(11) NOT NULL DEFAULT 0,
  `templateid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`cacheid`)
) ENGINE=InnoDB AUTO_INCREMENT=7 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.cache VALUES
(2,0,0),
(5,2,0),
(6,1,20);
-- table tw_1.feature
CREATE TABLE tw_1.`feature` (
  `featureid` int(11) NOT NULL AUTO_INCREMENT,
  `componentid` int(11) NOT NULL DEFAULT 0,
  `featurename` varchar(255) NOT NULL DEFAULT '',
  `navigationstyle` varchar(50) NOT NULL DEFAULT '',
  `deadlink` tinyint(1) NOT NULL DEFAULT 0,
  `redirecturl` varchar(255) NOT NULL DEFAULT '',
  `hidden` tinyint(1) NOT NULL DEFAULT 0,
  `redirecttype` int(11) NOT NULL DEFAULT 302,
  `blankcontent` tinyint(1) NOT NULL DEFAULT -1,
  `inlinechildnav` tinyint(1) NOT NULL DEFAULT 0,
  `permissioncacheid` int(11) NOT NULL DEFAULT 0,
  `stylecacheid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`),
  KEY `componentid_idx` (`componentid`),
  KEY `hidden_idx` (`hidden`),
  KEY `permissioncacheid_idx` (`permissioncacheid`),
  KEY `deadlink_idx` (`deadlink`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.feature VALUES
(1,400,'Home','LONavTop',0,'',0,302,0,0,0,0),
(2,400,'About us','LONavSide',0,'',0,302,-1,0,0,0),
(3,500,'News','LONavSide',0,'',0,302,-1,0,0,0),
(4,500,'Terms of delivery','LONavHidden',0,'',-1,302,0,0,0,0),
(5,100,'Log in','LONavTop',0,'',0,302,-1,0,0,0),
(6,1000,'Shop','LONavTop',0,'',0,302,-1,0,0,0),
(7,800,'Contact form','LONavSide',0,'',0,302,-1,0,0,0),
(8,800,'Book catalogue','LONavSide',0,'',0,302,-1,0,0,0),
(9,800,'Publishers','LONavHidden',0,'',-1,302,-1,0,0,0),
(10,300,'Search','LONavTop',0,'',0,302,-1,0,0,0),
(11,1200,'Standard layout','',0,'',0,302,-1,0,0,0),
(12,1200,'Landing page layout','',0,'',0,302,-1,0,0,0),
(13,1450,'Readers\' forum','LONavTop',0,'',0,302,-1,0,0,0),
(14,1000,'Trade counter','LONavHidden',0,'',-1,302,-1,0,0,0),
(15,100,'Members\' area','LONavHidden',0,'',-1,302,-1,0,0,0),
(16,2600,'Price feed','LONavHidden',0,'',-1,302,-1,0,0,0),
(17,700,'Spring sale','LONavSide',-1,'http://www.site1.example/shop',0,302,-1,0,0,0),
(18,900,'New books','LONavSide',0,'',0,302,-1,0,0,0),
(19,3700,'Publishers by town','LONavSide',0,'',0,302,-1,0,0,0),
(20,1200,'House style','',0,'',0,302,-1,0,0,0),
(21,900,'All books','LONavSide',0,'',0,302,-1,0,0,0);
-- table tw_1.featurecache
CREATE TABLE tw_1.`featurecache` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `cacheid` int(11) NOT NULL DEFAULT 0,
  KEY `featureid_idx` (`featureid`),
  KEY `cacheid_idx` (`cacheid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.featurecache VALUES
(3,5),
(3,6);
-- table tw_1.tag
CREATE TABLE tw_1.`tag` (
  `tagid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(255) NOT NULL DEFAULT '',
  `templateid` int(11) NOT NULL DEFAULT 0,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `cssid` int(11) NOT NULL DEFAULT 0,
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  `media` int(11) NOT NULL DEFAULT 0,
  `subownerid` int(11) NOT NULL DEFAULT 0,
  `cssorder` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`tagid`),
  KEY `cssid_idx` (`cssid`),
  KEY `templateid_idx` (`templateid`),
  KEY `overrideid_idx` (`overrideid`)
) ENGINE=InnoDB AUTO_INCREMENT=23 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.tag VALUES
(1,'span.TreeLink',20,0,1,-1,0,0,0),
(2,'span.TreeLink:Hover',20,0,1,-1,0,0,0),
(3,'div.twTreeNode span.SiteTreeLink[suffix]:Hover',20,0,1,-1,0,0,0),
(4,'SPAN.TREELINK',20,0,1,-1,0,0,0),
(5,'.heading',20,1,1,-1,0,0,0),
(6,'.subheading',20,1,1,-1,0,0,0),
(7,'h2',0,1,1,-1,0,0,0),
(8,'.heading',20,0,1,-1,0,0,0),
(9,'.LOnavlink1 A',20,1,1,-1,0,1,0),
(10,'.LOheading12',20,1,1,-1,0,2,0),
(11,'.LOheading1',20,1,1,-1,0,0,0),
(12,'.LOzone3',20,1,1,-1,0,3,0),
(14,'.LOnavlink99',20,1,1,-1,0,0,0),
(15,'.LOnavdivider2',20,1,2,-1,0,2,0),
(16,'.LOpage',20,0,1,-1,0,0,50),
(17,'BODY.basefont',20,0,1,-1,0,0,500),
(18,'.emptybasketlink',20,0,1,-1,0,0,0),
(19,'.returntobasketlink A',20,0,1,-1,0,0,0),
(20,'TABLE.pricelist',20,0,2,-1,0,0,0),
(21,'div.twTreeNode span.SiteTreeLink[suffix]',20,0,0,0,0,0,0),
(22,'h1',20,1,0,0,0,0,0);
