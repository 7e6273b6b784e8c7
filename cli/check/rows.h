#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/check/server.h"
#include "cli/check/walk.h"

namespace twupdate::cli {

/// Finds stored rows that a statement of a walk cannot convert or copy: NULL where a column is or
/// becomes NOT NULL, values that a column does not hold, rows that are double under a new key. The
/// rows are asked as they are stored; what an earlier statement changes is left out.
class RowQuestions {
  public:
    /// @param stored  the layouts as they are stored
    RowQuestions(const ServerState& server, const host::Catalogue& stored, const Walk& walk);

    /// Asks one of the databases for which the walk stands. Several threads may ask, each on a
    /// connection of its own.
    void Ask(host::Connection& connection, const std::string& database,
             std::vector<CheckFinding>& findings) const;

  private:
    struct Content;

    std::shared_ptr<const Content> content_;
};

}  // namespace twupdate::cli
