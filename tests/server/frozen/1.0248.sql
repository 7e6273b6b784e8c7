-- An installation at 1.0248: the tables that differ from the version before it. Never changed.
-- table tw_1.regularexpression
CREATE TABLE tw_1.`regularexpression` (
  `regexid` int(11) NOT NULL AUTO_INCREMENT,
  `title` varchar(255) NOT NULL DEFAULT '',
  `description` longtext NOT NULL DEFAULT '',
  `pattern` longtext NOT NULL DEFAULT '',
  `ignorecase` tinyint(1) NOT NULL DEFAULT 0,
  `global` tinyint(1) NOT NULL DEFAULT 0,
  `multiline` tinyint(1) NOT NULL DEFAULT 0,
  `returntype` int(11) NOT NULL DEFAULT 0,
  `matchcount` int(11) NOT NULL DEFAULT 1,
  `replacestr` varchar(255) NOT NULL DEFAULT '',
  `testinput` longtext NOT NULL DEFAULT '',
  PRIMARY KEY (`regexid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
