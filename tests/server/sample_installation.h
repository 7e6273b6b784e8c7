#pragma once

#include <map>
#include <string>
#include <vector>

#include "sample/installation.h"
#include "support/server_test.h"

namespace twupdate::test {

/// Tests on sample installations.
class SampleTest : public ServerTest {
  protected:
    SampleTest();
    /// With the test's root as the root of its files.
    sample::InstallationOptions Options(std::int32_t sites, std::int32_t rows) const;

    /// Schema and rows of every database of the platform.
    struct State {
        std::map<std::string, Schema> schemas;
        std::map<std::string, RowSnapshot> rows;
    };
    State StateOfAll();
    /// True when both hold the same databases with the same schemas and rows.
    static testing::AssertionResult SameState(const State& expected, const State& actual);
};

}  // namespace twupdate::test
