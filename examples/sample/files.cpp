#include <fstream>
#include <stdexcept>
#include <string_view>

#include "sample/rows.h"
#include "sample/words.h"

namespace twupdate::sample {
namespace {

namespace fs = std::filesystem;

void WriteFile(const fs::path& path, std::string_view content) {
    fs::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << content;
    file.close();
    if (!file) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

/// What every new site starts from, by folder: the template itself, its scripts, the folder of the
/// mail test and that of the server manager.
void WriteTemplates(const fs::path& root) {
    const fs::path site = root / "templates" / "site";
    WriteFile(site / "default.htm", "<html><body>Under construction</body></html>\r\n");
    WriteFile(site / "error404.htm", "<html><body>There is no such page.</body></html>\r\n");
    WriteFile(site / "favicon.ico", std::string_view("\0\0\1\0", 4));
    WriteFile(site / "gs" / "menu.js", "function openMenu(id){document.getElementById(id);}\r\n");
    WriteFile(site / "gs" / "rss.asp", "<% ' writes the feed of a query %>\r\n");
    WriteFile(site / "gs" / "hover.js", "function hover(e){return true;}\r\n");
    WriteFile(site / "EmailTest" / "test.htm", "<html><body>Mail test</body></html>\r\n");
    WriteFile(site / "ServerManager" / "default.asp", "<% ' server manager %>\r\n");
    for (const char* folder : {"login", "search", "recordlist", "form", "shop", "recordtable"}) {
        const fs::path component = root / "components" / folder / "template";
        WriteFile(component / "default.asp", std::string("<% ' ") + folder + " %>\r\n");
        WriteFile(component / "frame.htm", "<html><body></body></html>\r\n");
    }
}

void WriteSite(const InstallationOptions& options, const SitePlan& plan) {
    const std::string id = std::to_string(plan.siteId);
    const fs::path web = options.root / "wwwroot" / "sites" / id;
    const fs::path secure = options.root / "sites_secure" / id;
    WriteFile(web / "default.htm",
              "<html><body>" + SiteName(options, plan.siteId) + "</body></html>\r\n");
    WriteFile(web / "robots.txt", "User-agent: *\r\nDisallow: /search\r\nDisallow: /login\r\n");
    // pages have a folder each; page 9 has lost its own, and page 7 has changed a file
    for (const int page : {5, 6, 7, 8, 10, 18, 19, 21}) {
        fs::create_directories(web / std::to_string(page));
    }
    WriteFile(web / "7" / "default.asp", "<% ' our own contact page %>\r\n");
    fs::create_directories(web / "files");
    fs::create_directories(secure / "files");
    if (!plan.groups.contains(Group::kForms)) {
        return;
    }
    WriteFile(web / "files" / "lighthouse.pdf", std::string(1234, 'L'));
    WriteFile(web / "images" / "lighthouse.JPG", std::string(4321, 'J'));
    WriteFile(web / "images" / "tides.jpeg", std::string(10, 'j'));
    WriteFile(web / "images" / "no-extension", "");
    WriteFile(secure / "files" / "letter.doc", std::string(77, 'D'));
    // outside the site's folder, where a stored path tries to get
    WriteFile(options.root / "wwwroot" / "sites" / "secret.txt", "not for visitors\n");
    Random random = RandomFor(options, plan.siteId, 5);
    for (std::int32_t reply = kFirstBulkId; reply < kFirstBulkId + options.rows; ++reply) {
        const std::string stored = UploadedFile(reply);
        const auto size = static_cast<std::size_t>(random.Between(1, 400));
        if (stored.empty() || IsLost(reply)) {
            continue;
        }
        const std::string name = stored.substr(std::string_view("../files/").size());
        WriteFile(web / "files" / name, std::string(size, 'f'));
        if (reply % 8 == 0) {
            WriteFile(secure / "files" / name, std::string(size + 1000, 's'));
        }
    }
}

}  // namespace

void WriteFiles(const InstallationOptions& options, const std::vector<SitePlan>& sites) {
    WriteTemplates(options.root);
    for (const SitePlan& plan : sites) {
        WriteSite(options, plan);
    }
    fs::create_directories(options.root / "update" / "resources");
    for (const auto& file : fs::directory_iterator(options.resourceFolder)) {
        if (file.path().filename().string().ends_with("Data.txt")) {
            fs::copy_file(file.path(),
                          options.root / "update" / "resources" / file.path().filename(),
                          fs::copy_options::overwrite_existing);
        }
    }
}

}  // namespace twupdate::sample
