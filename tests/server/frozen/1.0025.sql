-- An installation at 1.0025: the tables that differ from the version before it. Never changed.
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
  PRIMARY KEY (`featureid`),
  KEY `componentid_idx` (`componentid`),
  KEY `hidden_idx` (`hidden`),
  KEY `deadlink_idx` (`deadlink`)
) ENGINE=InnoDB AUTO_INCREMENT=22 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.feature VALUES
(1,400,'Home','LONavTop',0,'',0,302),
(2,400,'About us','LONavSide',0,'',0,302),
(3,500,'News','LONavSide',0,'',0,302),
(4,500,'Terms of delivery','LONavHidden',0,'',-1,302),
(5,100,'Log in','LONavTop',0,'',0,302),
(6,1000,'Shop','LONavTop',0,'',0,302),
(7,800,'Contact form','LONavSide',0,'',0,302),
(8,800,'Book catalogue','LONavSide',0,'',0,302),
(9,800,'Publishers','LONavHidden',0,'',-1,302),
(10,300,'Search','LONavTop',0,'',0,302),
(11,1200,'Standard layout','',0,'',0,302),
(12,1200,'Landing page layout','',0,'',0,302),
(13,1450,'Readers\' forum','LONavTop',0,'',0,302),
(14,1000,'Trade counter','LONavHidden',0,'',-1,302),
(15,100,'Members\' area','LONavHidden',0,'',-1,302),
(16,2600,'Price feed','LONavHidden',0,'',-1,302),
(17,700,'Spring sale','LONavSide',-1,'http://www.site1.example/shop',0,302),
(18,900,'New books','LONavSide',0,'',0,302),
(19,3700,'Publishers by town','LONavSide',0,'',0,302),
(20,1200,'House style','',0,'',0,302),
(21,900,'All books','LONavSide',0,'',0,302);
-- table tw_1.forum
CREATE TABLE tw_1.`forum` (
  `elementid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `threadid` int(11) NOT NULL DEFAULT 0,
  `parentid` int(11) NOT NULL DEFAULT 0,
  `userid` int(11) NOT NULL DEFAULT 0,
  `subject` varchar(255) NOT NULL DEFAULT '',
  `message` longtext DEFAULT NULL,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `published` tinyint(1) NOT NULL DEFAULT 0,
  `removed` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`elementid`),
  KEY `threadid_idx` (`threadid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=13 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.forum VALUES
(1,13,1,0,3,'Favourite sea stories?','Tell us.','2007-08-01 10:00:00',-1,0),
(2,13,1,1,2,'Re: Favourite sea stories?','The Lighthouse, of course.','2007-08-01 11:00:00',-1,0),
(3,13,1,1,0,'Re: Favourite sea stories?','buy cheap watches','2007-08-02 03:00:00',0,-1),
(4,13,4,0,0,'CHEAP WATCHES','cheap!!!','2007-08-02 03:01:00',-1,-1),
(5,13,4,4,2,'Re: CHEAP WATCHES','Please don\'t.','2007-08-02 09:00:00',-1,0),
(6,13,1,2,3,'Re: Favourite sea stories?','Agreed.','2007-08-03 12:00:00',-1,0),
(8,13,8,0,3,'Waiting for approval','Nobody has read this yet.','2007-09-10 10:00:00',0,0),
(9,13,8,8,3,'Re: Waiting for approval','Hello?','2007-09-11 10:00:00',0,0),
(10,13,10,0,2,'Opening hours','At Christmas: 10 to 4.','2007-12-20 10:00:00',-1,0),
(12,13,12,0,0,'Watches again','cheap','2007-12-21 02:00:00',-1,-1);
-- table tw_1.userlock
CREATE TABLE tw_1.`userlock` (
  `lockid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `locktime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`lockid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.userlock VALUES
(1,2,3,'2008-01-09 17:40:00',0);
-- table tw_tarnwick.domain
CREATE TABLE tw_tarnwick.`domain` (
  `siteid` int(11) NOT NULL DEFAULT 0,
  `domainname` varchar(100) NOT NULL DEFAULT '',
  `ipaddress` varchar(15) NOT NULL DEFAULT '',
  `tcpport` int(11) NOT NULL DEFAULT 0,
  `defaultdomain` tinyint(1) NOT NULL DEFAULT 0,
  `redirecttodefault` tinyint(1) NOT NULL DEFAULT 0,
  KEY `siteidindex` (`siteid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_tarnwick.domain VALUES
(1,'www.site1.example','192.0.2.10',80,0,0),
(1,'site1.example','192.0.2.11',80,0,0);
