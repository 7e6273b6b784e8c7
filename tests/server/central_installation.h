#pragma once

#include <string>
#include <vector>

#include "support/server_test.h"

namespace twupdate::test {

/// Tests on an old central database with rows of every kind that its steps touch.
class CentralTest : public ServerTest {
  protected:
    /// The central database and the logs at 1.0000, with rows; of the root site only the tables
    /// that a server step touches. Every site is current, so that nothing but the server ladders
    /// is left to do.
    void LoadOldInstallation();
    /// The same, brought to a version.
    void LoadOldInstallation(double version);

    /// The state of everything that an upgrade of the installation may touch, as text.
    std::string State();

    /// The versions at which a rung of either server ladder stops running, ascending.
    static std::vector<double> Thresholds();
    /// How often a log holds the start of an import of the components.
    static std::size_t Imports(const std::vector<std::string>& log);
    static std::size_t Count(const std::vector<std::string>& log, const std::string& beginning);
};

}  // namespace twupdate::test
