#include <stdexcept>

#include "twupdate_host/component_services.h"

namespace twupdate::host {

std::vector<std::string> SplitCommand(std::string_view command) {
    std::vector<std::string> words;
    std::string word;
    bool inWord = false;  // an empty pair of quotes is a word too
    char quote = 0;
    for (std::size_t i = 0; i < command.size(); ++i) {
        const char c = command[i];
        if (c == '\\' && quote != '\'') {
            if (++i == command.size()) {
                throw std::invalid_argument("the command ends with a backslash");
            }
            word += command[i];
            inWord = true;
        } else if (quote != 0) {
            if (c == quote) {
                quote = 0;
            } else {
                word += c;
            }
        } else if (c == '\'' || c == '"') {
            quote = c;
            inWord = true;
        } else if (c == ' ' || c == '\t' || c == '\n' || c == '\r') {
            if (inWord) {
                words.push_back(std::move(word));
                word.clear();
                inWord = false;
            }
        } else {
            word += c;
            inWord = true;
        }
    }
    if (quote != 0) {
        throw std::invalid_argument("the command has an unclosed quote");
    }
    if (inWord) {
        words.push_back(std::move(word));
    }
    if (words.empty()) {
        throw std::invalid_argument("the command is empty");
    }
    return words;
}

}  // namespace twupdate::host
