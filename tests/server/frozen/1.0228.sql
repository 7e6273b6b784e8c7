-- An installation at 1.0228: the tables that differ from the version before it. Never changed.
-- table tw_1.formtemplateviewfield
CREATE TABLE tw_1.`formtemplateviewfield` (
  `viewfieldid` int(11) NOT NULL AUTO_INCREMENT,
  `viewid` int(11) NOT NULL DEFAULT 0,
  `formtemplatefieldid` int(11) NOT NULL DEFAULT 0,
  `formtemplateviewfieldtype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `hideitemifnooptions` tinyint(1) NOT NULL DEFAULT 0,
  `text` varchar(100) DEFAULT NULL,
  `displaytype` int(11) NOT NULL DEFAULT 0,
  `datamodtype` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`viewfieldid`),
  KEY `viewid_idx` (`viewid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplateviewfield VALUES
(1,1,1,6,0,1,-1,NULL,0,0),
(2,1,2,7,0,2,-1,NULL,0,0),
(3,1,3,22,0,3,0,NULL,0,0),
(4,2,4,1,1,1,0,NULL,0,0);
