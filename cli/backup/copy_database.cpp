#include "cli/backup/copy_database.h"

#include <fmt/format.h>

#include "cli/server/child_process.h"
#include "cli/terminal/failure.h"

namespace twupdate::cli {

void CopyDatabase(const ClientOptionFile& from, const ClientOptionFile& to,
                  const std::string& database, const CopyScope& scope) {
    std::vector<std::string> dump{"mariadb-dump",         from.Argument(),
                                  "--single-transaction", "--quick",
                                  "--no-tablespaces",     "--triggers",
                                  "--hex-blob",           "--default-character-set=utf8mb4"};
    if (!scope.rows) {
        dump.emplace_back("--no-data");
    }
    if (scope.routines) {
        dump.emplace_back("--routines");
    }
    for (const std::string& table : scope.leftOut) {
        dump.push_back(fmt::format("--ignore-table={}.{}", database, table));
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
