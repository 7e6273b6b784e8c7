-- An installation at 1.0241: the tables that differ from the version before it. Never changed.
-- table tw_1.textembed
CREATE TABLE tw_1.`textembed` (
  `embedid` int(11) NOT NULL AUTO_INCREMENT,
  `textid` int(11) NOT NULL DEFAULT 0,
  `major` int(11) NOT NULL DEFAULT -1,
  `minor` int(11) NOT NULL DEFAULT -1,
  PRIMARY KEY (`embedid`),
  KEY `textid_idx` (`textid`),
  KEY `major_idx` (`major`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
