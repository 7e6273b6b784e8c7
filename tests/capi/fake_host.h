#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "c_values.h"
#include "twupdate/twupdate.h"

namespace capi_test {

using Row = std::map<std::string, Cell>;
using Rows = std::vector<Row>;

/// How a callback fails.
struct Failure {
    twu_status status = TWU_HOST_ERROR;
    std::uint32_t code = 0;
    const char* sqlstate = nullptr;
    const char* text = nullptr;
    std::optional<std::string> statement;
    bool saysNothing = false;  ///< the error is left as it was
};

/// A host in C, without a server: it writes down every call and answers with rows that a test
/// gives. Results and commands are numbers from 0, so that the first of each is a NULL pointer.
///
/// The log has one line a call, with the number of the result or command, e.g.
///     open_query SELECT 1; -> result 0
///     result_field 0 siteid
class FakeHost {
  public:
    /// The complete table, with this object as its context.
    static twu_host_callbacks Callbacks();

    std::vector<std::string> log;
    std::map<std::string, Rows> answers;  ///< by statement
    /// Asked for the rows of every other statement; without one they have none.
    std::function<Rows(const std::string&)> answerOthers;
    /// Makes the first call whose line begins with the key fail.
    std::map<std::string, Failure> failures;
    /// Run at the first call whose line begins with the key.
    std::map<std::string, std::function<void()>> actions;
    std::string installFolder = "/nowhere";
    std::string localHostName = "localhost";
    std::int64_t lastInsertId = 1;
    std::int64_t rowsAffectedBefore = 0;  ///< what the last execute callback found there
    int released = 0;

    /// Lines that begin with one of the words.
    std::vector<std::string> Lines(const std::vector<std::string>& words) const;
    /// How many results or commands were opened and not closed, or closed twice.
    int Unbalanced() const;

    /// Writes a call down and fails it if its turn has come.
    twu_status Record(const std::string& line, twu_error* error);

    struct OpenResult {
        std::string sql;
        Rows rows;
        std::size_t row = 0;
        int closed = 0;
    };
    struct OpenCommand {
        std::string sql;
        std::vector<Cell> parameters;
        int closed = 0;
    };
    std::deque<OpenResult> results;
    std::deque<OpenCommand> commands;
};

/// A host and an update, freed at the end.
class Configured {
  public:
    explicit Configured(FakeHost& fake) : Configured(fake, FakeHost::Callbacks()) {}
    Configured(FakeHost& fake, const twu_host_callbacks& callbacks);
    ~Configured();
    Configured(const Configured&) = delete;
    Configured& operator=(const Configured&) = delete;

    const twu_error* Error() const { return twu_last_error(update); }
    std::string ErrorText() const { return twu_error_text(Error()); }
    std::string Statement() const;

    twu_update* update = nullptr;
};

}  // namespace capi_test
