#pragma once

#include <string>

#include "twupdate/error.h"
#include "twupdate/twupdate.h"

/// An error on its way over the C boundary, in either direction.
struct twu_error {
    twu_status status = TWU_OK;
    std::uint32_t code = 0;
    std::string sqlState;
    std::string statement;
    std::string text;
};

namespace twupdate::capi {

/// A callback asked to stop the run.
class Stopped : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// An argument of a C function that cannot be.
class InvalidArgument : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Writes the exception that is being handled down. Does not throw: where there is no memory for
/// the texts, they stay empty.
void WriteCurrentException(twu_error& error) noexcept;

/// Throws the error that a failed callback reported.
/// @param statement  the statement, or the service with its arguments, that the call was about
[[noreturn]] void ThrowFailure(twu_status status, const twu_error& error,
                               const std::string& statement);

/// Runs the body and writes down how it went.
/// @return the status, which is the error's as well
template <typename Body>
twu_status Guarded(twu_error& error, const Body& body) noexcept {
    try {
        error = {};
        body();
    } catch (...) {
        WriteCurrentException(error);
    }
    return error.status;
}

}  // namespace twupdate::capi
