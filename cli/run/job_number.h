#pragma once

namespace twupdate::cli {

/// Finds how many jobs pay on a server, from the statements that they send in a second. It adds
/// half as many as there are, as long as that brings a tenth more, and takes back what brings less
/// than before. Where nothing more is to be gained, it tries again from time to time, because the
/// work changes.
class JobNumber {
  public:
    static constexpr unsigned kFirst = 2;
    /// Rounds after which more jobs are tried again.
    static constexpr unsigned kRest = 12;

    explicit JobNumber(unsigned most);

    unsigned Now() const { return now_; }

    /// @param statements  a second, of this number of jobs, in the last round
    /// @returns the number for the next round
    unsigned Next(double statements);

  private:
    unsigned most_;
    unsigned now_;
    unsigned fewer_ = 0;  ///< jobs, before the last were added
    double before_ = 0;   ///< statements a second, in the round before
    bool added_ = false;  ///< jobs, for the last round
    unsigned rested_ = 0;
};

}  // namespace twupdate::cli
