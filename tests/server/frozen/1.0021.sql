-- An installation at 1.0021: the tables that differ from the version before it. Never changed.
-- table tw_1.feature
CREATE TABLE tw_1.`feature` (
  `featureid` int(11) NOT NULL AUTO_INCREMENT,
  `componentid` int(11) NOT NULL DEFAULT 0,
  `featurename` varchar(255) NOT NULL DEFAULT '',
  `navigationstyle` varchar(50) NOT NULL DEFAULT '',
  `deadlink` tinyint(1) NOT NULL DEFAULT 0,
  `redirecturl` varchar(255) NOT NULL DEFAULT '',
  `hidden` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`),
  KEY `componentid_idx` (`componentid`),
  KEY `hidden_idx` (`hidden`),
  KEY `deadlink_idx` (`deadlink`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.feature VALUES
(1,400,'Home','LONavTop',0,'',0),
(2,400,'About us','LONavSide',0,'',0),
(3,500,'News','LONavSide',0,'',0),
(4,500,'Terms of delivery','LONavHidden',0,'',-1),
(5,100,'Log in','LONavTop',0,'',0),
(6,1000,'Shop','LONavTop',0,'',0),
(7,800,'Contact form','LONavSide',0,'',0),
(8,800,'Book catalogue','LONavSide',0,'',0),
(9,800,'Publishers','LONavHidden',0,'',-1),
(10,300,'Search','LONavTop',0,'',0),
(11,1200,'Standard layout','',0,'',0),
(12,1200,'Landing page layout','',0,'',0),
(13,1450,'Readers\' forum','LONavTop',0,'',0),
(14,1000,'Trade counter','LONavHidden',0,'',-1),
(15,100,'Members\' area','LONavHidden',0,'',-1),
(16,2600,'Price feed','LONavHidden',0,'',-1),
(17,700,'Spring sale','LONavSide',-1,'http://www.site1.example/shop',0),
(18,900,'New books','LONavSide',0,'',0),
(19,3700,'Publishers by town','LONavSide',0,'',0),
(20,1200,'House style','',0,'',0),
(21,900,'All books','LONavSide',0,'',0);
