#include "cli/commands/rehearsed_files.h"

#include <fstream>
#include <set>
#include <string>

namespace twupdate::cli {
namespace {

namespace fs = std::filesystem;

// Errors are ignored: the rehearsal lacks a file that cannot be copied.
class FolderCopy {
  public:
    void Copy(const fs::path& source, const fs::path& destination, bool contents) {
        std::error_code error;
        const fs::path real = fs::canonical(source, error);
        if (error || !fs::is_directory(real, error) || !seen_.insert(real).second) {
            return;  // a link to a folder becomes a folder: nothing may be written behind it
        }
        fs::create_directories(destination, error);
        fs::directory_iterator entry(real, error);
        for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
            CopyEntry(entry->path(), destination / entry->path().filename(), contents);
        }
        fs::permissions(destination, fs::status(real, error).permissions(), error);
    }

  private:
    void CopyEntry(const fs::path& source, const fs::path& destination, bool contents) {
        std::error_code error;
        if (fs::is_directory(source, error)) {
            Copy(source, destination, false);
        } else if (fs::is_symlink(source, error)) {
            fs::copy_symlink(source, destination, error);
        } else if (fs::is_regular_file(source, error)) {
            if (contents) {
                fs::copy_file(source, destination, error);
            } else {
                std::ofstream{destination};
                fs::resize_file(destination, fs::file_size(source, error), error);
            }
            fs::permissions(destination, fs::status(source, error).permissions(), error);
        }
    }

    std::set<fs::path> seen_;
};

}  // namespace

void CopyFilesOfSites(const fs::path& root, const fs::path& workdir,
                      const std::vector<std::int64_t>& sites) {
    std::error_code error;
    for (const char* read : {"templates", "components"}) {
        if (fs::exists(root / read, error)) {
            fs::create_directory_symlink(fs::absolute(root / read), workdir / read, error);
        }
    }
    for (const std::int64_t site : sites) {
        for (const fs::path& folder : {fs::path("wwwroot/sites"), fs::path("sites_secure")}) {
            const fs::path own = folder / std::to_string(site);
            FolderCopy().Copy(root / own, workdir / own, true);
        }
    }
}

}  // namespace twupdate::cli
