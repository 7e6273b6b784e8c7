-- An installation at 1.0014: the tables that differ from the version before it. Never changed.
-- table tw_1.attribute
CREATE TABLE tw_1.`attribute` (
  `attributeid` int(11) NOT NULL AUTO_INCREMENT,
  `tagid` int(11) NOT NULL DEFAULT 0,
  `name` varchar(50) NOT NULL DEFAULT '',
  `value` varchar(255) NOT NULL DEFAULT '',
  PRIMARY KEY (`attributeid`)
) ENGINE=InnoDB AUTO_INCREMENT=28 DEFAULT CHARSET=utf8mb4 COLLATE=utf8mb4_general_ci;
INSERT INTO tw_1.attribute VALUES
(1,1,'color','blue'),
(2,1,'height','20px'),
(3,1,'padding-left','3px'),
(4,1,'font-size','11px'),
(5,2,'color','DarkRed'),
(6,2,'text-decoration','underline'),
(7,3,'color','#123456'),
(8,5,'font-weight','bold'),
(9,5,'color','dimgray'),
(10,6,'font-weight','normal'),
(11,6,'color','silver'),
(12,7,'color','Black'),
(13,8,'font-weight','bold'),
(14,9,'background-color','white whitesmoke'),
(15,10,'border-bottom','1px solid RED'),
(16,12,'background-color','whitesmoke'),
(17,13,'background-color','lightyellow'),
(18,13,'width','180px'),
(19,16,'color','#fff'),
(20,17,'font-family','Verdana, white, sans-serif'),
(21,20,'border-top','2px dotted LightSteelBlue'),
(22,20,'background','url(images/orange.gif)'),
(23,20,'border-color','offwhite'),
(24,21,'color','blue'),
(25,21,'font-size','11px'),
(27,3,'text-decoration','underline');
