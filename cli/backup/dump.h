#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "cli/backup/dump_contents.h"
#include "cli/server/child_process.h"
#include "cli/server/options.h"
#include "cli/server/session.h"

namespace twupdate::cli {

/// A file by which the server's own clients reach the same server as the session, the password
/// included; only its owner may read it. It is in no folder and goes with the process, however that
/// ends.
class ClientOptionFile {
  public:
    /// @throws CommandError
    ClientOptionFile(const Session& session, const GlobalOptions& options);
    /// The option that names the file to a client.
    std::string Argument() const;

  private:
    Descriptor file_;
};

/// Dumps a database into a compressed file, which is there, whole, or not at all.
/// @throws CommandError
void DumpDatabase(const ClientOptionFile& client, const std::string& database,
                  const std::filesystem::path& file);

/// Reads a dump to its end.
/// @throws CommandError when it does not end as a whole dump does, or is of another database
DumpContents ReadDump(const std::filesystem::path& file, const std::string& database);

/// The same before a restore, and the error says so.
/// @throws CommandError
DumpContents CheckDump(const std::filesystem::path& file, const std::string& database);

/// Where the client that puts a dump back tells by which number the server knows it.
class ClientNumber {
  public:
    /// @throws CommandError
    ClientNumber();
    /// The standard output for the next client, which has told nothing yet.
    int ForClient() const;
    /// Nothing before a client has told it. Any thread may ask.
    std::optional<std::uint64_t> Get() const;

  private:
    Descriptor file_;
};

/// Puts a dumped database back in place of the one of that name.
/// @param settings  statements to run before all others; they give no rows
/// @param first     a statement to run before the first of the database that is recreated
/// @throws CommandError
void LoadDump(const ClientOptionFile& client, const std::filesystem::path& file,
              const std::string& database, const std::string& settings, const std::string& first,
              const ClientNumber& number);

}  // namespace twupdate::cli
