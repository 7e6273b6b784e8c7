#pragma once

namespace twupdate::cli {

/// Finds how many jobs pay on a server, from the statements that they send in a second. One job
/// more must bring a tenth more; one that brings less than before is taken back. Where nothing more
/// is to be gained, it is tried again from time to time, because the work changes.
class JobNumber {
  public:
    static constexpr unsigned kFirst = 2;
    /// Rounds after which one job more is tried again.
    static constexpr unsigned kRest = 12;

    explicit JobNumber(unsigned most);

    unsigned Now() const { return now_; }

    /// @param statements  a second, of this number of jobs, in the last round
    /// @returns the number for the next round
    unsigned Next(double statements);

  private:
    unsigned Add();

    unsigned most_;
    unsigned now_;
    double before_ = 0;   ///< in the round before the last job was added
    bool added_ = false;  ///< a job, for the last round
    unsigned rested_ = 0;
};

}  // namespace twupdate::cli
