-- An installation at 1.0033: the tables that differ from the version before it. Never changed.
-- table tw_1.usergroup
CREATE TABLE tw_1.`usergroup` (
  `userid` int(11) NOT NULL DEFAULT 0,
  `groupid` int(11) NOT NULL DEFAULT 0,
  `validfrom` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `validuntil` datetime NOT NULL DEFAULT '3000-01-01 00:00:00',
  PRIMARY KEY (`userid`,`groupid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.usergroup VALUES
(1,1,'1000-01-01 00:00:00','3000-01-01 00:00:00'),
(2,1,'1000-01-01 00:00:00','3000-01-01 00:00:00'),
(3,3,'1000-01-01 00:00:00','3000-01-01 00:00:00');
