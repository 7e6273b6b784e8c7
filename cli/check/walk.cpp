#include "cli/check/walk.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>

#include "cli/server/queries.h"
#include "cli/terminal/counted_progress.h"
#include "cli/terminal/text.h"
#include "twupdate/update.h"

namespace twupdate::cli {
namespace {

constexpr const char* kCentral = "tw_tarnwick";

/// Everything that decides which statements a site's ladders send, but for its rows.
std::string LayoutText(const host::Catalogue& stored, const std::string& database) {
    std::string text;
    const auto found = stored.Databases().find(database);
    if (found == stored.Databases().end()) {
        return text;
    }
    text = found->second.charset;
    for (const auto& [name, table] : found->second.tables) {
        text += fmt::format("\n{} {} {} {}", name, table->engine, table->rowFormat, table->charset);
        for (const auto& column : table->columns) {
            text += fmt::format("\n {} {} {} {} {} {}", column.name, column.type, column.nullable,
                                column.defaultText.value_or("\n"), column.autoIncrement,
                                column.charset);
        }
        for (const auto& index : table->indexes) {
            text += fmt::format("\n {} {} {}", index.name, index.unique, index.PartsText());
        }
    }
    return text;
}

/// The fields of its forms, of which each is a column of the form's table.
std::string FieldsOfForms(const Session& session, const std::string& database) {
    const auto fields = FirstColumn(
        *session.GetConnection(),
        fmt::format("SELECT CONCAT(COUNT(*), ' ', COALESCE(SUM(CRC32(CONCAT_WS(' ', featureid, "
                    "formfieldid, type))), 0)) FROM {}.formfield;",
                    database));
    return fields.empty() ? std::string() : fields.front();
}

/// Of the sites that are like each other the one with most rows shows most.
std::map<std::string, std::uint64_t> RowsByDatabase(const Session& session) {
    std::map<std::string, std::uint64_t> counts;
    const auto rows = session.GetConnection()->Query(
        "SELECT database_name, SUM(n_rows) FROM mysql.innodb_table_stats WHERE database_name LIKE "
        "'tw\\_%' GROUP BY database_name;");
    while (rows->Next()) {
        counts[rows->Get(0).ToText()] = std::stoull(rows->Get(1).ToText());
    }
    return counts;
}

/// The sites in groups of those that are like each other; the first of a group is walked.
std::vector<std::vector<PendingSite>> Groups(const JobSessions& sessions, const WalkScope& scope,
                                             const host::Catalogue& stored) {
    std::vector<std::string> kinds(scope.sites.size());
    const auto findKind = [&](unsigned job, std::size_t place) {
        const PendingSite& site = scope.sites[place];
        const std::string database = site.Database();
        const bool hasForms = stored.Find(database, "formfield") != nullptr;
        kinds[place] = fmt::format("{} {}\n{}", site.version,
                                   hasForms ? FieldsOfForms(sessions.Of(job), database) : "",
                                   LayoutText(stored, database));
    };
    InParallel(sessions.Count(), kinds.size(), {findKind, {}, {}});
    std::map<std::string, std::size_t> groupOf;
    std::vector<std::vector<PendingSite>> groups;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const auto [group, isNew] = groupOf.emplace(kinds[i], groups.size());
        if (isNew) {
            groups.emplace_back();
        }
        groups[group->second].push_back(scope.sites[i]);
    }
    if (groups.size() < scope.sites.size()) {
        std::map<std::string, std::uint64_t> rows;
        try {
            rows = RowsByDatabase(sessions.Of(0));
        } catch (const HostError&) {
            return groups;  // whoever may not see it takes the first of each
        }
        for (auto& group : groups) {
            std::iter_swap(group.begin(),
                           std::max_element(group.begin(), group.end(),
                                            [&](const PendingSite& a, const PendingSite& b) {
                                                return rows[a.Database()] < rows[b.Database()];
                                            }));
        }
    }
    return groups;
}

/// The table that the walk has read or written last; of several the one with the column that a
/// message names.
host::TableName LastTable(const std::vector<DryStatement>& record, const host::Catalogue& stored,
                          const std::string& message) {
    const auto last = std::find_if(record.rbegin(), record.rend(), [](const auto& statement) {
        return !statement.tables.empty() && statement.kind != StatementKind::kInspect;
    });
    if (last == record.rend()) {
        return {};
    }
    constexpr std::string_view kColumn = "column ";
    const auto begin = message.find(kColumn);
    const std::string column =
        begin == std::string::npos
            ? ""
            : message.substr(begin + kColumn.size(),
                             message.find(':', begin) - begin - kColumn.size());
    const auto table =
        std::find_if(last->tables.begin(), last->tables.end(), [&](const host::TableName& name) {
            const auto* found = stored.Find(name.database, name.table);
            return found != nullptr && found->Find(column) != nullptr;
        });
    return table == last->tables.end() ? last->tables.front() : *table;
}

/// A catalogue of some databases alone.
host::Catalogue Only(const host::Catalogue& whole, const std::vector<std::string>& databases) {
    host::Catalogue only;
    only.defaults = whole.defaults;
    for (const std::string& name : databases) {
        const auto found = whole.Databases().find(name);
        if (found != whole.Databases().end()) {
            only.AddDatabase(name, found->second);
        }
    }
    return only;
}

/// Runs an operation of the component on the dry host.
/// @param stored  as the server has it
/// @param layout  as the walk finds it; receives how it leaves it
template <typename Operation>
Walk WalkOne(const Session& session, const WalkScope& scope, const host::Catalogue& stored,
             host::Catalogue& layout, const std::string& database, const Operation& operation) {
    host::DryHostOptions options;
    options.resources = scope.installFolder / "resources";
    options.localHostName = scope.localHostName;
    options.stored = stored;
    const auto dryHost =
        std::make_shared<host::DryHost>(session.GetConnection(), std::move(layout), options);
    Walk walk{database, {database}, {}, {}};
    Update update;
    update.Configure(dryHost);
    try {
        operation(update);
    } catch (const std::exception& error) {
        const LadderStep* step = dryHost->CurrentStep();
        const auto* hostError = dynamic_cast<const HostError*>(&error);
        std::string text =
            hostError == nullptr
                ? error.what()
                : DescribeError("", hostError->Code(), hostError->SqlState(), error.what());
        const std::string folder = dryHost->InstallFolder().string();
        if (const auto at = text.find(folder); at != std::string::npos) {
            text.replace(at, folder.size(), scope.installFolder.string());
        }
        walk.failure = Walk::Failure{step == nullptr ? "" : std::string(step->name),
                                     LastTable(dryHost->Record(), stored, text),
                                     hostError == nullptr ? 0 : hostError->Code(), text};
    }
    walk.record = dryHost->Record();
    layout = dryHost->Layout();
    return walk;
}

bool IsWordCharacter(char c) {
    return c == '_' || std::isalnum(static_cast<unsigned char>(c)) != 0;
}

}  // namespace

std::string StepOf(const DryStatement& statement) {
    return statement.step == nullptr ? "" : std::string(statement.step->name);
}

bool Writes(const DryStatement& statement) {
    return statement.kind != StatementKind::kRead && statement.kind != StatementKind::kInspect &&
           statement.kind != StatementKind::kService;
}

std::string WithDatabase(std::string text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at)) {
        const std::size_t end = at + from.size();
        if ((at > 0 && IsWordCharacter(text[at - 1])) ||
            (end < text.size() && IsWordCharacter(text[end]))) {
            at = end;
            continue;
        }
        text.replace(at, from.size(), to);
        at += to.size();
    }
    return text;
}

void Walk::TellOf(const std::string& other, const CheckFinding& finding,
                  std::vector<CheckFinding>& findings) const {
    AddOnce({WithDatabase(finding.database, database, other), finding.table, finding.step,
             WithDatabase(finding.problem, database, other),
             WithDatabase(finding.fix, database, other)},
            findings);
}

void Walk::Tell(const CheckFinding& finding, std::vector<CheckFinding>& findings) const {
    for (const std::string& other : databases) {
        TellOf(other, finding, findings);
    }
}

host::Catalogue ReadLayouts(const Session& session, const WalkScope& scope) {
    std::vector<std::string> databases{kCentral};
    databases.insert(databases.end(), scope.otherDatabases.begin(), scope.otherDatabases.end());
    for (const PendingSite& site : scope.sites) {
        databases.push_back(site.Database());
    }
    return host::ReadCatalogue(*session.GetConnection(), databases);
}

std::vector<Walk> WalkLadders(const JobSessions& sessions, const WalkScope& scope,
                              const host::Catalogue& stored, Console& console) {
    std::vector<Walk> walks;
    host::Catalogue central;  // as the sites find it
    if (scope.centralVersion) {
        central = stored;
        walks.push_back(
            WalkOne(sessions.Of(0), scope, stored, central, kCentral,
                    [&](Update& update) { update.UpdateServer(*scope.centralVersion); }));
        central = Only(central, {kCentral});
    } else {
        central = Only(stored, {kCentral});
    }
    const auto groups = Groups(sessions, scope, stored);
    std::vector<Walk> ofSites(groups.size());
    CountedProgress progress(console, "layout", groups.size());
    const auto walkGroup = [&](unsigned job, std::size_t place) {
        const auto& group = groups[place];
        const PendingSite& site = group.front();
        const std::string database = site.Database();
        progress.Next(database);
        host::Catalogue layout = central;
        if (const auto own = stored.Databases().find(database); own != stored.Databases().end()) {
            layout.AddDatabase(database, own->second);
        }
        ofSites[place] =
            WalkOne(sessions.Of(job), scope, Only(stored, {kCentral, database}), layout, database,
                    [&](Update& update) { update.UpdateSite(site.siteId, site.version); });
        for (std::size_t i = 1; i < group.size(); ++i) {
            ofSites[place].databases.push_back(group[i].Database());
        }
    };
    InParallel(sessions.Count(), groups.size(), {walkGroup, {}, {}});
    std::move(ofSites.begin(), ofSites.end(), std::back_inserter(walks));
    return walks;
}

}  // namespace twupdate::cli
