#include "twupdate/update.h"

#include "capi/error.h"
#include "capi/host_adapter.h"
#include "twupdate/twupdate.h"

using twupdate::capi::Guarded;
using twupdate::capi::InvalidArgument;

struct twu_host {
    std::shared_ptr<twupdate::Utility> utility;
};

struct twu_update {
    twupdate::Update update;
    twu_error error;
    std::string sequence;
};

namespace {

/// The error of functions that have no update to keep it.
thread_local twu_error errorWithoutUpdate;

void Need(const void* argument, const char* name) {
    if (argument == nullptr) {
        throw InvalidArgument(std::string(name) + " is NULL");
    }
}

/// Runs the body on the update and keeps how it went in it.
template <typename Body>
twu_status Run(twu_update* update, const Body& body) {
    if (update == nullptr) {
        return Guarded(errorWithoutUpdate, [] { Need(nullptr, "update"); });
    }
    return Guarded(update->error, [&] { body(update->update); });
}

/// As Run, for an operation with a Boolean result: 0 on failure.
template <typename Operation>
twu_status RunForResult(twu_update* update, int32_t* result, const Operation& operation) {
    twupdate::Boolean answer = twupdate::kFalse;
    const twu_status status =
        Run(update, [&](twupdate::Update& target) { answer = operation(target); });
    if (result != nullptr) {
        *result = answer;
    }
    return status;
}

}  // namespace

twu_status twu_host_new(const twu_host_callbacks* callbacks, void* context, twu_host** host) {
    return Guarded(errorWithoutUpdate, [&] {
        Need(host, "host");
        *host = nullptr;
        Need(callbacks, "callbacks");
        auto made = std::make_unique<twu_host>();
        made->utility = twupdate::capi::MakeUtility(*callbacks, context);
        *host = made.release();
    });
}

void twu_host_free(twu_host* host) {
    delete host;
}

twu_status twu_update_new(twu_update** update) {
    return Guarded(errorWithoutUpdate, [&] {
        Need(update, "update");
        *update = nullptr;
        *update = new twu_update;
    });
}

void twu_update_free(twu_update* update) {
    delete update;
}

const twu_error* twu_last_error(const twu_update* update) {
    return update == nullptr ? &errorWithoutUpdate : &update->error;
}

twu_status twu_configure(twu_update* update, twu_host* host) {
    return Run(update, [&](twupdate::Update& target) {
        Need(host, "host");
        target.Configure(host->utility);
    });
}

twu_status twu_shut_down(twu_update* update) {
    return Run(update, [](twupdate::Update& target) { target.ShutDown(); });
}

twu_status twu_update_import_master_data(twu_update* update, int32_t site_id, double version,
                                         int32_t* result) {
    return RunForResult(update, result, [=](twupdate::Update& target) {
        return target.UpdateImportMasterData(site_id, version);
    });
}

twu_status twu_update_server(twu_update* update, double version, int32_t* result) {
    return RunForResult(update, result,
                        [=](twupdate::Update& target) { return target.UpdateServer(version); });
}

twu_status twu_update_site(twu_update* update, int32_t site_id, double version, int32_t* result) {
    return RunForResult(update, result, [=](twupdate::Update& target) {
        return target.UpdateSite(site_id, version);
    });
}

twu_status twu_create_cart_field_sequence(twu_update* update, twu_get_setting get_setting,
                                          void* cart, const twu_cart_settings* settings,
                                          const char** sequence) {
    if (sequence != nullptr) {
        *sequence = "";
    }
    return Run(update, [&](twupdate::Update& target) {
        Need(reinterpret_cast<const void*>(get_setting), "get_setting");
        Need(sequence, "sequence");
        Need(settings, "settings");
        const auto& [name, organization, address, country, postCode, email, telephone] = *settings;
        for (const char* setting :
             {name, organization, address, country, postCode, email, telephone}) {
            Need(setting, "the name of a setting");
        }
        update->sequence = target.CreateCartFieldSequence(
            twupdate::capi::MakeFeature(get_setting, cart), name, organization, address, country,
            postCode, email, telephone);
        *sequence = update->sequence.c_str();
    });
}

twu_status twu_create_core_db(twu_update* update, int32_t* result) {
    return RunForResult(update, result,
                        [](twupdate::Update& target) { return target.CreateCoreDb(); });
}
