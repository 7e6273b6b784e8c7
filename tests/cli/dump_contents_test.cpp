#include "cli/backup/dump_contents.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace twupdate::test {
namespace {

using cli::DumpContents;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::string_view kDump =
    "/*!40000 DROP DATABASE IF EXISTS `tw_7`*/;\n"
    "CREATE DATABASE /*!32312 IF NOT EXISTS*/ `tw_7` /*!40100 DEFAULT CHARACTER SET utf8mb4 */;\n"
    "USE `tw_7`;\n"
    "CREATE TABLE `trigger` (\n"
    "  `view` int(11) DEFAULT NULL\n"
    ") ENGINE=InnoDB;\n"
    "INSERT INTO `trigger` VALUES\n"
    "(1,'CREATE DEFINER=`no`@`body` FUNCTION `f`()'),\n";

TEST(DumpContents, AreNothingInADumpOfTables) {
    DumpContents contents;
    contents.Add(kDump);
    for (const char* kind : {"VIEW", "TRIGGER", "EVENT", "PROCEDURE", "FUNCTION", "PACKAGE"}) {
        EXPECT_FALSE(contents.Holds(kind)) << kind;
    }
    EXPECT_THAT(contents.Definers(), IsEmpty());
    EXPECT_THAT(contents.Tables(), ElementsAre("trigger"));
    EXPECT_TRUE(contents.IsOf("tw_7"));
    EXPECT_FALSE(contents.IsOf("tw_70"));
    EXPECT_FALSE(contents.IsWhole());
    contents.Add("-- Dump completed on 2026-11-21 15:52:38\n");
    EXPECT_TRUE(contents.IsWhole());
}

struct Case {
    const char* lines;
    const char* kind;
    const char* definer;
};

// As mariadb-dump 10.11 writes them.
constexpr Case kCases[] = {
    {"/*!50003 CREATE*/ /*!50017 DEFINER=`o`@`localhost`*/ /*!50003 trigger trg before insert\n",
     "TRIGGER", "`o`@`localhost`"},
    {"/*!50003 CREATE*/ /*!50017 DEFINER=`rr`*/ /*!50003 TRIGGER trg2 after insert on t\n",
     "TRIGGER", "`rr`"},
    {"/*!50106 CREATE*/ /*!50117 DEFINER=`o`@`%`*/ /*!50106 EVENT `e` ON SCHEDULE EVERY 1 DAY\n",
     "EVENT", "`o`@`%`"},
    {"CREATE DEFINER=`a ``b`@`%` FUNCTION `f2`() RETURNS int(11)\n", "FUNCTION", "`a ``b`@`%`"},
    {"CREATE DEFINER=`o`@`%` AGGREGATE FUNCTION `f3`(x INT) RETURNS int(11)\n", "FUNCTION",
     "`o`@`%`"},
    {"CREATE DEFINER=`root`@`localhost` PROCEDURE `p`()\n", "PROCEDURE", "`root`@`localhost`"},
    {"CREATE DEFINER=\"root\"@\"localhost\" PACKAGE BODY \"pk\" as procedure q is\n", "PACKAGE",
     "`root`@`localhost`"},
    {"/*!50001 CREATE ALGORITHM=UNDEFINED */\n"
     "/*!50013 DEFINER=`o`@`localhost` SQL SECURITY DEFINER */\n"
     "/*!50001 VIEW `v` AS select 1 */;\n"
     "/*!50001 CREATE VIEW `v` AS SELECT\n",
     "VIEW", "`o`@`localhost`"},
    {"/*!50001 CREATE ALGORITHM=UNDEFINED DEFINER=`rr` SQL SECURITY DEFINER VIEW `vr` AS select "
     "`tw_1`.`t`.`a` AS `a` from `t` */;\n",
     "VIEW", "`rr`"},
};

TEST(DumpContents, AreFoundWhereverThePiecesEnd) {
    for (const Case& one : kCases) {
        const std::string text = std::string(kDump) + "DELIMITER ;;\n" + one.lines;
        for (const std::size_t bytes : {std::size_t{1}, std::size_t{7}, text.size()}) {
            DumpContents contents;
            for (std::size_t at = 0; at < text.size(); at += bytes) {
                contents.Add(std::string_view(text).substr(at, bytes));
            }
            EXPECT_TRUE(contents.Holds(one.kind)) << one.lines;
            EXPECT_THAT(contents.Definers(), ElementsAre(one.definer)) << one.lines;
        }
    }
}

TEST(DumpContents, DoNotCountWhatABodySays) {
    DumpContents contents;
    contents.Add(
        "DELIMITER ;;\n"
        "CREATE DEFINER=`a`@`%` PROCEDURE `p`()\n"
        "BEGIN\n"
        "CREATE DEFINER=`b`@`%` VIEW v AS SELECT 1;\n"
        "END ;;\n"
        "DELIMITER ;\n"
        "DELIMITER ;;\n"
        "CREATE DEFINER=`c`@`%` FUNCTION `f`() RETURNS int(11)\n");
    EXPECT_FALSE(contents.Holds("VIEW"));
    EXPECT_TRUE(contents.Holds("FUNCTION"));
    EXPECT_THAT(contents.Definers(), ElementsAre("`a`@`%`", "`c`@`%`"));
}

TEST(DumpContents, KeepNothingOfALongLine) {
    DumpContents contents;
    const std::string row = "(1,'" + std::string(100000, 'x') + "'),";
    for (int i = 0; i < 100; ++i) {
        contents.Add(row);
    }
    contents.Add("\nCREATE DEFINER=`a`@`%` PROCEDURE `p`()\n");
    EXPECT_TRUE(contents.Holds("PROCEDURE"));
}

}  // namespace
}  // namespace twupdate::test
