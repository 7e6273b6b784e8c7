-- An installation at 1.0072: the tables that differ from the version before it. Never changed.
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
  PRIMARY KEY (`tagid`)
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
(16,'.LOpage',20,0,1,-1,0,0,0),
(17,'BODY.basefont',20,0,1,-1,0,0,500),
(18,'.emptybasketlink',20,0,1,-1,0,0,0),
(19,'.returntobasketlink A',20,0,1,-1,0,0,0),
(20,'TABLE.pricelist',20,0,2,-1,0,0,0),
(21,'div.twTreeNode span.SiteTreeLink[suffix]',20,0,0,0,0,0,0),
(22,'h1',20,1,0,0,0,0,0);
