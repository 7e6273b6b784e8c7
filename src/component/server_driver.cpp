#include <limits>

#include "component/ladder_walk.h"
#include "component/ladders.h"
#include "dbutil/fields.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"

namespace twupdate {
namespace {

constexpr std::int32_t kSitesPerBatch = 30;

void CountRow(std::int32_t& rows) {
    if (rows == std::numeric_limits<std::int32_t>::max()) {
        throw OverflowError("a batch has more sites than a 32-bit integer can count");
    }
    ++rows;
}

}  // namespace

Boolean Update::RunServerUpgrade(double version, std::int32_t siteId) {
    const bool isSite = siteId >= 1;
    const std::string databaseName = isSite ? SiteDatabase(siteId) : std::string(kCentralDatabase);
    const std::string tablePrefix = isSite ? "tw_" : "";
    if (!p_oUtility || !IsBelow(version, kCurrentVersion)) {
        return kTrue;
    }
    RunServerLadders(version, databaseName, tablePrefix, isSite);
    if (isSite) {
        return kTrue;
    }
    UpgradeOldSites();
    if (IsBelow(version, 1.0041)) {
        RefreshApplication();
    }
    const auto command = Host().GetCommandFactory()->NewCommand();
    command->AddParameter(kCurrentVersion);
    command->SetText("UPDATE tw_tarnwick.installation SET version = ?;");
    std::int64_t rowsAffected = 0;
    command->ExecuteCommand(Host().GetDatabase(), rowsAffected);
    command->CloseCommand();
    return kTrue;
}

void Update::RunServerLadders(double version, const std::string& databaseName,
                              const std::string& tablePrefix, bool isSite) {
    // The second run starts again at low thresholds: its data steps need all of the new columns.
    WalkLadder(Ladder::kServer, Ladders::kServer, databaseName, version, databaseName, tablePrefix,
               isSite);
    WalkLadder(Ladder::kServerData, Ladders::kServerData, databaseName, version, databaseName,
               tablePrefix, isSite);
}

void Update::UpgradeOldSites() {
    const auto observer = Host().GetObserver();
    if (observer) {
        observer->SiteWalkStarting();
    }
    const auto siteCommand = Host().GetCommandFactory()->NewCommand();
    siteCommand->AddParameter(kCurrentVersion);
    std::int32_t lastSiteId = 0;
    std::int32_t rows = 0;
    do {
        rows = 0;
        const auto sites = EnumerateSites(lastSiteId, kSitesPerBatch, kCurrentVersion);
        while (!sites->IsEOF()) {
            lastSiteId = Int32Field(*sites, "siteid");
            const double siteVersion = DoubleField(*sites, "version");
            if (observer) {
                observer->SiteStarting(lastSiteId, siteVersion);
            }
            RunSiteSchemaLadder(lastSiteId, siteVersion);
            RunSiteContentLadder(lastSiteId, siteVersion);
            siteCommand->SetText(
                Sql("UPDATE tw_tarnwick.site SET version = ? WHERE siteid = ", lastSiteId, ";"));
            std::int64_t rowsAffected = 0;
            siteCommand->ExecuteCommand(Host().GetDatabase(), rowsAffected);
            if (observer) {
                observer->SiteEnded(lastSiteId);
            }
            sites->MoveNext();
            CountRow(rows);
        }
        sites->Close();
    } while (rows >= kSitesPerBatch);
    siteCommand->CloseCommand();
}

std::shared_ptr<Recordset> Update::EnumerateSites(std::int32_t lastSiteId, std::int32_t limit,
                                                  double version) {
    const auto command = Host().GetCommandFactory()->NewCommand();
    command->AddParameter(version);
    command->SetText(Sql("SELECT siteid, version FROM tw_tarnwick.site WHERE siteid > ", lastSiteId,
                         " AND version < ? AND harddeleted = 0 AND transaction = 0 "
                         "ORDER BY siteid LIMIT ",
                         limit, ";"));
    auto sites = command->OpenCommandRecordset(Host().GetDatabase());
    command->CloseCommand();
    return sites;
}

void Update::RefreshApplication() {
    Host().GetComponentHost()->GetApplication()->Refresh();
}

std::string Update::GetFileExtension(const std::string& path) {
    // \.([a-z\d]+)$ without regard to case, by hand: the standard regular expressions recurse
    // once per character and stored paths may be long.
    constexpr std::size_t kLongest = 20;
    const auto isExtensionCharacter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    };
    std::size_t begin = path.size();
    while (begin > 0 && isExtensionCharacter(path[begin - 1])) {
        --begin;
    }
    const std::size_t length = path.size() - begin;
    if (length == 0 || length > kLongest || begin == 0 || path[begin - 1] != '.') {
        return {};
    }
    std::string extension = path.substr(begin);
    for (char& c : extension) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return extension;
}

}  // namespace twupdate
