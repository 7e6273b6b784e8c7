#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "twupdate/update.h"

namespace twupdate {

/// The four ladders of ladders.def as tables. A step runs when the version is strictly below the
/// rung's threshold; the rungs run from top to bottom, once.
struct Update::Ladders {
    /// @tparam Arguments  what the ladder hands to each of its steps
    template <typename... Arguments>
    struct Rung {
        double threshold;
        std::string_view name;
        std::string_view description;
        void (*run)(Update& update, Arguments... arguments, Boolean& result);
    };
    using SiteRung = Rung<std::int32_t>;
    using ServerRung = Rung<const std::string&, const std::string&, bool>;

    // clang-format off
#define TWU_RUN_SITE_STEP(threshold, step, description)                     \
    {threshold, #step, description,                                         \
     [](Update& update, std::int32_t siteId, Boolean& /*result*/) { update.step(siteId); }},
#define TWU_RUN_SITE_STEP_WITH_RESULT(threshold, step, description)         \
    {threshold, #step, description,                                         \
     [](Update& update, std::int32_t siteId, Boolean& result) { update.step(siteId, result); }},
#define TWU_RUN_SERVER_STEP(threshold, step, description)                   \
    {threshold, #step, description,                                         \
     [](Update& update, const std::string& databaseName, const std::string& tablePrefix, bool isSite,     \
        Boolean& /*result*/) { update.step(databaseName, tablePrefix, isSite); }},
#define TWU_RUN_SERVER_STEP_WITH_RESULT(threshold, step, description)       \
    {threshold, #step, description,                                         \
     [](Update& update, const std::string& databaseName, const std::string& tablePrefix, bool isSite,     \
        Boolean& result) { update.step(databaseName, tablePrefix, isSite, result); }},

    static constexpr auto kSiteSchema = std::to_array<SiteRung>({
#define TWU_SITE_SCHEMA_STEP TWU_RUN_SITE_STEP
#include "twupdate/ladders.def"
    });
    static constexpr auto kSiteContent = std::to_array<SiteRung>({
#define TWU_SITE_CONTENT_STEP TWU_RUN_SITE_STEP
#define TWU_SITE_CONTENT_STEP_WITH_RESULT TWU_RUN_SITE_STEP_WITH_RESULT
#include "twupdate/ladders.def"
    });
    static constexpr auto kServer = std::to_array<ServerRung>({
#define TWU_SERVER_STEP TWU_RUN_SERVER_STEP
#include "twupdate/ladders.def"
    });
    static constexpr auto kServerData = std::to_array<ServerRung>({
#define TWU_SERVER_DATA_STEP TWU_RUN_SERVER_STEP
#define TWU_SERVER_DATA_STEP_WITH_RESULT TWU_RUN_SERVER_STEP_WITH_RESULT
#include "twupdate/ladders.def"
    });

    /// Steps that are not completed by running them again, or not interrupted.
    static constexpr auto kNotRepeatable = std::to_array<std::string_view>({
#define TWU_NOT_REPEATABLE(step, effect) #step,
#define TWU_UNINTERRUPTED(step) #step,
#include "twupdate/ladders.def"
    });

#undef TWU_RUN_SITE_STEP
#undef TWU_RUN_SITE_STEP_WITH_RESULT
#undef TWU_RUN_SERVER_STEP
#undef TWU_RUN_SERVER_STEP_WITH_RESULT
    // clang-format on
};

}  // namespace twupdate
