#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "twupdate/value.h"
#include "twupdate_host/listener.h"
#include "twupdate_host/mariadb_utility.h"
#include "twupdate_host/private_server.h"

/// The cost of the component and its host: the statements of an upgrade are recorded, and then
/// sent once more by a bare loop over the C API, on the same server and the same data.
namespace twupdate::bench {

struct Statement {
    std::string sql;
    std::vector<Value> parameters;
    bool prepared = false;
};

/// Writes down the statements that go to the server, in order.
class Recorder : public host::StatementListener {
  public:
    void Before(const host::StatementEvent& event) override;

    std::vector<Statement> statements;
};

/// Sends the statements over a connection of its own and reads their results to the end, with
/// nothing but the C API.
/// @returns the seconds that it took, without the connecting
double Replay(const std::filesystem::path& socket, const std::vector<Statement>& statements);

struct Comparison {
    std::size_t statements = 0;
    double component = 0;  ///< median, in seconds
    double replay = 0;     ///< median, in seconds
    double ratio = 0;      ///< median of the rounds' ratios
};

/// Runs an upgrade and its replay in turn, each on freshly restored data.
/// @param restore  puts the data back as it was
/// @param upgrade  does the work on the given host
Comparison Compare(const host::PrivateServer& server, const std::filesystem::path& installFolder,
                   int rounds, const std::function<void()>& restore,
                   const std::function<void(const std::shared_ptr<Utility>&)>& upgrade);

/// @param numbers  at least one
double Median(std::vector<double> numbers);

/// The number in that environment variable, or another one where it is not set.
int FromEnvironment(const char* name, int otherwise);

}  // namespace twupdate::bench
