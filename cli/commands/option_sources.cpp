#include "cli/commands/option_sources.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "cli/terminal/table.h"
#include "cli/terminal/text.h"

namespace twupdate::cli {
namespace {

constexpr const char* kOptionsGroup = "Option files";
constexpr const char* kMask = "********";

/// Options of the command line alone.
constexpr std::array<std::string_view, 5> kNotSet{"help", "version", "password", "print-defaults",
                                                  "option-sources"};
/// Those that choose the option files cannot stand in one.
constexpr std::array<std::string_view, 4> kChoosing{"defaults-file", "defaults-extra-file",
                                                    "defaults-group-suffix", "no-defaults"};

/// Commands that are no runs, and what a run writes: a file of options for runs must not make them
/// ask for files that this user may not write.
constexpr std::array<std::string_view, 7> kNoRuns{"status", "plan",   "check",  "verify",
                                                  "report", "repair", "restore"};
constexpr std::array<std::string_view, 8> kWritten{"trace",  "events", "log",     "services-log",
                                                   "backup", "keep",   "metrics", "report"};
/// What records a run, and what of it a rehearsal writes.
constexpr std::array<std::string_view, 5> kRecords{"trace", "events", "log", "metrics", "report"};
constexpr std::array<std::string_view, 2> kOfRehearsals{"trace", "events"};

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::string NameOf(const CLI::Option& option) {
    return option.get_lnames().empty() ? "" : option.get_lnames().front();
}

bool Records(const std::string& command, const std::string& option) {
    return command == "rehearse" ? Contains(kOfRehearsals, option) : !Contains(kNoRuns, command);
}

bool IsFlag(const CLI::Option& option) {
    return option.get_expected_min() == 0;
}

/// "TWUPDATE_INSTALL_FOLDER".
std::string VariableOf(const std::string& name) {
    std::string variable = "TWUPDATE_";
    for (const char c : name) {
        variable += c == '-' ? '_' : c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    }
    return variable;
}

/// What is set in the environment; an empty value is none.
std::string Variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? "" : value;
}

/// @throws CLI::ConfigError for a word that the parser does not know
bool IsFalse(const std::string& value, const std::string& place) {
    try {
        return CLI::detail::to_flag_value(value) <= 0;
    } catch (const std::exception&) {
        throw CLI::ConfigError(
            fmt::format("{}: '{}' is neither true nor false", place, Printable(value)));
    }
}

}  // namespace

OptionSources::OptionSources(CLI::App& app, GlobalOptions& options) : app_(app), options_(options) {
    app.add_option("--defaults-extra-file", options.files.extra,
                   "Read this option file too, before that of the home folder")
        ->type_name("FILE")
        ->check(FaultOfEmptyValue)
        ->excludes(app.get_option("--defaults-file"))
        ->group(kOptionsGroup);
    app.add_option("--defaults-group-suffix", options.files.suffix,
                   "Read the groups of that suffix too: with -eu1 also [client-eu1] and "
                   "[twupdate-eu1]")
        ->type_name("SUFFIX")
        ->check(FaultOfEmptyValue)
        ->group(kOptionsGroup);
    app.add_flag("--no-defaults", options.files.none, "Read no option file")
        ->excludes(app.get_option("--defaults-file"))
        ->excludes(app.get_option("--defaults-extra-file"))
        ->group(kOptionsGroup);
    app.add_flag_callback(
           "--print-defaults", [] {},
           "Print every option that has a value, and where it comes from")
        ->group(kOptionsGroup);
    // The parser asks its configuration when it has read the command line; which file that is does
    // not matter here.
    app.set_config("--option-sources", "/dev/null")->group("");
}

std::string OptionSources::to_config(const CLI::App* /*app*/, bool /*defaults*/,
                                     bool /*descriptions*/, std::string /*prefix*/) const {
    return "";
}

std::vector<const CLI::App*> OptionSources::Apps() const {
    std::vector<const CLI::App*> apps;
    for (const CLI::App* command : app_.get_subcommands()) {
        apps.push_back(command);
    }
    apps.push_back(&app_);
    return apps;
}

/// An option of the command, or else of every command.
const CLI::Option* OptionSources::Find(const std::string& name) const {
    for (const CLI::App* app : Apps()) {
        if (const CLI::Option* option = app->get_option_no_throw("--" + name)) {
            return option;
        }
    }
    return nullptr;
}

bool OptionSources::IsOfAnyCommand(const std::string& name) const {
    const auto commands = std::as_const(app_).get_subcommands({});
    return std::any_of(commands.begin(), commands.end(), [&](const CLI::App* command) {
        return command->get_option_no_throw("--" + name) != nullptr;
    });
}

/// What the command line says, or else the environment.
std::string OptionSources::ChoiceOf(const char* name) const {
    const CLI::Option* option = app_.get_option(std::string("--") + name);
    return option->count() > 0 ? option->results().front() : Variable(VariableOf(name));
}

void OptionSources::ChooseFiles() const {
    options_.files.only = ChoiceOf("defaults-file");
    options_.files.extra = ChoiceOf("defaults-extra-file");
    const std::string none = ChoiceOf("no-defaults");
    options_.files.none = !none.empty() && !IsFalse(none, "--no-defaults");
    options_.files.suffix = ChoiceOf("defaults-group-suffix");
    if (options_.files.suffix.empty()) {
        constexpr const char* kOfEveryClient = "MYSQL_GROUP_SUFFIX";
        options_.files.suffix = Variable(kOfEveryClient);
        if (!options_.files.suffix.empty()) {
            settings_[app_.get_option("--defaults-group-suffix")] = {
                options_.files.suffix, std::string("the variable ") + kOfEveryClient};
        }
    }
}

/// A switch that is off counts as not given.
bool OptionSources::IsGiven(const CLI::Option& option, const Setting& setting) {
    return !IsFlag(option) || !IsFalse(setting.value, setting.place);
}

/// Whether the option may be set elsewhere than on the command line.
bool OptionSources::IsOpen(const CLI::Option& option) const {
    const auto commands = app_.get_subcommands();
    const std::string name = NameOf(option);
    const bool isUnused =
        app_.get_option_no_throw("--" + name) == &option &&
        std::any_of(commands.begin(), commands.end(), [&](const CLI::App* command) {
            return (Contains(kNoRuns, command->get_name()) && Contains(kWritten, name)) ||
                   (Contains(kRecords, name) && !Records(command->get_name(), name));
        });
    return option.get_configurable() && option.count() == 0 && !settings_.contains(&option) &&
           !IsOverruled(option) && !isUnused;
}

/// Whether a source of higher precedence has said something that excludes the option.
bool OptionSources::IsOverruled(const CLI::Option& option) const {
    auto others = option.get_excludes();
    if (NameOf(option) == "host") {  // by which a socket would not be used
        others.insert(app_.get_option("--socket"));
    }
    return std::any_of(others.begin(), others.end(), [&](const CLI::Option* other) {
        const auto found = settings_.find(other);
        return other->count() > 0 || (found != settings_.end() && IsGiven(*other, found->second));
    });
}

void OptionSources::TakeEnvironment() const {
    Settings found;
    for (const CLI::App* app : Apps()) {
        for (const CLI::Option* option : app->get_options()) {
            const std::string name = NameOf(*option);
            if (name.empty() || Find(name) != option || Contains(kNotSet, name) ||
                !IsOpen(*option)) {
                continue;
            }
            const std::string variable = VariableOf(name);
            if (const std::string value = Variable(variable); !value.empty()) {
                found[option] = {value, "the variable " + variable};
            }
        }
    }
    settings_.merge(found);
}

void OptionSources::TakeFiles(const OptionFiles& files) const {
    Settings found;
    for (const FileOption& one : files.options) {
        if (IsLibraryOption(one.name)) {
            ofLibrary_.push_back(one);
            continue;
        }
        if (!one.IsOfProgram() || one.name.starts_with("loose-")) {
            continue;  // an option of other clients; or one that need not be known
        }
        const CLI::Option* option = Find(one.name);
        if (Contains(kNotSet, one.name) || Contains(kChoosing, one.name) ||
            (option == nullptr && !IsOfAnyCommand(one.name))) {
            throw CLI::ConfigError(
                fmt::format("{}: unknown option '{}'", one.Place(), Printable(one.name)));
        }
        if (option == nullptr || !IsOpen(*option)) {
            continue;
        }
        if (!one.raw && !IsFlag(*option)) {
            throw CLI::ConfigError(
                fmt::format("{}: the option '{}' needs a value", one.Place(), one.name));
        }
        found[option] = {one.raw ? one.Value() : "true", one.Place()};
    }
    settings_.merge(found);
}

std::vector<CLI::ConfigItem> OptionSources::from_config(std::istream& /*stream*/) const {
    for (const CLI::App* app : Apps()) {
        for (const CLI::Option* request : {app->get_help_ptr(), app->get_version_ptr()}) {
            if (request != nullptr && request->count() > 0) {
                return {};
            }
        }
    }
    ChooseFiles();
    TakeEnvironment();
    const OptionFiles files = ReadOptionFiles(options_.files);
    TakeFiles(files);
    if (!files.options.empty()) {
        options_.clientOptions = std::make_shared<ClientOptions>(files);
    }
    if (IsOn("--print-defaults")) {
        throw PrintDefaults();
    }
    std::vector<CLI::ConfigItem> missing;
    for (const auto& [option, setting] : settings_) {
        CLI::ConfigItem item;
        item.name = NameOf(*option);
        if (!IsGiven(*option, setting)) {
            continue;
        }
        for (const CLI::App* app : Apps()) {
            if (app != &app_ && app->get_option_no_throw("--" + item.name) == option) {
                item.parents.push_back(app->get_name());
            }
        }
        item.inputs.push_back(setting.value);
        missing.push_back(std::move(item));
    }
    return missing;
}

void OptionSources::RefuseUnwrittenRecords() const {
    for (const CLI::App* command : app_.get_subcommands()) {
        for (const std::string_view name : kRecords) {
            const std::string option = fmt::format("--{}", name);
            if (app_.get_option(option)->count() > 0 &&
                command->get_option_no_throw(option) == nullptr &&
                !Records(command->get_name(), std::string(name))) {
                throw CLI::ValidationError(
                    fmt::format("{} does not write the file of {}", command->get_name(), option));
            }
        }
    }
}

bool OptionSources::IsOn(const std::string& flag) const {
    const CLI::Option* option = app_.get_option(flag);
    return option->count() > 0 && option->as<bool>();
}

std::string OptionSources::WithPlace(const std::string& message) const {
    for (const auto& [option, setting] : settings_) {
        const std::string name = "--" + NameOf(*option);
        const auto at = message.find(name);
        if (at != std::string::npos && message.find_first_of(": ,", at) == at + name.size()) {
            return fmt::format("{}\nhint: the value is from {}", message, setting.place);
        }
    }
    return message;
}

/// Name, value and place of each.
std::vector<std::vector<std::string>> OptionSources::Rows() const {
    std::vector<std::vector<std::string>> rows;
    bool hasPassword = false;
    for (const FileOption& option : ofLibrary_) {
        const CLI::Option* own = Find(option.name);
        if (own != nullptr && (own->count() > 0 || settings_.contains(own)) &&
            option.name != "password") {
            continue;
        }
        const bool isPassword = option.name == "password" || option.name.ends_with("passphrase");
        hasPassword = hasPassword || option.name == "password";
        std::erase_if(rows, [&](const auto& row) { return row.front() == option.name; });
        rows.push_back(
            {option.name, isPassword ? kMask : Printable(option.Value()), option.Place()});
    }
    if (!hasPassword && !Variable("MYSQL_PWD").empty()) {
        rows.push_back({"password", kMask, "the variable MYSQL_PWD"});
    }
    const auto has = [&](const std::string& name) {
        return std::any_of(rows.begin(), rows.end(),
                           [&](const auto& row) { return row.front() == name; });
    };
    for (const CLI::App* app : Apps()) {
        for (const CLI::Option* option : app->get_options()) {
            const std::string name = NameOf(*option);
            if (name.empty() || Contains(kNotSet, name) || has(name)) {
                continue;
            }
            if (option->count() > 0) {
                rows.push_back({name, fmt::format("{}", fmt::join(option->results(), ", ")),
                                "the command line"});
            } else if (const auto found = settings_.find(option); found != settings_.end()) {
                rows.push_back({name, Printable(found->second.value), found->second.place});
            } else if (!option->get_default_str().empty()) {
                rows.push_back({name, option->get_default_str(), "the default"});
            }
        }
    }
    std::sort(rows.begin(), rows.end());
    return rows;
}

std::string OptionSources::Defaults() const {
    const auto rows = Rows();
    if (IsOn("--json")) {
        auto list = nlohmann::ordered_json::array();
        for (const auto& row : rows) {
            list.push_back({{"option", row[0]}, {"value", row[1]}, {"from", row[2]}});
        }
        return nlohmann::ordered_json{{"options", list}}.dump(
                   -1, ' ', false, nlohmann::json::error_handler_t::replace) +
               "\n";
    }
    TextTable table({{"Option"}, {"Value"}, {"From"}});
    for (const auto& row : rows) {
        table.AddRow(row);
    }
    std::string text;
    for (const std::string& line : table.Lines()) {
        text += line + "\n";
    }
    return text;
}

}  // namespace twupdate::cli
