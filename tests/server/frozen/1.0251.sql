-- An installation at 1.0251: the tables that differ from the version before it. Never changed.
-- table tw_1.form_7
CREATE TABLE tw_1.`form_7` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_14` varchar(255) NOT NULL DEFAULT '',
  `field_15` varchar(255) NOT NULL DEFAULT '',
  `field_16` text NOT NULL DEFAULT '',
  `field_17` varchar(255) NOT NULL DEFAULT '',
  `field_17_filesize` double NOT NULL DEFAULT -1,
  `field_17_filetype` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`replyid`)
) ENGINE=InnoDB AUTO_INCREMENT=3 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_7 VALUES
(1,0,'2007-12-24 18:00:00','Siân Jones','sian@jones.example','Are you open tomorrow?','../files/letter.doc',77,'doc'),
(2,3,'2007-12-27 09:30:00','Jörg Müller','joerg@mueller.example','My order; where is it?','',-1,'');
-- table tw_1.form_8
CREATE TABLE tw_1.`form_8` (
  `replyid` int(11) NOT NULL AUTO_INCREMENT,
  `userid` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_1` varchar(255) NOT NULL DEFAULT '',
  `field_2` text NOT NULL DEFAULT '',
  `field_3` text NOT NULL DEFAULT '',
  `field_4` int(11) NOT NULL DEFAULT 0,
  `field_6` decimal(17,2) NOT NULL DEFAULT 0.00,
  `field_7` tinyint(1) NOT NULL DEFAULT 0,
  `field_8` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `field_9` varchar(255) NOT NULL DEFAULT '',
  `field_10` varchar(255) NOT NULL DEFAULT '',
  `field_11` int(11) NOT NULL DEFAULT 0,
  `field_12` int(11) NOT NULL DEFAULT 0,
  `field_13` int(11) NOT NULL DEFAULT 0,
  `field_5` double NOT NULL DEFAULT 0,
  `field_11_targetformid` int(11) NOT NULL DEFAULT 0,
  `field_9_filesize` double NOT NULL DEFAULT -1,
  `field_9_filetype` varchar(20) NOT NULL DEFAULT '',
  `field_10_filesize` double NOT NULL DEFAULT -1,
  `field_10_filetype` varchar(20) NOT NULL DEFAULT '',
  PRIMARY KEY (`replyid`),
  KEY `field_11_targetformid_idx` (`field_11_targetformid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.form_8 VALUES
(1,1,'2007-05-01 10:00:00','The Lighthouse','A keeper\'s diary.','<p>A <b>keeper\'s</b> diary.</p>',312,19.99,-1,'2006-09-01 00:00:00','../files/lighthouse.pdf','../images/lighthouse.JPG',1,2,1,0.45,9,1234,'pdf',4321,'jpg'),
(2,1,'2007-05-02 11:30:00','Tides & Time','','',0,0.10,0,'2007-02-14 00:00:00','../files/lost.pdf','../images/tides.jpeg',2,0,0,1.1,9,-1,'',10,'jpeg'),
(3,2,'2007-06-20 15:05:00','Über das Meer','Gedichte','<p>Gedichte</p>',96,1234.50,-1,'1998-10-05 00:00:00','../files/../../secret.txt','',1,1,0,0.123456,9,-1,'',-1,''),
(4,2,'2007-07-09 08:15:00','Nets','','',150,7.00,0,'2001-01-01 00:00:00','http://elsewhere.example/nets.pdf','../images/no-extension',0,0,1,0,9,-1,'',0,'');
-- table tw_1.oauthconsumer
CREATE TABLE tw_1.`oauthconsumer` (
  `consumerid` int(11) NOT NULL AUTO_INCREMENT,
  `name` varchar(100) NOT NULL DEFAULT '',
  `consumerkey` varchar(255) NOT NULL DEFAULT '',
  `consumersecret` varchar(255) NOT NULL DEFAULT '',
  `callbackurl` varchar(255) NOT NULL DEFAULT '',
  `callbackusernameparam` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`consumerid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.oauthconsumer VALUES
(1,'Chatter','k-483920','s-9f8e7d','http://www.site1.example/login/chatter','');
-- table tw_1.queryfieldsrc
CREATE TABLE tw_1.`queryfieldsrc` (
  `queryfieldid` int(11) NOT NULL DEFAULT 0,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `tableid` int(11) NOT NULL DEFAULT 0,
  `srcfieldid` int(11) NOT NULL DEFAULT 0,
  `subtype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`queryfieldid`,`tableid`,`srcfieldid`),
  KEY `queryid_idx` (`queryid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.queryfieldsrc VALUES
(1,1,1,1,0),
(2,1,1,12,0),
(3,1,1,13,0),
(4,2,2,18,0);
-- table tw_1.queryjoin
CREATE TABLE tw_1.`queryjoin` (
  `joinid` int(11) NOT NULL AUTO_INCREMENT,
  `queryid` int(11) NOT NULL DEFAULT 0,
  `jointype` int(11) NOT NULL DEFAULT 0,
  `srctableid` int(11) NOT NULL DEFAULT 0,
  `srcfieldid` int(11) NOT NULL DEFAULT 0,
  `objtableid` int(11) NOT NULL DEFAULT 0,
  `objfieldid` int(11) NOT NULL DEFAULT 0,
  `srcfieldsubtype` int(11) NOT NULL DEFAULT 0,
  `objfieldsubtype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`joinid`),
  KEY `queryid_idx` (`queryid`)
) ENGINE=InnoDB AUTO_INCREMENT=2 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.queryjoin VALUES
(1,1,1,8,11,9,18,0,0);
