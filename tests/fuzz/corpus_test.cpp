// Every text of the folder `corpus` through the reader that it is for, with any compiler. A text
// that was a finding of `./dev fuzz` goes there.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "fuzz/target.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = TWUPDATE_FUZZ_CORPUS;

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class FuzzCorpus : public testing::TestWithParam<FuzzTarget> {};

TEST_P(FuzzCorpus, IsReadWithoutAnUnknownError) {
    std::size_t texts = 0;
    for (const auto& entry : fs::directory_iterator(kCorpus / GetParam().name)) {
        SCOPED_TRACE(entry.path());
        const std::string text = ReadAll(entry.path());
        EXPECT_NO_THROW(GetParam().read(text));
        // Half of it is no less hostile.
        EXPECT_NO_THROW(GetParam().read(std::string_view(text).substr(0, text.size() / 2)));
        EXPECT_NO_THROW(GetParam().read(std::string_view(text).substr(text.size() / 2)));
        ++texts;
    }
    EXPECT_GT(texts, 1U);
    EXPECT_NO_THROW(GetParam().read(""));
}

INSTANTIATE_TEST_SUITE_P(Of, FuzzCorpus, testing::ValuesIn(FuzzTargets()),
                         [](const auto& test) { return test.param.name; });

TEST(FuzzCorpora, BelongToATargetEach) {
    std::set<std::string> folders;
    for (const auto& entry : fs::directory_iterator(kCorpus)) {
        folders.insert(entry.path().filename());
    }
    std::set<std::string> names;
    for (const FuzzTarget& target : FuzzTargets()) {
        names.insert(target.name);
    }
    EXPECT_EQ(folders, names);
}

}  // namespace
}  // namespace twupdate::test
