#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>

namespace twupdate::test {

/// Makes an installation with site 1 of the sample: every feature, with rows for most of what a
/// step can write.
void MakeFirstSampleSite();

/// The step that first uses each privilege on each table: ("tw_8.tag", "UPDATE") -> its name.
using FirstUses = std::map<std::pair<std::string, std::string>, std::string>;

/// @param trace  of a run, as --trace writes it
FirstUses UsesOf(const std::filesystem::path& trace);

}  // namespace twupdate::test
