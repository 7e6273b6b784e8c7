#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "cli/server/feature_evidence.h"
#include "twupdate_host/catalogue.h"
#include "twupdate_host/connection.h"

namespace twupdate::cli {

/// A column or a key of a table.
struct LayoutItem {
    /// e.g. "siteid INT DEFAULT '0' NOT NULL" or "KEY siteid_idx(siteid)". Types have no display
    /// widths; defaults are quoted; other attributes come last ("INVISIBLE", "IGNORED"). An
    /// expected layout may have several alternatives; kAbsent is one of them if the item may be
    /// missing.
    std::vector<std::string> definitions;
    std::string step;  ///< the step that made it; empty: since 1.0000

    bool Allows(const std::string& definition) const;
};

/// Stands for an item that is missing.
inline constexpr const char* kAbsent = "absent";

/// The tables of a database, with their columns and keys by name ("siteid", "PRIMARY KEY",
/// "KEY siteid_idx"). The order of columns does not count.
struct Layout {
    struct Table {
        bool optional = false;  ///< belongs to a feature that a site may lack
        std::string feature;    ///< its name, e.g. "shop"; empty where none is known
        bool isView = false;    ///< a view has taken its place
        std::string step;       ///< as in LayoutItem
        std::map<std::string, LayoutItem> items;
    };
    std::map<std::string, Table> tables;

    /// The text form, one line for each table, column and key:
    ///
    ///     table charge optional charges
    ///         chargeid INT AUTO_INCREMENT NOT NULL
    ///         password VARCHAR(20) DEFAULT '' NOT NULL <- SiteSchemaStep_1_0007
    std::string Text() const;
    /// Reads the text form; blank lines and lines that begin with '#' are skipped.
    static Layout Parse(std::string_view text);
};

/// Reads the layout of a database. One that does not exist has no tables.
Layout ReadLayout(host::Connection& connection, const std::string& database);
Layout LayoutOf(const host::Catalogue::Database& database);

/// The layouts at the current version that this program was built with.
const Layout& CentralLayout();
const Layout& SiteLayout();
/// Of tw_logs, where each site has a table: only the keys that the ladders add, because the columns
/// belong to the web server.
/// @param tables  the existing tables
Layout LogsLayout(const std::vector<std::string>& tables);

/// The same layout as made by a server that gives LONGTEXT columns no default. If it gives the
/// texts of a primary key the default '', as MySQL 5.6 does, that is accepted as well.
Layout OnOldServer(Layout layout);

/// One difference between a database and the layout that it should have.
struct LayoutFinding {
    std::string database;
    std::string table;
    std::string item;      ///< a column, a key, or empty for the table
    std::string expected;  ///< definition; empty for a table
    std::string actual;    ///< empty: it is missing
    std::string step;     ///< the step that should have made it; empty: it belongs to every version
    std::string problem;  ///< if the two definitions do not show it

    /// "tw_7.charge: column password is missing; SiteSchemaStep_1_0007 makes it: password
    /// VARCHAR(20) …".
    std::string Text() const;
};

/// The features of which the database has one of the original tables.
std::set<std::string> FeaturesWithTables(const Layout& expected, const Layout& actual);

/// What a database lacks or has with another definition; additional items are ignored.
/// @param absent    receives the names of the tables of features that it does not have. A site has
/// a
///                  feature if it has one of the feature's original tables, or other evidence of it
/// @param evidence  the features that something else shows
std::vector<LayoutFinding> Compare(const std::string& database, const Layout& expected,
                                   const Layout& actual, std::vector<std::string>& absent,
                                   const FeatureEvidence& evidence = {});

}  // namespace twupdate::cli
