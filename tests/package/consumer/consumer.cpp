// Uses the installed component without a server: what links and runs here came from the package.

#include <twupdate/update.h>

#include <cstdio>
#include <exception>

int main() {
    using twupdate::Ladder;
    for (const Ladder ladder :
         {Ladder::kSiteSchema, Ladder::kSiteContent, Ladder::kServer, Ladder::kServerData}) {
        std::printf("%s %zu\n", std::string(twupdate::LadderName(ladder)).c_str(),
                    twupdate::LadderSteps(ladder).size());
    }
    twupdate::Update update;
    std::printf("UpdateServer without a host %d\n", update.UpdateServer(1.0));
    try {
        update.UpdateSite(7, 1.0);
    } catch (const twupdate::NotConfiguredError& error) {  // its type crosses the library's border
        std::printf("%s\n", error.what());
    }
    return 0;
}
