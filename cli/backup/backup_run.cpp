#include "cli/backup/backup_run.h"

#include <fmt/chrono.h>
#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <regex>

#include "cli/server/replace_file.h"
#include "cli/terminal/failure.h"

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

constexpr const char* kFile = "run.json";
constexpr std::int64_t kLastSecond = 253402300799;  // of the year 9999

std::string StateText(BackupRun::State state) {
    switch (state) {
        case BackupRun::State::kUnfinished:
            return "unfinished";
        case BackupRun::State::kFinished:
            return "finished";
        case BackupRun::State::kRestored:
            return "restored";
    }
    return "";
}

std::optional<BackupRun::State> StateOf(const std::string& text) {
    using State = BackupRun::State;
    for (const State state : {State::kUnfinished, State::kFinished, State::kRestored}) {
        if (StateText(state) == text) {
            return state;
        }
    }
    return std::nullopt;
}

std::string Cell(Utility& utility, const std::string& expression) {
    const auto rows =
        utility.GetDatabase()->OpenRecordset("SELECT " + expression + " AS cell;", 0, 0);
    return rows->Fields().Item("cell").Value().ToText();
}

/// The whole number from 0 to `most` of that name; nothing when it is none.
std::optional<std::int64_t> WholeNumber(const nlohmann::json& object, const char* name,
                                        std::int64_t most) {
    const auto& value = object.at(name);
    if (!value.is_number_unsigned() ||
        value.get<std::uint64_t>() > static_cast<std::uint64_t>(most)) {
        return std::nullopt;
    }
    return value.get<std::int64_t>();
}

/// What a run, or a restore that has ended, leaves in its folder.
bool IsOfABackup(const fs::path& file) {
    static const std::regex form(
        R"((tw_(tarnwick|logs|\d+)\.(sql\.gz(\.part)?|json))|run\.json(\.part)?)");
    return std::regex_match(file.filename().string(), form);
}

bool HoldsABackupAlone(const fs::path& folder) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder, error)) {
        if (!entry.is_regular_file(error) || !IsOfABackup(entry.path())) {
            return false;
        }
    }
    return !error;
}

}  // namespace

std::optional<BackupRun> ReadBackupRun(const fs::path& folder) {
    std::ifstream stream(folder / kFile);
    try {
        const auto json = nlohmann::json::parse(stream);
        BackupRun run;
        run.folder = folder;
        run.command = json.at("command").get<std::string>();
        if (json.contains("site")) {
            const auto siteId = WholeNumber(json, "site", std::numeric_limits<std::int32_t>::max());
            if (!siteId) {
                return std::nullopt;
            }
            run.siteId = static_cast<std::int32_t>(*siteId);
        }
        run.server = json.at("server").get<std::string>();
        const auto state = StateOf(json.at("state").get<std::string>());
        const auto began = WholeNumber(json, "began", kLastSecond);
        if (json.contains("ended")) {
            run.ended = WholeNumber(json, "ended", kLastSecond);
        }
        if (!state || !began || (json.contains("ended") && !run.ended)) {
            return std::nullopt;
        }
        run.began = *began;
        run.state = *state;
        return run;
    } catch (const nlohmann::json::exception&) {
        return std::nullopt;
    }
}

void WriteBackupRun(const BackupRun& run) {
    nlohmann::ordered_json json{{"command", run.command}};
    if (run.siteId) {
        json["site"] = *run.siteId;
    }
    json["server"] = run.server;
    json["state"] = StateText(run.state);
    json["began"] = run.began;
    if (run.ended) {
        json["ended"] = *run.ended;
    }
    const fs::path file = run.folder / kFile;
    if (!ReplaceFile(file, json.dump(2) + "\n")) {
        throw CommandError(fmt::format("cannot write {}: {}", file.string(), std::strerror(errno)));
    }
}

std::vector<BackupRun> BackupRuns(const fs::path& parent) {
    static const std::regex form(R"(\d{4}-\d\d-\d\dT\d{6}Z(-\d+)?)");
    std::vector<BackupRun> runs;
    std::error_code ignored;
    for (const auto& entry : fs::directory_iterator(parent, ignored)) {
        if (std::regex_match(entry.path().filename().string(), form)) {
            if (auto run = ReadBackupRun(entry.path())) {
                runs.push_back(std::move(*run));
            }
        }
    }
    std::sort(runs.begin(), runs.end(), [](const BackupRun& a, const BackupRun& b) {
        return std::pair(a.began, a.folder) < std::pair(b.began, b.folder);
    });
    return runs;
}

BackupRun MakeBackupRun(const fs::path& parent, const RunStart& start, Utility& utility) {
    BackupRun run;
    run.command = start.command;
    run.siteId = start.siteId;
    run.server = ServerName(utility);
    run.began = ServerSeconds(utility);
    std::string name = UtcText(run.began);
    std::erase(name, ':');
    std::error_code error;
    for (int number = 1; run.folder.empty() && !error; ++number) {
        const fs::path folder = parent / (number == 1 ? name : fmt::format("{}-{}", name, number));
        if (fs::create_directory(folder, error)) {
            run.folder = folder;
        }
    }
    if (!error) {
        fs::permissions(run.folder, fs::perms::owner_all, error);  // it holds what the sites hold
    }
    if (error) {
        throw CommandError(fmt::format("cannot create a folder in {}, the folder of --backup: {}",
                                       parent.string(), error.message()));
    }
    WriteBackupRun(run);
    return run;
}

void MarkRestored(const fs::path& folder) {
    auto own = ReadBackupRun(folder);
    if (!own) {
        return;
    }
    for (BackupRun& run : BackupRuns(fs::absolute(folder / ".").lexically_normal() / "..")) {
        if (run.state == BackupRun::State::kUnfinished && run.server == own->server) {
            run.state = BackupRun::State::kRestored;
            WriteBackupRun(run);
        }
    }
    own->state = BackupRun::State::kRestored;
    WriteBackupRun(*own);
}

std::vector<fs::path> RemoveOldRuns(const fs::path& parent, std::size_t keep) {
    auto runs = BackupRuns(parent);
    std::erase_if(runs,
                  [](const BackupRun& run) { return run.state == BackupRun::State::kUnfinished; });
    std::vector<fs::path> removed;
    for (std::size_t i = 0; i + keep < runs.size(); ++i) {
        const fs::path& folder = runs[i].folder;
        std::error_code error;
        if (!HoldsABackupAlone(folder)) {
            continue;
        }
        // What is half removed must not look like a run.
        const fs::path going = folder.string() + ".removed";
        fs::rename(folder, going, error);
        if (!error) {
            fs::remove_all(going, error);
            removed.push_back(folder);
        }
    }
    return removed;
}

std::string ServerName(Utility& utility) {
    return Cell(utility, "CONCAT(@@hostname, ':', @@datadir)");
}

std::int64_t ServerSeconds(Utility& utility) {
    return std::stoll(Cell(utility, "UNIX_TIMESTAMP()"));
}

std::string UtcText(std::int64_t seconds) {
    return fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(static_cast<std::time_t>(seconds)));
}

}  // namespace twupdate::cli
