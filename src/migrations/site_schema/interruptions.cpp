#include "migrations/interruptions.h"

#include <algorithm>
#include <map>

#include "dbutil/fields.h"
#include "dbutil/inspection.h"
#include "dbutil/interrupted_conversion.h"
#include "dbutil/sql.h"
#include "migrations/site_schema/shared_columns.h"

namespace twupdate {
namespace {

std::vector<ConvertedTable> FormTables(Utility& host, const std::string& db) {
    std::map<std::int32_t, ConvertedTable> forms;
    if (Inspection(host, db).HasTable("formfield")) {
        const auto fields = host.GetDatabase()->OpenRecordset(
            Sql("SELECT featureid, formfieldid FROM ", db,
                ".formfield WHERE type = 'float' ORDER BY formfieldid;"),
            0, 0);
        for (; !fields->IsEOF(); fields->MoveNext()) {
            const std::int32_t form = Int32Field(*fields, "featureid");
            forms[form].table = Concat("form_", form);
            forms[form].columns.push_back(Concat("field_", Int32Field(*fields, "formfieldid")));
        }
        fields->Close();
    }
    std::vector<ConvertedTable> tables;
    for (auto& [form, table] : forms) {
        tables.push_back(std::move(table));
    }
    return tables;
}

std::vector<ConvertedTable> ConvertedTables(Utility& host, const std::string& db) {
    std::vector<ConvertedTable> tables;
    for (const ConvertedColumn& converted : kConvertedColumns) {
        if (tables.empty() || tables.back().table != converted.table) {
            tables.push_back({std::string(converted.table), {}});
        }
        tables.back().columns.emplace_back(converted.column);
    }
    for (ConvertedTable& form : FormTables(host, db)) {
        tables.push_back(std::move(form));
    }
    return tables;
}

}  // namespace

// A table in which a conversion was interrupted may lack a timing for that reason: its turn comes
// when the conversion is repaired.
std::vector<Leftover> LeftBySiteSchemaStep_1_0018(Utility& host, const SteppedDatabase& database,
                                                  StepHistory /*history*/) {
    const Inspection inspection(host, database.name);
    if (!inspection.HasColumn("layoutzone", kZoneTimings.front()) ||
        inspection.HasColumn("layoutzone", "double_temp")) {
        return {};
    }
    // Step 1.0035 turns them into doubles.
    const std::string_view type = IsBelow(database.version, 1.0035) ? "FLOAT" : "DOUBLE";
    Leftover leftover{"layoutzone", "", "a repeat ends without them", {}};
    for (const std::string_view timing : kZoneTimings) {
        if (!inspection.HasColumn("layoutzone", timing)) {
            leftover.seen += Concat(leftover.seen.empty() ? "" : ", ", timing);
            leftover.statements.push_back(Sql("ALTER TABLE ", database.name,
                                              ".layoutzone ADD COLUMN ", timing, " ", type,
                                              " DEFAULT 0 NOT NULL;"));
        }
    }
    if (leftover.statements.empty()) {
        return {};
    }
    leftover.seen = Concat("missing timing columns: ", leftover.seen);
    return {std::move(leftover)};
}

std::vector<Leftover> LeftBySiteSchemaStep_1_0035(Utility& host, const SteppedDatabase& database,
                                                  StepHistory /*history*/) {
    if (Inspection(host, database.name).TablesWith("double_temp").empty()) {
        return {};
    }
    const auto tables = ConvertedTables(host, database.name);
    auto leftovers = FindInterruptedConversions(host, database.name, tables);
    std::vector<std::string> known{"tw_account"};  // of a server step, in an imported site
    for (const ConvertedTable& converted : tables) {
        known.push_back(converted.table);
    }
    for (Leftover& strange : FindStrangeConversions(host, database.name, known)) {
        leftovers.push_back(std::move(strange));
    }
    return leftovers;
}

std::vector<Leftover> LeftBySiteSchemaStep_1_0225(Utility& host, const SteppedDatabase& database,
                                                  StepHistory /*history*/) {
    const std::string& db = database.name;
    const Inspection inspection(host, db);
    if (!inspection.HasTable("externallookupfeedurl") || !inspection.HasTable("featurenamevalue") ||
        inspection.Count(Sql(db, ".externallookupfeedurl")) > 0) {
        return {};
    }
    const std::int64_t addresses = inspection.Count(Sql(db, ".featurenamevalue WHERE type = 2"));
    if (addresses == 0) {
        return {};
    }
    return {{.table = "externallookupfeedurl",
             .seen = Concat("the table is empty, but featurenamevalue holds ",
                            std::to_string(addresses), addresses == 1 ? " address" : " addresses"),
             .consequence = "a repeat leaves it empty",
             .statements = {Sql("INSERT INTO ", db,
                                ".externallookupfeedurl(featureid, url, sequence) SELECT "
                                "featureid, value, sequence FROM ",
                                db, ".featurenamevalue WHERE type = 2;")}}};
}

}  // namespace twupdate
