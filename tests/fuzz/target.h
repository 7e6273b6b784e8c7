#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace twupdate::test {

/// A reader of text from outside, which is fed with one text after the other: by libFuzzer, which
/// makes them up, and by a test with those of the folder `corpus`. It catches the errors that the
/// reader documents. Any other exception is a finding, like a crash.
///
/// Each *_fuzz.cpp defines one, named like its file.
struct FuzzTarget {
    using Read = void (*)(std::string_view text);

    FuzzTarget(std::string name, Read read);

    std::string name;  ///< also of its folder in `corpus`
    Read read;
};

/// Those that are linked into the program.
const std::vector<FuzzTarget>& FuzzTargets();

/// For what must hold whatever the text is.
/// @throws std::logic_error when it does not
inline void Require(bool holds, const char* what) {
    if (!holds) {
        throw std::logic_error(std::string("does not hold: ") + what);
    }
}

/// Cuts the text in two at its first line feed; without one, the second part is empty.
inline std::pair<std::string_view, std::string_view> AtLineFeed(std::string_view text) {
    const auto end = text.find('\n');
    return {text.substr(0, end),
            end == std::string_view::npos ? std::string_view() : text.substr(end + 1)};
}

}  // namespace twupdate::test
