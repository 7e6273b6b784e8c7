-- An installation at 1.0085: the tables that differ from the version before it. Never changed.
-- table tw_1.eventpart
CREATE TABLE tw_1.`eventpart` (
  `eventpartid` int(11) NOT NULL AUTO_INCREMENT,
  `eventid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  `copiedeventpartid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`),
  KEY `eventid_idx` (`eventid`)
) ENGINE=InnoDB AUTO_INCREMENT=8 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.eventpart VALUES
(1,1,1,'Reset password email',1,0),
(2,2,1,'Order email',1,0),
(3,3,1,'Notification',1,0),
(4,4,1,'Order payment email',1,0),
(5,5,0,'Reset password email',1,0),
(6,6,0,'Order payment email',1,0),
(7,6,0,'Order payment email',2,0);
-- table tw_1.eventpartproperty
CREATE TABLE tw_1.`eventpartproperty` (
  `propertyid` int(11) NOT NULL AUTO_INCREMENT,
  `eventpartid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `currentvaluetype` int(11) NOT NULL DEFAULT 0,
  `copiedpropertyid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`propertyid`),
  KEY `eventpartid_idx` (`eventpartid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.eventpartpropertyvalue
CREATE TABLE tw_1.`eventpartpropertyvalue` (
  `propertyid` int(11) NOT NULL DEFAULT 0,
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `text` varchar(255) NOT NULL DEFAULT '',
  `integer_value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`propertyid`,`valuetype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
