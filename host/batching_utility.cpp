#include "twupdate_host/batching_utility.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "buffered_rows.h"
#include "sql_tokens.h"
#include "timed_call.h"

namespace twupdate::host {
namespace {

using Clock = std::chrono::steady_clock;

// What a transaction may hold: rows that others wait for, and what the server must undo.
constexpr std::size_t kMostRowStatements = 500;
constexpr std::chrono::seconds kLongestTransaction{1};

// The server has taken the whole transaction back.
constexpr std::uint32_t kDeadlock = 1213;

/// A change of a table that may wait.
struct Clause {
    enum class Kind : std::uint8_t { kAddColumn, kAddIndex, kModifyColumn };

    Kind kind = Kind::kAddColumn;
    TableName table;
    std::string text;               ///< behind the table's name
    std::set<std::string> touches;  ///< columns, and keys with a blank before their name
};

/// Nothing for a statement of any other form.
std::optional<Clause> ReadClause(const std::string& sql) {
    const auto tokens = Tokenize(sql);
    constexpr std::size_t kName = 7;  // ALTER TABLE database . table ADD COLUMN name
    if (tokens.size() < kName + 2 || !tokens[0].Is("ALTER") || !tokens[1].Is("TABLE") ||
        !tokens[2].IsName() || !tokens[3].Is(".") || !tokens[4].IsName() ||
        !tokens[kName].IsName()) {
        return std::nullopt;
    }
    Clause clause;
    clause.table = {std::string(tokens[2].text), std::string(tokens[4].text)};
    const bool isIndex = tokens[6].Is("INDEX");
    if (tokens[5].Is("ADD") && isIndex) {
        clause.kind = Clause::Kind::kAddIndex;
    } else if (tokens[5].Is("MODIFY") && tokens[6].Is("COLUMN")) {
        clause.kind = Clause::Kind::kModifyColumn;
    } else if (!tokens[5].Is("ADD") || !tokens[6].Is("COLUMN")) {
        return std::nullopt;
    }
    clause.touches.insert((isIndex ? " " : "") + LowerCase(tokens[kName].text));
    const char* begin = tokens[5].text.data();
    const char* end = sql.data() + sql.size();
    int depth = 0;
    for (std::size_t i = kName + 1; i + 1 < tokens.size(); ++i) {
        depth += tokens[i].Is("(") ? 1 : tokens[i].Is(")") ? -1 : 0;
        if (depth == 0 && (tokens[i].Is(",") || tokens[i].Is("FIRST") || tokens[i].Is("AFTER"))) {
            return std::nullopt;  // more than one clause, or one that depends on other columns
        }
        if (isIndex && tokens[i].IsName()) {
            clause.touches.insert(LowerCase(tokens[i].text));
        }
        if (tokens[i].Is(";")) {
            if (i + 2 != tokens.size()) {
                return std::nullopt;
            }
            end = tokens[i].text.data();
        }
    }
    clause.text.assign(begin, end);
    for (const char* comment : {"--", "#", "/*"}) {  // would hide the clause behind it
        if (clause.text.find(comment) != std::string::npos) {
            return std::nullopt;
        }
    }
    return clause;
}

/// Whether the server has refused a statement for what it says. Otherwise the statement may have
/// been carried out, or would be at another time.
bool IsRefusal(std::uint32_t code) {
    // Waits for locks and deadlocks; statements that were killed or took too long; a lost server.
    constexpr std::array<std::uint32_t, 12> kPassing{1040, 1047, 1053, 1152, 1158, 1159,
                                                     1160, 1161, 1205, 1213, 1317, 1927};
    constexpr std::uint32_t kFirstOfClient = 2000;
    constexpr std::uint32_t kLastOfClient = 2999;
    return code != 0 && (code < kFirstOfClient || code > kLastOfClient) &&
           std::find(kPassing.begin(), kPassing.end(), code) == kPassing.end();
}

}  // namespace

class BatchingUtility::Batch {
  public:
    Batch(std::shared_ptr<Utility> inner, BatchingOptions options)
        : inner_(std::move(inner)), options_(std::move(options)) {}

    Utility& Inner() const { return *inner_; }
    StatementListener* Listener() const { return options_.listener.get(); }

    // --- where the walk stands
    // --------------------------------------------------------------------

    void BeginSite() { layout_.reset(); }
    void BeginLadder(Ladder ladder, const std::string& database) {
        if (ladder == Ladder::kSiteSchema || ladder == Ladder::kSiteContent) {
            site_ = database;
            if (layout_ && !layout_->HasDatabase(database)) {
                layout_.reset();
            }
        } else {
            otherLayouts_.clear();
        }
    }
    void EndLadder() {
        Settle();
        site_.clear();
    }
    void BeginStep(const LadderStep& step) {
        if (!step.repeatable) {
            Settle();
        }
        step_ = step;
    }
    void EndStep(const LadderStep& step) {
        Between([&] {
            if (!step.repeatable) {
                Flush();
            }
            Commit();
        });
        step_.reset();
    }

    /// Sends what waits and commits, between two calls of the component.
    void Settle() {
        Between([this] {
            Flush();
            Commit();
        });
    }
    /// The same inside of a call.
    void SettleForService() {
        Flush();
        Commit();
        if (options_.servicesChangeLayout) {
            layout_.reset();
        }
    }
    /// After an error.
    void Forget() {
        TransactionIsGone();
        otherLayouts_.clear();
        step_.reset();
        site_.clear();
    }

    // --- statements
    // -------------------------------------------------------------------------------

    /// The answer to a statement that inspects the site's layout; null where the server must give
    /// it.
    std::unique_ptr<Rows> Answer(const std::string& sql) {
        if (site_.empty() || NamesIn(sql).kind != StatementKind::kInspect) {
            return nullptr;
        }
        try {
            ResultSet result = Layout().Run(sql);
            // The server takes the name of a single column for a pattern.
            const bool isOfNoColumn = result.columns.front() == "Field" && result.rows.empty();
            return isOfNoColumn ? nullptr : std::make_unique<RowsInMemory>(std::move(result));
        } catch (const Refusal&) {
            return nullptr;
        }
    }

    /// Keeps a change of a table for later; false when it must be sent now.
    bool Keep(const std::string& sql) {
        auto clause = site_.empty() ? std::nullopt : ReadClause(sql);
        if (!clause || clause->table.database != site_) {
            return false;
        }
        const bool joins =
            waiting_.empty() ||
            (kind_ == clause->kind && table_ == clause->table &&
             std::none_of(clause->touches.begin(), clause->touches.end(),
                          [&](const std::string& name) { return touched_.contains(name); }));
        if (!joins) {
            Flush();
        }
        try {
            Layout().Run(sql);
        } catch (const Refusal&) {
            return false;
        }
        kind_ = clause->kind;
        table_ = clause->table;
        touched_.merge(clause->touches);
        waiting_.push_back({sql, std::move(clause->text), step_});
        return true;
    }

    /// Sends a statement of the component, and before it what must not come after it.
    template <typename Call>
    auto Send(const std::string& sql, const Call& call) {
        if (site_.empty()) {
            return call();
        }
        const StatementNames names = NamesIn(sql);
        const bool reads =
            names.kind == StatementKind::kRead || names.kind == StatementKind::kInspect;
        const bool joins = !reads && MayJoin(sql, names);
        if (!reads || MayReadWhatWaits(names)) {
            Flush();
        }
        if (joins) {
            Begin();
        } else if (!reads) {
            Commit();
        }
        try {
            return Followed(names, sql, joins, call);
        } catch (const HostError& error) {
            if (began_ && error.Code() == kDeadlock) {
                TransactionIsGone();
            }
            throw;
        }
    }

  private:
    struct Waiting {
        std::string sql;   ///< as the component has sent it
        std::string text;  ///< its clause
        std::optional<LadderStep> step;
    };

    Catalogue& Layout() {
        if (!layout_) {
            layout_ = options_.readLayout(site_);
        }
        return *layout_;
    }

    bool MayReadWhatWaits(const StatementNames& names) {
        return !waiting_.empty() &&
               (names.tables.empty() ||
                std::any_of(names.tables.begin(), names.tables.end(), [&](const TableName& name) {
                    const auto* table = Layout().Find(name.database, name.table);
                    return name == table_ || (table != nullptr && table->isView);
                }));
    }

    /// Whether a statement may share a transaction: on rows of tables of the site that know them,
    /// or an UPDATE of one table of another database, the central one. A statement that only reads
    /// there would lock what other sites need.
    bool MayJoin(const std::string& sql, const StatementNames& names) {
        const bool isOnRows =
            (names.kind == StatementKind::kInsert || names.kind == StatementKind::kUpdate ||
             names.kind == StatementKind::kDelete) &&
            !Tokenize(sql).front().Is("TRUNCATE");
        const bool isElsewhere = names.kind == StatementKind::kUpdate && names.tables.size() == 1;
        return isOnRows && !names.tables.empty() &&
               std::all_of(names.tables.begin(), names.tables.end(), [&](const TableName& name) {
                   const bool isOfSite = name.database == site_;
                   if (!isOfSite && !isElsewhere) {
                       return false;
                   }
                   const Catalogue& layout = isOfSite ? Layout() : OtherLayout(name.database);
                   const auto* table = layout.Find(name.database, name.table);
                   return table != nullptr && !table->isView && table->engine == "InnoDB";
               });
    }
    const Catalogue& OtherLayout(const std::string& database) {
        const auto found = otherLayouts_.find(database);
        return found != otherLayouts_.end()
                   ? found->second
                   : otherLayouts_.emplace(database, options_.readLayout(database)).first->second;
    }

    template <typename Call>
    auto Followed(const StatementNames& names, const std::string& sql, bool joins,
                  const Call& call) {
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            Follow(names, sql, joins);
        } else {
            auto result = call();
            Follow(names, sql, joins);
            return result;
        }
    }

    /// What has succeeded on the server.
    void Follow(const StatementNames& names, const std::string& sql, bool joins) {
        if (joins) {
            if (++rowStatements_ >= kMostRowStatements ||
                Clock::now() - *began_ >= kLongestTransaction) {
                Commit();
            }
            return;
        }
        const bool isOnRows =
            names.kind == StatementKind::kRead || names.kind == StatementKind::kInspect ||
            names.kind == StatementKind::kInsert || names.kind == StatementKind::kUpdate ||
            names.kind == StatementKind::kDelete;
        if (isOnRows || !layout_ ||
            (!names.target.database.empty() && names.target.database != site_)) {
            return;
        }
        try {
            layout_->Run(sql);
        } catch (const Refusal&) {
            layout_.reset();  // it is read again
        }
    }

    void Begin() {
        if (!began_) {
            Execute("START TRANSACTION;");
            began_ = Clock::now();
            rowStatements_ = 0;
        }
    }
    void Commit() {
        if (!began_) {
            return;
        }
        try {
            Execute("COMMIT;");
        } catch (...) {
            Rollback();
            throw;
        }
        began_.reset();
    }
    /// After a COMMIT that failed: whatever the server has made of it, nothing stays open.
    void Rollback() {
        TransactionIsGone();
        try {
            Execute("ROLLBACK;");
        } catch (const HostError&) {
            // The server takes back what it still has.
        }
    }
    /// With it goes what waits: that comes after the rows of the transaction.
    void TransactionIsGone() {
        began_.reset();
        waiting_.clear();
        touched_.clear();
        layout_.reset();
    }

    /// Sends the changes of the table that waits. Rows of a transaction were written before them.
    void Flush() {
        if (waiting_.empty()) {
            return;
        }
        Commit();
        const auto waiting = std::exchange(waiting_, {});
        touched_.clear();
        if (waiting.size() > 1) {
            std::string merged = "ALTER TABLE " + table_.database + "." + table_.table;
            for (const Waiting& one : waiting) {
                merged += (&one == &waiting.front() ? " " : ", ") + one.text;
            }
            try {
                Execute(merged + ";");
                return;
            } catch (const HostError& error) {
                if (!IsRefusal(error.Code())) {
                    throw LateError(error, waiting.front().sql, waiting.front().step);
                }
            }
        }
        for (const Waiting& one : waiting) {
            try {
                Execute(one.sql);
            } catch (const HostError& error) {
                throw LateError(error, one.sql, one.step);
            }
        }
    }

    void Execute(const std::string& sql) {
        std::int64_t ignored = 0;
        inner_->GetDatabase()->Execute(sql, ignored);
    }

    template <typename Call>
    void Between(const Call& call) {
        if (!waiting_.empty() || began_) {
            TimedCall(Listener(), {.operation = Operation::kBatch}, call);
        }
    }

    const std::shared_ptr<Utility> inner_;
    const BatchingOptions options_;
    std::string site_;  ///< the database whose ladder runs; empty for none
    std::optional<LadderStep> step_;
    std::optional<Catalogue> layout_;  ///< of the site, with what waits; read when it is needed
    std::map<std::string, Catalogue>
        otherLayouts_;  ///< likewise of other databases, for many sites

    std::vector<Waiting> waiting_;
    Clause::Kind kind_ = Clause::Kind::kAddColumn;  ///< of all that waits
    TableName table_;                               ///< likewise
    std::set<std::string> touched_;                 ///< as Clause::touches

    std::optional<Clock::time_point> began_;  ///< the open transaction
    std::size_t rowStatements_ = 0;           ///< in it
};

namespace {

using Batch = BatchingUtility::Batch;

class BatchingDatabase : public Database {
  public:
    explicit BatchingDatabase(std::shared_ptr<Batch> batch) : batch_(std::move(batch)) {}

    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t option1,
                                             std::int32_t option2) override {
        return TimedCall(batch_->Listener(), {.operation = Operation::kQuery, .sql = sql},
                         [&]() -> std::shared_ptr<Recordset> {
                             if (auto rows = batch_->Answer(sql)) {
                                 return std::make_shared<BufferedRecordset>(std::move(rows), sql);
                             }
                             return batch_->Send(sql, [&] {
                                 return Inner()->OpenRecordset(sql, option1, option2);
                             });
                         });
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        rowsAffected = 0;
        TimedCall(batch_->Listener(), {.operation = Operation::kExecute, .sql = sql}, [&] {
            if (!batch_->Keep(sql)) {
                batch_->Send(sql, [&] { Inner()->Execute(sql, rowsAffected); });
            }
        });
    }
    void GetLastInsertId(std::int32_t& id) override { Inner()->GetLastInsertId(id); }
    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        return TimedCall(batch_->Listener(), {.operation = Operation::kReader, .sql = sql},
                         [&]() -> std::shared_ptr<Reader> {
                             if (auto rows = batch_->Answer(sql)) {
                                 return std::make_shared<BufferedReader>(std::move(rows), sql);
                             }
                             return batch_->Send(sql, [&] { return Inner()->OpenReader(sql); });
                         });
    }

  private:
    std::shared_ptr<Database> Inner() const { return batch_->Inner().GetDatabase(); }

    std::shared_ptr<Batch> batch_;
};

class BatchingCommand : public Command {
  public:
    explicit BatchingCommand(std::shared_ptr<Batch> batch)
        : batch_(std::move(batch)), inner_(batch_->Inner().GetCommandFactory()->NewCommand()) {}

    void CloseCommand() override { inner_->CloseCommand(); }
    void AddParameter(const Value& value) override {
        parameters_.push_back(value);
        inner_->AddParameter(value);
    }
    void SetText(const std::string& sql) override {
        sql_ = sql;
        inner_->SetText(sql);
    }
    std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& /*database*/) override {
        return TimedCall(batch_->Listener(), Event(), [&] {
            return batch_->Send(
                sql_, [&] { return inner_->OpenCommandRecordset(batch_->Inner().GetDatabase()); });
        });
    }
    void ExecuteCommand(const std::shared_ptr<Database>& /*database*/,
                        std::int64_t& rowsAffected) override {
        TimedCall(batch_->Listener(), Event(), [&] {
            batch_->Send(
                sql_, [&] { inner_->ExecuteCommand(batch_->Inner().GetDatabase(), rowsAffected); });
        });
    }

  private:
    StatementEvent Event() const {
        return {.operation = Operation::kCommand, .sql = sql_, .params = parameters_};
    }

    std::shared_ptr<Batch> batch_;
    std::shared_ptr<Command> inner_;
    std::vector<Value> parameters_;
    std::string sql_;
};

class BatchingCommandFactory : public CommandFactory {
  public:
    explicit BatchingCommandFactory(std::shared_ptr<Batch> batch) : batch_(std::move(batch)) {}
    std::shared_ptr<Command> NewCommand() override {
        return std::make_shared<BatchingCommand>(batch_);
    }

  private:
    std::shared_ptr<Batch> batch_;
};

/// A service finds on the server all that the component has sent before it.
class BatchingServices : public ComponentHost,
                         public Application,
                         public std::enable_shared_from_this<BatchingServices> {
  public:
    explicit BatchingServices(std::shared_ptr<Batch> batch) : batch_(std::move(batch)) {}

    std::shared_ptr<ComponentList> GetComponentList() override {
        return Inner()->GetComponentList();
    }
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Call("UpgradeSiteComponent", siteId, component->GetComponentId(),
             [&] { Inner()->UpgradeSiteComponent(siteId, component); });
    }
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Call("RefreshSiteComponent", siteId, component->GetComponentId(),
             [&] { Inner()->RefreshSiteComponent(siteId, component); });
    }
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override {
        Call("InitialiseSiteComponent", siteId, component->GetComponentId(),
             [&] { Inner()->InitialiseSiteComponent(siteId, component); });
    }
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override {
        Call("ResetSiteComponent", siteId, componentId,
             [&] { Inner()->ResetSiteComponent(siteId, componentId); });
    }
    std::shared_ptr<Application> GetApplication() override { return shared_from_this(); }
    void Refresh() override {
        TimedCall(batch_->Listener(), {.operation = Operation::kRefresh}, [&] {
            batch_->SettleForService();
            Inner()->GetApplication()->Refresh();
        });
    }

  private:
    std::shared_ptr<ComponentHost> Inner() const { return batch_->Inner().GetComponentHost(); }

    template <typename Service>
    void Call(std::string_view name, std::int32_t siteId, std::int32_t componentId,
              const Service& service) {
        TimedCall(batch_->Listener(),
                  {.operation = Operation::kService,
                   .service = name,
                   .siteId = siteId,
                   .componentId = componentId},
                  [&] {
                      batch_->SettleForService();
                      service();
                  });
    }

    std::shared_ptr<Batch> batch_;
};

/// Tells the inner host's observer, if it has one, what it can rely on.
class BatchingObserver : public twupdate::Observer {
  public:
    explicit BatchingObserver(std::shared_ptr<Batch> batch) : batch_(std::move(batch)) {}

    void LadderStarting(Ladder ladder, const std::string& database, double version) override {
        Tell([&](Observer& inner) { inner.LadderStarting(ladder, database, version); });
        batch_->BeginLadder(ladder, database);
    }
    void LadderEnded(Ladder ladder, const std::string& database) override {
        batch_->EndLadder();
        Tell([&](Observer& inner) { inner.LadderEnded(ladder, database); });
    }
    void StepStarting(const LadderStep& step, const std::string& database) override {
        batch_->BeginStep(step);
        Tell([&](Observer& inner) { inner.StepStarting(step, database); });
    }
    void StepEnded(const LadderStep& step, const std::string& database) override {
        batch_->EndStep(step);
        Tell([&](Observer& inner) { inner.StepEnded(step, database); });
    }
    void SiteWalkStarting() override {
        Tell([](Observer& inner) { inner.SiteWalkStarting(); });
    }
    void SiteStarting(std::int32_t siteId, double version) override {
        batch_->BeginSite();
        Tell([&](Observer& inner) { inner.SiteStarting(siteId, version); });
    }
    void SiteEnded(std::int32_t siteId) override {
        Tell([&](Observer& inner) { inner.SiteEnded(siteId); });
    }
    void FileCopied(const std::filesystem::path& source,
                    const std::filesystem::path& destination) override {
        Tell([&](Observer& inner) { inner.FileCopied(source, destination); });
    }

  private:
    template <typename Call>
    void Tell(const Call& call) const {
        if (const auto inner = batch_->Inner().GetObserver()) {
            call(*inner);
        }
    }

    std::shared_ptr<Batch> batch_;
};

}  // namespace

BatchingUtility::BatchingUtility(std::shared_ptr<Utility> inner, BatchingOptions options)
    : inner_(std::move(inner)),
      batch_(std::make_shared<Batch>(inner_, std::move(options))),
      database_(std::make_shared<BatchingDatabase>(batch_)),
      services_(std::make_shared<BatchingServices>(batch_)),
      commands_(std::make_shared<BatchingCommandFactory>(batch_)),
      observer_(std::make_shared<BatchingObserver>(batch_)) {}

BatchingUtility::~BatchingUtility() = default;

void BatchingUtility::Run(const std::function<void()>& operation) {
    try {
        operation();
        batch_->Settle();
    } catch (...) {
        try {
            batch_->Settle();
        } catch (const LateError& error) {
            batch_->Forget();
            if (IsRefusal(error.Code())) {
                throw;
            }
        } catch (const HostError&) {
            // The server takes the open transaction back, as if the end had come before it.
        }
        batch_->Forget();
        throw;
    }
}

std::shared_ptr<Database> BatchingUtility::GetDatabase() {
    return database_;
}

std::shared_ptr<ComponentHost> BatchingUtility::GetComponentHost() {
    return services_;
}

std::shared_ptr<CommandFactory> BatchingUtility::GetCommandFactory() {
    return commands_;
}

std::filesystem::path BatchingUtility::InstallFolder() {
    return inner_->InstallFolder();
}

std::shared_ptr<twupdate::Observer> BatchingUtility::GetObserver() {
    return observer_;
}

std::string BatchingUtility::LocalHostName() {
    return inner_->LocalHostName();
}

}  // namespace twupdate::host
