#pragma once

#include <deque>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "twupdate/host.h"
#include "twupdate_host/catalogue.h"

namespace twupdate::test {

using host::Catalogue;
using host::ResultSet;

/// A host without a server: it writes down every call, in order, and answers from a catalogue in
/// memory (schema) and from answers that a test gives (rows).
///
/// The log has one line a call:
///     query SELECT …;             Database::OpenRecordset
///     reader DESCRIBE …;          Database::OpenReader
///     execute ALTER TABLE …;      Database::Execute
///     command UPDATE …; [1.0265]  a Command, run either way, with its parameters
///     service RefreshSiteComponent 7 1000
///     refresh                     Application::Refresh
class RecordingHost : public Utility {
  public:
    RecordingHost();
    ~RecordingHost() override;

    Catalogue catalogue;
    std::vector<std::string> log;

    /// The rows of a query with exactly this text. Given several times, the answers are used in
    /// that order and the last one forever.
    void Answer(const std::string& sql, ResultSet result);
    /// The ids that GetLastInsertId hands out, in order; after them 1001, 1002, …
    std::deque<std::int32_t> insertIds;
    /// The n-th call of the log (from 1) fails with this server code, before it has any effect.
    void FailAt(std::size_t call, std::uint32_t code = 1105);

    /// Lines of the log that change something: execute and command lines that are no SELECT.
    std::vector<std::string> Changes() const;
    /// Lines that begin with the given word, without it.
    std::vector<std::string> Lines(const std::string& op) const;

    std::filesystem::path installFolder;  ///< empty: the default of Utility
    std::shared_ptr<twupdate::Observer> observer;
    std::optional<std::string> localHostName;
    /// Folder names by component id; an id that is not here has the folder "component<id>",
    /// unless `knownComponentsOnly`.
    std::map<std::int32_t, std::string> componentFolders;
    bool knownComponentsOnly = false;

    // What a well-behaved caller leaves behind.
    int openRecordsets = 0;  ///< opened and not closed (readers too)
    int commandsMade = 0;
    int commandsClosed = 0;
    int parametersBound = 0;
    int mostStatementsOfOneDatabase = 0;  ///< 1 when every statement asked for a fresh object

    // Utility
    std::shared_ptr<Database> GetDatabase() override;
    std::shared_ptr<ComponentHost> GetComponentHost() override;
    std::shared_ptr<CommandFactory> GetCommandFactory() override;
    std::filesystem::path InstallFolder() override;
    std::shared_ptr<twupdate::Observer> GetObserver() override;
    std::string LocalHostName() override;

    /// Writes one call down and fails it if it is its turn. For the objects that it returns.
    void Record(const std::string& line, const std::string& statement);
    /// Records and runs one statement.
    ResultSet Run(const std::string& op, const std::string& sql,
                  const std::vector<Value>& parameters = {});

  private:
    ResultSet RunOnCatalogue(const std::string& sql);

    struct Answers {
        std::deque<ResultSet> results;
    };
    std::map<std::string, Answers> answers_;
    std::optional<std::size_t> failAt_;
    std::uint32_t failCode_ = 0;
    std::int32_t nextInsertId_ = 1001;

    friend class RecordingDatabase;
};

/// A setting store for CreateCartFieldSequence.
class MapFeature : public Feature {
  public:
    explicit MapFeature(std::map<std::string, Value> settings) : settings_(std::move(settings)) {}
    Value GetSetting(const std::string& name) override {
        const auto found = settings_.find(name);
        return found == settings_.end() ? Value() : found->second;
    }

  private:
    std::map<std::string, Value> settings_;
};

}  // namespace twupdate::test
