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

#include "known_harms.h"
#include "sample_installation.h"
#include "support/given_numbers.h"
#include "support/trials.h"
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
    ~BatchingOnServer() override {
        SetEngine("InnoDB");
        for (const std::string& copy : Rows("SHOW DATABASES LIKE 'kept\\_%'")) {
            Sql("DROP DATABASE " + copy + ";");
        }
    }

    /// Of tables that are created from now on.
    void SetEngine(const std::string& engine) {
        for (const char* scope : {"GLOBAL", "SESSION"}) {
            Sql(std::string("SET ") + scope + " default_storage_engine = " + engine + ";");
        }
    }

    /// Site 1 beside a current central database. Made once more, it is copied.
    void Make(const Groups& groups, double version) {
        if (!isMade_ || groups != plan_.groups || version != plan_.recordedVersion) {
            plan_.groups = groups;
            plan_.age = {version, version};
            plan_.recordedVersion = version;
            MakeAnew();
            isMade_ = true;
        }
        for (const char* database : {"tw_1", "tw_tarnwick"}) {
            Copy(KeptOf(database), database);
        }
    }
    static Groups WithoutChargesAndFeeds() {
        Groups groups = sample::AllGroups();
        groups.erase(Group::kCharges);
        groups.erase(Group::kFeeds);
        return groups;
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
    static State WithoutGapsInSite(State state) {
        state.rows.at("tw_1") = WithoutGaps(std::move(state.rows.at("tw_1")));
        return state;
    }
    static void ExpectSame(const End& expected, const End& actual) {
        EXPECT_TRUE(SameState(expected.state, actual.state));
        EXPECT_EQ(expected.tables, actual.tables);
    }

    /// The first of the component's calls whose effect is not on the server, from 1, when the n-th
    /// statement to the server was the last one and has failed: of the rows of an open transaction,
    /// of the changes of tables that wait, or the last.
    static std::size_t FirstWithoutEffect(const Run& run, std::size_t n) {
        const auto& log = run.server->Log();
        const std::vector<std::string> sent(log.begin(),
                                            log.begin() + static_cast<std::ptrdiff_t>(n));
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

    /// The same after an error, before which everything was sent and committed: it is that of the
    /// statement which the error names. A COMMIT that fails takes its rows with it.
    static std::size_t FirstWithoutEffect(const Run& run, std::size_t n, const HostError& error) {
        if (error.Statement() == "COMMIT;") {
            return FirstWithoutEffect(run, n);
        }
        const auto& calls = run.calls->calls;
        const auto named = std::find_if(calls.rbegin(), calls.rend(), [&](const auto& call) {
            return call.sql == error.Statement();
        });
        EXPECT_TRUE(named != calls.rend() || error.Statement() == "START TRANSACTION;" ||
                    error.Statement().starts_with("service "))
            << error.Statement();
        return named == calls.rend() ? calls.size()
                                     : static_cast<std::size_t>(calls.rend() - named);
    }

    /// What the plain run leaves that ends before its n-th call.
    State PlainUpTo(const Groups& groups, std::size_t n) {
        Make(groups, 1.0);
        const auto plain = Faulty();
        plain->FailAt(n, FaultyUtility::kBefore);
        EXPECT_THROW(Upgrade(1, 1.0, plain), InjectedFault);
        return StateOfAll();
    }
    /// The same for every n, of a site with every feature: what is on the server before each call.
    void RecordThePlainRun() {
        Make(sample::AllGroups(), 1.0);
        const Run run = Batched();  // of which the faulty host on its own connection is used
        std::function<void()> look = [&] {
            plain_.push_back(Fingerprint(StateOfAll()));
            run.server->At(1, FaultyUtility::kBefore, look);
        };
        run.server->At(1, FaultyUtility::kBefore, look);
        Upgrade(1, 1.0, run.server);
    }
    void ExpectLeftByThePlainRun(std::size_t upTo, const State& left) {
        if (plain_.empty() || plain_.at(upTo - 1) != Fingerprint(left)) {
            EXPECT_TRUE(SameState(PlainUpTo(sample::AllGroups(), upTo), left));
        }
    }

    sample::InstallationOptions options_;
    sample::SitePlan plan_;

  private:
    void MakeAnew() {
        DropDatabases();
        if (!std::exchange(hasFiles_, true)) {
            sample::WriteFiles(options_, {plan_});
        }
        sample::MakeCentral(Host(), options_, {plan_});
        LoadLogs(1);
        sample::MakeSite(Host(), options_, plan_);
        sample::BringCentralTo(Host(), {kCurrentVersion, kCurrentVersion});
        for (const char* database : {"tw_1", "tw_tarnwick"}) {
            Copy(database, KeptOf(database));
        }
    }
    static std::string KeptOf(const std::string& database) { return "kept_" + database.substr(3); }
    void Copy(const std::string& from, const std::string& to) {
        Sql("DROP DATABASE IF EXISTS " + to + "; CREATE DATABASE " + to + ";");
        for (const std::string& table : Rows("SHOW TABLES FROM " + from)) {
            const std::string copy = to + "." + table;
            Sql("CREATE TABLE " + copy + " LIKE " + from + "." + table + "; INSERT INTO " + copy +
                " SELECT * FROM " + from + "." + table + ";");
        }
    }
    static std::size_t Fingerprint(const State& state) {
        std::string text;
        for (const auto& [database, schema] : state.schemas) {
            text += database + "\n" + schema.Text() + state.rows.at(database).Text();
        }
        return std::hash<std::string>{}(text);
    }

    bool hasFiles_ = false;
    bool isMade_ = false;
    std::vector<std::size_t> plain_;  ///< fingerprints; empty unless they are recorded
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
    Trials trials("--batch against the usual run: a site of each start, full and bare");
    for (const double version : starts) {
        if (number++ % stride != 0) {
            continue;
        }
        for (const Groups& groups : {sample::AllGroups(), BareGroups()}) {
            trials.Next();
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

// Those of the site as it was; tables that steps create may be of another engine.
TEST_F(BatchingOnServer, TablesThatKnowNoTransactionsEndAlike) {
    SetEngine("MyISAM");
    Make(sample::AllGroups(), 1.0);
    ASSERT_EQ(Cell("SELECT engine FROM information_schema.tables WHERE table_schema = 'tw_1' AND "
                   "table_name = 'tag'"),
              "MyISAM");
    for (const char* engine : {"MyISAM", "InnoDB"}) {
        SCOPED_TRACE(engine);
        SetEngine(engine);
        Make(sample::AllGroups(), 1.0);
        Upgrade(1, 1.0);
        const End expected = EndNow();
        Make(sample::AllGroups(), 1.0);
        UpgradeBatched(Batched(), 1.0);
        ExpectSame(expected, EndNow());
    }
}

// --- interruptions
// --------------------------------------------------------------------------------

// The end of the program: nothing is sent any more, and the server takes the open transaction back.
TEST_F(BatchingOnServer, AnInterruptionLeavesWhatThePlainRunLeavesAtSomeStatement) {
    Make(sample::AllGroups(), 1.0);
    Run whole = Batched();
    UpgradeBatched(whole, 1.0);
    if (Soak()) {
        RecordThePlainRun();
    }
    const std::size_t stride = Soak() ? 1 : whole.server->Calls() / 7;
    Trials trials("--batch: the program ends at a statement; state as of the usual run");
    for (std::size_t n = stride; n <= whole.server->Calls(); n += stride) {
        trials.Next();
        Make(sample::AllGroups(), 1.0);
        Run run = Batched();
        run.server->FailAt(n, FaultyUtility::kBefore);
        EXPECT_THROW(Upgrade(1, 1.0, run.host), HostError);  // not by Run(), which would commit
        SCOPED_TRACE(std::to_string(n) + ": " + run.server->Log().back());
        const std::size_t upTo = FirstWithoutEffect(run, n);
        run.host.reset();
        run.server.reset();  // and with it its connection
        ExpectLeftByThePlainRun(upTo, StateOfAll());
    }
    EXPECT_GE(trials.Number(), 7U);
}

// An error: what was done before it is done, and it names the statement of the plain run. With a
// COMMIT that fails its rows are gone.
TEST_F(BatchingOnServer, AnErrorLeavesWhatThePlainRunLeavesAtItsStatement) {
    Make(sample::AllGroups(), 1.0);
    Run whole = Batched();
    UpgradeBatched(whole, 1.0);
    const auto log = whole.server->Log();
    std::vector<std::size_t> chosen;
    for (std::size_t n = 1; n <= log.size(); ++n) {
        if (Soak() || n % (log.size() / 6) == log.size() / 12) {
            chosen.push_back(n);
        }
    }
    const auto commit = std::find(log.begin(), log.end(), "COMMIT;");
    chosen.push_back(static_cast<std::size_t>(commit - log.begin()) + 1);
    if (Soak()) {
        RecordThePlainRun();
    }
    Trials trials("--batch: a statement fails; state as of the usual run");
    for (const std::size_t n : chosen) {
        trials.Next();
        SCOPED_TRACE(std::to_string(n) + ": " + log[n - 1]);
        Make(sample::AllGroups(), 1.0);
        Run run = Batched();
        run.server->FailAt(n, FaultyUtility::kBefore);
        std::size_t upTo = 0;
        try {
            UpgradeBatched(run, 1.0);
        } catch (const HostError& error) {
            upTo = FirstWithoutEffect(run, n, error);
        }
        run.host.reset();
        run.server.reset();
        ExpectLeftByThePlainRun(upTo, StateOfAll());
    }
}

// By errors and ends of the program in turn, and repeats of both kinds. Where the plain run is
// known to leave harm in its place, this one may too.
TEST_F(BatchingOnServer, AfterAnInterruptionARepeatEndsAsIfThereHadBeenNone) {
    const Groups groups = WithoutChargesAndFeeds();
    Make(groups, 1.0);
    const auto plain = Faulty();
    Upgrade(1, 1.0, plain);
    const std::vector<std::string> plainLog = plain->Log();
    const State expected = WithoutGapsInSite(StateOfAll());
    Make(groups, 1.0);
    Run whole = Batched();
    UpgradeBatched(whole, 1.0);
    const std::size_t stride = Soak() ? 1 : whole.server->Calls() / 6;
    std::map<std::string, std::size_t> ends;
    std::size_t turn = 0;
    Trials trials("--batch: a statement fails or the program ends, and the site is upgraded again");
    for (std::size_t n = stride; n <= whole.server->Calls(); n += stride) {
        trials.Next();
        Make(groups, 1.0);
        Run run = Batched();
        run.server->FailAt(n, FaultyUtility::kBefore);
        const bool isError = ++turn % 2 == 0;
        std::size_t first = 0;
        try {
            if (isError) {
                UpgradeBatched(run, 1.0);
            } else {
                Upgrade(1, 1.0, run.host);
            }
        } catch (const HostError& error) {
            first = isError ? FirstWithoutEffect(run, n, error) : FirstWithoutEffect(run, n);
        }
        ASSERT_GT(first, 0U);
        SCOPED_TRACE(std::to_string(n) + ": " + run.server->Log()[n - 1]);
        const auto& calls = run.calls->calls;
        run.host.reset();
        run.server.reset();
        if (IsKnownHarm(calls.at(first - 1).sql)) {
            ++ends["known harm"];
            continue;
        }
        // The number of an embed, which the server gives once, stands in a text.
        if (std::any_of(calls.begin() + static_cast<std::ptrdiff_t>(first) - 1, calls.end() - 1,
                        [](const auto& call) {
                            return call.sql.starts_with("INSERT INTO tw_1.textembed(");
                        })) {
            ++ends["other numbers of embeds"];
            continue;
        }
        const bool isBatched = turn / 2 % 2 == 0;
        if (isBatched) {
            UpgradeBatched(Batched(), 1.0);
        } else {
            Upgrade(1, 1.0);
        }
        EXPECT_TRUE(SameState(expected, WithoutGapsInSite(StateOfAll())));
        ++ends[std::string(isError ? "error" : "end") +
               (isBatched ? ", repeated with batches" : ", repeated without")];
    }
    for (const auto& [end, count] : ends) {
        std::cout << end << ": " << count << '\n';
    }
    const auto harms =
        static_cast<std::size_t>(std::count_if(plainLog.begin(), plainLog.end(), IsKnownHarm));
    std::cout << "known harm in the plain run: " << harms << '\n';
    EXPECT_LE(ends["known harm"], harms);
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
