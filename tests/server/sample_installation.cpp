#include "sample_installation.h"

#include <filesystem>

namespace twupdate::test {

SampleTest::SampleTest() {
    // the installation brings its own copy
    std::filesystem::remove(InstallFolder() / "resources");
}

sample::InstallationOptions SampleTest::Options(std::int32_t sites, std::int32_t rows) const {
    sample::InstallationOptions options;
    options.sites = sites;
    options.rows = rows;
    options.root = Root();
    return options;
}

SampleTest::State SampleTest::StateOfAll() {
    State state;
    for (const std::string& database : Rows("SHOW DATABASES LIKE 'tw\\_%'")) {
        state.schemas[database] = SchemaOf(database);
        state.rows[database] = RowsOf(database);
    }
    return state;
}

testing::AssertionResult SampleTest::SameState(const State& expected, const State& actual) {
    for (const auto& [database, schema] : expected.schemas) {
        if (!actual.schemas.contains(database)) {
            return testing::AssertionFailure() << "there is no " << database;
        }
        if (auto same = SameSchema(schema, actual.schemas.at(database)); !same) {
            return testing::AssertionFailure() << database << ": " << same.message();
        }
        if (auto same = SameRows(expected.rows.at(database), actual.rows.at(database)); !same) {
            return testing::AssertionFailure() << database << ": " << same.message();
        }
    }
    for (const auto& [database, schema] : actual.schemas) {
        if (!expected.schemas.contains(database)) {
            return testing::AssertionFailure() << "there is a " << database;
        }
    }
    return testing::AssertionSuccess();
}

}  // namespace twupdate::test
