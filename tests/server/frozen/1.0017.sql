-- An installation at 1.0017: the tables that differ from the version before it. Never changed.
-- table tw_1.attribute
CREATE TABLE tw_1.`attribute` (
  `attributeid` int(11) NOT NULL AUTO_INCREMENT,
  `tagid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(50) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`attributeid`)
) ENGINE=InnoDB AUTO_INCREMENT=32 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.attribute VALUES
(1,1,'color','blue'),
(2,1,'height','20px'),
(3,1,'padding-left','3px'),
(4,1,'font-size','11px'),
(5,2,'color','DarkRed'),
(6,2,'text-decoration','underline'),
(7,3,'color','#123456'),
(8,5,'font-weight','bold'),
(9,5,'color','dimgray'),
(10,6,'font-weight','normal'),
(11,6,'color','silver'),
(12,7,'color','Black'),
(13,8,'font-weight','bold'),
(14,9,'background-color','white whitesmoke'),
(15,10,'border-bottom','1px solid RED'),
(16,12,'background-color','whitesmoke'),
(17,13,'background-color','lightyellow'),
(18,13,'width','180px'),
(19,16,'color','#fff'),
(20,17,'font-family','Verdana, white, sans-serif'),
(21,20,'border-top','2px dotted LightSteelBlue'),
(22,20,'background','url(images/orange.gif)'),
(23,20,'border-color','offwhite'),
(24,21,'color','blue'),
(25,21,'font-size','11px'),
(27,3,'text-decoration','underline'),
(28,22,'font-weight','bold'),
(29,22,'color','dimgray'),
(31,7,'font-weight','normal');
-- table tw_1.layoutelement
CREATE TABLE tw_1.`layoutelement` (
  `elementid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `showtoall` tinyint(1) NOT NULL DEFAULT -1,
  `showtype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`elementid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutelement VALUES
(1,11,'Header',1,-1,0),
(2,11,'',2,0,1),
(3,11,'Footer',3,-1,0),
(4,12,'Picture',1,-1,0),
(5,12,'',2,-1,0);
-- table tw_1.tag
CREATE TABLE tw_1.`tag` (
  `tagid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(255) NOT NULL DEFAULT '',
  `templateid` int(11) NOT NULL DEFAULT 0,
  `overrideid` int(11) NOT NULL DEFAULT 0,
  `cssid` int(11) NOT NULL DEFAULT 0,
  `cachebuilt` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`tagid`)
) ENGINE=InnoDB AUTO_INCREMENT=23 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.tag VALUES
(1,'span.TreeLink',20,0,1,-1),
(2,'span.TreeLink:Hover',20,0,1,-1),
(3,'div.twTreeNode span.SiteTreeLink[suffix]:Hover',20,0,1,-1),
(4,'SPAN.TREELINK',20,0,1,-1),
(5,'.heading',20,1,1,-1),
(6,'.subheading',20,1,1,-1),
(7,'h2',0,1,1,-1),
(8,'.heading',20,0,1,-1),
(9,'.LOnavlink1 A',20,1,1,-1),
(10,'.LOheading12',20,1,1,-1),
(11,'.LOheading1',20,1,1,-1),
(12,'.LOzone3',20,1,1,-1),
(13,'.LOzone3',20,1,1,-1),
(14,'.LOnavlink99',20,1,1,-1),
(15,'.LOnavdivider2',20,1,2,-1),
(16,'.LOpage',20,0,1,-1),
(17,'BODY.basefont',20,0,1,-1),
(18,'.emptybasketlink',20,0,1,-1),
(19,'.returntobasketlink A',20,0,1,-1),
(20,'TABLE.pricelist',20,0,2,-1),
(21,'div.twTreeNode span.SiteTreeLink[suffix]',20,0,0,0),
(22,'h1',20,1,0,0);
