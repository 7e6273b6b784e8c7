#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

#include "twupdate/export.h"

namespace twupdate {

/// A host call failed. A host throws it from any operation of its interfaces; nothing in the
/// component catches it, so it reaches the caller of the public operation unchanged.
class TWUPDATE_EXPORT HostError : public std::runtime_error {
  public:
    /// @param statement  the SQL text, or for a service call its name and arguments
    /// @param code       the server's (or client library's) error number, 0 where there is none
    /// @param sqlState   the five-character SQLSTATE, empty where there is none
    /// @param text       the error's own words
    HostError(std::string statement, std::uint32_t code, std::string sqlState,
              const std::string& text);
    ~HostError() override;

    const std::string& Statement() const noexcept { return statement_; }
    std::uint32_t Code() const noexcept { return code_; }
    const std::string& SqlState() const noexcept { return sqlState_; }

  private:
    std::string statement_;
    std::uint32_t code_;
    std::string sqlState_;
};

/// A stored value cannot be read as the type that is needed (NULL or a word where a number must
/// be). The text names the column where it is known.
class TWUPDATE_EXPORT ConversionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~ConversionError() override;
};

/// A number lies outside the range of a 32-bit signed integer, or a counter would leave it.
class TWUPDATE_EXPORT OverflowError : public ConversionError {
  public:
    using ConversionError::ConversionError;
    ~OverflowError() override;
};

/// A folder or file could not be made, read or copied. The text names the paths and the reason.
class TWUPDATE_EXPORT FileError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~FileError() override;
};

/// A reference data file has a line with fewer fields than its table has columns. The text names
/// the file, the line and both counts.
class TWUPDATE_EXPORT DataFileError : public std::out_of_range {
  public:
    using std::out_of_range::out_of_range;
    ~DataFileError() override;
};

/// A site step needs something of the central database that only a later version of it has: the
/// central database must be upgraded first. The text names the step, the site's database and what
/// is missing.
class TWUPDATE_EXPORT OutdatedCentralDatabaseError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
    ~OutdatedCentralDatabaseError() override;
};

/// An operation needs the host, but the object is not configured.
class TWUPDATE_EXPORT NotConfiguredError : public std::logic_error {
  public:
    NotConfiguredError();
    ~NotConfiguredError() override;
};

}  // namespace twupdate
