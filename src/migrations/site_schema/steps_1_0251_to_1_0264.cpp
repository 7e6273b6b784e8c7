#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>

#include "dbutil/fields.h"
#include "dbutil/site_files.h"
#include "dbutil/sql.h"
#include "twupdate/update.h"
#include "twupdate/uploads.h"

namespace twupdate {
namespace {

namespace fs = std::filesystem;

/// Finds the files of one site that stored values name. The values were sent by visitors: none of
/// them may lead to a file outside the site's own folder, and none may end the upgrade.
class Uploads {
  public:
    Uploads(const fs::path& root, bool secure, std::int32_t siteId)
        : folder_((secure ? root / "sites_secure" : root / "wwwroot" / "sites") / Concat(siteId)),
          realFolder_(RealPath(folder_)) {}

    /// The path that a value "../…" stands for, with this system's separators.
    std::string PathOf(std::string_view value) const {
        std::string path = folder_.string() + std::string(value.substr(2));
        std::replace(path.begin() + static_cast<std::ptrdiff_t>(folder_.string().size()),
                     path.end(), '\\', '/');
        return path;
    }

    /// The size in bytes of the file of that path; nothing when there is no such regular file in
    /// the site's folder, or none that may be looked at.
    /// @throws FileError when the volume fails
    std::optional<double> SizeOf(const std::string& path) const {
        if (realFolder_.empty() || path.find('\0') != std::string::npos ||
            !LiesWithin(folder_, fs::path(path).lexically_normal())) {
            return std::nullopt;
        }
        std::error_code error;
        const fs::path file = fs::canonical(fs::path(path).lexically_normal(), error);
        if (error) {
            return Unmeasured(path, error);
        }
        if (!LiesWithin(realFolder_, file) || !fs::is_regular_file(file, error)) {
            return error ? Unmeasured(path, error) : std::nullopt;
        }
        const auto bytes = fs::file_size(file, error);
        return error ? Unmeasured(path, error) : std::optional(static_cast<double>(bytes));
    }

  private:
    /// The visitor's own doing leaves a file unmeasured; a volume that fails would leave all so.
    static std::optional<double> Unmeasured(const fs::path& path, const std::error_code& error) {
        if (!IsDeadEnd(error) && error != std::errc::permission_denied) {
            FailLookup(path, error);
        }
        return std::nullopt;
    }

    fs::path folder_;      ///< absolute, without ".."
    fs::path realFolder_;  ///< the same without links; empty when there is no such folder
};

}  // namespace

void Update::SiteSchemaStep_1_0251(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "oauthconsumer")) {
        AddColumnIfMissing(db, "oauthconsumer", "callbackusernameparam",
                           "VARCHAR(255) DEFAULT '' NOT NULL");
    }
    if (TableExists(db, "queryfieldsrc")) {
        AddColumnIfMissing(db, "queryfieldsrc", "subtype", "INT DEFAULT 0 NOT NULL");
    }
    if (TableExists(db, "queryjoin")) {
        AddColumnIfMissing(db, "queryjoin", "srcfieldsubtype", "INT DEFAULT 0 NOT NULL");
        AddColumnIfMissing(db, "queryjoin", "objfieldsubtype", "INT DEFAULT 0 NOT NULL");
    }
    if (!TableExists(db, "formfield")) {
        return;
    }
    const auto fields = OpenRecordset(Sql("SELECT featureid, formfieldid FROM ", db,
                                          ".formfield "
                                          "WHERE type IN('file', 'image');"));
    for (; !fields->IsEOF(); fields->MoveNext()) {
        const auto featureId = Int32Field(*fields, "featureid");
        const auto form = Concat("form_", featureId);
        const auto field = Concat("field_", Int32Field(*fields, "formfieldid"));
        if (!TableExists(db, form) || !ColumnExists(db, form, field)) {
            continue;
        }
        bool secureFiles = false;
        const auto formRow = OpenRecordset(Sql("SELECT securefiles FROM ", db,
                                               ".form "
                                               "WHERE formfeatureid = ",
                                               featureId, ";"));
        if (!formRow->IsEOF()) {
            secureFiles = BoolField(*formRow, "securefiles");
        }
        formRow->Close();
        AddColumnIfMissing(db, form, Concat(field, kFileSizeSuffix), "DOUBLE DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, form, field + "_filetype", "VARCHAR(20) DEFAULT '' NOT NULL");
        MeasureUploadedFiles(siteId, form, field, secureFiles);
    }
    fields->Close();
}

void Update::MeasureUploadedFiles(std::int32_t siteId, const std::string& form,
                                  const std::string& field, bool secureFiles) {
    const auto db = SiteDatabase(siteId);
    const Uploads uploads(InstallationRoot(Host().InstallFolder()), secureFiles, siteId);
    for (std::int32_t offset = 0;; offset += kRowsPerPage) {
        const auto records =
            OpenRecordset(Sql("SELECT replyid, ", field, " FROM ", db, ".", form, " WHERE ", field,
                              " <> '' ORDER BY replyid LIMIT ", offset, ",", kRowsPerPage, ";"));
        if (records->IsEOF()) {
            records->Close();
            return;
        }
        for (; !records->IsEOF(); records->MoveNext()) {
            const auto value = TextField(*records, field);
            if (!value.starts_with("../")) {
                continue;
            }
            const auto path = uploads.PathOf(value);
            const auto size = uploads.SizeOf(path);
            if (!size) {
                continue;
            }
            // One command a record: a parameter once bound stays bound.
            const auto command = Host().GetCommandFactory()->NewCommand();
            command->AddParameter(*size);
            command->AddParameter(GetFileExtension(path));
            command->AddParameter(Int32Field(*records, "replyid"));
            command->SetText(Sql("UPDATE ", db, ".", form, " SET ", field, kFileSizeSuffix,
                                 " = ?, ", field, "_filetype = ? WHERE replyid = ?;"));
            std::int64_t rowsAffected = 0;
            command->ExecuteCommand(Host().GetDatabase(), rowsAffected);
            command->CloseCommand();
        }
        records->Close();
    }
}

void Update::SiteSchemaStep_1_0252(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "textcache", "ref3", "INT DEFAULT 0 NOT NULL");
    AddIndexIfMissing(db, "textcache", "ref3_idx", "ref3");
}

void Update::SiteSchemaStep_1_0257(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateviewfield")) {
        AddColumnIfMissing(db, "formtemplateviewfield", "float_value", "FLOAT DEFAULT 0 NOT NULL");
        Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                    ".queryindex("
                    "queryid INT DEFAULT 0 NOT NULL, "
                    "tabletype INT DEFAULT 0 NOT NULL, "
                    "srctableid INT DEFAULT 0 NOT NULL, "
                    "srcfieldid INT DEFAULT 0 NOT NULL, "
                    "indextype INT DEFAULT 0 NOT NULL, "
                    "INDEX queryid_idx(queryid), "
                    "INDEX srctableid_idx(srctableid), "
                    "INDEX srcfieldid_idx(srcfieldid) "
                    ");"));
    }
}

void Update::SiteSchemaStep_1_0259(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "outputtype", "INT DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "urlencode", "BOOL DEFAULT 0 NOT NULL");
        AddIndexIfMissing(db, "formtemplatefield", "featureid_idx", "featureid");
    }
}

void Update::SiteSchemaStep_1_0260(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    // The whole of 1.0259 once more.
    if (TableExists(db, "formtemplatefield")) {
        AddColumnIfMissing(db, "formtemplatefield", "outputtype", "INT DEFAULT -1 NOT NULL");
        AddColumnIfMissing(db, "formtemplatefield", "urlencode", "BOOL DEFAULT 0 NOT NULL");
        AddIndexIfMissing(db, "formtemplatefield", "featureid_idx", "featureid");
    }
    if (TableExists(db, "basket")) {
        AddIndexIfMissing(db, "basket", "orderid_idx", "orderid");
    }
}

void Update::SiteSchemaStep_1_0262(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    AddColumnIfMissing(db, "textembedproperty", "longstring_value", "LONGTEXT");
}

void Update::SiteSchemaStep_1_0264(std::int32_t siteId) {
    const auto db = SiteDatabase(siteId);
    if (TableExists(db, "formtemplateinstance")) {
        AddColumnIfMissing(db, "formtemplateinstance", "cachettl", "INT DEFAULT -1 NOT NULL");
    }
    Execute(Sql("CREATE TABLE IF NOT EXISTS ", db,
                ".htmlcache("
                "featureid INT DEFAULT 0 NOT NULL, "
                "queryinstanceid INT DEFAULT 0 NOT NULL, "
                "startpoint INT DEFAULT 0 NOT NULL, "
                "parentparamhash VARCHAR(32) DEFAULT '' NOT NULL, "
                "querycookiehash VARCHAR(32) DEFAULT '' NOT NULL, "
                "userid INT DEFAULT 0 NOT NULL, "
                "usergrouphash VARCHAR(32) DEFAULT '' NOT NULL, "
                "quirkstype INT DEFAULT 0 NOT NULL, "
                "ietype INT DEFAULT 0 NOT NULL, "
                "ielt9type INT DEFAULT 0 NOT NULL, "
                "filename VARCHAR(100), "
                "expirydate DATETIME DEFAULT '1000-01-01 00:00:00' NOT NULL, "
                "loggedintype INT DEFAULT 0 NOT NULL, "
                "associateid INT DEFAULT 0 NOT NULL, "
                "PRIMARY KEY(featureid, queryinstanceid, filename), "
                "INDEX expirydate_idx(expirydate) "
                ");"));
}

}  // namespace twupdate
