#pragma once

#include <string_view>

#include "component/ladder_walk.h"
#include "component/ladders.h"
#include "twupdate/update.h"

namespace twupdate {

/// Lets tests call the private operations of Update one by one.
struct UpdateTestPeer {
    explicit UpdateTestPeer(Update& target) : update(target) {}

    /// Runs one rung of a ladder by its number, whatever the version.
    void RunSiteStep(Ladder ladder, std::size_t number, std::int32_t siteId) {
        if (ladder == Ladder::kSiteSchema) {
            RunRung(Update::Ladders::kSiteSchema.at(number - 1), siteId);
        } else {
            RunRung(Update::Ladders::kSiteContent.at(number - 1), siteId);
        }
    }

    /// Runs a site step by name, e.g. "SiteSchemaStep_1_0001".
    void RunSiteStep(std::string_view name, std::int32_t siteId) {
        for (const Ladder ladder : {Ladder::kSiteSchema, Ladder::kSiteContent}) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (step.name == name) {
                    RunSiteStep(ladder, static_cast<std::size_t>(step.number), siteId);
                    return;
                }
            }
        }
        throw std::invalid_argument("no site step of the name " + std::string(name));
    }

    /// Runs one rung of a server ladder by its number. `siteId` below 1 is the central database.
    void RunServerStep(Ladder ladder, std::size_t number, std::int32_t siteId) {
        const std::string database = siteId < 1 ? "tw_tarnwick" : "tw_" + std::to_string(siteId);
        const std::string prefix = siteId < 1 ? "" : "tw_";
        if (ladder == Ladder::kServer) {
            RunRung(Update::Ladders::kServer.at(number - 1), database, prefix, siteId >= 1);
        } else {
            RunRung(Update::Ladders::kServerData.at(number - 1), database, prefix, siteId >= 1);
        }
    }

    /// Runs a server step by name on the central database or on a site's copies of its tables.
    void RunServerStep(std::string_view name, std::int32_t siteId) {
        for (const Ladder ladder : {Ladder::kServer, Ladder::kServerData}) {
            for (const LadderStep& step : LadderSteps(ladder)) {
                if (step.name == name) {
                    RunServerStep(ladder, static_cast<std::size_t>(step.number), siteId);
                    return;
                }
            }
        }
        throw std::invalid_argument("no server step of the name " + std::string(name));
    }

    // Schema primitives
    using Text = const std::string&;
    bool TableExists(Text db, Text table) { return update.TableExists(db, table); }
    bool ColumnExists(Text db, Text table, Text column) {
        return update.ColumnExists(db, table, column);
    }
    bool IndexExists(Text db, Text table, Text index) {
        return update.IndexExists(db, table, index);
    }
    void AddColumnIfMissing(Text db, Text table, Text column, Text definition) {
        update.AddColumnIfMissing(db, table, column, definition);
    }
    void AddColumn(Text db, Text table, Text column, Text definition) {
        update.AddColumn(db, table, column, definition);
    }
    void DropColumn(Text db, Text table, Text column) { update.DropColumn(db, table, column); }
    void DropColumnByQuery(Text db, Text table, Text column) {
        update.DropColumnByQuery(db, table, column);
    }
    void DropIndex(Text db, Text table, Text index) { update.DropIndex(db, table, index); }
    void AddIndexIfMissing(Text db, Text table, Text index, Text columns) {
        update.AddIndexIfMissing(db, table, index, columns);
    }
    void AddIndex(Text db, Text table, Text index, Text columns) {
        update.AddIndex(db, table, index, columns);
    }
    void ConvertFloatToDouble(Text db, Text table, Text column) {
        update.ConvertFloatToDouble(db, table, column);
    }
    void ConvertToDecimal(Text db, Text table, Text column) {
        update.ConvertToDecimal(db, table, column);
    }

    // Literal helpers
    static std::string SqlEscape(std::string_view text) { return Update::SqlEscape(text); }
    static std::string FieldText(const Field& field) { return Update::FieldText(field); }
    static std::int32_t NumberOrDefault(const Value& value, std::int32_t defaultNumber) {
        return Update::NumberOrDefault(value, defaultNumber);
    }
    static std::string DecodeAngleBrackets(std::string_view text) {
        return Update::DecodeAngleBrackets(text);
    }
    static std::string NumberToLetters(std::int32_t n) { return Update::NumberToLetters(n); }
    static std::vector<std::int32_t> FixedIdList() { return Update::FixedIdList(); }

    // Files
    void CopySiteTemplate(std::int32_t siteId, Text subFolder) {
        update.CopySiteTemplate(siteId, subFolder);
    }
    void CopySiteTemplates(std::int32_t siteId) { update.CopySiteTemplates(siteId); }
    void CopyComponentTemplate(std::int32_t siteId, const Component& component, bool overwrite,
                               Boolean& result) {
        update.CopyComponentTemplate(siteId, component, overwrite, result);
    }

    // Drivers
    Boolean RunSiteSchemaLadder(std::int32_t siteId, double version) {
        return update.RunSiteSchemaLadder(siteId, version);
    }
    void RunSiteContentLadder(std::int32_t siteId, double version) {
        update.RunSiteContentLadder(siteId, version);
    }
    std::shared_ptr<Recordset> EnumerateSites(std::int32_t lastSiteId, std::int32_t limit,
                                              double version) {
        return update.EnumerateSites(lastSiteId, limit, version);
    }
    static std::string GetFileExtension(Text path) { return Update::GetFileExtension(path); }

    // Site content
    void ConvertChargesToGroups(std::int32_t siteId) { update.ConvertChargesToGroups(siteId); }
    void UpdateForumThreadStatistics(std::int32_t siteId, std::int32_t fromId, std::int32_t toId,
                                     bool publishedOnly) {
        update.UpdateForumThreadStatistics(siteId, fromId, toId, publishedOnly);
    }

    // Reference data
    void ImportReferenceData(Text table, const std::vector<std::string>& columns) {
        update.ImportReferenceData(table, columns);
    }
    void ImportComponentReferenceData() { update.ImportComponentReferenceData(); }
    static std::string ConvertOrderDetailsTags(std::string_view text) {
        return Update::ConvertOrderDetailsTags(text);
    }

    Update& update;

  private:
    template <typename Rung, typename... Arguments>
    void RunRung(const Rung& rung, const Arguments&... arguments) {
        Boolean result = kFalse;
        rung.run(update, arguments..., result);
    }
};

}  // namespace twupdate
