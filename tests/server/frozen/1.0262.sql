-- An installation at 1.0262: the tables that differ from the version before it. Never changed.
-- table tw_1.textembedproperty
CREATE TABLE tw_1.`textembedproperty` (
  `embedid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `valuetype` int(11) NOT NULL DEFAULT 0,
  `integer_value` int(11) NOT NULL DEFAULT 0,
  `string_value` varchar(255) NOT NULL DEFAULT '',
  `double_value` double NOT NULL DEFAULT 0,
  `longstring_value` longtext DEFAULT NULL,
  PRIMARY KEY (`embedid`,`propertytype`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.textembedproperty VALUES
(1,1,0,8,'',0,NULL),
(1,2,0,12,'',0,NULL),
(1,3,0,8,'',0,NULL),
(2,1,0,8,'',0,NULL),
(2,2,0,13,'',0,NULL),
(2,3,0,8,'',0,NULL),
(3,1,0,8,'',0,NULL),
(3,2,0,12,'',0,NULL),
(3,3,0,8,'',0,NULL);
