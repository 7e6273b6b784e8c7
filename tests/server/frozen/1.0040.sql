-- An installation at 1.0040: the tables that differ from the version before it. Never changed.
-- table tw_tarnwick.schedule
CREATE TABLE tw_tarnwick.`schedule` (
  `siteid` int(11) NOT NULL,
  `featureid` int(11) NOT NULL,
  `subfeatureid` int(11) NOT NULL DEFAULT 0,
  `tasktype` int(11) NOT NULL,
  `schedule` varchar(20) NOT NULL,
  `lastruntime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `nextruntime` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `text` varchar(255) DEFAULT NULL,
  KEY `siteid_idx` (`siteid`),
  KEY `featureid_idx` (`featureid`),
  KEY `tasktype_idx` (`tasktype`),
  KEY `lastruntime_idx` (`lastruntime`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
