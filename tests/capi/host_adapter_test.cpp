// The adapter from the C callbacks to the host interfaces, called as the component's steps call it.

#include "capi/host_adapter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fake_host.h"

namespace capi_test {
namespace {

using testing::ElementsAre;
using twupdate::HostError;
using twupdate::Value;

class HostAdapter : public testing::Test {
  protected:
    /// The component's view of the fake host without the callback.
    template <typename Member>
    std::shared_ptr<twupdate::Utility> UtilityWithout(Member callback) {
        twu_host_callbacks table = FakeHost::Callbacks();
        table.*callback = nullptr;
        return twupdate::capi::MakeUtility(table, &fake);
    }

    FakeHost fake;
    std::shared_ptr<twupdate::Utility> utility =
        twupdate::capi::MakeUtility(FakeHost::Callbacks(), &fake);
};

TEST_F(HostAdapter, HandsOutRowsOfEveryType) {
    const std::string withNul("a\0b", 3);
    fake.answers["SELECT 1;"] = {{{"n", std::monostate()},
                                  {"i", std::int64_t{9'000'000'000}},
                                  {"r", 0.5},
                                  {"t", withNul},
                                  {"e", ""}}};
    const auto recordset = utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0);
    ASSERT_FALSE(recordset->IsEOF());
    const auto& fields = recordset->Fields();
    EXPECT_EQ(fields.Item("n").Value(), Value());
    EXPECT_EQ(fields.Item("i").Value(), Value(std::int64_t{9'000'000'000}));
    EXPECT_EQ(fields.Item("r").Value(), Value(0.5));
    EXPECT_EQ(fields.Item("t").Value(), Value(withNul));
    EXPECT_EQ(fields.Item("e").Value(), Value(""));
    recordset->MoveNext();
    EXPECT_TRUE(recordset->IsEOF());
}

TEST_F(HostAdapter, KeepsAFieldFromRowToRow) {
    fake.answers["SELECT 1;"] = {{{"a", std::int64_t{1}}}, {{"a", std::int64_t{2}}}};
    const auto recordset = utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0);
    const auto& field = recordset->Fields().Item("a");
    EXPECT_EQ(field.Value(), Value(1));
    recordset->MoveNext();
    EXPECT_EQ(field.Value(), Value(2));
    EXPECT_EQ(&recordset->Fields().Item("a"), &field);
}

TEST_F(HostAdapter, NamesAColumnThatIsNotThere) {
    fake.answers["SELECT 1;"] = {{{"a", std::int64_t{1}}}};
    const auto recordset = utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0);
    try {
        (void)recordset->Fields().Item("b");
        FAIL() << "a step may swallow what Value() throws, but not this";
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(), "no column b");
        EXPECT_EQ(error.Statement(), "SELECT 1;");
    }
}

TEST_F(HostAdapter, NamesTheColumnWhereTheCallbackDoesNot) {
    fake.answers["SELECT 1;"] = {{{"price", std::int64_t{1}}}};
    fake.failures["result_field"] = {TWU_HOST_ERROR, 2013, "HY000", "lost connection", {}, false};
    const auto reader = utility->GetDatabase()->OpenReader("SELECT 1;");
    try {
        (void)reader->GetField("price");
        FAIL();
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(), "column price: lost connection");
        EXPECT_EQ(error.Statement(), "SELECT 1;");
        EXPECT_EQ(error.Code(), 2013U);
        EXPECT_EQ(error.SqlState(), "HY000");
    }
}

TEST_F(HostAdapter, ClosesAResultOnce) {
    auto recordset = utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0);
    recordset->Close();
    recordset->Close();
    recordset.reset();
    { const auto reader = utility->GetDatabase()->OpenReader("SELECT 2;"); }
    EXPECT_THAT(fake.Lines({"result_close"}), ElementsAre("result_close 0", "result_close 1"));
}

TEST_F(HostAdapter, ClosesNoResultThatDidNotOpen) {
    fake.failures["open_query"] = {};
    EXPECT_THROW(utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0), HostError);
    EXPECT_TRUE(fake.Lines({"result_close"}).empty());
}

TEST_F(HostAdapter, KeepsTheHostWhileAResultIsOpen) {
    auto recordset = utility->GetDatabase()->OpenRecordset("SELECT 1;", 0, 0);
    utility.reset();
    EXPECT_EQ(fake.released, 0);
    recordset.reset();
    EXPECT_EQ(fake.released, 1);
}

TEST_F(HostAdapter, TellsOfACopiedFileAndIsStoppedByIt) {
    utility->GetObserver()->FileCopied("/root/templates/a.css", "/root/wwwroot/sites/7/a.css");
    EXPECT_THAT(fake.log, ElementsAre("file_copied /root/templates/a.css "
                                      "/root/wwwroot/sites/7/a.css"));
    UtilityWithout(&twu_host_callbacks::file_copied)->GetObserver()->FileCopied("a", "b");
    EXPECT_THAT(fake.Lines({"file_copied"}), testing::SizeIs(1));
    fake.failures["file_copied"] = {TWU_HOST_ERROR, 0, nullptr, "no more files", {}, false};
    EXPECT_THROW(utility->GetObserver()->FileCopied("a", "b"), HostError);
}

TEST_F(HostAdapter, PassesStatementsWithANul) {
    const std::string sql("INSERT '\0';", 11);
    std::int64_t rows = 0;
    utility->GetDatabase()->Execute(sql, rows);
    EXPECT_EQ(rows, 1);
    EXPECT_THAT(fake.log, ElementsAre("execute " + sql));
}

TEST_F(HostAdapter, BindsParametersOfEveryType) {
    const std::string withNul("a\0b", 3);
    const auto command = utility->GetCommandFactory()->NewCommand();
    command->AddParameter(Value());
    command->AddParameter(Value(std::int64_t{-9'000'000'000}));
    command->AddParameter(Value(1.0265));
    command->AddParameter(Value(withNul));
    command->SetText("INSERT;");
    std::int64_t rows = 7;
    command->ExecuteCommand(utility->GetDatabase(), rows);
    EXPECT_EQ(fake.rowsAffectedBefore, -1);
    EXPECT_EQ(rows, 2);
    command->CloseCommand();
    EXPECT_THAT(fake.log,
                ElementsAre("command_new -> command 0", "command_add_parameter 0 NULL",
                            "command_add_parameter 0 integer -9000000000",
                            "command_add_parameter 0 real 1.0265",
                            "command_add_parameter 0 text " + withNul, "command_set_text 0 INSERT;",
                            "command_execute 0", "command_close 0"));
    EXPECT_EQ(fake.commands[0].parameters[3], Cell(withNul));
}

TEST_F(HostAdapter, LetsARecordsetOutliveItsCommand) {
    fake.answers["SELECT 1;"] = {{{"a", std::int64_t{1}}}};
    auto command = utility->GetCommandFactory()->NewCommand();
    command->SetText("SELECT 1;");
    const auto recordset = command->OpenCommandRecordset(utility->GetDatabase());
    command->CloseCommand();
    command.reset();
    EXPECT_EQ(recordset->Fields().Item("a").Value(), Value(1));
    EXPECT_THAT(fake.Lines({"command_close"}), ElementsAre("command_close 0"));
}

TEST_F(HostAdapter, RefusesAnInsertIdThatNoInt32Holds) {
    std::int32_t id = 0;
    fake.lastInsertId = 2'147'483'647;
    utility->GetDatabase()->GetLastInsertId(id);
    EXPECT_EQ(id, 2'147'483'647);
    fake.lastInsertId = 2'147'483'648;
    EXPECT_THROW(utility->GetDatabase()->GetLastInsertId(id), twupdate::OverflowError);
}

TEST_F(HostAdapter, CallsTheComponentServices) {
    const auto services = utility->GetComponentHost();
    const auto shop = services->GetComponentList()->Item(1000);
    EXPECT_EQ(shop->GetComponentId(), 1000);
    EXPECT_EQ(shop->GetComponentName(), "Shop");
    EXPECT_EQ(shop->GetFolderName(), "shop");
    services->UpgradeSiteComponent(7, shop);
    services->RefreshSiteComponent(8, shop);
    services->InitialiseSiteComponent(9, shop);
    services->ResetSiteComponent(10, 400);
    services->GetApplication()->Refresh();
    EXPECT_THAT(fake.log,
                ElementsAre("component_item 1000", "upgrade_site_component 7 1000",
                            "refresh_site_component 8 1000", "initialise_site_component 9 1000",
                            "reset_site_component 10 400", "refresh_application"));
}

TEST_F(HostAdapter, NamesTheServiceThatFailed) {
    const auto shop = utility->GetComponentHost()->GetComponentList()->Item(1000);
    fake.failures["refresh_site_component"] = {TWU_HOST_ERROR, 3, nullptr, "no", {}, false};
    try {
        utility->GetComponentHost()->RefreshSiteComponent(7, shop);
        FAIL();
    } catch (const HostError& error) {
        EXPECT_EQ(error.Statement(), "RefreshSiteComponent 7 1000");
        EXPECT_EQ(error.Code(), 3U);
    }
}

TEST_F(HostAdapter, MissesAServiceOnlyWhenItIsNeeded) {
    const auto without = UtilityWithout(&twu_host_callbacks::component_item);
    try {
        without->GetComponentHost()->GetComponentList()->Item(1000);
        FAIL();
    } catch (const HostError& error) {
        EXPECT_STREQ(error.what(), "the host does not provide this service");
        EXPECT_EQ(error.Statement(), "ComponentList.Item 1000");
    }
    EXPECT_THROW(UtilityWithout(&twu_host_callbacks::reset_site_component)
                     ->GetComponentHost()
                     ->ResetSiteComponent(7, 1000),
                 HostError);
    EXPECT_THROW(UtilityWithout(&twu_host_callbacks::refresh_application)
                     ->GetComponentHost()
                     ->GetApplication()
                     ->Refresh(),
                 HostError);
}

TEST_F(HostAdapter, AsksForTheInstallation) {
    fake.installFolder = "/opt/platform/twupdate";
    fake.localHostName = "web1";
    EXPECT_EQ(utility->InstallFolder(), "/opt/platform/twupdate");
    EXPECT_EQ(utility->LocalHostName(), "web1");
}

TEST_F(HostAdapter, HasDefaultsForTheInstallation) {
    const auto here = UtilityWithout(&twu_host_callbacks::install_folder)->InstallFolder();
    EXPECT_TRUE(std::filesystem::exists(here / "twupdate_capi_tests")) << here;
    EXPECT_EQ(UtilityWithout(&twu_host_callbacks::local_host_name)->LocalHostName(), "localhost");
}

}  // namespace
}  // namespace capi_test
