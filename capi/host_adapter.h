#pragma once

#include <memory>
#include <string>

#include "capi/error.h"
#include "twupdate/host.h"
#include "twupdate/twupdate.h"

namespace twupdate::capi {

/// The C host's callbacks and context. Shared by all objects made for that host; tells the host
/// when the last of them is gone.
class Callbacks {
  public:
    /// @throws InvalidArgument as twu_host_new does
    Callbacks(const twu_host_callbacks& callbacks, void* context);
    ~Callbacks();
    Callbacks(const Callbacks&) = delete;
    Callbacks& operator=(const Callbacks&) = delete;

    /// From now on the destructor calls `released`: not when the host could not be made.
    void TellWhenReleased() { tellsWhenReleased_ = true; }

    const twu_host_callbacks& Table() const { return table_; }
    void* Context() const { return context_; }

    /// Calls a callback that may fail, with the context before and the error after the arguments.
    /// @param about  the statement, or the service with its arguments
    /// @throws HostError, Stopped or bad_alloc as the callback reported; HostError when it is
    /// missing
    template <typename... Parameters, typename... Arguments>
    void Call(const std::string& about, twu_status (*callback)(void*, Parameters...),
              Arguments... arguments) const {
        if (callback == nullptr) {
            throw HostError(about, 0, "", "the host does not provide this service");
        }
        twu_error error;
        const twu_status status = callback(context_, arguments..., &error);
        if (status != TWU_OK) {
            ThrowFailure(status, error, about);
        }
    }

    /// Calls a callback that frees something. What a host in C++ throws out of it, against the
    /// rules, is dropped: the call may come from a destructor.
    template <typename... Parameters, typename... Arguments>
    void Release(void (*callback)(void*, Parameters...), Arguments... arguments) const noexcept {
        try {
            callback(context_, arguments...);
        } catch (...) {
        }
    }

  private:
    twu_host_callbacks table_;
    void* context_;
    bool tellsWhenReleased_ = false;
};

/// The component's view of a C host.
/// @throws InvalidArgument as twu_host_new does
std::shared_ptr<Utility> MakeUtility(const twu_host_callbacks& callbacks, void* context);

/// The component's view of a cart whose settings a C host reads.
std::shared_ptr<Feature> MakeFeature(twu_get_setting getSetting, void* cart);

/// The step as C sees it. Lives as long as the program.
/// @return nullptr for an index past the ladder's end or a number that is no ladder
const twu_step* FindStep(twu_ladder ladder, std::size_t index);

}  // namespace twupdate::capi
