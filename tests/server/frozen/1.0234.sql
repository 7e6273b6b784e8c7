-- An installation at 1.0234: the tables that differ from the version before it. Never changed.
-- table tw_1.formtemplate
CREATE TABLE tw_1.`formtemplate` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `formfeatureid` int(11) NOT NULL DEFAULT 0,
  `customviewconfigured` tinyint(1) NOT NULL DEFAULT 0,
  `qbxviewconfigured` tinyint(1) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formtemplate VALUES
(18,8,-1,0),
(19,9,0,-1);
