#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "twupdate/host.h"

/// What every host of the component must do, as tests. To run them on a host of your own, describe
/// it with a HostUnderTest, compile host_contract.cpp into a test program and instantiate the
/// suite there:
///
///     class MyHostUnderTest : public HostUnderTest { … };
///
///     INSTANTIATE_TEST_SUITE_P(MyHost, HostContract, testing::Values(HostFactory{
///         "MyHost", [] { return std::make_unique<MyHostUnderTest>(); }}));
///
/// The files need the component's headers and library, GoogleTest and nothing else. On a real
/// server the tests drop and create the database tw_999990 and touch no other.
namespace twupdate::test {

/// The rows that a query must give.
struct Answer {
    std::vector<std::string> columns;
    std::vector<std::vector<Value>> rows;
};

/// A host, and what the tests must know of it. A new one is made for every test.
class HostUnderTest {
  public:
    virtual ~HostUnderTest() = default;

    /// The host. Always the same object.
    virtual std::shared_ptr<Utility> Host() = 0;

    /// False for a host without a server behind it: tests of what a server stores are skipped,
    /// and the answers of all others are announced by WillAnswer() and WillInsert().
    virtual bool HasServer() const { return true; }
    /// The query with this text is about to be asked for and has this answer.
    virtual void WillAnswer(const std::string& /*sql*/, const Answer& /*answer*/) {}
    /// The next INSERT makes this id.
    virtual void WillInsert(std::int32_t /*id*/) {}

    /// Adds a component to those of the installation.
    virtual void AddComponent(std::int32_t id, const std::string& name,
                              const std::string& folder) = 0;
    /// From now on every component service fails. @returns false when that cannot be arranged
    virtual bool FailServices() { return false; }
    /// The service calls that the host has carried out, e.g. "RefreshSiteComponent 7 1000" and
    /// "Refresh", in order. @returns false when they cannot be seen
    virtual bool ServiceCalls(std::vector<std::string>& /*calls*/) { return false; }
};

struct HostFactory {
    std::string name;
    std::function<std::unique_ptr<HostUnderTest>()> make;

    friend void PrintTo(const HostFactory& factory, std::ostream* out) { *out << factory.name; }
};

/// The suite's fixture: the database tw_999990 with the empty table
/// thing(id INT AUTO_INCREMENT, name VARCHAR(100), version DOUBLE, note LONGTEXT).
class HostContract : public testing::TestWithParam<HostFactory> {
  protected:
    HostContract();
    ~HostContract() override;

    Utility& Host() { return *host_; }
    HostUnderTest& UnderTest() { return *underTest_; }

    /// Sends a statement through Database::Execute.
    void Execute(const std::string& sql);
    /// Opens a query whose answer is known, in either of the two ways.
    std::shared_ptr<Recordset> Open(const std::string& sql, const Answer& answer);
    std::shared_ptr<Reader> Read(const std::string& sql, const Answer& answer);
    /// The one value of a query on a host with a server.
    Value Cell(const std::string& sql);
    /// A command with these parameters.
    std::shared_ptr<Command> NewCommand(const std::vector<Value>& parameters);
    /// Runs a text of a command.
    void Run(Command& command, const std::string& sql);

  private:
    std::unique_ptr<HostUnderTest> underTest_;
    std::shared_ptr<Utility> host_;
};

}  // namespace twupdate::test
