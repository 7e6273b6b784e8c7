// The schema ladder, interrupted at any statement, by a failing statement or by the end of the
// server, and run again. Wherever a repeat does not heal, a test says so by name and then follows
// docs/recovery.md.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <random>
#include <thread>

#include "server/site_schema_site.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kTimings = {"startshowdelay", "startfadein", "starthidedelay",
                                           "startfadeout"};

class SiteSchemaFaults : public SiteSchemaOnServer {
  protected:
    /// A site at the beginning of a run, and the state at the end of an undisturbed one.
    struct Run {
        double version = 0;
        bool bare = false;
    };
    struct State {
        Schema schema;
        RowSnapshot rows;
    };

    void MakeSite(const Run& run) {
        if (run.bare) {
            MakeBareSite(7);
        } else if (run.version >= 1.0224) {
            MakeFullSiteAt_1_0224(7);
        } else {
            MakeFullSite(7);
        }
    }

    State StateNow() { return {SchemaOf("tw_7"), RowsWithoutParameterIds(7)}; }

    /// The end of an undisturbed run, and the statements that it sends.
    State Undisturbed(const Run& run, std::vector<std::string>& statements) {
        MakeSite(run);
        const auto counting = Faulty();
        RunLadder(7, run.version, counting);
        statements = counting->Log();
        State end = StateNow();
        DropSite(7);
        return end;
    }

    bool ColumnIsThere(const std::string& table, const std::string& column) {
        return Cell(
                   "SELECT COUNT(*) FROM information_schema.COLUMNS WHERE TABLE_SCHEMA = 'tw_7' "
                   "AND TABLE_NAME = '" +
                   table + "' AND COLUMN_NAME = '" + column + "'") != "0";
    }

    /// The tables that hold a conversion's temporary column.
    std::vector<std::string> InterruptedConversions() {
        return Rows(
            "SELECT TABLE_NAME FROM information_schema.COLUMNS WHERE TABLE_SCHEMA = 'tw_7' AND "
            "COLUMN_NAME = 'double_temp'");
    }

    /// The column that an interrupted conversion of the table had dropped already; nothing where it
    /// is still there.
    std::optional<std::string> DroppedColumn(const std::string& table) {
        static const std::map<std::string, std::vector<std::string>> kConverted = {
            {"setting", {"float_value"}},
            {"navigation", {"xmlmappriority"}},
            {"layoutzone", kTimings},
            {"commission", {"percentage"}},
            {"accesscodeaccount", {"associatepercentage"}},
            {"form_50", {"field_5"}}};
        for (const std::string& column : kConverted.at(table)) {
            if (!ColumnIsThere(table, column)) {
                return column;
            }
        }
        return std::nullopt;
    }

    /// Step by step what docs/recovery.md says, before the run is repeated.
    /// @return what had to be done
    std::vector<std::string> Recover() {
        std::vector<std::string> done;
        for (const std::string& table : InterruptedConversions()) {
            if (const auto dropped = DroppedColumn(table)) {
                Sql("ALTER TABLE tw_7." + table + " CHANGE COLUMN double_temp " + *dropped +
                    " DOUBLE DEFAULT 0 NOT NULL;");
                done.push_back("renamed double_temp to " + *dropped);
            } else {
                Sql("ALTER TABLE tw_7." + table + " DROP COLUMN double_temp;");
                done.push_back("dropped double_temp of " + table);
            }
        }
        if (ColumnIsThere("layoutzone", kTimings.front())) {
            for (const std::string& timing : kTimings) {
                if (!ColumnIsThere("layoutzone", timing)) {
                    Sql("ALTER TABLE tw_7.layoutzone ADD COLUMN " + timing +
                        " FLOAT DEFAULT 0 NOT NULL;");
                    done.push_back("added " + timing);
                }
            }
        }
        if (!Rows("SHOW TABLES FROM tw_7 LIKE 'externallookupfeedurl'").empty() &&
            Cell("SELECT COUNT(*) FROM tw_7.externallookupfeedurl") == "0" &&
            Cell("SELECT COUNT(*) FROM tw_7.featurenamevalue WHERE type = 2") != "0") {
            Sql("INSERT INTO tw_7.externallookupfeedurl(featureid, url, sequence) "
                "SELECT featureid, value, sequence FROM tw_7.featurenamevalue WHERE type = 2;");
            done.push_back("copied the feed addresses");
        }
        return done;
    }

    /// True when a run that ends before this statement is one that a repeat does not heal.
    static bool IsNamedInterruption(const std::string& next) {
        // Between the ADD and the DROP, and between the DROP and the CHANGE, of a conversion;
        // between the four timings; between the table of feed addresses and their copy.
        return next.find("SET double_temp") != std::string::npos ||
               next.find("CHANGE COLUMN double_temp") != std::string::npos ||
               (next.find("DROP COLUMN") != std::string::npos) ||
               next.find("ADD COLUMN startfadein FLOAT") != std::string::npos ||
               next.find("ADD COLUMN starthidedelay FLOAT") != std::string::npos ||
               next.find("ADD COLUMN startfadeout FLOAT") != std::string::npos ||
               next.find("INSERT INTO tw_7.externallookupfeedurl") != std::string::npos;
    }

    /// Interrupts the run before its n-th statement (from 1), then repeats it.
    /// @return what had to be done by hand in between
    std::vector<std::string> InterruptAndRepeat(const Run& run, std::size_t n,
                                                FaultyUtility::When when) {
        MakeSite(run);
        const auto faulty = Faulty();
        faulty->FailAt(n, when);
        EXPECT_THROW(RunLadder(7, run.version, faulty), InjectedFault);
        auto manual = Recover();
        RunLadder(7, run.version);
        return manual;
    }

    void Sweep(const Run& run, std::size_t everyNth) {
        std::vector<std::string> statements;
        const State end = Undisturbed(run, statements);
        Trials trials("site schema ladder: a statement fails, and the ladder runs again");
        int manual = 0;
        for (std::size_t n = 1; n <= statements.size(); ++n) {
            const std::string& next = statements[n - 1];
            // Without rows of that type there is no feed address to lose.
            const bool named = IsNamedInterruption(next) &&
                               (run.version >= 1.0224 || next.find("INSERT") == std::string::npos);
            if (n % everyNth != 0 && !(named && everyNth < statements.size())) {
                continue;
            }
            trials.Next();
            const auto done = InterruptAndRepeat(run, n, FaultyUtility::kBefore);
            EXPECT_EQ(!done.empty(), named) << "interrupted before " << next;
            const State now = StateNow();
            EXPECT_TRUE(SameSchema(end.schema, now.schema)) << "interrupted before " << next;
            EXPECT_TRUE(SameRows(end.rows, now.rows)) << "interrupted before " << next;
            DropSite(7);
            manual += done.empty() ? 0 : 1;
            if (HasFailure()) {
                return;
            }
        }
        std::printf("    from %.4f: %zu statements, %zu interruptions, %d resolved manually\n",
                    run.version, statements.size(), trials.Number(), manual);
    }

    /// The number of the first statement that begins with this text, from 1.
    static std::size_t NumberOf(const std::vector<std::string>& statements,
                                const std::string& text) {
        for (std::size_t i = 0; i < statements.size(); ++i) {
            if (statements[i].starts_with(text)) {
                return i + 1;
            }
        }
        ADD_FAILURE() << "not sent: " << text;
        return 1;
    }

    /// Runs the ladder on a full site up to the statement that begins with this text.
    void InterruptBefore(const std::string& text, const Run& run) {
        std::vector<std::string> statements;
        undisturbed = Undisturbed(run, statements);
        MakeSite(run);
        const auto faulty = Faulty();
        faulty->FailAt(NumberOf(statements, text), FaultyUtility::kBefore);
        EXPECT_THROW(RunLadder(7, run.version, faulty), InjectedFault);
    }

    void ExpectUndisturbedState() {
        const State now = StateNow();
        EXPECT_TRUE(SameSchema(undisturbed.schema, now.schema));
        EXPECT_TRUE(SameRows(undisturbed.rows, now.rows));
    }

    /// The server's error number with which the repeat ends.
    std::uint32_t ErrorOfRepeat(double version) {
        try {
            RunLadder(7, version);
        } catch (const HostError& error) {
            return error.Code();
        }
        return 0;
    }

    State undisturbed;
};

constexpr std::uint32_t kDuplicateColumn = 1060;
const std::string kCopy = "UPDATE tw_7.form_50 SET double_temp";
const std::string kDrop = "ALTER TABLE tw_7.form_50 DROP COLUMN field_5";
const std::string kRename = "ALTER TABLE tw_7.form_50 CHANGE COLUMN double_temp field_5";

TEST_F(SiteSchemaFaults,
       AConversionInterruptedBeforeItsCopyStopsTheRepeatUntilDoubleTempIsDropped) {
    InterruptBefore(kCopy, {1.0});
    EXPECT_EQ(ErrorOfRepeat(1.0), kDuplicateColumn);
    EXPECT_THAT(Recover(), ElementsAre("dropped double_temp of form_50"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults,
       AConversionInterruptedBeforeItsDropStopsTheRepeatUntilDoubleTempIsDropped) {
    InterruptBefore(kDrop, {1.0});
    EXPECT_EQ(Cell("SELECT double_temp FROM tw_7.form_50 WHERE replyid = 1"), "0.1");
    EXPECT_EQ(ErrorOfRepeat(1.0), kDuplicateColumn);
    EXPECT_THAT(Recover(), ElementsAre("dropped double_temp of form_50"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, AConversionInterruptedAfterItsDropKeepsTheValueInDoubleTempOnly) {
    InterruptBefore(kRename, {1.0});
    EXPECT_FALSE(ColumnIsThere("form_50", "field_5"));
    EXPECT_EQ(Cell("SELECT double_temp FROM tw_7.form_50 WHERE replyid = 1"), "0.1");
    // The repeat ends without an error and without the column.
    EXPECT_EQ(ErrorOfRepeat(1.0), 0U);
    EXPECT_FALSE(ColumnIsThere("form_50", "field_5"));
    EXPECT_THAT(InterruptedConversions(), ElementsAre("form_50"));
    EXPECT_THAT(Recover(), ElementsAre("renamed double_temp to field_5"));
    EXPECT_EQ(Cell("SELECT field_5 FROM tw_7.form_50 WHERE replyid = 1"), "0.1");
    EXPECT_EQ(ErrorOfRepeat(1.0), 0U);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, AConversionInterruptedAfterItsDropAndRepairedBeforeTheRepeatLosesNothing) {
    InterruptBefore(kRename, {1.0});
    EXPECT_THAT(Recover(), ElementsAre("renamed double_temp to field_5"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, ARepeatRecreatesADroppedSettingColumnAndThenStops) {
    InterruptBefore("ALTER TABLE tw_7.setting CHANGE COLUMN double_temp", {1.0});
    EXPECT_FALSE(ColumnIsThere("setting", "float_value"));
    // 1.0018 finds the column missing and adds it, empty; the conversion then fails.
    EXPECT_EQ(ErrorOfRepeat(1.0), kDuplicateColumn);
    EXPECT_TRUE(ColumnIsThere("setting", "float_value"));
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.setting WHERE float_value <> 0"), "0");
    Sql("ALTER TABLE tw_7.setting DROP COLUMN float_value;");
    EXPECT_THAT(Recover(), ElementsAre("renamed double_temp to float_value"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, ARepeatRecreatesADroppedPriorityWithItsDefaultAndThenStops) {
    InterruptBefore("ALTER TABLE tw_7.navigation CHANGE COLUMN double_temp", {1.0});
    EXPECT_EQ(ErrorOfRepeat(1.0), kDuplicateColumn);
    EXPECT_EQ(Cell("SELECT COUNT(*) FROM tw_7.navigation WHERE xmlmappriority <> 0.5"), "0");
    Sql("ALTER TABLE tw_7.navigation DROP COLUMN xmlmappriority;");
    EXPECT_THAT(Recover(), ElementsAre("renamed double_temp to xmlmappriority"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, ARepeatRecreatesTheFirstTimingAndStopsAtTheSecond) {
    InterruptBefore("ALTER TABLE tw_7.layoutzone CHANGE COLUMN double_temp startshowdelay", {1.0});
    EXPECT_EQ(ErrorOfRepeat(1.0), kDuplicateColumn);
    EXPECT_TRUE(ColumnIsThere("layoutzone", "startshowdelay"));
    Sql("ALTER TABLE tw_7.layoutzone DROP COLUMN startshowdelay;");
    EXPECT_THAT(Recover(), ElementsAre("renamed double_temp to startshowdelay"));
    RunLadder(7);
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, TimingsInterruptedAfterTheFirstStayIncompleteWithoutAnError) {
    InterruptBefore("ALTER TABLE tw_7.layoutzone ADD COLUMN startfadein", {1.0});
    EXPECT_EQ(ErrorOfRepeat(1.0), 0U);
    EXPECT_TRUE(ColumnIsThere("layoutzone", "startshowdelay"));
    for (const char* timing : {"startfadein", "starthidedelay", "startfadeout"}) {
        EXPECT_FALSE(ColumnIsThere("layoutzone", timing)) << timing;
        // What the notes say for a site that has finished.
        Sql(std::string("ALTER TABLE tw_7.layoutzone ADD COLUMN ") + timing +
            " DOUBLE DEFAULT 0 NOT NULL;");
    }
    auto columns = SchemaOf("tw_7").tables["layoutzone"].columns;
    auto wanted = undisturbed.schema.tables["layoutzone"].columns;
    std::ranges::sort(columns);
    std::ranges::sort(wanted);
    EXPECT_EQ(columns, wanted);
}

TEST_F(SiteSchemaFaults, FeedAddressesInterruptedBeforeTheirCopyAreNotCopiedByTheRepeat) {
    InterruptBefore("INSERT INTO tw_7.externallookupfeedurl", {1.0224});
    EXPECT_EQ(ErrorOfRepeat(1.0224), 0U);
    EXPECT_THAT(Rows("SELECT * FROM tw_7.externallookupfeedurl"), IsEmpty());
    EXPECT_THAT(Recover(), ElementsAre("copied the feed addresses"));
    ExpectUndisturbedState();
}

TEST_F(SiteSchemaFaults, AnyOtherInterruptionIsHealedByARepeat) {
    Sweep({1.0}, Soak() ? 1 : 97);
    Sweep({1.0224}, Soak() ? 1 : 41);
    Sweep({1.0, true}, Soak() ? 1 : 53);
}

TEST_F(SiteSchemaFaults, AnInterruptionAfterTheLastStatementHealsToo) {
    const Run run{1.0};
    std::vector<std::string> statements;
    const State end = Undisturbed(run, statements);
    EXPECT_THAT(InterruptAndRepeat(run, statements.size(), FaultyUtility::kAfter), IsEmpty());
    const State now = StateNow();
    EXPECT_TRUE(SameSchema(end.schema, now.schema));
    EXPECT_TRUE(SameRows(end.rows, now.rows));
}

TEST_F(SiteSchemaFaults, AServerKilledAtAnyMomentComesBackAndTheRepeatEndsTheSame) {
    std::vector<std::string> statements;
    const Run run{1.0};
    const auto begin = std::chrono::steady_clock::now();
    const State end = Undisturbed(run, statements);
    const auto whole = std::chrono::steady_clock::now() - begin;
    const unsigned seed = Soak() ? std::random_device{}() : 20261;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> share(0.0, 0.6);
    int interrupted = 0;
    int manual = 0;
    const int rounds = Soak() ? 20 : 3;
    Trials trials("site schema ladder: the server is killed, and the ladder runs again");
    for (int round = 0; round < rounds; ++round) {
        trials.Next();
        MakeSite(run);
        Sql("FLUSH TABLES;");
        const auto wait = share(random) * whole;
        std::thread killer([&] {
            std::this_thread::sleep_for(wait);
            Server().Kill();
        });
        try {
            RunLadder(7, run.version);
        } catch (const HostError&) {
            ++interrupted;
        }
        killer.join();
        Server().Start();
        Reconnect();
        manual += Recover().empty() ? 0 : 1;
        RunLadder(7, run.version);
        const State now = StateNow();
        EXPECT_TRUE(SameSchema(end.schema, now.schema)) << "seed " << seed << " round " << round;
        EXPECT_TRUE(SameRows(end.rows, now.rows)) << "seed " << seed << " round " << round;
        DropSite(7);
    }
    std::printf("    %d kills (seed %u), %d of them within the run, %d resolved manually\n", rounds,
                seed, interrupted, manual);
    EXPECT_GT(interrupted, 0) << "no kill fell into the run";
}

}  // namespace
}  // namespace twupdate::test
