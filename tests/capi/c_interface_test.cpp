// The C interface as its callers see it: everything here goes through twupdate.h.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <stdexcept>
#include <thread>

#include "fake_host.h"
#include "tests/support/versions.h"
#include "twupdate/twupdate.h"

namespace capi_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using twupdate::kCurrentVersion;
using twupdate::Ladder;
using twupdate::LadderSteps;
using twupdate::PendingSteps;
using twupdate::test::kCurrentStored;

// A site at 1.0263 begins with SiteSchemaStep_1_0264. These are its statements.
const std::string kShowTables = "SHOW TABLES FROM tw_7 LIKE 'formtemplateinstance';";
const std::string kDescribe = "DESCRIBE tw_7.formtemplateinstance;";
const std::string kAddColumn =
    "ALTER TABLE tw_7.formtemplateinstance ADD COLUMN cachettl INT DEFAULT -1 NOT NULL;";
const std::string kSites =
    "SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > 0 AND version < ? "
    "AND harddeleted = 0 AND transaction = 0 ORDER BY siteid LIMIT 30;";

void AnswerAsASiteWithTemplates(FakeHost& fake) {
    fake.answers[kShowTables] = {{{"Tables_in_tw_7", "formtemplateinstance"}}};
    fake.answers[kDescribe] = {{{"Field", "instanceid"}}, {{"Field", "featureid"}}};
}

// --- hosts ------------------------------------------------------------------------------------

struct RequiredCallback {
    const char* name;
    std::size_t offset;
};

void PrintTo(const RequiredCallback& callback, std::ostream* out) {
    *out << callback.name;
}

class RequiredCallbacks : public testing::TestWithParam<RequiredCallback> {};

TEST_P(RequiredCallbacks, IsMissedByName) {
    FakeHost fake;
    twu_host_callbacks table = FakeHost::Callbacks();
    std::memset(reinterpret_cast<char*>(&table) + GetParam().offset, 0, sizeof(void*));
    twu_host* host = nullptr;

    EXPECT_EQ(twu_host_new(&table, &fake, &host), TWU_INVALID_ARGUMENT);

    EXPECT_EQ(host, nullptr);
    EXPECT_EQ(twu_error_text(twu_last_error(nullptr)),
              std::string("the required callback ") + GetParam().name + " is missing");
    EXPECT_EQ(fake.released, 0);
}

#define REQUIRED(name)                            \
    RequiredCallback {                            \
#name, offsetof(twu_host_callbacks, name) \
    }
INSTANTIATE_TEST_SUITE_P(TwuHostNew, RequiredCallbacks,
                         testing::Values(REQUIRED(execute), REQUIRED(open_query),
                                         REQUIRED(last_insert_id), REQUIRED(result_eof),
                                         REQUIRED(result_field), REQUIRED(result_next),
                                         REQUIRED(result_close), REQUIRED(command_new),
                                         REQUIRED(command_add_parameter),
                                         REQUIRED(command_set_text), REQUIRED(command_open),
                                         REQUIRED(command_execute), REQUIRED(command_close)),
                         [](const auto& instance) { return std::string(instance.param.name); });
#undef REQUIRED

TEST(TwuHostNew, RefusesATableWithoutItsSize) {
    FakeHost fake;
    twu_host_callbacks table = FakeHost::Callbacks();
    table.size = 0;
    twu_host* host = nullptr;
    EXPECT_EQ(twu_host_new(&table, &fake, &host), TWU_INVALID_ARGUMENT);
    EXPECT_STREQ(twu_error_text(twu_last_error(nullptr)),
                 "callbacks.size is 0: set it to sizeof(twu_host_callbacks)");
}

struct LaterTable {
    twu_host_callbacks known;
    void (*added)(void*);
};

TEST(TwuHostNew, RefusesACallbackOfALaterVersion) {
    FakeHost fake;
    LaterTable table{FakeHost::Callbacks(), [](void*) {}};
    table.known.size = sizeof(table);
    twu_host* host = nullptr;
    EXPECT_EQ(twu_host_new(&table.known, &fake, &host), TWU_INVALID_ARGUMENT);
    EXPECT_STREQ(twu_error_text(twu_last_error(nullptr)),
                 "a callback is set that this version of the library does not know");
}

TEST(TwuHostNew, TakesATableOfALaterVersionThatUsesNothingNew) {
    FakeHost fake;
    LaterTable table{FakeHost::Callbacks(), nullptr};
    table.known.size = sizeof(table);
    twu_host* host = nullptr;
    EXPECT_EQ(twu_host_new(&table.known, &fake, &host), TWU_OK);
    EXPECT_EQ(twu_error_status(twu_last_error(nullptr)), TWU_OK);
    EXPECT_STREQ(twu_error_text(twu_last_error(nullptr)), "");
    twu_host_free(host);
}

TEST(TwuHost, IsReleasedWithItsLastReference) {
    FakeHost fake;
    const twu_host_callbacks table = FakeHost::Callbacks();
    twu_host* host = nullptr;
    twu_update* update = nullptr;
    ASSERT_EQ(twu_host_new(&table, &fake, &host), TWU_OK);
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    ASSERT_EQ(twu_configure(update, host), TWU_OK);
    twu_host_free(host);
    EXPECT_EQ(fake.released, 0) << "the update still refers to it";
    EXPECT_EQ(twu_shut_down(update), TWU_OK);
    EXPECT_EQ(fake.released, 1);
    EXPECT_EQ(twu_shut_down(update), TWU_OK);
    twu_update_free(update);
    EXPECT_EQ(fake.released, 1);
}

TEST(TwuHost, IsReleasedWithTheUpdate) {
    FakeHost fake;
    { const Configured configured(fake); }
    EXPECT_EQ(fake.released, 1);
}

TEST(TwuHost, IsReleasedWhenAnotherTakesItsPlace) {
    FakeHost first;
    FakeHost second;
    const Configured configured(first);
    const twu_host_callbacks table = FakeHost::Callbacks();
    twu_host* host = nullptr;
    ASSERT_EQ(twu_host_new(&table, &second, &host), TWU_OK);
    ASSERT_EQ(twu_configure(configured.update, host), TWU_OK);
    twu_host_free(host);
    EXPECT_EQ(first.released, 1);
    EXPECT_EQ(second.released, 0);
}

// --- NULL -------------------------------------------------------------------------------------

TEST(NullHandles, AreRefusedWithAWord) {
    const auto expectRefused = [](twu_status status, const char* text) {
        EXPECT_EQ(status, TWU_INVALID_ARGUMENT);
        EXPECT_EQ(twu_error_status(twu_last_error(nullptr)), TWU_INVALID_ARGUMENT);
        EXPECT_STREQ(twu_error_text(twu_last_error(nullptr)), text);
    };
    const twu_host_callbacks table = FakeHost::Callbacks();
    const twu_cart_settings names{"a", "b", "c", "d", "e", "f", "g"};
    const auto getSetting = [](void*, const char*, twu_value*, twu_error*) -> twu_status {
        return TWU_OK;
    };
    twu_host* host = nullptr;
    int32_t result = 5;
    const char* sequence = nullptr;
    expectRefused(twu_host_new(nullptr, nullptr, &host), "callbacks is NULL");
    expectRefused(twu_host_new(&table, nullptr, nullptr), "host is NULL");
    expectRefused(twu_update_new(nullptr), "update is NULL");
    expectRefused(twu_configure(nullptr, nullptr), "update is NULL");
    expectRefused(twu_shut_down(nullptr), "update is NULL");
    expectRefused(twu_update_import_master_data(nullptr, 1, 1.0, &result), "update is NULL");
    expectRefused(twu_update_server(nullptr, 1.0, &result), "update is NULL");
    expectRefused(twu_update_site(nullptr, 1, 1.0, &result), "update is NULL");
    expectRefused(twu_create_core_db(nullptr, &result), "update is NULL");
    expectRefused(twu_create_cart_field_sequence(nullptr, getSetting, nullptr, &names, &sequence),
                  "update is NULL");
    EXPECT_EQ(result, 0);
    EXPECT_STREQ(sequence, "");
    twu_host_free(nullptr);
    twu_update_free(nullptr);
}

TEST(NullArguments, AreRefusedWithAWordInTheUpdate) {
    FakeHost fake;
    const Configured configured(fake);
    twu_cart_settings names{"a", "b", "c", "d", "e", "f", "g"};
    const auto getSetting = [](void*, const char*, twu_value*, twu_error*) -> twu_status {
        return TWU_OK;
    };
    const char* sequence = nullptr;
    auto* update = configured.update;

    EXPECT_EQ(twu_configure(update, nullptr), TWU_INVALID_ARGUMENT);
    EXPECT_EQ(configured.ErrorText(), "host is NULL");
    EXPECT_EQ(fake.released, 0) << "the host that was there stays";

    EXPECT_EQ(twu_create_cart_field_sequence(update, nullptr, nullptr, &names, &sequence),
              TWU_INVALID_ARGUMENT);
    EXPECT_EQ(configured.ErrorText(), "get_setting is NULL");
    EXPECT_EQ(twu_create_cart_field_sequence(update, getSetting, nullptr, nullptr, &sequence),
              TWU_INVALID_ARGUMENT);
    EXPECT_EQ(configured.ErrorText(), "settings is NULL");
    EXPECT_EQ(twu_create_cart_field_sequence(update, getSetting, nullptr, &names, nullptr),
              TWU_INVALID_ARGUMENT);
    EXPECT_EQ(configured.ErrorText(), "sequence is NULL");
    names.email = nullptr;
    EXPECT_EQ(twu_create_cart_field_sequence(update, getSetting, nullptr, &names, &sequence),
              TWU_INVALID_ARGUMENT);
    EXPECT_EQ(configured.ErrorText(), "the name of a setting is NULL");
}

TEST(NullErrors, CountAsNoError) {
    twu_error_set(nullptr, 1, "HY000", "text");
    twu_error_set_statement(nullptr, "SELECT", 6);
    EXPECT_EQ(twu_error_status(nullptr), TWU_OK);
    EXPECT_EQ(twu_error_code(nullptr), 0U);
    EXPECT_STREQ(twu_error_sqlstate(nullptr), "");
    EXPECT_STREQ(twu_error_text(nullptr), "");
    std::size_t size = 9;
    EXPECT_STREQ(twu_error_statement(nullptr, &size), "");
    EXPECT_EQ(size, 0U);
}

TEST(LastErrorWithoutUpdate, BelongsToTheThread) {
    ASSERT_EQ(twu_shut_down(nullptr), TWU_INVALID_ARGUMENT);
    std::thread([] { EXPECT_EQ(twu_error_status(twu_last_error(nullptr)), TWU_OK); }).join();
    EXPECT_EQ(twu_error_status(twu_last_error(nullptr)), TWU_INVALID_ARGUMENT);
}

// --- operations -------------------------------------------------------------------------------

TEST(TwuUpdateSite, RunsItsStatementsThroughTheCallbacks) {
    FakeHost fake;
    AnswerAsASiteWithTemplates(fake);
    const Configured configured(fake);
    int32_t result = 0;

    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, &result), TWU_OK);

    EXPECT_EQ(result, -1);
    const auto calls = fake.Lines({"open_", "result_", "execute"});
    ASSERT_GE(calls.size(), 10U);
    EXPECT_THAT(std::vector(calls.begin(), calls.begin() + 9),
                ElementsAre("open_query " + kShowTables + " -> result 0", "result_close 0",
                            "open_reader " + kDescribe + " -> result 1", "result_field 1 Field",
                            "result_next 1", "result_field 1 Field", "result_next 1",
                            "result_close 1", "execute " + kAddColumn));
    EXPECT_THAT(calls[9], HasSubstr("execute CREATE TABLE IF NOT EXISTS tw_7.htmlcache("));
    EXPECT_EQ(fake.rowsAffectedBefore, -1);
    EXPECT_EQ(fake.Unbalanced(), 0);
    EXPECT_EQ(twu_error_status(configured.Error()), TWU_OK);
}

TEST(TwuUpdateSite, ReadsTheSchemaByOpenQueryWhereThereIsNoOpenReader) {
    FakeHost fake;
    AnswerAsASiteWithTemplates(fake);
    twu_host_callbacks table = FakeHost::Callbacks();
    table.open_reader = nullptr;
    const Configured configured(fake, table);

    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);

    const auto calls = fake.Lines({"open_"});
    ASSERT_GE(calls.size(), 2U);
    EXPECT_EQ(calls[0], "open_query " + kShowTables + " -> result 0");
    EXPECT_EQ(calls[1], "open_query " + kDescribe + " -> result 1");
}

TEST(TwuUpdateSite, DoesNothingAtTheCurrentVersion) {
    FakeHost fake;
    const Configured configured(fake);
    int32_t result = 0;
    EXPECT_EQ(twu_update_site(configured.update, 7, TWU_CURRENT_VERSION, &result), TWU_OK);
    EXPECT_EQ(result, -1);
    EXPECT_THAT(fake.Lines({"open_", "execute", "command_"}), IsEmpty());
}

TEST(TwuUpdateServer, BindsTheVersionsAndTellsTheObserverInOrder) {
    FakeHost fake;
    // A server would not return a site at the current version; it runs no step.
    fake.answers[kSites] = {{{"siteid", std::int64_t{7}}, {"version", kCurrentVersion}}};
    const Configured configured(fake);
    int32_t result = 0;

    EXPECT_EQ(twu_update_server(configured.update, 1.0264, &result), TWU_OK);

    EXPECT_EQ(result, -1);
    EXPECT_THAT(
        fake.log,
        ElementsAre(
            "ladder_starting server tw_tarnwick 1.0264", "ladder_ended server tw_tarnwick",
            "ladder_starting server data tw_tarnwick 1.0264",
            "ladder_ended server data tw_tarnwick", "site_walk_starting",
            // The command that records the sites' versions takes its parameter once.
            "command_new -> command 0", "command_add_parameter 0 real " + kCurrentStored,
            // The sites.
            "command_new -> command 1", "command_add_parameter 1 real " + kCurrentStored,
            "command_set_text 1 " + kSites, "command_open 1 -> result 0", "command_close 1",
            // Each column is looked for once in a result before it is read.
            "result_field 0 siteid", "result_field 0 siteid", "result_field 0 version",
            "result_field 0 version",
            // The only one.
            "site_starting 7 " + kCurrentStored,
            "ladder_starting site schema tw_7 " + kCurrentStored, "ladder_ended site schema tw_7",
            "ladder_starting site content tw_7 " + kCurrentStored, "ladder_ended site content tw_7",
            "command_set_text 0 UPDATE tw_tarnwick.site SET version = ? WHERE siteid = 7;",
            "command_execute 0", "site_ended 7", "result_next 0", "result_close 0",
            "command_close 0",
            // The installation.
            "command_new -> command 2", "command_add_parameter 2 real " + kCurrentStored,
            "command_set_text 2 UPDATE tw_tarnwick.installation SET version = ?;",
            "command_execute 2", "command_close 2"));
    EXPECT_EQ(fake.Unbalanced(), 0);
}

TEST(TwuUpdateServer, TakesNumbersAsText) {
    FakeHost fake;
    fake.answers[kSites] = {{{"siteid", "7"}, {"version", "1.0264"}}};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0264, nullptr), TWU_OK);
    EXPECT_THAT(fake.Lines({"site_"}),
                ElementsAre("site_walk_starting", "site_starting 7 1.0264", "site_ended 7"));
}

TEST(TwuUpdateServer, DoesNothingUnconfigured) {
    twu_update* update = nullptr;
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    int32_t result = 0;
    EXPECT_EQ(twu_update_server(update, 1.0, &result), TWU_OK);
    EXPECT_EQ(result, -1);
    twu_update_free(update);
}

TEST(TwuUpdateImportMasterData, NeedsASite) {
    FakeHost fake;
    const Configured configured(fake);
    int32_t result = 5;
    EXPECT_EQ(twu_update_import_master_data(configured.update, 0, 1.0, &result), TWU_OK);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(fake.log, IsEmpty());
    EXPECT_EQ(twu_update_import_master_data(configured.update, 7, 1.0264, &result), TWU_OK);
    EXPECT_EQ(result, -1);
    EXPECT_THAT(
        fake.log,
        ElementsAre("ladder_starting server tw_7 1.0264", "ladder_ended server tw_7",
                    "ladder_starting server data tw_7 1.0264", "ladder_ended server data tw_7"));
}

TEST(TwuCreateCoreDb, RefusesADatabaseThatExists) {
    FakeHost fake;
    fake.answers["SHOW DATABASES LIKE 'tw_tarnwick';"] = {{{"Database", "tw_tarnwick"}}};
    const Configured configured(fake);
    int32_t result = 5;
    EXPECT_EQ(twu_create_core_db(configured.update, &result), TWU_OK);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(fake.Lines({"execute"}), IsEmpty());
    EXPECT_EQ(fake.Unbalanced(), 0);
}

TEST(TwuCreateCoreDb, CreatesOneThatIsMissing) {
    FakeHost fake;
    const Configured configured(fake);
    int32_t result = 0;
    EXPECT_EQ(twu_create_core_db(configured.update, &result), TWU_OK);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(fake.Lines({"execute CREATE DATABASE"}).size(), 1U);
}

struct Cart {
    std::map<std::string, Cell> settings;
    std::vector<std::string> asked;
    twu_status status = TWU_OK;
};

twu_status GetSetting(void* context, const char* name, twu_value* value, twu_error* error) {
    auto& cart = *static_cast<Cart*>(context);
    cart.asked.emplace_back(name);
    if (cart.status != TWU_OK) {
        twu_error_set(error, 1064, "42000", "no such page");
        return cart.status;
    }
    const auto found = cart.settings.find(name);
    if (found != cart.settings.end()) {
        if (const auto* text = std::get_if<std::string>(&found->second)) {
            value->type = TWU_TEXT;
            value->as.text = {text->data(), text->size()};
        } else {
            value->type = TWU_INTEGER;
            value->as.integer = std::get<std::int64_t>(found->second);
        }
    }
    return TWU_OK;
}

constexpr twu_cart_settings kBilling{"name",     "organization", "address",  "country",
                                     "postcode", "email",        "telephone"};

TEST(TwuCreateCartFieldSequence, ReadsTheSettingsThroughTheCallback) {
    twu_update* update = nullptr;
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    constexpr std::int64_t kTrue = -1;
    Cart cart;
    const char* sequence = nullptr;

    EXPECT_EQ(twu_create_cart_field_sequence(update, GetSetting, &cart, &kBilling, &sequence),
              TWU_OK);
    EXPECT_STREQ(sequence, "6");

    cart.settings = {{"name", kTrue},     {"organization", kTrue}, {"address", kTrue},
                     {"country", kTrue},  {"postcode", kTrue},     {"email", kTrue},
                     {"telephone", kTrue}};
    EXPECT_EQ(twu_create_cart_field_sequence(update, GetSetting, &cart, &kBilling, &sequence),
              TWU_OK);
    EXPECT_STREQ(sequence, "0,1,2,3,4,5,6,7,8,9,10");

    // Each name in its own place: the post code is position 7, the country 8.
    const std::pair<const char*, const char*> alone[] = {
        {"name", "0,6"},      {"organization", "1,6"}, {"address", "1,2,3,4,5,6"},
        {"country", "6,8"},   {"postcode", "6,7"},     {"email", "6,9"},
        {"telephone", "6,10"}};
    for (const auto& [name, expected] : alone) {
        cart.settings = {{name, kTrue}};
        EXPECT_EQ(twu_create_cart_field_sequence(update, GetSetting, &cart, &kBilling, &sequence),
                  TWU_OK);
        EXPECT_STREQ(sequence, expected) << name;
    }
    twu_update_free(update);
}

TEST(TwuCreateCartFieldSequence, TakesTheLengthOfATextAsItIs) {
    twu_update* update = nullptr;
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    Cart cart;
    const char* sequence = nullptr;
    cart.settings = {{"name", std::string("-1")}, {"email", std::string("-1\0", 3)}};
    EXPECT_EQ(twu_create_cart_field_sequence(update, GetSetting, &cart, &kBilling, &sequence),
              TWU_OK);
    EXPECT_STREQ(sequence, "0,6") << "a text with a NUL is no number";
    twu_update_free(update);
}

TEST(TwuCreateCartFieldSequence, ReportsTheErrorOfTheCallback) {
    twu_update* update = nullptr;
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    Cart cart;
    cart.status = TWU_HOST_ERROR;
    const char* sequence = "left over";
    EXPECT_EQ(twu_create_cart_field_sequence(update, GetSetting, &cart, &kBilling, &sequence),
              TWU_HOST_ERROR);
    EXPECT_STREQ(sequence, "");
    const twu_error* error = twu_last_error(update);
    EXPECT_STREQ(twu_error_text(error), "no such page");
    EXPECT_EQ(twu_error_code(error), 1064U);
    EXPECT_STREQ(twu_error_sqlstate(error), "42000");
    ASSERT_EQ(cart.asked.size(), 1U);
    EXPECT_EQ(twu_error_statement(error, nullptr), "GetSetting " + cart.asked[0]);
    twu_update_free(update);
}

// --- failures ---------------------------------------------------------------------------------

struct FailingCall {
    const char* name;
    const char* call;       ///< how its line begins
    std::string statement;  ///< what the error must name
    const char* text = "Deadlock found";
};

void PrintTo(const FailingCall& call, std::ostream* out) {
    *out << call.name;
}

class FailingCalls : public testing::TestWithParam<FailingCall> {};

TEST_P(FailingCalls, EndTheRunWithCodeSqlstateStatementAndText) {
    FakeHost fake;
    AnswerAsASiteWithTemplates(fake);
    fake.answers[kSites] = {{{"siteid", std::int64_t{7}}, {"version", 1.0263}}};
    fake.failures[GetParam().call] = {TWU_HOST_ERROR, 1213, "40001", "Deadlock found", {}, false};
    const Configured configured(fake);
    int32_t result = 5;

    EXPECT_EQ(twu_update_server(configured.update, 1.0264, &result), TWU_HOST_ERROR);

    EXPECT_EQ(result, 0);
    const twu_error* error = configured.Error();
    EXPECT_EQ(twu_error_status(error), TWU_HOST_ERROR);
    EXPECT_EQ(twu_error_code(error), 1213U);
    EXPECT_STREQ(twu_error_sqlstate(error), "40001");
    EXPECT_STREQ(twu_error_text(error), GetParam().text);
    EXPECT_EQ(configured.Statement(), GetParam().statement);
    EXPECT_EQ(fake.Unbalanced(), 0) << "a result or command is left open, or closed twice";
    EXPECT_THAT(fake.Lines({"command_set_text 2"}), IsEmpty()) << "no installation version";
}

INSTANTIATE_TEST_SUITE_P(
    TwuUpdateServer, FailingCalls,
    testing::Values(FailingCall{"execute", "execute ALTER", kAddColumn},
                    FailingCall{"open_query", "open_query", kShowTables},
                    FailingCall{"open_reader", "open_reader", kDescribe},
                    FailingCall{"result_field", "result_field 2", kDescribe,
                                "column Field: Deadlock found"},
                    FailingCall{"result_next", "result_next 2", kDescribe},
                    FailingCall{"result_field_of_a_command", "result_field 0", kSites,
                                "column siteid: Deadlock found"},
                    FailingCall{"command_new", "command_new -> command 1", "NewCommand"},
                    FailingCall{"command_set_text", "command_set_text 1", kSites},
                    FailingCall{"command_open", "command_open 1", kSites},
                    FailingCall{"command_execute", "command_execute 0",
                                "UPDATE tw_tarnwick.site SET version = ? WHERE siteid = 7;"},
                    FailingCall{"command_add_parameter", "command_add_parameter 1", ""},
                    FailingCall{"observer", "site_starting", "SiteStarting"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(AFailedCallback, MayNameAnotherStatementWithANulInIt) {
    FakeHost fake;
    const std::string statement("SET @a = '\0';", 13);
    fake.failures["open_query"] = {TWU_HOST_ERROR, 1, "HY000", "text", statement, false};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(configured.Statement(), statement);
}

TEST(AFailedCallback, MaySayNothing) {
    FakeHost fake;
    fake.failures["open_query"] = {TWU_HOST_ERROR, 0, nullptr, nullptr, {}, true};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(configured.ErrorText(), "the host's callback failed without an error text");
    EXPECT_EQ(configured.Statement(), kShowTables);
}

TEST(AFailedCallback, MayLeaveTextsAtNull) {
    FakeHost fake;
    fake.failures["open_query"] = {TWU_HOST_ERROR, 2013, nullptr, nullptr, {}, false};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(twu_error_code(configured.Error()), 2013U);
    EXPECT_STREQ(twu_error_sqlstate(configured.Error()), "");
}

TEST(AFailedCallback, WithAnyOtherStatusIsAHostError) {
    for (const auto status : std::vector<twu_status>{TWU_FILE_ERROR, TWU_OTHER, 77, -1}) {
        FakeHost fake;
        fake.failures["open_query"] = {status, 5, "HY000", "text", {}, false};
        const Configured configured(fake);
        EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
        EXPECT_EQ(twu_error_code(configured.Error()), 5U);
    }
}

TEST(AFailedCallback, WithoutMemoryIsReportedAsSuch) {
    FakeHost fake;
    fake.failures["execute"] = {TWU_NO_MEMORY, 0, nullptr, nullptr, {}, true};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_NO_MEMORY);
    EXPECT_EQ(configured.ErrorText(), "out of memory");
}

TEST(AnObserver, StopsTheRunBeforeItsStep) {
    FakeHost fake;
    fake.failures["step_starting 92"] = {TWU_STOPPED, 0,    nullptr, "the operator stopped",
                                         {},          false};
    const Configured configured(fake);
    int32_t result = 5;
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, &result), TWU_STOPPED);
    EXPECT_EQ(result, 0);
    EXPECT_EQ(configured.ErrorText(), "the operator stopped");
    EXPECT_THAT(fake.log,
                ElementsAre("site_starting 7 1.0263", "ladder_starting site schema tw_7 1.0263",
                            "step_starting 92 SiteSchemaStep_1_0264 tw_7"));
}

TEST(AnObserver, StopsTheWalkAndLeavesNothingOpen) {
    FakeHost fake;
    fake.answers[kSites] = {{{"siteid", std::int64_t{7}}, {"version", 1.0264}}};
    fake.failures["site_ended"] = {TWU_STOPPED, 0, nullptr, nullptr, {}, true};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0264, nullptr), TWU_STOPPED);
    EXPECT_EQ(configured.ErrorText(), "a callback requested a stop");
    EXPECT_THAT(fake.Lines({"command_execute"}), ElementsAre("command_execute 0"))
        << "the site's version is recorded, the installation's is not";
    EXPECT_EQ(fake.Unbalanced(), 0);
}

TEST(AnObserver, NeedsNoCallbackOfItsOwn) {
    FakeHost fake;
    twu_host_callbacks table = FakeHost::Callbacks();
    table.ladder_starting = nullptr;
    table.ladder_ended = nullptr;
    table.step_starting = nullptr;
    table.step_ended = nullptr;
    table.site_walk_starting = nullptr;
    table.site_starting = nullptr;
    table.site_ended = nullptr;
    table.file_copied = nullptr;
    table.released = nullptr;
    const Configured configured(fake, table);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);
    EXPECT_EQ(twu_update_server(configured.update, 1.0264, nullptr), TWU_OK);
}

TEST(AnObserver, HearsOfTheStepsThatRun) {
    FakeHost fake;
    const Configured configured(fake);
    ASSERT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);
    std::vector<std::string> expected{"site_starting 7 1.0263"};
    for (const Ladder ladder : {Ladder::kSiteSchema, Ladder::kSiteContent}) {
        const std::string name(twupdate::LadderName(ladder));
        expected.push_back("ladder_starting " + name + " tw_7 1.0263");
        for (const auto& step : PendingSteps(ladder, 1.0263)) {
            const std::string line =
                std::to_string(step.number) + " " + std::string(step.name) + " tw_7";
            expected.push_back("step_starting " + line);
            expected.push_back("step_ended " + line);
        }
        expected.push_back("ladder_ended " + name + " tw_7");
    }
    expected.emplace_back("site_ended 7");
    EXPECT_EQ(fake.Lines({"ladder_", "step_", "site_"}), expected);
}

TEST(AValue, OfAnUnknownTypeIsAHostError) {
    FakeHost fake;
    AnswerAsASiteWithTemplates(fake);
    twu_host_callbacks table = FakeHost::Callbacks();
    table.result_field = [](void*, void*, const char*, twu_value* value, twu_error*) -> twu_status {
        value->type = 9;
        return TWU_OK;
    };
    const Configured configured(fake, table);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(configured.ErrorText(),
              "Field: the host's callback returned a value of the unknown type 9");
    EXPECT_EQ(configured.Statement(), kDescribe);
}

TEST(AValue, OfBytesAtNullIsAHostError) {
    FakeHost fake;
    AnswerAsASiteWithTemplates(fake);
    twu_host_callbacks table = FakeHost::Callbacks();
    table.result_field = [](void*, void*, const char*, twu_value* value, twu_error*) -> twu_status {
        value->type = TWU_TEXT;
        value->as.text = {nullptr, 3};
        return TWU_OK;
    };
    const Configured configured(fake, table);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(configured.ErrorText(),
              "Field: the host's callback returned 3 bytes of text at NULL");
}

TEST(AFailure, ToReadANumberIsAConversionError) {
    FakeHost fake;
    fake.answers[kSites] = {{{"siteid", std::int64_t{7}}, {"version", std::monostate()}}};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0264, nullptr), TWU_CONVERSION_ERROR);
    EXPECT_THAT(configured.ErrorText(), HasSubstr("version"));
    EXPECT_EQ(configured.Statement(), "");
    EXPECT_EQ(fake.Unbalanced(), 0);
}

TEST(AFailure, ForWantOfAHostIsReportedAsSuch) {
    twu_update* update = nullptr;
    ASSERT_EQ(twu_update_new(&update), TWU_OK);
    int32_t result = 5;
    EXPECT_EQ(twu_update_site(update, 7, 1.0263, &result), TWU_NOT_CONFIGURED);
    EXPECT_EQ(result, 0);
    EXPECT_THAT(twu_error_text(twu_last_error(update)), HasSubstr("not configured"));
    EXPECT_EQ(twu_create_core_db(update, nullptr), TWU_NOT_CONFIGURED);
    twu_update_free(update);
}

TEST(AFailure, ForWantOfACentralUpgradeIsReportedAsSuch) {
    FakeHost fake;  // a site with a commission, and tw_tarnwick.accountpayment without columns
    fake.answers["SHOW TABLES FROM tw_7 LIKE 'commission';"] = {{{"Tables_in_tw_7", "commission"}}};
    fake.answerOthers = [](const std::string& sql) {
        return sql.starts_with("SELECT commissionid")
                   ? Rows{{{"commissionid", std::int64_t{1}}, {"orderid", std::int64_t{2}}}}
                   : Rows{};
    };
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0222, nullptr),
              TWU_OUTDATED_CENTRAL_DATABASE);
    EXPECT_THAT(configured.ErrorText(), HasSubstr("upgrade the central database first"));
}

class DataFiles : public testing::Test {
  protected:
    DataFiles() {
        std::filesystem::create_directories(Resources());
        fake.installFolder = folder_.string();
    }
    ~DataFiles() override { std::filesystem::remove_all(folder_); }

    std::filesystem::path Resources() const { return folder_ / "resources"; }

    FakeHost fake;

  private:
    std::filesystem::path folder_ =
        std::filesystem::path(testing::TempDir()) /
        ("twupdate-capi-" +
         std::to_string(std::hash<std::thread::id>()(std::this_thread::get_id())));
};

// Version 1.0262 imports the reference data once, at 1.0263.

TEST_F(DataFiles, WithoutTheirFieldsAreReportedAsSuch) {
    std::ofstream(Resources() / "componentData.txt") << "1000\tShop\n";
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0262, nullptr), TWU_DATA_FILE_ERROR);
    EXPECT_THAT(configured.ErrorText(),
                HasSubstr("componentData.txt line 1 has only 2 of 13 fields"));
}

TEST_F(DataFiles, ThatGoAwayAreAFileError) {
    const auto file = Resources() / "componentData.txt";
    std::ofstream(file) << "1000\n";
    fake.actions["execute DELETE FROM tw_tarnwick.component;"] = [file] {
        std::filesystem::remove(file);
    };
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0262, nullptr), TWU_FILE_ERROR);
    EXPECT_EQ(configured.ErrorText(), "cannot open " + file.string());
}

TEST_F(DataFiles, UnderAPathThatCannotBeAreAFileError) {
    fake.installFolder = "/" + std::string(10'000, 'x');
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0262, nullptr), TWU_FILE_ERROR);
    EXPECT_THAT(configured.ErrorText(), HasSubstr("componentData.txt"));
}

TEST_F(DataFiles, AreReadFromTheFolderThatTheHostNames) {
    std::ofstream(Resources() / "componenttypeData.txt") << "3\t1000\n";
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0262, nullptr), TWU_OK);
    EXPECT_THAT(fake.Lines({"execute INSERT INTO tw_tarnwick.componenttype"}),
                ElementsAre("execute INSERT INTO tw_tarnwick.componenttype(componenttype,"
                            "componentid) VALUES(3,1000);"));
}

TEST_F(DataFiles, AreNotLookedForWhenTheFolderIsUnknown) {
    fake.failures["install_folder"] = {TWU_HOST_ERROR, 0, nullptr, "not installed", {}, false};
    const Configured configured(fake);
    EXPECT_EQ(twu_update_server(configured.update, 1.0262, nullptr), TWU_HOST_ERROR);
    EXPECT_EQ(configured.ErrorText(), "not installed");
    EXPECT_EQ(configured.Statement(), "InstallFolder");
}

// A host in C++ breaks the rules when it throws; still nothing may cross the boundary.

TEST(AnException, OfACallbackDoesNotLeaveTheFunction) {
    FakeHost fake;
    fake.actions["open_query"] = [] { throw std::out_of_range("thrown by the host"); };
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OTHER);
    EXPECT_EQ(configured.ErrorText(), "thrown by the host");
}

TEST(AnException, OfNoClassDoesNotLeaveTheFunction) {
    FakeHost fake;
    fake.actions["open_query"] = [] { throw 5; };
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OTHER);
    EXPECT_EQ(configured.ErrorText(), "an exception of an unknown type");
}

TEST(AnException, OfAClosingCallbackIsDropped) {
    FakeHost fake;
    fake.actions["result_close"] = [] { throw 5; };
    fake.actions["command_close"] = [] { throw 5; };
    const Configured configured(fake);
    EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);
    EXPECT_EQ(twu_update_server(configured.update, 1.0264, nullptr), TWU_OK);
}

TEST(TheLastError, IsForgottenWithTheNextCall) {
    FakeHost fake;
    fake.failures["open_query"] = {TWU_HOST_ERROR, 1213, "40001", "Deadlock found", {}, false};
    const Configured configured(fake);
    ASSERT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    fake.failures.clear();
    ASSERT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);
    EXPECT_EQ(twu_error_status(configured.Error()), TWU_OK);
    EXPECT_EQ(twu_error_code(configured.Error()), 0U);
    EXPECT_STREQ(twu_error_sqlstate(configured.Error()), "");
    EXPECT_EQ(configured.ErrorText(), "");
    EXPECT_EQ(configured.Statement(), "");
}

TEST(TheLastError, BelongsToItsUpdate) {
    FakeHost failing;
    failing.failures["open_query"] = {TWU_HOST_ERROR, 1213, "40001", "Deadlock found", {}, false};
    FakeHost working;
    const Configured first(failing);
    const Configured second(working);
    ASSERT_EQ(twu_update_site(first.update, 7, 1.0263, nullptr), TWU_HOST_ERROR);
    ASSERT_EQ(twu_update_site(second.update, 7, 1.0263, nullptr), TWU_OK);
    EXPECT_EQ(twu_error_code(first.Error()), 1213U);
    EXPECT_EQ(twu_error_code(second.Error()), 0U);
}

TEST(TwoUpdates, RunOnTwoThreads) {
    const auto run = [](int times) {
        FakeHost fake;
        const Configured configured(fake);
        for (int i = 0; i < times; ++i) {
            EXPECT_EQ(twu_update_site(configured.update, 7, 1.0263, nullptr), TWU_OK);
        }
        EXPECT_EQ(fake.Lines({"execute CREATE TABLE IF NOT EXISTS tw_7.htmlcache("}).size(),
                  static_cast<std::size_t>(times));
    };
    constexpr int kTimes = 50;
    std::thread other(run, kTimes);
    run(kTimes);
    other.join();
}

// --- ladders and names ------------------------------------------------------------------------

TEST(TwuLadders, CanBeLookedAt) {
    EXPECT_EQ(twu_ladder_size(TWU_SITE_SCHEMA), LadderSteps(Ladder::kSiteSchema).size());
    EXPECT_EQ(twu_ladder_size(TWU_SITE_CONTENT), LadderSteps(Ladder::kSiteContent).size());
    EXPECT_EQ(twu_ladder_size(TWU_SERVER), LadderSteps(Ladder::kServer).size());
    EXPECT_EQ(twu_ladder_size(TWU_SERVER_DATA), LadderSteps(Ladder::kServerData).size());
    EXPECT_EQ(twu_current_version(), kCurrentVersion);
    EXPECT_STREQ(twu_version(), TWUPDATE_VERSION);
    EXPECT_STREQ(twu_ladder_name(TWU_SITE_SCHEMA), "site schema");
    EXPECT_STREQ(twu_ladder_name(TWU_SITE_CONTENT), "site content");
    EXPECT_STREQ(twu_ladder_name(TWU_SERVER), "server");
    EXPECT_STREQ(twu_ladder_name(TWU_SERVER_DATA), "server data");

    const twu_step* step = twu_ladder_step(TWU_SITE_SCHEMA, 15);
    ASSERT_NE(step, nullptr);
    EXPECT_EQ(step->ladder, TWU_SITE_SCHEMA);
    EXPECT_EQ(step->number, 16);
    EXPECT_EQ(step->threshold, 1.0030);
    EXPECT_STREQ(step->name, "SiteSchemaStep_1_0028");
    EXPECT_GT(std::strlen(step->description), 0U);
    EXPECT_STREQ(twu_ladder_step(TWU_SERVER_DATA, 0)->name, "ReimportReferenceData");
}

TEST(TwuLadders, EndWhereTheyEnd) {
    EXPECT_EQ(twu_ladder_step(TWU_SITE_SCHEMA, twu_ladder_size(TWU_SITE_SCHEMA)), nullptr);
    EXPECT_EQ(twu_ladder_step(TWU_SERVER, std::numeric_limits<std::size_t>::max()), nullptr);
    for (const twu_ladder none : {-1, 4, std::numeric_limits<twu_ladder>::min()}) {
        EXPECT_EQ(twu_ladder_size(none), 0U);
        EXPECT_EQ(twu_ladder_step(none, 0), nullptr);
        EXPECT_STREQ(twu_ladder_name(none), "");
        EXPECT_EQ(twu_pending_steps(none, 1.0, nullptr, 0), 0U);
    }
}

TEST(TwuPendingSteps, AreThoseAboveTheVersion) {
    const twu_step* steps[2] = {nullptr, nullptr};
    EXPECT_EQ(twu_pending_steps(TWU_SITE_SCHEMA, 1.0260, steps, 2),
              PendingSteps(Ladder::kSiteSchema, 1.0260).size());
    EXPECT_STREQ(steps[0]->name, "SiteSchemaStep_1_0262");
    EXPECT_STREQ(steps[1]->name, "SiteSchemaStep_1_0264");
    EXPECT_EQ(twu_pending_steps(TWU_SITE_SCHEMA, TWU_CURRENT_VERSION, nullptr, 0), 0U);
    EXPECT_EQ(twu_pending_steps(TWU_SITE_CONTENT, std::nan(""), nullptr, 0),
              twu_ladder_size(TWU_SITE_CONTENT));
}

TEST(TwuPendingSteps, FillNoMoreThanThereIsRoomFor) {
    const twu_step* steps[2] = {nullptr, nullptr};
    EXPECT_EQ(twu_pending_steps(TWU_SITE_SCHEMA, 1.0257, steps, 1), 4U);
    EXPECT_STREQ(steps[0]->name, "SiteSchemaStep_1_0259");
    EXPECT_EQ(steps[1], nullptr);
    EXPECT_EQ(twu_pending_steps(TWU_SITE_SCHEMA, 1.0257, nullptr, 7), 4U);
}

TEST(TwuStatusName, IsTheNameInTheHeader) {
    EXPECT_STREQ(twu_status_name(TWU_OK), "TWU_OK");
    EXPECT_STREQ(twu_status_name(TWU_HOST_ERROR), "TWU_HOST_ERROR");
    EXPECT_STREQ(twu_status_name(TWU_CONVERSION_ERROR), "TWU_CONVERSION_ERROR");
    EXPECT_STREQ(twu_status_name(TWU_FILE_ERROR), "TWU_FILE_ERROR");
    EXPECT_STREQ(twu_status_name(TWU_DATA_FILE_ERROR), "TWU_DATA_FILE_ERROR");
    EXPECT_STREQ(twu_status_name(TWU_OUTDATED_CENTRAL_DATABASE), "TWU_OUTDATED_CENTRAL_DATABASE");
    EXPECT_STREQ(twu_status_name(TWU_NOT_CONFIGURED), "TWU_NOT_CONFIGURED");
    EXPECT_STREQ(twu_status_name(TWU_NO_MEMORY), "TWU_NO_MEMORY");
    EXPECT_STREQ(twu_status_name(TWU_STOPPED), "TWU_STOPPED");
    EXPECT_STREQ(twu_status_name(TWU_INVALID_ARGUMENT), "TWU_INVALID_ARGUMENT");
    EXPECT_STREQ(twu_status_name(TWU_OTHER), "TWU_OTHER");
    EXPECT_STREQ(twu_status_name(11), "unknown status");
    EXPECT_STREQ(twu_status_name(-1), "unknown status");
}

}  // namespace
}  // namespace capi_test
