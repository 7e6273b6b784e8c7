#pragma once

#include <memory>
#include <string>
#include <vector>

#include "support/temporary_folder.h"
#include "twupdate_host/connection.h"
#include "twupdate_host/private_server.h"

namespace twupdate::test {

/// Three nodes of a Galera cluster, in the place of the private server for the time of a test. Each
/// begins with a copy of what the test has made there before. They end with the test program, even
/// if that is killed.
class Cluster {
  public:
    static constexpr unsigned kNodes = 3;

    /// Whether `./dev test` has unpacked the cluster's library.
    static bool IsThere();

    Cluster();
    ~Cluster();
    Cluster(const Cluster&) = delete;
    Cluster& operator=(const Cluster&) = delete;

    /// For what all nodes are to begin with; the server in use is the one that they are copied
    /// from.
    void Begin();

    host::PrivateServer& Node(unsigned number) { return *nodes_.at(number); }
    /// An account's connection to a node.
    std::shared_ptr<host::Connection> Connect(unsigned number) const;
    /// The options of the program for connecting to the first of these nodes that answers.
    std::vector<std::string> Hosts(const std::vector<unsigned>& numbers) const;
    /// Waits until the node has come to the state of the others.
    bool WaitUntilSynced(unsigned number) const;

  private:
    std::vector<std::string> Options(unsigned number, bool isFirst) const;
    std::unique_ptr<host::PrivateServer> Start(const std::string& name, unsigned number,
                                               bool isFirst) const;

    TemporaryFolder folder_;
    std::vector<int> ports_;  ///< of each node: for clients, for the cluster, for catching up
    std::unique_ptr<host::PrivateServer> model_;
    std::vector<std::unique_ptr<host::PrivateServer>> nodes_;
};

}  // namespace twupdate::test
