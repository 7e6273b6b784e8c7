#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "twupdate/host.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/connection.h"

namespace twupdate::host {

/// A statement that the component sent to a dry host. Those of one step that differ in their
/// literals alone stand once, with the text of the first.
struct DryStatement {
    using Kind = StatementKind;

    Kind kind = Kind::kRead;
    const LadderStep* step = nullptr;       ///< null outside the ladders
    std::string database;                   ///< whose ladder runs; empty outside the ladders
    std::string sql;                        ///< '?' markers stand for bound values
    TableName target = {};                  ///< what it writes or alters; empty for reads
    std::vector<TableName> tables = {};     ///< every table that it names, the target included
    std::vector<std::string> columns = {};  ///< that an INSERT names, in order
    std::optional<Refusal> refusal = {};    ///< what the server would answer
    Catalogue::TablePointer before = {};    ///< the target; null: it is not there
    Catalogue::TablePointer after = {};
    bool idIsRead = false;    ///< of an INSERT: the component has asked for the row's number
    std::uint64_t times = 1;  ///< how often it was sent, each time with other literals
};

struct DryHostOptions {
    /// The folder `resources` of the installation; empty: there are no data files.
    std::filesystem::path resources = {};
    /// What the server has, where the walk's layout is another one: that which an earlier walk has
    /// left. Without it the layout itself.
    std::optional<Catalogue> stored = {};
    /// See Utility::LocalHostName(); without one its default.
    std::optional<std::string> localHostName = {};
    /// A statement that the server would refuse fails with a HostError, as it does there. Otherwise
    /// the walk goes on as if the cause had been removed.
    bool refuses = false;
    /// How many rows and repeated reads of a step may be read without a statement that the step
    /// has not sent before; then its loops find no more rows.
    std::size_t patience = 40;
};

/// A host on which the component runs without a change to anything: it follows the layout in a
/// catalogue, reads rows from the real database as far as their tables and columns are there
/// already, and writes down what the component sends. Component services are not called, but the
/// list of components is the real one. The real database is sent nothing but SELECT statements, and
/// the installation's folders are out of reach: the install folder is an empty one of the host's
/// own, in which `resources` leads to the data files.
///
///     auto dry = std::make_shared<DryHost>(connection, ReadCatalogue(*connection, {"tw_tarnwick",
///                                                                                  "tw_7"}));
///     Update update;
///     update.Configure(dry);
///     update.UpdateSite(7, 1.0);
///     for (const DryStatement& statement : dry->Record()) { … }
class DryHost : public Utility {
  public:
    /// @param reads   where rows are read; null: every read is empty
    /// @param layout  of every database that the walk concerns
    DryHost(std::shared_ptr<Connection> reads, Catalogue layout, DryHostOptions options = {});
    ~DryHost() override;
    DryHost(const DryHost&) = delete;
    DryHost& operator=(const DryHost&) = delete;

    /// What was sent, in order.
    const std::vector<DryStatement>& Record() const;
    /// The step that runs, or in which an exception ended the walk; null outside the ladders.
    const LadderStep* CurrentStep() const;
    /// The layout as the statements have left it.
    const Catalogue& Layout() const;

    std::shared_ptr<Database> GetDatabase() override;
    std::shared_ptr<ComponentHost> GetComponentHost() override;
    std::shared_ptr<CommandFactory> GetCommandFactory() override;
    std::filesystem::path InstallFolder() override;
    std::shared_ptr<twupdate::Observer> GetObserver() override;
    std::string LocalHostName() override;

  private:
    class Walk;
    std::shared_ptr<Walk> walk_;
    std::filesystem::path folder_;
};

}  // namespace twupdate::host
