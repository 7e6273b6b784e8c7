#include "known_harms.h"

#include <algorithm>

namespace twupdate::test {

const std::vector<Harm>& KnownHarms() {
    static const std::vector<Harm> kHarms{
        {"a float conversion, its new column not filled",
         std::regex("^UPDATE \\S+ SET double_temp = ")},
        {"a float conversion, its old column still there",
         std::regex("^ALTER TABLE \\S+ DROP COLUMN (float_value|xmlmappriority|startshowdelay|"
                    "startfadein|starthidedelay|startfadeout|percentage|associatepercentage|"
                    "field_5);")},
        {"a float conversion, its new column not renamed",
         std::regex("^ALTER TABLE \\S+ CHANGE COLUMN double_temp ")},
        {"the timings of zones after the first",
         std::regex("^ALTER TABLE \\S+ ADD COLUMN (startfadein|starthidedelay|startfadeout) ")},
        {"e-mails not all converted",
         std::regex("^(SELECT \\* FROM \\S+\\.email |UPDATE \\S+\\.email SET fromlist = ')")},
        {"links of caches that are gone",
         std::regex("^DELETE FROM \\S+\\.featurecache WHERE cacheid IN")},
        {"start marks not all set",
         std::regex("^(SELECT DISTINCT s\\.siteid FROM |UPDATE \\S+ SET serverstarted = -1)")},
        {"the local domain without its group",
         std::regex("^(SELECT groupid FROM |INSERT INTO \\S+\\.domaingroup)")},
    };
    return kHarms;
}

bool IsKnownHarm(const std::string& statement) {
    const std::string beginning = statement.substr(0, 200);
    return std::any_of(KnownHarms().begin(), KnownHarms().end(), [&](const Harm& harm) {
        return std::regex_search(beginning, harm.statement);
    });
}

}  // namespace twupdate::test
