-- An installation at 1.0019: the tables that differ from the version before it. Never changed.
-- table tw_1.formtemplateinstance
CREATE TABLE tw_1.`formtemplateinstance` (
  `instanceid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `logsearchdetails` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`instanceid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateinstance VALUES
(1,18,1,1,0),
(2,19,2,2,0);
-- table tw_1.orderitem
CREATE TABLE tw_1.`orderitem` (
  `itemid` int(11) NOT NULL AUTO_INCREMENT,
  `orderid` int(11) NOT NULL DEFAULT 0,
  `basketid` int(11) NOT NULL DEFAULT 0,
  `description` varchar(255) NOT NULL DEFAULT '',
  `quantity` int(11) NOT NULL DEFAULT 0,
  `price` float NOT NULL DEFAULT 0,
  PRIMARY KEY (`itemid`),
  KEY `basketid_idx` (`basketid`),
  KEY `irderid_idx` (`orderid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.orderitem VALUES
(1,1,1,'The Lighthouse',1,19.99),
(2,2,2,'Tides & Time',1,0.1),
(3,3,3,'Nets (box of 50)',3,407.35);
-- table tw_1.searchlog
CREATE TABLE tw_1.`searchlog` (
  `searchlogid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `resultcount` int(11) NOT NULL DEFAULT 0,
  `searchlink` varchar(255) NOT NULL DEFAULT '',
  `searchstring` varchar(255) NOT NULL DEFAULT '',
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `clientip` varchar(255) NOT NULL DEFAULT '',
  `serverip` varchar(255) NOT NULL DEFAULT '',
  `sitereferer` varchar(255) NOT NULL DEFAULT '',
  `pagereferer` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`searchlogid`),
  KEY `userid_idx` (`userid`),
  KEY `featureid_idx` (`featureid`),
  KEY `resultcount_idx` (`resultcount`),
  KEY `created_idx` (`created`),
  KEY `searchstring_idx` (`searchstring`(10))
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.text
CREATE TABLE tw_1.`text` (
  `textid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `texttype` int(11) NOT NULL DEFAULT 0,
  `text` longtext DEFAULT NULL,
  `previoustext` longtext DEFAULT NULL,
  PRIMARY KEY (`textid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=18 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.text VALUES
(1,1,0,0,'<h1>Welcome to Abbey Print Shop</h1><p>Books by the sea since 1974.</p>','<h1>Welcome</h1>'),
(2,2,0,0,'&nbsp;',NULL),
(3,3,0,0,NULL,NULL),
(4,4,0,0,'<p>We deliver within three days.\r\nIt\'s free above £50.</p>',NULL),
(5,5,2,0,'<p>Old log-in text</p>','<p>Older log-in text</p>'),
(6,7,0,0,'<p>Write to us.</p>',NULL),
(7,7,1,0,'<p>Thank you.</p>',NULL),
(8,7,2,0,'<p>Please fill in every field.</p>',NULL),
(9,21,2,0,'<p>No book found.</p>',NULL),
(10,21,2,7,'<p>A text of another type.</p>',NULL),
(11,10,0,22,'<p>You searched for: books found</p>',NULL),
(12,10,1,22,'<p>You searched for: books found</p>',NULL),
(13,18,0,0,'<p><#Embed.18.1:Title#> &lt;#Embed.18.2:Related books#&gt; <#Embed.18.3:Series#></p>','<p><#Embed.18.2:Related#></p>'),
(14,18,1,0,'<table><tr><td><#Embed.18.2:Related books#></td></tr></table>',NULL),
(15,18,2,0,'',NULL),
(16,19,0,0,'<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>',NULL),
(17,19,2,5,'<p>Chosen view</p>',NULL);
-- table tw_tarnwick.component
CREATE TABLE tw_tarnwick.`component` (
  `componentid` int(11) NOT NULL DEFAULT 0,
  `componentname` varchar(255) DEFAULT NULL,
  `foldername` varchar(50) DEFAULT NULL,
  `componentfile` varchar(50) DEFAULT NULL,
  `available` tinyint(1) NOT NULL DEFAULT 0,
  `published` tinyint(1) NOT NULL DEFAULT 0,
  `mandatory` tinyint(1) NOT NULL DEFAULT 0,
  `layoutcomponent` tinyint(1) NOT NULL DEFAULT 0,
  `standalone` tinyint(1) NOT NULL DEFAULT 0,
  `section` tinyint(1) NOT NULL DEFAULT 0,
  `allowcopy` tinyint(1) NOT NULL DEFAULT 0,
  `allowcopywithoutdata` tinyint(1) NOT NULL DEFAULT 0,
  `widget` tinyint(1) NOT NULL DEFAULT 0,
  `dev` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`componentid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.component VALUES
(100,'Log In','login','login.dll',-1,-1,-1,0,-1,-1,-1,0,0,0),
(300,'Site Search','search','search.dll',-1,-1,0,0,-1,-1,-1,0,0,0),
(400,'Text Page','textpage','textpage.dll',-1,-1,-1,0,-1,-1,-1,-1,0,0),
(500,'Text and Pictures','textpictures','textpictures.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(600,'Picture Gallery','gallery','gallery.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(700,'Redirection','redirect','redirect.dll',-1,-1,0,0,-1,0,-1,0,0,0),
(800,'Form','form','form.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(900,'Record List','recordlist','recordlist.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(1000,'Shop','shop','shop.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(1200,'Layout','layout','layout.dll',-1,-1,-1,-1,0,0,-1,0,0,0),
(1300,'Site Map','sitemap','sitemap.dll',-1,-1,0,0,-1,-1,-1,0,0,0),
(1450,'Forum','forum','forum.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(1500,'Site Manager','sitemanager','sitemanager.dll',-1,-1,-1,0,-1,0,0,0,0,0),
(1600,'Record Page','recordpage','recordpage.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(2300,'Search Box','searchbox','searchbox.dll',-1,-1,0,-1,0,0,-1,0,-1,0),
(2400,'Delivery and Charges','charges','charges.dll',-1,-1,0,0,-1,0,0,0,0,0),
(2600,'Data Feed','datafeed','datafeed.dll',-1,-1,0,0,-1,0,-1,0,0,0),
(2900,'Newsletter','newsletter','newsletter.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(3000,'Form Editor','formeditor','formeditor.dll',-1,-1,-1,0,-1,0,0,0,0,0),
(3100,'Style Editor','styleeditor','styleeditor.dll',-1,-1,-1,0,-1,0,0,0,0,0),
(3600,'Query Editor','queryeditor','queryeditor.dll',-1,-1,-1,0,-1,0,0,0,0,0),
(3700,'Record Table','recordtable','recordtable.dll',-1,-1,0,0,-1,-1,-1,-1,0,0),
(3900,'Statistics','statistics','statistics.dll',-1,-1,0,0,-1,0,0,0,0,0),
(4100,'Plain Text','plaintext','plaintext.dll',-1,-1,0,0,-1,0,-1,0,0,0),
(4300,'Basket','basket','basket.dll',-1,-1,0,-1,0,0,-1,0,-1,0),
(5600,'Server Manager','servermanager','servermanager.dll',-1,-1,0,0,-1,0,0,0,0,0);
-- table tw_tarnwick.componenttype
CREATE TABLE tw_tarnwick.`componenttype` (
  `componenttype` mediumint(9) NOT NULL DEFAULT 0,
  `componentid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`componenttype`,`componentid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.componenttype VALUES
(1,100),
(1,300),
(1,400),
(1,500),
(1,600),
(1,700),
(1,800),
(1,900),
(1,1000),
(1,1300),
(1,1450),
(1,1600),
(1,2900),
(1,3700),
(1,4100),
(2,1200),
(3,2300),
(3,4300),
(4,1500),
(4,2400),
(4,3000),
(4,3100),
(4,3600),
(4,3900),
(4,5600),
(5,2600);
