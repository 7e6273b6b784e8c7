#include "cli/commands/jobs_option.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <thread>

namespace twupdate::cli {
namespace {

constexpr const char* kAuto = "auto";
constexpr unsigned kMostJobs = 64;
constexpr unsigned kMostAuto = 8;

std::string FaultOfJobs(const std::string& text) {
    unsigned number = 0;
    const char* end = text.data() + text.size();
    const bool isNumber = std::from_chars(text.data(), end, number).ptr == end;
    return text == kAuto || (isNumber && number >= 1 && number <= kMostJobs)
               ? ""
               : fmt::format("'{}' is not a number of jobs; that is 1 to {}, or auto", text,
                             kMostJobs);
}

}  // namespace

bool JobsOption::IsAuto() const {
    return text == kAuto;
}

unsigned JobsOption::Number() const {
    return IsAuto() ? std::clamp(std::thread::hardware_concurrency(), 1U, kMostAuto)
                    : static_cast<unsigned>(std::stoul(text));
}

void AddJobsOption(CLI::App& command, JobsOption& jobs, const std::string& does) {
    command.add_option("--jobs", jobs.text, does)
        ->type_name("N|auto")
        ->check(FaultOfJobs)
        ->capture_default_str();
}

}  // namespace twupdate::cli
