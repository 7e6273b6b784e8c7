#include "twupdate/interruption.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>

#include "support/server_test.h"

namespace twupdate::test {
namespace {

using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class Interruption : public ServerTest {
  protected:
    static const LadderStep& Step(std::string_view name) {
        for (const Ladder ladder :
             {Ladder::kSiteSchema, Ladder::kSiteContent, Ladder::kServer, Ladder::kServerData}) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (step.name == name) {
                    return step;
                }
            }
        }
        throw std::runtime_error("no such step");
    }

    std::vector<Leftover> Left(std::string_view step, const SteppedDatabase& database,
                               StepHistory history = StepHistory::kUnknown) {
        return FindLeftovers(*Host(), Step(step), database, history);
    }

    /// The only thing that is left, repaired.
    Leftover Repaired(std::string_view step, const SteppedDatabase& database,
                      StepHistory history = StepHistory::kUnknown) {
        const auto left = Left(step, database, history);
        if (left.size() != 1 || left.front().statements.empty()) {
            ADD_FAILURE() << left.size() << (left.empty() ? "" : " " + left.front().seen);
            return {};
        }
        for (const std::string& statement : left.front().statements) {
            Sql(statement);
        }
        EXPECT_THAT(Left(step, database, history), IsEmpty());
        return left.front();
    }

    /// Only a person can decide.
    std::string SeenByAPerson(std::string_view step, const SteppedDatabase& database,
                              StepHistory history = StepHistory::kUnknown) {
        const auto left = Left(step, database, history);
        EXPECT_THAT(left, SizeIs(1));
        EXPECT_THAT(left.front().statements, IsEmpty());
        return left.front().seen;
    }

    const SteppedDatabase site_{"tw_7", "", 1.0};
    const SteppedDatabase central_{"tw_tarnwick", "", 1.0};
};

// --- columns that become doubles ----------------------------------------------------------------

class Conversion : public Interruption {
  protected:
    Conversion() {
        Sql("CREATE DATABASE tw_7;");
        Sql("CREATE TABLE tw_7.setting(id INT PRIMARY KEY, float_value FLOAT DEFAULT 0 NOT NULL);");
        Sql("INSERT INTO tw_7.setting VALUES(1, 0.1), (2, 0), (3, 16777216);");
    }
    static constexpr const char* kStep = "SiteSchemaStep_1_0035";
    static constexpr const char* kAdd =
        "ALTER TABLE tw_7.setting ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;";
    static constexpr const char* kFill =
        "UPDATE tw_7.setting SET double_temp = CAST(float_value AS BINARY);";
    static constexpr const char* kDrop = "ALTER TABLE tw_7.setting DROP COLUMN float_value;";
    /// As step 1.0018 does in a repeat.
    static constexpr const char* kAddAgain =
        "ALTER TABLE tw_7.setting ADD COLUMN float_value FLOAT DEFAULT 0 NOT NULL;";

    std::vector<std::string> Settings() {
        return Rows("SELECT id, float_value FROM tw_7.setting ORDER BY id");
    }
};

TEST_F(Conversion, NothingIsLeftWhereNoneWasInterrupted) {
    EXPECT_THAT(Left(kStep, site_), IsEmpty());
}

TEST_F(Conversion, ACopyThatIsNotFilledIsDropped) {
    Sql(kAdd);
    EXPECT_THAT(Repaired(kStep, site_).statements,
                ElementsAre("ALTER TABLE tw_7.setting DROP COLUMN double_temp;"));
    EXPECT_THAT(Settings(), ElementsAre("1 | 0.1", "2 | 0", "3 | 16777200"));
}

TEST_F(Conversion, ACopyThatIsFilledIsDropped) {
    Sql(kAdd);
    Sql(kFill);
    EXPECT_THAT(Repaired(kStep, site_).statements,
                ElementsAre("ALTER TABLE tw_7.setting DROP COLUMN double_temp;"));
}

TEST_F(Conversion, ACopyWithAnotherValueIsKept) {
    Sql(kAdd);
    Sql(kFill);
    Sql("UPDATE tw_7.setting SET double_temp = 4 WHERE id = 2;");
    EXPECT_EQ(SeenByAPerson(kStep, site_),
              "double_temp holds values that float_value does not hold, in 1 row");
}

TEST_F(Conversion, ValuesWithoutTheirColumnGetItsName) {
    Sql(kAdd);
    Sql(kFill);
    Sql(kDrop);
    EXPECT_THAT(Repaired(kStep, site_).statements,
                ElementsAre("ALTER TABLE tw_7.setting CHANGE COLUMN double_temp float_value DOUBLE "
                            "DEFAULT 0 NOT NULL;"));
    EXPECT_THAT(Settings(), ElementsAre("1 | 0.1", "2 | 0", "3 | 16777200"));
}

TEST_F(Conversion, AnEmptyColumnThatARepeatAddedGivesWayToTheValues) {
    Sql(kAdd);
    Sql(kFill);
    Sql(kDrop);
    Sql(kAddAgain);
    EXPECT_THAT(Repaired(kStep, site_).seen,
                HasSubstr("float_value, which was added again, is empty"));
    EXPECT_THAT(Settings(), ElementsAre("1 | 0.1", "2 | 0", "3 | 16777200"));
}

TEST_F(Conversion, AColumnThatWasAddedAgainAndUsedIsKeptWithTheValues) {
    Sql(kAdd);
    Sql(kFill);
    Sql(kDrop);
    Sql(kAddAgain);
    Sql("UPDATE tw_7.setting SET float_value = 9 WHERE id = 2;");
    EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr("holds others in 1 row"));
}

// Zeros are values, too: the site map's priority is 0.5 where nothing is set.
TEST_F(Conversion, ZerosAreNoEmptyCopyWhenTheColumnWasAddedAgain) {
    Sql("CREATE TABLE tw_7.navigation(id INT PRIMARY KEY, double_temp DOUBLE DEFAULT 0 NOT NULL, "
        "xmlmappriority FLOAT DEFAULT 0.5 NOT NULL);");
    Sql("INSERT INTO tw_7.navigation(id) VALUES(1), (2);");
    Repaired(kStep, site_);
    EXPECT_THAT(Rows("SELECT id, xmlmappriority FROM tw_7.navigation"),
                ElementsAre("1 | 0", "2 | 0"));
}

TEST_F(Conversion, OfSeveralColumnsTheFirstThatIsNoDoubleWasInHand) {
    Sql("CREATE TABLE tw_7.layoutzone(id INT PRIMARY KEY, starthidedelay FLOAT DEFAULT 0 NOT NULL, "
        "startfadeout FLOAT DEFAULT 0 NOT NULL, startshowdelay DOUBLE DEFAULT 0 NOT NULL, "
        "double_temp DOUBLE DEFAULT 0 NOT NULL);");
    Sql("INSERT INTO tw_7.layoutzone VALUES(1, 2, 3, 4, 5);");
    EXPECT_EQ(Repaired(kStep, site_).seen,
              "the column startfadein is missing, and its values are in double_temp");
    EXPECT_EQ(Cell("SELECT startfadein FROM tw_7.layoutzone"), "5");
}

// Step 1.0018 was interrupted, too: nobody can tell whose values these are.
TEST_F(Conversion, WhereAnotherColumnIsMissingAsWellValuesAreKept) {
    Sql("CREATE TABLE tw_7.layoutzone(id INT PRIMARY KEY, startshowdelay FLOAT DEFAULT 0 NOT NULL, "
        "double_temp DOUBLE DEFAULT 0 NOT NULL);");
    Sql("INSERT INTO tw_7.layoutzone VALUES(1, 5, 5);");
    EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr("or of a column that is missing"));
}

TEST_F(Conversion, FieldsOfFormsAreFound) {
    Sql("CREATE TABLE tw_7.formfield(formfieldid INT, featureid INT, type VARCHAR(20));");
    Sql("INSERT INTO tw_7.formfield VALUES(5, 50, 'float'), (6, 50, 'float'), (7, 60, 'text');");
    Sql("CREATE TABLE tw_7.form_50(replyid INT PRIMARY KEY, field_6 FLOAT DEFAULT 0 NOT NULL, "
        "double_temp DOUBLE DEFAULT 0 NOT NULL);");
    Sql("INSERT INTO tw_7.form_50 VALUES(1, 2, 3);");
    Repaired(kStep, site_);
    EXPECT_THAT(Rows("SELECT field_5, field_6 FROM tw_7.form_50"), ElementsAre("3 | 2"));
}

TEST_F(Conversion, AColumnOfThatNameInAnyOtherTableIsSeenAndKept) {
    Sql("CREATE TABLE tw_7.form_60(replyid INT PRIMARY KEY, double_temp DOUBLE);");
    EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr("no step converts"));
    Sql("DROP TABLE tw_7.form_60;");
    Sql("ALTER TABLE tw_7.setting ADD COLUMN double_temp VARCHAR(20);");
    EXPECT_EQ(SeenByAPerson(kStep, site_),
              "the column double_temp has the type varchar(20), which no conversion creates");
}

TEST_F(Conversion, ACopyBesideAColumnThatIsConvertedIsDroppedOnlyWhenItHoldsNothingElse) {
    Sql("ALTER TABLE tw_7.setting MODIFY COLUMN float_value DOUBLE DEFAULT 0 NOT NULL;");
    Sql(kAdd);
    Sql("UPDATE tw_7.setting SET double_temp = 7 WHERE id = 2;");
    EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr("values that are in no other column"));
    Sql("UPDATE tw_7.setting SET double_temp = float_value;");
    Repaired(kStep, site_);
}

TEST_F(Conversion, TheAccountsOfTheInstallationAndOfAnImportedSiteAreFound) {
    LoadCentral();
    for (const SteppedDatabase& database : {central_, SteppedDatabase{"tw_7", "tw_", 1.0}}) {
        const std::string account = database.name + "." + database.tablePrefix + "account";
        if (!database.tablePrefix.empty()) {
            Sql("CREATE TABLE " + account + " LIKE tw_tarnwick.account;");
        } else {
            Sql("ALTER TABLE " + account +
                " DROP COLUMN associatepercentage, "
                "ADD COLUMN double_temp DOUBLE DEFAULT 0 NOT NULL;");
        }
        Sql("INSERT INTO " + account + "(accountid, double_temp) VALUES(1, 12.5);");
        EXPECT_EQ(Repaired("ServerStep_1_0035", database).table, database.tablePrefix + "account");
        EXPECT_EQ(Cell("SELECT associatepercentage FROM " + account), "12.5");
        if (database.tablePrefix.empty()) {
            Sql("ALTER TABLE " + account +
                " CHANGE COLUMN associatepercentage double_temp DOUBLE "
                "DEFAULT 0 NOT NULL;");
        }
    }
}

// --- charges ------------------------------------------------------------------------------------

class Charges : public Interruption {
  protected:
    Charges() {
        LoadSite(7, {Group::kShop, Group::kCharges}, {1.0007, 1.0006});
        Sql("INSERT INTO tw_7.charge(chargeid, featureid, name, password, sequence) "
            "VALUES(1, 3, 'Post', 'p', 1), (2, 3, 'Wrap', '', 2);");
        Sql("INSERT INTO tw_7.chargetocharge VALUES(2, 1);");
        Sql("INSERT INTO tw_7.chargetoitemtype VALUES(1, 8);");
        RunStep(kStep, 7);
    }
    static constexpr const char* kStep = "SiteContentStep_1_0007";
    /// The statements of a block of docs/recovery.md that begins so.
    static std::string InManual(const std::string& begin) {
        std::ifstream file(std::string(TWUPDATE_SOURCE_FOLDER) + "/docs/recovery.md");
        std::string block;
        for (std::string line; std::getline(file, line);) {
            const auto text = line.find_first_not_of(' ');
            const bool isCode = text != std::string::npos && text >= 4;
            if (block.empty() ? isCode && line.compare(text, begin.size(), begin) == 0 : isCode) {
                block += line.substr(text) + "\n";
            } else if (!block.empty()) {
                break;
            }
        }
        EXPECT_NE(block, "") << begin;
        return block;
    }
    std::vector<std::string> Groups() {
        return Rows("SELECT groupid, name FROM tw_7.chargegroup ORDER BY groupid");
    }
};

TEST_F(Charges, OfAnInterruptedConversionAreTakenBack) {
    EXPECT_EQ(Repaired(kStep, site_, StepHistory::kInterrupted).seen,
              "2 groups of an unfinished conversion");
    EXPECT_THAT(Groups(), IsEmpty());
    EXPECT_THAT(Rows("SHOW TABLES FROM tw_7 LIKE 'chargegroup%kept%'"), IsEmpty());
    RunStep(kStep, 7);
    EXPECT_THAT(Groups(), ElementsAre("1 | Post", "2 | Wrap"));
}

TEST_F(Charges, ThatAreConvertedAreLeftAlone) {
    EXPECT_THAT(Left(kStep, site_, StepHistory::kNotRunning), IsEmpty());
    EXPECT_THAT(Left(kStep, {"tw_7", "", 1.0007}), IsEmpty());
}

TEST_F(Charges, ThatSomebodyHasWorkedOnAreKept) {
    const std::vector<std::pair<std::string, std::string>> works{
        {"UPDATE tw_7.chargegroup SET name = 'Mail' WHERE groupid = 1;",
         "UPDATE tw_7.chargegroup SET name = 'Post' WHERE groupid = 1;"},
        {"INSERT INTO tw_7.chargeoption(groupid, featureid, name, sequence) VALUES(1, 3, 'X', 2);",
         "DELETE FROM tw_7.chargeoption WHERE name = 'X';"},
        {"INSERT INTO tw_7.chargegrouptochargegroup VALUES(1, 2);",
         "DELETE FROM tw_7.chargegrouptochargegroup WHERE groupid = 1;"},
        {"INSERT INTO tw_7.chargegrouptoitemtype VALUES(2, 8);",
         "DELETE FROM tw_7.chargegrouptoitemtype WHERE groupid = 2;"},
        {"INSERT INTO tw_7.orderchargeoption(orderid, chargeoptionid) VALUES(1, 1);",
         "DELETE FROM tw_7.orderchargeoption;"},
        {"INSERT INTO tw_7.orderpasswordchargeoption(orderid, optionid) VALUES(1, 1);",
         "DELETE FROM tw_7.orderpasswordchargeoption;"},
        {"INSERT INTO tw_7.ordercharge(orderid, chargeid, chargeoptionid) VALUES(1, 1, 1);",
         "DELETE FROM tw_7.ordercharge;"}};
    for (const auto& [work, undo] : works) {
        Sql(work);
        const bool isOrder = work.find(".order") != std::string::npos;
        const std::string text =
            isOrder ? "; 1 row of orders names an option of theirs" : " of the groups ";
        EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr(text)) << work;
        if (isOrder) {  // whose options must keep their numbers
            EXPECT_THAT(SeenByAPerson(kStep, site_, StepHistory::kInterrupted), HasSubstr(text));
        }
        Sql(undo);
    }
    Repaired(kStep, site_, StepHistory::kInterrupted);
}

// An operator who finds out why the upgrade has failed may correct the charges before the repeat.
TEST_F(Charges, ThatWereCorrectedAfterTheInterruptionAreConvertedAgainAndTheOldGroupsAreKept) {
    for (const std::string ending : {"_kept", "_kept_2"}) {
        Sql("UPDATE tw_7.charge SET name = CONCAT(name, '!'), password = 'q' WHERE chargeid = 1;");
        Sql("UPDATE tw_7.charge SET sequence = 5 WHERE chargeid = 2;");
        Sql("DELETE FROM tw_7.chargetoitemtype;");
        EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr(" not from the charges"));
        const std::vector<std::string> before = Groups();
        const auto left = Repaired(kStep, site_, StepHistory::kInterrupted);
        EXPECT_EQ(left.seen,
                  "2 groups of an unfinished conversion; charges were changed since, so the groups "
                  "stay in chargegroup" +
                      ending + " and so on");
        EXPECT_EQ(Rows("SELECT groupid, name FROM tw_7.chargegroup" + ending + " ORDER BY groupid"),
                  before);
        EXPECT_THAT(Rows("SELECT groupid FROM tw_7.chargeoption" + ending), SizeIs(2));
        EXPECT_THAT(Rows("SELECT groupid FROM tw_7.chargegrouptochargegroup" + ending), SizeIs(1));
        EXPECT_THAT(Rows("SELECT groupid FROM tw_7.chargegrouptoitemtype" + ending),
                    SizeIs(ending == "_kept" ? 1 : 0));
        RunStep(kStep, 7);
        EXPECT_THAT(Rows("SELECT c.chargeid, g.name, o.password, g.sequence FROM tw_7.charge c "
                         "INNER JOIN tw_7.chargeoption o ON o.optionid = c.chargeoptionid INNER "
                         "JOIN tw_7.chargegroup g ON g.groupid = o.groupid ORDER BY c.chargeid"),
                    ElementsAre(ending == "_kept" ? "1 | Post! | q | 1" : "1 | Post!! | q | 1",
                                "2 | Wrap |  | 5"));
        EXPECT_THAT(Rows("SELECT groupid, applytogroupid FROM tw_7.chargegrouptochargegroup"),
                    ElementsAre("2 | 1"));
        EXPECT_THAT(Rows("SELECT * FROM tw_7.chargegrouptoitemtype"), IsEmpty());
    }
}

// The kill came between a group and its option.
TEST_F(Charges, TheOneThatWasInHandMayBeCorrectedToo) {
    Sql("DELETE FROM tw_7.chargeoption WHERE groupid = 2; "
        "UPDATE tw_7.charge SET chargeoptionid = 0 WHERE chargeid = 2;");
    Sql("DELETE FROM tw_7.chargegrouptochargegroup; DELETE FROM tw_7.chargegrouptoitemtype;");
    Sql("UPDATE tw_7.charge SET name = 'Gift wrap' WHERE chargeid = 2;");
    Repaired(kStep, site_, StepHistory::kInterrupted);
    EXPECT_EQ(Rows("SELECT name FROM tw_7.chargegroup_kept ORDER BY groupid"),
              (std::vector<std::string>{"Post", "Wrap"}));
    RunStep(kStep, 7);
    EXPECT_THAT(Groups(), ElementsAre("1 | Post", "2 | Gift wrap"));
}

TEST_F(Charges, ThatWereCorrectedAreAlsoConvertedAgainAfterARepairThatWasInterrupted) {
    Sql("UPDATE tw_7.charge SET name = 'Mail' WHERE chargeid = 1;");
    const auto left = Left(kStep, site_, StepHistory::kInterrupted);
    ASSERT_THAT(left, SizeIs(1));
    const auto& statements = left.front().statements;
    for (std::size_t i = 0; i + 2 < statements.size(); ++i) {  // before the charges are touched
        Sql(statements[i]);
    }
    Repaired(kStep, site_, StepHistory::kInterrupted);
    EXPECT_THAT(Groups(), IsEmpty());
}

TEST_F(Charges, RowsThatComeFromNoChargeAreKeptAfterAKnownInterruptionToo) {
    Sql("UPDATE tw_7.charge SET name = 'Mail' WHERE chargeid = 1;");
    const std::vector<std::pair<std::string, std::string>> works{
        {"INSERT INTO tw_7.chargegroup(groupid, featureid, name) VALUES(8, 3, 'Gift'), (9, 3, "
         "'Half');",
         "DELETE FROM tw_7.chargegroup WHERE groupid > 7;"},
        {"UPDATE tw_7.chargeoption SET name = 'By hand' WHERE groupid = 2; UPDATE tw_7.charge SET "
         "chargeoptionid = 0, name = 'Foil' WHERE chargeid = 2;",
         "UPDATE tw_7.chargeoption SET name = 'Wrap' WHERE groupid = 2; UPDATE tw_7.charge SET "
         "chargeoptionid = 2, name = 'Wrap' WHERE chargeid = 2;"},
        {"INSERT INTO tw_7.chargeoption(groupid, featureid, name, sequence) VALUES(1, 3, 'X', 1);",
         "DELETE FROM tw_7.chargeoption WHERE name = 'X';"},
        {"UPDATE tw_7.chargeoption SET sequence = 2 WHERE groupid = 1;",
         "UPDATE tw_7.chargeoption SET sequence = 1;"},
        {"INSERT INTO tw_7.chargegrouptochargegroup VALUES(1, 9);",
         "DELETE FROM tw_7.chargegrouptochargegroup WHERE groupid = 1;"},
        {"INSERT INTO tw_7.chargegrouptoitemtype VALUES(9, 8);",
         "DELETE FROM tw_7.chargegrouptoitemtype WHERE groupid = 9;"}};
    for (const auto& [work, undo] : works) {
        Sql(work);
        EXPECT_THAT(SeenByAPerson(kStep, site_, StepHistory::kInterrupted),
                    ContainsRegex("; [0-9]+ rows? of the groups (is|are) not from the charges$"))
            << work;
        Sql(undo);
    }
    Repaired(kStep, site_, StepHistory::kInterrupted);
}

// What docs/recovery.md says for a place that repair does not change.
TEST_F(Charges, AreCompletedByTheStatementsOfTheManual) {
    Sql("DELETE FROM tw_7.chargegroup; DELETE FROM tw_7.chargeoption; "
        "DELETE FROM tw_7.chargegrouptochargegroup; DELETE FROM tw_7.chargegrouptoitemtype;");
    Sql("UPDATE tw_7.charge SET chargeoptionid = 0;");
    Sql("INSERT INTO tw_7.charge(chargeid, featureid, name, password, sequence) "
        "VALUES(5, 3, 'Ins', 'i', 3);");
    Sql("INSERT INTO tw_7.chargetocharge VALUES(5, 1); "
        "INSERT INTO tw_7.chargetoitemtype VALUES(5, 8);");
    // The first charge is converted and its group was edited, and the second has half a group.
    Sql("INSERT INTO tw_7.chargegroup(groupid, featureid, name, sequence) VALUES(21, 3, 'By post', "
        "1), (22, 3, 'Wrap', 2);");
    Sql("INSERT INTO tw_7.chargeoption(optionid, groupid, featureid, name, sequence) VALUES(31, "
        "21, 3, 'Post', 1);");
    Sql("UPDATE tw_7.charge SET chargeoptionid = 31 WHERE chargeid = 1;");
    EXPECT_THAT(Rows(InManual("SELECT g.groupid, g.name")), ElementsAre("22 | Wrap"));
    Sql("DELETE FROM tw_7.chargegroup WHERE groupid = 22;");
    EXPECT_THAT(Rows(InManual("SELECT chargeid FROM tw_7.charge")), ElementsAre("2", "5"));
    for (const std::string charge : {"2", "5"}) {
        std::string statements = InManual("INSERT INTO tw_7.chargegroup(");
        for (auto at = statements.find("= 5;"); at != std::string::npos;
             at = statements.find("= 5;", at + 1)) {
            statements.replace(at, 4, "= " + charge + ";");
        }
        Sql(statements);
    }
    EXPECT_THAT(
        Rows("SELECT c.chargeid, g.name, o.name, o.password, o.sequence, g.sequence FROM "
             "tw_7.charge c INNER JOIN tw_7.chargeoption o ON o.optionid = "
             "c.chargeoptionid INNER JOIN tw_7.chargegroup g ON g.groupid = o.groupid ORDER "
             "BY c.chargeid"),
        ElementsAre("1 | By post | Post |  | 1 | 1", "2 | Wrap | Wrap |  | 1 | 2",
                    "5 | Ins | Ins | i | 1 | 3"));
    EXPECT_THAT(Rows("SELECT g.name, h.name FROM tw_7.chargegrouptochargegroup l INNER JOIN "
                     "tw_7.chargegroup g ON g.groupid = l.groupid INNER JOIN tw_7.chargegroup h "
                     "ON h.groupid = l.applytogroupid ORDER BY g.groupid"),
                ElementsAre("Wrap | By post", "Ins | By post"));
    EXPECT_THAT(Rows("SELECT g.name, l.applytoitemtypeid FROM tw_7.chargegrouptoitemtype l INNER "
                     "JOIN tw_7.chargegroup g ON g.groupid = l.groupid"),
                ElementsAre("Ins | 8"));
}

TEST_F(Charges, ThatWereConvertedTwiceLoseTheGroupsThatNothingNames) {
    RunStep(kStep, 7);
    EXPECT_THAT(Groups(), SizeIs(4));
    // A group that somebody made of one like it is the later one.
    Sql("INSERT INTO tw_7.chargegroup(groupid, featureid, name, sequence) VALUES(9, 3, 'Post', "
        "1);");
    Sql("INSERT INTO tw_7.chargeoption(groupid, featureid, name, sequence) VALUES(9, 3, 'Post', "
        "1);");
    EXPECT_EQ(Repaired(kStep, {"tw_7", "", kCurrentVersion}).seen,
              "2 groups that no charge refers to, beside others of the same name");
    EXPECT_THAT(Groups(), ElementsAre("3 | Post", "4 | Wrap", "9 | Post"));
}

TEST_F(Charges, ThatWereConvertedTwiceKeepTheGroupsThatOrdersUseOrSomebodyHasChanged) {
    RunStep(kStep, 7);
    Sql("INSERT INTO tw_7.orderchargeoption(orderid, chargeoptionid) VALUES(1, 1);");
    Sql("UPDATE tw_7.chargeoption SET sequence = 4 WHERE optionid = 2;");
    EXPECT_THAT(Left(kStep, {"tw_7", "", kCurrentVersion}), IsEmpty());
    Sql("UPDATE tw_7.chargeoption SET sequence = 1 WHERE optionid = 2;");
    EXPECT_EQ(Repaired(kStep, {"tw_7", "", kCurrentVersion}).seen,
              "1 group that no charge refers to, beside one of the same name");
}

// --- the others ---------------------------------------------------------------------------------

TEST_F(Interruption, EmailsThatAreNotConvertedAreConvertedByTheNextRun) {
    constexpr const char* kStep = "SiteContentStep_1_0043";
    LoadSite(7, {}, {1.0264, 1.0042});
    Sql("DELETE FROM tw_7.email;");
    Sql("INSERT INTO tw_7.email(subject, message) VALUES('&lt;a&gt;', 'done'), ('b', '1 > 0');");
    EXPECT_THAT(Left(kStep, site_, StepHistory::kInterrupted), IsEmpty());  // no column yet
    Sql("ALTER TABLE tw_7.email ADD COLUMN ishtml BOOL DEFAULT 0 NOT NULL;");
    EXPECT_THAT(Left(kStep, site_, StepHistory::kNotRunning), IsEmpty());
    EXPECT_THAT(Left(kStep, {"tw_7", "", 1.0043}), IsEmpty());
    EXPECT_THAT(Left(kStep, site_), SizeIs(1));
    Repaired(kStep, site_, StepHistory::kInterrupted);
    RunStep(kStep, 7);
    EXPECT_THAT(Rows("SELECT subject, message FROM tw_7.email ORDER BY emailid"),
                ElementsAre("&lt;a&gt; | done", "b | 1 &gt; 0"));
    Sql("UPDATE tw_7.email SET message = '<p>', ishtml = -1 WHERE subject = 'b';");
    EXPECT_THAT(SeenByAPerson(kStep, site_), HasSubstr("which is set in some"));
}

TEST_F(Interruption, LinksOfCachesThatAreGoneAreDeleted) {
    LoadSite(7, {}, {1.0264, 1.0063});
    const auto interrupt = [this](const char* step) {
        Sql("DELETE FROM tw_7.cache; DELETE FROM tw_7.featurecache;");
        Sql("INSERT INTO tw_7.cache(cacheid, type, templateid) VALUES(1, 2, 4), (2, 0, 4), (3, 1, "
            "4);");
        Sql("INSERT INTO tw_7.featurecache(featureid, cacheid) VALUES(9, 1), (9, 2), (9, 3);");
        const auto faulty = Faulty();
        faulty->FailAt(3, FaultyUtility::kBefore);  // SELECT, DELETE of the caches, of the links
        EXPECT_THROW(RunStep(step, 7, faulty), InjectedFault);
    };
    const SteppedDatabase from66{"tw_7", "", 1.0066};
    const SteppedDatabase from82{"tw_7", "", 1.0082};
    interrupt("SiteContentStep_1_0066");
    EXPECT_THAT(Left("SiteContentStep_1_0066", site_, StepHistory::kNotRunning), IsEmpty());
    EXPECT_THAT(Left("SiteContentStep_1_0066", from66), IsEmpty());
    EXPECT_THAT(Left("SiteContentStep_1_0082", site_), IsEmpty());
    EXPECT_EQ(Repaired("SiteContentStep_1_0066", site_).seen,
              "1 link leads to a cache that no longer exists");
    EXPECT_THAT(Rows("SELECT cacheid FROM tw_7.featurecache ORDER BY cacheid"),
                ElementsAre("2", "3"));
    interrupt("SiteContentStep_1_0082");
    EXPECT_THAT(Left("SiteContentStep_1_0082", from82), IsEmpty());
    EXPECT_THAT(Left("SiteContentStep_1_0082", from66), SizeIs(1));
    Repaired("SiteContentStep_1_0082", from82, StepHistory::kInterrupted);
    EXPECT_THAT(Rows("SELECT cacheid FROM tw_7.featurecache ORDER BY cacheid"),
                ElementsAre("1", "3"));
}

TEST_F(Interruption, StartMarksThatAreMissingAreSet) {
    constexpr const char* kStep = "ServerStep_1_0074";
    LoadLogs(1);
    LoadCentral(1.0063);
    Sql("DELETE FROM tw_tarnwick.site; DELETE FROM tw_tarnwick.domain;");
    Sql("INSERT INTO tw_tarnwick.site(siteid, harddeleted) VALUES(1, 0), (2, 0), (3, -1), (4, 0);");
    Sql("INSERT INTO tw_tarnwick.domain(siteid, domainname) VALUES(1, 'a'), (2, 'b'), (3, 'c');");
    EXPECT_THAT(Left(kStep, central_), IsEmpty());
    Sql("ALTER TABLE tw_tarnwick.site ADD COLUMN serverstarted BOOL DEFAULT 0 NOT NULL;");
    Sql("UPDATE tw_tarnwick.site SET serverstarted = -1 WHERE siteid = 1;");
    EXPECT_THAT(Left(kStep, central_, StepHistory::kNotRunning), IsEmpty());
    EXPECT_THAT(Left(kStep, central_), SizeIs(1));
    Repaired(kStep, central_, StepHistory::kInterrupted);
    EXPECT_THAT(Rows("SELECT siteid, serverstarted FROM tw_tarnwick.site ORDER BY siteid"),
                ElementsAre("1 | -1", "2 | -1", "3 | 0", "4 | 0"));
    // Once a later step has run a site may have been stopped on purpose.
    Sql("UPDATE tw_tarnwick.site SET serverstarted = 0 WHERE siteid = 1;");
    RunStep("ServerStep_1_0076", 0);
    EXPECT_THAT(Left(kStep, central_), IsEmpty());
}

TEST_F(Interruption, TheLocalDomainOfTheRootSiteIsLinked) {
    constexpr const char* kStep = "ServerDataStep_1_0252";
    LoadLogs(1);
    LoadCentral(1.0244);
    LoadSite(7, {}, {1.0264, 1.0261});
    Sql("UPDATE tw_tarnwick.site SET parentsiteid = 0 WHERE siteid = 7;");
    Sql("DELETE FROM tw_7.domain; DELETE FROM tw_7.domaingroup; DELETE FROM tw_7.group_table;");
    Sql("INSERT INTO tw_7.group_table(groupid, displayname) VALUES(5, 'local Visitor');");
    EXPECT_THAT(Left(kStep, central_, StepHistory::kInterrupted), IsEmpty());
    Sql("INSERT INTO tw_7.domain(domainid, domainname) VALUES(3, 'localhost');");
    EXPECT_THAT(Left(kStep, central_), IsEmpty());
    Repaired(kStep, central_, StepHistory::kInterrupted);
    EXPECT_THAT(Rows("SELECT groupid, domainid, domaingrouptype FROM tw_7.domaingroup"),
                ElementsAre("5 | 3 | 0"));
}

TEST_F(Interruption, AnUnfinishedCreationIsDroppedOnlyWhileNothingElseIsStored) {
    const auto find = [&] {
        return FindUnfinishedCreation(*Host(), InstallFolder() / "resources");
    };
    EXPECT_FALSE(find());
    Sql("CREATE DATABASE tw_tarnwick;");
    ASSERT_TRUE(find());
    EXPECT_EQ(find()->seen, "it has no table installation");
    EXPECT_EQ(find()->consequence, "create-core looks at nothing but the name of the database");
    EXPECT_THAT(find()->statements, ElementsAre("DROP DATABASE tw_tarnwick;"));
    Sql("CREATE TABLE tw_tarnwick.installation(version DOUBLE);");
    EXPECT_EQ(find()->seen, "its table installation has no row");
    Sql("INSERT INTO tw_tarnwick.installation VALUES(1.0);");
    EXPECT_FALSE(find());  // an old one, which an upgrade completes
    SetInstallationVersion(kCurrentVersion);
    EXPECT_THAT(find()->seen, ContainsRegex("^it has no table [a-z]+$"));
    EXPECT_THAT(find()->statements, ElementsAre("DROP DATABASE tw_tarnwick;"));
    Sql("DROP DATABASE tw_tarnwick;");
    Update update;
    update.Configure(Host());
    update.CreateCoreDb();
    EXPECT_FALSE(find());
    Sql("DELETE FROM tw_tarnwick.componenttype;");
    EXPECT_EQ(find()->seen, "its table componenttype has no rows");
    EXPECT_THAT(find()->statements, SizeIs(1));
    Sql("INSERT INTO tw_tarnwick.site(siteid) VALUES(1);");
    EXPECT_THAT(find()->statements, IsEmpty());
    Sql("DELETE FROM tw_tarnwick.site; CREATE TABLE tw_tarnwick.notes(id INT);");
    EXPECT_THAT(find()->statements, IsEmpty());
}

}  // namespace
}  // namespace twupdate::test
