#include <random>

#include "site_content_site.h"
#include "support/trials.h"

namespace twupdate::test {
namespace {

/// A stranger's text: what breaks statements that are put together carelessly, in any order.
std::string HostileText(std::mt19937& random, std::size_t pieces) {
    static const std::vector<std::string> kPieces{"'",
                                                  "\\",
                                                  "''",
                                                  "\\'",
                                                  "\r\n",
                                                  "\r",
                                                  "\n",
                                                  std::string(1, '\0'),
                                                  "\x1a",
                                                  "\"",
                                                  "`",
                                                  ";",
                                                  "-- ",
                                                  "/*",
                                                  "*/",
                                                  "%",
                                                  "_",
                                                  "é",
                                                  "€",
                                                  "漢",
                                                  "😀",
                                                  "\x7f",
                                                  "?",
                                                  "#",
                                                  "<",
                                                  ">",
                                                  "&lt;",
                                                  "&gt;",
                                                  " ",
                                                  "'); DROP TABLE tw_7.text; -- ",
                                                  "text",
                                                  "tw_7",
                                                  "NULL",
                                                  "\\0",
                                                  "\\n",
                                                  "#Embed.",
                                                  "<#",
                                                  "#>",
                                                  "x' OR '1'='1",
                                                  "SELECT",
                                                  "0x41",
                                                  "{siteid}",
                                                  "\t",
                                                  "\xEF\xBB\xBF"};
    std::string text;
    for (std::size_t i = 0; i < pieces; ++i) {
        text += kPieces[random() % kPieces.size()];
    }
    return text;
}

/// At most `characters` characters of the text, truncated between characters.
std::string FirstCharacters(const std::string& text, std::size_t characters) {
    std::size_t at = 0;
    for (; at < text.size(); ++at) {
        const bool begins = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
        if (begins && characters-- == 0) {
            break;
        }
    }
    return text.substr(0, at);
}

/// A literal that is safe by construction, for the test's own statements.
std::string Hex(const std::string& text) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string literal = "CONVERT(X'";
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        literal += kDigits[byte >> 4];
        literal += kDigits[byte & 15];
    }
    return literal + "' USING utf8mb4)";
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string AngleBracketsEscaped(const std::string& text) {
    std::string escaped;
    for (const char c : text) {
        escaped += c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    return escaped;
}

class SiteContentHostileText : public SiteContentTest {
  protected:
    void SetUp() override { LoadContentSite(); }

    /// One statement on the server, sent as it is (a script would be split at semicolons).
    void Run(const std::string& sql) {
        std::int64_t rows = 0;
        Host()->GetDatabase()->Execute(sql, rows);
    }
    std::string Text(const std::string& sql) {
        const auto rows = Host()->GetDatabase()->OpenRecordset(sql, 0, 0);
        return rows->IsEOF() ? "(no row)" : rows->Fields().Item("t").Value().ToText();
    }
};

// Each pass takes its own texts through every step that copies text.
TEST_F(SiteContentHostileText, EveryCopyIsWhatTheRuleSaysByteForByte) {
    std::mt19937 random(20260000);
    const int passes = Soak() ? 200 : 6;
    Trials trials("hostile texts: each copy byte for byte");
    for (int pass = 0; pass < passes; ++pass) {
        trials.Next();
        SCOPED_TRACE("pass " + std::to_string(pass));
        Clear();
        Run("ALTER TABLE tw_7.email DROP COLUMN IF EXISTS ishtml;");
        const auto longText = [&] { return HostileText(random, 1 + random() % 200); };
        const auto shortText = [&](std::size_t most) {
            // Trailing blanks are not distinguished by a VARCHAR's own comparison; end with a
            // letter.
            return FirstCharacters(HostileText(random, most), most - 1) + "z";
        };

        // 1.0007: names and passwords of charges
        const std::string chargeName = shortText(100);
        const std::string password = shortText(20);
        Run("INSERT INTO tw_7.charge(chargeid, name, password) VALUES(1, " + Hex(chargeName) +
            ", " + Hex(password) + ");");
        RunStep("SiteContentStep_1_0007", 7);
        EXPECT_EQ(chargeName, Text("SELECT name AS t FROM tw_7.chargegroup"));
        EXPECT_EQ(chargeName, Text("SELECT name AS t FROM tw_7.chargeoption"));
        EXPECT_EQ(password, Text("SELECT password AS t FROM tw_7.chargeoption"));

        // 1.0009, 1.0017: names and values of styles
        const std::string tagName = "span.TreeLink" + shortText(150);
        const std::string value = shortText(255);
        const std::string attribute = "a" + shortText(40);
        Run("INSERT INTO tw_7.tag(tagid, name) VALUES(1, " + Hex(tagName) + ");");
        Run("INSERT INTO tw_7.tag(tagid, name, overrideid) VALUES(2, '.heading', 3);");
        for (const char* tag : {"1", "2"}) {
            Run(std::string("INSERT INTO tw_7.attribute(tagid, name, value) VALUES(") + tag + ", " +
                Hex(attribute) + ", " + Hex(value) + ");");
        }
        RunStep("SiteContentStep_1_0009", 7);
        RunStep("SiteContentStep_1_0009", 7);
        RunStep("SiteContentStep_1_0017", 7);
        EXPECT_EQ("div.twTreeNode span.SiteTreeLink[suffix]" + tagName.substr(13),
                  Text("SELECT name AS t FROM tw_7.tag WHERE tagid = 3"));
        EXPECT_EQ("4", Cell("SELECT COUNT(*) FROM tw_7.tag"));
        for (const char* tag : {"3", "4"}) {
            EXPECT_EQ(value, Text(std::string("SELECT value AS t FROM tw_7.attribute WHERE tagid "
                                              "= ") +
                                  tag));
        }

        // 1.0019, 1.0222, 1.0026: texts and settings
        const std::string phrase = longText();
        const std::string found = longText();
        const std::string forgotten = longText();
        Run("INSERT INTO tw_7.feature(featureid, componentid) VALUES(1, 100);");
        Run("INSERT INTO tw_7.override(overrideid, featureid) VALUES(1, 1);");
        Run("INSERT INTO tw_7.setting(overrideid, name, type, text) VALUES(1, 'FindResultsPhrase', "
            "'text', " +
            Hex(phrase) + "), (1, 'ForgottenPasswordText', 'text', " + Hex(forgotten) +
            "), (1, 'ExplicitLayoutElements', 'text', " + Hex("1," + found + ",2") + ");");
        Run("INSERT INTO tw_7.layoutelement(elementid, featureid, name, sequence) VALUES(11, 1, "
            "'a', 1), (12, 1, 'b', 2);");
        Run("INSERT INTO tw_7.text(textid, featureid, subfeatureid, texttype, text) VALUES(1, 1, "
            "9, 22, " +
            Hex(found) + ");");
        RunStep("SiteContentStep_1_0019", 7);
        EXPECT_EQ("<p>" + phrase + found + "</p>",
                  Text("SELECT text AS t FROM tw_7.text WHERE textid = 1"));
        RunStep("SiteContentStep_1_0222", 7);
        EXPECT_EQ("<p>" + forgotten + "</p>",
                  Text("SELECT text AS t FROM tw_7.text WHERE subfeatureid = 2"));
        RunStep("SiteContentStep_1_0026", 7);
        EXPECT_EQ("11,12", Text("SELECT text AS t FROM tw_7.setting WHERE name = "
                                "'LayoutElementIds'"));

        // 1.0043, 1.0049, 1.0050: e-mails
        const std::string message = longText() + "<#OrderDetails:Name=A'\\,Id=total#>" + longText();
        Run("INSERT INTO tw_7.email(emailid, message) VALUES(1, " + Hex(message) + ");");
        RunStep("SiteContentStep_1_0043", 7);
        const std::string escaped = AngleBracketsEscaped(message);
        EXPECT_EQ(escaped, Text("SELECT message AS t FROM tw_7.email"));
        RunStep("SiteContentStep_1_0049", 7);
        const std::string embedded =
            Replaced(escaped, "&lt;#OrderDetails:Name=A'\\,Id=total#&gt;", "<#Embed.17.3:A'\\#>");
        EXPECT_EQ(embedded, Text("SELECT message AS t FROM tw_7.email"));
        RunStep("SiteContentStep_1_0050", 7);
        EXPECT_EQ(Replaced(embedded, "#Embed.", "#E-Embed."),
                  Text("SELECT message AS t FROM tw_7.email"));

        // 1.0054: addresses
        const std::string line1 = shortText(100);
        const std::string line2 = shortText(100);
        Run("INSERT INTO tw_7.security(userid, address1, address2) VALUES(1, " + Hex(line1) + ", " +
            Hex(line2) + ");");
        RunStep("SiteContentStep_1_0054", 7);
        EXPECT_EQ(line1 + ", " + line2, Text("SELECT address AS t FROM tw_7.security"));

        // 1.0081, 1.0237: values of settings
        const std::string url = shortText(255);
        Run("UPDATE tw_7.feature SET componentid = 1000;");
        Run("INSERT INTO tw_7.navigation(navigationid, featureid) VALUES(5, 1);");
        Run("INSERT INTO tw_7.setting(overrideid, name, type, string_value) VALUES(1, 'canonical', "
            "'string', " +
            Hex(url) + "), (1, 'DefaultCountryId', 'string', " + Hex(value) + ");");
        RunStep("SiteContentStep_1_0081", 7);
        RunStep("SiteContentStep_1_0237", 7);
        EXPECT_EQ(value, Text("SELECT string_value AS t FROM tw_7.setting WHERE name = "
                              "'DefaultShippingCountryId'"));
        EXPECT_EQ(url, Text("SELECT url AS t FROM tw_7.directurl"));
        EXPECT_EQ(url, Text("SELECT canonical AS t FROM tw_7.navigation"));

        // 1.0242: view texts. A name that holds no "#" is taken over as it stands.
        const std::string name = Replaced(longText(), "#", "");
        const std::string before = longText() + " ";
        const std::string after = " " + longText();
        Run("INSERT INTO tw_7.formtemplate(featureid) VALUES(1);");
        Run("INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, featureid, queryfieldid) "
            "VALUES(31, 1, 41);");
        Run("INSERT INTO tw_7.queryfieldsrc(queryfieldid, tableid, srcfieldid) VALUES(41, 51, "
            "61);");
        Run("INSERT INTO tw_7.querytable(tableid, srctableid) VALUES(51, 70);");
        Run("INSERT INTO tw_7.formfield(formfieldid, featureid, type, targetformfeatureid) "
            "VALUES(61, 70, 'multiformlink', 71);");
        Run("INSERT INTO tw_7.text(textid, featureid, subfeatureid, text, previoustext) VALUES(90, "
            "1, 8, " +
            Hex(before + "<#Embed.9.31:" + name + "#>" + after) + ", " +
            Hex(before + "&lt;#Embed.9.31:" + name + "#&gt;" + after) + ");");
        RunStep("SiteContentStep_1_0242", 7);
        const std::string view = before + "<#TextEmbed.1:" + name + "#>" + after;
        EXPECT_EQ(view, Text("SELECT text AS t FROM tw_7.text WHERE textid = 90"));
        EXPECT_EQ(view, Text("SELECT previoustext AS t FROM tw_7.text WHERE textid = 90"));
    }
}

// Ten megabytes of what makes a careless scan quadratic or deep. A text of quotes alone doubles
// in its statement: the server must take statements of more than twenty megabytes, as the private
// server does.
TEST_F(SiteContentHostileText, TenMegabytesGoThroughInLinearTime) {
    std::vector<std::string> pieces{"'", "<#Embed.9.31:"};
    if (Soak()) {
        pieces.insert(pieces.end(), {"\\", "\r\n", "<", "&lt;#OrderDetails:Name=", "é€漢😀"});
    }
    for (const std::string& piece : pieces) {
        SCOPED_TRACE(piece);
        Clear();
        Run("ALTER TABLE tw_7.email DROP COLUMN IF EXISTS ishtml;");
        std::string text;
        // Brackets become four times as long.
        while (text.size() < (piece[0] == '<' ? 4'000'000u : 10'000'000u)) {
            text += piece;
        }
        Run("INSERT INTO tw_7.email(emailid, message) VALUES(1, " + Hex(text) + ");");
        RunStep("SiteContentStep_1_0043", 7);
        RunStep("SiteContentStep_1_0049", 7);
        EXPECT_TRUE(AngleBracketsEscaped(text) == Text("SELECT message AS t FROM tw_7.email"));

        Run("INSERT INTO tw_7.text(textid, featureid, texttype, text) VALUES(1, 1, 22, " +
            Hex(text) + ");");
        RunStep("SiteContentStep_1_0019", 7);
        EXPECT_TRUE("<p>" + text + "</p>" ==
                    Text("SELECT text AS t FROM tw_7.text WHERE textid = 1"));

        Run("INSERT INTO tw_7.formtemplate(featureid) VALUES(1);");
        Run("INSERT INTO tw_7.formtemplatefield(formtemplatefieldid, featureid, queryfieldid) "
            "VALUES(31, 1, 41);");
        Run("INSERT INTO tw_7.queryfieldsrc(queryfieldid, tableid, srcfieldid) VALUES(41, 51, "
            "61);");
        Run("INSERT INTO tw_7.querytable(tableid, srctableid) VALUES(51, 70);");
        Run("INSERT INTO tw_7.formfield(formfieldid, featureid, type) VALUES(61, 70, "
            "'multiformlink');");
        RunStep("SiteContentStep_1_0242", 7);  // no code ever ends
        EXPECT_TRUE("<p>" + text + "</p>" ==
                    Text("SELECT text AS t FROM tw_7.text WHERE textid = 1"));
    }
}

}  // namespace
}  // namespace twupdate::test
