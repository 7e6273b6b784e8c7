#include "cli/run/job_number.h"

#include <algorithm>

namespace twupdate::cli {
namespace {

constexpr double kFewest = 2;  // a second; less is the time of single long statements

}  // namespace

JobNumber::JobNumber(unsigned most) : most_(most), now_(std::min(kFirst, most)) {}

unsigned JobNumber::Next(double statements) {
    if (statements < kFewest) {
        return now_;
    }
    const bool firstRound = before_ == 0;
    const bool pays = statements * 10 >= before_ * 11;
    if (added_ && statements < before_) {
        now_ = fewer_;
    }
    const bool tries = firstRound || (added_ ? pays : ++rested_ >= kRest);
    added_ = tries && now_ < most_;
    if (added_) {
        before_ = statements;
        rested_ = 0;
        fewer_ = now_;
        now_ = std::min(most_, now_ + std::max(1U, now_ / 2));
    }
    return now_;
}

}  // namespace twupdate::cli
