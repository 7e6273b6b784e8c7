// Option files, as the program and the host read them.
#include "cli/server/option_files.h"
#include "cli/terminal/failure.h"
#include "fuzz/target.h"
#include "option_file.h"

namespace twupdate::test {
namespace {

void Read(std::string_view text) {
    if (text.find("!include") != std::string_view::npos) {
        return;  // files of this machine
    }
    const cli::Descriptor file = cli::MemoryFile(std::string(text));
    host::OptionFileFault(cli::PathOf(file));
    cli::OptionFileChoice choice;
    choice.only = cli::PathOf(file);
    choice.suffix = "-eu1";
    try {
        for (const cli::FileOption& option : cli::ReadOptionFiles(choice).options) {
            Require(!option.name.empty(), "an option has a name");
            option.Value();
            cli::IsLibraryOption(option.name);
        }
    } catch (const cli::CommandError&) {
    }
}

const FuzzTarget kTarget("option_file", Read);

}  // namespace
}  // namespace twupdate::test
