-- An installation at 1.0084: the tables that differ from the version before it. Never changed.
-- table tw_1.eventdelay
CREATE TABLE tw_1.`eventdelay` (
  `delayid` int(11) NOT NULL AUTO_INCREMENT,
  `delayuntiltype` int(11) NOT NULL DEFAULT 0,
  `delayuntildate` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  `delayuntilnexttype` int(11) NOT NULL DEFAULT 0,
  `delayuntilformfieldid` int(11) NOT NULL DEFAULT 0,
  `delayuntilqueryinstanceid` int(11) NOT NULL DEFAULT 0,
  `delayuntilqueryfieldid` int(11) NOT NULL DEFAULT 0,
  `adjustbytype` int(11) NOT NULL DEFAULT 0,
  `adjustbytimespan` varchar(35) NOT NULL DEFAULT '',
  `adjustbyformfieldid` int(11) NOT NULL DEFAULT 0,
  `adjustbyqueryinstanceid` int(11) NOT NULL DEFAULT 0,
  `adjustbyqueryfieldid` int(11) NOT NULL DEFAULT 0,
  `subtractadjustby` tinyint(1) NOT NULL DEFAULT 0,
  `copieddelayid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`delayid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
-- table tw_1.eventwakeup
CREATE TABLE tw_1.`eventwakeup` (
  `guid` varchar(32) DEFAULT NULL,
  `protocol` varchar(20) NOT NULL DEFAULT 'http://',
  `domain` varchar(255) NOT NULL DEFAULT '',
  `port` int(11) NOT NULL DEFAULT 80,
  `eventid` int(11) NOT NULL DEFAULT 0,
  `eventpartid` int(11) NOT NULL DEFAULT 0,
  `dataxml` longtext NOT NULL DEFAULT '',
  `userid` int(11) NOT NULL DEFAULT 0,
  `userip` varchar(15) NOT NULL DEFAULT '',
  `keydataid1` int(11) NOT NULL DEFAULT 0,
  `keydataid2` int(11) NOT NULL DEFAULT 0,
  `created` datetime NOT NULL DEFAULT '1000-01-01 00:00:00',
  KEY `guid_idx` (`guid`(15)),
  KEY `keydataid1_idx` (`keydataid1`),
  KEY `keydataid2_idx` (`keydataid2`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
