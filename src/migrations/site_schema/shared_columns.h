#pragma once

#include <array>
#include <string_view>

namespace twupdate {

/// What SiteSchemaStep_1_0018 adds to layoutzone; the first stands for all four.
inline constexpr std::array<std::string_view, 4> kZoneTimings{"startshowdelay", "startfadein",
                                                              "starthidedelay", "startfadeout"};

struct ConvertedColumn {
    std::string_view table;
    std::string_view column;
    bool tableIsOptional = false;
};

/// What SiteSchemaStep_1_0035 converts, in its order; the fields of forms follow.
inline constexpr std::array<ConvertedColumn, 8> kConvertedColumns{
    {{"setting", "float_value"},
     {"navigation", "xmlmappriority"},
     {"layoutzone", kZoneTimings[0]},
     {"layoutzone", kZoneTimings[1]},
     {"layoutzone", kZoneTimings[2]},
     {"layoutzone", kZoneTimings[3]},
     {"commission", "percentage", true},
     {"accesscodeaccount", "associatepercentage", true}}};

}  // namespace twupdate
