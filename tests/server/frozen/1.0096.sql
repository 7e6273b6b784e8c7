-- An installation at 1.0096: the tables that differ from the version before it. Never changed.
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
) ENGINE=InnoDB AUTO_INCREMENT=18 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.text VALUES
(1,1,0,0,'<h1>Welcome to Abbey Print Shop</h1><p>Books by the sea since 1974.</p>','<h1>Welcome</h1>',''),
(2,2,0,0,'&nbsp;',NULL,''),
(3,3,0,0,NULL,NULL,''),
(4,4,0,0,'<p>We deliver within three days.\r\nIt\'s free above £50.</p>',NULL,''),
(5,5,2,0,'<p>Old log-in text</p>','<p>Older log-in text</p>',''),
(6,7,0,0,'<p>Write to us.</p>',NULL,''),
(7,7,1,0,'<p>Thank you.</p>',NULL,''),
(8,7,2,0,'<p>Please fill in every field.</p>',NULL,''),
(9,21,2,20,'<p>No book found.</p>',NULL,''),
(10,21,2,7,'<p>A text of another type.</p>',NULL,''),
(11,10,0,22,'<p>You searched for: books found</p>',NULL,''),
(12,10,1,22,'<p>You searched for: books found</p>',NULL,''),
(13,18,0,0,'<p><#Embed.18.1:Title#> &lt;#Embed.18.2:Related books#&gt; <#Embed.18.3:Series#></p>','<p><#Embed.18.2:Related#></p>',''),
(14,18,1,0,'<table><tr><td><#Embed.18.2:Related books#></td></tr></table>',NULL,''),
(15,18,2,20,'',NULL,''),
(16,19,0,0,'<p><#Embed.19.4:Publisher#> <#Embed.19.2:Not of this page#> <#E-Embed.19.3:E-mail code#></p>',NULL,''),
(17,19,2,5,'<p>Chosen view</p>',NULL,'');
