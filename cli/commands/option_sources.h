#pragma once

#include <CLI/CLI.hpp>
#include <istream>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "cli/server/options.h"

namespace twupdate::cli {

/// Completes the command line from the environment and from option files, in this order of
/// precedence. The parser asks for it when the command line has been read.
class OptionSources final : public CLI::Config {
  public:
    /// Adds the options that choose option files, and --print-defaults.
    /// @param app  must outlive this, as must the options
    OptionSources(CLI::App& app, GlobalOptions& options);

    /// The values that the command line lacks. The stream is not used.
    /// @throws CLI::ConfigError for an option that does not exist
    /// @throws PrintDefaults if they were asked for
    std::vector<CLI::ConfigItem> from_config(std::istream& stream) const override;
    std::string to_config(const CLI::App* app, bool defaults, bool descriptions,
                          std::string prefix) const override;

    /// @throws CLI::ValidationError for a file of the command line that records a run, if the
    /// command is none
    void RefuseUnwrittenRecords() const;

    /// A message of the parser, with the place of the value if it is not the command line.
    std::string WithPlace(const std::string& message) const;

    /// Ends the parser: the options are to be printed.
    class PrintDefaults : public CLI::Success {
      public:
        PrintDefaults() : CLI::Success("PrintDefaults", "", CLI::ExitCodes::Success) {}
    };
    /// Every option that has a value, where it comes from, and no password.
    std::string Defaults() const;

  private:
    struct Setting {
        std::string value;
        std::string place;
    };
    using Settings = std::map<const CLI::Option*, Setting>;

    std::vector<const CLI::App*> Apps() const;
    const CLI::Option* Find(const std::string& name) const;
    bool IsOfAnyCommand(const std::string& name) const;
    bool IsOn(const std::string& flag) const;
    std::string ChoiceOf(const char* option) const;
    void ChooseFiles() const;
    void TakeEnvironment() const;
    void TakeFiles(const OptionFiles& files) const;
    static bool IsGiven(const CLI::Option& option, const Setting& setting);
    bool IsOpen(const CLI::Option& option) const;
    bool IsOverruled(const CLI::Option& option) const;
    std::vector<std::vector<std::string>> Rows() const;

    CLI::App& app_;
    GlobalOptions& options_;
    mutable Settings settings_;                  ///< not from the command line
    mutable std::vector<FileOption> ofLibrary_;  ///< what only the client library reads
};

}  // namespace twupdate::cli
