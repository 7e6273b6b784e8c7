#include "cli/backup/backup.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <utility>

#include "cli/server/grants.h"
#include "cli/server/replace_file.h"
#include "cli/server/root_site.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {

namespace fs = std::filesystem;

namespace {

constexpr const char* kInstallation = "tw_tarnwick.installation";

/// Counts something for as long as it lives.
class UnderWay {
  public:
    explicit UnderWay(std::atomic<unsigned>& number) : number_(number) { ++number_; }
    ~UnderWay() { --number_; }
    UnderWay(const UnderWay&) = delete;
    UnderWay& operator=(const UnderWay&) = delete;

  private:
    std::atomic<unsigned>& number_;
};

}  // namespace

Backup::Backup(const Session& session, const GlobalOptions& options, const RunStart& start,
               std::shared_ptr<Progress> progress, Console& console)
    : connection_(session.Connect()),
      own_(std::make_shared<host::MariaDbUtility>(connection_)),
      installation_(own_),
      client_(session, options),
      parent_(options.backup),
      keep_(options.keep),
      progress_(std::move(progress)),
      console_(console) {
    std::error_code error;
    const bool isNew = fs::create_directories(parent_, error);
    if (error) {
        throw CommandError(fmt::format("cannot create the backup folder {}: {}", parent_.string(),
                                       error.message()));
    }
    if (isNew) {
        fs::permissions(parent_, fs::perms::owner_all, error);  // it holds what the sites hold
    }
    if (auto resumed = ResumedRun(start)) {
        run_ = std::move(*resumed);
        console_.Say(fmt::format("Backup: {}, of the unfinished run that began {}",
                                 run_.folder.string(), UtcText(run_.began)));
    } else {
        run_ = MakeBackupRun(parent_, start, *own_);
        console_.Say(fmt::format("Backup: {}", run_.folder.string()));
    }
    if (!MayReadRoutines(*session.GetConnection())) {
        console_.Warn(
            "procedures and functions of other accounts are not in the backup\nhint: grant SELECT "
            "on mysql.proc, and use another folder");
    }
}

std::optional<BackupRun> Backup::ResumedRun(const RunStart& start) {
    auto runs = BackupRuns(parent_);
    const std::string server = ServerName(*own_);
    const auto found = std::find_if(runs.rbegin(), runs.rend(), [&](const BackupRun& run) {
        return run.state == BackupRun::State::kUnfinished && run.server == server &&
               run.command == start.command && run.siteId == start.siteId;
    });
    return found != runs.rend() && HasDumpsOfNow(found->folder) ? std::optional(*found)
                                                                : std::nullopt;
}

bool Backup::HasDumpsOfNow(const fs::path& folder) {
    try {
        for (const std::string& database : DumpedDatabases(folder)) {
            const auto note = ReadNote(folder, database);
            const auto now = note ? VersionNow(database, *note) : std::nullopt;
            // One that has come to the current version since is one that the run has upgraded.
            if (!now || (*now != note->version && IsBelow(*now, kCurrentVersion))) {
                return false;
            }
        }
        return true;
    } catch (const std::exception&) {
        return false;  // what cannot be compared is not resumed: a new dump loses nothing
    }
}

std::optional<double> Backup::VersionNow(const std::string& database, const BackupNote& note) {
    const auto site = SiteOfDatabase(database);
    if (!site) {
        return installation_.Version();
    }
    if (note.source != BackupNote::kSite) {
        return installation_.ImportedVersion(*site);
    }
    const auto row = installation_.Site(*site);
    return row ? std::optional(row->version.value_or(0)) : std::nullopt;
}

void Backup::RunEnded(const Counts& /*counts*/, std::chrono::nanoseconds /*duration*/) {
    try {
        ReopenIfLost();
        run_.state = BackupRun::State::kFinished;
        run_.ended = ServerSeconds(*own_);
        WriteBackupRun(run_);
        if (keep_) {
            for (const fs::path& folder : RemoveOldRuns(parent_, *keep_)) {
                console_.Say(fmt::format("{}: removed, as --keep says", folder.string()));
            }
        }
    } catch (const std::exception& error) {
        console_.Warn(fmt::format("the backup is complete, but {}", ErrorText(error)));
    }
}

void Backup::LadderStarting(const Position& where, double version) {
    if (where.ladder != Ladder::kServer) {
        return;
    }
    std::unique_lock lock(mutex_);
    ReopenIfLost();
    if (where.database != "tw_tarnwick") {
        // The copies of the central tables in a site.
        Dump(lock, where, Prepare(where.database, version, where.database + ".tw_installation"));
        return;
    }
    DumpCentral(lock, where);
    if (IsBelow(version, 1.0030) && installation_.HasDatabase("tw_logs")) {
        Dump(lock, where, Prepare("tw_logs", version, kInstallation));  // gets indexes
    }
    if (const auto root = RootSite(*own_); root && IsBelow(version, 1.0252)) {
        Dump(lock, where, PrepareSite(*root));  // gets a domain from the central ladder already
    }
}

void Backup::SiteStarting(const Position& where, double /*version*/) {
    std::unique_lock lock(mutex_);
    ReopenIfLost();
    DumpCentral(lock, where);  // holds the version of every site, and some steps write more there
    const auto task = PrepareSite(*where.siteId);
    lock.unlock();
    Dump(lock, where, task);
}

void Backup::ReopenIfLost() {
    if (connection_->IsLost()) {
        connection_->Reopen();
    }
}

void Backup::DumpCentral(std::unique_lock<std::mutex>& lock, const Position& where) {
    if (!dumped_.contains("tw_tarnwick") && installation_.HasDatabase("tw_tarnwick")) {
        Dump(lock, where, Prepare("tw_tarnwick", installation_.Version(), kInstallation));
    }
    dumped_.insert("tw_tarnwick");
}

std::optional<Backup::Task> Backup::PrepareSite(std::int64_t siteId) {
    const std::string database = fmt::format("tw_{}", siteId);
    if (dumped_.contains(database) || !installation_.HasDatabase(database)) {
        return std::nullopt;  // a missing database is for the step to tell that needs it
    }
    const auto site =
        installation_.HasDatabase("tw_tarnwick") ? installation_.Site(siteId) : std::nullopt;
    return Prepare(database, site ? site->version.value_or(0) : 0, BackupNote::kSite);
}

std::optional<Backup::Task> Backup::Prepare(const std::string& database, double version,
                                            const std::string& source) {
    const fs::path file = DumpFile(run_.folder, database);
    const fs::path note = NoteFile(run_.folder, database);
    if (fs::exists(file)) {
        const auto kept = ReadNote(run_.folder, database);
        console_.Say(
            fmt::format("{}: keeping the backup of {}", database, kept ? kept->time : "before"));
        dumped_.insert(database);
        return std::nullopt;
    }
    const std::int64_t now = ServerSeconds(*own_);
    const nlohmann::ordered_json content{{"database", database},
                                         {"version", version},
                                         {"of", source},
                                         {"time", UtcText(now)},
                                         {"seconds", now}};
    if (!ReplaceFile(note, content.dump() + "\n")) {
        throw CommandError(fmt::format("cannot back up {}: cannot write {}: {}", database,
                                       note.string(), std::strerror(errno)));
    }
    return Task{database, file};
}

void Backup::Dump(std::unique_lock<std::mutex>& lock, const Position& where,
                  const std::optional<Task>& task) {
    if (!task) {
        return;
    }
    progress_->Doing(where, "dumping " + task->database);
    const auto relock = [&lock] {
        if (!lock.owns_lock()) {
            lock.lock();
        }
    };
    try {
        const UnderWay dump(dumps_);
        DumpDatabase(client_, task->database, task->file);
    } catch (const CommandError& error) {
        relock();
        if (connection_->IsLost()) {  // the server's failure, which a run may try again
            throw HostError("", kServerLost, "", error.what());
        }
        throw;
    }
    relock();
    dumped_.insert(task->database);
}

fs::path DumpFile(const fs::path& folder, const std::string& database) {
    return folder / (database + ".sql.gz");
}

std::vector<std::string> DumpedDatabases(const fs::path& folder) {
    const std::regex form(R"((tw_(?:tarnwick|logs|\d+))\.sql\.gz)");
    std::vector<std::string> databases;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        const std::string name = entry.path().filename().string();
        std::smatch parts;
        if (std::regex_match(name, parts, form)) {
            databases.push_back(parts[1]);
        }
    }
    if (error) {
        throw CommandError(fmt::format("cannot access {}: {}", folder.string(), error.message()),
                           kUsageError);
    }
    std::sort(databases.begin(), databases.end(), ComesBefore);
    return databases;
}

std::optional<std::int32_t> SiteOfDatabase(const std::string& database) {
    std::int32_t siteId = 0;
    const char* end = database.data() + database.size();
    return std::from_chars(database.data() + 3, end, siteId).ptr == end ? std::optional(siteId)
                                                                        : std::nullopt;
}

}  // namespace twupdate::cli
