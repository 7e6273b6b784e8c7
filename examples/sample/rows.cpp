#include "sample/rows.h"

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "sample/bulk_insert.h"
#include "sample/words.h"

namespace twupdate::sample {
namespace {

/// The text as it stands between the quotes of a literal.
std::string Escaped(const std::string& text) {
    const std::string quoted = Quoted(text);
    return quoted.substr(1, quoted.size() - 2);
}

void ReplaceAll(std::string& text, std::string_view from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
}

}  // namespace

std::string SiteName(const InstallationOptions& options, std::int32_t siteId) {
    Random random = RandomFor(options, siteId, 1);
    return BusinessName(random);
}

std::string SiteDomain(std::int32_t siteId) {
    return "www.site" + std::to_string(siteId) + ".example";
}

Random RandomFor(const InstallationOptions& options, std::int32_t siteId, std::uint64_t purpose) {
    Random mix(options.seed);
    return Random(mix.Next() + static_cast<std::uint64_t>(siteId) * 1'000'003 + purpose * 7919);
}

void Run(Utility& host, const std::vector<std::string>& statements) {
    for (const std::string& statement : statements) {
        std::int64_t rowsAffected = 0;
        host.GetDatabase()->Execute(statement, rowsAffected);
    }
}

std::vector<RowSection> ReadRows(const InstallationOptions& options, const std::string& file,
                                 std::int32_t siteId) {
    std::ifstream stream(options.rowFolder / file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read the rows " + (options.rowFolder / file).string());
    }
    constexpr std::string_view kGroup = "-- group: ";
    constexpr std::string_view kSince = "-- since: ";
    std::vector<RowSection> sections(1);
    std::string script;
    const auto endSection = [&] {
        ReplaceAll(script, "{siteid}", std::to_string(siteId));
        ReplaceAll(script, "{name}", Escaped(SiteName(options, siteId)));
        ReplaceAll(script, "{domain}", SiteDomain(siteId));
        sections.back().statements = SplitStatements(script);
        script.clear();
    };
    std::string line;
    while (std::getline(stream, line)) {
        const bool isSince = line.starts_with(kSince);
        if (!isSince && !line.starts_with(kGroup)) {
            script += line + '\n';
            continue;
        }
        endSection();
        RowSection& section = sections.emplace_back();
        std::istringstream words(line.substr(isSince ? kSince.size() : kGroup.size()));
        if (isSince) {
            words >> section.since;
        }
        for (std::string word; words >> word;) {
            section.groups.push_back(word);
        }
    }
    endSection();
    return sections;
}

std::string UploadedFile(std::int32_t replyId) {
    return replyId % 2 == 0 ? "../files/book" + std::to_string(replyId) + ".pdf" : std::string();
}

bool IsLost(std::int32_t replyId) {
    return replyId % 6 == 0;
}

double CommissionAmount(std::int32_t commissionId) {
    return static_cast<double>(10 + commissionId % 997) / 100;
}

std::string CommissionDate(std::int32_t commissionId) {
    return DateTime(std::int64_t{commissionId} * 7200);
}

std::int32_t CommissionUser(std::int32_t commissionId) {
    constexpr std::int32_t kCommissionsPerUser = 20;
    return kFirstBulkId + (commissionId - kFirstBulkId) / kCommissionsPerUser;
}

}  // namespace twupdate::sample
