#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "twupdate/host.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/listener.h"

namespace twupdate::host {

/// The server has refused a change of a table that had waited for others of the table, so that the
/// step that has sent it may have ended.
class LateError : public HostError {
  public:
    LateError(const HostError& error, std::string statement, std::optional<LadderStep> step)
        : HostError(std::move(statement), error.Code(), error.SqlState(), error.what()),
          step_(step) {}
    /// The step that has sent the statement; nothing outside of steps.
    const std::optional<LadderStep>& Step() const noexcept { return step_; }

  private:
    std::optional<LadderStep> step_;
};

struct BatchingOptions {
    /// Reads the layout of a database from the server: of the site, or of one that a step of the
    /// site writes into.
    std::function<Catalogue(const std::string& database)> readLayout;
    /// Component services may change the layout of a site.
    bool servicesChangeLayout = false;
    /// Hears of every call of the component, and of what is sent between two of them (kBatch).
    /// May be null.
    std::shared_ptr<StatementListener> listener = {};
};

/// A host in front of another one that makes an upgrade of sites wait less often for the server's
/// disk. What the server is sent has the effect of the component's statements in their order; what
/// an interruption leaves is what one of the plain run leaves, after some of its statements.
///
/// While a ladder of a site runs:
/// - DESCRIBE, SHOW TABLES and SHOW INDEXES of its database are answered from its layout, which is
///   read once and kept up with what is sent. So nobody else may change the layout meanwhile.
/// - An ALTER TABLE that adds a column, adds an index or modifies a column waits. Those of one
///   table that follow each other become one. It goes out before any statement but these and a
///   read of other tables, before a clause on a column or key that waits, and where a step that
///   cannot simply run again begins or ends.
/// - INSERT, UPDATE and DELETE on InnoDB tables of the site, and an UPDATE of one such table of
///   another database, share a transaction, which ends with the step, before every other statement
///   that changes something, and after 500 statements or a second.
///
/// Before every call of a component service and at the end of a ladder nothing waits and no
/// transaction is open. All other statements pass through as they are.
class BatchingUtility : public Utility {
  public:
    /// @param inner  used by nobody else while an operation runs
    BatchingUtility(std::shared_ptr<Utility> inner, BatchingOptions options);
    ~BatchingUtility() override;

    /// Runs an operation of the component and then, however it ends, sends what waits and commits.
    /// @throws LateError for a statement that had waited, also in place of the operation's error,
    ///         which would not have happened; else what the operation throws
    void Run(const std::function<void()>& operation);

    std::shared_ptr<Database> GetDatabase() override;
    std::shared_ptr<ComponentHost> GetComponentHost() override;
    std::shared_ptr<CommandFactory> GetCommandFactory() override;
    std::filesystem::path InstallFolder() override;
    std::shared_ptr<twupdate::Observer> GetObserver() override;
    std::string LocalHostName() override;

    class Batch;

  private:
    std::shared_ptr<Utility> inner_;
    std::shared_ptr<Batch> batch_;
    std::shared_ptr<Database> database_;
    std::shared_ptr<ComponentHost> services_;
    std::shared_ptr<CommandFactory> commands_;
    std::shared_ptr<twupdate::Observer> observer_;
};

}  // namespace twupdate::host
