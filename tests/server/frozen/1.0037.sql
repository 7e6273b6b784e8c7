-- An installation at 1.0037: the tables that differ from the version before it. Never changed.
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
  `latestelementid` int(11) DEFAULT NULL,
  `latestpublishedelementid` int(11) DEFAULT NULL,
  `postings` int(11) DEFAULT NULL,
  `publishedpostings` int(11) DEFAULT NULL,
  PRIMARY KEY (`elementid`),
  KEY `threadid_idx` (`threadid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=13 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.forum VALUES
(1,13,1,0,3,'Favourite sea stories?','Tell us.','2007-08-01 10:00:00',-1,0,6,6,4,3),
(2,13,1,1,2,'Re: Favourite sea stories?','The Lighthouse, of course.','2007-08-01 11:00:00',-1,0,NULL,NULL,NULL,NULL),
(3,13,1,1,0,'Re: Favourite sea stories?','buy cheap watches','2007-08-02 03:00:00',0,-1,NULL,NULL,NULL,NULL),
(4,13,4,0,0,'CHEAP WATCHES','cheap!!!','2007-08-02 03:01:00',-1,-1,5,5,2,2),
(5,13,4,4,2,'Re: CHEAP WATCHES','Please don\'t.','2007-08-02 09:00:00',-1,0,NULL,NULL,NULL,NULL),
(6,13,1,2,3,'Re: Favourite sea stories?','Agreed.','2007-08-03 12:00:00',-1,0,NULL,NULL,NULL,NULL),
(8,13,8,0,3,'Waiting for approval','Nobody has read this yet.','2007-09-10 10:00:00',0,0,9,NULL,2,NULL),
(9,13,8,8,3,'Re: Waiting for approval','Hello?','2007-09-11 10:00:00',0,0,NULL,NULL,NULL,NULL),
(10,13,10,0,2,'Opening hours','At Christmas: 10 to 4.','2007-12-20 10:00:00',-1,0,10,10,1,1),
(12,13,12,0,0,'Watches again','cheap','2007-12-21 02:00:00',-1,-1,NULL,NULL,NULL,NULL);
