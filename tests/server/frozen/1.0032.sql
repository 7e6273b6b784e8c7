-- An installation at 1.0032: the tables that differ from the version before it. Never changed.
-- no table tw_1.formloadingproperty
-- table tw_1.formmappingproperty
CREATE TABLE tw_1.`formmappingproperty` (
  `featureid` int(11) NOT NULL DEFAULT 0,
  `propertytype` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `value` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`featureid`,`propertytype`,`type`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.formmappingproperty VALUES
(8,1,1,5),
(8,1,2,0),
(9,2,1,18);
