#include "cli/copy_database.h"

#include <fmt/format.h>

#include "cli/child_process.h"
#include "cli/failure.h"

namespace twupdate::cli {

void CopyDatabase(const ClientOptionFile& from, const ClientOptionFile& to,
                  const std::string& database, bool schemaOnly) {
    // Views, triggers and routines are the installation's own; the ladders know none.
    std::vector<std::string> dump{"mariadb-dump",         from.Argument(),
                                  "--single-transaction", "--quick",
                                  "--no-tablespaces",     "--skip-triggers",
                                  "--hex-blob",           "--default-character-set=utf8mb4"};
    if (schemaOnly) {
        dump.emplace_back("--no-data");
    }
    dump.insert(dump.end(), {"--databases", database});
    try {
        Pipe pipe = Pipe::Make();
        ChildProcess source(dump, -1, pipe.in.Get());
        ChildProcess target({"mariadb", to.Argument(), "--default-character-set=utf8mb4"},
                            pipe.out.Get(), -1);
        pipe.in.Close();
        pipe.out.Close();
        source.Wait();
        target.Wait();
    } catch (const CommandError& error) {
        throw CommandError(fmt::format("cannot copy {}: {}", database, error.what()));
    }
}

}  // namespace twupdate::cli
