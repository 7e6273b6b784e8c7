// The files beside the dumps of a backup: which run it is of, of which version a dump is, and the
// versions that an interrupted restore has kept.
#include "cli/backup/backup_note.h"
#include "cli/backup/backup_run.h"
#include "cli/backup/kept_versions.h"
#include "cli/terminal/failure.h"
#include "fuzz/target.h"
#include "support/temporary_folder.h"

namespace twupdate::test {
namespace {

template <typename Function>
void WithItsError(const Function& function) {
    try {
        function();
    } catch (const cli::CommandError&) {
    }
}

void Read(std::string_view text) {
    static const TemporaryFolder folder;
    const std::filesystem::path& path = folder.Path();
    for (const char* name : {"run.json", "tw_7.json", "kept_versions.json"}) {
        folder.Write(name, std::string(text));
    }
    if (const auto run = cli::ReadBackupRun(path)) {
        cli::UtcText(run->began);
        cli::UtcText(run->ended.value_or(0));
    }
    WithItsError([&] { cli::ReadNote(path, "tw_7"); });
    WithItsError([&] { cli::DumpedSiteVersion(path, 7); });
    WithItsError([&] { cli::KeptVersions(path); });
}

const FuzzTarget kTarget("backup_notes", Read);

}  // namespace
}  // namespace twupdate::test
