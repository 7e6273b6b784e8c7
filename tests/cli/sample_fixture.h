#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "cli/installation_fixture.h"
#include "sample/installation.h"
#include "twupdate/ladder.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {

/// A test on sites that the sample makes, with every feature and of any version.
class SampleTest : public InstallationTest {
  public:
    /// True with TWUPDATE_SOAK=1.
    static bool IsSoak();

  protected:
    void SetUp() override;
    /// Makes what follows on the server in use.
    void ConnectSample();

    static sample::SitePlan Plan(std::int32_t siteId, double version = 1.0);
    /// The thresholds of the two ladders, and 1.0000; every so many of them.
    static std::vector<double> Versions(Ladder first, Ladder second, std::size_t stride);
    void MakeCentralWith(const std::vector<sample::SitePlan>& plans);

    std::vector<std::string> WithFolder(std::vector<std::string> arguments) const;
    void ExpectClean(const std::vector<std::string>& arguments);

    sample::InstallationOptions options_;
    std::shared_ptr<Utility> host_;
};

}  // namespace twupdate::test
