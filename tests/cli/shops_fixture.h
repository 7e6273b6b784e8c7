#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "cli/installation_fixture.h"

namespace twupdate::test {

/// A test on an installation of five sites with what a resumed run must not do twice.
class ShopsTest : public InstallationTest {
  protected:
    static constexpr int kSites[] = {7, 8, 9, 10, 11};

    void MakeSites();
    void MakeShop(std::int32_t siteId);
    /// Drops the whole installation.
    static void DropSites();
    /// What StateOf() says of each site and of the central database.
    static std::map<std::string, std::string> States();
};

}  // namespace twupdate::test
