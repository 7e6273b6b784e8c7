-- An installation at 1.0081: the tables that differ from the version before it. Never changed.
-- table tw_1.settingcountry
CREATE TABLE tw_1.`settingcountry` (
  `settingid` int(11) NOT NULL DEFAULT 0,
  `countryid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`settingid`,`countryid`),
  KEY `countryid_idx` (`countryid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
