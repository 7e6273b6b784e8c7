#include "cli/sample_fixture.h"

#include <cstdlib>
#include <set>

namespace twupdate::test {

void SampleTest::SetUp() {
    options_.sites = 0;
    options_.rows = 0;
    options_.root = folder_.Path();
    ConnectSample();
}

void SampleTest::ConnectSample() {
    host::MariaDbUtilityOptions host;
    host.installFolder = options_.root / "update";
    host_ = std::make_shared<host::MariaDbUtility>(
        host::Connection::Open(CliServer::Get().ConnectOptions()), host);
}

bool SampleTest::IsSoak() {
    const char* soak = std::getenv("TWUPDATE_SOAK");
    return soak != nullptr && std::string(soak) == "1";
}

sample::SitePlan SampleTest::Plan(std::int32_t siteId, double version) {
    sample::SitePlan plan;
    plan.siteId = siteId;
    plan.groups = sample::AllGroups();
    plan.age = {version, version};
    plan.recordedVersion = version;
    return plan;
}

std::vector<double> SampleTest::Versions(Ladder first, Ladder second, std::size_t stride) {
    std::set<double> versions{1.0};
    for (const Ladder ladder : {first, second}) {
        for (const LadderStep& step : LadderSteps(ladder)) {
            versions.insert(step.threshold);
        }
    }
    std::vector<double> some;
    std::size_t place = 0;
    for (const double version : versions) {
        if (place++ % stride == 0) {
            some.push_back(version);
        }
    }
    return some;
}

void SampleTest::MakeCentralWith(const std::vector<sample::SitePlan>& plans) {
    sample::WriteFiles(options_, plans);
    sample::MakeCentral(host_, options_, plans);
    for (const sample::SitePlan& plan : plans) {
        sample::MakeSite(host_, options_, plan);
    }
}

std::vector<std::string> SampleTest::WithFolder(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"--install-folder", (options_.root / "update").string()});
    return arguments;
}

void SampleTest::ExpectClean(const std::vector<std::string>& arguments) {
    const Outcome outcome = Run(WithFolder(arguments));
    EXPECT_EQ(outcome.status, 0) << outcome.out << outcome.err;
}

}  // namespace twupdate::test
