// A program of its own that carries the component inside: it upgrades one site, or the whole
// installation, and prints how it goes on.
//
//     cpp_host OPTION-FILE INSTALL-FOLDER [SITE]
//
// OPTION-FILE is a MySQL option file with a [client] group (socket or host, user, password);
// INSTALL-FOLDER holds the component's `resources` and is in the installation's root folder.
//
// Everything that the component asks of its host is in my_host.h. This file is the use of it.

#include <twupdate/update.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "my_host.h"

// Override what you want to hear of; everything else stays silent.
class Progress : public twupdate::Observer {
    void SiteStarting(std::int32_t siteId, double version) override {
        std::printf("site %d is at %.4f\n", siteId, version);
    }
    void StepStarting(const twupdate::LadderStep& step, const std::string& database) override {
        std::printf("  %s on %s: %s\n", std::string(step.name).c_str(), database.c_str(),
                    std::string(step.description).c_str());
    }
    void SiteEnded(std::int32_t siteId) override { std::printf("site %d is done\n", siteId); }
};

int main(int argc, char** argv) try {
    if (argc < 3) {
        std::fprintf(stderr, "usage: cpp_host OPTION-FILE INSTALL-FOLDER [SITE]\n");
        return 2;
    }
    const auto host = std::make_shared<MyHost>(argv[1], argv[2], std::make_shared<Progress>());

    twupdate::Update update;
    update.Configure(host);  // keeps a counted reference until ShutDown or the end
    if (argc > 3) {
        // One site. Its version stands in the central database; the host writes the new one.
        const std::string site = std::to_string(std::atoi(argv[3]));
        const double version =
            host->Number("SELECT version FROM tw_tarnwick.site WHERE siteid = " + site);
        update.UpdateSite(std::atoi(argv[3]), version);
        host->Run("UPDATE tw_tarnwick.site SET version = " +
                  twupdate::Value(twupdate::kCurrentVersion).ToText() + " WHERE siteid = " + site);
    } else {
        // The central database, then all sites. The component writes the versions itself.
        update.UpdateServer(host->Number("SELECT version FROM tw_tarnwick.installation"));
    }
    std::printf("done\n");
    return 0;
} catch (const twupdate::HostError& error) {
    // What was done stays done; when the cause is gone, the same call goes on from here.
    std::fprintf(stderr, "cpp_host: %s", error.what());
    if (error.Code() != 0) {  // the server's
        std::fprintf(stderr, " (error %u, SQLSTATE %s)", error.Code(), error.SqlState().c_str());
    }
    std::fprintf(stderr, "\n  in: %s\n", error.Statement().c_str());
    return 1;
} catch (const std::exception& error) {
    std::fprintf(stderr, "cpp_host: %s\n", error.what());
    return 1;
}
