#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <sstream>
#include <string>

#include "cli/terminal/text.h"

namespace twupdate::cli {

/// Help that fits a terminal: an option with only the name of its value, descriptions wrapped.
class HelpFormatter : public CLI::Formatter {
  public:
    HelpFormatter() { column_width(kLeft); }

    std::string make_option_opts(const CLI::Option* option) const override {
        if (option->get_positional() || option->get_type_size() == 0) {
            return "";
        }
        const std::string type = option->get_type_name();  // "NUMBER:INT in [1 - 65535]"
        return " " + type.substr(0, type.find(':'));
    }
    std::string make_option_desc(const CLI::Option* option) const override {
        const std::string value = option->get_default_str();
        return Wrapped(option->get_description() +
                       (value.empty() ? "" : " (default: " + value + ")") +
                       (option->get_required() && !option->get_positional() ? " (required)" : ""));
    }
    std::string make_subcommand(const CLI::App* command) const override {
        std::ostringstream text;
        CLI::detail::format_help(text, command->get_name(), Wrapped(command->get_description()),
                                 kLeft);
        return text.str();
    }

  private:
    static constexpr std::size_t kLeft = 28;
    static constexpr std::size_t kRight = 80 - kLeft - 1;

    static std::string Wrapped(const std::string& description) {
        std::string text;
        std::size_t width = 0;
        for (const std::string& word : SplitAtBlanks(description)) {
            const bool fits = width + 1 + word.size() <= kRight;
            text += text.empty() ? "" : fits ? " " : "\n";
            text += word;
            width = (fits ? width + 1 : 0) + word.size();
        }
        return text;
    }
};

}  // namespace twupdate::cli
