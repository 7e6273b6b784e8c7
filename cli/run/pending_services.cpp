#include "cli/run/pending_services.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "cli/server/root_site.h"
#include "cli/terminal/failure.h"
#include "twupdate/error.h"
#include "twupdate_host/dry_host.h"

namespace twupdate::cli {
namespace {

using host::DryStatement;

/// Tries the parts of a run in turn, without changing anything.
class Walk {
  public:
    Walk(const Session& session, const GlobalOptions& options)
        : connection_(session.GetConnection()) {
        options_.resources = InstallFolder(options) / "resources";
        options_.localHostName = options.localHostName;
    }

    struct Result {
        bool callsServices = false;
        std::string outdated;  ///< what it lacks of a newer central database; empty: nothing
    };

    Result Try(const RunPart& part) {
        Result result;
        const auto stored = host::ReadCatalogue(*connection_, part.databases);
        host::Catalogue layout = stored;
        if (central_) {  // as the central ladders, which run before, will have left it
            layout.AddDatabase(kCentral, *central_);
        }
        options_.stored = stored;
        const auto host = std::make_shared<host::DryHost>(connection_, layout, options_);
        Update update;
        update.Configure(host);
        try {
            part.operation(update);
        } catch (const OutdatedCentralDatabaseError& error) {
            result.outdated = error.what();
        } catch (const std::exception&) {
            // What stops the walk stops the run, which reports it; the calls before it count.
        }
        if (host->Layout().HasDatabase(kCentral)) {
            central_ = host->Layout().Databases().at(kCentral);
        }
        const auto& record = host->Record();
        result.callsServices =
            std::any_of(record.begin(), record.end(), [](const DryStatement& statement) {
                return statement.kind == DryStatement::Kind::kService;
            });
        return result;
    }

  private:
    static constexpr const char* kCentral = "tw_tarnwick";

    std::shared_ptr<host::Connection> connection_;
    host::DryHostOptions options_;
    std::optional<host::Catalogue::Database> central_;
};

}  // namespace

RunPart CentralPart(const Session& session, double version) {
    RunPart part{{"tw_tarnwick", "tw_logs"},
                 [version](Update& update) { update.UpdateServer(version); }};
    if (const auto root = RootSite(*session.Own())) {
        part.databases.push_back(fmt::format("tw_{}", *root));
    }
    return part;
}

RunPart SitePart(std::int32_t siteId, double version) {
    return {{"tw_tarnwick", fmt::format("tw_{}", siteId)},
            [siteId, version](Update& update) { update.UpdateSite(siteId, version); }};
}

void RequireCentralDatabase(const Session& session, const GlobalOptions& options,
                            const RunPart& site) {
    Walk walk(session, options);
    if (const std::string reason = walk.Try(site).outdated; !reason.empty()) {
        throw CommandError(fmt::format(
            "{}; nothing was done\nhint: run upgrade: it upgrades the central database, "
            "then the older sites, including this one",
            reason));
    }
}

void RequireServices(const Session& session, const GlobalOptions& options,
                     const std::vector<RunPart>& parts) {
    if (options.noServices || !options.serviceCommand.empty() || !options.servicesLog.empty()) {
        return;
    }
    Walk walk(session, options);
    if (std::any_of(parts.begin(), parts.end(),
                    [&](const RunPart& part) { return walk.Try(part).callsServices; })) {
        throw CommandError(
            "the steps of this run call component services of the platform; nothing was "
            "done\nhint: carry the calls out (--service-command), record them (--services-log) or "
            "drop them (--no-services)",
            kUsageError);
    }
}

}  // namespace twupdate::cli
