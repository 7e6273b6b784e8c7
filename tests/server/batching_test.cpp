// Batched statements on a real server: every run ends as the plain one does, and every
// interruption leaves what an interruption of the plain one leaves.
#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "sample_installation.h"
#include "twupdate_host/batching_utility.h"

namespace twupdate::test {
namespace {

using host::BatchingOptions;
using host::BatchingUtility;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Counts what the server had been sent at each call of the component.
class Calls : public host::StatementListener {
  public:
    explicit Calls(const FaultyUtility& sent) : sent_(sent) {}
    void Before(const host::StatementEvent& event) override {
        if (event.operation != host::Operation::kBatch) {
            calls.push_back({std::string(event.sql), sent_.Calls()});
        }
    }

    struct Call {
        std::string sql;
        std::size_t sentBefore;
    };
    std::vector<Call> calls;

  private:
    const FaultyUtility& sent_;
};

class BatchingOnServer : public SampleTest {
  protected:
    /// A run with batched statements: the host, and below it one that may fail.
    struct Run {
        std::shared_ptr<FaultyUtility> server;
        std::shared_ptr<Calls> calls;
        std::shared_ptr<BatchingUtility> host;
    };

    BatchingOnServer() {
        plan_.siteId = 1;
        plan_.hasLog = false;
        options_ = Options(1, 6);
    }
    ~BatchingOnServer() override { SetEngine("InnoDB"); }

    /// Of tables that are created from now on.
    void SetEngine(const std::string& engine) {
        for (const char* scope : {"GLOBAL", "SESSION"}) {
            Sql(std::string("SET ") + scope + " default_storage_engine = " + engine + ";");
        }
    }

    /// Site 1 beside a current central database.
    void Make(const Groups& groups, double version) {
        DropDatabases();
        plan_.groups = groups;
        plan_.age = {version, version};
        plan_.recordedVersion = version;
        if (!std::exchange(hasFiles_, true)) {
            sample::WriteFiles(options_, {plan_});
        }
        sample::MakeCentral(Host(), options_, {plan_});
        LoadLogs(1);
        sample::MakeSite(Host(), options_, plan_);
        sample::BringCentralTo(Host(), {kCurrentVersion, kCurrentVersion});
    }
    static Groups BareGroups() { return {}; }

    /// On a connection of its own, which ends with it.
    Run Batched() {
        Run run;
        const auto connection = host::Connection::Open(Server().ConnectOptions());
        host::MariaDbUtilityOptions options;
        options.installFolder = InstallFolder();
        run.server = std::make_shared<FaultyUtility>(
            std::make_shared<host::MariaDbUtility>(connection, options));
        run.calls = std::make_shared<Calls>(*run.server);
        run.host = std::make_shared<BatchingUtility>(
            run.server, BatchingOptions{.readLayout =
                                            [connection](const std::string& database) {
                                                return host::ReadCatalogue(*connection, {database});
                                            },
                                        .servicesChangeLayout = false,
                                        .listener = run.calls});
        return run;
    }
    void UpgradeBatched(const Run& run, double from) {
        run.host->Run([&] { Upgrade(1, from, run.host); });
    }

    /// Schemas and rows, and the site's tables as the server prints them.
    struct End {
        State state;
        std::vector<std::string> tables;
    };
    End EndNow() {
        End end{StateOfAll(), {}};
        for (const std::string& table : Rows("SHOW TABLES FROM tw_1")) {
            for (const std::string& text : Rows("SHOW CREATE TABLE tw_1." + table)) {
                end.tables.push_back(text);
            }
        }
        return end;
    }
    static void ExpectSame(const End& expected, const End& actual) {
        EXPECT_TRUE(SameState(expected.state, actual.state));
        EXPECT_EQ(expected.tables, actual.tables);
    }

    /// The first of the component's calls whose effect is not on the server, from 1: of the rows of
    /// an open transaction, of the changes of tables that wait, or the last.
    static std::size_t FirstWithoutEffect(const Run& run) {
        const auto& sent = run.server->Log();  // the last one has failed
        const auto& calls = run.calls->calls;
        std::size_t first = calls.size();
        std::size_t begins = sent.size();
        for (std::size_t i = 0; i + 1 < sent.size(); ++i) {
            begins = sent[i] == "START TRANSACTION;" ? i
                     : sent[i] == "COMMIT;"          ? sent.size()
                                                     : begins;
        }
        if (begins < sent.size()) {
            const auto after = std::find_if(calls.begin(), calls.end(), [&](const auto& call) {
                return call.sentBefore > begins;
            });
            first = static_cast<std::size_t>(after - calls.begin());
        }
        for (std::size_t i = 0; i < first; ++i) {
            const std::string& sql = calls[i].sql;
            if (!sql.starts_with("ALTER TABLE ")) {
                continue;
            }
            const auto clause = sql.find(' ', std::string("ALTER TABLE ").size());
            const bool isSent = std::any_of(
                sent.begin() + static_cast<std::ptrdiff_t>(calls[i].sentBefore), sent.end() - 1,
                [&](const std::string& statement) {
                    return statement.starts_with(sql.substr(0, clause + 1)) &&
                           statement.find(sql.substr(clause, sql.size() - 1 - clause)) !=
                               std::string::npos;
                });
            if (!isSent) {
                return i + 1;
            }
        }
        return first;
    }

    /// What the plain run leaves that ends before its n-th call.
    State PlainUpTo(const Groups& groups, std::size_t n) {
        Make(groups, 1.0);
        const auto plain = Faulty();
        plain->FailAt(n, FaultyUtility::kBefore);
        EXPECT_THROW(Upgrade(1, 1.0, plain), InjectedFault);
        return StateOfAll();
    }

    sample::InstallationOptions options_;
    sample::SitePlan plan_;

  private:
    bool hasFiles_ = false;
};

// --- the same end
// ---------------------------------------------------------------------------------

TEST_F(BatchingOnServer, AFullSiteEndsAsInThePlainRunWithFewerStatements) {
    Make(sample::AllGroups(), 1.0);
    const auto plain = Faulty();
    Upgrade(1, 1.0, plain);
    const End expected = EndNow();
    Make(sample::AllGroups(), 1.0);
    const Run run = Batched();
    UpgradeBatched(run, 1.0);
    ExpectSame(expected, EndNow());
    const auto count = [](const std::vector<std::string>& log, const std::string& beginning) {
        return std::count_if(log.begin(), log.end(),
                             [&](const std::string& sql) { return sql.starts_with(beginning); });
    };
    EXPECT_EQ(plain->Calls(), run.calls->calls.size());
    EXPECT_LT(run.server->Calls() * 10, plain->Calls() * 8);
    EXPECT_LT(count(run.server->Log(), "ALTER") * 10, count(plain->Log(), "ALTER") * 7);
    EXPECT_LT(count(run.server->Log(), "DESCRIBE"), 5);
    std::cout << plain->Calls() << " statements, batched " << run.server->Calls() << '\n';
}

TEST_F(BatchingOnServer, SitesOfEachStartEndAsInThePlainRun) {
    std::set<double> starts{1.0};
    for (const Ladder ladder : {Ladder::kSiteSchema, Ladder::kSiteContent}) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            starts.insert(step.threshold);
        }
    }
    const std::size_t stride = Soak() ? 1 : 31;
    std::size_t number = 0;
    for (const double version : starts) {
        if (number++ % stride != 0) {
            continue;
        }
        for (const Groups& groups : {sample::AllGroups(), BareGroups()}) {
            SCOPED_TRACE(std::to_string(version) + (groups.empty() ? " bare" : " full"));
            Make(groups, version);
            Upgrade(1, version);
            const End expected = EndNow();
            Make(groups, version);
            UpgradeBatched(Batched(), version);
            ExpectSame(expected, EndNow());
        }
    }
}

TEST_F(BatchingOnServer, TablesThatKnowNoTransactionsEndAlike) {
    SetEngine("MyISAM");
    Make(sample::AllGroups(), 1.0);
    ASSERT_EQ(Cell("SELECT engine FROM information_schema.tables WHERE table_schema = 'tw_1' AND "
                   "table_name = 'tag'"),
              "MyISAM");
    Upgrade(1, 1.0);
    const End expected = EndNow();
    Make(sample::AllGroups(), 1.0);
    const Run run = Batched();
    UpgradeBatched(run, 1.0);
    ExpectSame(expected, EndNow());
}

// --- interruptions
// --------------------------------------------------------------------------------

// The end of the program: nothing is sent any more, and the server takes the open transaction back.
TEST_F(BatchingOnServer, AnInterruptionLeavesWhatThePlainRunLeavesAtSomeStatement) {
    Make(sample::AllGroups(), 1.0);
    Run whole = Batched();
    UpgradeBatched(whole, 1.0);
    const std::size_t stride = Soak() ? 1 : whole.server->Calls() / 7;
    std::size_t tried = 0;
    for (std::size_t n = stride; n <= whole.server->Calls(); n += stride) {
        Make(sample::AllGroups(), 1.0);
        Run run = Batched();
        run.server->FailAt(n, FaultyUtility::kBefore);
        EXPECT_THROW(Upgrade(1, 1.0, run.host), HostError);  // not by Run(), which would commit
        SCOPED_TRACE(std::to_string(n) + ": " + run.server->Log().back());
        const std::size_t upTo = FirstWithoutEffect(run);
        run.host.reset();
        run.server.reset();  // and with it its connection
        const State left = StateOfAll();
        EXPECT_TRUE(SameState(PlainUpTo(sample::AllGroups(), upTo), left));
        ++tried;
    }
    std::cout << "interruptions tried: " << tried << '\n';
    EXPECT_GE(tried, 7U);
}

// An error: what was done before it is done, and it names the statement of the plain run.
TEST_F(BatchingOnServer, AnErrorLeavesWhatThePlainRunLeavesAtItsStatement) {
    Make(sample::AllGroups(), 1.0);
    Run whole = Batched();
    UpgradeBatched(whole, 1.0);
    const auto log = whole.server->Log();
    const std::size_t stride = Soak() ? 1 : log.size() / 6;
    for (std::size_t n = stride / 2 + 1; n <= log.size(); n += stride) {
        if (log[n - 1] == "COMMIT;") {
            continue;  // one that fails takes its rows with it
        }
        SCOPED_TRACE(std::to_string(n) + ": " + log[n - 1]);
        Make(sample::AllGroups(), 1.0);
        Run run = Batched();
        run.server->FailAt(n, FaultyUtility::kBefore);
        std::string statement;
        try {
            UpgradeBatched(run, 1.0);
        } catch (const HostError& error) {
            statement = error.Statement();
        }
        const auto& calls = run.calls->calls;
        const auto named = std::find_if(calls.rbegin(), calls.rend(),
                                        [&](const auto& call) { return call.sql == statement; });
        const std::size_t call = statement == "START TRANSACTION;" || named == calls.rend()
                                     ? calls.size()
                                     : static_cast<std::size_t>(calls.rend() - named);
        EXPECT_TRUE(named != calls.rend() || statement == "START TRANSACTION;" ||
                    statement.starts_with("service "))
            << statement;
        run.host.reset();
        run.server.reset();
        const State left = StateOfAll();
        EXPECT_TRUE(SameState(PlainUpTo(sample::AllGroups(), call), left));
    }
}

TEST_F(BatchingOnServer, AColumnThatSomebodyElseAddsMeanwhileIsAClearErrorAndARepeatEndsWell) {
    Make(sample::AllGroups(), 1.0);
    Upgrade(1, 1.0);
    const State expected = StateOfAll();
    Make(sample::AllGroups(), 1.0);
    Run run = Batched();
    run.server->At(3, FaultyUtility::kBefore, [&] {
        Sql("ALTER TABLE tw_1.security ADD COLUMN town VARCHAR(100) DEFAULT '' NOT NULL;");
    });
    try {
        UpgradeBatched(run, 1.0);
        FAIL() << "no error";
    } catch (const host::LateError& error) {
        EXPECT_EQ(error.Code(), 1060U);
        EXPECT_EQ(error.Statement(),
                  "ALTER TABLE tw_1.security ADD COLUMN town VARCHAR(100) DEFAULT '' NOT NULL;");
        EXPECT_EQ(error.Step()->name, "SiteSchemaStep_1_0054");
    }
    EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_1.security LIKE 'address_'"), testing::SizeIs(2));
    EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_1.security LIKE 'county'"), IsEmpty());
    run.server->Heal();
    UpgradeBatched(run, 1.0);
    for (const auto& [database, rows] : StateOfAll().rows) {
        if (database == "tw_tarnwick") {
            EXPECT_TRUE(SameRows(expected.rows.at(database), rows));
        }
    }
    EXPECT_THAT(Rows("SHOW COLUMNS FROM tw_1.security LIKE 'county'"), testing::SizeIs(1));
}

}  // namespace
}  // namespace twupdate::test
