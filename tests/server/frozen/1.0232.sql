-- An installation at 1.0232: the tables that differ from the version before it. Never changed.
-- table tw_1.security
CREATE TABLE tw_1.`security` (
  `userid` int(11) NOT NULL AUTO_INCREMENT,
  `username` varchar(50) NOT NULL DEFAULT '',
  `password` varchar(50) NOT NULL DEFAULT '',
  `name` varchar(100) NOT NULL DEFAULT '',
  `organization` varchar(100) NOT NULL DEFAULT '',
  `address` varchar(255) NOT NULL DEFAULT '',
  `postcode` varchar(20) NOT NULL DEFAULT '',
  `countryid` int(11) NOT NULL DEFAULT 0,
  `telephone` varchar(50) NOT NULL DEFAULT '',
  `email` varchar(100) NOT NULL DEFAULT '',
  `validationstate` int(11) NOT NULL DEFAULT 0,
  `validated` tinyint(1) NOT NULL DEFAULT 0,
  `address1` varchar(100) NOT NULL DEFAULT '',
  `address2` varchar(100) NOT NULL DEFAULT '',
  `town` varchar(100) NOT NULL DEFAULT '',
  `county` varchar(100) NOT NULL DEFAULT '',
  `receiveemails` tinyint(1) NOT NULL DEFAULT 0,
  `referalid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.security VALUES
(1,'admin','5f4dcc3b','Ann Fielding','Abbey Print Shop','1 Quay Street, Whitby','YO21 3PU',77,'01947 555010','ann@www.site1.example',0,0,'','','','',0,0),
(2,'editor','7c6a180b','Piet O\'Brien','','','',77,'','piet@www.site1.example',0,0,'','','','',0,0),
(3,'j.mueller','6cb75f65','Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','20457',54,'+49 40 555 123','joerg@mueller.example',0,0,'','','','',0,0);
