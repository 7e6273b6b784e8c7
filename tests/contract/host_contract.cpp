#include "contract/host_contract.h"

#include <functional>

namespace twupdate::test {

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(HostContract);

HostContract::HostContract() : underTest_(GetParam().make()), host_(underTest_->Host()) {
    Execute("DROP DATABASE IF EXISTS tw_999990;");
    Execute("CREATE DATABASE tw_999990;");
    Execute(
        "CREATE TABLE tw_999990.thing(id INT AUTO_INCREMENT NOT NULL, name VARCHAR(100), "
        "version DOUBLE DEFAULT 0 NOT NULL, note LONGTEXT, PRIMARY KEY(id));");
}

HostContract::~HostContract() {
    try {
        Execute("DROP DATABASE tw_999990;");
    } catch (const HostError& error) {
        ADD_FAILURE() << "the host cannot be used after the test: " << error.what();
    }
}

void HostContract::Execute(const std::string& sql) {
    std::int64_t rowsAffected = 0;
    host_->GetDatabase()->Execute(sql, rowsAffected);
}

std::shared_ptr<Recordset> HostContract::Open(const std::string& sql, const Answer& answer) {
    underTest_->WillAnswer(sql, answer);
    return host_->GetDatabase()->OpenRecordset(sql, 0, 0);
}

std::shared_ptr<Reader> HostContract::Read(const std::string& sql, const Answer& answer) {
    underTest_->WillAnswer(sql, answer);
    return host_->GetDatabase()->OpenReader(sql);
}

Value HostContract::Cell(const std::string& sql) {
    const auto rows = host_->GetDatabase()->OpenRecordset(sql, 0, 0);
    Value value = rows->Fields().Item("v").Value();
    rows->Close();
    return value;
}

std::shared_ptr<Command> HostContract::NewCommand(const std::vector<Value>& parameters) {
    auto command = host_->GetCommandFactory()->NewCommand();
    for (const Value& parameter : parameters) {
        command->AddParameter(parameter);
    }
    return command;
}

void HostContract::Run(Command& command, const std::string& sql) {
    command.SetText(sql);
    std::int64_t rowsAffected = 0;
    command.ExecuteCommand(host_->GetDatabase(), rowsAffected);
}

namespace {

using Data = Value::Data;

/// The error that a call ends in.
HostError ErrorOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const HostError& error) {
        return error;
    }
    ADD_FAILURE() << "the call does not fail with a HostError";
    return {"", 0, "", ""};
}

#define SKIP_WITHOUT_A_SERVER()                                     \
    if (!UnderTest().HasServer()) {                                 \
        GTEST_SKIP() << "the host has no server that stores rows."; \
    }

const Answer kTwoThings = {{"id", "name"}, {{1, "first"}, {2, "second"}}};
constexpr const char* kTwoThingsQuery = "SELECT id, name FROM tw_999990.thing ORDER BY id;";
constexpr const char* kInsertTwoThings =
    "INSERT INTO tw_999990.thing(id, name) VALUES(1, 'first'), (2, 'second');";

// --- recordsets ------------------------------------------------------------------------------

TEST_P(HostContract, RecordsetGivesItsRowsInOrderToTheEnd) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);

    ASSERT_FALSE(rows->IsEOF());
    EXPECT_EQ(rows->Fields().Item("id").Value(), Value(1));
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("first"));
    rows->MoveNext();
    ASSERT_FALSE(rows->IsEOF());
    EXPECT_EQ(rows->Fields().Item("id").Value(), Value(2));
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("second"));
    rows->MoveNext();
    EXPECT_TRUE(rows->IsEOF());
    rows->Close();
}

TEST_P(HostContract, RecordsetWithoutRowsIsAtItsEndAtOnce) {
    const auto rows = Open(kTwoThingsQuery, {{"id", "name"}, {}});
    EXPECT_TRUE(rows->IsEOF());
    rows->Close();
}

TEST_P(HostContract, StatementWithoutRowsGivesAnEmptyRecordset) {
    const auto rows = Host().GetDatabase()->OpenRecordset(
        "ALTER TABLE tw_999990.thing ADD COLUMN extra INT DEFAULT 0 NOT NULL;", 0, 0);
    EXPECT_TRUE(rows->IsEOF());
    rows->Close();

    const auto columns = Host().GetDatabase()->OpenReader("DESCRIBE tw_999990.thing extra;");
    EXPECT_FALSE(columns->IsEOF()) << "the statement did not run";
    columns->ReaderClose();
}

TEST_P(HostContract, StatementsRunWhileARecordsetIsOpen) {
    Execute(kInsertTwoThings);
    const auto outer = Open(kTwoThingsQuery, kTwoThings);
    int visited = 0;
    for (; !outer->IsEOF(); outer->MoveNext()) {
        const auto inner =
            Open("SELECT name FROM tw_999990.thing WHERE id = 2;", {{"name"}, {{"second"}}});
        const auto reader = Host().GetDatabase()->OpenReader("DESCRIBE tw_999990.thing;");
        Execute("UPDATE tw_999990.thing SET version = 1 WHERE id = 1;");
        Run(*NewCommand({1.5}), "UPDATE tw_999990.thing SET version = ? WHERE id = 2;");
        EXPECT_EQ(inner->Fields().Item("name").Value(), Value("second"));
        EXPECT_EQ(reader->GetField("Field").ToText(), "id");
        EXPECT_EQ(outer->Fields().Item("id").Value(), Value(++visited));
        reader->ReaderClose();
        inner->Close();
    }
    EXPECT_EQ(visited, 2);
    outer->Close();
}

TEST_P(HostContract, RecordsetKeepsItsRowsWhenItsTableIsGone) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    Execute("DROP TABLE tw_999990.thing;");
    rows->MoveNext();
    ASSERT_FALSE(rows->IsEOF());
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("second"));
    rows->Close();
}

TEST_P(HostContract, FieldFollowsItsRecordsetFromRowToRow) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    const Field& name = rows->Fields().Item("name");
    EXPECT_EQ(name.Value(), Value("first"));
    rows->MoveNext();
    EXPECT_EQ(name.Value(), Value("second"));
    rows->Close();
}

TEST_P(HostContract, ColumnIsFoundInWhateverLetterCase) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    EXPECT_EQ(rows->Fields().Item("NAME").Value(), Value("first"));
    EXPECT_EQ(rows->Fields().Item("Name").Value(), Value("first"));
    rows->Close();

    const auto reader = Read(kTwoThingsQuery, kTwoThings);
    EXPECT_EQ(reader->GetField("nAmE"), Value("first"));
    reader->ReaderClose();
}

TEST_P(HostContract, UnknownColumnIsAnErrorThatNamesIt) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    const HostError ofRecordset = ErrorOf([&] { rows->Fields().Item("surname"); });
    EXPECT_NE(std::string(ofRecordset.what()).find("surname"), std::string::npos)
        << ofRecordset.what();
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("first")) << "after the error";
    rows->Close();

    const auto reader = Read(kTwoThingsQuery, kTwoThings);
    const HostError ofReader = ErrorOf([&] { reader->GetField("surname"); });
    EXPECT_NE(std::string(ofReader.what()).find("surname"), std::string::npos) << ofReader.what();
    reader->ReaderClose();
}

TEST_P(HostContract, ClosingTwiceDoesNothing) {
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    rows->Close();
    EXPECT_NO_THROW(rows->Close());

    const auto reader = Read(kTwoThingsQuery, kTwoThings);
    reader->ReaderClose();
    EXPECT_NO_THROW(reader->ReaderClose());
}

TEST_P(HostContract, RecordsetThatIsGivenUpHalfWayDisturbsNothing) {
    Execute(kInsertTwoThings);
    Open(kTwoThingsQuery, kTwoThings).reset();
    Read(kTwoThingsQuery, kTwoThings).reset();
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    EXPECT_EQ(rows->Fields().Item("id").Value(), Value(1));
    rows->Close();
}

// --- readers ---------------------------------------------------------------------------------

TEST_P(HostContract, ReaderDescribesATable) {
    const auto columns = Host().GetDatabase()->OpenReader("DESCRIBE tw_999990.thing;");
    std::vector<std::string> names;
    std::vector<std::string> types;
    for (; !columns->IsEOF(); columns->ReaderMoveNext()) {
        names.push_back(columns->GetField("Field").ToText());
        types.push_back(columns->GetField("Type").ToText());
    }
    columns->ReaderClose();
    EXPECT_EQ(names, (std::vector<std::string>{"id", "name", "version", "note"}));
    EXPECT_EQ(types.at(2), "double");
}

TEST_P(HostContract, ReaderListsIndexes) {
    Execute("ALTER TABLE tw_999990.thing ADD INDEX name_idx(name(20));");
    const auto indexes = Host().GetDatabase()->OpenReader("SHOW INDEXES FROM tw_999990.thing;");
    std::vector<std::string> names;
    for (; !indexes->IsEOF(); indexes->ReaderMoveNext()) {
        names.push_back(indexes->GetField("Key_name").ToText());
    }
    indexes->ReaderClose();
    EXPECT_EQ(names, (std::vector<std::string>{"PRIMARY", "name_idx"}));
}

// --- values ----------------------------------------------------------------------------------

TEST_P(HostContract, ColumnsOfEveryKindAreReadByName) {
    Execute(
        "CREATE TABLE tw_999990.kinds(nothing INT, truth BOOL, small SMALLINT, number INT, "
        "big BIGINT, ratio DOUBLE, coarse FLOAT, money DECIMAL(17,2), day DATE, moment DATETIME, "
        "word VARCHAR(20), essay LONGTEXT);");
    Execute(
        "INSERT INTO tw_999990.kinds VALUES(NULL, -1, -32768, 2147483647, -9223372036854775808, "
        "1.0265, 0.5, 123456789012345.60, '1000-01-01', '3000-01-01 00:00:00', 'word', '');");
    const auto row =
        Open("SELECT * FROM tw_999990.kinds;",
             {{"nothing", "truth", "small", "number", "big", "ratio", "coarse", "money", "day",
               "moment", "word", "essay"},
              {{Value(), -1, -32768, 2147483647, INT64_MIN, 1.0265, 0.5, "123456789012345.60",
                "1000-01-01", "3000-01-01 00:00:00", "word", ""}}});
    const auto value = [&](const char* column) { return row->Fields().Item(column).Value(); };

    EXPECT_TRUE(value("nothing").IsNull());
    EXPECT_EQ(value("truth").Get(), Data(std::int64_t{-1}));
    EXPECT_EQ(value("small").Get(), Data(std::int64_t{-32768}));
    EXPECT_EQ(value("number").Get(), Data(std::int64_t{2147483647}));
    EXPECT_EQ(value("big").Get(), Data(std::int64_t{INT64_MIN}));
    EXPECT_EQ(value("ratio").Get(), Data(1.0265));
    EXPECT_EQ(value("coarse").Get(), Data(0.5));
    EXPECT_EQ(value("money").Get(), Data(std::string("123456789012345.60")));
    EXPECT_EQ(value("day").Get(), Data(std::string("1000-01-01")));
    EXPECT_EQ(value("moment").Get(), Data(std::string("3000-01-01 00:00:00")));
    EXPECT_EQ(value("word").Get(), Data(std::string("word")));
    EXPECT_EQ(value("essay").Get(), Data(std::string()));
    row->Close();
}

TEST_P(HostContract, CommandReadsColumnsOfEveryKindAlike) {
    Execute(
        "CREATE TABLE tw_999990.kinds(id INT, nothing INT, truth BOOL, big BIGINT, ratio DOUBLE, "
        "coarse FLOAT, money DECIMAL(17,2), moment DATETIME, essay LONGTEXT);");
    const std::string essay(5000, 'e');
    Execute(
        "INSERT INTO tw_999990.kinds VALUES(7, NULL, -1, -9223372036854775808, 1.0265, 0.1, "
        "-0.50, '2009-12-31 23:59:58', '" +
        essay + "');");
    const std::string query = "SELECT * FROM tw_999990.kinds WHERE id = ?;";
    UnderTest().WillAnswer(
        query, {{"id", "nothing", "truth", "big", "ratio", "coarse", "money", "moment", "essay"},
                {{7, Value(), -1, INT64_MIN, 1.0265, 0.1, "-0.50", "2009-12-31 23:59:58", essay}}});
    const auto command = NewCommand({7});
    command->SetText(query);
    const auto row = command->OpenCommandRecordset(Host().GetDatabase());
    const auto value = [&](const char* column) { return row->Fields().Item(column).Value(); };

    ASSERT_FALSE(row->IsEOF());
    EXPECT_EQ(value("ID").Get(), Data(std::int64_t{7}));
    EXPECT_TRUE(value("nothing").IsNull());
    EXPECT_EQ(value("truth").Get(), Data(std::int64_t{-1}));
    EXPECT_EQ(value("big").Get(), Data(std::int64_t{INT64_MIN}));
    EXPECT_EQ(value("ratio").Get(), Data(1.0265));
    EXPECT_EQ(value("coarse").Get(), Data(0.1));
    EXPECT_EQ(value("money").Get(), Data(std::string("-0.50")));
    EXPECT_EQ(value("moment").Get(), Data(std::string("2009-12-31 23:59:58")));
    EXPECT_EQ(value("essay").Get(), Data(essay));
    row->MoveNext();
    EXPECT_TRUE(row->IsEOF());
    row->Close();
}

TEST_P(HostContract, NumberThatNoIntegerHoldsIsAnOverflowWhereOneIsNeeded) {
    SKIP_WITHOUT_A_SERVER();
    EXPECT_EQ(Cell("SELECT CAST(18446744073709551615 AS UNSIGNED) AS v;").ToText(),
              "18446744073709551615");
    EXPECT_THROW(Cell("SELECT CAST(18446744073709551615 AS UNSIGNED) AS v;").ToInt32(),
                 OverflowError);
    EXPECT_THROW(Cell("SELECT 2147483648 AS v;").ToInt32(), OverflowError);
    EXPECT_EQ(Cell("SELECT CAST(2147483647 AS UNSIGNED) AS v;").ToInt32(), 2147483647);
}

TEST_P(HostContract, TextKeepsEveryByte) {
    SKIP_WITHOUT_A_SERVER();
    const std::string text =
        "O'Neill said \"no\" \\ 100% of _ us\r\n\ttab; -- no comment /* none */ ? \xE2\x82\xAC "
        "\xF0\x9F\x98\x80";
    Run(*NewCommand({1, text}), "INSERT INTO tw_999990.thing(id, note) VALUES(?, ?);");
    EXPECT_EQ(Cell("SELECT note AS v FROM tw_999990.thing WHERE id = 1;"), Value(text));

    Execute(
        "INSERT INTO tw_999990.thing(id, note) VALUES(2, 'O\\'Neill said \\\"no\\\" \\\\ 100% of "
        "_ us\r\n\ttab; -- no comment /* none */ ? \xE2\x82\xAC \xF0\x9F\x98\x80');");
    EXPECT_EQ(Cell("SELECT note AS v FROM tw_999990.thing WHERE id = 2;"), Value(text));
}

TEST_P(HostContract, TextOfTenMegabytesGoesBothWays) {
    SKIP_WITHOUT_A_SERVER();
    constexpr std::size_t kTenMegabytes = 10'000'000;
    const std::string text(kTenMegabytes, 'm');  // NOLINT(bugprone-string-constructor)
    Execute("INSERT INTO tw_999990.thing(id, note) VALUES(1, '" + text + "');");
    EXPECT_TRUE(Cell("SELECT note AS v FROM tw_999990.thing WHERE id = 1;") == Value(text));
}

// --- statements ------------------------------------------------------------------------------

TEST_P(HostContract, RowsAffectedIsTheCountOrMinusOne) {
    Execute(kInsertTwoThings);
    std::int64_t rowsAffected = 77;
    Host().GetDatabase()->Execute("UPDATE tw_999990.thing SET version = 3;", rowsAffected);
    EXPECT_TRUE(rowsAffected == 2 || rowsAffected == -1) << rowsAffected;
}

TEST_P(HostContract, StatementThatReturnsRowsMayBeExecuted) {
    Execute("REPAIR TABLE tw_999990.thing;");
    Execute("OPTIMIZE TABLE tw_999990.thing;");
    Execute(kInsertTwoThings);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("first"));
    rows->Close();
}

TEST_P(HostContract, SecondStatementInOneTextIsRefused) {
    SKIP_WITHOUT_A_SERVER();
    EXPECT_THROW(Execute("UPDATE tw_999990.thing SET version = 1; DROP TABLE tw_999990.thing;"),
                 HostError);
    EXPECT_NO_THROW(Execute("UPDATE tw_999990.thing SET version = 2;"));
}

// --- ids -------------------------------------------------------------------------------------

TEST_P(HostContract, LastInsertIdIsSeenByEveryDatabaseObject) {
    const auto first = Host().GetDatabase();
    const auto second = Host().GetDatabase();
    Execute("INSERT INTO tw_999990.thing(id) VALUES(40);");
    UnderTest().WillInsert(41);
    std::int64_t rowsAffected = 0;
    first->Execute("INSERT INTO tw_999990.thing(name) VALUES('one');", rowsAffected);
    std::int32_t id = 0;
    second->GetLastInsertId(id);
    EXPECT_EQ(id, 41);

    UnderTest().WillInsert(42);
    second->Execute("INSERT INTO tw_999990.thing(name) VALUES('two');", rowsAffected);
    Host().GetDatabase()->GetLastInsertId(id);
    EXPECT_EQ(id, 42);
}

TEST_P(HostContract, LastInsertIdOutlivesAQuery) {
    Execute("INSERT INTO tw_999990.thing(id) VALUES(40);");
    UnderTest().WillInsert(41);
    Execute("INSERT INTO tw_999990.thing(name) VALUES('one');");
    Open("SELECT name FROM tw_999990.thing;", {{"name"}, {{"one"}}})->Close();
    std::int32_t id = 0;
    Host().GetDatabase()->GetLastInsertId(id);
    EXPECT_EQ(id, 41);
}

TEST_P(HostContract, LastInsertIdOfACommandIsSeenToo) {
    Execute("INSERT INTO tw_999990.thing(id) VALUES(40);");
    UnderTest().WillInsert(41);
    Run(*NewCommand({"one"}), "INSERT INTO tw_999990.thing(name) VALUES(?);");
    std::int32_t id = 0;
    Host().GetDatabase()->GetLastInsertId(id);
    EXPECT_EQ(id, 41);
}

TEST_P(HostContract, LastInsertIdBeyondThirtyTwoBitsIsAnOverflow) {
    SKIP_WITHOUT_A_SERVER();
    Execute("ALTER TABLE tw_999990.thing MODIFY COLUMN id BIGINT AUTO_INCREMENT NOT NULL;");
    Execute("ALTER TABLE tw_999990.thing AUTO_INCREMENT = 2147483648;");
    Execute("INSERT INTO tw_999990.thing(name) VALUES('one');");
    std::int32_t id = 5;
    EXPECT_THROW(Host().GetDatabase()->GetLastInsertId(id), OverflowError);
}

// --- commands --------------------------------------------------------------------------------

TEST_P(HostContract, CommandKeepsItsParametersWhenItsTextIsSetAgain) {
    Execute(kInsertTwoThings);
    const auto command = NewCommand({1.0265});
    Run(*command, "UPDATE tw_999990.thing SET version = ? WHERE id = 1;");
    Run(*command, "UPDATE tw_999990.thing SET version = ? WHERE id = 2;");
    command->CloseCommand();

    const auto versions = Open("SELECT version FROM tw_999990.thing ORDER BY id;",
                               {{"version"}, {{1.0265}, {1.0265}}});
    EXPECT_EQ(versions->Fields().Item("version").Value(), Value(1.0265));
    versions->MoveNext();
    EXPECT_EQ(versions->Fields().Item("version").Value(), Value(1.0265));
    versions->Close();
}

TEST_P(HostContract, CommandRunsTheSameTextAgain) {
    SKIP_WITHOUT_A_SERVER();
    Execute("INSERT INTO tw_999990.thing(id, version) VALUES(1, 0);");
    for (int run = 0; run < 3; ++run) {
        Run(*NewCommand({0.5}), "UPDATE tw_999990.thing SET version = version + ? WHERE id = 1;");
    }
    EXPECT_EQ(Cell("SELECT version AS v FROM tw_999990.thing;"), Value(1.5));
}

TEST_P(HostContract, CommandOfTheSameTextSeesATableThatHasChanged) {
    SKIP_WITHOUT_A_SERVER();
    Execute("INSERT INTO tw_999990.thing(id, name) VALUES(1, 'a');");
    const std::string update = "UPDATE tw_999990.thing SET name = ? WHERE id = ?;";
    const std::string select = "SELECT * FROM tw_999990.thing WHERE id = ?;";
    const auto find = NewCommand({1});
    find->SetText(select);
    Run(*NewCommand({"b", 1}), update);
    find->OpenCommandRecordset(Host().GetDatabase())->Close();

    Execute("ALTER TABLE tw_999990.thing ADD COLUMN extra VARCHAR(9) DEFAULT 'new' NOT NULL;");
    Execute("ALTER TABLE tw_999990.thing MODIFY COLUMN name LONGTEXT;");
    const std::string longName(70'000, 'n');
    Run(*NewCommand({longName, 1}), update);
    const auto found = find->OpenCommandRecordset(Host().GetDatabase());
    EXPECT_EQ(found->Fields().Item("extra").Value(), Value("new"));
    EXPECT_EQ(found->Fields().Item("name").Value(), Value(longName));
    found->Close();
}

TEST_P(HostContract, CommandBindsItsParametersInOrder) {
    SKIP_WITHOUT_A_SERVER();
    Run(*NewCommand({7, "seven", 0.25, Value()}),
        "INSERT INTO tw_999990.thing(id, name, version, note) VALUES(?, ?, ?, ?);");
    EXPECT_EQ(Cell("SELECT CONCAT_WS('|', id, name, version, note IS NULL) AS v "
                   "FROM tw_999990.thing;"),
              Value("7|seven|0.25|1"));
}

TEST_P(HostContract, CommandParameterIsNeverPartOfTheStatement) {
    SKIP_WITHOUT_A_SERVER();
    const std::string hostile = "x'); DROP TABLE tw_999990.thing; -- ?";
    Run(*NewCommand({hostile, 1}), "INSERT INTO tw_999990.thing(name, id) VALUES(?, ?);");
    EXPECT_EQ(Cell("SELECT name AS v FROM tw_999990.thing WHERE id = 1;"), Value(hostile));
}

TEST_P(HostContract, VersionThatIsBoundIsNotBelowItself) {
    SKIP_WITHOUT_A_SERVER();
    Execute("INSERT INTO tw_999990.thing(id, version) VALUES(1, 1.0264), (2, 1.0265);");
    const auto command = NewCommand({1.0265});
    command->SetText("SELECT id FROM tw_999990.thing WHERE version < ? ORDER BY id;");
    const auto below = command->OpenCommandRecordset(Host().GetDatabase());
    command->CloseCommand();
    ASSERT_FALSE(below->IsEOF());
    EXPECT_EQ(below->Fields().Item("id").Value(), Value(1));
    below->MoveNext();
    EXPECT_TRUE(below->IsEOF());
    below->Close();
}

TEST_P(HostContract, RecordsetOfACommandOutlivesIt) {
    Execute(kInsertTwoThings);
    const std::string query = "SELECT id, name FROM tw_999990.thing WHERE id < ? ORDER BY id;";
    UnderTest().WillAnswer(query, kTwoThings);
    auto command = NewCommand({9});
    command->SetText(query);
    const auto rows = command->OpenCommandRecordset(Host().GetDatabase());
    command->CloseCommand();
    command.reset();
    Run(*NewCommand({1.5}), "UPDATE tw_999990.thing SET version = ?;");

    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("first"));
    rows->MoveNext();
    EXPECT_EQ(rows->Fields().Item("name").Value(), Value("second"));
    rows->MoveNext();
    EXPECT_TRUE(rows->IsEOF());
    rows->Close();
}

TEST_P(HostContract, CommandWithTooFewParametersFails) {
    SKIP_WITHOUT_A_SERVER();
    EXPECT_THROW(Run(*NewCommand({1}), "UPDATE tw_999990.thing SET version = ? WHERE id = ?;"),
                 HostError);
}

// --- errors ----------------------------------------------------------------------------------

/// No such table, as MariaDB and MySQL report it.
void ExpectMissingTable(const HostError& error, const std::string& statement) {
    EXPECT_EQ(error.Statement(), statement);
    EXPECT_EQ(error.Code(), 1146u);
    EXPECT_EQ(error.SqlState(), "42S02");
    EXPECT_NE(std::string(error.what()).find("missing"), std::string::npos) << error.what();
}

TEST_P(HostContract, RefusedStatementIsAnErrorWithItsTextCodeAndState) {
    const std::string select = "SELECT id FROM tw_999990.missing;";
    ExpectMissingTable(ErrorOf([&] { Host().GetDatabase()->OpenRecordset(select, 0, 0); }), select);

    const std::string describe = "DESCRIBE tw_999990.missing;";
    ExpectMissingTable(ErrorOf([&] { Host().GetDatabase()->OpenReader(describe); }), describe);

    const std::string alter = "ALTER TABLE tw_999990.missing ADD COLUMN a INT;";
    ExpectMissingTable(ErrorOf([&] { Execute(alter); }), alter);

    const std::string update = "UPDATE tw_999990.missing SET version = ?;";
    ExpectMissingTable(ErrorOf([&] { Run(*NewCommand({1}), update); }), update);

    const std::string find = "SELECT id FROM tw_999990.missing WHERE id = ?;";
    ExpectMissingTable(ErrorOf([&] {
                           const auto command = NewCommand({1});
                           command->SetText(find);
                           command->OpenCommandRecordset(Host().GetDatabase());
                       }),
                       find);
}

TEST_P(HostContract, StatementsRunAfterARefusedOne) {
    Execute(kInsertTwoThings);
    EXPECT_THROW(Execute("ALTER TABLE tw_999990.missing DROP COLUMN a;"), HostError);
    EXPECT_THROW(Run(*NewCommand({1}), "UPDATE tw_999990.missing SET version = ?;"), HostError);
    const auto rows = Open(kTwoThingsQuery, kTwoThings);
    EXPECT_EQ(rows->Fields().Item("id").Value(), Value(1));
    rows->Close();
}

TEST_P(HostContract, CommandRunsAgainAfterAnErrorInOneOfItsRuns) {
    SKIP_WITHOUT_A_SERVER();
    Execute(kInsertTwoThings);
    const std::string sql = "UPDATE tw_999990.thing SET id = ? WHERE name = 'second';";
    EXPECT_EQ(ErrorOf([&] { Run(*NewCommand({1}), sql); }).Code(), 1062u) << "a duplicate key";
    Run(*NewCommand({3}), sql);
    EXPECT_EQ(Cell("SELECT MAX(id) AS v FROM tw_999990.thing;"), Value(3));
}

// --- component services ----------------------------------------------------------------------

TEST_P(HostContract, ComponentIsFoundByItsId) {
    UnderTest().AddComponent(990001, "Notice board", "noticeboard");
    const auto component = Host().GetComponentHost()->GetComponentList()->Item(990001);
    EXPECT_EQ(component->GetComponentId(), 990001);
    EXPECT_EQ(component->GetFolderName(), "noticeboard");
}

TEST_P(HostContract, UnknownComponentIsAnErrorThatNamesItsId) {
    UnderTest().AddComponent(990001, "Notice board", "noticeboard");
    const auto list = Host().GetComponentHost()->GetComponentList();
    const HostError error = ErrorOf([&] { list->Item(990002); });
    EXPECT_NE(std::string(error.what()).find("990002"), std::string::npos) << error.what();
}

void CallEveryService(Utility& host) {
    const auto services = host.GetComponentHost();
    const auto component = services->GetComponentList()->Item(990001);
    services->UpgradeSiteComponent(999990, component);
    services->RefreshSiteComponent(999990, component);
    services->InitialiseSiteComponent(999990, component);
    services->ResetSiteComponent(999990, 990001);
    services->GetApplication()->Refresh();
}

TEST_P(HostContract, EveryServiceIsCarriedOutInOrder) {
    UnderTest().AddComponent(990001, "Notice board", "noticeboard");
    CallEveryService(Host());
    std::vector<std::string> calls;
    if (UnderTest().ServiceCalls(calls)) {
        EXPECT_EQ(calls, (std::vector<std::string>{"UpgradeSiteComponent 999990 990001",
                                                   "RefreshSiteComponent 999990 990001",
                                                   "InitialiseSiteComponent 999990 990001",
                                                   "ResetSiteComponent 999990 990001", "Refresh"}));
    }
}

TEST_P(HostContract, ServiceThatFailsIsAnErrorThatNamesTheCall) {
    UnderTest().AddComponent(990001, "Notice board", "noticeboard");
    const auto services = Host().GetComponentHost();
    const auto component = services->GetComponentList()->Item(990001);
    if (!UnderTest().FailServices()) {
        GTEST_SKIP() << "the host's services cannot be made to fail.";
    }
    const HostError error = ErrorOf([&] { services->RefreshSiteComponent(999990, component); });
    EXPECT_EQ(error.Statement(), "RefreshSiteComponent 999990 990001");
}

}  // namespace
}  // namespace twupdate::test
