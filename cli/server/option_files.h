#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "cli/server/child_process.h"

namespace twupdate::cli {

/// Which option files are read, and which groups of them: the options that the server's own clients
/// have for it.
struct OptionFileChoice {
    std::filesystem::path only;   ///< --defaults-file
    std::filesystem::path extra;  ///< --defaults-extra-file, before the one of the home folder
    bool none = false;            ///< --no-defaults
    std::string suffix;           ///< of the groups that are read beside the plain ones
};

/// A line of an option file.
struct FileOption {
    std::filesystem::path file;
    std::size_t line = 0;
    std::string group;
    std::string name;                ///< with hyphens: these and underscores are the same
    std::optional<std::string> raw;  ///< what is behind the "=", as it stands

    /// As the server's own clients read it: without quotes, escapes resolved. Empty without one.
    std::string Value() const;
    bool IsOfProgram() const { return group.starts_with("twupdate"); }
    /// "/etc/mysql/my.cnf, line 7, group [twupdate-eu1]".
    std::string Place() const;
};

/// What option files hold for this program.
struct OptionFiles {
    std::vector<std::filesystem::path> read;  ///< those that exist, without what they include
    std::vector<FileOption> options;          ///< in the order in which a later one wins
};

/// Reads the groups [client], [client-server], [client-mariadb] and [twupdate], and the same with
/// the suffix.
/// @throws CommandError (exit 2) for a file that is named and cannot be read, one that is no option
///         file, and one that everybody may write
OptionFiles ReadOptionFiles(const OptionFileChoice& choice);

/// Whether the client library has an option of that name.
bool IsLibraryOption(const std::string& name);

/// The options of the client library, for the library and for the server's own programs. It keeps
/// them in memory: a password stands in them.
class ClientOptions {
  public:
    /// @throws CommandError when there is no memory
    explicit ClientOptions(const OptionFiles& files);
    /// An option file with one group, [client].
    std::filesystem::path ForLibrary() const;
    /// Lines for an option file of the server's own programs: the files that were read, then the
    /// credentials of every group.
    const std::string& ForPrograms() const { return forPrograms_; }

  private:
    Descriptor file_;
    std::string forPrograms_;
};

/// A file in memory that only this user may read, for this process and its children.
/// @throws CommandError when there is no memory
Descriptor MemoryFile(const std::string& content);
/// Its name, for children too.
std::filesystem::path PathOf(const Descriptor& file);

}  // namespace twupdate::cli
