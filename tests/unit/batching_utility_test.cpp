// What the server is sent, statement by statement, for what the component sends.
#include "twupdate_host/batching_utility.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/recording_host.h"

namespace twupdate::test {
namespace {

using host::BatchingOptions;
using host::BatchingUtility;
using host::LateError;
using testing::ElementsAre;
using testing::IsEmpty;

LadderStep Step(std::string_view name) {
    for (const Ladder ladder : {Ladder::kSiteSchema, Ladder::kSiteContent, Ladder::kServer}) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            if (step.name == name) {
                return step;
            }
        }
    }
    throw std::runtime_error("no such step");
}

/// The inner host's observer: writes the ends of steps and ladders between the statements.
class Marks : public twupdate::Observer {
  public:
    explicit Marks(RecordingHost& host) : host_(host) {}
    void StepStarting(const LadderStep& /*step*/, const std::string& /*database*/) override {
        host_.log.emplace_back("step begins");
    }
    void StepEnded(const LadderStep& /*step*/, const std::string& /*database*/) override {
        host_.log.emplace_back("step ends");
    }
    void LadderEnded(Ladder /*ladder*/, const std::string& /*database*/) override {
        host_.log.emplace_back("ladder ends");
    }

  private:
    RecordingHost& host_;
};

class Batching : public testing::Test {
  protected:
    Batching() {
        for (const char* table : {"a(id INT, x INT)", "b(id INT, x INT)"}) {
            host_->catalogue.AddTable("tw_7", table);
        }
        host_->catalogue.AddTable("tw_tarnwick", "site(siteid INT, version DOUBLE)");
        BeginLadder();
    }

    void BeginLadder() {
        batching_->GetObserver()->SiteStarting(7, 1.0);
        batching_->GetObserver()->LadderStarting(Ladder::kSiteSchema, "tw_7", 1.0);
    }
    void EndLadder() { batching_->GetObserver()->LadderEnded(Ladder::kSiteSchema, "tw_7"); }
    void Begin(std::string_view step) {
        batching_->GetObserver()->StepStarting(Step(step), "tw_7");
    }
    void End(std::string_view step) { batching_->GetObserver()->StepEnded(Step(step), "tw_7"); }

    void Execute(const std::string& sql) {
        std::int64_t rowsAffected = 0;
        batching_->GetDatabase()->Execute(sql, rowsAffected);
    }
    void Query(const std::string& sql) { batching_->GetDatabase()->OpenRecordset(sql, 0, 0); }
    void Add(const std::string& tableAndColumn) {
        const auto point = tableAndColumn.find('.');
        Execute("ALTER TABLE tw_7." + tableAndColumn.substr(0, point) + " ADD COLUMN " +
                tableAndColumn.substr(point + 1) + " INT;");
    }
    /// The names in the first column.
    std::vector<std::string> Probe(const std::string& sql, const std::string& column) {
        std::vector<std::string> names;
        const auto reader = batching_->GetDatabase()->OpenReader(sql);
        for (; !reader->IsEOF(); reader->ReaderMoveNext()) {
            names.push_back(reader->GetField(column).ToText());
        }
        return names;
    }
    std::vector<std::string> Columns(const std::string& table) {
        return Probe("DESCRIBE tw_7." + table + ";", "Field");
    }

    /// What the server has been sent since the last call.
    std::vector<std::string> Sent() { return std::exchange(host_->log, {}); }

    /// Makes the host once more, with one of its options changed.
    void WithServices() {
        batching_ = std::make_shared<BatchingUtility>(host_, Options(true));
        BeginLadder();
    }

    std::shared_ptr<RecordingHost> host_ = std::make_shared<RecordingHost>();
    int layoutsRead_ = 0;  ///< of the site
    int otherLayoutsRead_ = 0;
    std::shared_ptr<BatchingUtility> batching_ =
        std::make_shared<BatchingUtility>(host_, Options(false));

  private:
    BatchingOptions Options(bool servicesChangeLayout) {
        return {.readLayout =
                    [this](const std::string& database) {
                        ++(database == "tw_7" ? layoutsRead_ : otherLayoutsRead_);
                        host::Catalogue layout;
                        layout.AddDatabase(database, host_->catalogue.Databases().at(database));
                        return layout;
                    },
                .servicesChangeLayout = servicesChangeLayout,
                .listener = nullptr};
    }
};

// --- probes
// ---------------------------------------------------------------------------------------

TEST_F(Batching, ProbesOfTheSiteAreAnsweredFromALayoutThatIsReadOnce) {
    EXPECT_THAT(Columns("a"), ElementsAre("id", "x"));
    EXPECT_THAT(Probe("SHOW TABLES FROM tw_7 LIKE 'b';", "Tables_in_tw_7 (b)"), ElementsAre("b"));
    EXPECT_THAT(Probe("SHOW INDEXES FROM tw_7.a;", "Key_name"), IsEmpty());
    EXPECT_THAT(Sent(), IsEmpty());
    EXPECT_EQ(layoutsRead_, 1);
}

TEST_F(Batching, ProbesSeeWhatWaitsAndWhatWasSent) {
    Add("a.y");
    EXPECT_THAT(Columns("a"), ElementsAre("id", "x", "y"));
    Execute("ALTER TABLE tw_7.a DROP COLUMN x;");
    Execute("CREATE TABLE IF NOT EXISTS tw_7.c(k INT, INDEX k_idx(k));");
    Execute("RENAME TABLE tw_7.b TO tw_7.d;");
    EXPECT_THAT(Columns("a"), ElementsAre("id", "y"));
    EXPECT_THAT(Probe("SHOW INDEXES FROM tw_7.c;", "Key_name"), ElementsAre("k_idx"));
    EXPECT_THAT(Columns("d"), ElementsAre("id", "x"));
    EXPECT_EQ(layoutsRead_, 1);
}

TEST_F(Batching, ProbesThatTheLayoutCannotAnswerGoToTheServer) {
    EXPECT_THROW(Columns("missing"), HostError);
    Query("SHOW TABLES FROM tw_tarnwick LIKE 'site';");
    Probe("DESCRIBE tw_7.a y;", "Field");  // where "_" would stand for any character
    EXPECT_THAT(Sent(), ElementsAre("reader DESCRIBE tw_7.missing;",
                                    "query SHOW TABLES FROM tw_tarnwick LIKE 'site';",
                                    "reader DESCRIBE tw_7.a y;"));
}

TEST_F(Batching, EachSiteIsReadAnew) {
    Columns("a");
    EndLadder();
    batching_->GetObserver()->LadderStarting(Ladder::kSiteContent, "tw_7", 1.0);
    Columns("a");
    EXPECT_EQ(layoutsRead_, 1);
    BeginLadder();
    Columns("a");
    EXPECT_EQ(layoutsRead_, 2);
}

TEST_F(Batching, WhatAServiceMayHaveChangedIsReadAnew) {
    const auto services = batching_->GetComponentHost();
    Columns("a");
    services->ResetSiteComponent(7, 100);
    Columns("a");
    EXPECT_EQ(layoutsRead_, 1);  // the calls are only recorded
    WithServices();
    Columns("a");
    batching_->GetComponentHost()->ResetSiteComponent(7, 100);
    Columns("a");
    EXPECT_EQ(layoutsRead_, 3);
}

// --- changes of tables
// ----------------------------------------------------------------------------

TEST_F(Batching, ColumnsOfOneTableBecomeOneStatementInTheirOrder) {
    Add("a.p");
    Columns("a");
    Execute("ALTER TABLE tw_7.a ADD COLUMN q VARCHAR(20) DEFAULT ';, (' NOT NULL;");
    Add("a.r");
    EXPECT_THAT(Sent(), IsEmpty());
    EndLadder();
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT, ADD COLUMN q "
                                    "VARCHAR(20) DEFAULT ';, (' NOT NULL, ADD COLUMN r INT;"));
}

TEST_F(Batching, IndexesAndTypesAreJoinedLikewiseButNotWithEachOther) {
    Execute("ALTER TABLE tw_7.a ADD INDEX i(id);");
    Execute("ALTER TABLE tw_7.a ADD INDEX j(x, id);");
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD INDEX i(id);"));
    Execute("ALTER TABLE tw_7.a MODIFY COLUMN id BIGINT;");
    Execute("ALTER TABLE tw_7.a MODIFY COLUMN x DECIMAL(17,2) NOT NULL DEFAULT '0.00';");
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD INDEX j(x, id);"));
    EndLadder();
    EXPECT_THAT(Sent(),
                ElementsAre("execute ALTER TABLE tw_7.a MODIFY COLUMN id BIGINT, MODIFY COLUMN x "
                            "DECIMAL(17,2) NOT NULL DEFAULT '0.00';"));
}

TEST_F(Batching, AnotherTableSendsTheOneThatWaits) {
    Add("a.p");
    Add("b.p");
    Add("a.q");
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                                    "execute ALTER TABLE tw_7.b ADD COLUMN p INT;"));
}

TEST_F(Batching, AClauseOnWhatWaitsSendsItFirst) {
    Execute("ALTER TABLE tw_7.a ADD INDEX i(id);");
    EXPECT_NO_THROW(Execute("ALTER TABLE tw_7.a ADD INDEX k(ID);"));
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD INDEX i(id);"));
    Execute("ALTER TABLE tw_7.a MODIFY COLUMN x BIGINT;");
    Sent();
    Execute("ALTER TABLE tw_7.a MODIFY COLUMN X TEXT;");
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a MODIFY COLUMN x BIGINT;"));
}

TEST_F(Batching, WhatTheLayoutRefusesIsSentForTheServerToRefuse) {
    Add("a.p");
    EXPECT_THROW(Add("a.x"), HostError);
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                                    "execute ALTER TABLE tw_7.a ADD COLUMN x INT;"));
}

TEST_F(Batching, EveryOtherFormIsSentAsItIs) {
    const std::vector<std::string> others{
        "ALTER TABLE tw_7.a ADD COLUMN k INT AUTO_INCREMENT FIRST, ADD PRIMARY KEY(k);",
        "ALTER TABLE tw_7.a ADD COLUMN n INT FIRST;",
        "ALTER TABLE tw_7.a ADD COLUMN o INT AFTER id;",
        "ALTER TABLE tw_7.a CHANGE COLUMN o z INT;",
        "ALTER TABLE tw_7.a DROP COLUMN z;",
        "ALTER TABLE tw_7.a ADD COLUMN s INT -- not for long\n;",
        "ALTER TABLE tw_tarnwick.site ADD COLUMN s INT;",
        "CREATE TABLE IF NOT EXISTS tw_7.n(k INT);",
        "REPAIR TABLE tw_7.a QUICK;",
    };
    for (const std::string& other : others) {
        Add("b.p");
        Execute(other);
        EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.b ADD COLUMN p INT;",
                                        "execute " + other));
        Execute("ALTER TABLE tw_7.b DROP COLUMN p;");
        Sent();
    }
}

TEST_F(Batching, WhatWaitsGoesOutBeforeItsTableIsReadAndBeforeAnythingIsWritten) {
    const std::string alter = "execute ALTER TABLE tw_7.a ADD COLUMN p INT;";
    const auto sentFor = [&](const std::string& sql) {
        Add("a.p");
        Query(sql);
        auto sent = Sent();
        EndLadder();
        Execute("ALTER TABLE tw_7.a DROP COLUMN p;");
        BeginLadder();
        Sent();
        return sent;
    };
    EXPECT_THAT(sentFor("SELECT x FROM tw_7.b;"), ElementsAre("query SELECT x FROM tw_7.b;"));
    EXPECT_THAT(sentFor("SELECT version FROM tw_tarnwick.site;"),
                ElementsAre("query SELECT version FROM tw_tarnwick.site;"));
    EXPECT_THAT(sentFor("SELECT b.x FROM tw_7.b b INNER JOIN tw_7.a a ON a.id = b.id;"),
                ElementsAre(alter, testing::StartsWith("query SELECT b.x")));
    EXPECT_THAT(sentFor("SELECT 1;"), ElementsAre(alter, "query SELECT 1;"));
    EXPECT_THAT(sentFor("UPDATE tw_7.b SET x = 1;"),
                ElementsAre(alter, "execute START TRANSACTION;", "query UPDATE tw_7.b SET x = 1;"));
    EXPECT_THAT(sentFor("UPDATE tw_tarnwick.site SET version = 1;"),
                ElementsAre(alter, "execute START TRANSACTION;",
                            "query UPDATE tw_tarnwick.site SET version = 1;"));
    EXPECT_THAT(sentFor("DELETE FROM tw_tarnwick.site;"),
                ElementsAre(alter, "query DELETE FROM tw_tarnwick.site;"));
}

TEST_F(Batching, WhatWaitsGoesOutBeforeAService) {
    Execute("UPDATE tw_7.b SET x = 1;");
    Add("a.p");
    batching_->GetComponentHost()->ResetSiteComponent(7, 100);
    Execute("UPDATE tw_7.b SET x = 1;");
    batching_->GetComponentHost()->GetApplication()->Refresh();
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.b SET x = 1;",
                            "execute COMMIT;", "execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                            "service ResetSiteComponent 7 100", "execute START TRANSACTION;",
                            "execute UPDATE tw_7.b SET x = 1;", "execute COMMIT;", "refresh"));
}

// --- steps
// ----------------------------------------------------------------------------------------

TEST_F(Batching, WhatWaitsOutlivesAStepThatCanSimplyRunAgain) {
    host_->observer = std::make_shared<Marks>(*host_);
    Begin("SiteSchemaStep_1_0001");
    Add("a.p");
    End("SiteSchemaStep_1_0001");
    Begin("SiteSchemaStep_1_0003");
    Add("a.q");
    End("SiteSchemaStep_1_0003");
    EndLadder();
    EXPECT_THAT(Sent(),
                ElementsAre("step begins", "step ends", "step begins", "step ends",
                            "execute ALTER TABLE tw_7.a ADD COLUMN p INT, ADD COLUMN q INT;",
                            "ladder ends"));
}

TEST_F(Batching, NothingWaitsWhereAStepThatCannotBeginsOrEnds) {
    host_->observer = std::make_shared<Marks>(*host_);
    Add("a.p");
    Begin("SiteSchemaStep_1_0018");
    Add("a.q");
    Add("a.r");
    End("SiteSchemaStep_1_0018");
    EXPECT_THAT(
        Sent(),
        ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT;", "step begins",
                    "execute ALTER TABLE tw_7.a ADD COLUMN q INT, ADD COLUMN r INT;", "step ends"));
}

TEST_F(Batching, OutsideOfASitesLaddersEverythingPasses) {
    EndLadder();
    Sent();
    batching_->GetObserver()->LadderStarting(Ladder::kServer, "tw_7", 1.0);
    Add("a.p");
    Columns("a");
    Execute("UPDATE tw_7.a SET x = 1;");
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                                    "reader DESCRIBE tw_7.a;", "execute UPDATE tw_7.a SET x = 1;"));
    EXPECT_EQ(layoutsRead_, 0);
}

// --- rows
// -----------------------------------------------------------------------------------------

TEST_F(Batching, RowsOfAStepShareATransaction) {
    host_->observer = std::make_shared<Marks>(*host_);
    Begin("SiteContentStep_1_0001");
    Query("SELECT x FROM tw_7.a;");
    Execute("INSERT INTO tw_7.a(x) VALUES(1);");
    Query("SELECT x FROM tw_7.b;");
    const auto command = batching_->GetCommandFactory()->NewCommand();
    command->AddParameter(2);
    command->SetText("UPDATE tw_7.b SET x = ?;");
    std::int64_t rowsAffected = 0;
    command->ExecuteCommand(batching_->GetDatabase(), rowsAffected);
    command->CloseCommand();
    Execute("DELETE FROM tw_7.a;");
    End("SiteContentStep_1_0001");
    EXPECT_THAT(
        Sent(),
        ElementsAre("step begins", "query SELECT x FROM tw_7.a;", "execute START TRANSACTION;",
                    "execute INSERT INTO tw_7.a(x) VALUES(1);", "query SELECT x FROM tw_7.b;",
                    "command UPDATE tw_7.b SET x = ?; [2]", "execute DELETE FROM tw_7.a;",
                    "execute COMMIT;", "step ends"));
}

TEST_F(Batching, ATransactionEndsBeforeEverythingElseThatChangesSomething) {
    for (const std::string other :
         {"ALTER TABLE tw_7.b DROP COLUMN x;", "TRUNCATE TABLE tw_7.a;",
          "INSERT INTO tw_tarnwick.site(siteid) VALUES(1);", "REPAIR TABLE tw_7.a QUICK;",
          "INSERT INTO tw_7.a(x) SELECT siteid FROM tw_tarnwick.site;",
          "UPDATE tw_7.a a INNER JOIN tw_tarnwick.site s ON s.siteid = a.id SET a.x = 1;"}) {
        Execute("UPDATE tw_7.a SET x = 1;");
        Execute(other);
        EXPECT_THAT(Sent(),
                    ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                                "execute COMMIT;", "execute " + other));
    }
}

// Whose layout is read once for all sites, but again when its own ladders may have changed it.
TEST_F(Batching, UpdatesOfOneCentralTableShareTheTransaction) {
    for (const std::int32_t siteId : {7, 7}) {
        batching_->GetObserver()->SiteStarting(siteId, 1.0);
        BeginLadder();
        Execute("UPDATE tw_tarnwick.site SET version = 1;");
        Execute("UPDATE tw_7.a SET x = 1;");
        Query("SELECT version FROM tw_tarnwick.site;");
        Execute("UPDATE tw_tarnwick.site SET version = 2;");
        EndLadder();
        EXPECT_THAT(Sent(), ElementsAre("execute START TRANSACTION;",
                                        "execute UPDATE tw_tarnwick.site SET version = 1;",
                                        "execute UPDATE tw_7.a SET x = 1;",
                                        "query SELECT version FROM tw_tarnwick.site;",
                                        "execute UPDATE tw_tarnwick.site SET version = 2;",
                                        "execute COMMIT;"));
    }
    EXPECT_EQ(otherLayoutsRead_, 1);
    batching_->GetObserver()->LadderStarting(Ladder::kServer, "tw_tarnwick", 1.0);
    Execute("RENAME TABLE tw_tarnwick.site TO tw_tarnwick.shop;");
    host_->catalogue.defaults.engine = "MyISAM";
    Execute("CREATE TABLE IF NOT EXISTS tw_tarnwick.site(version DOUBLE);");
    batching_->GetObserver()->LadderEnded(Ladder::kServer, "tw_tarnwick");
    Sent();
    BeginLadder();
    Execute("UPDATE tw_tarnwick.site SET version = 1;");
    EXPECT_THAT(Sent(), ElementsAre("execute UPDATE tw_tarnwick.site SET version = 1;"));
    EXPECT_EQ(otherLayoutsRead_, 2);
}

TEST_F(Batching, AnAlterThatWaitsGoesOutAfterTheRowsBeforeIt) {
    Execute("UPDATE tw_7.a SET x = 1;");
    Add("a.p");
    Execute("UPDATE tw_7.a SET p = 1;");
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                            "execute COMMIT;", "execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                            "execute START TRANSACTION;", "execute UPDATE tw_7.a SET p = 1;"));
}

TEST_F(Batching, ATransactionHasAtMostFiveHundredStatements) {
    for (int i = 0; i < 501; ++i) {
        Execute("UPDATE tw_7.a SET x = 1;");
    }
    const auto sent = Sent();
    ASSERT_EQ(sent.size(), 504U);
    EXPECT_EQ(sent[500], "execute UPDATE tw_7.a SET x = 1;");
    EXPECT_EQ(sent[501], "execute COMMIT;");
    EXPECT_EQ(sent[502], "execute START TRANSACTION;");
}

TEST_F(Batching, TablesThatKnowNoTransactionsAreAsBefore) {
    host_->catalogue.defaults.engine = "MyISAM";
    host_->catalogue.AddTable("tw_7", "m(x INT)");
    Execute("UPDATE tw_7.a SET x = 1;");
    Execute("UPDATE tw_7.m SET x = 1;");
    Execute("INSERT INTO tw_7.a(x) SELECT x FROM tw_7.m;");
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                            "execute COMMIT;", "execute UPDATE tw_7.m SET x = 1;",
                            "execute INSERT INTO tw_7.a(x) SELECT x FROM tw_7.m;"));
}

// --- failures
// -------------------------------------------------------------------------------------

TEST_F(Batching, AMergedStatementThatIsRefusedIsSentClauseByClauseUpToTheOneAtFault) {
    Columns("a");
    host_->catalogue.Run("ALTER TABLE tw_7.a ADD COLUMN q INT;");  // somebody else
    Begin("SiteSchemaStep_1_0001");
    Add("a.p");
    End("SiteSchemaStep_1_0001");
    Begin("SiteSchemaStep_1_0003");
    Add("a.q");
    End("SiteSchemaStep_1_0003");
    Begin("SiteSchemaStep_1_0005");
    Add("a.r");
    try {
        batching_->Run([this] { EndLadder(); });
        FAIL() << "no error";
    } catch (const LateError& error) {
        EXPECT_EQ(error.Statement(), "ALTER TABLE tw_7.a ADD COLUMN q INT;");
        EXPECT_EQ(error.Code(), 1060U);
        EXPECT_EQ(error.Step()->name, "SiteSchemaStep_1_0003");
    }
    EXPECT_THAT(Sent(), ElementsAre("execute ALTER TABLE tw_7.a ADD COLUMN p INT, ADD COLUMN q "
                                    "INT, ADD COLUMN r INT;",
                                    "execute ALTER TABLE tw_7.a ADD COLUMN p INT;",
                                    "execute ALTER TABLE tw_7.a ADD COLUMN q INT;"));
    BeginLadder();  // a repeat sees what the server has
    EXPECT_THAT(Columns("a"), ElementsAre("id", "x", "q", "p"));
    EXPECT_EQ(layoutsRead_, 2);
}

TEST_F(Batching, AMergedStatementThatOnlyTheServersTimeHasEndedIsNotSentAgain) {
    for (const std::uint32_t code : {1205U, 1213U, 2013U}) {
        Begin("SiteSchemaStep_1_0001");
        Add("a.p");
        Add("a.q");
        host_->FailAt(1, code);
        try {
            batching_->Run([this] { EndLadder(); });
            FAIL() << "no error";
        } catch (const LateError& error) {
            EXPECT_EQ(error.Statement(), "ALTER TABLE tw_7.a ADD COLUMN p INT;");
            EXPECT_EQ(error.Code(), code);
        }
        EXPECT_EQ(Sent().size(), 1U);
        BeginLadder();
    }
}

TEST_F(Batching, WhatWasDoneBeforeAnErrorStays) {
    host_->FailAt(3, 1054);
    EXPECT_THROW(batching_->Run([this] {
        Execute("UPDATE tw_7.a SET x = 1;");
        Execute("UPDATE tw_7.a SET missing = 1;");
    }),
                 HostError);
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                            "execute UPDATE tw_7.a SET missing = 1;", "execute COMMIT;"));
}

TEST_F(Batching, WhatWasDoneBeforeAnErrorOfTheComponentsOwnStays) {
    EXPECT_THROW(batching_->Run([this] {
        Execute("UPDATE tw_7.a SET x = 1;");
        Add("a.p");
        throw ConversionError("of the component's own");
    }),
                 ConversionError);
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                            "execute COMMIT;", "execute ALTER TABLE tw_7.a ADD COLUMN p INT;"));
}

// Of a cluster that has found a conflict, or on a full disk. What waited came after these rows.
TEST_F(Batching, ACommitThatFailsIsTheErrorOfItsStepAndNothingOfItsRowsIsSentAfterwards) {
    host_->observer = std::make_shared<Marks>(*host_);
    for (const std::uint32_t code : {1213U, 1180U, 1026U, 2013U}) {
        Columns("a");
        Sent();
        const int layoutsRead = layoutsRead_;
        host_->FailAt(4, code);
        try {
            batching_->Run([this] {
                Begin("SiteContentStep_1_0001");
                Execute("UPDATE tw_7.b SET x = 1;");
                Execute("ALTER TABLE tw_7.a ADD INDEX i(id);");
                End("SiteContentStep_1_0001");
            });
            FAIL() << "no error";
        } catch (const LateError&) {
            FAIL() << "no statement had waited";
        } catch (const HostError& error) {
            EXPECT_EQ(error.Statement(), "COMMIT;");
            EXPECT_EQ(error.Code(), code);
        }
        EXPECT_THAT(Sent(), ElementsAre("step begins", "execute START TRANSACTION;",
                                        "execute UPDATE tw_7.b SET x = 1;", "execute COMMIT;",
                                        "execute ROLLBACK;"));
        BeginLadder();  // a repeat sees what the server has
        EXPECT_THAT(Probe("SHOW INDEXES FROM tw_7.a;", "Key_name"), IsEmpty());
        EXPECT_EQ(layoutsRead_, layoutsRead + 1);
    }
}

TEST_F(Batching, ACommitThatFailsBeforeAStatementKeepsItFromTheServer) {
    for (const std::string other :
         {"ALTER TABLE tw_7.b DROP COLUMN x;", "DELETE FROM tw_tarnwick.site;"}) {
        host_->FailAt(3, 1213);
        EXPECT_THROW(batching_->Run([&] {
            Execute("UPDATE tw_7.a SET x = 1;");
            Execute(other);
        }),
                     HostError);
        EXPECT_THAT(Sent(),
                    ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                                "execute COMMIT;", "execute ROLLBACK;"));
        BeginLadder();
    }
}

// A cluster may say so at a read.
TEST_F(Batching, AfterADeadlockNothingOfWhatCameAfterItsRowsIsSent) {
    host_->FailAt(3, 1213);
    EXPECT_THROW(batching_->Run([this] {
        Execute("UPDATE tw_7.b SET x = 1;");
        Add("a.p");
        Query("SELECT x FROM tw_7.b;");
    }),
                 HostError);
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.b SET x = 1;",
                            "query SELECT x FROM tw_7.b;"));
    BeginLadder();
    // Without rows before it, what waits is done.
    Add("a.p");
    host_->FailAt(1, 1213);
    EXPECT_THROW(batching_->Run([this] { Query("SELECT x FROM tw_7.b;"); }), HostError);
    EXPECT_THAT(Sent(), ElementsAre("query SELECT x FROM tw_7.b;",
                                    "execute ALTER TABLE tw_7.a ADD COLUMN p INT;"));
}

// The plain run would not have come to the conversion.
TEST_F(Batching, AStatementThatHadWaitedAndIsRefusedIsTheErrorOfTheRun) {
    Columns("a");
    host_->catalogue.Run("ALTER TABLE tw_7.a ADD COLUMN p INT;");
    EXPECT_THROW(batching_->Run([this] {
        Add("a.p");
        throw ConversionError("of the component's own");
    }),
                 LateError);
}

TEST_F(Batching, ALostServerDoesNotReplaceTheErrorOfTheRun) {
    EXPECT_THROW(batching_->Run([this] {
        Add("a.p");
        host_->FailAt(1, 2006);
        throw ConversionError("of the component's own");
    }),
                 ConversionError);
}

TEST_F(Batching, AnOperationThatEndsOutsideOfALadderLeavesNothing) {
    batching_->Run([this] {
        Execute("UPDATE tw_7.a SET x = 1;");
        Add("a.p");
    });
    EXPECT_THAT(Sent(),
                ElementsAre("execute START TRANSACTION;", "execute UPDATE tw_7.a SET x = 1;",
                            "execute COMMIT;", "execute ALTER TABLE tw_7.a ADD COLUMN p INT;"));
}

}  // namespace
}  // namespace twupdate::test
