#include <csignal>
#include <cstring>
#include <exception>
#include <nlohmann/json.hpp>
#include <string>

#include "cli/commands/command_line.h"
#include "cli/commands/writable.h"
#include "cli/server/server_errors.h"
#include "cli/terminal/console.h"
#include "cli/terminal/failure.h"
#include "cli/terminal/message_json.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

int Main(int argc, char** argv) {
    // A reader that has closed the pipe shows in the exit status, and must not end a run half-way.
    std::signal(SIGPIPE, SIG_IGN);
    Invocation invocation;
    int status = kDone;
    if (!Parse(argc, argv, invocation, status)) {
        return status;
    }
    Console console(invocation.global.json, invocation.global.quiet);
    const auto fail = [&console](const std::exception& error, ExitCode code) {
        const std::string text = ErrorText(error);
        console.Error(text);
        console.Result({{"result", "failed"}, {"error", MessageJson(text)}});
        return code;
    };
    try {
        RequireWritable(invocation.global);
        status = invocation.run(invocation.global, console);
        if (const int error = console.OutputError(); error != 0) {
            console.Error(
                std::string("cannot write the standard output: ").append(std::strerror(error)));
            return status == kDone || status == kFindings ? kFailed : status;
        }
        return status;
    } catch (const CommandError& error) {
        return fail(error, error.Code());
    } catch (const HostError& error) {
        return fail(CommandError(DescribeError(error)),
                    MayPass(error.Code()) ? kTryAgain : kFailed);
    } catch (const std::exception& error) {
        return fail(error, kFailed);
    }
}

}  // namespace
}  // namespace twupdate::cli

int main(int argc, char** argv) {
    return twupdate::cli::Main(argc, argv);
}
