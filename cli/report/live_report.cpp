#include "cli/report/live_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "cli/report/page.h"

namespace twupdate::cli {
namespace {

constexpr std::chrono::seconds kInterval{5};
// The page of a long run takes a while to make; the run is to keep the processor.
constexpr int kLeastShareOfTheRun = 20;

}  // namespace

LiveReport::LiveReport(std::filesystem::path page, Console& console)
    : path_(std::move(page)), console_(console) {
    RequireRegularFile(path_);
}

LiveReport::~LiveReport() {
    ticker_.reset();
}

void LiveReport::Take(const nlohmann::ordered_json& event) {
    bool ends = false;
    {
        const std::lock_guard lock(mutex_);
        reader_.Take(nlohmann::json(event));
        ends = !reader_.IsInRun();
    }
    if (ends) {
        ticker_.reset();
        Renew();
    } else if (!ticker_) {
        Renew();
        ticker_ = std::make_unique<Ticker>([this] { Tick(); });
    }
}

void LiveReport::Tick() {
    if (std::chrono::steady_clock::now() - renewed_ >=
        std::max<std::chrono::nanoseconds>(kInterval, kLeastShareOfTheRun * took_)) {
        Renew();
    }
}

void LiveReport::Renew() {
    const auto began = std::chrono::steady_clock::now();
    std::vector<RunRecord> runs;
    {
        const std::lock_guard lock(mutex_);
        runs = reader_.Runs();
    }
    const std::string page = ReportPage(runs, kInterval);
    if (file_) {
        file_->Write(page);
    } else {
        file_ = std::make_unique<RenewedFile>(path_, page, console_);
    }
    renewed_ = std::chrono::steady_clock::now();
    took_ = renewed_ - began;
}

}  // namespace twupdate::cli
