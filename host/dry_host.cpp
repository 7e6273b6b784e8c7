#include "twupdate_host/dry_host.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "buffered_rows.h"
#include "sql_tokens.h"
#include "twupdate_host/component_services.h"

namespace twupdate::host {
namespace {

namespace fs = std::filesystem;

// How many rows are fetched of one read; few where a row may be long.
constexpr std::size_t kMostRows = 5000;
constexpr std::size_t kMostLongRows = 20;

/// A statement with a LIMIT of its own keeps it.
std::string Limited(const std::string& sql, std::size_t rows) {
    int depth = 0;
    for (const SqlToken& token : Tokenize(sql)) {
        depth += token.Is("(") ? 1 : token.Is(")") ? -1 : 0;
        if (depth == 0 && token.Is("LIMIT")) {
            return sql;
        }
    }
    const auto end = sql.find_last_not_of("; \n");
    return sql.substr(0, end + 1) + " LIMIT " + std::to_string(rows) + ";";
}

fs::path MakeFolder(const fs::path& resources) {
    std::string folder = (fs::temp_directory_path() / "twupdate-dry-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        throw FileError("cannot create a folder in " + fs::temp_directory_path().string() + ": " +
                        std::generic_category().message(errno));
    }
    fs::create_directory(fs::path(folder) / "update");
    if (!resources.empty()) {
        fs::create_directory_symlink(fs::absolute(resources),
                                     fs::path(folder) / "update" / "resources");
    }
    return folder;
}

}  // namespace

/// What one walk over the ladders knows; shared by the objects that the host hands out.
class DryHost::Walk : public twupdate::Observer, public std::enable_shared_from_this<Walk> {
  public:
    Walk(std::shared_ptr<Connection> reads, Catalogue layout, const DryHostOptions& options)
        : reads_(std::move(reads)),
          stored_(options.stored.value_or(layout)),
          layout_(std::move(layout)),
          options_(options),
          services_(reads_ ? ComponentServices::Make(
                                 {.componentData = options.resources / "componentData.txt"}, reads_,
                                 nullptr)
                           : nullptr) {}

    void LadderStarting(Ladder /*ladder*/, const std::string& database,
                        double /*version*/) override {
        database_ = database;
    }
    void LadderEnded(Ladder /*ladder*/, const std::string& /*database*/) override {
        database_.clear();
    }
    void StepStarting(const LadderStep& step, const std::string& /*database*/) override {
        step_ = &step;
        ForgetShapes();
    }
    void StepEnded(const LadderStep& /*step*/, const std::string& /*database*/) override {
        step_ = nullptr;
        ForgetShapes();
    }
    void SiteWalkStarting() override { reads_.reset(); }  // whoever runs the walk names the sites

    std::unique_ptr<Rows> Run(const std::string& sql, std::span<const Value> parameters = {}) {
        const StatementNames names = NamesIn(sql);
        DryStatement statement{.kind = names.kind,
                               .step = step_,
                               .database = database_,
                               .sql = sql,
                               .target = names.target,
                               .tables = names.tables,
                               .columns = names.columns,
                               .before = layout_.Share(names.target)};
        ResultSet result;
        try {
            result = layout_.Run(sql, &statement.refusal);
        } catch (const Refusal& notFollowed) {
            statement.refusal = notFollowed;
        }
        statement.after = layout_.Share(names.target);
        const bool refused = statement.refusal.has_value();
        if (refused && options_.refuses) {
            const Refusal refusal = *statement.refusal;
            Note(std::move(statement));
            throw HostError(sql, refusal.code, refusal.sqlState, refusal.text);
        }
        const bool isNew = Note(std::move(statement));
        if (names.kind == StatementKind::kRead && !refused) {
            return Read(sql, parameters, names, isNew);
        }
        return std::make_unique<RowsInMemory>(std::move(result));
    }

    /// A service call, or a statement.
    bool Note(DryStatement statement) {
        const auto [place, isNew] = shapes_.try_emplace(ShapeOf(statement.sql), record.size());
        if (isNew) {
            sinceNew_ = 0;
            record.push_back(std::move(statement));
        } else {
            ++record[place->second].times;
        }
        return isNew;
    }
    void NoteService(const std::string& call) {
        Note({.kind = StatementKind::kService, .step = step_, .database = database_, .sql = call});
    }

    bool IsPatient() { return sinceNew_++ < options_.patience; }
    std::int32_t NextId() {
        const auto insert = std::find_if(record.rbegin(), record.rend(), [](const auto& statement) {
            return statement.kind == StatementKind::kInsert;
        });
        if (insert != record.rend()) {
            insert->idIsRead = true;
        }
        return ++lastId_;
    }
    const Catalogue& Layout() const { return layout_; }
    const LadderStep* CurrentStep() const { return step_; }
    /// The real list of components; null without a server.
    std::shared_ptr<ComponentList> Components() const {
        return services_ ? services_->GetComponentList() : nullptr;
    }
    const DryHostOptions& Options() const { return options_; }

    std::vector<DryStatement> record;

  private:
    /// Rows of the server, as long as they lead to statements that are new.
    class BoundedRows : public Rows {
      public:
        BoundedRows(std::shared_ptr<Walk> walk, std::unique_ptr<Rows> rows)
            : walk_(std::move(walk)), rows_(std::move(rows)) {}
        std::size_t ColumnCount() const override { return rows_->ColumnCount(); }
        std::optional<std::size_t> Find(std::string_view column) const override {
            return rows_->Find(column);
        }
        bool Next() override { return walk_->IsPatient() && rows_->Next(); }
        Value Get(std::size_t column) const override { return rows_->Get(column); }

      private:
        std::shared_ptr<Walk> walk_;
        std::unique_ptr<Rows> rows_;
    };

    void ForgetShapes() {
        shapes_.clear();
        sinceNew_ = 0;
    }

    std::unique_ptr<Rows> Read(const std::string& sql, std::span<const Value> parameters,
                               const StatementNames& names, bool isNew) {
        if (!reads_ || stored_.Missing(names) || !(isNew || IsPatient())) {
            return std::make_unique<RowsInMemory>(ResultSet{});
        }
        const std::string limited = Limited(sql, HasLongRows(names) ? kMostLongRows : kMostRows);
        return std::make_unique<BoundedRows>(
            shared_from_this(), parameters.empty() ? reads_->Query(limited)
                                                   : reads_->QueryPrepared(limited, parameters));
    }

    bool HasLongRows(const StatementNames& names) const {
        if (names.uses.empty()) {
            return true;  // SELECT *
        }
        return std::any_of(names.uses.begin(), names.uses.end(), [&](const auto& use) {
            return std::any_of(names.tables.begin(), names.tables.end(), [&](const auto& name) {
                const auto* column = stored_.Find(name.database, name.table)->Find(use.column);
                return column != nullptr &&
                       (column->type.ends_with("text") || column->type.ends_with("blob"));
            });
        });
    }

    std::shared_ptr<Connection> reads_;
    const Catalogue stored_;  ///< as the server has it
    Catalogue layout_;        ///< as the statements have left it
    const DryHostOptions options_;
    const std::shared_ptr<ComponentServices> services_;
    const LadderStep* step_ = nullptr;
    std::string database_;
    std::map<std::string, std::size_t> shapes_;  ///< of the step so far; where in the record
    std::size_t sinceNew_ = 0;                   ///< rows and reads since the last new statement
    std::int32_t lastId_ = 2'000'000'000;        ///< made up, and above what tables hold
};

namespace {

class DryComponent : public Component {
  public:
    explicit DryComponent(std::int32_t id) : id_(id) {}
    std::int32_t GetComponentId() const override { return id_; }
    std::string GetComponentName() const override { return "component " + std::to_string(id_); }
    std::string GetFolderName() const override { return std::to_string(id_); }

  private:
    std::int32_t id_;
};

template <typename Walk>
class DryDatabase : public Database {
  public:
    explicit DryDatabase(std::shared_ptr<Walk> walk) : walk_(std::move(walk)) {}
    std::shared_ptr<Recordset> OpenRecordset(const std::string& sql, std::int32_t /*option1*/,
                                             std::int32_t /*option2*/) override {
        return std::make_shared<BufferedRecordset>(walk_->Run(sql), sql);
    }
    void Execute(const std::string& sql, std::int64_t& rowsAffected) override {
        rowsAffected = -1;
        walk_->Run(sql);
    }
    void GetLastInsertId(std::int32_t& id) override { id = walk_->NextId(); }
    std::shared_ptr<Reader> OpenReader(const std::string& sql) override {
        return std::make_shared<BufferedReader>(walk_->Run(sql), sql);
    }

  private:
    std::shared_ptr<Walk> walk_;
};

template <typename Walk>
class DryCommand : public Command, public CommandFactory {
  public:
    explicit DryCommand(std::shared_ptr<Walk> walk) : walk_(std::move(walk)) {}
    std::shared_ptr<Command> NewCommand() override { return std::make_shared<DryCommand>(walk_); }
    void CloseCommand() override { parameters_.clear(); }
    void AddParameter(const Value& value) override { parameters_.push_back(value); }
    void SetText(const std::string& sql) override { sql_ = sql; }
    std::shared_ptr<Recordset> OpenCommandRecordset(
        const std::shared_ptr<Database>& /*database*/) override {
        return std::make_shared<BufferedRecordset>(walk_->Run(sql_, parameters_), sql_);
    }
    void ExecuteCommand(const std::shared_ptr<Database>& /*database*/,
                        std::int64_t& rowsAffected) override {
        rowsAffected = -1;
        walk_->Run(sql_, parameters_);
    }

  private:
    std::shared_ptr<Walk> walk_;
    std::vector<Value> parameters_;
    std::string sql_;
};

template <typename Walk>
class DryServices : public ComponentHost,
                    public ComponentList,
                    public Application,
                    public std::enable_shared_from_this<DryServices<Walk>> {
  public:
    explicit DryServices(std::shared_ptr<Walk> walk) : walk_(std::move(walk)) {}
    std::shared_ptr<ComponentList> GetComponentList() override {
        const auto components = walk_->Components();
        return components ? components : this->shared_from_this();
    }
    std::shared_ptr<Component> Item(std::int32_t componentId) override {
        return std::make_shared<DryComponent>(componentId);
    }
    void UpgradeSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Note("UpgradeSiteComponent", siteId, component->GetComponentId());
    }
    void RefreshSiteComponent(std::int32_t siteId,
                              const std::shared_ptr<Component>& component) override {
        Note("RefreshSiteComponent", siteId, component->GetComponentId());
    }
    void InitialiseSiteComponent(std::int32_t siteId,
                                 const std::shared_ptr<Component>& component) override {
        Note("InitialiseSiteComponent", siteId, component->GetComponentId());
    }
    void ResetSiteComponent(std::int32_t siteId, std::int32_t componentId) override {
        Note("ResetSiteComponent", siteId, componentId);
    }
    std::shared_ptr<Application> GetApplication() override { return this->shared_from_this(); }
    void Refresh() override { walk_->NoteService("Refresh"); }

  private:
    void Note(const char* service, std::int32_t siteId, std::int32_t componentId) {
        walk_->NoteService(std::string(service) + " " + std::to_string(siteId) + " " +
                           std::to_string(componentId));
    }
    std::shared_ptr<Walk> walk_;
};

}  // namespace

DryHost::DryHost(std::shared_ptr<Connection> reads, Catalogue layout, DryHostOptions options)
    : walk_(std::make_shared<Walk>(std::move(reads), std::move(layout), options)),
      folder_(MakeFolder(options.resources)) {}

DryHost::~DryHost() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);  // the link, not what it leads to
}

const std::vector<DryStatement>& DryHost::Record() const {
    return walk_->record;
}

const LadderStep* DryHost::CurrentStep() const {
    return walk_->CurrentStep();
}

const Catalogue& DryHost::Layout() const {
    return walk_->Layout();
}

std::shared_ptr<Database> DryHost::GetDatabase() {
    return std::make_shared<DryDatabase<Walk>>(walk_);
}

std::shared_ptr<ComponentHost> DryHost::GetComponentHost() {
    return std::make_shared<DryServices<Walk>>(walk_);
}

std::shared_ptr<CommandFactory> DryHost::GetCommandFactory() {
    return std::make_shared<DryCommand<Walk>>(walk_);
}

std::filesystem::path DryHost::InstallFolder() {
    return folder_ / "update";
}

std::shared_ptr<twupdate::Observer> DryHost::GetObserver() {
    return walk_;
}

std::string DryHost::LocalHostName() {
    return walk_->Options().localHostName.value_or(Utility::LocalHostName());
}

}  // namespace twupdate::host
