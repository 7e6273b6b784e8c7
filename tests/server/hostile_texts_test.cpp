// Texts that break carelessly made statements, in every text column of an installation, through the
// whole upgrade. The server's general log tells which statements it was sent: with the literals
// left out, they must be among those of an installation with ordinary texts.
#include <iostream>
#include <set>

#include "sample_installation.h"
#include "sql_tokens.h"
#include "support/trials.h"
#include "support/versions.h"

namespace twupdate::test {
namespace {

namespace fs = std::filesystem;

std::string Repeated(std::string_view text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; ++i) {
        all += text;
    }
    return all;
}

/// Each fills a column as far as it goes.
std::vector<std::string> Texts() {
    const std::size_t times = 2000;
    return {
        Repeated("'", times),
        Repeated("\\", times),
        "'); DROP TABLE tw_1.text; -- " + Repeated("x' OR '1'='1", times),
        Repeated("\\'\"`;\r\n\r\n#/**/--\t", times),
        std::string(1, '\0') + "a" + std::string(3, '\0') + "\x1a\x7f\x01" +
            Repeated("\\0\\n\\Z%_?", times),
        Repeated("../", times),
        "/etc/passwd" + Repeated("\\..\\..", times),
        Repeated("é€漢😀\xEF\xBB\xBF\xE2\x80\xAE", times),
        Repeated("<#Embed.9.31:", times),
        Repeated("&lt;#OrderDetails:Name=<#OrderDetails:Name=a,Id=total#>,Id=orderid#&gt;", times),
        Repeated("(((((SELECT ", times) + "tw_1.text",
        "NULL",
        "-9223372036854775808" + Repeated("9", times),
        "1,'2,3,,x\\," + Repeated("0x41,", times),
        "{siteid} tw_tarnwick.site#Embed.1e400 %s %n ${HOME} `id`",
        "",
    };
}

/// A literal that is safe by construction.
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

struct TextColumn {
    std::string table;  ///< with its database
    std::string name;
    std::string length;  ///< in characters
};

constexpr const char* kCollations[] = {"utf8mb4_general_ci", "latin1_swedish_ci", "utf8mb4_bin",
                                       "utf8mb4_unicode_520_ci"};

class HostileTexts : public SampleTest {
  protected:
    ~HostileTexts() override {
        Run("SET GLOBAL general_log = 0, log_output = 'FILE';");
        Run("TRUNCATE mysql.general_log;");
    }

    /// A site at 1.0000 with every feature, and its central database.
    void Make(const std::string& collation = kCollations[0]) {
        DropDatabases();
        Run("SET SESSION collation_server = " + collation + ";");
        fs::remove_all(Root() / "wwwroot");
        sample::SitePlan site;
        site.siteId = 1;
        site.groups = sample::AllGroups();
        const auto options = Options(0, 0);
        sample::WriteFiles(options, {site});
        sample::MakeCentral(Host(), options, {site});
        sample::MakeSite(Host(), options, site);
        // A step sets the texts of an e-mail that have brackets or tags: here, all of one.
        const std::string tag = " = '<#OrderDetails:Name=A,Id=total#>'";
        Run("UPDATE tw_1.email SET fromlist" + tag + ", tolist" + tag + ", cclist" + tag +
            ", bcclist" + tag + ", subject" + tag + ", message" + tag +
            " ORDER BY emailid LIMIT 1;");
        // A table without rows hides what a step does with them.
        for (const std::string& table :
             Rows("SELECT CONCAT(table_schema, '.', table_name) FROM information_schema.tables "
                  "WHERE table_schema IN('tw_1', 'tw_tarnwick', 'tw_logs')")) {
            if (Cell("SELECT COUNT(*) FROM " + table) == "0") {
                Run("INSERT IGNORE INTO " + table + " VALUES();");
            }
        }
    }

    std::vector<TextColumn> TextColumns() {
        std::vector<TextColumn> columns;
        const auto rows = Host()->GetConnection()->Query(
            "SELECT CONCAT(table_schema, '.', table_name), column_name, "
            "LEAST(character_maximum_length, 60000) FROM information_schema.columns WHERE "
            "table_schema IN('tw_1', 'tw_tarnwick', 'tw_logs') AND character_maximum_length IS NOT "
            "NULL ORDER BY table_schema, table_name, ordinal_position");
        while (rows->Next()) {
            columns.push_back(
                {rows->Get(0).ToText(), rows->Get(1).ToText(), rows->Get(2).ToText()});
        }
        return columns;
    }

    /// A unique key keeps what it would have twice.
    void Fill(const TextColumn& column, const std::string& text) {
        Run("UPDATE IGNORE " + column.table + " SET `" + column.name + "` = LEFT(" + Hex(text) +
            ", " + column.length + ");");
    }

    /// Upgrades, and gives the shapes of the statements that the server was sent. A list of
    /// literals may be longer or shorter.
    std::set<std::string> ShapesOfUpgrade() {
        Run("TRUNCATE mysql.general_log;");
        Run("SET GLOBAL log_output = 'TABLE', general_log = 1;");
        UpgradeInstallation();
        Run("SET GLOBAL general_log = 0;");
        std::set<std::string> shapes;
        const auto rows = Host()->GetConnection()->Query(
            "SELECT argument FROM mysql.general_log WHERE thread_id = CONNECTION_ID() AND "
            "command_type IN('Query', 'Prepare', 'Execute')");
        while (rows->Next()) {
            for (const std::string& shape : Apart(WithoutLists(rows->Get(0).ToText()))) {
                shapes.insert(shape);
            }
            ++statements_;
        }
        return shapes;
    }

    void Run(const std::string& sql) { Host()->GetConnection()->Execute(sql); }

    /// The files that do not belong to the site, inside the installation and beside it.
    std::set<std::string> OtherFiles() const {
        std::set<std::string> files;
        const std::string own = (Root() / "wwwroot/sites/1/").string();
        for (const auto& entry : fs::recursive_directory_iterator(Root())) {
            if (const std::string path = entry.path().string(); !path.starts_with(own)) {
                files.insert(path);
            }
        }
        for (const auto& entry : fs::directory_iterator(Root().parent_path())) {
            files.insert(entry.path().string());
        }
        return files;
    }

    std::size_t statements_ = 0;

  private:
    /// Signs and the lengths of lists belong to the literals.
    static std::string WithoutLists(const std::string& sql) {
        std::string shape = host::ShapeOf(sql);
        const std::pair<std::string, std::string> shorter[] = {
            {"- ? ", "? "}, {"? , ? ", "? "}, {"( ? ) , ( ? ) ", "( ? ) "}};
        for (const auto& [from, to] : shorter) {
            for (auto at = shape.find(from); at != std::string::npos; at = shape.find(from, at)) {
                shape.replace(at, from.size(), to);
            }
        }
        return shape;
    }

    /// One shape for each value that an UPDATE sets: a step leaves out those that do not change.
    static std::vector<std::string> Apart(const std::string& shape) {
        const std::string set = " SET ";
        const auto begin = shape.find(set);
        const auto end = shape.find(" WHERE ", begin);
        if (!shape.starts_with("UPDATE ") || end == std::string::npos) {
            return {shape};
        }
        std::vector<std::string> shapes;
        const std::string between = " , ";
        std::string values = shape.substr(begin + set.size(), end - begin - set.size()) + between;
        while (!values.empty()) {
            const auto comma = values.find(between);
            shapes.push_back(shape.substr(0, begin + set.size()) + values.substr(0, comma) +
                             shape.substr(end));
            values.erase(0, comma + between.size());
        }
        return shapes;
    }
};

// In an ordinary run every column has one of the texts, and a third of the columns at a time; with
// TWUPDATE_SOAK=1 it has each of them, beside fifteen times as many columns with ordinary texts.
TEST_F(HostileTexts, ChangeNoStatement) {
    Make();
    const std::set<std::string> ordinary = ShapesOfUpgrade();
    const std::set<std::string> files = OtherFiles();
    ASSERT_GT(ordinary.size(), 500U);
    const std::vector<std::string> texts = Texts();
    const std::size_t groups = Soak() ? 16 : 3;
    const std::size_t rounds = Soak() ? texts.size() : 1;
    std::set<std::string> filled;
    std::size_t pairs = 0;
    statements_ = 0;
    Trials trials("hostile texts in all text columns: shapes of the statements of a whole upgrade");
    for (std::size_t run = 0; run < groups * rounds; ++run) {
        trials.Next();
        Make(kCollations[run % std::size(kCollations)]);
        const auto columns = TextColumns();
        std::string trace;
        for (std::size_t i = run % groups; i < columns.size(); i += groups) {
            const std::size_t text = (i + run / groups) % texts.size();
            Fill(columns[i], texts[text]);
            filled.insert(columns[i].table + "." + columns[i].name);
            trace += columns[i].table + "." + columns[i].name + " " + std::to_string(text) + "\n";
            ++pairs;
        }
        SCOPED_TRACE(trace);
        for (const std::string& shape : ShapesOfUpgrade()) {
            EXPECT_TRUE(ordinary.contains(shape)) << shape.substr(0, 2000);
        }
        EXPECT_EQ(OtherFiles(), files);
        EXPECT_EQ(Cell("SELECT version FROM tw_tarnwick.installation"), kCurrentStored);
    }
    std::cout << "hostile texts: " << texts.size() << ", columns: " << filled.size()
              << ", texts in columns: " << pairs << ", statements compared: " << statements_
              << "\n";
}

}  // namespace
}  // namespace twupdate::test
