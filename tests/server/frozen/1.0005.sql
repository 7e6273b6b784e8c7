-- An installation at 1.0005: the tables that differ from the version before it. Never changed.
-- table tw_1.layoutzone
CREATE TABLE tw_1.`layoutzone` (
  `zoneid` int(11) NOT NULL AUTO_INCREMENT,
  `elementid` int(11) NOT NULL DEFAULT 0,
  `sequence` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `navfrom` int(11) NOT NULL DEFAULT 0,
  `navuntil` int(11) NOT NULL DEFAULT 0,
  `flyoutjs` longtext DEFAULT NULL,
  `navroot` int(11) NOT NULL DEFAULT 0,
  `navoffset` int(11) NOT NULL DEFAULT 0,
  `navdepth` int(11) NOT NULL DEFAULT 1,
  PRIMARY KEY (`zoneid`),
  KEY `elementid_idx` (`elementid`)
) ENGINE=InnoDB AUTO_INCREMENT=5 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.layoutzone VALUES
(1,1,1,1,1,3,'function over1(){return true;}',0,1,3),
(2,2,1,1,2,2,'',0,2,1),
(3,3,1,2,4,1,NULL,0,4,1),
(4,5,1,2,0,1,'function over4(){return "x";}',0,0,2);
