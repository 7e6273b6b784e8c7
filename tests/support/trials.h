#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdio>
#include <exception>
#include <string>
#include <utility>

namespace twupdate::test {

/// Counts the trials of a test and prints one line at its end: what was tried, how many times, and
/// how many trials found a difference. `./dev soak` makes its table from these lines.
class Trials {
  public:
    /// @param what  as the table names it, e.g. "site schema: interrupted before a statement"
    explicit Trials(std::string what) : what_(std::move(what)) {}
    ~Trials() {
        if (std::uncaught_exceptions() > 0 && number_ > 0) {
            ++different_;
        } else {
            End();
        }
        if (number_ > 0) {
            std::printf("[ TRIED    ] %s | %zu | %zu\n", what_.c_str(), number_, different_);
        }
    }
    Trials(const Trials&) = delete;
    Trials& operator=(const Trials&) = delete;

    /// Ends the trial before and begins the next one.
    void Next() {
        End();
        ++number_;
        failedParts_ = FailedParts();
    }
    std::size_t Number() const { return number_; }

  private:
    static int FailedParts() {
        const auto* const result = testing::UnitTest::GetInstance()->current_test_info()->result();
        int failed = 0;
        for (int i = 0; i < result->total_part_count(); ++i) {
            failed += result->GetTestPartResult(i).failed() ? 1 : 0;
        }
        return failed;
    }
    void End() {
        if (number_ > 0 && FailedParts() > failedParts_) {
            ++different_;
        }
    }

    const std::string what_;
    std::size_t number_ = 0;
    std::size_t different_ = 0;
    int failedParts_ = 0;
};

}  // namespace twupdate::test
