#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace twupdate::sample {

/// The optional features of a site. Each brings a group of tables; a site has a group whole or
/// not at all.
enum class Group : std::uint8_t {
    kForms,
    kTemplates,  ///< queries over form records; needs the forms
    kFeeds,      ///< data feeds and external lookup feeds
    kShop,
    kCharges,     ///< needs the shop
    kAffiliates,  ///< needs the shop
    kForum,
    kOAuth,
};

using Groups = std::set<Group>;

/// Every optional feature.
Groups AllGroups();

/// The word for a group in site_optional.sql and on command lines, e.g. "forms".
std::string_view GroupName(Group group);

/// Splits an SQL script into its statements, each with its closing semicolon, without comments
/// ("-- " to the end of the line) and without the blanks around it. Semicolons and dashes inside
/// quoted text belong to the text.
std::vector<std::string> SplitStatements(std::string_view script);

/// The layouts of the platform's databases at version 1.0000, read from a folder of SQL files,
/// as lists of statements that are ready to run.
class Layouts {
  public:
    /// @param folder  holds central.sql, logs.sql, site_core.sql, site_optional.sql and
    ///                form_table.sql
    /// @throws std::runtime_error naming the file that is missing or lacks something
    explicit Layouts(const std::filesystem::path& folder = DefaultFolder());

    /// `../share/twupdate/layouts` beside the running program where that exists, else the folder
    /// of the source tree that the program was built from.
    static std::filesystem::path DefaultFolder();

    /// The database `tw_tarnwick` with its installation row at 1.0000.
    std::vector<std::string> Central() const;
    /// The site's table in `tw_logs`, and that database where it is missing.
    std::vector<std::string> Logs(std::int32_t siteId) const;
    /// The database of a site: the tables that every site has, then those of the groups.
    std::vector<std::string> Site(std::int32_t siteId, const Groups& groups) const;
    /// The data table of a form, without fields.
    std::vector<std::string> FormTable(std::int32_t siteId, std::int32_t featureId) const;
    /// The statement that adds a field's column to its form's table.
    /// @param type  as in `formfield.type`, e.g. "memo"
    std::string FormField(std::int32_t siteId, std::int32_t featureId, std::int32_t formFieldId,
                          const std::string& type) const;
    /// The words that `formfield.type` may hold.
    std::vector<std::string> FieldTypes() const;
    /// The central tables as an imported site carries them: in the site's database (which must
    /// exist), with the prefix `tw_`.
    std::vector<std::string> ImportedMasterData(std::int32_t siteId) const;

  private:
    std::string central_;
    std::string logs_;
    std::string siteCore_;
    std::map<std::string, std::string> groups_;
    std::string formTable_;
    std::map<std::string, std::string> formFields_;
};

}  // namespace twupdate::sample
