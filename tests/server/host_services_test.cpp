// Component services, the listener, and the splitting of the service command.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;
using host::ComponentServicesOptions;
using host::Connection;
using host::MariaDbUtility;
using host::MariaDbUtilityOptions;
using host::SplitCommand;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

// --- the command's words ---------------------------------------------------------------------

TEST(SplitCommand, SplitsAtBlanksTabsAndLineBreaks) {
    EXPECT_THAT(SplitCommand("  ssh\tweb1\n  php services.php "),
                ElementsAre("ssh", "web1", "php", "services.php"));
}

TEST(SplitCommand, TakesQuotedPartsAsTheyStand) {
    EXPECT_THAT(SplitCommand("'/opt/my tools'/run \"a  b\" '' x'y z'"),
                ElementsAre("/opt/my tools/run", "a  b", "", "xy z"));
    EXPECT_THAT(SplitCommand("'it\"s' \"it's\" 'a\\b'"), ElementsAre("it\"s", "it's", "a\\b"));
}

TEST(SplitCommand, BackslashTakesTheNextCharacterAsItStands) {
    EXPECT_THAT(SplitCommand("my\\ tool \"say \\\"hi\\\"\" \\'"),
                ElementsAre("my tool", "say \"hi\"", "'"));
}

TEST(SplitCommand, NothingElseHasAMeaning) {
    EXPECT_THAT(SplitCommand("run $HOME *.txt | tee; `id` #x"),
                ElementsAre("run", "$HOME", "*.txt", "|", "tee;", "`id`", "#x"));
}

TEST(SplitCommand, RefusesWhatIsNoCommand) {
    EXPECT_THROW(SplitCommand(""), std::invalid_argument);
    EXPECT_THROW(SplitCommand("  \t"), std::invalid_argument);
    EXPECT_THROW(SplitCommand("run 'half"), std::invalid_argument);
    EXPECT_THROW(SplitCommand("run \"half"), std::invalid_argument);
    EXPECT_THROW(SplitCommand("run \\"), std::invalid_argument);
}

// --- on a server -----------------------------------------------------------------------------

/// Writes every event down: "operation sql [params]" or "operation service site component" before,
/// and after it "ok" or the error's code.
class NotingListener : public host::StatementListener {
  public:
    std::vector<std::string> notes;
    std::function<void(const host::StatementEvent&)> before;

    void Before(const host::StatementEvent& event) override {
        if (before) {
            before(event);
        }
        std::string note(host::OperationText(event.operation));
        if (!event.sql.empty()) {
            note += " " + std::string(event.sql);
        }
        for (const Value& value : event.params) {
            note += " [" + (value.IsNull() ? "NULL" : value.ToText()) + "]";
        }
        if (!event.service.empty()) {
            note += " " + std::string(event.service) + " " + std::to_string(event.siteId.value()) +
                    " " + std::to_string(event.componentId.value());
        }
        notes.push_back(note);
    }
    void After(const host::StatementEvent& event, std::chrono::nanoseconds elapsed,
               const HostError* error) override {
        EXPECT_GT(elapsed.count(), 0);
        notes.push_back(std::string(host::OperationText(event.operation)) +
                        (error == nullptr ? " ok" : " " + std::to_string(error->Code())));
    }
};

class HostServices : public testing::Test {
  public:
    static void SetUpTestSuite() {
        folder = std::make_unique<TemporaryFolder>();
        server = std::make_unique<host::PrivateServer>(folder->Path() / "server",
                                                       host::PrivateServerOptions{.fast = true});
    }
    static void TearDownTestSuite() {
        server.reset();
        folder.reset();
    }

  protected:
    HostServices() : connection_(Connection::Open(server->ConnectOptions())) {
        connection_->Execute("CREATE DATABASE IF NOT EXISTS tw_tarnwick");
        connection_->Execute(
            "CREATE OR REPLACE TABLE tw_tarnwick.component(componentid INT PRIMARY KEY, "
            "componentname VARCHAR(255), foldername VARCHAR(50), dev BOOL DEFAULT 0 NOT NULL)");
        connection_->Execute(
            "INSERT INTO tw_tarnwick.component(componentid, componentname, foldername) "
            "VALUES(1000, 'News', 'news'), (1100, NULL, NULL)");
    }

    std::shared_ptr<MariaDbUtility> Make(ComponentServicesOptions services = {}) {
        return std::make_shared<MariaDbUtility>(
            connection_,
            MariaDbUtilityOptions{.listener = listener_, .services = std::move(services)});
    }
    /// A program that runs these lines of shell.
    static std::string Script(const std::string& lines) {
        const auto path = folder->Write("service command", "#!/bin/sh\n" + lines + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path.string();
    }
    static void CallAll(Utility& utility) {
        const auto services = utility.GetComponentHost();
        const auto component = services->GetComponentList()->Item(1000);
        services->UpgradeSiteComponent(7, component);
        services->RefreshSiteComponent(7, component);
        services->InitialiseSiteComponent(8, component);
        services->ResetSiteComponent(8, 1200);
        services->GetApplication()->Refresh();
    }
    static HostError ErrorOf(const std::function<void()>& call) {
        try {
            call();
        } catch (const HostError& error) {
            return error;
        }
        ADD_FAILURE() << "the call does not fail with a HostError";
        return {"", 0, "", ""};
    }

    static std::unique_ptr<TemporaryFolder> folder;
    static std::unique_ptr<host::PrivateServer> server;
    std::shared_ptr<Connection> connection_;
    std::shared_ptr<NotingListener> listener_ = std::make_shared<NotingListener>();
};

std::unique_ptr<TemporaryFolder> HostServices::folder;
std::unique_ptr<host::PrivateServer> HostServices::server;

TEST_F(HostServices, EveryCallRunsTheCommandWithItsThreeArguments) {
    const auto output = *folder / "calls.txt";
    const auto utility = Make(
        {.serviceCommand = "'" + Script("echo \"$#:$1:$2:$3:$4:$5\" >> '" + output.string() + "'") +
                           "' --to 'a b; echo $HOME'"});
    CallAll(*utility);
    EXPECT_EQ(folder->Read("calls.txt"),
              "5:--to:a b; echo $HOME:UpgradeSiteComponent:7:1000\n"
              "5:--to:a b; echo $HOME:RefreshSiteComponent:7:1000\n"
              "5:--to:a b; echo $HOME:InitialiseSiteComponent:8:1000\n"
              "5:--to:a b; echo $HOME:ResetSiteComponent:8:1200\n"
              "5:--to:a b; echo $HOME:RefreshApplication:0:0\n");
    EXPECT_TRUE(utility->GetServices()->HasCommand());
}

TEST_F(HostServices, CommandThatFailsIsAnErrorThatNamesTheCallAndTheReason) {
    const auto failure = [&](const std::string& command) {
        const auto utility = Make({.serviceCommand = command});
        const auto services = utility->GetComponentHost();
        const auto component = services->GetComponentList()->Item(1000);
        const HostError error = ErrorOf([&] { services->InitialiseSiteComponent(7, component); });
        EXPECT_EQ(error.Statement(), "InitialiseSiteComponent 7 1000");
        EXPECT_THAT(utility->GetServices()->Calls(), IsEmpty());
        return std::string(error.what());
    };
    const std::string call = "InitialiseSiteComponent 7 1000";
    EXPECT_THAT(failure("'" + Script("exit 3") + "'"),
                AllOf(HasSubstr(call), HasSubstr("ended with status 3")));
    EXPECT_THAT(failure("'" + Script("kill -9 $$") + "'"),
                AllOf(HasSubstr(call), HasSubstr("ended by signal 9")));
    EXPECT_THAT(failure((*folder / "no-such-program").string()),
                AllOf(HasSubstr(call), HasSubstr("cannot be started")));
    // As many programs do; a script that inherited it could not undo it.
    auto* const handler = std::signal(SIGPIPE, SIG_IGN);
    EXPECT_THAT(failure("'" + Script("kill -PIPE $$") + "'"),
                AllOf(HasSubstr(call), HasSubstr("ended by signal 13")));
    std::signal(SIGPIPE, handler);
}

TEST_F(HostServices, RefreshThatFailsIsAnErrorToo) {
    const auto utility = Make({.serviceCommand = "false"});
    const HostError error =
        ErrorOf([&] { utility->GetComponentHost()->GetApplication()->Refresh(); });
    EXPECT_EQ(error.Statement(), "RefreshApplication 0 0");
}

TEST_F(HostServices, CallsWithoutACommandAreWrittenDownAndCounted) {
    const auto utility = Make({.servicesLog = *folder / "services.jsonl"});
    CallAll(*utility);
    const std::string expected =
        "{\"service\":\"UpgradeSiteComponent\",\"site\":7,\"component\":1000}\n"
        "{\"service\":\"RefreshSiteComponent\",\"site\":7,\"component\":1000}\n"
        "{\"service\":\"InitialiseSiteComponent\",\"site\":8,\"component\":1000}\n"
        "{\"service\":\"ResetSiteComponent\",\"site\":8,\"component\":1200}\n"
        "{\"service\":\"RefreshApplication\"}\n";
    EXPECT_EQ(folder->Read("services.jsonl"), expected) << "every line must be there at once";
    EXPECT_THAT(utility->GetServices()->Calls(),
                ElementsAre(Pair("InitialiseSiteComponent", 1), Pair("RefreshApplication", 1),
                            Pair("RefreshSiteComponent", 1), Pair("ResetSiteComponent", 1),
                            Pair("UpgradeSiteComponent", 1)));
    EXPECT_FALSE(utility->GetServices()->HasCommand());

    const auto next = Make({.servicesLog = *folder / "services.jsonl"});
    next->GetComponentHost()->GetApplication()->Refresh();
    EXPECT_EQ(folder->Read("services.jsonl"), expected + "{\"service\":\"RefreshApplication\"}\n")
        << "an earlier run's calls are kept";
}

TEST_F(HostServices, CallsAreCountedEvenWithoutALog) {
    const auto utility = Make();
    utility->GetComponentHost()->ResetSiteComponent(7, 1000);
    utility->GetComponentHost()->ResetSiteComponent(8, 1000);
    EXPECT_THAT(utility->GetServices()->Calls(), ElementsAre(Pair("ResetSiteComponent", 2)));
}

TEST_F(HostServices, LogThatCannotBeOpenedIsAnErrorAtOnce) {
    EXPECT_THROW(Make({.servicesLog = *folder / "missing/services.jsonl"}), FileError);
    EXPECT_THROW(Make({.serviceCommand = "'half"}), std::invalid_argument);
}

TEST_F(HostServices, FullDiskUnderTheLogIsAFailingCall) {
    const auto utility = Make({.servicesLog = "/dev/full"});
    const HostError error =
        ErrorOf([&] { utility->GetComponentHost()->ResetSiteComponent(7, 1000); });
    EXPECT_EQ(error.Statement(), "ResetSiteComponent 7 1000");
}

// --- the component list ----------------------------------------------------------------------

TEST_F(HostServices, ComponentsAreReadFromTheCentralDatabaseOnce) {
    const auto utility = Make();
    const auto news = utility->GetComponentHost()->GetComponentList()->Item(1000);
    EXPECT_EQ(news->GetComponentName(), "News");
    EXPECT_EQ(news->GetFolderName(), "news");
    const auto nameless = utility->GetComponentHost()->GetComponentList()->Item(1100);
    EXPECT_EQ(nameless->GetComponentName(), "");
    EXPECT_EQ(nameless->GetFolderName(), "");
    EXPECT_THAT(listener_->notes, IsEmpty());  // no call of the component's
}

TEST_F(HostServices, ComponentsThatTheCentralDatabaseLacksAreThoseOfTheDataFile) {
    const auto data = folder->Write("componentData.txt",
                                    "1000\tOther\tother\tx.dll\t-1\r\n"
                                    "\n"
                                    "no component\n"
                                    "word\tx\ty\n"
                                    "5600\tShop report\tshopreport\tx.dll\t-1\r\n"
                                    "5700\tShort\tshort\r\n");
    const auto utility = Make({.componentData = data});
    const auto list = utility->GetComponentHost()->GetComponentList();
    EXPECT_EQ(list->Item(1000)->GetFolderName(), "news");
    EXPECT_EQ(list->Item(5600)->GetComponentName(), "Shop report");
    EXPECT_EQ(list->Item(5600)->GetFolderName(), "shopreport");
    EXPECT_EQ(list->Item(5700)->GetFolderName(), "short");
    EXPECT_THROW(list->Item(4), HostError);
}

TEST_F(HostServices, UnknownComponentIsAnErrorThatNamesIt) {
    const HostError error =
        ErrorOf([&] { Make()->GetComponentHost()->GetComponentList()->Item(4); });
    EXPECT_THAT(error.what(), HasSubstr("has component 4"));
}

TEST_F(HostServices, ComponentsAreReadAgainAfterAnImport) {
    const auto utility = Make();
    const auto list = utility->GetComponentHost()->GetComponentList();
    EXPECT_EQ(list->Item(1000)->GetFolderName(), "news");
    std::int64_t rowsAffected = 0;
    utility->GetDatabase()->Execute("DELETE FROM tw_tarnwick.component;", rowsAffected);
    utility->GetDatabase()->Execute(
        "INSERT INTO tw_tarnwick.component(componentid, foldername) VALUES(1000, 'newsroom');",
        rowsAffected);
    EXPECT_EQ(list->Item(1000)->GetFolderName(), "newsroom");
}

TEST_F(HostServices, ComponentsAreReadAgainAfterARefresh) {
    const auto utility = Make();
    const auto list = utility->GetComponentHost()->GetComponentList();
    EXPECT_EQ(list->Item(1000)->GetFolderName(), "news");
    connection_->Execute("UPDATE tw_tarnwick.component SET foldername = 'newsroom'");
    utility->GetComponentHost()->GetApplication()->Refresh();
    EXPECT_EQ(list->Item(1000)->GetFolderName(), "newsroom");
}

// --- the listener ----------------------------------------------------------------------------

TEST_F(HostServices, ListenerHearsOfEveryCallBeforeAndAfter) {
    const auto utility = Make();
    std::int64_t rowsAffected = 0;
    utility->GetDatabase()->OpenRecordset("SELECT 1", 0, 0);
    utility->GetDatabase()->OpenReader("SELECT 2");
    utility->GetDatabase()->Execute("DO 3", rowsAffected);
    const auto command = utility->GetCommandFactory()->NewCommand();
    command->AddParameter(1.0265);
    command->AddParameter(Value());
    command->SetText("SELECT ?, ?");
    command->OpenCommandRecordset(utility->GetDatabase());
    command->ExecuteCommand(utility->GetDatabase(), rowsAffected);
    utility->GetComponentHost()->ResetSiteComponent(7, 1000);
    utility->GetComponentHost()->GetApplication()->Refresh();
    EXPECT_THROW(utility->GetDatabase()->Execute("SELECT 1 FROM tw_tarnwick.gone", rowsAffected),
                 HostError);
    EXPECT_THAT(
        listener_->notes,
        ElementsAre("query SELECT 1", "query ok", "reader SELECT 2", "reader ok", "execute DO 3",
                    "execute ok", "command SELECT ?, ? [1.0265] [NULL]", "command ok",
                    "command SELECT ?, ? [1.0265] [NULL]", "command ok",
                    "service ResetSiteComponent 7 1000", "service ok", "refresh", "refresh ok",
                    "execute SELECT 1 FROM tw_tarnwick.gone", "execute 1146"));
}

TEST_F(HostServices, CallThatTheListenerObjectsToIsNotMade) {
    const auto utility = Make();
    listener_->before = [](const host::StatementEvent&) { throw std::runtime_error("stop here"); };
    std::int64_t rowsAffected = 0;
    EXPECT_THROW(utility->GetDatabase()->Execute("DELETE FROM tw_tarnwick.component", rowsAffected),
                 std::runtime_error);
    EXPECT_THROW(utility->GetComponentHost()->ResetSiteComponent(7, 1000), std::runtime_error);
    EXPECT_THAT(listener_->notes, IsEmpty());
    EXPECT_THAT(utility->GetServices()->Calls(), IsEmpty());
    const auto rows = connection_->Query("SELECT COUNT(*) FROM tw_tarnwick.component");
    ASSERT_TRUE(rows->Next());
    EXPECT_EQ(rows->Get(0), Value(2));
}

// --- odds and ends of the utility ------------------------------------------------------------

TEST_F(HostServices, UtilityHandsOutWhatItWasGiven) {
    const auto observer = std::make_shared<Observer>();
    MariaDbUtility utility(connection_, {.installFolder = "/opt/platform/update",
                                         .localHostName = "web1.example",
                                         .observer = observer});
    EXPECT_EQ(utility.InstallFolder(), "/opt/platform/update");
    EXPECT_EQ(utility.LocalHostName(), "web1.example");
    EXPECT_EQ(utility.GetObserver(), observer);

    MariaDbUtility plain(connection_);
    EXPECT_EQ(plain.LocalHostName(), "localhost");
    EXPECT_EQ(plain.GetObserver(), nullptr);
}

TEST_F(HostServices, ClosedOrFinishedRecordsetHasNoValues) {
    const auto rows = Make()->GetDatabase()->OpenRecordset("SELECT 1 AS a", 0, 0);
    const Field& field = rows->Fields().Item("a");
    rows->MoveNext();
    EXPECT_THROW(field.Value(), HostError);
    rows->MoveNext();
    EXPECT_TRUE(rows->IsEOF());
    rows->Close();
    EXPECT_TRUE(rows->IsEOF());
    EXPECT_THROW(rows->Fields().Item("a"), HostError);
}

}  // namespace
}  // namespace twupdate::test
