#include "cli/server/data_files.h"

#include <fmt/format.h>

#include <memory>

#include "cli/terminal/failure.h"
#include "cli/terminal/text.h"
#include "twupdate/update.h"
#include "twupdate_host/dry_host.h"

namespace twupdate::cli {

std::string FaultOfDataFiles(const std::filesystem::path& installFolder) {
    // A creation imports all of them. Without a connection nothing can be sent.
    const auto host = std::make_shared<host::DryHost>(
        nullptr, host::Catalogue(), host::DryHostOptions{.resources = installFolder / "resources"});
    Update update;
    update.Configure(host);
    try {
        update.CreateCoreDb();
    } catch (const std::exception& error) {
        std::string text = ErrorText(error);
        const std::string folder = host->InstallFolder().string();
        if (const auto at = text.find(folder); at != std::string::npos) {
            text.replace(at, folder.size(), installFolder.string());
        }
        return text;
    }
    return {};
}

void RequireSoundDataFiles(const std::filesystem::path& installFolder) {
    if (const std::string fault = FaultOfDataFiles(installFolder); !fault.empty()) {
        throw CommandError(fault + "; nothing was done");
    }
}

}  // namespace twupdate::cli
