#include "migrations/site_content/embed_codes.h"

#include <gtest/gtest.h>

#include <chrono>

namespace twupdate {
namespace {

/// Every code of the text as "major.minor:name@begin-end".
std::vector<std::string> Codes(std::string_view text) {
    std::vector<std::string> codes;
    for (auto code = FindEmbedCode(text, 0); code; code = FindEmbedCode(text, code->end)) {
        codes.push_back(std::to_string(code->major) + "." + std::to_string(code->minor) + ":" +
                        std::string(code->name) + "@" + std::to_string(code->begin) + "-" +
                        std::to_string(code->end));
    }
    return codes;
}

using List = std::vector<std::string>;

TEST(EmbedCodes, BothKindsOfBracketAreFound) {
    EXPECT_EQ(List{"17.6:Name@1-20"}, Codes("a<#Embed.17.6:Name#>b"));
    EXPECT_EQ(List{"17.6:Name@1-26"}, Codes("a&lt;#Embed.17.6:Name#&gt;b"));
    EXPECT_EQ(List{"17.6:Name@0-22"}, Codes("&lt;#Embed.17.6:Name#>"));
}

TEST(EmbedCodes, SeveralCodesFollowEachOther) {
    EXPECT_EQ((List{"1.2:a@0-15", "3.4:b@15-30"}), Codes("<#Embed.1.2:a#><#Embed.3.4:b#>"));
}

TEST(EmbedCodes, WhatIsNoCodeIsSkipped) {
    EXPECT_EQ(List{}, Codes(""));
    EXPECT_EQ(List{}, Codes("#Embed.1.2:a#>"));     // no opening bracket
    EXPECT_EQ(List{}, Codes("<#E-Embed.1.2:a#>"));  // another code
    EXPECT_EQ(List{}, Codes("<#TextEmbed.1:a#>"));
    EXPECT_EQ(List{}, Codes("<#embed.1.2:a#>"));  // another letter case
    EXPECT_EQ(List{}, Codes("<#Embed.1:a#>"));    // one number
    EXPECT_EQ(List{}, Codes("<#Embed.-1.2:a#>"));
    EXPECT_EQ(List{}, Codes("<#Embed.1.-2:a#>"));
    EXPECT_EQ(List{}, Codes("<#Embed.1.99999999999:a#>"));  // no 32-bit number
    EXPECT_EQ(List{}, Codes("<#Embed.1.2:a"));              // never closed
    EXPECT_EQ(List{}, Codes("<#Embed.1.2:a#"));
    EXPECT_EQ(List{}, Codes("<#Embed.1.2:"));
    EXPECT_EQ(List{}, Codes("<#Embed.1."));
    EXPECT_EQ(List{}, Codes("<#Embed."));
}

TEST(EmbedCodes, ANameMayHoldTheMarkThatIsNotItsEnd) {
    EXPECT_EQ(List{"1.2:C# price@0-22"}, Codes("<#Embed.1.2:C# price#>"));
    EXPECT_EQ(List{"1.2:@0-14"}, Codes("<#Embed.1.2:#>"));
}

TEST(EmbedCodes, AnUnclosedCodeDoesNotSwallowTheNext) {
    EXPECT_EQ(List{"3.4:b@13-28"}, Codes("<#Embed.1.2:a<#Embed.3.4:b#>"));
}

TEST(EmbedCodes, TenMegabytesOfHostileTextTakeLinearTime) {
    for (const std::string_view piece :
         {"<#Embed.1.2:", "#Embed.", "<#Embed.1.2:a#", "&lt;#Embed.1.2:", "<#Embed.1.2:a#>", "#",
          "<#Embed.99999999999999999999.1:"}) {
        std::string text;
        while (text.size() < 10'000'000) {
            text += piece;
        }
        const auto started = std::chrono::steady_clock::now();
        std::size_t codes = 0;
        for (auto code = FindEmbedCode(text, 0); code; code = FindEmbedCode(text, code->end)) {
            ++codes;
        }
        EXPECT_EQ(piece.ends_with("#>") ? text.size() / piece.size() : 0, codes) << piece;
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5)) << piece;
    }
}

}  // namespace
}  // namespace twupdate
