#include "dbutil/sql.h"
#include "migrations/site_content/rows.h"
#include "twupdate/update.h"

namespace twupdate {

void Update::SiteContentStep_1_0007(std::int32_t siteId, Boolean& result) {
    const std::string db = SiteDatabase(siteId);
    RefreshSiteComponent(siteId, 2400);
    UpgradeSiteComponent(siteId, 1000);
    RefreshSiteComponent(siteId, 1000);
    if (TableExists(db, "charge")) {
        AddIndexIfMissing(db, "charge", "chargeoptionid_idx", "chargeoptionid");
        ConvertChargesToGroups(siteId);
    }
    result = kTrue;
}

// A link is carried across when the charge at its other end already has its group, that is, when
// that charge comes earlier in the sequence; a link forward finds nothing and is dropped.
void Update::ConvertChargesToGroups(std::int32_t siteId) {
    const std::string db = SiteDatabase(siteId);
    const auto charges =
        OpenRecordset(Sql("SELECT c.chargeid, c.featureid, c.name, c.password, c.sequence FROM ",
                          db, ".charge c ORDER BY sequence;"));
    ForEachRow(charges, [&](const Recordset& charge) {
        const std::int32_t featureId = Int32Field(charge, "featureid");
        const std::int32_t chargeId = Int32Field(charge, "chargeid");
        const std::int32_t sequence = Int32Field(charge, "sequence");
        const std::string name = SqlEscape(TextField(charge, "name"));
        Execute(Sql("INSERT INTO ", db, ".chargegroup(featureid, name, sequence) VALUES(",
                    featureId, ", '", name, "' ,", sequence, ");"));
        const std::int32_t groupId = GetLastInsertId();

        const std::string password = SqlEscape(TextField(charge, "password"));
        Execute(Sql("INSERT INTO ", db,
                    ".chargeoption(groupid, featureid, name, password, sequence) VALUES(", groupId,
                    ", ", featureId, ", '", name, "', '", password, "', 1);"));
        const std::int32_t optionId = GetLastInsertId();
        Execute(Sql("UPDATE ", db, ".charge SET chargeoptionid = ", optionId,
                    " WHERE chargeid = ", chargeId, ";"));

        Execute(Sql(
            "INSERT INTO ", db, ".chargegrouptochargegroup(groupid, applytogroupid) SELECT ",
            groupId, ", co.groupid FROM ", db, ".chargetocharge ctc INNER JOIN ", db,
            ".charge c ON ctc.applytochargeid = c.chargeid INNER JOIN ", db,
            ".chargeoption co ON c.chargeoptionid = co.optionid WHERE ctc.chargeid = ", chargeId,
            ";"));
        Execute(Sql("INSERT INTO ", db,
                    ".chargegrouptoitemtype(groupid, applytoitemtypeid) SELECT ", groupId,
                    ", applytoitemtypeid FROM ", db,
                    ".chargetoitemtype WHERE chargeid = ", chargeId, ";"));
    });
}

}  // namespace twupdate
