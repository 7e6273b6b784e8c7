// What every host must do, asked of a host behind the C interface: the reference host, reached
// through C callbacks. What comes out of the adapter must be what went in.

#include "capi/host_adapter.h"
#include "contract/contract_server.h"
#include "contract/host_contract.h"
#include "tests/capi/c_values.h"
#include "twupdate_host/mariadb_utility.h"

namespace twupdate::test {
namespace {

/// The context of the callbacks.
struct Context {
    std::shared_ptr<host::MariaDbUtility> host;
    std::vector<std::string> services;
    bool servicesFail = false;
    // What the last callback returned.
    capi_test::Cell value;
    std::string text;
    std::string folder;
};

Context& Of(void* context) {
    return *static_cast<Context*>(context);
}

/// Runs the body of a callback; a HostError becomes the callback's failure.
template <typename Body>
twu_status Answering(twu_error* error, const Body& body) {
    try {
        body();
        return TWU_OK;
    } catch (const HostError& failure) {
        twu_error_set(error, failure.Code(), failure.SqlState().c_str(), failure.what());
    } catch (const std::exception& failure) {
        twu_error_set(error, 0, nullptr, failure.what());
    }
    return TWU_HOST_ERROR;
}

// A result and a command are shared pointers on the heap.
using ResultHandle = std::shared_ptr<Recordset>;
using CommandHandle = std::shared_ptr<Command>;

Recordset& ResultOf(void* handle) {
    return **static_cast<ResultHandle*>(handle);
}

Command& CommandOf(void* handle) {
    return **static_cast<CommandHandle*>(handle);
}

Value ToParameter(const twu_value& value) {
    const capi_test::Cell cell = capi_test::ToCell(value);
    if (const auto* integer = std::get_if<std::int64_t>(&cell)) {
        return *integer;
    }
    if (const auto* real = std::get_if<double>(&cell)) {
        return *real;
    }
    const auto* text = std::get_if<std::string>(&cell);
    return text == nullptr ? Value() : Value(*text);
}

twu_status Serve(void* context, const char* service, std::int32_t site, std::int32_t component,
                 twu_error* error) {
    return Answering(error, [&] {
        const std::string call =
            std::string(service) + " " + std::to_string(site) + " " + std::to_string(component);
        if (Of(context).servicesFail) {
            throw HostError("", 0, "", "the service failed");
        }
        Of(context).services.push_back(call);
    });
}

void AddStatements(twu_host_callbacks& table) {
    table.execute = [](void* context, const char* sql, size_t size, int64_t* rows,
                       twu_error* error) {
        return Answering(error, [&] {
            Of(context).host->GetDatabase()->Execute(std::string(sql, size), *rows);
        });
    };
    table.open_query = [](void* context, const char* sql, size_t size, void** result,
                          twu_error* error) {
        return Answering(error, [&] {
            *result = new ResultHandle(
                Of(context).host->GetDatabase()->OpenRecordset(std::string(sql, size), 0, 0));
        });
    };
    table.last_insert_id = [](void* context, int64_t* id, twu_error* error) {
        return Answering(error, [&] {
            *id = static_cast<int64_t>(Of(context).host->GetConnection()->LastInsertId());
        });
    };
}

void AddResults(twu_host_callbacks& table) {
    table.result_eof = [](void*, void* handle) -> int32_t {
        return ResultOf(handle).IsEOF() ? 1 : 0;
    };
    table.result_field = [](void* context, void* handle, const char* column, twu_value* value,
                            twu_error* error) {
        return Answering(error, [&] {
            Of(context).value = ResultOf(handle).Fields().Item(column).Value().Get();
            capi_test::ToValue(Of(context).value, *value);
        });
    };
    table.result_next = [](void*, void* handle, twu_error* error) {
        return Answering(error, [&] { ResultOf(handle).MoveNext(); });
    };
    table.result_close = [](void*, void* handle) { delete static_cast<ResultHandle*>(handle); };
}

void AddCommands(twu_host_callbacks& table) {
    table.command_new = [](void* context, void** command, twu_error* error) {
        return Answering(error, [&] {
            *command = new CommandHandle(Of(context).host->GetCommandFactory()->NewCommand());
        });
    };
    table.command_add_parameter = [](void*, void* command, const twu_value* value,
                                     twu_error* error) {
        return Answering(error, [&] { CommandOf(command).AddParameter(ToParameter(*value)); });
    };
    table.command_set_text = [](void*, void* command, const char* sql, size_t size,
                                twu_error* error) {
        return Answering(error, [&] { CommandOf(command).SetText(std::string(sql, size)); });
    };
    table.command_open = [](void* context, void* command, void** result, twu_error* error) {
        return Answering(error, [&] {
            *result = new ResultHandle(
                CommandOf(command).OpenCommandRecordset(Of(context).host->GetDatabase()));
        });
    };
    table.command_execute = [](void* context, void* command, int64_t* rows, twu_error* error) {
        return Answering(error, [&] {
            CommandOf(command).ExecuteCommand(Of(context).host->GetDatabase(), *rows);
        });
    };
    table.command_close = [](void*, void* command) {
        CommandOf(command).CloseCommand();
        delete static_cast<CommandHandle*>(command);
    };
}

void AddServices(twu_host_callbacks& table) {
    table.component_item = [](void* context, int32_t id, twu_component* component,
                              twu_error* error) {
        return Answering(error, [&] {
            const auto found = Of(context).host->GetComponentHost()->GetComponentList()->Item(id);
            Of(context).text = found->GetComponentName();
            Of(context).folder = found->GetFolderName();
            component->name = {Of(context).text.data(), Of(context).text.size()};
            component->folder = {Of(context).folder.data(), Of(context).folder.size()};
        });
    };
    table.upgrade_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "UpgradeSiteComponent", site, component, error);
    };
    table.refresh_site_component = [](void* context, int32_t site, int32_t component,
                                      twu_error* error) {
        return Serve(context, "RefreshSiteComponent", site, component, error);
    };
    table.initialise_site_component = [](void* context, int32_t site, int32_t component,
                                         twu_error* error) {
        return Serve(context, "InitialiseSiteComponent", site, component, error);
    };
    table.reset_site_component = [](void* context, int32_t site, int32_t component,
                                    twu_error* error) {
        return Serve(context, "ResetSiteComponent", site, component, error);
    };
    table.refresh_application = [](void* context, twu_error* error) {
        return Answering(error, [&] { Of(context).services.emplace_back("Refresh"); });
    };
}

class HostBehindTheCInterface : public HostUnderTest {
  public:
    HostBehindTheCInterface() {
        context_.host = std::make_shared<host::MariaDbUtility>(ConnectForContract());
        twu_host_callbacks table{};
        table.size = sizeof(table);
        AddStatements(table);
        AddResults(table);
        AddCommands(table);
        AddServices(table);
        utility_ = capi::MakeUtility(table, &context_);
    }

    std::shared_ptr<Utility> Host() override { return utility_; }
    void AddComponent(std::int32_t id, const std::string& name,
                      const std::string& folder) override {
        StoreComponent(*context_.host->GetConnection(), id, name, folder);
    }
    bool FailServices() override {
        context_.servicesFail = true;
        return true;
    }
    bool ServiceCalls(std::vector<std::string>& calls) override {
        calls = context_.services;
        return true;
    }

  private:
    Context context_;
    std::shared_ptr<Utility> utility_;
};

INSTANTIATE_TEST_SUITE_P(HostBehindTheCInterface, HostContract,
                         testing::Values(HostFactory{
                             "HostBehindTheCInterface",
                             [] { return std::make_unique<HostBehindTheCInterface>(); }}));

}  // namespace
}  // namespace twupdate::test
