#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "twupdate/host.h"

namespace twupdate::test {

/// Any host, with a fault at a chosen call. It hands every call on to the host that it wraps,
/// counts them, and does what a test asks for just before or just after the n-th one.
///
///     auto faulty = std::make_shared<FaultyUtility>(server.Utility());
///     faulty->FailAt(17, FaultyUtility::kAfter);   // the 17th takes effect and then fails
///     update.Configure(faulty);
///     EXPECT_THROW(update.UpdateSite(7, 1.0), InjectedFault);
///     faulty->Heal();
///     update.UpdateSite(7, 1.0);
///
/// A call is a statement, however it is sent (OpenRecordset, OpenReader, Execute, a Command), or
/// a component service, or the refresh of the application.
class FaultyUtility : public twupdate::Utility {
  public:
    enum When {
        kBefore,  ///< the call has no effect
        kAfter,   ///< the call has its effect, but its caller does not hear of it
    };

    explicit FaultyUtility(std::shared_ptr<twupdate::Utility> inner);
    ~FaultyUtility() override;

    /// The n-th call from now on (from 1) fails with InjectedFault.
    void FailAt(std::size_t n, When when);
    /// `action` is called at the n-th call from now on, e.g. to kill the server; it may throw.
    void At(std::size_t n, When when, std::function<void()> action);
    /// No fault any more.
    void Heal();

    /// The calls made so far, and what each of them sent.
    std::size_t Calls() const { return log_.size(); }
    const std::vector<std::string>& Log() const { return log_; }
    void ClearLog() { log_.clear(); }

    std::shared_ptr<Database> GetDatabase() override;
    std::shared_ptr<ComponentHost> GetComponentHost() override;
    std::shared_ptr<CommandFactory> GetCommandFactory() override;
    std::filesystem::path InstallFolder() override;
    std::shared_ptr<twupdate::Observer> GetObserver() override;
    std::string LocalHostName() override;

    /// Counts a call and makes it; for the objects that it returns.
    template <typename Call>
    auto Make(const std::string& text, const Call& call) {
        Count(text);
        if (left_ == 0 && when_ == kBefore) {
            Fault();
        }
        if constexpr (std::is_void_v<decltype(call())>) {
            call();
            FaultAfter();
        } else {
            auto result = call();
            FaultAfter();
            return result;
        }
    }

  private:
    void Count(const std::string& text);
    void FaultAfter();
    void Fault();

    static constexpr std::size_t kNever = static_cast<std::size_t>(-1);

    std::shared_ptr<twupdate::Utility> inner_;
    std::vector<std::string> log_;
    std::size_t left_ = kNever;  ///< calls before the faulty one; 0: it is this one
    When when_ = kBefore;
    std::function<void()> action_;
};

/// What FaultyUtility::FailAt throws.
class InjectedFault : public HostError {
  public:
    explicit InjectedFault(const std::string& statement);
};

}  // namespace twupdate::test
