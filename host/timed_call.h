#pragma once

#include <chrono>
#include <type_traits>

#include "twupdate_host/listener.h"

namespace twupdate::host {

/// Makes one call and tells the listener before and after it. Without a listener it is only the
/// call.
template <typename Call>
auto TimedCall(StatementListener* listener, const StatementEvent& event, const Call& call) {
    if (listener == nullptr) {
        return call();
    }
    listener->Before(event);
    const auto start = std::chrono::steady_clock::now();
    const auto after = [&](const HostError* error) {
        listener->After(event, std::chrono::steady_clock::now() - start, error);
    };
    const auto watched = [&] {
        try {
            return call();
        } catch (const HostError& error) {
            after(&error);
            throw;
        }
    };
    if constexpr (std::is_void_v<decltype(call())>) {
        watched();
        after(nullptr);
    } else {
        auto result = watched();
        after(nullptr);
        return result;
    }
}

}  // namespace twupdate::host
