#include "support/given_numbers.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace twupdate::test {
namespace {

/// Numbers that the server gives to new rows, and the columns that refer to them.
struct GivenNumbers {
    std::string table;
    std::string column;
    std::vector<std::pair<std::string, std::string>> references;
};

const std::vector<GivenNumbers>& NumbersThatStepsLetGive() {
    static const std::vector<GivenNumbers> kNumbers{
        {"attribute", "attributeid", {}},
        {"chargegroup",
         "groupid",
         {{"chargeoption", "groupid"},
          {"chargegrouptochargegroup", "groupid"},
          {"chargegrouptochargegroup", "applytogroupid"},
          {"chargegrouptoitemtype", "groupid"}}},
        {"chargeoption", "optionid", {{"charge", "chargeoptionid"}}},
        {"email", "emailid", {{"emailevent", "emailid"}}},
        {"event", "eventid", {{"eventpart", "eventid"}}},
        {"eventpart", "eventpartid", {{"emailevent", "eventpartid"}}},
        {"override", "overrideid", {{"setting", "overrideid"}, {"tag", "overrideid"}}},
        {"setting", "settingid", {}},
        {"tag", "tagid", {{"attribute", "tagid"}}},
        {"text", "textid", {{"textembed", "textid"}}},
    };
    return kNumbers;
}

}  // namespace

RowSnapshot WithoutGaps(RowSnapshot rows) {
    const auto renumber = [&](const std::string& name, const std::string& column,
                              const std::map<std::string, std::string>& places) {
        RowSnapshot::Table& table = rows.tables[name];
        for (RowSnapshot::Row& row : table.rows) {
            std::string key;
            for (auto& [valueOf, value] : row.values) {
                if (const auto place = places.find(value);
                    valueOf == column && place != places.end()) {
                    value = place->second;
                }
                if (std::count(table.keyColumns.begin(), table.keyColumns.end(), valueOf) > 0) {
                    key += (key.empty() ? "" : ", ") + value;
                }
            }
            row.key = table.hasPrimaryKey ? key : row.key;
        }
    };
    for (const GivenNumbers& numbers : NumbersThatStepsLetGive()) {
        std::map<std::string, std::string> places;
        for (const RowSnapshot::Row& row : rows.tables[numbers.table].rows) {
            places.emplace(row.key, std::to_string(places.size() + 1));
        }
        renumber(numbers.table, numbers.column, places);
        for (const auto& [table, column] : numbers.references) {
            renumber(table, column, places);
        }
    }
    return rows;
}

}  // namespace twupdate::test
