#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <random>
#include <regex>
#include <stdexcept>

#include "support/recording_host.h"
#include "support/update_test_peer.h"

namespace twupdate {
namespace {

using test::MapFeature;

// --- CreateCartFieldSequence -------------------------------------------------------------------

std::string Sequence(std::map<std::string, Value> settings) {
    return Update().CreateCartFieldSequence(
        std::make_shared<MapFeature>(std::move(settings)), "ShowBillingName",
        "ShowBillingOrganization", "ShowBillingAddress", "ShowBillingCountry",
        "ShowBillingPostCode", "ShowBillingEmail", "ShowBillingTelephone");
}

TEST(CartFieldSequence, ShowsEverythingWithEverySettingTrue) {
    EXPECT_EQ(Sequence({{"ShowBillingName", -1},
                        {"ShowBillingOrganization", -1},
                        {"ShowBillingAddress", -1},
                        {"ShowBillingCountry", -1},
                        {"ShowBillingPostCode", -1},
                        {"ShowBillingEmail", -1},
                        {"ShowBillingTelephone", -1}}),
              "0,1,2,3,4,5,6,7,8,9,10");
}

TEST(CartFieldSequence, ShowsSixAloneWithEverySettingFalse) {
    EXPECT_EQ(Sequence({{"ShowBillingName", 0},
                        {"ShowBillingOrganization", 0},
                        {"ShowBillingAddress", 0},
                        {"ShowBillingCountry", 0},
                        {"ShowBillingPostCode", 0},
                        {"ShowBillingEmail", 0},
                        {"ShowBillingTelephone", 0}}),
              "6");
}

TEST(CartFieldSequence, CountsAnAbsentSettingAsFalse) {
    EXPECT_EQ(Sequence({}), "6");
    EXPECT_EQ(Sequence({{"ShowBillingName", Value()}}), "6");
}

TEST(CartFieldSequence, OnlyTheAddressBringsTheOrganizationWithIt) {
    EXPECT_EQ(Sequence({{"ShowBillingAddress", -1}}), "1,2,3,4,5,6");
}

TEST(CartFieldSequence, OnlyTheOrganization) {
    EXPECT_EQ(Sequence({{"ShowBillingOrganization", -1}}), "1,6");
}

TEST(CartFieldSequence, EachOtherSettingAlone) {
    EXPECT_EQ(Sequence({{"ShowBillingName", -1}}), "0,6");
    EXPECT_EQ(Sequence({{"ShowBillingPostCode", -1}}), "6,7");
    EXPECT_EQ(Sequence({{"ShowBillingCountry", -1}}), "6,8");
    EXPECT_EQ(Sequence({{"ShowBillingEmail", -1}}), "6,9");
    EXPECT_EQ(Sequence({{"ShowBillingTelephone", -1}}), "6,10");
}

TEST(CartFieldSequence, OnlyMinusOneIsTrue) {
    EXPECT_EQ(Sequence({{"ShowBillingName", 1}}), "6");
    EXPECT_EQ(Sequence({{"ShowBillingName", "-1"}}), "0,6");
    EXPECT_EQ(Sequence({{"ShowBillingName", -1.0}}), "0,6");
    EXPECT_EQ(Sequence({{"ShowBillingName", "yes"}}), "6");
    EXPECT_EQ(Sequence({{"ShowBillingName", ""}}), "6");
}

TEST(CartFieldSequence, TakesTheSettingsUnderTheNamesItIsGiven) {
    const auto cart = std::make_shared<MapFeature>(
        std::map<std::string, Value>{{"ShowShippingPostCode", -1}, {"ShowBillingTelephone", -1}});
    EXPECT_EQ(Update().CreateCartFieldSequence(cart, "ShowShippingName", "ShowShippingOrganization",
                                               "ShowShippingAddress", "ShowShippingCountry",
                                               "ShowShippingPostCode", "ShowShippingEmail",
                                               "ShowBillingTelephone"),
              "6,7,10");
}

TEST(CartFieldSequence, PassesOnAFailingGetSetting) {
    class FailingFeature : public Feature {
        Value GetSetting(const std::string&) override { throw HostError("", 5, "", "no settings"); }
    };
    EXPECT_THROW(Update().CreateCartFieldSequence(std::make_shared<FailingFeature>(), "a", "b", "c",
                                                  "d", "e", "f", "g"),
                 HostError);
}

TEST(CartFieldSequence, NeedsACart) {
    EXPECT_THROW(Update().CreateCartFieldSequence(nullptr, "a", "b", "c", "d", "e", "f", "g"),
                 std::invalid_argument);
}

// --- ConvertOrderDetailsTags -------------------------------------------------------------------

std::string Convert(std::string_view text) {
    return UpdateTestPeer::ConvertOrderDetailsTags(text);
}

/// The codes, in the order of the table that defines them.
const std::vector<std::pair<std::string, std::string>> kCodes = {{"orderid", "17.0"},
                                                                 {"subtotal", "17.1"},
                                                                 {"charges", "17.2"},
                                                                 {"total", "17.3"},
                                                                 {"itemlisting", "17.4"},
                                                                 {"itemnumberlisting", "17.5"},
                                                                 {"billingname", "17.6"},
                                                                 {"billingorganization", "17.7"},
                                                                 {"billingaddress", "17.8"},
                                                                 {"billingcountry", "17.9"},
                                                                 {"billingpostcode", "17.10"},
                                                                 {"billingtelephone", "17.11"},
                                                                 {"billingemail", "17.12"},
                                                                 {"shippingname", "17.13"},
                                                                 {"shippingorganization", "17.14"},
                                                                 {"shippingaddress", "17.15"},
                                                                 {"shippingcountry", "17.16"},
                                                                 {"shippingpostcode", "17.17"},
                                                                 {"shippingemail", "17.18"},
                                                                 {"summarypagelink", "17.19"},
                                                                 {"completed", "17.20"},
                                                                 {"paymentamount", "18.0"},
                                                                 {"paymenttransactionid", "18.1"},
                                                                 {"paymentdate", "18.2"}};

TEST(OrderDetailsTags, ATextWithoutTagsIsReturnedUnchanged) {
    EXPECT_EQ(Convert(""), "");
    EXPECT_EQ(Convert("Dear <b>customer</b>, 1 < 2 & #3 > #2"),
              "Dear <b>customer</b>, 1 < 2 & #3 > #2");
}

TEST(OrderDetailsTags, KnowsEveryIdentifier) {
    for (const auto& [identifier, code] : kCodes) {
        EXPECT_EQ(Convert("a<#OrderDetails:Name=The name,Id=" + identifier + "#>b"),
                  "a<#Embed." + code + ":The name#>b");
    }
}

TEST(OrderDetailsTags, EscapedBracketsBecomePlainOnes) {
    EXPECT_EQ(Convert("&lt;#OrderDetails:Name=Total,Id=total#&gt;"), "<#Embed.17.3:Total#>");
    EXPECT_EQ(Convert("&lt;#OrderDetails:Name=Total,Id=total#>"), "<#Embed.17.3:Total#>");
    EXPECT_EQ(Convert("<#OrderDetails:Name=Total,Id=total#&gt;"), "<#Embed.17.3:Total#>");
}

TEST(OrderDetailsTags, ComparesIdentifiersAndTagsToTheLetter) {
    EXPECT_EQ(Convert("<#OrderDetails:Name=T,Id=Total#>"), "<#Embed.:T#>");
    EXPECT_EQ(Convert("<#orderdetails:Name=T,Id=total#>"), "<#orderdetails:Name=T,Id=total#>");
    EXPECT_EQ(Convert("&LT;#OrderDetails:Name=T,Id=total#>"),
              "&LT;#OrderDetails:Name=T,Id=total#>");
}

TEST(OrderDetailsTags, AnUnknownIdentifierKeepsTheCodeOfTheTagBeforeIt) {
    EXPECT_EQ(Convert("<#OrderDetails:Name=A,Id=x#> <#OrderDetails:Name=B,Id=paymentdate#> "
                      "<#OrderDetails:Name=C,Id=x#> <#OrderDetails:Name=D,Id=orderid#> "
                      "<#OrderDetails:Name=E,Id=x#>"),
              "<#Embed.:A#> <#Embed.18.2:B#> <#Embed.18.2:C#> <#Embed.17.0:D#> <#Embed.17.0:E#>");
}

TEST(OrderDetailsTags, TheFirstOfEqualTagsDecidesForAll) {
    // The second "A" follows another code, but the first one's replacement took its place.
    EXPECT_EQ(Convert("<#OrderDetails:Name=A,Id=x#><#OrderDetails:Name=B,Id=total#>"
                      "<#OrderDetails:Name=A,Id=x#><#OrderDetails:Name=C,Id=x#>"),
              "<#Embed.:A#><#Embed.17.3:B#><#Embed.:A#><#Embed.17.3:C#>");
}

TEST(OrderDetailsTags, ANameMayHoldLineBreaksAndANameOrIdentifierIsNeverEmpty) {
    EXPECT_EQ(Convert("<#OrderDetails:Name=two\r\nlines,Id=total#>"),
              "<#Embed.17.3:two\r\nlines#>");
    const std::string noName = "<#OrderDetails:Name=,Id=total#>";
    EXPECT_EQ(Convert(noName), noName);
    const std::string noIdentifier = "<#OrderDetails:Name=A,Id=#>";
    EXPECT_EQ(Convert(noIdentifier), noIdentifier);
}

TEST(OrderDetailsTags, ATagThatDoesNotEndDoesNotHideALaterOne) {
    EXPECT_EQ(Convert("<#OrderDetails:Name=A, Id=total#> <#OrderDetails:Name=B,Id=total#>"),
              "<#OrderDetails:Name=A, Id=total#> <#Embed.17.3:B#>");
    EXPECT_EQ(Convert("<#OrderDetails:Name=A,Id=total <#OrderDetails:Name=B,Id=total#>"),
              "<#OrderDetails:Name=A,Id=total <#Embed.17.3:B#>");
}

TEST(OrderDetailsTags, ATagInANameBelongsToTheName) {
    EXPECT_EQ(Convert("<#OrderDetails:Name=A <#OrderDetails:Name=B,Id=total#>"),
              "<#Embed.17.3:A <#OrderDetails:Name=B#>");
}

TEST(OrderDetailsTags, AReplacementIsSearchedForTheTagsThatFollow) {
    // Replacing the first tag leaves "<#OrderDetails:Name=B#>,Id=orderid#>" in the text: that is,
    // to the letter, the second tag.
    EXPECT_EQ(Convert("<#OrderDetails:Name=A<#OrderDetails:Name=B,Id=total#>,Id=orderid#> "
                      "<#OrderDetails:Name=B#>,Id=orderid#>"),
              "<#Embed.17.3:A<#Embed.17.0:B#>#> <#Embed.17.0:B#>#>");
}

/// The conversion as its definition reads, for small texts.
struct Reference {
    std::size_t matches = 0;
    std::string converted;

    explicit Reference(const std::string& text) : converted(text) {
        static const std::regex pattern(
            "(?:&lt;|<)#OrderDetails:Name=([^,]+),Id=([^#]+)#(?:&gt;|>)");
        static const std::map<std::string, std::string> codes(kCodes.begin(), kCodes.end());
        std::string code;
        for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end;
             ++match) {
            ++matches;
            const auto known = codes.find((*match)[2].str());
            if (known != codes.end()) {
                code = known->second;
            }
            ReplaceEvery((*match)[0].str(), "<#Embed." + code + ":" + (*match)[1].str() + "#>");
        }
    }

    void ReplaceEvery(const std::string& from, const std::string& to) {
        for (auto at = converted.find(from); at != std::string::npos;
             at = converted.find(from, at + to.size())) {
            converted.replace(at, from.size(), to);
        }
    }
};

TEST(OrderDetailsTags, AgreesWithTheDefinitionOnRandomTexts) {
    const std::vector<std::string> fragments = {"<#OrderDetails:Name=",
                                                "<#OrderDetails:Name=",
                                                "&lt;#OrderDetails:Name=",
                                                "#OrderDetails:Name=",
                                                ",Id=",
                                                ",Id=",
                                                ",Id=total#>",
                                                "<#OrderDetails:Name=A,Id=total#>",
                                                "<#OrderDetails:Name=A,Id=x#>",
                                                "#>",
                                                "#>",
                                                "#&gt;",
                                                "#",
                                                ",",
                                                "<",
                                                ">",
                                                "&lt;",
                                                "&gt;",
                                                "A",
                                                "orderid",
                                                "x",
                                                "\n"};
    std::mt19937 random(20260101);
    std::size_t withSeveralTags = 0;
    for (int i = 0; i < 20000; ++i) {
        std::string text;
        for (std::size_t count = 1 + random() % 30; count > 0; --count) {
            text += fragments[random() % fragments.size()];
        }
        const Reference reference(text);
        withSeveralTags += reference.matches > 1 ? 1 : 0;
        ASSERT_EQ(Convert(text), reference.converted) << text;
    }
    EXPECT_GT(withSeveralTags, 2000U);
}

std::string Repeated(std::string_view text, std::size_t times) {
    std::string repeated;
    repeated.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) {
        repeated += text;
    }
    return repeated;
}

TEST(OrderDetailsTags, AboveSixtyFourTagsAReplacementIsNotSearchedAgain) {
    const std::string nested =
        "<#OrderDetails:Name=A<#OrderDetails:Name=B,Id=total#>,Id=orderid#> "
        "<#OrderDetails:Name=B#>,Id=orderid#>";  // two tags
    const std::string plain = "<#OrderDetails:Name=C,Id=charges#>";
    const std::string converted = "<#Embed.17.2:C#>";
    EXPECT_EQ(Convert(nested + Repeated(plain, 62)),
              "<#Embed.17.3:A<#Embed.17.0:B#>#> <#Embed.17.0:B#>#>" + Repeated(converted, 62));
    EXPECT_EQ(Convert(nested + Repeated(plain, 63)),
              "<#Embed.17.3:A<#OrderDetails:Name=B#>,Id=orderid#> <#Embed.17.0:B#>#>" +
                  Repeated(converted, 63));
}

/// What is made of a text with many nested tags, in the simplest way: every tag is replaced where
/// it stands, by what the first of its wording gives.
struct InPlace {
    std::size_t matches = 0;
    bool nested = false;
    std::string converted;

    explicit InPlace(const std::string& text) {
        static const std::regex pattern(
            "(?:&lt;|<)#OrderDetails:Name=([^,]+),Id=([^#]+)#(?:&gt;|>)");
        static const std::map<std::string, std::string> codes(kCodes.begin(), kCodes.end());
        std::map<std::string, std::string> replacements;
        std::string code;
        std::string rest = text;
        for (std::smatch match; std::regex_search(rest, match, pattern); rest = match.suffix()) {
            ++matches;
            nested = nested || match[1].str().find("#OrderDetails:Name=") != std::string::npos;
            const auto known = codes.find(match[2].str());
            if (known != codes.end()) {
                code = known->second;
            }
            replacements.emplace(match[0].str(), "<#Embed." + code + ":" + match[1].str() + "#>");
            converted += match.prefix().str() + replacements.at(match[0].str());
        }
        converted += rest;
    }
};

TEST(OrderDetailsTags, ManyNestedTagsAreReplacedWhereTheyStand) {
    const std::vector<std::string> fragments = {"<#OrderDetails:Name=",
                                                "&lt;#OrderDetails:Name=",
                                                "<#OrderDetails:Name=A,Id=total#>",
                                                "<#OrderDetails:Name=A,Id=x#>",
                                                "<#OrderDetails:Name=B,Id=x#&gt;",
                                                "<#OrderDetails:Name=B#>,Id=orderid#>",
                                                ",Id=orderid#>",
                                                ",Id=x#>",
                                                "A",
                                                "B",
                                                "#>",
                                                " "};
    std::mt19937 random(20260102);
    std::size_t manyNested = 0;
    for (int i = 0; i < 300; ++i) {
        std::string text;
        for (int count = 0; count < 250; ++count) {
            text += fragments[random() % fragments.size()];
        }
        const InPlace reference(text);
        if (reference.matches > 64 && reference.nested) {
            ++manyNested;
            ASSERT_EQ(Convert(text), reference.converted) << text;
        }
    }
    EXPECT_GT(manyNested, 200U);
}

/// Milliseconds that the conversion takes.
template <typename Check>
auto Milliseconds(const std::string& text, const Check& check) {
    const auto begin = std::chrono::steady_clock::now();
    const std::string converted = Convert(text);
    const auto end = std::chrono::steady_clock::now();
    check(converted);
    return std::chrono::duration_cast<std::chrono::milliseconds>(end - begin).count();
}

// Far above what a linear conversion takes in a debug build, far below what a quadratic one does.
constexpr int kLinear = 8000;

TEST(OrderDetailsTags, TakesAnEmailOfTenMegabytes) {
    const std::string paragraph(1000, 'p');
    const std::string tag = "<#OrderDetails:Name=Total,Id=total#>";
    std::string text;
    std::string expected;
    while (text.size() < 10'000'000) {
        text += paragraph + tag;
        expected += paragraph + "<#Embed.17.3:Total#>";
    }
    EXPECT_LT(Milliseconds(
                  text, [&](const std::string& converted) { EXPECT_TRUE(converted == expected); }),
              kLinear);
}

TEST(OrderDetailsTags, TakesATagOfTenMegabytes) {
    const std::string name = Repeated("n", 10'000'000);
    EXPECT_LT(Milliseconds("<#OrderDetails:Name=" + name + ",Id=total#>",
                           [&](const std::string& converted) {
                               EXPECT_TRUE(converted == "<#Embed.17.3:" + name + "#>");
                           }),
              kLinear);
}

TEST(OrderDetailsTags, TakesAMillionOpenedTagsWithoutAnEnd) {
    for (const char* opener :
         {"<#OrderDetails:Name=", "<#OrderDetails:Name=A,Id=", "<#OrderDetails:Name=A,Id=total",
          "&lt;#OrderDetails:Name=,", "<#OrderDetails:Name=A,Id=total#"}) {
        const std::string text = Repeated(opener, 1'000'000);
        EXPECT_LT(Milliseconds(
                      text, [&](const std::string& converted) { EXPECT_TRUE(converted == text); }),
                  kLinear)
            << opener;
    }
}

TEST(OrderDetailsTags, TakesAMillionOpenedTagsWithOneEnd) {
    const std::string openers = Repeated("<#OrderDetails:Name=", 1'000'000);
    EXPECT_LT(
        Milliseconds(openers + "A,Id=total#>",
                     [&](const std::string& converted) {
                         EXPECT_TRUE(converted == "<#Embed.17.3:" + openers.substr(20) + "A#>");
                     }),
        kLinear);
}

TEST(OrderDetailsTags, TakesManyDifferentTags) {
    std::string text;
    std::string expected;
    for (int i = 0; i < 200'000; ++i) {
        text += "<#OrderDetails:Name=" + std::to_string(i) + ",Id=total#>";
        expected += "<#Embed.17.3:" + std::to_string(i) + "#>";
    }
    EXPECT_LT(Milliseconds(
                  text, [&](const std::string& converted) { EXPECT_TRUE(converted == expected); }),
              kLinear);
}

TEST(OrderDetailsTags, TakesTagsThatHoldManyOpeners) {
    // Each tag repeats a beginning that a plain search would compare again and again.
    const std::string tag =
        Repeated("<#OrderDetails:Name=", 5'000) + Repeated("A", 100) + ",Id=total#>";
    for (const std::size_t tags : {20U, 100U}) {
        const std::string text = Repeated(tag + Repeated("<#OrderDetails:Name=", 10), tags);
        EXPECT_LT(Milliseconds(text,
                               [&](const std::string& converted) {
                                   EXPECT_LT(converted.size(), text.size());
                               }),
                  kLinear);
    }
}

}  // namespace
}  // namespace twupdate
