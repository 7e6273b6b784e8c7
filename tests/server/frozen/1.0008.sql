-- An installation at 1.0008: the tables that differ from the version before it. Never changed.
-- table tw_1.email
CREATE TABLE tw_1.`email` (
  `emailid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `type` varchar(50) NOT NULL DEFAULT '',
  `fromlist` varchar(255) DEFAULT NULL,
  `tolist` longtext DEFAULT NULL,
  `cclist` longtext DEFAULT NULL,
  `bcclist` longtext DEFAULT NULL,
  `subject` varchar(255) DEFAULT NULL,
  `message` longtext DEFAULT NULL,
  PRIMARY KEY (`emailid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=8 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.email VALUES
(1,15,'resetpassword','admin@www.site1.example','<#User.email#>',NULL,NULL,'Your new password','Dear <#User.name#>,\r\nit\'s "<#Password#>".'),
(2,6,'orderconfirmation','Abbey Print Shop <shop@www.site1.example>','<#OrderDetails:Name=E-mail,Id=billingemail#>','',NULL,'Order <#OrderDetails:Name=Order number,Id=orderid#>','<b>Thank you</b>, <#OrderDetails:Name=Customer,Id=billingname#>!\r\nTotal: &lt;#OrderDetails:Name=Total,Id=total#&gt;\r\nNote: <#OrderDetails:Name=Gift note,Id=giftnote#>'),
(3,6,'postorderpayment','shop@www.site1.example','<#Embed.17.12:E-mail#>',NULL,'accounts@www.site1.example','Payment received','We received <#OrderDetails:Name=Amount,Id=paymentamount#>.'),
(4,6,'postorderpayment','shop@www.site1.example','accounts@www.site1.example',NULL,NULL,'A payment came in','C:\\orders\\<#Embed.17.0:Order number#>.txt'),
(5,7,'formnotification',NULL,NULL,NULL,NULL,NULL,NULL),
(6,14,'postorderpayment','trade@www.site1.example','trade@www.site1.example','','','Trade payment','Paid.'),
(7,5,'resetpassword',NULL,NULL,NULL,NULL,'Reset your password','Somebody has asked for a new password for your account on this site.\r\n\r\nIf it was not you, please ignore this e-mail: your password stays as it is.\r\n');
-- table tw_1.emailevent
CREATE TABLE tw_1.`emailevent` (
  `eventpartid` int(11) NOT NULL DEFAULT 0,
  `emailid` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`,`emailid`),
  KEY `emailid_idx` (`emailid`)
) ENGINE=InnoDB DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.emailevent VALUES
(1,1),
(2,2),
(3,5),
(4,6),
(5,7);
-- table tw_1.event
CREATE TABLE tw_1.`event` (
  `eventid` int(11) NOT NULL AUTO_INCREMENT,
  `featureid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  PRIMARY KEY (`eventid`),
  KEY `featureid_idx` (`featureid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.event VALUES
(1,15,'Reset Password'),
(2,6,'Order Placed'),
(3,7,'Form Record Change'),
(4,14,'Order Payment'),
(5,5,'Reset Password');
-- table tw_1.eventpart
CREATE TABLE tw_1.`eventpart` (
  `eventpartid` int(11) NOT NULL AUTO_INCREMENT,
  `eventid` int(11) NOT NULL DEFAULT 0,
  `type` int(11) NOT NULL DEFAULT 0,
  `name` varchar(100) NOT NULL DEFAULT '',
  `sequence` int(11) NOT NULL DEFAULT 0,
  PRIMARY KEY (`eventpartid`),
  KEY `eventid_idx` (`eventid`)
) ENGINE=InnoDB AUTO_INCREMENT=6 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.eventpart VALUES
(1,1,1,'Reset password email',1),
(2,2,1,'Order email',1),
(3,3,1,'Notification',1),
(4,4,1,'Order payment email',1),
(5,5,0,'Reset password email',1);
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
  PRIMARY KEY (`userid`)
) ENGINE=InnoDB AUTO_INCREMENT=4 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.security VALUES
(1,'admin','5f4dcc3b','Ann Fielding','Abbey Print Shop','1 Quay Street, Whitby','YO21 3PU',77,'01947 555010','ann@www.site1.example',0,0),
(2,'editor','7c6a180b','Piet O\'Brien','','','',77,'','piet@www.site1.example',0,0),
(3,'j.mueller','6cb75f65','Jörg Müller','Müller & Söhne','Hafenstraße 12, Hamburg','20457',54,'+49 40 555 123','joerg@mueller.example',0,0);
